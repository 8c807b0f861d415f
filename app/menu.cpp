#include "menu.h"

#include "ipcinstances.h"
#include "mainwindow.h"
#include "metering.h"
#include "pane.h"

#include <QAction>
#include <QMenu>
#include <QMenuBar>
#include <QMessageBox>

Menu::Menu(MainWindow& mainWindow)
    : mainWindow(mainWindow)
{
}

QAction* Menu::makeAction(const char* objectName, const QString& text)
{
    auto* action = new QAction(text, this);
    action->setObjectName(QString::fromLatin1(objectName));
    return action;
}

void Menu::build(QMenuBar* menuBar)
{
    m_menuBar = menuBar;
    mainWindow.setMenuBar(menuBar);

    actionChannel_Stats = makeAction("actionChannel_Stats", tr("Channel Stats"));
    actionConnect_to_Remote = makeAction("actionConnect_to_Remote", tr("Manage Connections"));
    actionPeer_Stats = makeAction("actionPeer_Stats", tr("Peer Stats"));
    actionBraid_Stats = makeAction("actionBraid_Stats", tr("Braid Stats"));
    actionAdd_New_Remote = makeAction("actionAdd_New_Remote", tr("Add New Remote"));
    actionChange_Remote_Settings = makeAction("actionChange_Remote_Settings", tr("Change Remote Settings"));
    actionDelete_Remote = makeAction("actionDelete_Remote", tr("Delete Remote"));
    actionManage_Profiles = makeAction("actionManage_Profiles", tr("Manage Profiles"));
    actionConfigure_Audio = makeAction("actionConfigure_Audio", tr("Audio Controls"));
    actionChoose_Network = makeAction("actionChoose_Network", tr("Manage Networks"));
    actionConfigure_Network = makeAction("actionConfigure_Network", tr("Configure Network"));
    actionReset_Configuration = makeAction("actionReset_Configuration", tr("Reset Configuration"));
    actionSystem_Settings = makeAction("actionSystem_Settings", tr("System Settings"));
    actionBraid_Settings = makeAction("actionBraid_Settings", tr("Braid Settings"));
    actionAudio_Levels = makeAction("actionAudio_Levels", tr("Audio Levels"));
    actionCalibrate_Touchscreen = makeAction("actionCalibrate_Touchscreen", tr("Calibrate Touchscreen"));
    actionKeypad_Setup = makeAction("actionKeypad_Setup", tr("User Interface"));
    actionDelete_Network = makeAction("actionDelete_Network", tr("Delete Network"));
    actionBrowser = makeAction("actionBrowser", tr("Web Browser"));
    actionAbout_ORVANE = makeAction("actionAbout_ORVANE", tr("About ORVANE"));

    menuNetwork = menuBar->addMenu(tr("Network"));
    menuNetwork->setObjectName(QStringLiteral("menuNetwork"));
    menuNetwork->addAction(actionChoose_Network);
    menuNetwork->addAction(actionConfigure_Network);
    menuNetwork->addSeparator();
    menuNetwork->addAction(actionDelete_Network);
    menuNetwork->addSeparator();
    menuNetwork->addAction(actionBrowser);

    menuRemotes = menuBar->addMenu(tr("Remotes"));
    menuRemotes->setObjectName(QStringLiteral("menuRemotes"));
    menuRemotes->addAction(actionConnect_to_Remote);
    menuRemotes->addSeparator();
    menuRemotes->addAction(actionAdd_New_Remote);
    menuRemotes->addAction(actionChange_Remote_Settings);
    menuRemotes->addAction(actionDelete_Remote);

    menuStats = menuBar->addMenu(tr("Stats"));
    menuStats->setObjectName(QStringLiteral("menuStats"));
    menuStats->addAction(actionChannel_Stats);
    menuStats->addAction(actionPeer_Stats);
    menuStats->addAction(actionBraid_Stats);
    menuStats->addAction(actionAudio_Levels);

    menuConfigure = menuBar->addMenu(tr("Configure"));
    menuConfigure->setObjectName(QStringLiteral("menuConfigure"));
    menuConfigure->addAction(actionManage_Profiles);
    menuConfigure->addAction(actionSystem_Settings);
    menuConfigure->addAction(actionBraid_Settings);
    menuConfigure->addAction(actionKeypad_Setup);
    menuConfigure->addSeparator();
    menuMore = menuConfigure->addMenu(tr("Additional Configuration"));
    menuMore->setObjectName(QStringLiteral("menuMore"));
    menuMore->addAction(actionCalibrate_Touchscreen);
    menuMore->addAction(actionReset_Configuration);
    menuConfigure->addSeparator();
    menuConfigure->addAction(actionAbout_ORVANE);

    connect(actionChannel_Stats, &QAction::triggered, this, &Menu::handleMenuChannelStats);
    connect(actionConnect_to_Remote, &QAction::triggered, this, &Menu::handleMenuConnectToPeer);
    connect(actionPeer_Stats, &QAction::triggered, this, &Menu::handleMenuPeerStats);
    connect(actionBraid_Stats, &QAction::triggered, this, &Menu::handleMenuBraidStats);
    connect(actionAdd_New_Remote, &QAction::triggered, this, &Menu::handleMenuPeerAdd);
    connect(actionChange_Remote_Settings, &QAction::triggered, this, &Menu::handleMenuPeerEdit);
    connect(actionDelete_Remote, &QAction::triggered, this, &Menu::handleMenuPeerDelete);
    connect(actionManage_Profiles, &QAction::triggered, this, &Menu::handleMenuManageProfiles);
    connect(actionConfigure_Audio, &QAction::triggered, this, &Menu::handleMenuConfigureAudio);
    connect(actionChoose_Network, &QAction::triggered, this, &Menu::handleMenuChooseNetwork);
    connect(actionConfigure_Network, &QAction::triggered, this, &Menu::handleMenuConfigureNetwork);
    connect(actionReset_Configuration, &QAction::triggered, this, &Menu::handleMenuResetConfiguration);
    connect(actionSystem_Settings, &QAction::triggered, this, &Menu::handleMenuSystemSettings);
    connect(actionBraid_Settings, &QAction::triggered, this, &Menu::handleMenuBraidSettings);
    connect(actionAudio_Levels, &QAction::triggered, &mainWindow.pane(), &Pane::handleAudioMeters);
    connect(actionCalibrate_Touchscreen, &QAction::triggered, this, &Menu::handleMenuCalibrateTouchscreen);
    connect(actionKeypad_Setup, &QAction::triggered, this, &Menu::handleMenuKeypadSetup);
    connect(actionDelete_Network, &QAction::triggered, this, &Menu::handleMenuDeleteNetwork);
    connect(actionBrowser, &QAction::triggered, this, &Menu::handleMenuBrowser);
    connect(actionAbout_ORVANE, &QAction::triggered, this, &Menu::handleMenuAbout);

    // The meters stop repainting while a menu covers them (the slots are the meters' own business,
    // hence protected and reached by name).
    Metering& meters = mainWindow.pane().metering();
    for (QMenu* menu : {menuNetwork, menuRemotes, menuStats, menuConfigure}) {
        connect(menu, SIGNAL(aboutToShow()), &meters, SLOT(menuAboutToShow()));
        connect(menu, SIGNAL(aboutToHide()), &meters, SLOT(menuAboutToHide()));
    }
}

void Menu::open(QMenu* menu, QAction* highlighted)
{
    m_menuBar->setActiveAction(menu->menuAction());
    menu->setActiveAction(highlighted);
}

void Menu::openForCurrentScreen()
{
    switch (mainWindow.pane().menuScreen()) {
    case Pane::ScreenPeerList:
    case Pane::ScreenPeerEdit:
    case Pane::ScreenPeerAdd:
        open(menuRemotes, actionConnect_to_Remote);
        break;
    case Pane::ScreenPeerStats:
    case Pane::ScreenChannelStats:
        open(menuStats, actionChannel_Stats);
        break;
    case Pane::ScreenBrowser:
    case Pane::ScreenNetworkList:
    case Pane::ScreenConfigureNetwork:
        open(menuNetwork, actionChoose_Network);
        break;
    default:
        open(menuConfigure, actionManage_Profiles);
        break;
    }
}

bool Menu::isMenuOpen() const
{
    return m_menuBar->activeAction() != nullptr;
}

void Menu::closeMenu()
{
    if (QAction* active = m_menuBar->activeAction())
        active->menu()->hide();
    m_menuBar->setActiveAction(nullptr);
}

void Menu::updateActions(int screen)
{
    actionCalibrate_Touchscreen->setEnabled(mainWindow.hasCalibratedMouse());

    const Pane& pane = mainWindow.pane();
    const bool networkList = screen == Pane::ScreenNetworkList;
    actionChoose_Network->setEnabled(!networkList);
    actionConfigure_Network->setEnabled(networkList && !pane.selectedNetworkViewOnly());
    actionDelete_Network->setEnabled(networkList && !pane.selectedNetworkInstalled());

    const bool remoteList = screen == Pane::ScreenPeerList;
    actionConnect_to_Remote->setEnabled(!remoteList);
    actionChange_Remote_Settings->setEnabled(remoteList);
    actionDelete_Remote->setEnabled(remoteList);
}

void Menu::show(int screen)
{
    mainWindow.pane().showScreen(screen);
}

bool Menu::confirm(const QString& text)
{
    mainWindow.setModal(true);
    const auto answer = QMessageBox::warning(&mainWindow, tr("Warning!"), text, QMessageBox::Yes | QMessageBox::No,
                                             QMessageBox::No);
    mainWindow.setModal(false);
    return answer == QMessageBox::Yes;
}

void Menu::handleMenuCalibrateTouchscreen()
{
    if (!mainWindow.hasCalibratedMouse())
        return;
    mainWindow.setCalibrating(true);
    Metering& meters = mainWindow.pane().metering();
    connect(&meters, &Metering::metersSuspended, &mainWindow, &MainWindow::doCalibrateTouchscreen);
    meters.setSuspended(true, true);
}

void Menu::handleMenuPeerStats() { show(Pane::ScreenPeerStats); }
void Menu::handleMenuBraidStats() { show(Pane::ScreenBraidStats); }
void Menu::handleMenuChannelStats() { show(Pane::ScreenChannelStats); }
void Menu::handleMenuConnectToPeer() { show(Pane::ScreenPeerList); }
void Menu::handleMenuPeerAdd() { show(Pane::ScreenPeerAdd); }
void Menu::handleMenuPeerEdit() { show(Pane::ScreenPeerEdit); }
void Menu::handleMenuBrowser() { show(Pane::ScreenBrowser); }
void Menu::handleMenuConfigureNetwork() { show(Pane::ScreenConfigureNetwork); }
void Menu::handleMenuChooseNetwork() { show(Pane::ScreenNetworkList); }
void Menu::handleMenuConfigureAudio() { show(Pane::ScreenAudioSettings); }
void Menu::handleMenuSystemSettings() { show(Pane::ScreenSystemSettings); }
void Menu::handleMenuBraidSettings() { show(Pane::ScreenBraidSettings); }
void Menu::handleMenuManageProfiles() { show(Pane::ScreenProfileList); }
void Menu::handleMenuKeypadSetup() { show(Pane::ScreenKeypadSetup); }
void Menu::handleMenuAbout() { show(Pane::ScreenAbout); }

void Menu::handleMenuPeerDelete()
{
    const QString name = mainWindow.pane().selectedRemoteName();
    if (confirm(tr("This will delete the '") + name + tr("' remote from the list!\n\nDo you wish to continue?")))
        emit deletePeerConfirmed();
}

void Menu::handleMenuDeleteNetwork()
{
    if (confirm(tr("This will delete the selected network device!\n\nDo you wish to continue?")))
        emit deleteNetworkConfirmed();
}

void Menu::handleMenuResetConfiguration()
{
    if (!confirm(tr("This will destroy ALL stored settings on this unit, and revert to factory defaults.\n\n"
                    "Do you wish to continue?")))
        return;
    Message request("reset");
    request.params().set_string("what", "cfg");
    g_ipcClient.sendRequest(request);
}

void Menu::handleMenuRestrictedToggled(bool checked)
{
    for (QAction* action : {actionConfigure_Network, actionDelete_Network, actionBrowser, actionChange_Remote_Settings,
                            actionDelete_Remote, actionManage_Profiles, actionSystem_Settings, actionBraid_Settings,
                            actionAdd_New_Remote, actionReset_Configuration, actionCalibrate_Touchscreen,
                            menuMore->menuAction()})
        action->setVisible(!checked);
}
