// The user interface program against the simulated unit: the link state it reports on its
// (debug) log.
#include "testprocess.h"

#include <QCoreApplication>
#include <QtTest>

#include <memory>

namespace {
const int kStartMs = 20000;
// The client retries ten seconds after its last attempt.
const int kReconnectMs = 35000;
const int kCommandMs = 10000;
} // namespace

class TestOrvane : public QObject {
    Q_OBJECT

    QProcessEnvironment m_environment = QProcessEnvironment::systemEnvironment();
    std::unique_ptr<TestProcess> m_sim;
    std::unique_ptr<TestProcess> m_orvane;

    // The console's answer starts with "ok", past the simulator's reports of what it was asked.
    QString simCommand(const QString& line)
    {
        m_sim->writeLine(line);
        return m_sim->waitForLine(QStringLiteral("ok "), kCommandMs);
    }
    bool reported(const QString& state, int timeoutMs = kCommandMs)
    {
        const bool seen = !m_orvane->waitForLine("ipcChangedState " + state, timeoutMs).isEmpty();
        if (!seen)
            qWarning("%s", qPrintable(m_orvane->transcript()));
        return seen;
    }

private slots:
    void initTestCase()
    {
        m_environment.insert("LIBIPC_LOCAL_ADDR", QString("/orvane-test-%1-ui").arg(QCoreApplication::applicationPid()));
        m_environment.insert("QT_QPA_PLATFORM", "offscreen");
        for (const char* name : {"REMOTE_UI", "REMOTE_UI_PASS"})
            m_environment.remove(name);
        m_environment.insert("GUI_DEBUG", "true");
        m_sim = startUnitSim({"--no-tcp"}, m_environment);
        QVERIFY(m_sim);
        m_orvane = std::make_unique<TestProcess>("orvane", QStringList(), m_environment, QProcess::StandardError);
        QVERIFY(m_orvane->start());
        QVERIFY(reported("2 0", kStartMs));
    }
    void followsAFirmwareUpdate()
    {
        QCOMPARE(simCommand("update start Installing 4.3.0"), QString("ok update start sent to 1 session(s)"));
        QVERIFY(reported("3 0"));
        QCOMPARE(simCommand("update finish"), QString("ok update finish sent to 1 session(s)"));
        QVERIFY(reported("2 0"));
    }
    // A restarted unit that still has its factory password: reported once the link is back.
    void reconnectsToARestartedUnit()
    {
        QVERIFY(m_sim->stop());
        QVERIFY(reported("0 0"));
        m_sim = startUnitSim({"--no-tcp"}, m_environment);
        QVERIFY(m_sim);
        QCOMPARE(simCommand("defpwd on"), QString("ok defpwd on"));
        QVERIFY(reported("1 0", kReconnectMs));
        QVERIFY(reported("2 1"));
    }
    void cleanupTestCase()
    {
        m_orvane.reset();
        m_sim.reset();
    }
};

QTEST_GUILESS_MAIN(TestOrvane)
#include "test_orvane.moc"
