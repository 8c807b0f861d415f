#include "mainwindow.h"

#include "calibration.h"
#include "deviceclassicons.h"
#include "ipcinstances.h"
#include "keypadfilter.h"
#include "keypadhandler.h"
#include "logger.h"
#include "offline.h"
#include "pickboard.h"
#include "qwscalibratedmousehandler.h"
#include "qwsserver.h"
#include "scribblewidget.h"
#include "statusbar.h"
#include "strutil.h"
#include "transientpopup.h"

#include <QApplication>
#include <QDialog>
#include <QFile>
#include <QGuiApplication>
#include <QPixmap>
#include <QScreen>
#include <QTimer>

#include <cstdlib>
#include <unistd.h>

namespace {
constexpr int kOfflineDelayMs = 10;
constexpr int kStartIpcDelayMs = 1000;
constexpr int kScribbleMs = 15000;
constexpr int kAbortNoticeMs = 5000;
constexpr int kPasswordWarningExtraHeight = 80;
const char* const kLocalAddress = "/com/halvik/orvane";
const char* const kClientName = "orvane";

bool debugLoggingRequested()
{
    const char* value = std::getenv("GUI_DEBUG");
    return value && str_uc(value) == "TRUE";
}
} // namespace

MainWindow::MainWindow(QWidget* parent)
    : QMainWindow(parent)
    , m_menu(*this)
    , m_pane(*this)
    , m_popup(new TransientPopup(this))
    , m_offline(new Offline(this))
    , m_keypadFilter(new KeypadFilter)
{
    if (debugLoggingRequested()) {
        g_log.set_log_level(LOG_DEBUG);
        g_log.log(LOG_DEBUG, "GUI debug logging enabled");
    } else {
        g_log.set_log_level(LOG_ERROR);
    }
    g_log.log(LOG_DEBUG, "mainwindow constructor");
    deviceclassicons::fill();

    setupUi(this);
    m_menu.build(topMenu);
    m_statusBar = new StatusBar(statusFrame, m_pane);
    m_pane.build(stackFrame, *m_statusBar);
    m_pane.metering().createSmallMeter(m_statusBar->smallMeterWidget);
    connect(m_statusBar->keyboardButton, &QPushButton::clicked, this, &MainWindow::handlePopupKeyboard);
    connect(m_statusBar->chatButton, &QPushButton::clicked, &m_pane, &Pane::handleChat);
    hide();

    stackFrame->setFocusPolicy(Qt::NoFocus);
    statusFrame->setFocusPolicy(Qt::NoFocus);
    centralwidget->setFocusPolicy(Qt::NoFocus);

    if (qobject_cast<QWSCalibratedMouseHandler*>(QWSServer::mouseHandler())) {
        calibratedMouse = true;
        QApplication::setOverrideCursor(Qt::BlankCursor);
    }

    setWindowFlags((windowFlags() & ~Qt::WindowTitleHint) | Qt::FramelessWindowHint);

    m_keyboard = new PickBoard(keyboardWidget);
    setKeyboardVisible(false);
    timer = new QTimer(this);

    connect(m_keyboard, &PickBoard::key, this, &MainWindow::handleVirtualKeyboardPress);
    connect(m_keypadFilter, &KeypadFilter::keypadPress, this, &MainWindow::handleKeypadPress);
    connect(&g_ipcClient, &IPCClient::changedState, this, &MainWindow::ipcChangedState);
    connect(&g_ipcClient, &IPCClient::changedState, m_offline, &Offline::setState);
    connect(&g_ipcClient, &IPCClient::recvCodeUpdateStatus, m_offline, &Offline::setStatus);

    m_pane.showScreen(Pane::ScreenPeerList);
    topMenu->setActiveAction(nullptr);

    QTimer::singleShot(kOfflineDelayMs, this, &MainWindow::showInitialOffline);
    QTimer::singleShot(kStartIpcDelayMs, this, &MainWindow::startIPC);
    setFocusPolicy(Qt::NoFocus);
}

MainWindow::~MainWindow()
{
    delete m_keypadFilter;
}

void MainWindow::setModal(bool on)
{
    modal = on;
}

bool MainWindow::keyboardVisible() const
{
    return keyboardWidget->isVisibleTo(this);
}

void MainWindow::setKeyboardVisible(bool visible)
{
    if (visible) {
        stackFrame->resize(640, 320);
        m_pane.resizePageArea(640, 320);
        m_pane.setKeyboardShown(true);
        keyboardWidget->show();
    } else {
        m_pane.setKeyboardShown(false);
        stackFrame->resize(640, 430);
        // Wider and taller than the frame, so the page area's own edges stay out of sight.
        m_pane.resizePageArea(650, 440);
        keyboardWidget->hide();
    }
}

void MainWindow::handlePopupKeyboard()
{
    setKeyboardVisible(!keyboardVisible());
}

MainWindow::LinkTarget MainWindow::linkTarget()
{
    if (const char* remote = std::getenv("REMOTE_UI"))
        return {"xmls", SocketAddr(remote, 0)};
    return {"compact", SocketAddr(kLocalAddress, 0)};
}

void MainWindow::startIPC()
{
    g_ipcManager.add_client(kClientName, &g_ipcClient);
    const LinkTarget target = linkTarget();
    g_ipcManager.connect_client(target.encoding, "stream", target.address, kClientName, 0, "");
    g_ipcManager.start(QThread::InheritPriority);
}

void MainWindow::showInitialOffline()
{
    m_offline->setState(IPCClient::IPC_DISCONNECTED, false);
    m_offline->setStatus(tr("Initializing system... Please wait."));
    m_offline->show();
}

void MainWindow::setRemoteCC(int id, bool state)
{
    Message request("setRemoteCC");
    request.params().set_int("id", id);
    request.params().set_bool("state", state);
    g_ipcClient.sendRequest(request);
}

void MainWindow::handleVirtualKeyboardPress(uint unicode, uint keycode, Qt::KeyboardModifiers modifiers, bool press,
                                            bool repeat)
{
    QWSServer::sendKeyEvent(int(unicode), int(keycode), modifiers, press, repeat);
}

void MainWindow::ipcChangedState(IPCClient::IPC_STATE state, bool def_pwd)
{
    g_log.log(LOG_ERROR, "ipcChangedState %d %d", int(state), int(def_pwd));
    ipcState = state;

    switch (state) {
    case IPCClient::IPC_READY:
        m_offline->accept();
        raise();
        show();
        if (def_pwd)
            m_popup->showMessage(tr("WARNING! It is strongly recommended that you change the remote control "
                                    "password for security reasons."),
                                 0, kPasswordWarningExtraHeight);
        if (!QFile::exists(m_pointercalPath))
            m_menu.handleMenuCalibrateTouchscreen();
        break;
    case IPCClient::IPC_DISCONNECTED:
    case IPCClient::IPC_LOGGED_IN:
    case IPCClient::IPC_UPDATING:
        if (!m_offline->isVisible()) {
            m_offline->show();
            hide();
        }
        break;
    }
}

void MainWindow::handleKeypadPress(int keycode, int modifiers, bool press, bool repeat)
{
    if (m_popup->isVisible() && !calibrating)
        m_popup->accept();

    if (press && (modifiers & Qt::ControlModifier) && (keycode == Qt::Key_F1 || keycode == Qt::Key_F25)) {
        captureScreen();
        return;
    }
    if (ipcState != IPCClient::IPC_READY)
        return;

    if (calibrating) {
        if (keycode == Qt::Key_F2 && !press) {
            calibrating = false;
            emit abortCalibration();
        }
        return;
    }

    if (modal) {
        sendModalKey(keycode, press, repeat);
        return;
    }

    if (keycode == Qt::Key_F1) {
        if (!press)
            return;
        if (m_menu.isMenuOpen())
            m_menu.closeMenu();
        else
            m_menu.openForCurrentScreen();
        return;
    }

    if (keycode == Qt::Key_F2) {
        if (press)
            m_pane.f2Pressed();
        else
            m_pane.f2Released();
        return;
    }

    if (m_menu.isMenuOpen()) {
        KeypadHandler::injectKey(keycode == Qt::Key_Enter ? Qt::Key_Return : keycode, press, repeat);
        return;
    }
    // Drops what a menu closed behind the keypad's back left highlighted on the menu bar.
    m_menu.closeMenu();

    if (keypadHandler)
        keypadHandler->handleKey(keycode, press, repeat);
}

// Left and Right move between the question's buttons; Enter presses the one with focus.
void MainWindow::sendModalKey(int keycode, bool press, bool repeat)
{
    switch (keycode) {
    case Qt::Key_Left:
        KeypadHandler::injectBacktab(press, repeat);
        break;
    case Qt::Key_Right:
        KeypadHandler::injectKey(Qt::Key_Tab, press, repeat);
        break;
    case Qt::Key_Enter:
        KeypadHandler::injectKey(Qt::Key_Enter, press, repeat);
        break;
    default:
        break;
    }
}

QString MainWindow::captureFileName(int number) const
{
    return QStringLiteral("%1/cap%2.png").arg(m_captureDir).arg(number, 5, 10, QLatin1Char('0'));
}

void MainWindow::captureScreen()
{
    // The number goes up also when saving fails, so a failed capture never overwrites a later one.
    const QString name = captureFileName(++m_captureCount);
    QScreen* screen = QGuiApplication::primaryScreen();
    QPixmap shot = screen ? screen->grabWindow(0) : QPixmap();
    // Platforms without a desktop to grab (offscreen) still get the window itself.
    if (shot.isNull())
        shot = grab();
    shot.save(name, "png");
    sync();
}

void MainWindow::doCalibrateTouchscreen()
{
    if (!QWSServer::mouseHandler())
        qFatal("No mouse handler installed");

    Metering& meters = m_pane.metering();
    disconnect(&meters, &Metering::metersSuspended, nullptr, nullptr);

    {
        Calibration calibration;
        connect(this, &MainWindow::abortCalibration, &calibration, &Calibration::reject);
        calibration.exec();
    }

    if (calibrating) {
        sync();
        QDialog test(this);
        test.setWindowFlags(Qt::FramelessWindowHint);
        test.setGeometry(0, 0, 640, 480);
        auto* scribble = new ScribbleWidget(&test);
        scribble->setGeometry(0, 0, 640, 480);
        connect(this, &MainWindow::abortCalibration, &test, &QDialog::reject);
        QTimer::singleShot(kScribbleMs, &test, &QDialog::accept);
        test.exec();
    } else {
        m_popup->showMessage(tr("Warning: Touchscreen disabled due to aborted calibration."), kAbortNoticeMs, 0);
    }

    meters.setSuspended(false, false);
    calibrating = false;
}
