// The remote list and the remote editor driven from the keypad, with the shell in this process
// against the simulated unit over the real socket: a call made and ended, a remote added and
// deleted, as the operator sees them and as the unit is asked.
#include "mainwindow.h"
#include "menu.h"
#include "offline.h"
#include "peeredit.h"
#include "peerlist.h"
#include "platformkey.h"
#include "testprocess.h"

#include <QApplication>
#include <QMessageBox>
#include <QtTest>

#include <functional>
#include <memory>

namespace {

const int kReadyMs = 20000;
const int kCommandMs = 10000;
// A Braid call: searching, negotiating, connected both ways; its session rests before searching again.
const int kCallMs = 10000;
// More presses than the default unit's lists and forms need.
const int kMaxPresses = 20;

const char* const kBraidRemote = "OB Van 2";

} // namespace

class TestRemotes : public QObject {
    Q_OBJECT

private slots:
    void initTestCase();
    void cleanupTestCase();
    void callWithTheKeypad();
    void addRemoteWithTheKeypad();
    void deleteRemoteAfterYes();

private:
    // A keypad key, pressed and released, as the platform delivers it to the window on top.
    void key(int keycode);
    // Typed letters, as the on-screen keyboard delivers them.
    void type(const QString& text);
    bool pressUntil(int keycode, const std::function<bool()>& done);
    QTreeWidgetItem* row(const QString& name) const;
    QString simEvent(const QString& text);

    std::unique_ptr<TestProcess> m_sim;
    std::unique_ptr<MainWindow> m_window;
    PeerList* m_list = nullptr;
    PeerEdit* m_editor = nullptr;
};

void TestRemotes::initTestCase()
{
    const QByteArray address = "/orvane-test-remotes-" + QByteArray::number(QCoreApplication::applicationPid());
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

    m_list = dynamic_cast<PeerList*>(m_window->pane().page(Pane::ScreenPeerList));
    m_editor = dynamic_cast<PeerEdit*>(m_window->pane().page(Pane::ScreenPeerAdd));
    QVERIFY2(m_list && m_editor, "the remote screens are not in the stack");
    QTRY_COMPARE(m_list->peerTree->topLevelItemCount(), 4);
}

void TestRemotes::cleanupTestCase()
{
    m_window.reset();
    m_sim.reset();
}

void TestRemotes::key(int keycode)
{
    QWidget* top = QApplication::activeModalWidget() ? QApplication::activeModalWidget() : m_window.get();
    sendPlatformKey(top, true, keycode);
    sendPlatformKey(top, false, keycode);
}

void TestRemotes::type(const QString& text)
{
    for (const QChar c : text) {
        const int keycode = c.toUpper().unicode();
        sendPlatformKey(m_window.get(), true, keycode, Qt::NoModifier, QString(c));
        sendPlatformKey(m_window.get(), false, keycode, Qt::NoModifier, QString(c));
    }
}

bool TestRemotes::pressUntil(int keycode, const std::function<bool()>& done)
{
    for (int i = 0; i < kMaxPresses && !done(); ++i) {
        key(keycode);
        QCoreApplication::processEvents();
    }
    return done();
}

QTreeWidgetItem* TestRemotes::row(const QString& name) const
{
    for (int i = 0; i < m_list->peerTree->topLevelItemCount(); ++i) {
        QTreeWidgetItem* item = m_list->peerTree->topLevelItem(i);
        if (item->text(0).section(QLatin1Char('\n'), 0, 0) == name)
            return item;
    }
    return nullptr;
}

QString TestRemotes::simEvent(const QString& text)
{
    return m_sim->waitForLine(text, kCommandMs);
}

void TestRemotes::callWithTheKeypad()
{
    m_window->pane().showScreen(Pane::ScreenPeerList);
    QTreeWidgetItem* van = row(kBraidRemote);
    QVERIFY(van);
    QVERIFY(pressUntil(Qt::Key_Down, [&] { return m_list->peerTree->currentItem() == van; }));
    QVERIFY(m_list->buttonConnect->hasFocus());

    key(Qt::Key_Enter);
    QVERIFY2(!simEvent("event call 3 connecting").isEmpty(), qPrintable(m_sim->transcript()));
    QVERIFY2(!simEvent("event call 3 connected").isEmpty(), qPrintable(m_sim->transcript()));
    QTRY_COMPARE_WITH_TIMEOUT(van->text(0), QString("OB Van 2\nConnected (Braid)"), kCallMs);
    QTRY_VERIFY_WITH_TIMEOUT(van->child(3)->text(0).startsWith("Braid Status\tACTIVE"), kCallMs);
    QVERIFY(m_list->getAnyActive());
    QVERIFY(m_list->buttonDisconnect->hasFocus());

    key(Qt::Key_Enter);
    QVERIFY2(!simEvent("event call 3 idle").isEmpty(), qPrintable(m_sim->transcript()));
    QTRY_VERIFY_WITH_TIMEOUT(!m_list->getAnyActive(), kCommandMs);
    QTRY_VERIFY_WITH_TIMEOUT(m_list->buttonConnect->hasFocus(), kCommandMs);
    // The session retires with the call, then searches for its far end again.
    QTRY_COMPARE_WITH_TIMEOUT(van->text(0), QString("OB Van 2"), kCallMs);
    QVERIFY(van->child(3)->text(0).startsWith("Braid Status\tSEARCHING\n\t"));
}

void TestRemotes::addRemoteWithTheKeypad()
{
    m_window->menu().actionAdd_New_Remote->trigger();
    QCOMPARE(m_window->pane().currentScreen(), int(Pane::ScreenPeerAdd));
    QCOMPARE(m_editor->labelTitle->text(), QString("Add New Remote"));
    QVERIFY(m_editor->nameEdit->hasFocus());
    QVERIFY(!m_editor->buttonOK->isEnabled());

    type("Field Kit");
    key(Qt::Key_Down);
    type("secret");
    key(Qt::Key_Down);
    QVERIFY(m_editor->addressEdit->hasFocus());
    type("192.0.2.44");
    QVERIFY(m_editor->buttonOK->isEnabled());
    QVERIFY(pressUntil(Qt::Key_Down, [&] { return m_editor->buttonOK->hasFocus(); }));

    key(Qt::Key_Enter);
    QVERIFY2(!simEvent("event peer added 5 Field Kit").isEmpty(), qPrintable(m_sim->transcript()));
    QCOMPARE(m_window->pane().currentScreen(), int(Pane::ScreenPeerList));
    QTRY_VERIFY_WITH_TIMEOUT(row("Field Kit"), kCommandMs);
    QCOMPARE(row("Field Kit")->child(0)->text(0), QString("Address\t192.0.2.44"));
    QCOMPARE(m_list->peerTree->indexOfTopLevelItem(row("Field Kit")), 4);
}

void TestRemotes::deleteRemoteAfterYes()
{
    QTreeWidgetItem* kit = row("Field Kit");
    QVERIFY(kit);
    m_list->peerTree->setCurrentItem(kit);

    QString question;
    QTimer poll;
    poll.setInterval(10);
    connect(&poll, &QTimer::timeout, [&] {
        auto* box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget());
        if (!box || !box->isVisible())
            return;
        poll.stop();
        question = box->text();
        // No is the default: Left moves to Yes.
        key(Qt::Key_Left);
        key(Qt::Key_Enter);
    });
    poll.start();
    m_window->menu().actionDelete_Remote->trigger();
    QCOMPARE(question, QString("This will delete the 'Field Kit' remote from the list!\n\nDo you wish to continue?"));

    QVERIFY2(!simEvent("event peer removed 5").isEmpty(), qPrintable(m_sim->transcript()));
    QTRY_VERIFY_WITH_TIMEOUT(!row("Field Kit"), kCommandMs);
    QCOMPARE(m_list->peerTree->topLevelItemCount(), 4);
}

QTEST_MAIN(TestRemotes)
#include "test_remotes.moc"
