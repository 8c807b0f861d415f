// What the program does by itself at start and at the first ready link.
#include "shellfixture.h"

#include "calibration.h"
#include "logger.h"
#include "modalwatch.h"
#include "qwscalibratedmousehandler.h"
#include "qwsserver.h"
#include "transientpopup.h"

#include <QLabel>

class TestStartup : public QObject {
    Q_OBJECT

private slots:
    void cleanup()
    {
        qunsetenv("GUI_DEBUG");
        qunsetenv("REMOTE_UI");
    }
    void debugLogging_data()
    {
        QTest::addColumn<QByteArray>("value");
        QTest::addColumn<bool>("debug");
        QTest::newRow("unset") << QByteArray() << false;
        QTest::newRow("upper case") << QByteArray("TRUE") << true;
        QTest::newRow("mixed case") << QByteArray("tRuE") << true;
        QTest::newRow("other word") << QByteArray("yes") << false;
    }
    void debugLogging()
    {
        QFETCH(QByteArray, value);
        QFETCH(bool, debug);
        if (!value.isNull())
            qputenv("GUI_DEBUG", value);
        ShellFixture shell;
        QCOMPARE(g_log.enabled(LOG_DEBUG), debug);
        QVERIFY(g_log.enabled(LOG_ERROR));
    }
    void linkTarget_data()
    {
        QTest::addColumn<QByteArray>("remote");
        QTest::addColumn<QString>("encoding");
        QTest::addColumn<QString>("host");
        QTest::newRow("the unit's own backend") << QByteArray() << "compact" << "/com/halvik/orvane";
        QTest::newRow("another unit") << QByteArray("unit.example") << "xmls" << "unit.example";
    }
    void linkTarget()
    {
        QFETCH(QByteArray, remote);
        QFETCH(QString, encoding);
        QFETCH(QString, host);
        if (!remote.isNull())
            qputenv("REMOTE_UI", remote);
        const MainWindow::LinkTarget target = MainWindow::linkTarget();
        QCOMPARE(QString::fromStdString(target.encoding), encoding);
        QCOMPARE(QString::fromStdString(target.address.host()), host);
        QCOMPARE(target.address.effective_port(), SocketAddr::kDefaultPort);
    }
    void missingCalibrationStartsOneAtReady_data()
    {
        QTest::addColumn<bool>("fileExists");
        QTest::newRow("calibrated") << true;
        QTest::newRow("never calibrated") << false;
    }
    void missingCalibrationStartsOneAtReady()
    {
        QFETCH(bool, fileExists);
        QTemporaryDir dir;
        QWSServer::setMouseHandler(new QWSCalibratedMouseHandler(dir.filePath("handler"), qApp));
        ShellFixture shell;
        MainWindow& window = *shell.window;
        QVERIFY(window.hasCalibratedMouse());
        if (!fileExists)
            window.setPointerCalibrationFile(dir.filePath("missing"));

        // The operator aborts with F2 at once.
        int calibrations = 0;
        bool calibratingWhileAsked = false;
        QTimer poll;
        answerEveryModal<Calibration>(poll, [&](Calibration&) {
            ++calibrations;
            calibratingWhileAsked = window.isCalibrating();
            window.setCalibrating(false);
            emit window.abortCalibration();
        });
        shell.setState(IPCClient::IPC_READY);

        QCOMPARE(calibrations, fileExists ? 0 : 1);
        QCOMPARE(calibratingWhileAsked, !fileExists);
        QCOMPARE(window.popup().isVisible(), !fileExists);
        QVERIFY(!window.isCalibrating());
    }
};

QTEST_MAIN(TestStartup)
#include "test_startup.moc"
