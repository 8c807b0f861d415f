#include "cachefeeder.h"
#include "keypadsetup.h"

#include <QSignalSpy>
#include <QtTest>

using cachefeeder::RequestLog;

namespace {
std::string group(const std::string& name, const std::string& params)
{
    return "<m n=\"group\"><s k=\"name\">" + name + "</s>" + params + "</m>";
}

std::string modeGroup(int mode)
{
    return group("p_keypad", "<i k=\"keypadF2Mode\">" + std::to_string(mode) + "</i>");
}

// A "loadSettings" answer made of the given groups.
void loadSettings(const std::string& groups)
{
    cachefeeder::answer("loadSettings", "<m n=\"loadSettings\">" + groups + "</m>");
}

// "mode text=stored mode url [restricted]", as the form shows it.
QString state(const KeypadSetup& setup)
{
    return QStringLiteral("%1=%2 %3%4").arg(setup.comboF2KeyMode->currentText()).arg(setup.f2Mode())
        .arg(setup.browserHomeURL->text(), setup.restrictedUser->isChecked() ? " restricted" : "");
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
};

void TestKeypadSetup::loadingShowsTheStoredSettings_data()
{
    QTest::addColumn<QString>("groups");
    QTest::addColumn<QString>("shown");

    const std::string browser = group("p_browser", "<s k=\"homeURL\">http://a.example/</s>");
    const std::string restricted = group("p_general", "<b k=\"restricted\">true</b>");
    QTest::newRow("all three") << QString::fromStdString(modeGroup(2) + browser + restricted)
                               << "Toggle to Remote Manager=2 http://a.example/ restricted";
    QTest::newRow("mode 10 cycles") << QString::fromStdString(modeGroup(10) + browser)
                                    << "Cycle Through Screens=0 http://a.example/";
    const std::string other = group("p_other", "<b k=\"restricted\">true</b><s k=\"homeURL\">x</s>");
    QTest::newRow("other groups ignored") << QString::fromStdString(browser + other)
                                          << "Toggle to Channel Stats=4 http://a.example/";
}

void TestKeypadSetup::loadingShowsTheStoredSettings()
{
    QFETCH(QString, groups);
    QFETCH(QString, shown);

    KeypadSetup setup;
    // A state unlike every row's, so that each value shown comes from the answer.
    loadSettings(modeGroup(4) + group("p_browser", "<s k=\"homeURL\">old</s>"));
    RequestLog log;
    loadSettings(groups.toStdString());
    QCOMPARE(state(setup), shown);
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
    QCOMPARE(restricted.at(0).at(0).toBool(), true);
    // Without a stored home page the built-in one applies, and the browser hears of it.
    QCOMPARE(home.count(), 1);
    QVERIFY(!home.at(0).at(0).toString().isEmpty());
    QCOMPARE(setup.browserHomeURL->text(), home.at(0).at(0).toString());
    QVERIFY(log.requests().empty());
}

void TestKeypadSetup::choosingAModeStoresItsNumber_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<int>("stored");

    // Braid Stats sits before Audio Meters in the list but stores 9.
    QTest::newRow("braid stats") << "Toggle to Braid Stats" << 9;
    QTest::newRow("after braid stats") << "Toggle to Audio Meters" << 5;
}

void TestKeypadSetup::choosingAModeStoresItsNumber()
{
    QFETCH(QString, text);
    QFETCH(int, stored);

    KeypadSetup setup;
    setup.comboF2KeyMode->setCurrentIndex(-1);
    RequestLog log;
    setup.comboF2KeyMode->setCurrentIndex(setup.comboF2KeyMode->findText(text));
    QCOMPARE(setup.f2Mode(), stored);
    QCOMPARE(log.requests().size(), std::size_t(1));
    QCOMPARE(log.lastTree(), cachefeeder::tree("<m n=\"storeSettings\"><s k=\"group\">p_keypad</s>"
                                               "<i k=\"keypadF2Mode\">" + std::to_string(stored) + "</i></m>"));
}

QTEST_MAIN(TestKeypadSetup)
#include "test_keypadsetup.moc"
