// What the program does by itself at start and at the first ready link.
#include "shellfixture.h"

#include "calibration.h"
#include "logger.h"
#include "modalwatch.h"
#include "qwscalibratedmousehandler.h"
#include "qwsserver.h"
#include "scribblewidget.h"
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
        QTest::addColumn<bool>("touched"); // all five targets, then F2 on the drawing test
        QTest::newRow("calibrated") << true << false;
        QTest::newRow("never calibrated, aborted") << false << false;
        QTest::newRow("never calibrated, touched") << false << true;
    }
    void missingCalibrationStartsOneAtReady()
    {
        QFETCH(bool, fileExists);
        QFETCH(bool, touched);
        QTemporaryDir dir;
        QWSServer::setMouseHandler(new QWSCalibratedMouseHandler(dir.filePath("handler"), qApp));
        ShellFixture shell;
        MainWindow& window = *shell.window;
        QVERIFY(window.hasCalibratedMouse());
        if (!fileExists)
            window.setPointerCalibrationFile(dir.filePath("missing"));

        int calibrations = 0;
        int drawingTests = 0;
        bool calibratingWhileAsked = false;
        // The operator touches every target or aborts with F2; F2 also ends the drawing test.
        const auto pressF2 = [&] {
            window.setCalibrating(false);
            emit window.abortCalibration();
        };
        QTimer poll;
        answerEveryModal<Calibration>(poll, [&](Calibration& calibration) {
            ++calibrations;
            calibratingWhileAsked = window.isCalibrating();
            touched ? calibration.accept() : pressF2();
        });
        // The drawing test is a frameless child of the window, not a window of its own.
        QTimer drawingPoll;
        connect(&drawingPoll, &QTimer::timeout, [&] {
            if (auto* drawing = window.findChild<ScribbleWidget*>(); drawing && drawing->isVisible() && !drawingTests++)
                pressF2();
        });
        drawingPoll.start(20);
        shell.setState(IPCClient::IPC_READY);

        QCOMPARE(calibrations, fileExists ? 0 : 1);
        QCOMPARE(calibratingWhileAsked, !fileExists);
        QCOMPARE(drawingTests, touched ? 1 : 0);
        const bool aborted = !fileExists && !touched;
        QCOMPARE(window.popup().isVisible(), aborted);
        if (aborted)
            QCOMPARE(window.popup().findChild<QLabel*>()->text(),
                     QStringLiteral("Warning: Touchscreen disabled due to aborted calibration."));
        QVERIFY(!window.isCalibrating());
        // Only the run that asked: the meters' next pause starts none.
        window.pane().metering().setSuspended(true, true);
        QCOMPARE(calibrations, fileExists ? 0 : 1);
    }
};

QTEST_MAIN(TestStartup)
#include "test_startup.moc"
