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

    void startSim()
    {
        m_sim = startUnitSim({"--no-tcp"}, m_environment);
        QVERIFY(m_sim);
    }
    // The console's answer starts with "ok", past the simulator's reports of what it was asked.
    QString simCommand(const QString& line)
    {
        m_sim->writeLine(line);
        return m_sim->waitForLine(QStringLiteral("ok "), kCommandMs);
    }
    QString orvaneLine(const QString& text, int timeoutMs = kCommandMs)
    {
        const QString line = m_orvane->waitForLine(text, timeoutMs);
        if (line.isEmpty())
            qWarning("%s", qPrintable(m_orvane->transcript()));
        return line;
    }

private slots:
    void initTestCase()
    {
        m_environment.insert("LIBIPC_LOCAL_ADDR", QString("/orvane-test-%1-ui").arg(QCoreApplication::applicationPid()));
        m_environment.insert("QT_QPA_PLATFORM", "offscreen");
        for (const char* name : {"REMOTE_UI", "REMOTE_UI_PASS"})
            m_environment.remove(name);
        // The link states are reported on the debug log.
        m_environment.insert("GUI_DEBUG", "true");
        startSim();
        m_orvane = std::make_unique<TestProcess>("orvane", QStringList(), m_environment, QProcess::StandardError);
        QVERIFY(m_orvane->start());
        QVERIFY(!orvaneLine("ipcChangedState 2 0", kStartMs).isEmpty());
    }

    void followsAFirmwareUpdate()
    {
        QCOMPARE(simCommand("update start Installing 4.3.0"), QString("ok update start sent to 1 session(s)"));
        QVERIFY(!orvaneLine("ipcChangedState 3 0").isEmpty());
        QCOMPARE(simCommand("update finish"), QString("ok update finish sent to 1 session(s)"));
        QVERIFY(!orvaneLine("ipcChangedState 2 0").isEmpty());
    }

    // A restarted unit that still has its factory password: reported once the link is back.
    void reconnectsToARestartedUnit()
    {
        QVERIFY(m_sim->stop());
        QVERIFY(!orvaneLine("ipcChangedState 0 0").isEmpty());
        startSim();
        QCOMPARE(simCommand("defpwd on"), QString("ok defpwd on"));
        QVERIFY(!orvaneLine("ipcChangedState 1 0", kReconnectMs).isEmpty());
        QVERIFY(!orvaneLine("ipcChangedState 2 1").isEmpty());
    }

    void cleanupTestCase()
    {
        m_orvane.reset();
        m_sim.reset();
    }
};

QTEST_GUILESS_MAIN(TestOrvane)
#include "test_orvane.moc"
