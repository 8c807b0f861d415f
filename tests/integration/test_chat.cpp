// The chat screen against the simulated unit, followed on the program's debug log.
#include "testprocess.h"

#include <QCoreApplication>
#include <QtTest>

#include <memory>

namespace {
const int kStartMs = 20000;
const int kCommandMs = 10000;
} // namespace

class TestChat : public QObject {
    Q_OBJECT

private slots:
    void presenceComesBackAsOwnAndAFarEndLineAlerts();
};

// The presence line goes out once the link is ready and comes back from the unit as this
// screen's own, without an alert; a line from the far end raises one.
void TestChat::presenceComesBackAsOwnAndAFarEndLineAlerts()
{
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert("LIBIPC_LOCAL_ADDR", QString("/orvane-test-%1-chat").arg(QCoreApplication::applicationPid()));
    environment.insert("QT_QPA_PLATFORM", "offscreen");
    environment.remove("REMOTE_UI");
    environment.remove("REMOTE_UI_PASS");
    // The chat screen reports each line it shows on the debug log.
    environment.insert("GUI_DEBUG", "true");
    TestProcess sim("orvane-unitsim", QStringList{"--no-tcp"}, environment, QProcess::StandardOutput);
    QVERIFY(sim.start());
    QVERIFY(!sim.waitForLine("listening", kCommandMs).isEmpty());
    TestProcess orvane("orvane", QStringList(), environment, QProcess::StandardError);
    QVERIFY(orvane.start());
    QVERIFY2(!orvane.waitForLine("ipcChangedState 2 0", kStartMs).isEmpty(), qPrintable(orvane.transcript()));

    QVERIFY2(!sim.waitForLine("event chat status from Portable: has entered chat.", kCommandMs).isEmpty(),
             qPrintable(sim.transcript()));
    const QString own = orvane.waitForLine("chat: status line from Portable", kCommandMs);
    QVERIFY2(!own.isEmpty() && !own.contains("alert"), qPrintable(orvane.transcript()));
    sim.writeLine("say Can you hear me?");
    QVERIFY(!sim.waitForLine("ok say sent to 1 session(s)", kCommandMs).isEmpty());
    const QString far = orvane.waitForLine("chat: message line from Far End", kCommandMs);
    QVERIFY2(far.endsWith(", alert"), qPrintable(orvane.transcript()));
}

QTEST_GUILESS_MAIN(TestChat)
#include "test_chat.moc"
