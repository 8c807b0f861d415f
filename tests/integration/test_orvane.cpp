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
        // A console command ("restart": the unit goes and comes back with its factory password),
        // then the states the program reports, in order. The client retries ten seconds after its
        // last attempt.
        const std::pair<QString, QStringList> steps[] = {
            {QString(), {"2 0"}},
            {"update start Installing 4.3.0", {"3 0"}},
            {"update finish", {"2 0"}},
            {"restart", {"0 0", "1 0", "2 1"}},
        };
        for (const auto& [command, states] : steps) {
            if (command == "restart") {
                QVERIFY(sim->stop());
                sim = startUnitSim({"--no-tcp"}, environment);
                QVERIFY(sim);
                sim->writeLine("defpwd on");
            } else if (!command.isEmpty()) {
                sim->writeLine(command);
            }
            for (const QString& state : states)
                QVERIFY2(!orvane.waitForLine("ipcChangedState " + state, 35000).isEmpty(), qPrintable(orvane.transcript()));
        }
    }
};

QTEST_GUILESS_MAIN(TestOrvane)
#include "test_orvane.moc"
