#ifndef MENU_H
#define MENU_H

#include <QObject>

#include <initializer_list>
#include <vector>

class MainWindow;
class QAction;
class QMenu;
class QMenuBar;
class QWidget;

// The menu bar's five menus: opens the one that fits the screen on show, switches screens,
// confirms destructive actions and hides what a restricted user may not use.
class Menu : public QObject {
    Q_OBJECT
    Q_DISABLE_COPY(Menu)

public:
    explicit Menu(MainWindow& mainWindow);

    void build(QMenuBar* menuBar);
    void openForCurrentScreen();
    void updateActions(int screen);
    bool isMenuOpen() const;
    void closeMenu();

    QAction* actionChannel_Stats = nullptr;
    QAction* actionConnect_to_Remote = nullptr;
    QAction* actionPeer_Stats = nullptr;
    QAction* actionBraid_Stats = nullptr;
    QAction* actionAdd_New_Remote = nullptr;
    QAction* actionChange_Remote_Settings = nullptr;
    QAction* actionDelete_Remote = nullptr;
    QAction* actionManage_Profiles = nullptr;
    QAction* actionConfigure_Audio = nullptr;
    QAction* actionChoose_Network = nullptr;
    QAction* actionConfigure_Network = nullptr;
    QAction* actionReset_Configuration = nullptr;
    QAction* actionSystem_Settings = nullptr;
    QAction* actionBraid_Settings = nullptr;
    QAction* actionAudio_Levels = nullptr;
    QAction* actionCalibrate_Touchscreen = nullptr;
    QAction* actionKeypad_Setup = nullptr;
    QAction* actionDelete_Network = nullptr;
    QAction* actionBrowser = nullptr;
    QAction* actionAbout_ORVANE = nullptr;

    QMenu* menuNetwork = nullptr;
    QMenu* menuRemotes = nullptr;
    QMenu* menuStats = nullptr;
    QMenu* menuConfigure = nullptr;
    QMenu* menuMore = nullptr;

public slots:
    void handleMenuCalibrateTouchscreen();
    void handleMenuConfigureNetwork();
    void handleMenuManageProfiles();
    void handleMenuSystemSettings();
    void handleMenuRestrictedToggled(bool checked);

signals:
    // The user said Yes to deleting the selected remote / network device.
    void deletePeerConfirmed();
    void deleteNetworkConfirmed();

private slots:
    void handleMenuPeerStats();
    void handleMenuBraidStats();
    void handleMenuChannelStats();
    void handleMenuConnectToPeer();
    void handleMenuPeerAdd();
    void handleMenuPeerEdit();
    void handleMenuPeerDelete();
    void handleMenuDeleteNetwork();
    void handleMenuBrowser();
    void handleMenuChooseNetwork();
    void handleMenuConfigureAudio();
    void handleMenuBraidSettings();
    void handleMenuResetConfiguration();
    void handleMenuKeypadSetup();
    void handleMenuAbout();
    void handleMenuAudioLevels();

private:
    struct ActionEntry;
    static const std::vector<ActionEntry>& actions();
    // A menu of `entries` (actions by member, null for a separator).
    QMenu* addMenu(QWidget* parent, const char* objectName, const QString& title,
                   std::initializer_list<QAction* Menu::*> entries);
    void show(int screen);
    // Yes/No question, default No, with the window's modal flag set meanwhile.
    bool confirm(const QString& text);
    void open(QMenu* menu, QAction* highlighted);

    MainWindow& mainWindow;
    QMenuBar* m_menuBar = nullptr;
};

#endif
