// The chat screen of the user interface program against the simulated unit: the presence line at
// every readiness, as the unit reports it and as the screen shows its echo, and a line from the
// far end, followed on the program's debug log.
#include "testprocess.h"

#include <QCoreApplication>
#include <QtTest>

#include <memory>

namespace {

const int kStartMs = 20000;
// The client retries every 10 s after the link drops.
const int kReconnectMs = 35000;
const int kCommandMs = 10000;

const char* const kOwnPresence = "chat: status line from Portable";
const char* const kPresenceReported = "event chat status from Portable: has entered chat.";

QString uniqueLocalAddress()
{
    static int count = 0;
    return QString("/orvane-test-%1-chat-%2").arg(QCoreApplication::applicationPid()).arg(++count);
}

} // namespace

class TestChat : public QObject {
    Q_OBJECT

private slots:
    void init();
    void cleanup();
    void presenceLineReachesTheUnitAndComesBackAsOwn();
    void farEndLineRaisesTheAlert();
    void presenceLineAgainAfterReconnecting();

private:
    // The simulator's answer to a control command, past the event lines it reports meanwhile.
    QString simCommand(const QString& line);
    // The next line of the program's log that contains `text`; empty on time-out.
    QString waitForLog(const QString& text, int timeoutMs);

    std::unique_ptr<TestProcess> m_sim;
    std::unique_ptr<TestProcess> m_orvane;
};

void TestChat::init()
{
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert("LIBIPC_LOCAL_ADDR", uniqueLocalAddress());
    environment.insert("QT_QPA_PLATFORM", "offscreen");
    environment.remove("REMOTE_UI");
    environment.remove("REMOTE_UI_PASS");
    // The chat screen reports each line it shows on the debug log.
    environment.insert("GUI_DEBUG", "true");

    m_sim = std::make_unique<TestProcess>("orvane-unitsim", QStringList{"--no-tcp"}, environment,
                                          QProcess::StandardOutput);
    QVERIFY(m_sim->start());
    QVERIFY(!m_sim->waitForLine("listening", kCommandMs).isEmpty());
    m_orvane = std::make_unique<TestProcess>("orvane", QStringList(), environment, QProcess::StandardError);
    QVERIFY(m_orvane->start());
    QVERIFY2(!waitForLog("ipcChangedState 2 0", kStartMs).isEmpty(), qPrintable(m_orvane->transcript()));
}

void TestChat::cleanup()
{
    m_orvane.reset();
    m_sim.reset();
}

QString TestChat::simCommand(const QString& line)
{
    m_sim->writeLine(line);
    for (;;) {
        const QString answer = m_sim->waitForLine(QString(), kCommandMs);
        if (!answer.startsWith("event "))
            return answer;
    }
}

QString TestChat::waitForLog(const QString& text, int timeoutMs)
{
    return m_orvane->waitForLine(text, timeoutMs);
}

void TestChat::presenceLineReachesTheUnitAndComesBackAsOwn()
{
    QVERIFY2(!m_sim->waitForLine(kPresenceReported, kCommandMs).isEmpty(), qPrintable(m_sim->transcript()));
    const QString line = waitForLog(kOwnPresence, kCommandMs);
    QVERIFY2(!line.isEmpty(), qPrintable(m_orvane->transcript()));
    QVERIFY2(!line.contains("alert"), qPrintable(line));
}

void TestChat::farEndLineRaisesTheAlert()
{
    QVERIFY2(!waitForLog(kOwnPresence, kCommandMs).isEmpty(), qPrintable(m_orvane->transcript()));
    QCOMPARE(simCommand("say Can you hear me?"), QString("ok say sent to 1 session(s)"));
    const QString line = waitForLog("chat: message line from Far End", kCommandMs);
    QVERIFY2(line.endsWith(", alert"), qPrintable(m_orvane->transcript()));
}

void TestChat::presenceLineAgainAfterReconnecting()
{
    QVERIFY2(!waitForLog(kOwnPresence, kCommandMs).isEmpty(), qPrintable(m_orvane->transcript()));
    QCOMPARE(simCommand("drop"), QString("ok dropped 1 session(s)"));
    QVERIFY2(!waitForLog("ipcChangedState 0 0", kCommandMs).isEmpty(), qPrintable(m_orvane->transcript()));
    QVERIFY2(!waitForLog("ipcChangedState 2 0", kReconnectMs).isEmpty(), qPrintable(m_orvane->transcript()));
    QVERIFY2(!m_sim->waitForLine(kPresenceReported, kCommandMs).isEmpty(), qPrintable(m_sim->transcript()));
    QVERIFY2(!waitForLog(kOwnPresence, kCommandMs).isEmpty(), qPrintable(m_orvane->transcript()));
}

QTEST_GUILESS_MAIN(TestChat)
#include "test_chat.moc"
