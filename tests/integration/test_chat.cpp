// The chat screen against the simulated unit, followed on the program's debug log.
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

} // namespace

class TestChat : public QObject {
    Q_OBJECT

private slots:
    void init();
    void cleanup()
    {
        m_orvane.reset();
        m_sim.reset();
    }
    void presenceLineReachesTheUnitAndComesBackAsOwn();
    void farEndLineRaisesTheAlert();
    void presenceLineAgainAfterReconnecting();

private:
    // The simulator's answer to a control command, past the event lines it reports meanwhile.
    QString simCommand(const QString& line);
    // Whether a line of the program's log contains `text` in time.
    bool logs(const QString& text, int timeoutMs = kCommandMs)
    {
        return !m_orvane->waitForLine(text, timeoutMs).isEmpty();
    }

    std::unique_ptr<TestProcess> m_sim;
    std::unique_ptr<TestProcess> m_orvane;
};

void TestChat::init()
{
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    static int count = 0;
    environment.insert("LIBIPC_LOCAL_ADDR",
                       QString("/orvane-test-%1-chat-%2").arg(QCoreApplication::applicationPid()).arg(++count));
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
    QVERIFY2(logs("ipcChangedState 2 0", kStartMs), qPrintable(m_orvane->transcript()));
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

void TestChat::presenceLineReachesTheUnitAndComesBackAsOwn()
{
    QVERIFY2(!m_sim->waitForLine(kPresenceReported, kCommandMs).isEmpty(), qPrintable(m_sim->transcript()));
    const QString line = m_orvane->waitForLine(kOwnPresence, kCommandMs);
    QVERIFY2(!line.isEmpty(), qPrintable(m_orvane->transcript()));
    QVERIFY2(!line.contains("alert"), qPrintable(line));
}

void TestChat::farEndLineRaisesTheAlert()
{
    QVERIFY2(logs(kOwnPresence), qPrintable(m_orvane->transcript()));
    QCOMPARE(simCommand("say Can you hear me?"), QString("ok say sent to 1 session(s)"));
    const QString line = m_orvane->waitForLine("chat: message line from Far End", kCommandMs);
    QVERIFY2(line.endsWith(", alert"), qPrintable(m_orvane->transcript()));
}

void TestChat::presenceLineAgainAfterReconnecting()
{
    QVERIFY2(logs(kOwnPresence), qPrintable(m_orvane->transcript()));
    QCOMPARE(simCommand("drop"), QString("ok dropped 1 session(s)"));
    QVERIFY2(logs("ipcChangedState 0 0"), qPrintable(m_orvane->transcript()));
    QVERIFY2(logs("ipcChangedState 2 0", kReconnectMs), qPrintable(m_orvane->transcript()));
    QVERIFY2(!m_sim->waitForLine(kPresenceReported, kCommandMs).isEmpty(), qPrintable(m_sim->transcript()));
    QVERIFY2(logs(kOwnPresence), qPrintable(m_orvane->transcript()));
}

QTEST_GUILESS_MAIN(TestChat)
#include "test_chat.moc"
