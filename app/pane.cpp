#include "pane.h"

#include "logger.h"
#include "mainwindow.h"
#include "menu.h"
#include "statusbar.h"
#include "transientpopup.h"

#include <QScrollArea>

#include <algorithm>
#include <QStackedWidget>

namespace {
constexpr int kPageWidth = 640;
constexpr int kPageAreaHeight = 320;
constexpr int kStackHeight = 430;
constexpr std::array<int, 6> kCycle = {Pane::ScreenNetworkList, Pane::ScreenPeerList, Pane::ScreenPeerStats,
                                       Pane::ScreenChannelStats, Pane::ScreenBraidStats, Pane::ScreenMeters};
} // namespace

Pane::Pane(MainWindow& mainWindow)
    : mainWindow(mainWindow)
{
    m_pages[ScreenPeerList] = &m_peerList;
    m_pages[ScreenPeerEdit] = &m_peerEdit;
    m_pages[ScreenPeerAdd] = &m_peerEdit;
    m_pages[ScreenPeerStats] = &m_peerStats;
    m_pages[ScreenChannelStats] = &m_channelStats;
    m_pages[ScreenBraidStats] = &m_braidStats;
    m_pages[ScreenMeters] = &m_metering;
    m_pages[ScreenNetworkList] = &m_chooseNetwork;
    m_pages[ScreenConfigureNetwork] = &m_configureNetwork;
    m_pages[ScreenEditConfigSetting] = &m_editConfigSetting;
    m_pages[ScreenChat] = &m_chat;
    m_pages[ScreenBrowser] = &m_browser;
    m_pages[ScreenAudioSettings] = &m_audioSettings;
    m_pages[ScreenSystemSettings] = &m_systemSettings;
    m_pages[ScreenBraidSettings] = &m_braidSettings;
    m_pages[ScreenProfileList] = &m_profileList;
    m_pages[ScreenProfileItems] = &m_profileItems;
    m_pages[ScreenEditSetting] = &m_editSetting;
    m_pages[ScreenKeypadSetup] = &m_keypadSetup;
    m_pages[ScreenAbout] = &m_about;
    Q_ASSERT(std::find(m_pages.begin(), m_pages.end(), nullptr) == m_pages.end());
}

// The screens are members; take them out of the stack before it is destroyed with the window.
Pane::~Pane()
{
    for (QWidget* page : m_pages)
        page->setParent(nullptr);
}

bool Pane::build(QWidget* stackFrame, StatusBar& statusBar)
{
    pageArea = new QScrollArea(stackFrame);
    pageArea->setFocusPolicy(Qt::NoFocus);
    pageArea->setFrameShape(QFrame::NoFrame);
    pageArea->resize(kPageWidth, kPageAreaHeight);

    stack = new QStackedWidget;
    stack->setFocusPolicy(Qt::NoFocus);
    stack->resize(kPageWidth, kStackHeight);
    for (QWidget* page : m_pages) {
        if (stack->indexOf(page) < 0)
            stack->addWidget(page);
    }
    pageArea->setWidget(stack);
    setKeyboardShown(false);

    connect(&m_peerEdit, &PeerEdit::editPeerDone, this, &Pane::handlePeerEditDone);
    connect(&m_configureNetwork, &ConfigureNetwork::configureDone, this, &Pane::handleNetworkConfigureDone);
    connect(&m_peerList, &PeerList::newPeerIDSelected, &m_peerEdit, &PeerEdit::setPeerID);
    connect(&m_peerList, &PeerList::anyActiveChanged, &statusBar, &StatusBar::updateLinkIndicator);
    connectNetworkScreens(statusBar);
    connect(&mainWindow.menu(), &Menu::deletePeerConfirmed, &m_peerEdit, &PeerEdit::deletePeer);
    connect(&m_metering, &Metering::smallMeterClicked, this, &Pane::handleAudioMeters);
    connect(&m_chat, &Chat::chatAlert, &statusBar, &StatusBar::handleChatAlert);
    connect(&m_braidStats.tunnelInfo(), &TunnelInfo::braidStatus, &statusBar, &StatusBar::updateBraidStatus);

    // Where one signal reaches two slots, the screen switch comes before the screen fills itself.
    Menu& menu = mainWindow.menu();
    connect(&m_profileList, &ProfileList::changeModal, &mainWindow, &MainWindow::setModal);
    connect(&m_profileList, &ProfileList::editProfile, this, &Pane::handleProfileItems);
    connect(&m_profileList, &ProfileList::editProfile, &m_profileItems, &ProfileItems::populateItems);
    connect(&m_profileItems, &ProfileItems::doneClicked, &menu, &Menu::handleMenuManageProfiles);
    connect(&m_profileItems, &ProfileItems::editProfileSetting, this, &Pane::handleEditSetting);
    connect(&m_profileItems, &ProfileItems::editProfileSetting, &m_editSetting, &EditSetting::populateProfileItem);
    connect(&m_editSetting, &EditSetting::profileEditDone, this, &Pane::handleProfileItems);
    connect(&m_systemSettings, &SystemSettings::editOption, this, &Pane::handleEditSetting);
    connect(&m_systemSettings, &SystemSettings::editOption, &m_editSetting, &EditSetting::populateChannelItem);
    connect(&m_editSetting, &EditSetting::channelEditDone, &menu, &Menu::handleMenuSystemSettings);
    connect(&m_keypadSetup, &KeypadSetup::restrictedModeChanged, &menu, &Menu::handleMenuRestrictedToggled);
    connect(&m_keypadSetup, &KeypadSetup::browserHomeChanged, &m_browser, &WebBrowser::browserHomeChanged);
    return true;
}

// The configuration screen learns the new device before the menu refreshes its entries.
void Pane::connectNetworkScreens(StatusBar& statusBar)
{
    Menu& menu = mainWindow.menu();
    connect(&m_chooseNetwork, &ChooseNetwork::newNetworkSelected, &m_configureNetwork,
            &ConfigureNetwork::setSelectedID);
    connect(&m_chooseNetwork, &ChooseNetwork::newNetworkSelected, this, &Pane::handleNetworkSelected);
    connect(&m_chooseNetwork, &ChooseNetwork::configureRequested, &menu, &Menu::handleMenuConfigureNetwork);
    connect(&m_configureNetwork, &ConfigureNetwork::editNetworkSetting, this, &Pane::handleEditConfigSetting);
    connect(&m_braidSettings, &BraidSettings::editBraidSetting, this, &Pane::handleEditConfigSetting);
    connect(&m_configureNetwork, &ConfigureNetwork::changeModal, &mainWindow, &MainWindow::setModal);
    connect(&m_editConfigSetting, &EditConfigSetting::editConfigSettingDone, this,
            &Pane::handleEditConfigSettingDone);
    connect(&m_chooseNetwork, &ChooseNetwork::netReadyChanged, &statusBar, &StatusBar::updateLinkIndicator);
    connect(&m_chooseNetwork, &ChooseNetwork::signalStrength, &statusBar, &StatusBar::updateSignalStrength);
    connect(&m_chooseNetwork, &ChooseNetwork::signalStrengthOff, &statusBar, &StatusBar::signalStrengthOff);
    connect(&m_chooseNetwork, &ChooseNetwork::signalStrengthMulti, &statusBar, &StatusBar::signalStrengthMulti);
    connect(&menu, &Menu::deleteNetworkConfirmed, &m_chooseNetwork, &ChooseNetwork::deleteNetwork);
    connect(&m_keypadSetup, &KeypadSetup::restrictedModeChanged, &m_chooseNetwork,
            &ChooseNetwork::handleRestrictedToggled);
}

void Pane::handleNetworkSelected()
{
    if (current == ScreenNetworkList)
        mainWindow.menu().updateActions(ScreenNetworkList);
}

void Pane::handleEditConfigSetting(const std::string& path)
{
    editReturn = current;
    showScreen(ScreenEditConfigSetting);
    m_editConfigSetting.setPath(path);
}

void Pane::handleEditConfigSettingDone(bool)
{
    showScreen(editReturn);
}

void Pane::handleNetworkConfigureDone()
{
    showScreen(ScreenNetworkList);
}

void Pane::handleProfileItems()
{
    showScreen(ScreenProfileItems);
}

void Pane::handleEditSetting()
{
    showScreen(ScreenEditSetting);
}

QWidget* Pane::page(int index) const
{
    return m_pages.at(index);
}

KeypadHandler* Pane::keypadHandlerOf(int index) const
{
    return dynamic_cast<KeypadHandler*>(m_pages.at(index));
}

int Pane::menuScreen() const
{
    if (current == ScreenChat)
        return chatReturn;
    if (current == ScreenMeters)
        return metersReturn;
    return current;
}

bool Pane::keyboardAllowed(int index)
{
    return index != ScreenMeters && index != ScreenChat;
}

void Pane::showScreen(int index)
{
    if (index < 0 || index >= ScreenCount) {
        g_log.log(LOG_ERROR, "pane: no screen %d", index);
        return;
    }
    if (auto* leaving = dynamic_cast<PaneBase*>(stack->currentWidget()))
        leaving->paneAboutToHide();

    mainWindow.menu().updateActions(index);
    previous = current;

    m_metering.setBigMeterEnabled(index == ScreenMeters);
    mainWindow.popup().setShifted(index == ScreenMeters);

    if (index == ScreenPeerEdit || index == ScreenPeerAdd) {
        m_peerEdit.setEdit(index == ScreenPeerEdit);
        m_peerEdit.populate();
    }
    if (index == ScreenConfigureNetwork && previous == ScreenNetworkList)
        m_configureNetwork.showStatusTab();

    stack->setCurrentWidget(m_pages[index]);
    if (index == ScreenChat)
        m_chat.lineMessage->setFocus(Qt::OtherFocusReason);
    mainWindow.setKeypadHandler(keypadHandlerOf(index));
    pageArea->ensureVisible(0, 0, 50, 50);

    StatusBar& statusBar = mainWindow.statusBarWidget();
    const bool allowed = keyboardAllowed(index);
    if (!statusBar.keyboardButtonEnabled() && allowed)
        mainWindow.setKeyboardVisible(false);
    if (index == ScreenChat) {
        mainWindow.setKeyboardVisible(true);
        setKeyboardShown(false);
    } else if (index == ScreenMeters) {
        mainWindow.setKeyboardVisible(false);
    }
    statusBar.setKeyboardButtonEnabled(allowed);

    current = index;

    if (auto* arriving = dynamic_cast<PaneBase*>(m_pages[index]))
        arriving->paneAboutToShow();
    else
        g_log.log(LOG_ERROR, "pane: can't dynamic_cast the current widget for paneAboutToShow()");
}

void Pane::setKeyboardShown(bool shown)
{
    const Qt::ScrollBarPolicy policy = shown ? Qt::ScrollBarAsNeeded : Qt::ScrollBarAlwaysOff;
    pageArea->setHorizontalScrollBarPolicy(policy);
    pageArea->setVerticalScrollBarPolicy(policy);
}

void Pane::resizePageArea(int w, int h)
{
    pageArea->resize(w, h);
}

void Pane::toggle(int target, int& returnScreen)
{
    if (current != target) {
        returnScreen = current;
        showScreen(target);
    } else {
        showScreen(returnScreen);
    }
}

void Pane::handleAudioMeters()
{
    toggle(ScreenMeters, metersReturn);
}

void Pane::handleChat()
{
    const bool opening = current != ScreenChat;
    toggle(ScreenChat, chatReturn);
    if (opening) {
        mainWindow.statusBarWidget().clearChatAlert();
        mainWindow.statusBarWidget().setKeyboardButtonEnabled(false);
    }
}

void Pane::cycle()
{
    const auto here = std::find(kCycle.begin(), kCycle.end(), current);
    if (here != kCycle.end())
        cyclePos = unsigned(here - kCycle.begin());
    cyclePos = (cyclePos + 1) % kCycle.size();
    showScreen(kCycle[cyclePos]);
}

void Pane::f2Pressed()
{
    int toggleReturn = previous;
    switch (m_keypadSetup.f2Mode()) {
    case KeypadSetup::F2Cycle:
        cycle();
        break;
    case KeypadSetup::F2ToggleNetworks:
        toggle(ScreenNetworkList, toggleReturn);
        break;
    case KeypadSetup::F2ToggleRemotes:
        toggle(ScreenPeerList, toggleReturn);
        break;
    case KeypadSetup::F2TogglePeerStats:
        toggle(ScreenPeerStats, toggleReturn);
        break;
    case KeypadSetup::F2ToggleChannelStats:
        toggle(ScreenChannelStats, toggleReturn);
        break;
    case KeypadSetup::F2ToggleMeters:
        handleAudioMeters();
        break;
    case KeypadSetup::F2ToggleKeyboard:
        mainWindow.handlePopupKeyboard();
        break;
    case KeypadSetup::F2ToggleChat:
        handleChat();
        break;
    case KeypadSetup::F2RemoteContactClosure:
        mainWindow.setRemoteCC(0, true);
        break;
    case KeypadSetup::F2ToggleBraidStats:
        toggle(ScreenBraidStats, toggleReturn);
        break;
    default:
        break;
    }
}

void Pane::f2Released()
{
    if (m_keypadSetup.f2Mode() == KeypadSetup::F2RemoteContactClosure)
        mainWindow.setRemoteCC(0, false);
}

bool Pane::networkReady() const
{
    return m_chooseNetwork.getNetReady();
}

bool Pane::anyCallActive() const
{
    return m_peerList.getAnyActive();
}

QString Pane::selectedRemoteName() const
{
    return m_peerList.getAttrOfSelected(QStringLiteral("name"));
}

void Pane::handlePeerEditDone()
{
    showScreen(ScreenPeerList);
}

bool Pane::selectedNetworkViewOnly() const
{
    return m_chooseNetwork.isSelectedViewOnly();
}

bool Pane::selectedNetworkInstalled() const
{
    return m_chooseNetwork.isSelectedInstalled();
}
