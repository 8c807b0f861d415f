// The user interface program against the simulated unit: the link state it reports on its log.
#include "testprocess.h"

#include <QCoreApplication>
#include <QtTest>

#include <memory>

namespace {

const int kStartMs = 20000;
// The client retries every 10 s after the link drops.
const int kReconnectMs = 35000;
const int kCommandMs = 10000;

} // namespace

class TestOrvane : public QObject {
    Q_OBJECT

private slots:
    void init();
    void cleanup()
    {
        m_orvane.reset();
        m_sim.reset();
    }
    void reconnectsWhenTheUnitComesBack();
    void reportsTheDefaultPasswordAfterReconnecting();
    void followsAFirmwareUpdate();

private:
    void startSim();
    QString simCommand(const QString& line);
    bool waitForState(const char* state, int timeoutMs);

    QProcessEnvironment m_environment;
    std::unique_ptr<TestProcess> m_sim;
    std::unique_ptr<TestProcess> m_orvane;
};

void TestOrvane::init()
{
    m_environment = QProcessEnvironment::systemEnvironment();
    static int count = 0;
    m_environment.insert("LIBIPC_LOCAL_ADDR",
                         QString("/orvane-test-%1-ui-%2").arg(QCoreApplication::applicationPid()).arg(++count));
    m_environment.insert("QT_QPA_PLATFORM", "offscreen");
    for (const char* name : {"REMOTE_UI", "REMOTE_UI_PASS", "GUI_DEBUG"})
        m_environment.remove(name);
    startSim();
    m_orvane = std::make_unique<TestProcess>("orvane", QStringList(), m_environment, QProcess::StandardError);
    QVERIFY(m_orvane->start());
    QVERIFY2(waitForState("2 0", kStartMs), qPrintable(m_orvane->transcript()));
}

void TestOrvane::startSim()
{
    m_sim = std::make_unique<TestProcess>("orvane-unitsim", QStringList{"--no-tcp"}, m_environment,
                                          QProcess::StandardOutput);
    QVERIFY(m_sim->start());
    QVERIFY(!m_sim->waitForLine("listening", kCommandMs).isEmpty());
}

QString TestOrvane::simCommand(const QString& line)
{
    m_sim->writeLine(line);
    // Skip the simulator's reports of what it was asked; the console's answer starts with "ok".
    return m_sim->waitForLine(QStringLiteral("ok "), kCommandMs);
}

bool TestOrvane::waitForState(const char* state, int timeoutMs)
{
    return !m_orvane->waitForLine(QString("ipcChangedState ") + state, timeoutMs).isEmpty();
}

void TestOrvane::reconnectsWhenTheUnitComesBack()
{
    QVERIFY(m_sim->stop());
    QVERIFY2(waitForState("0 0", kCommandMs), qPrintable(m_orvane->transcript()));
    startSim();
    QVERIFY2(waitForState("1 0", kReconnectMs), qPrintable(m_orvane->transcript()));
    QVERIFY2(waitForState("2 0", kCommandMs), qPrintable(m_orvane->transcript()));
}

void TestOrvane::reportsTheDefaultPasswordAfterReconnecting()
{
    QCOMPARE(simCommand("defpwd on"), QString("ok defpwd on"));
    QCOMPARE(simCommand("drop"), QString("ok dropped 1 session(s)"));
    QVERIFY2(waitForState("0 0", kCommandMs), qPrintable(m_orvane->transcript()));
    QVERIFY2(waitForState("1 0", kReconnectMs), qPrintable(m_orvane->transcript()));
    QVERIFY2(waitForState("2 1", kCommandMs), qPrintable(m_orvane->transcript()));
}

void TestOrvane::followsAFirmwareUpdate()
{
    QCOMPARE(simCommand("update start Installing 4.3.0"), QString("ok update start sent to 1 session(s)"));
    QVERIFY2(waitForState("3 0", kCommandMs), qPrintable(m_orvane->transcript()));
    QCOMPARE(simCommand("update finish"), QString("ok update finish sent to 1 session(s)"));
    QVERIFY2(waitForState("2 0", kCommandMs), qPrintable(m_orvane->transcript()));
}

QTEST_GUILESS_MAIN(TestOrvane)
#include "test_orvane.moc"
