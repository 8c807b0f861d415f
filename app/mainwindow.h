#ifndef MAINWINDOW_H
#define MAINWINDOW_H

#include "ipcclient.h"
#include "menu.h"
#include "pane.h"
#include "qwscalibratedmousehandler.h"
#include "socketaddr.h"
#include "ui_mainwindow.h"

#include <QMainWindow>
#include <QString>

#include <string>

class KeypadFilter;
class KeypadHandler;
class Offline;
class PickBoard;
class StatusBar;
class TransientPopup;
class QTimer;

// The one full-screen window: owns every screen, starts the backend link, hides behind the
// offline screen while the backend is not ready, and routes every hardware key.
class MainWindow : public QMainWindow, public Ui::MainWindow {
    Q_OBJECT
    Q_DISABLE_COPY(MainWindow)

public:
    explicit MainWindow(QWidget* parent = nullptr);
    ~MainWindow() override;

    Menu& menu() { return m_menu; }
    Pane& pane() { return m_pane; }
    const Pane& pane() const { return m_pane; }
    StatusBar& statusBarWidget() { return *m_statusBar; }
    TransientPopup& popup() { return *m_popup; }
    Offline& offlineScreen() { return *m_offline; }
    PickBoard& keyboard() { return *m_keyboard; }

    bool hasCalibratedMouse() const { return calibratedMouse; }
    bool isCalibrating() const { return calibrating; }
    void setCalibrating(bool on) { calibrating = on; }
    bool isModal() const { return modal; }
    void setKeypadHandler(KeypadHandler* handler) { keypadHandler = handler; }
    KeypadHandler* currentKeypadHandler() const { return keypadHandler; }

    bool keyboardVisible() const;
    void setKeyboardVisible(bool visible);
    // Remote contact closure on the far unit.
    void setRemoteCC(int id, bool state);

    // Where screen captures and the touch-screen calibration live; tests point them elsewhere.
    void setCaptureDirectory(const QString& dir) { m_captureDir = dir; }
    void setPointerCalibrationFile(const QString& path) { m_pointercalPath = path; }
    QString captureFileName(int number) const;

    // Where the link goes: the unit's own backend, or another unit's under REMOTE_UI.
    struct LinkTarget {
        std::string encoding;
        SocketAddr address;
    };
    static LinkTarget linkTarget();

signals:
    void abortCalibration();

public slots:
    void setModal(bool modal);
    void handlePopupKeyboard();
    void startIPC();
    void showInitialOffline();
    void doCalibrateTouchscreen();

private slots:
    void handleVirtualKeyboardPress(uint unicode, uint keycode, Qt::KeyboardModifiers modifiers, bool press, bool repeat);
    void handleKeypadPress(int keycode, int modifiers, bool press, bool repeat);
    void ipcChangedState(IPCClient::IPC_STATE state, bool def_pwd);

private:
    void captureScreen();
    void sendModalKey(int keycode, bool press, bool repeat);

    Menu m_menu;
    Pane m_pane;
    StatusBar* m_statusBar = nullptr;
    TransientPopup* m_popup;
    bool calibratedMouse = false;
    bool calibrating = false;
    Offline* m_offline;
    KeypadFilter* m_keypadFilter;
    PickBoard* m_keyboard = nullptr;
    QTimer* timer = nullptr;
    KeypadHandler* keypadHandler = nullptr;
    bool modal = false;
    int ipcState = IPCClient::IPC_DISCONNECTED;
    int m_captureCount = 0;
    QString m_captureDir = QStringLiteral("/mnt/ext");
    QString m_pointercalPath = QLatin1String(QWSCalibratedMouseHandler::kDefaultFile);
};

#endif
