// What the program shows by itself: at start, while the link is down or updating, at the first
// ready link, and the popup that carries its warnings.
#include "shellfixture.h"

#include "calibration.h"
#include "logger.h"
#include "modalwatch.h"
#include "offline.h"
#include "qwscalibratedmousehandler.h"
#include "qwsserver.h"
#include "scribblewidget.h"
#include "transientpopup.h"

class TestStartup : public QObject {
    Q_OBJECT

private slots:
    void cleanup()
    {
        qunsetenv("GUI_DEBUG");
        qunsetenv("REMOTE_UI");
    }
    // The debug log on GUI_DEBUG=true in any case; the unit's own backend unless REMOTE_UI names another.
    void environment_data()
    {
        QTest::addColumn<QByteArray>("debug");
        QTest::addColumn<QByteArray>("remote");
        QTest::addColumn<QString>("seen"); // debug log, encoding, host
        QTest::newRow("unset") << QByteArray() << QByteArray() << "false compact /com/halvik/orvane";
        QTest::newRow("set") << QByteArray("tRuE") << QByteArray("unit.example") << "true xmls unit.example";
        QTest::newRow("other word") << QByteArray("yes") << QByteArray() << "false compact /com/halvik/orvane";
    }
    void environment()
    {
        QFETCH(QByteArray, debug);
        QFETCH(QByteArray, remote);
        QFETCH(QString, seen);
        for (const auto& [name, value] : {std::pair("GUI_DEBUG", debug), std::pair("REMOTE_UI", remote)}) {
            if (!value.isNull())
                qputenv(name, value);
        }
        const MainWindow::LinkTarget link = MainWindow::linkTarget();
        qunsetenv("REMOTE_UI"); // the window's link stays on this machine
        ShellFixture shell;
        QCOMPARE(QString::fromStdString((g_log.enabled(LOG_DEBUG) ? "true " : "false ") + link.encoding + ' '
                                        + link.address.host()), seen);
        QVERIFY(g_log.enabled(LOG_ERROR));
        QCOMPARE(link.address.effective_port(), SocketAddr::kDefaultPort);
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
        QCOMPARE(popupText(window.popup()),
                 aborted ? QStringLiteral("Warning: Touchscreen disabled due to aborted calibration.") : QString());
        QVERIFY(!window.isCalibrating());
        // Only the run that asked: the meters' next pause starts none.
        window.pane().metering().setSuspended(true, true);
        QCOMPARE(calibrations, fileExists ? 0 : 1);
    }
    void offlineTexts_data()
    {
        QTest::addColumn<QList<int>>("states");
        QTest::addColumn<QString>("icon");
        QTest::addColumn<QString>("texts"); // state|status

        const int down = IPCClient::IPC_DISCONNECTED;
        const int in = IPCClient::IPC_LOGGED_IN;
        const int ready = IPCClient::IPC_READY;
        const QString creating = ":/icons/connect_creating.png";
        const QString established = ":/icons/connect_established.png";
        QTest::newRow("boot") << QList<int>{down} << creating << "System Booted.|Loading Application...";
        QTest::newRow("first login") << QList<int>{down, in} << established << "Application Loaded.|Starting application...";
        QTest::newRow("ready") << QList<int>{down, in, ready} << ":/icons/alert_info.png" << "Ready.|";
        QTest::newRow("later disconnection") << QList<int>{down, in, ready, down} << creating
                                             << "Please Wait...|Operation Failed.";
        QTest::newRow("later login") << QList<int>{down, in, ready, down, in} << established
                                     << "Please Wait...|Operation Failed.";
        // The update's own progress text comes separately.
        QTest::newRow("updating") << QList<int>{down, in, int(IPCClient::IPC_UPDATING)} << ":/icons/package.png"
                                  << "Firmware Updating.|Starting application...";
    }
    void offlineTexts()
    {
        QFETCH(QList<int>, states);
        QFETCH(QString, icon);
        QFETCH(QString, texts);
        QWidget parent;
        Offline offline(&parent);
        for (int s : states)
            offline.setState(IPCClient::IPC_STATE(s), false);
        QCOMPARE(offline.labelIcon->pixmap(Qt::ReturnByValue).toImage(), QPixmap(icon).toImage());
        QCOMPARE(offline.labelState->text() + '|' + offline.labelStatus->text(), texts);
    }
    void popupGeometry_data()
    {
        QTest::addColumn<int>("extraHeight");
        QTest::addColumn<bool>("shifted");
        QTest::addColumn<QRect>("geometry");
        QTest::newRow("plain") << 0 << false << QRect(220, 190, 200, 100);
        QTest::newRow("over the meters") << 80 << true << QRect(220, 215, 200, 180);
        QTest::newRow("odd height rounds down") << 1 << false << QRect(220, 189, 200, 101);
    }
    void popupGeometry()
    {
        QFETCH(int, extraHeight);
        QFETCH(bool, shifted);
        QFETCH(QRect, geometry);
        QWidget parent;
        TransientPopup popup(&parent);
        popup.setShifted(shifted);
        popup.showMessage(QStringLiteral("text"), 0, extraHeight);
        QCOMPARE(popup.geometry(), geometry);
        QCOMPARE(popup.findChild<QLabel*>()->geometry(), QRect(QPoint(0, 0), geometry.size()));
    }
    // A timed message ignores taps; one without a time takes the taps meant for the screen under it.
    void popupDismissal()
    {
        QWidget parent;
        TransientPopup popup(&parent);
        popup.showMessage(QStringLiteral("timed"), 60000, 0);
        QTest::mouseClick(&popup, Qt::LeftButton);
        QVERIFY(popup.isVisible());
        popup.showMessage(QStringLiteral("timed"), 20, 0);
        QTRY_VERIFY(!popup.isVisible());
        popup.showMessage(QStringLiteral("until tapped"), 0, 0);
        QCOMPARE(QApplication::activeModalWidget(), &popup);
        QTest::qWait(50);
        QVERIFY(popup.isVisible());
        QTest::mouseClick(&popup, Qt::LeftButton);
        QVERIFY(!popup.isVisible());
    }
    void windowFollowsTheLink()
    {
        ShellFixture shell;
        MainWindow& window = *shell.window;
        QTRY_VERIFY(window.offlineScreen().isVisible());
        QCOMPARE(window.offlineScreen().labelStatus->text(), QStringLiteral("Initializing system... Please wait."));
        QCOMPARE(window.offlineScreen().grab().toImage().pixelColor(1, 1), QColor(60, 60, 200));
        const auto shown = [&] { return QList<bool>{window.offlineScreen().isVisible(), window.isVisible()}; };
        QCOMPARE(shown(), (QList<bool>{true, false}));

        shell.setState(IPCClient::IPC_LOGGED_IN);
        shell.setState(IPCClient::IPC_READY);
        QCOMPARE(shown(), (QList<bool>{false, true}));
        QCOMPARE(popupText(window.popup()), QString());

        emit g_ipcClient.recvCodeUpdateStatus(QStringLiteral("Writing flash"));
        shell.setState(IPCClient::IPC_UPDATING);
        QCOMPARE(shown(), (QList<bool>{true, false}));
        QCOMPARE(window.offlineScreen().labelState->text(), QStringLiteral("Firmware Updating."));
        QCOMPARE(window.offlineScreen().labelStatus->text(), QStringLiteral("Writing flash"));

        // Back on the factory password: a warning that stays until tapped.
        shell.setState(IPCClient::IPC_READY, true);
        QVERIFY(window.isVisible());
        QTest::qWait(50);
        QCOMPARE(popupText(window.popup()),
                 QStringLiteral("WARNING! It is strongly recommended that you change the remote control password for "
                                "security reasons."));
    }

private:
    // The popup's text while it is up, else nothing.
    static QString popupText(const TransientPopup& popup)
    {
        return popup.isVisible() ? popup.findChild<QLabel*>()->text() : QString();
    }
};

QTEST_MAIN(TestStartup)
#include "test_startup.moc"
