// A walk through every screen of the program against the simulated unit, one PNG per view.
// Keys travel the hardware keypad's own path (the platform, the keypad filter, the main window's
// routing); the tour only looks at the widgets to know when a key has done its work.
#include "braidsettings.h"
#include "braidstats.h"
#include "channelstats.h"
#include "delayslider.h"
#include "chat.h"
#include "choosenetwork.h"
#include "configurenetwork.h"
#include "editconfigsetting.h"
#include "editsetting.h"
#include "keypadsetup.h"
#include "mainwindow.h"
#include "modalwatch.h"
#include "offline.h"
#include "peeredit.h"
#include "peerlist.h"
#include "peerstats.h"
#include "portallogin.h"
#include "profileitems.h"
#include "profilelist.h"
#include "qtreewidgetitemsetting.h"
#include "statusbar.h"
#include "systemsettings.h"
#include "transientpopup.h"
#include "tunnelsession.h"
#include "webbrowser.h"

#include <QAction>
#include <QApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QMenu>
#include <QMenuBar>
#include <QProcess>
#include <QScreen>
#include <QTabBar>
#include <QTextStream>
#include <QThread>
#include <QTimer>
#include <qpa/qwindowsysteminterface.h>

#include <csignal>
#include <cstdio>
#include <functional>

namespace {

class Tour {
public:
    Tour(MainWindow& window, QProcess& sim, const QString& dir) : m_window(window), m_sim(sim), m_dir(dir) {}

    // Lets the program run until `done` holds; false after `ms`.
    bool waitFor(const std::function<bool()>& done, int ms = 15000)
    {
        QElapsedTimer clock;
        clock.start();
        while (!done()) {
            if (clock.elapsed() > ms)
                return false;
            QApplication::processEvents(QEventLoop::AllEvents, 20);
            QThread::msleep(10);
        }
        return true;
    }

    void settle(int ms = 400)
    {
        waitFor([] { return false; }, ms);
    }

    void shot(const QString& name)
    {
        settle();
        const QString file = QDir(m_dir).filePath(QStringLiteral("%1-%2.png").arg(++m_count, 2, 10, QChar('0')).arg(name));
        QGuiApplication::primaryScreen()->grabWindow(0).save(file, "png");
        std::printf("%s\n", qPrintable(file));
    }

    void key(int keycode, const QString& text = QString())
    {
        for (bool press : {true, false}) {
            QWindow* target = QGuiApplication::focusWindow();
            if (!target)
                target = m_window.windowHandle();
            QWindowSystemInterface::handleKeyEvent<QWindowSystemInterface::SynchronousDelivery>(
                target, press ? QEvent::KeyPress : QEvent::KeyRelease, keycode, Qt::NoModifier, text);
            settle(30);
        }
    }

    void type(const QString& text)
    {
        for (QChar c : text)
            key(c.isLetter() ? Qt::Key_A + (c.toUpper().unicode() - 'A') : c.unicode(), QString(c));
    }

    bool pressUntil(int keycode, const std::function<bool()>& done, int most = 40)
    {
        for (int i = 0; i < most && !done(); ++i)
            key(keycode);
        return done();
    }

    // F1, then along the menu bar and down the menu as the operator would.
    void menu(const QString& title, const QString& entry)
    {
        QMenuBar* bar = m_window.menuBar();
        if (bar->activeAction())
            key(Qt::Key_F1);
        key(Qt::Key_F1);
        require(pressUntil(Qt::Key_Right, [&] { return bar->activeAction() && bar->activeAction()->text() == title; }),
                "menu " + title);
        QMenu* open = bar->activeAction()->menu();
        require(pressUntil(Qt::Key_Down, [&] { return open->activeAction() && open->activeAction()->text() == entry; }),
                "entry " + entry);
        key(Qt::Key_Enter);
    }

    // A stopped unit answers no login, so the link stays down until it runs again.
    void holdSim(bool held)
    {
        ::kill(static_cast<pid_t>(m_sim.processId()), held ? SIGSTOP : SIGCONT);
    }

    void simCommand(const QString& line)
    {
        m_sim.write((line + "\n").toUtf8());
        m_sim.waitForBytesWritten();
    }

    static void require(bool ok, const QString& what)
    {
        if (!ok) {
            std::fprintf(stderr, "tour: could not reach %s\n", qPrintable(what));
            s_sim->kill();
            s_sim->waitForFinished();
            std::exit(1);
        }
    }

    static QProcess* s_sim;

    template <typename Screen>
    Screen& screen(int index)
    {
        return *dynamic_cast<Screen*>(m_window.pane().page(index));
    }

private:
    MainWindow& m_window;
    QProcess& m_sim;
    QString m_dir;
    int m_count = 0;
};

QProcess* Tour::s_sim = nullptr;

// Through a statistics screen with the keypad: the numbers with the selector's option switched on
// (Down to the box, Enter), then over the tab bar to the graphs, then the next entry's graphs.
void statsViews(Tour& tour, QComboBox* selector, QCheckBox* option, QTabWidget* pages, const QString& name)
{
    tour.shot(name);
    Tour::require(tour.pressUntil(Qt::Key_Down, [&] { return option->hasFocus(); }), name + " option");
    tour.key(Qt::Key_Enter);
    Tour::require(option->isChecked(), name + " option checked");
    tour.shot(name + "-option");
    Tour::require(tour.pressUntil(Qt::Key_Down, [&] { return pages->tabBar()->hasFocus(); }), name + " tabs");
    tour.key(Qt::Key_Right);
    Tour::require(pages->currentIndex() == 1, name + " graphs");
    tour.shot(name + "-graph");
    Tour::require(tour.pressUntil(Qt::Key_Up, [&] { return selector->hasFocus(); }), name + " selector");
    const int before = selector->currentIndex();
    tour.key(Qt::Key_Right);
    Tour::require(selector->currentIndex() == before + 1, name + " next entry");
    tour.shot(name + "-graph-next");
    // Back as the screen was: numbers, option off.
    tour.key(Qt::Key_Down);
    tour.key(Qt::Key_Enter);
    tour.key(Qt::Key_Down);
    tour.key(Qt::Key_Left);
}

// Down the tree until an option row of that type, then over to Edit and press it.
void editOptionOfType(Tour& tour, QTreeWidget* tree, QPushButton* edit, OptionType type)
{
    tree->setFocus();
    auto isType = [&] {
        auto* row = dynamic_cast<QTreeWidgetItemSetting*>(tree->currentItem());
        return row && row->setting().getType() == type;
    };
    Tour::require(tour.pressUntil(Qt::Key_Down, isType, 80), QStringLiteral("an option of type %1").arg(int(type)));
    Tour::require(tour.pressUntil(Qt::Key_Right, [&] { return edit->hasFocus(); }), "the Edit button");
    tour.key(Qt::Key_Enter);
}

// The network device list in each of its states, every page of a device's configuration and the
// option editor on each type of option.
void networkTour(Tour& tour, MainWindow& window)
{
    auto& list = tour.screen<ChooseNetwork>(Pane::ScreenNetworkList);
    auto& device = tour.screen<ConfigureNetwork>(Pane::ScreenConfigureNetwork);
    auto& editor = tour.screen<EditConfigSetting>(Pane::ScreenEditConfigSetting);
    auto selectDevice = [&](const std::string& id) {
        // The menu greys "Manage Networks" while the list is on show.
        if (window.pane().currentScreen() != Pane::ScreenNetworkList)
            tour.menu("Network", "Manage Networks");
        auto selected = [&] {
            auto* item = static_cast<NetworkListItem*>(list.networkList->currentItem());
            return item && item->id() == id;
        };
        Tour::require(tour.pressUntil(Qt::Key_Up, selected, 6) || tour.pressUntil(Qt::Key_Down, selected, 6),
                      QString::fromStdString("device " + id));
    };
    auto press = [&](QPushButton* button) {
        Tour::require(tour.pressUntil(Qt::Key_Right, [&] { return button->hasFocus(); }, 6), button->text());
        tour.key(Qt::Key_Enter);
    };
    auto openPage = [&](QWidget* page) {
        device.tabNetwork->setFocus();
        auto shown = [&] { return device.tabNetwork->currentWidget() == page; };
        Tour::require(tour.pressUntil(Qt::Key_Right, shown, 4) || tour.pressUntil(Qt::Key_Left, shown, 4),
                      "a configuration page");
    };
    auto configure = [&](const std::string& id) {
        selectDevice(id);
        press(list.buttonConfigure);
        tour.waitFor([&] { return device.labelID->text() == QString::fromStdString(id); });
    };
    // From the page's tabs Enter into the tree, down to the row, Enter to its Edit button, Enter
    // again; the editor fills itself.
    auto editRow = [&](QTreeWidget* tree, QPushButton* edit, const QString& name) {
        device.tabNetwork->setFocus();
        tour.key(Qt::Key_Enter);
        auto onRow = [&] {
            return tree->currentItem() && tree->currentItem()->isSelected() && tree->currentItem()->text(0) == name;
        };
        Tour::require(tour.pressUntil(Qt::Key_Down, onRow) || tour.pressUntil(Qt::Key_Up, onRow), "the row " + name);
        tour.key(Qt::Key_Enter);
        Tour::require(edit->hasFocus(), "the Edit button");
        tour.key(Qt::Key_Enter);
        tour.waitFor([&] { return editor.labelTitle->text() == name; });
    };

    selectDevice("eth0");
    tour.shot("network-list");
    for (const char* id : {"wlan0", "wlan1", "pots0"}) {
        selectDevice(id);
        tour.shot(QStringLiteral("network-list-%1").arg(QLatin1String(id)));
    }
    selectDevice("eth0");
    press(list.buttonDisable);
    tour.waitFor([&] { return list.buttonEnable->isEnabled(); });
    tour.shot("network-list-disabled");
    tour.key(Qt::Key_Enter);
    tour.waitFor([&] { return list.buttonDisable->isEnabled(); });
    tour.simCommand("unplug wwan0");
    tour.settle(800);
    tour.shot("network-list-one-signal");
    tour.simCommand("plug wwan0");

    configure("wlan0");
    tour.shot("network-device-status");
    openPage(device.tabSettings);
    tour.shot("network-device-settings");
    device.checkAdvanced->setChecked(true);
    tour.shot("network-device-settings-advanced");
    device.checkAdvanced->setChecked(false);
    openPage(device.tabLocations);
    device.treeLocations->setFocus();
    tour.pressUntil(Qt::Key_Down, [&] { return device.treeLocations->currentItem() != nullptr; });
    tour.key(Qt::Key_Right);
    tour.pressUntil(Qt::Key_Down, [&] { return device.treeLocations->currentItem()->parent() != nullptr; });
    tour.shot("network-device-locations");
    openPage(device.tabScan);
    tour.shot("network-device-scan");
    device.handleScan();
    tour.shot("network-device-scanning");
    tour.waitFor([&] { return device.buttonScan->isEnabled(); });
    tour.shot("network-device-scan-results");
    openPage(device.tabSettings);
    editRow(device.treeSettings, device.buttonEditSetting, "Regulatory Region");
    tour.shot("network-editor-select");
    editor.buttonCancel->click();

    configure("eth0");
    openPage(device.tabSettings);
    editRow(device.treeSettings, device.buttonEditSetting, "Address Mode");
    tour.shot("network-editor-bool-labels");
    editor.buttonCancel->click();
    device.checkAdvanced->setChecked(true);
    editRow(device.treeSettings, device.buttonEditSetting, "Static Routes");
    tour.shot("network-editor-bulk");
    editor.buttonCancel->click();
    device.checkAdvanced->setChecked(false);

    configure("wwan0");
    openPage(device.tabSettings);
    const std::pair<const char*, const char*> rows[] = {
        {"Redial Delay", "network-editor-int"}, {"Data Roaming", "network-editor-bool"}, {"Access Point Name", "network-editor-string"}};
    for (const auto& [name, shotName] : rows) {
        editRow(device.treeSettings, device.buttonEditSetting, name);
        if (QLatin1String(shotName) == QLatin1String("network-editor-int")) {
            tour.key(Qt::Key_Right);
            tour.key(Qt::Key_Right);
        }
        tour.shot(shotName);
        editor.buttonCancel->click();
    }
    window.menu().actionChoose_Network->trigger();
}

// The browser on a captive portal served on the loopback address: its home page set on the
// user-interface screen, the login typed on the dialog's keyboard, a zoomed page.
void browse(Tour& tour)
{
    LocalWebServer portal;
    Tour::require(portal.start(), "a local web server");
    auto& setup = tour.screen<KeypadSetup>(Pane::ScreenKeypadSetup);
    Tour::require(tour.pressUntil(Qt::Key_Down, [&] { return setup.browserHomeURL->hasFocus(); }), "the home URL");
    setup.browserHomeURL->clear();
    tour.type(portal.url("/").toString());
    tour.shot("user-interface-home");

    auto& browser = tour.screen<WebBrowser>(Pane::ScreenBrowser);
    tour.menu("Network", "Web Browser");
    Tour::require(tour.waitFor([&] { return browser.webView->title() == "/"; }), "the portal page");
    tour.shot("browser");

    QTimer answer;
    answerEveryModal<WebAuth>(answer, [&](WebAuth& dialog) {
        tour.shot("browser-login");
        typePortalLogin(dialog);
        tour.shot("browser-login-typed");
        QTest::mousePress(dialog.buttonOK, Qt::LeftButton);
    });
    tour.key(Qt::Key_Down);
    tour.key(Qt::Key_Enter);
    Tour::require(tour.waitFor([&] { return browser.webView->title() == "Signed in"; }), "the signed-in page");
    tour.shot("browser-signed-in");

    browser.buttonHome->click();
    Tour::require(tour.waitFor([&] { return browser.webView->title() == "/"; }), "the portal page again");
    for (int i = 0; i < 3; ++i)
        browser.buttonFontUp->click();
    tour.shot("browser-zoomed");
    tour.menu("Network", "Manage Networks");
}

// A Braid call on the statistics screen in both directions, a dropped connection leaving a grey
// boundary, the delay in automatic mode, the status bar's indicator in every colour, the settings.
void braid(Tour& tour, MainWindow& window)
{
    // The browser's login dialog took the keyboard last.
    QApplication::setActiveWindow(&window);
    auto& peers = tour.screen<PeerList>(Pane::ScreenPeerList);
    auto& stats = tour.screen<BraidStats>(Pane::ScreenBraidStats);
    tour.simCommand("braid health green");
    tour.menu("Remotes", "Manage Connections");
    auto van = [&] { return peers.peerTree->currentItem() && peers.peerTree->currentItem()->text(0).startsWith("OB Van 2"); };
    // A new selection puts the focus on the button for it.
    tour.pressUntil(Qt::Key_Up, [&] { return !van(); }, 1);
    Tour::require(tour.pressUntil(Qt::Key_Down, van), "OB Van 2");
    tour.key(Qt::Key_Enter);
    Tour::require(tour.waitFor([&] { return peers.peerTree->currentItem()->text(0).contains("Connected"); }, 20000),
                  "the Braid call");

    tour.menu("Stats", "Braid Stats");
    auto session = [&] { return stats.tunnelInfo().session(); };
    Tour::require(tour.waitFor([&] { return session() && session()->txButtons().size() == 4; }), "four connections");
    tour.settle(12000);
    tour.shot("braid-stats-transmit");

    Tour::require(tour.pressUntil(Qt::Key_Down, [&] { return stats.radioTx->hasFocus(); }, 8), "Transmit");
    tour.key(Qt::Key_Right);
    tour.key(Qt::Key_Enter);
    tour.settle(1000);
    tour.shot("braid-stats-receive");

    tour.simCommand("braid drop 2");
    Tour::require(tour.waitFor([&] { return session()->rxButtons().size() == 3; }), "a dropped connection");
    tour.settle(2500);
    tour.shot("braid-stats-connection-dropped");
    Tour::require(tour.waitFor([&] { return session()->rxButtons().size() == 4; }), "the connection back");
    tour.settle(3000);
    tour.shot("braid-stats-boundary");

    // The delay controls are worked on the touch screen.
    stats.rxAuto()->click();
    Tour::require(tour.waitFor([&] { return stats.rxSlider()->isAuto(); }), "automatic delay");
    tour.settle(1000);
    tour.shot("braid-stats-automatic-delay");

    for (const char* health : {"yellow", "red"}) {
        tour.simCommand(QStringLiteral("braid health %1").arg(health));
        tour.settle(2000);
        tour.shot(QStringLiteral("braid-indicator-%1").arg(health));
    }
    tour.simCommand("braid health green");

    tour.menu("Configure", "Braid Settings");
    auto& settings = tour.screen<BraidSettings>(Pane::ScreenBraidSettings);
    Tour::require(tour.waitFor([&] { return settings.treeSettings->topLevelItemCount() > 0; }), "the Braid settings");
    tour.key(Qt::Key_Down);
    tour.shot("braid-settings");

    tour.menu("Remotes", "Manage Connections");
    // A new selection puts the focus on the button for it.
    tour.pressUntil(Qt::Key_Up, [&] { return !van(); }, 1);
    Tour::require(tour.pressUntil(Qt::Key_Down, van), "OB Van 2");
    tour.key(Qt::Key_Enter);
    tour.waitFor([&] { return !peers.getAnyActive(); }, 10000);
    tour.settle(1000);
    tour.shot("braid-indicator-gray");
}

void run(Tour& tour, MainWindow& window)
{
    tour.settle(300);
    tour.shot("offline");
    Tour::require(tour.waitFor([&] { return window.isVisible() && !window.offlineScreen().isVisible(); }), "ready");
    QApplication::setActiveWindow(&window);

    auto& peers = tour.screen<PeerList>(Pane::ScreenPeerList);
    tour.waitFor([&] { return peers.peerTree->topLevelItemCount() > 0; });
    tour.shot("remotes");

    tour.key(Qt::Key_F1);
    tour.shot("menu-remotes");
    for (const char* name : {"menu-stats", "menu-configure", "menu-network"}) {
        tour.key(Qt::Key_Right);
        tour.shot(name);
    }
    tour.key(Qt::Key_F1);

    // A Braid call, from the first ring to connected.
    auto selectRemote = [&](const QString& name) {
        auto selected = [&] {
            return peers.peerTree->currentItem() && peers.peerTree->currentItem()->text(0).startsWith(name);
        };
        Tour::require(tour.pressUntil(Qt::Key_Up, selected, 6) || tour.pressUntil(Qt::Key_Down, selected), name);
    };
    selectRemote("OB Van 2");
    tour.key(Qt::Key_Enter);
    tour.waitFor([&] { return peers.peerTree->currentItem()->text(0).contains("\n"); }, 5000);
    tour.shot("remotes-calling");
    tour.waitFor([&] { return peers.peerTree->currentItem()->text(0).contains("Connected"); }, 20000);
    tour.settle(1500);
    tour.shot("remotes-braid-connected");
    tour.key(Qt::Key_Enter);
    tour.waitFor([&] { return !peers.getAnyActive(); }, 10000);

    selectRemote("Newsroom Hotline");
    tour.key(Qt::Key_Enter);
    tour.waitFor([&] { return peers.peerTree->currentItem()->text(0).contains("Connected"); }, 20000);
    tour.shot("remotes-pots");
    tour.key(Qt::Key_Enter);
    tour.waitFor([&] { return !peers.getAnyActive(); }, 10000);

    // Two calls at once for the statistics; a loss burst on the first leaves a gap in its delay graph.
    const auto connected = [&] { return peers.peerTree->currentItem()->text(0).contains("Connected"); };
    for (const char* name : {"Studio A", "Remote Booth"}) {
        selectRemote(name);
        tour.key(Qt::Key_Enter);
        tour.waitFor(connected, 20000);
    }
    tour.settle(8000);
    tour.simCommand("burst 1 4");
    tour.settle(6000);
    tour.menu("Stats", "Peer Stats");
    auto& peerStats = tour.screen<PeerStats>(Pane::ScreenPeerStats);
    statsViews(tour, peerStats.comboMode, peerStats.checkAdvanced, peerStats.statsTab, "peer-stats");
    tour.menu("Stats", "Channel Stats");
    auto& channelStats = tour.screen<ChannelStats>(Pane::ScreenChannelStats);
    statsViews(tour, channelStats.comboMode, channelStats.checkAvg, channelStats.statsTab, "channel-stats");
    tour.menu("Remotes", "Manage Connections");
    for (const char* name : {"Studio A", "Remote Booth"}) {
        selectRemote(name);
        tour.key(Qt::Key_Enter);
        tour.waitFor([&] { return !connected(); }, 10000);
    }
    tour.waitFor([&] { return !peers.getAnyActive(); }, 10000);
    // The remote the editor views below.
    selectRemote("Newsroom Hotline");

    auto& editor = tour.screen<PeerEdit>(Pane::ScreenPeerEdit);
    tour.menu("Remotes", "Change Remote Settings");
    tour.shot("remote-editor-edit");
    tour.menu("Remotes", "Add New Remote");
    tour.shot("remote-editor-add");
    Tour::require(tour.pressUntil(Qt::Key_Down, [&] { return editor.checkBraid->hasFocus(); }), "the Braid box");
    tour.key(Qt::Key_Enter);
    Tour::require(tour.pressUntil(Qt::Key_Up, [&] { return editor.macAddrEdit->hasFocus(); }), "the MAC field");
    tour.type("00:1");
    tour.shot("remote-editor-mac-tinted");
    tour.menu("Remotes", "Manage Connections");

    tour.simCommand("say Good morning from the van, levels look fine here");
    tour.settle(1200);
    tour.shot("chat-alert");
    window.statusBarWidget().chatButton->click();
    tour.type("Hello");
    tour.key(Qt::Key_Enter);
    tour.settle(800);
    tour.shot("chat");
    window.statusBarWidget().chatButton->click();

    tour.menu("Stats", "Audio Levels");
    tour.shot("meters");
    tour.key(Qt::Key_F1);
    tour.shot("menu-over-meters");
    tour.key(Qt::Key_F1);

    tour.menu("Configure", "Manage Profiles");
    tour.shot("profiles");
    auto& profiles = tour.screen<ProfileList>(Pane::ScreenProfileList);
    Tour::require(tour.pressUntil(Qt::Key_Down, [&] {
        return profiles.listProfiles->currentItem() && profiles.listProfiles->currentItem()->text().endsWith("Studio Link");
    }), "the Studio Link profile");
    Tour::require(tour.pressUntil(Qt::Key_Right, [&] { return profiles.buttonEdit->hasFocus(); }), "profile Edit");
    tour.key(Qt::Key_Enter);
    tour.shot("profile-items");
    auto& items = tour.screen<ProfileItems>(Pane::ScreenProfileItems);
    editOptionOfType(tour, items.treeProfileItems, items.buttonEdit, OptionType::Codec);
    tour.shot("editor-codec");

    auto& system = tour.screen<SystemSettings>(Pane::ScreenSystemSettings);
    const std::pair<OptionType, const char*> pages[] = {{OptionType::Bool, "editor-bool"},
                                                         {OptionType::Int, "editor-int"},
                                                         {OptionType::String, "editor-string"},
                                                         {OptionType::Select, "editor-select"}};
    tour.menu("Configure", "System Settings");
    tour.shot("system-settings");
    for (const auto& [type, name] : pages) {
        tour.menu("Configure", "System Settings");
        system.treeSysConfig->setCurrentItem(system.treeSysConfig->topLevelItem(0));
        editOptionOfType(tour, system.treeSysConfig, system.buttonEdit, type);
        tour.shot(name);
    }

    networkTour(tour, window);

    tour.menu("Configure", "User Interface");
    tour.shot("user-interface");
    browse(tour);
    // No menu holds the audio controls; their action is all there is.
    window.menu().actionConfigure_Audio->trigger();
    tour.shot("audio-settings");
    tour.menu("Configure", "About ORVANE");
    tour.shot("about");
    // Without a window manager nothing hands the focus back to the main window when the menu
    // closes, so the closed menu would take the tab switch; on the unit the window keeps it.
    window.activateWindow();
    tour.settle();
    tour.key(Qt::Key_Right);
    tour.shot("about-legal");
    braid(tour, window);

    tour.simCommand("update start Installing firmware 4.3.0 (42%)");
    tour.waitFor([&] { return window.offlineScreen().isVisible(); });
    tour.shot("firmware-update");
    tour.simCommand("update finish");
    tour.waitFor([&] { return window.isVisible(); });

    tour.simCommand("defpwd on");
    tour.simCommand("drop");
    Tour::require(tour.waitFor([&] { return window.offlineScreen().isVisible(); }), "link lost");
    tour.holdSim(true);
    tour.shot("link-lost");
    Tour::require(window.offlineScreen().isVisible() && !window.isVisible(), "link still lost");
    tour.holdSim(false);
    tour.waitFor([&] { return window.isVisible() && window.popup().isVisible(); }, 30000);
    tour.shot("password-warning");
}

} // namespace

int main(int argc, char* argv[])
{
    if (argc != 2) {
        std::fprintf(stderr, "usage: orvane-tour OUTPUT-DIR   (under a 640x480 X display)\n");
        return 2;
    }
    const QByteArray address = "/orvane-tour-" + QByteArray::number(QCoreApplication::applicationPid());
    qputenv("LIBIPC_LOCAL_ADDR", address);
    QApplication app(argc, argv);
    QDir().mkpath(QString::fromLocal8Bit(argv[1]));

    QProcess sim;
    sim.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    sim.start(QStringLiteral(ORVANE_UNITSIM), {QStringLiteral("--no-tcp"), QStringLiteral("--stats-rate"), QStringLiteral("500")});
    if (!sim.waitForStarted() || !sim.waitForReadyRead(10000)) {
        std::fprintf(stderr, "tour: the simulator did not start\n");
        return 1;
    }

    Tour::s_sim = &sim;
    MainWindow window;
    window.setPointerCalibrationFile(QCoreApplication::applicationFilePath());
    Tour tour(window, sim, QString::fromLocal8Bit(argv[1]));
    run(tour, window);

    sim.write("quit\n");
    sim.waitForFinished(5000);
    return 0;
}
