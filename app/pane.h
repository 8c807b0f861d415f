#ifndef PANE_H
#define PANE_H

#include "aboutwidget.h"
#include "audiosettings.h"
#include "channelstats.h"
#include "braidsettings.h"
#include "braidstats.h"
#include "chat.h"
#include "choosenetwork.h"
#include "configurenetwork.h"
#include "editconfigsetting.h"
#include "editsetting.h"
#include "keypadsetup.h"
#include "metering.h"
#include "peeredit.h"
#include "peerlist.h"
#include "peerstats.h"
#include "profileitems.h"
#include "profilelist.h"
#include "statusbar.h"
#include "systemsettings.h"
#include "webbrowser.h"

#include <QObject>

#include <array>

class KeypadHandler;
class MainWindow;
class QScrollArea;
class QStackedWidget;
class QWidget;

// Every screen of the program, created once; shows one at a time and wires them together.
class Pane : public QObject, public StatusSource {
    Q_OBJECT
    Q_DISABLE_COPY(Pane)

public:
    enum Screen {
        ScreenPeerList = 0,
        ScreenPeerEdit = 1,
        ScreenPeerAdd = 2,
        ScreenPeerStats = 3,
        ScreenChannelStats = 4,
        ScreenBraidStats = 5,
        ScreenMeters = 6,
        ScreenChat = 7,
        ScreenBrowser = 8,
        ScreenNetworkList = 9,
        ScreenAudioSettings = 10,
        ScreenConfigureNetwork = 11,
        ScreenEditConfigSetting = 12,
        ScreenSystemSettings = 13,
        ScreenBraidSettings = 14,
        ScreenProfileList = 15,
        ScreenProfileItems = 16,
        ScreenEditSetting = 17,
        ScreenKeypadSetup = 18,
        ScreenAbout = 19,
        ScreenCount = 20
    };

    explicit Pane(MainWindow& mainWindow);
    ~Pane() override;

    // Puts the page area and the stack into the main window's stack frame and wires the screens
    // to each other and to the status bar.
    bool build(QWidget* stackFrame, StatusBar& statusBar);

    void showScreen(int index);
    int currentScreen() const { return current; }
    bool chatOnShow() const override { return current == ScreenChat; }
    // The chat and meters screens count as the screen underneath them.
    int menuScreen() const;
    static bool keyboardAllowed(int index);

    void setKeyboardShown(bool shown);
    void resizePageArea(int w, int h);

    void f2Pressed();
    void f2Released();

    // What the status bar and the menu learn from the remote and network device lists.
    bool networkReady() const override;
    bool anyCallActive() const override;
    QString selectedRemoteName() const;
    bool selectedNetworkViewOnly() const;
    bool selectedNetworkInstalled() const;

    QWidget* page(int index) const;
    Metering& metering() { return m_metering; }
    AboutWidget& about() { return m_about; }
    PeerList& peerList() { return m_peerList; }
    PeerEdit& peerEdit() { return m_peerEdit; }
    KeypadSetup& keypadSetup() { return m_keypadSetup; }
    PeerStats& peerStats() { return m_peerStats; }
    ChannelStats& channelStats() { return m_channelStats; }
    ChooseNetwork& chooseNetwork() { return m_chooseNetwork; }
    ConfigureNetwork& configureNetwork() { return m_configureNetwork; }
    EditConfigSetting& editConfigSetting() { return m_editConfigSetting; }
    WebBrowser& browser() { return m_browser; }
    BraidStats& braidStats() { return m_braidStats; }
    BraidSettings& braidSettings() { return m_braidSettings; }

public slots:
    void handleAudioMeters();
    void handleChat();

private slots:
    void handleNetworkSelected();
    void handlePeerEditDone();
    void handleProfileItems();
    void handleEditSetting();
    void handleEditConfigSetting(const std::string& path);
    void handleEditConfigSettingDone(bool saved);
    void handleNetworkConfigureDone();

private:
    void connectNetworkScreens(StatusBar& statusBar);
    void toggle(int target, int& returnScreen);
    void cycle();
    KeypadHandler* keypadHandlerOf(int index) const;

    int current = ScreenPeerList;
    int metersReturn = ScreenPeerList;
    int chatReturn = ScreenPeerList;
    int previous = ScreenPeerList;
    int editReturn = ScreenConfigureNetwork;
    PeerList m_peerList;
    PeerEdit m_peerEdit;
    ChooseNetwork m_chooseNetwork;
    Metering m_metering;
    ConfigureNetwork m_configureNetwork;
    KeypadSetup m_keypadSetup;
    PeerStats m_peerStats;
    ChannelStats m_channelStats;
    WebBrowser m_browser;
    BraidStats m_braidStats;
    Chat m_chat;
    AudioSettings m_audioSettings;
    EditSetting m_editSetting;
    EditConfigSetting m_editConfigSetting;
    SystemSettings m_systemSettings{&m_editSetting};
    BraidSettings m_braidSettings;
    ProfileList m_profileList;
    ProfileItems m_profileItems{&m_editSetting};
    AboutWidget m_about;
    std::array<QWidget*, ScreenCount> m_pages{};
    MainWindow& mainWindow;
    unsigned int cyclePos = 0;
    QStackedWidget* stack = nullptr;
    QScrollArea* pageArea = nullptr;
};

#endif
