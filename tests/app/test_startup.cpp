// What the program shows by itself: at start, while the link is down or updating, at the first
// ready link, the popup that carries its warnings and the status bar's indicators.
#include "shellfixture.h"

#include "calibration.h"
#include "iconname.h"
#include "logger.h"
#include "modalwatch.h"
#include "offline.h"
#include "qwscalibratedmousehandler.h"
#include "qwsserver.h"
#include "scribblewidget.h"
#include "statusbar.h"
#include "transientpopup.h"

namespace {

// A status bar on a shown frame, fed by a source the test sets.
struct StatusFixture : StatusSource {
    StatusFixture() { frame.show(); }
    bool chatOnShow() const override { return chatShown; }
    bool networkReady() const override { return netReady; }
    bool anyCallActive() const override { return active; }
    // One tick of the blink timer, without waiting for it.
    void tick() { QMetaObject::invokeMethod(bar, "handleAlertTimer"); }
    bool chatShown = false;
    bool netReady = false;
    bool active = false;
    QWidget frame;
    StatusBar* bar = new StatusBar(&frame, *this);
};

} // namespace

class TestStartup : public QObject {
    Q_OBJECT

private slots:
    void cleanup()
    {
        qunsetenv("GUI_DEBUG");
        qunsetenv("REMOTE_UI");
    }
    // The debug log on GUI_DEBUG=true in any case; the unit's own backend unless REMOTE_UI names
    // another, on the default port. Seen: debug log (1 on), encoding, host, port.
    void environment_data()
    {
        QTest::addColumn<QByteArray>("debug");
        QTest::addColumn<QByteArray>("remote");
        QTest::addColumn<QString>("seen");
        const QString local = QString("0 compact /com/halvik/orvane %1").arg(SocketAddr::kDefaultPort);
        QTest::newRow("unset") << QByteArray() << QByteArray() << local;
        QTest::newRow("set") << QByteArray("tRuE") << QByteArray("unit.example") << QString("1 xmls unit.example %1").arg(SocketAddr::kDefaultPort);
        QTest::newRow("other word") << QByteArray("yes") << QByteArray() << local;
    }
    void environment()
    {
        QFETCH(QByteArray, debug);
        QFETCH(QByteArray, remote);
        QFETCH(QString, seen);
        if (!debug.isNull())
            qputenv("GUI_DEBUG", debug);
        if (!remote.isNull())
            qputenv("REMOTE_UI", remote);
        const MainWindow::LinkTarget link = MainWindow::linkTarget();
        qunsetenv("REMOTE_UI"); // the window's link stays on this machine
        ShellFixture shell;
        QVERIFY(g_log.enabled(LOG_ERROR));
        QCOMPARE(QString("%1 %2 %3 %4").arg(g_log.enabled(LOG_DEBUG)).arg(link.encoding.c_str(), link.address.host().c_str()).arg(link.address.effective_port()),
                 seen);
    }
    // Whether the pointer was calibrated before, and whether the operator touches all five
    // targets (then F2 ends the drawing test) or aborts with F2. Seen: the runs asked for (and
    // whether the window was calibrating meanwhile), the drawing tests, the popup after.
    void missingCalibrationStartsOneAtReady_data()
    {
        QTest::addColumn<bool>("fileExists");
        QTest::addColumn<bool>("touched");
        QTest::addColumn<QString>("seen");
        QTest::newRow("calibrated") << true << false << "asked 0 drawn 0 popup ";
        QTest::newRow("never calibrated, aborted")
            << false << false << "asked 1 calibrating drawn 0 popup 220,190 200x100 Warning: Touchscreen disabled due to aborted calibration.";
        QTest::newRow("never calibrated, touched") << false << true << "asked 1 calibrating drawn 1 popup ";
    }
    void missingCalibrationStartsOneAtReady()
    {
        QFETCH(bool, fileExists);
        QFETCH(bool, touched);
        QFETCH(QString, seen);
        QTemporaryDir dir;
        QWSServer::setMouseHandler(new QWSCalibratedMouseHandler(dir.filePath("handler"), qApp));
        ShellFixture shell;
        MainWindow& window = *shell.window;
        if (!fileExists)
            window.setPointerCalibrationFile(dir.filePath("missing"));
        int calibrations = 0;
        int drawingTests = 0;
        QString calibrating;
        const auto pressF2 = [&] {
            window.setCalibrating(false);
            emit window.abortCalibration();
        };
        QTimer poll;
        answerEveryModal<Calibration>(poll, [&](Calibration& calibration) {
            ++calibrations;
            calibrating = window.isCalibrating() ? " calibrating" : "";
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
        QVERIFY(!window.isCalibrating());
        // Only the run that asked: the meters' next pause starts none.
        window.pane().metering().setSuspended(true, true);
        QCOMPARE(QString("asked %1%2 drawn %3 popup %4").arg(calibrations).arg(calibrating).arg(drawingTests).arg(popupShown(window.popup())),
                 seen);
    }
    // Where the popup stands (lower over the meters, an odd height rounding up) and how it goes:
    // a timed message ignores taps; one without a time takes the taps meant for the screen under it.
    void popupPlaceAndDismissal()
    {
        QWidget parent;
        TransientPopup popup(&parent);
        popup.setShifted(true);
        popup.showMessage(QStringLiteral("timed"), 60000, 80);
        QTest::mouseClick(&popup, Qt::LeftButton);
        QCOMPARE(popupShown(popup), QString("220,215 200x180 timed"));
        QCOMPARE(popup.findChild<QLabel*>()->geometry(), popup.rect());
        popup.setShifted(false);
        popup.showMessage(QStringLiteral("soon gone"), 20, 1);
        QCOMPARE(popupShown(popup), QString("220,189 200x101 soon gone"));
        QTRY_VERIFY(!popup.isVisible());
        popup.showMessage(QStringLiteral("until tapped"), 0, 0);
        QCOMPARE(QApplication::activeModalWidget(), &popup);
        QTest::qWait(50);
        QCOMPARE(popupShown(popup), QString("220,190 200x100 until tapped"));
        QTest::mouseClick(&popup, Qt::LeftButton);
        QVERIFY(!popup.isVisible());
    }
    // The next blink starts lit, also after an alert cleared half-way; none while chat is on show.
    void chatAlertBlinksUntilCleared()
    {
        StatusFixture status;
        const QTimer* blink = status.bar->findChild<QTimer*>();
        QStringList shown;
        for (int round = 0; round < 2; ++round) {
            status.bar->handleChatAlert();
            shown << QString("alerting=%1 blinking=%2").arg(status.bar->chatAlerting()).arg(blink->isActive());
            for (int phase = 0; phase < 3; ++phase) {
                status.tick();
                shown << iconName(status.bar->chatButton->icon().pixmap(16, 16));
            }
            status.bar->clearChatAlert();
            status.tick();
            shown << iconName(status.bar->chatButton->icon().pixmap(16, 16)) + QString(" blinking=%1").arg(blink->isActive());
        }
        const QStringList round{"alerting=1 blinking=1", "comment_add", "comment", "comment_add", "comment blinking=0"};
        QCOMPARE(shown, round + round);
        status.chatShown = true;
        status.bar->handleChatAlert();
        QVERIFY(!status.bar->chatAlerting());
    }
    // Each step is a call the screens make; then what the signal, braid and link indicators
    // show, "-" where hidden. An unknown braid colour keeps the last.
    void indicators_data()
    {
        QTest::addColumn<QString>("steps");
        QTest::addColumn<QString>("shown");
        const auto row = [](const char* steps, const char* shown) { QTest::newRow(steps) << steps << shown; };
        row("", "- - link_break");
        row("strength:0 braid:yellow link:net,call", "signal_strength_0 braid_yellow link_go");
        row("strength:1 braid:red braid:blue link:net", "signal_strength_1 braid_red link");
        row("strength:25 braid:gray braidoff link:call", "signal_strength_1 - link_error");
        row("strength:26 braid:green link:call link:", "signal_strength_2 braid_green link_break");
        row("strength:100", "signal_strength_4 - link_break");
        row("strength:101", "none - link_break");
        row("multi", "signal_strength_multiple - link_break");
        row("multi signaloff", "- - link_break");
    }
    void indicators()
    {
        StatusFixture status;
        QFETCH(QString, steps);
        QFETCH(QString, shown);
        for (const QString& step : steps.split(' ', Qt::SkipEmptyParts)) {
            const QString call = step.section(':', 0, 0);
            const QString argument = step.section(':', 1);
            if (call == "strength")
                status.bar->updateSignalStrength(argument.toUInt());
            else if (call == "multi")
                status.bar->signalStrengthMulti();
            else if (call == "signaloff")
                status.bar->signalStrengthOff();
            else if (call == "braid")
                status.bar->updateBraidStatus(argument);
            else if (call == "braidoff")
                status.bar->braidStatusOff();
            else {
                status.netReady = argument.contains("net");
                status.active = argument.contains("call");
                status.bar->updateLinkIndicator();
            }
        }
        QStringList indicators;
        for (const QLabel* label : {status.bar->labelSignalMeter, status.bar->labelBraidStatus, status.bar->labelLink})
            indicators << (label->isVisibleTo(status.bar) ? iconName(label->pixmap(Qt::ReturnByValue)) : "-");
        QCOMPARE(indicators.join(' '), shown);
    }

    // The link's states in turn (0 down, 1 logged in, 2 ready, 3 updating with the backend's own
    // progress text, 2d ready on the factory password): the window or the offline screen up, the
    // offline screen's icon and "state|status", and the popup (the warning stays until tapped).
    void windowFollowsTheLink()
    {
        ShellFixture shell;
        MainWindow& window = *shell.window;
        Offline& offline = window.offlineScreen();
        QTRY_VERIFY(offline.isVisible());
        QTRY_VERIFY(g_ipcManager.isRunning()); // the link starts a second in
        QCOMPARE(offline.grab().toImage().pixelColor(1, 1), QColor(60, 60, 200));
        const std::pair<QString, QString> steps[] = {
            {"", "offline connect_creating System Booted.|Initializing system... Please wait."},
            {"0", "offline connect_creating System Booted.|Loading Application..."},
            {"1", "offline connect_established Application Loaded.|Starting application..."},
            {"2", "window alert_info Ready.|"},
            {"0", "offline connect_creating Please Wait...|Operation Failed."},
            {"1", "offline connect_established Please Wait...|Operation Failed."},
            {"3", "offline package Firmware Updating.|Writing flash"},
            {"2d", "window alert_info Ready.| 220,150 200x180 WARNING! It is strongly recommended that you change the "
                   "remote control password for security reasons."},
        };
        for (const auto& [step, seen] : steps) {
            if (step == "3")
                emit g_ipcClient.recvCodeUpdateStatus(QStringLiteral("Writing flash"));
            if (!step.isEmpty())
                shell.setState(IPCClient::IPC_STATE(step.left(1).toInt()), step.endsWith('d'));
            QTest::qWait(20);
            const QString up = offline.isVisible() && !window.isVisible() ? "offline" : window.isVisible() && !offline.isVisible() ? "window" : "both or none";
            QCOMPARE(QString("%1 %2 %3|%4 %5").arg(up, iconName(offline.labelIcon->pixmap(Qt::ReturnByValue)), offline.labelState->text(), offline.labelStatus->text(), popupShown(window.popup())).trimmed(), seen);
        }
    }

private:
    // The popup's place and text while it is up, else nothing.
    static QString popupShown(const TransientPopup& popup)
    {
        const QRect r = popup.geometry();
        return popup.isVisible() ? QString("%1,%2 %3x%4 %5").arg(r.x()).arg(r.y()).arg(r.width()).arg(r.height()).arg(popup.findChild<QLabel*>()->text())
                                 : QString();
    }
};

QTEST_MAIN(TestStartup)
#include "test_startup.moc"
