// Profiles and user-interface settings driven from the keypad, with the shell in this process
// against the simulated unit over the real socket: what the unit is asked to store, and what the
// menu and the F2 key do with it.
#include "ipcinstances.h"
#include "keypadsetup.h"
#include "mainwindow.h"
#include "offline.h"
#include "platformkey.h"
#include "profilelist.h"
#include "testprocess.h"

#include <QApplication>
#include <QMenu>
#include <QMessageBox>
#include <QtTest>

#include <cstdlib>
#include <functional>
#include <memory>

namespace {

const int kReadyMs = 20000;
const int kCommandMs = 10000;

QStringList visibleEntries(const QMenu* menu)
{
    QStringList entries;
    for (const QAction* action : menu->actions()) {
        if (action->isVisible() && !action->isSeparator())
            entries << action->text();
    }
    return entries;
}

} // namespace

class TestProfiles : public QObject {
    Q_OBJECT

private slots:
    void initTestCase();
    void cleanupTestCase();
    void restrictedModeShrinksTheConfigureMenu();
    void chosenF2ModeIsStoredAndUsed();
    void addCopyAndRemoveAProfile();

private:
    // A keypad key, pressed and released, as the platform delivers it to the window on top.
    void key(int keycode);
    // Answers the question that `open` raises with `keys`, and returns its text.
    QString answerQuestion(const std::function<void()>& open, const QList<int>& keys);
    QString simEvent(const QString& text);

    std::unique_ptr<TestProcess> m_sim;
    std::unique_ptr<MainWindow> m_window;
};

void TestProfiles::initTestCase()
{
    const QByteArray address = "/orvane-test-profiles-" + QByteArray::number(QCoreApplication::applicationPid());
    qputenv("LIBIPC_LOCAL_ADDR", address);
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert("LIBIPC_LOCAL_ADDR", QString::fromLatin1(address));
    m_sim = std::make_unique<TestProcess>("orvane-unitsim", QStringList{"--no-tcp"}, environment,
                                          QProcess::StandardOutput);
    QVERIFY(m_sim->start());
    QVERIFY(!m_sim->waitForLine("listening", kCommandMs).isEmpty());

    m_window = std::make_unique<MainWindow>();
    m_window->setPointerCalibrationFile(QCoreApplication::applicationFilePath());
    QTRY_VERIFY_WITH_TIMEOUT(m_window->isVisible() && !m_window->offlineScreen().isVisible(), kReadyMs);
    QVERIFY(showActive(m_window.get()));
}

void TestProfiles::cleanupTestCase()
{
    m_window.reset();
    m_sim.reset();
}

void TestProfiles::key(int keycode)
{
    QWidget* top = QApplication::activeModalWidget() ? QApplication::activeModalWidget() : m_window.get();
    sendPlatformKey(top, true, keycode);
    sendPlatformKey(top, false, keycode);
}

QString TestProfiles::answerQuestion(const std::function<void()>& open, const QList<int>& keys)
{
    QString text;
    QTimer poll;
    poll.setInterval(10);
    connect(&poll, &QTimer::timeout, [&] {
        auto* box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget());
        if (!box || !box->isVisible())
            return;
        poll.stop();
        text = box->text();
        for (int keycode : keys)
            key(keycode);
    });
    poll.start();
    open();
    // The offscreen platform leaves no window active once the question has closed.
    QApplication::setActiveWindow(m_window.get());
    return text;
}

QString TestProfiles::simEvent(const QString& text)
{
    return m_sim->waitForLine(text, kCommandMs);
}

void TestProfiles::restrictedModeShrinksTheConfigureMenu()
{
    Menu& menu = m_window->menu();
    const QStringList fullConfigure{"Manage Profiles", "System Settings", "Braid Settings", "User Interface",
                                    "Additional Configuration", "About ORVANE"};
    QCOMPARE(visibleEntries(menu.menuConfigure), fullConfigure);

    menu.actionKeypad_Setup->trigger();
    auto* setup = m_window->findChild<KeypadSetup*>();
    QVERIFY(setup);
    QTRY_VERIFY(setup->comboF2KeyMode->hasFocus());
    key(Qt::Key_Down);
    key(Qt::Key_Down);
    QVERIFY(setup->restrictedUser->hasFocus());

    key(Qt::Key_Enter);
    QVERIFY2(!simEvent("storeSettings group=p_general restricted=true").isEmpty(), qPrintable(m_sim->transcript()));
    QCOMPARE(visibleEntries(menu.menuConfigure), (QStringList{"User Interface", "About ORVANE"}));
    QVERIFY(!visibleEntries(menu.menuRemotes).contains("Delete Remote"));

    key(Qt::Key_Enter);
    QVERIFY2(!simEvent("storeSettings group=p_general restricted=false").isEmpty(), qPrintable(m_sim->transcript()));
    QCOMPARE(visibleEntries(menu.menuConfigure), fullConfigure);
}

void TestProfiles::chosenF2ModeIsStoredAndUsed()
{
    m_window->menu().actionKeypad_Setup->trigger();
    auto* setup = m_window->findChild<KeypadSetup*>();
    QVERIFY(setup);
    QTRY_VERIFY(setup->comboF2KeyMode->hasFocus());
    const int steps = setup->comboF2KeyMode->findText("Toggle to Braid Stats") - setup->comboF2KeyMode->currentIndex();
    QVERIFY2(steps != 0, "the unit already stores the mode this test chooses");
    for (int step = 0; step < std::abs(steps); ++step)
        key(steps > 0 ? Qt::Key_Right : Qt::Key_Left);
    QCOMPARE(setup->comboF2KeyMode->currentText(), QString("Toggle to Braid Stats"));
    QVERIFY2(!simEvent("storeSettings group=p_keypad keypadF2Mode=9").isEmpty(), qPrintable(m_sim->transcript()));

    key(Qt::Key_F2);
    QCOMPARE(m_window->pane().currentScreen(), int(Pane::ScreenBraidStats));
    key(Qt::Key_F2);
    QCOMPARE(m_window->pane().currentScreen(), int(Pane::ScreenKeypadSetup));
}

void TestProfiles::addCopyAndRemoveAProfile()
{
    m_window->menu().actionManage_Profiles->trigger();
    auto* list = m_window->findChild<ProfileList*>();
    QVERIFY(list);
    QTRY_VERIFY(list->buttonEdit->hasFocus());
    const int profiles = list->listProfiles->count();

    key(Qt::Key_Right);
    QVERIFY(list->buttonNew->hasFocus());
    key(Qt::Key_Enter);
    const QString added = simEvent("addProfile");
    QVERIFY2(added.endsWith("name=New Profile"), qPrintable(m_sim->transcript()));
    const QString id = added.section(' ', 2, 2);
    QTRY_COMPARE(list->listProfiles->currentItem()->text(), QString("New Profile"));

    key(Qt::Key_Right);
    key(Qt::Key_Right);
    QVERIFY(list->buttonRemove->hasFocus());
    const QString question = "This will delete the 'New Profile' profile.\n\nDo you wish to continue?";
    // Enter on the question takes its default, No.
    QCOMPARE(answerQuestion([this] { key(Qt::Key_Enter); }, {Qt::Key_Enter}), question);
    QVERIFY(!m_window->isModal());

    // The unit's next profile event is the copy: the answer No deleted nothing.
    key(Qt::Key_Left);
    QVERIFY(list->buttonCopy->hasFocus());
    key(Qt::Key_Enter);
    const QString copied = simEvent("Profile");
    QVERIFY2(copied.startsWith("event copyProfile from=" + id.section('=', 1)), qPrintable(m_sim->transcript()));
    QTRY_COMPARE(list->listProfiles->count(), profiles + 2);
    QCOMPARE(list->listProfiles->currentItem()->text(), QString("New Profile"));

    key(Qt::Key_Right);
    QCOMPARE(answerQuestion([this] { key(Qt::Key_Enter); }, {Qt::Key_Left, Qt::Key_Enter}), question);
    QVERIFY2(!simEvent("deleteProfile " + id).isEmpty(), qPrintable(m_sim->transcript()));
    QTRY_COMPARE(list->listProfiles->count(), profiles + 1);
    QVERIFY(list->listProfiles->findItems("New Profile", Qt::MatchExactly).isEmpty());
    QVERIFY(!m_window->isModal());
}

QTEST_MAIN(TestProfiles)
#include "test_profiles.moc"
