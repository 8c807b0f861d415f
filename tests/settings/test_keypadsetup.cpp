#include "cachefeeder.h"
#include "keypadsetup.h"
#include "platformkey.h"

#include <QAbstractItemView>
#include <QSignalSpy>
#include <QtTest>

using cachefeeder::RequestLog;

namespace {

// A "loadSettings" answer made of the given groups.
void loadSettings(const std::string& groups)
{
    cachefeeder::answer("loadSettings", "<m n=\"loadSettings\">" + groups + "</m>");
}

std::string group(const std::string& name, const std::string& params)
{
    return "<m n=\"group\"><s k=\"name\">" + name + "</s>" + params + "</m>";
}

void typeKey(KeypadSetup& setup, int keycode)
{
    setup.handleKey(keycode, true, false);
    setup.handleKey(keycode, false, false);
}

} // namespace

class TestKeypadSetup : public QObject {
    Q_OBJECT

private slots:
    void loadingShowsTheStoredSettings_data();
    void loadingShowsTheStoredSettings();
    void loadingRaisesTheChangeSignalsWithoutStoring();
    void choosingAModeStoresItsNumber_data();
    void choosingAModeStoresItsNumber();
    void everyKeystrokeInTheUrlStoresAndReloads();
    void restrictedModeIsStoredAndAnnounced();
    void keypadMovesAndChanges_data();
    void keypadMovesAndChanges();
    void keypadDrivesTheOpenModeList();
};

void TestKeypadSetup::loadingShowsTheStoredSettings_data()
{
    QTest::addColumn<QString>("groups");
    QTest::addColumn<QString>("modeText");
    QTest::addColumn<int>("f2Mode");
    QTest::addColumn<QString>("url");
    QTest::addColumn<bool>("restricted");

    const auto row = [](const char* tag, const std::string& groups, const char* modeText, int f2Mode, const char* url,
                        bool restricted) {
        QTest::newRow(tag) << QString::fromStdString(groups) << modeText << f2Mode << url << restricted;
    };
    const std::string browser = group("p_browser", "<s k=\"homeURL\">http://studio.example/</s>");
    row("all three", group("p_keypad", "<i k=\"keypadF2Mode\">2</i>") + browser
            + group("p_general", "<b k=\"restricted\">true</b>"),
        "Toggle to Remote Manager", 2, "http://studio.example/", true);
    row("braid stats", group("p_keypad", "<i k=\"keypadF2Mode\">9</i>") + browser, "Toggle to Braid Stats", 9,
        "http://studio.example/", false);
    row("mode 10 cycles", group("p_keypad", "<i k=\"keypadF2Mode\">10</i>") + browser, "Cycle Through Screens", 0,
        "http://studio.example/", false);
    row("mode 250 cycles", group("p_keypad", "<i k=\"keypadF2Mode\">250</i>") + browser, "Cycle Through Screens", 0,
        "http://studio.example/", false);
    row("mode missing", group("p_keypad", "") + browser, "Cycle Through Screens", 0, "http://studio.example/", false);
    row("negative mode matches no entry", group("p_keypad", "<i k=\"keypadF2Mode\">-1</i>") + browser, "", -1,
        "http://studio.example/", false);
    row("url missing in its group", group("p_browser", ""), "Toggle to Channel Stats", 4, "", false);
    row("other groups ignored", group("p_other", "<b k=\"restricted\">true</b><s k=\"homeURL\">x</s>") + browser,
        "Toggle to Channel Stats", 4, "http://studio.example/", false);
}

void TestKeypadSetup::loadingShowsTheStoredSettings()
{
    QFETCH(QString, groups);
    QFETCH(QString, modeText);
    QFETCH(int, f2Mode);
    QFETCH(QString, url);
    QFETCH(bool, restricted);

    KeypadSetup setup;
    // A state unlike every row's, so that each value shown comes from the answer.
    loadSettings(group("p_keypad", "<i k=\"keypadF2Mode\">4</i>") + group("p_browser", "<s k=\"homeURL\">old</s>"));

    RequestLog log;
    loadSettings(groups.toStdString());
    QCOMPARE(setup.comboF2KeyMode->currentText(), modeText);
    QCOMPARE(setup.f2Mode(), f2Mode);
    QCOMPARE(setup.browserHomeURL->text(), url);
    QCOMPARE(setup.restrictedUser->isChecked(), restricted);
    QVERIFY(log.requests().empty());
}

void TestKeypadSetup::loadingRaisesTheChangeSignalsWithoutStoring()
{
    KeypadSetup setup;
    loadSettings(group("p_browser", "<s k=\"homeURL\">http://a.example/</s>"));
    QSignalSpy restricted(&setup, &KeypadSetup::restrictedModeChanged);
    QSignalSpy home(&setup, &KeypadSetup::browserHomeChanged);

    RequestLog log;
    loadSettings(group("p_general", "<b k=\"restricted\">true</b>"));
    QCOMPARE(restricted.count(), 1);
    QCOMPARE(restricted.takeFirst().at(0).toBool(), true);
    // Without a stored home page the built-in one applies, and the browser hears of it.
    QCOMPARE(home.count(), 1);
    const QString defaultUrl = home.takeFirst().at(0).toString();
    QVERIFY(!defaultUrl.isEmpty());
    QCOMPARE(setup.browserHomeURL->text(), defaultUrl);
    QVERIFY(log.requests().empty());
}

void TestKeypadSetup::choosingAModeStoresItsNumber_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<int>("stored");

    const std::pair<const char*, int> choices[] = {
        {"Cycle Through Screens", 0},     {"Toggle to Network Manager", 1}, {"Toggle to Remote Manager", 2},
        {"Toggle to Peer Stats", 3},      {"Toggle to Channel Stats", 4},   {"Toggle to Braid Stats", 9},
        {"Toggle to Audio Meters", 5},    {"Toggle On-Screen Keyboard", 6}, {"Toggle Chat", 7},
        {"Remote Contact Closure", 8},
    };
    for (const auto& choice : choices)
        QTest::newRow(choice.first) << choice.first << choice.second;
}

void TestKeypadSetup::choosingAModeStoresItsNumber()
{
    QFETCH(QString, text);
    QFETCH(int, stored);

    KeypadSetup setup;
    // Start from an entry no row chooses, so that every choice is a change.
    setup.comboF2KeyMode->setCurrentIndex(-1);
    RequestLog log;
    setup.comboF2KeyMode->setCurrentIndex(setup.comboF2KeyMode->findText(text));
    QCOMPARE(setup.f2Mode(), stored);
    QCOMPARE(log.requests().size(), std::size_t(1));
    QCOMPARE(log.lastTree(),
             cachefeeder::tree("<m n=\"storeSettings\"><s k=\"group\">p_keypad</s><i k=\"keypadF2Mode\">"
                               + std::to_string(stored) + "</i></m>"));
}

void TestKeypadSetup::everyKeystrokeInTheUrlStoresAndReloads()
{
    KeypadSetup setup;
    setup.browserHomeURL->clear();
    QSignalSpy home(&setup, &KeypadSetup::browserHomeChanged);
    RequestLog log;
    QTest::keyClicks(setup.browserHomeURL, "ab");

    const std::vector<Message>& requests = log.requests();
    QCOMPARE(requests.size(), std::size_t(4));
    const char* const typed[] = {"a", "ab"};
    for (std::size_t i = 0; i < 2; ++i) {
        const Message& store = requests[2 * i];
        QCOMPARE(store.name, std::string("storeSettings"));
        QCOMPARE(store.params().get_string("group", ""), std::string("p_browser"));
        QCOMPARE(store.params().get_string("homeURL", ""), std::string(typed[i]));
        QCOMPARE(requests[2 * i + 1].name, std::string("loadSettings"));
        QCOMPARE(home.at(int(i)).at(0).toString(), QString(typed[i]));
    }
}

void TestKeypadSetup::restrictedModeIsStoredAndAnnounced()
{
    KeypadSetup setup;
    loadSettings(group("p_general", "<b k=\"restricted\">false</b>"));
    QSignalSpy restricted(&setup, &KeypadSetup::restrictedModeChanged);
    RequestLog log;
    setup.restrictedUser->setChecked(true);
    QCOMPARE(log.lastTree(), cachefeeder::tree("<m n=\"storeSettings\"><s k=\"group\">p_general</s>"
                                               "<b k=\"restricted\">true</b></m>"));
    QCOMPARE(restricted.count(), 1);
    QCOMPARE(restricted.at(0).at(0).toBool(), true);
}

void TestKeypadSetup::keypadMovesAndChanges_data()
{
    QTest::addColumn<QString>("focus");
    QTest::addColumn<int>("key");
    QTest::addColumn<QString>("focusAfter");
    QTest::addColumn<int>("modeAfter");
    QTest::addColumn<bool>("restrictedAfter");
    QTest::addColumn<int>("cursorAfter");

    // Start: mode 3 ("Toggle to Peer Stats", position 3), restricted off, cursor at 2 in "abcd".
    QTest::newRow("right on mode: next mode") << "comboF2KeyMode" << int(Qt::Key_Right) << "comboF2KeyMode" << 4 << false << 2;
    QTest::newRow("left on mode: previous mode") << "comboF2KeyMode" << int(Qt::Key_Left) << "comboF2KeyMode" << 2 << false << 2;
    // Tabbing into the line selects its text, cursor at the end.
    QTest::newRow("down on mode: to url") << "comboF2KeyMode" << int(Qt::Key_Down) << "browserHomeURL" << 3 << false << 4;
    QTest::newRow("up on url: to mode") << "browserHomeURL" << int(Qt::Key_Up) << "comboF2KeyMode" << 3 << false << 2;
    QTest::newRow("left on url: cursor") << "browserHomeURL" << int(Qt::Key_Left) << "browserHomeURL" << 3 << false << 1;
    QTest::newRow("right on url: cursor") << "browserHomeURL" << int(Qt::Key_Right) << "browserHomeURL" << 3 << false << 3;
    QTest::newRow("enter on url: nothing") << "browserHomeURL" << int(Qt::Key_Enter) << "browserHomeURL" << 3 << false << 2;
    QTest::newRow("left on restricted: toggle") << "restrictedUser" << int(Qt::Key_Left) << "restrictedUser" << 3 << true << 2;
    QTest::newRow("right on restricted: toggle") << "restrictedUser" << int(Qt::Key_Right) << "restrictedUser" << 3 << true << 2;
    QTest::newRow("enter on restricted: toggle") << "restrictedUser" << int(Qt::Key_Enter) << "restrictedUser" << 3 << true << 2;
    QTest::newRow("down on url: to restricted") << "browserHomeURL" << int(Qt::Key_Down) << "restrictedUser" << 3 << false << 2;
    QTest::newRow("other keys ignored") << "restrictedUser" << int(Qt::Key_Space) << "restrictedUser" << 3 << false << 2;
}

void TestKeypadSetup::keypadMovesAndChanges()
{
    QFETCH(QString, focus);
    QFETCH(int, key);
    QFETCH(QString, focusAfter);
    QFETCH(int, modeAfter);
    QFETCH(bool, restrictedAfter);
    QFETCH(int, cursorAfter);

    KeypadSetup setup;
    QVERIFY(showActive(&setup));
    loadSettings(group("p_keypad", "<i k=\"keypadF2Mode\">3</i>") + group("p_browser", "<s k=\"homeURL\">abcd</s>")
                 + group("p_general", "<b k=\"restricted\">false</b>"));
    setup.browserHomeURL->setCursorPosition(2);
    setup.findChild<QWidget*>(focus)->setFocus();

    typeKey(setup, key);
    QCOMPARE(QApplication::focusWidget()->objectName(), focusAfter);
    QCOMPARE(setup.f2Mode(), modeAfter);
    QCOMPARE(setup.restrictedUser->isChecked(), restrictedAfter);
    QCOMPARE(setup.browserHomeURL->cursorPosition(), cursorAfter);
    QCOMPARE(setup.browserHomeURL->text(), QString("abcd"));
}

void TestKeypadSetup::keypadDrivesTheOpenModeList()
{
    KeypadSetup setup;
    QVERIFY(showActive(&setup));
    loadSettings(group("p_keypad", "<i k=\"keypadF2Mode\">0</i>"));
    setup.paneAboutToShow();
    QVERIFY(setup.comboF2KeyMode->hasFocus());

    typeKey(setup, Qt::Key_Enter);
    QTRY_VERIFY(setup.comboF2KeyMode->view()->isVisible());
    RequestLog log;
    // In the open list, Down moves the highlight; nothing is chosen before Enter.
    for (int step = 0; step < 5; ++step)
        typeKey(setup, Qt::Key_Down);
    typeKey(setup, Qt::Key_Up);
    QVERIFY(setup.comboF2KeyMode->view()->isVisible());
    QCOMPARE(setup.f2Mode(), 0);

    typeKey(setup, Qt::Key_Enter);
    QTRY_VERIFY(!setup.comboF2KeyMode->view()->isVisible());
    QCOMPARE(setup.comboF2KeyMode->currentText(), QString("Toggle to Channel Stats"));
    QCOMPARE(setup.f2Mode(), 4);
    QCOMPARE(log.requests().size(), std::size_t(1));
}

QTEST_MAIN(TestKeypadSetup)
#include "test_keypadsetup.moc"
