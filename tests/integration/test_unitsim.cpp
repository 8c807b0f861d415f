// The simulated unit as the program meets it: its TCP listener, the password it takes and the
// notifications it sends to whom.
#include "testprocess.h"

#include <QCoreApplication>
#include <QTemporaryDir>
#include <QtTest>

class TestUnitSim : public QObject {
    Q_OBJECT

    static constexpr int kLoginMs = 20000;
    static constexpr int kCommandMs = 10000;

    QTemporaryDir m_home;

    // Each run's own local address and configuration home (the unit's identity, the pinned certificates).
    QProcessEnvironment environment(const QString& name)
    {
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert("LIBIPC_LOCAL_ADDR", QString("/orvane-test-%1-%2").arg(QCoreApplication::applicationPid()).arg(name));
        environment.insert("XDG_CONFIG_HOME", m_home.filePath(name));
        environment.insert("QT_QPA_PLATFORM", "offscreen");
        environment.insert("GUI_DEBUG", "true");
        for (const char* variable : {"REMOTE_UI", "REMOTE_UI_PASS"})
            environment.remove(variable);
        return environment;
    }
private slots:
    // The unit's password comes from its command line, else REMOTE_UI_PASS (the local run takes
    // the default); the program gives the one it finds in REMOTE_UI_PASS. A remote unit listens on
    // the default port: each row on a loopback address of its own.
    void logsInOverTcpWithTheUnitsPassword_data()
    {
        QTest::addColumn<QStringList>("simArguments");
        QTest::addColumn<QString>("password");
        QTest::newRow("environment") << QStringList{"--listen", "127.0.0.2"} << "fromenv";
        QTest::newRow("command line first") << QStringList{"--listen", "127.0.0.3", "--password", "cli"} << "cli";
    }
    void logsInOverTcpWithTheUnitsPassword()
    {
        QFETCH(QStringList, simArguments);
        QFETCH(QString, password);
        QProcessEnvironment environment = this->environment(QTest::currentDataTag());
        environment.insert("REMOTE_UI_PASS", "fromenv");
        const auto sim = startUnitSim(simArguments, environment);
        QVERIFY(sim);
        environment.insert("REMOTE_UI", simArguments.at(1));
        environment.insert("REMOTE_UI_PASS", password);
        TestProcess orvane("orvane", QStringList(), environment, QProcess::StandardError);
        QVERIFY(orvane.start());
        const bool ready = !orvane.waitForLine("ipcChangedState 2", kLoginMs).isEmpty();
        QVERIFY2(ready, qPrintable(orvane.transcript()));
    }

    void notifiesOnlySubscribedSessions()
    {
        const QProcessEnvironment environment = this->environment("local");
        const auto sim = startUnitSim({"--no-tcp", "--stats-rate", "0"}, environment);
        QVERIFY(sim);
        TestProcess orvane("orvane", QStringList(), environment, QProcess::StandardError);
        QVERIFY(orvane.start());
        const bool ready = !orvane.waitForLine("ipcChangedState 2", kLoginMs).isEmpty();
        QVERIFY2(ready, qPrintable(orvane.transcript()));
        const QList<QPair<QString, int>> sessionsById = {
            {"peer_stats", 1}, {"cfgData:netmgr.devices.eth0", 1}, {"cfgData:netmgr.remote", 0}, {"tun_stats2", 0}};
        for (const auto& [id, sessions] : sessionsById) {
            sim->writeLine("notify " + id + " <m n=\"probe\"/>");
            QCOMPARE(sim->waitForLine("ok ", kCommandMs), QString("ok %1 probe sent to %2 session(s)").arg(id).arg(sessions));
        }
    }
};

QTEST_GUILESS_MAIN(TestUnitSim)
#include "test_unitsim.moc"
