#include "menu.h"

#include "ipcinstances.h"
#include "mainwindow.h"
#include "metering.h"
#include "pane.h"

#include <QAction>
#include <QCoreApplication>
#include <QKeyEvent>
#include <QMenu>
#include <QMenuBar>
#include <QMessageBox>

Menu::Menu(MainWindow& mainWindow)
    : mainWindow(mainWindow)
{
}

// Every entry of the menus: the member that holds it, its object name, text and slot, and
// whether a restricted user loses it.
struct Menu::ActionEntry {
    QAction* Menu::*action;
    const char* objectName;
    const char* text;
    void (Menu::*slot)();
    bool hiddenWhenRestricted;
};

const std::vector<Menu::ActionEntry>& Menu::actions()
{
    static const std::vector<ActionEntry> entries = {
        {&Menu::actionChannel_Stats, "actionChannel_Stats", QT_TR_NOOP("Channel Stats"), &Menu::handleMenuChannelStats, false},
        {&Menu::actionConnect_to_Remote, "actionConnect_to_Remote", QT_TR_NOOP("Manage Connections"),
         &Menu::handleMenuConnectToPeer, false},
        {&Menu::actionPeer_Stats, "actionPeer_Stats", QT_TR_NOOP("Peer Stats"), &Menu::handleMenuPeerStats, false},
        {&Menu::actionBraid_Stats, "actionBraid_Stats", QT_TR_NOOP("Braid Stats"), &Menu::handleMenuBraidStats, false},
        {&Menu::actionAdd_New_Remote, "actionAdd_New_Remote", QT_TR_NOOP("Add New Remote"), &Menu::handleMenuPeerAdd, true},
        {&Menu::actionChange_Remote_Settings, "actionChange_Remote_Settings", QT_TR_NOOP("Change Remote Settings"),
         &Menu::handleMenuPeerEdit, true},
        {&Menu::actionDelete_Remote, "actionDelete_Remote", QT_TR_NOOP("Delete Remote"), &Menu::handleMenuPeerDelete, true},
        {&Menu::actionManage_Profiles, "actionManage_Profiles", QT_TR_NOOP("Manage Profiles"),
         &Menu::handleMenuManageProfiles, true},
        {&Menu::actionConfigure_Audio, "actionConfigure_Audio", QT_TR_NOOP("Audio Controls"),
         &Menu::handleMenuConfigureAudio, false},
        {&Menu::actionChoose_Network, "actionChoose_Network", QT_TR_NOOP("Manage Networks"),
         &Menu::handleMenuChooseNetwork, false},
        {&Menu::actionConfigure_Network, "actionConfigure_Network", QT_TR_NOOP("Configure Network"),
         &Menu::handleMenuConfigureNetwork, true},
        {&Menu::actionReset_Configuration, "actionReset_Configuration", QT_TR_NOOP("Reset Configuration"),
         &Menu::handleMenuResetConfiguration, true},
        {&Menu::actionSystem_Settings, "actionSystem_Settings", QT_TR_NOOP("System Settings"),
         &Menu::handleMenuSystemSettings, true},
        {&Menu::actionBraid_Settings, "actionBraid_Settings", QT_TR_NOOP("Braid Settings"), &Menu::handleMenuBraidSettings,
         true},
        {&Menu::actionAudio_Levels, "actionAudio_Levels", QT_TR_NOOP("Audio Levels"), &Menu::handleMenuAudioLevels, false},
        {&Menu::actionCalibrate_Touchscreen, "actionCalibrate_Touchscreen", QT_TR_NOOP("Calibrate Touchscreen"),
         &Menu::handleMenuCalibrateTouchscreen, true},
        {&Menu::actionKeypad_Setup, "actionKeypad_Setup", QT_TR_NOOP("User Interface"), &Menu::handleMenuKeypadSetup, false},
        {&Menu::actionDelete_Network, "actionDelete_Network", QT_TR_NOOP("Delete Network"), &Menu::handleMenuDeleteNetwork,
         true},
        {&Menu::actionBrowser, "actionBrowser", QT_TR_NOOP("Web Browser"), &Menu::handleMenuBrowser, true},
        {&Menu::actionAbout_ORVANE, "actionAbout_ORVANE", QT_TR_NOOP("About ORVANE"), &Menu::handleMenuAbout, false},
    };
    return entries;
}

QMenu* Menu::addMenu(QWidget* parent, const char* objectName, const QString& title,
                     std::initializer_list<QAction* Menu::*> entries)
{
    auto* menu = new QMenu(title, parent);
    menu->setObjectName(QString::fromLatin1(objectName));
    for (QAction* Menu::*entry : entries) {
        if (entry)
            menu->addAction(this->*entry);
        else
            menu->addSeparator();
    }
    return menu;
}

void Menu::build(QMenuBar* menuBar)
{
    m_menuBar = menuBar;

    for (const ActionEntry& entry : actions()) {
        QAction* action = new QAction(tr(entry.text), this);
        action->setObjectName(QString::fromLatin1(entry.objectName));
        this->*entry.action = action;
        connect(action, &QAction::triggered, this, entry.slot);
    }

    menuNetwork = addMenu(menuBar, "menuNetwork", tr("Network"),
                          {&Menu::actionChoose_Network, &Menu::actionConfigure_Network, nullptr,
                           &Menu::actionDelete_Network, nullptr, &Menu::actionBrowser});
    menuRemotes = addMenu(menuBar, "menuRemotes", tr("Remotes"),
                          {&Menu::actionConnect_to_Remote, nullptr, &Menu::actionAdd_New_Remote,
                           &Menu::actionChange_Remote_Settings, &Menu::actionDelete_Remote});
    menuStats = addMenu(menuBar, "menuStats", tr("Stats"),
                        {&Menu::actionChannel_Stats, &Menu::actionPeer_Stats, &Menu::actionBraid_Stats,
                         &Menu::actionAudio_Levels});
    menuConfigure = addMenu(menuBar, "menuConfigure", tr("Configure"),
                            {&Menu::actionManage_Profiles, &Menu::actionSystem_Settings, &Menu::actionBraid_Settings,
                             &Menu::actionKeypad_Setup, nullptr});
    menuMore = addMenu(menuConfigure, "menuMore", tr("Additional Configuration"),
                       {&Menu::actionCalibrate_Touchscreen, &Menu::actionReset_Configuration});
    menuConfigure->addMenu(menuMore);
    menuConfigure->addSeparator();
    menuConfigure->addAction(actionAbout_ORVANE);
    for (QMenu* menu : {menuNetwork, menuRemotes, menuStats, menuConfigure})
        menuBar->addMenu(menu);

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

// A menu closed by Qt itself (Escape on an attached keyboard) leaves its title highlighted: only
// a menu on show counts as open.
bool Menu::isMenuOpen() const
{
    const QAction* active = m_menuBar->activeAction();
    return active && active->menu() && active->menu()->isVisible();
}

void Menu::closeMenu()
{
    // Clearing the bar's active entry also closes the menu it had open.
    m_menuBar->setActiveAction(nullptr);
    // A menu bar left in keyboard navigation holds the focus until it sees Escape, which gives
    // the focus back to the screen's widget.
    if (m_menuBar->hasFocus()) {
        QKeyEvent escape(QEvent::KeyPress, Qt::Key_Escape, Qt::NoModifier);
        QCoreApplication::sendEvent(m_menuBar, &escape);
    }
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
void Menu::handleMenuAudioLevels() { mainWindow.pane().handleAudioMeters(); }

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
    for (const ActionEntry& entry : actions()) {
        if (entry.hiddenWhenRestricted)
            (this->*entry.action)->setVisible(!checked);
    }
    menuMore->menuAction()->setVisible(!checked);
}
