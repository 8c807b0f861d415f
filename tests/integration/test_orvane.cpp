// The user interface program against the simulated unit: the link states it reports on its
// (debug) log through a firmware update and a restart of the unit.
#include "testprocess.h"

#include <QCoreApplication>
#include <QtTest>

class TestOrvane : public QObject {
    Q_OBJECT

private slots:
    void followsTheUnit()
    {
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert("LIBIPC_LOCAL_ADDR", QString("/orvane-test-%1-ui").arg(QCoreApplication::applicationPid()));
        environment.insert("QT_QPA_PLATFORM", "offscreen");
        environment.insert("GUI_DEBUG", "true");
        for (const char* name : {"REMOTE_UI", "REMOTE_UI_PASS"})
            environment.remove(name);
        std::unique_ptr<TestProcess> sim = startUnitSim({"--no-tcp"}, environment);
        QVERIFY(sim);
        TestProcess orvane("orvane", QStringList(), environment, QProcess::StandardError);
        QVERIFY(orvane.start());
        const auto reported = [&](const QString& state) {
            const bool seen = !orvane.waitForLine("ipcChangedState " + state, 35000).isEmpty();
            if (!seen)
                qWarning("%s", qPrintable(orvane.transcript()));
            return seen;
        };
        QVERIFY(reported("2 0"));
        sim->writeLine("update start Installing 4.3.0");
        QVERIFY(reported("3 0"));
        sim->writeLine("update finish");
        QVERIFY(reported("2 0"));
        // A restarted unit with its factory password; the client retries ten seconds after its last attempt.
        QVERIFY(sim->stop());
        sim = startUnitSim({"--no-tcp"}, environment);
        QVERIFY(sim);
        sim->writeLine("defpwd on");
        for (const char* state : {"0 0", "1 0", "2 1"})
            QVERIFY(reported(state));
    }
};

QTEST_GUILESS_MAIN(TestOrvane)
#include "test_orvane.moc"
