// The main window and what it shows by itself: its screen stack, its menus, where each key goes,
// the offline screen while the link is down or updating, the popup that carries its warnings and
// the status bar's indicators.
#include "calibration.h"
#include "ipcinstances.h"
#include "keypadhandler.h"
#include "logger.h"
#include "mainwindow.h"
#include "modalwatch.h"
#include "offline.h"
#include "pickboardkeys.h"
#include "platformkey.h"
#include "qwscalibratedmousehandler.h"
#include "qwsserver.h"
#include "scribblewidget.h"
#include "statusbar.h"
#include "transientpopup.h"

#include <QtTest>
#include <QtWidgets>

#include <functional>
#include <memory>
#include <tuple>

namespace {

// The name of the icon (":/icons/NAME.png") a label or button shows: "none" for no picture.
QString iconName(const QPixmap& pixmap)
{
    if (pixmap.isNull())
        return QStringLiteral("none");
    const QImage image = pixmap.toImage();
    for (const QString& file : QDir(QStringLiteral(":/icons")).entryList()) {
        if (QPixmap(":/icons/" + file).toImage() == image)
            return file.section('.', 0, 0);
    }
    return QStringLiteral("unknown");
}

// A whole main window, ready as if the backend had logged in, with every request it sends kept.
class ShellFixture {
public:
    ShellFixture()
    {
        // The link start one second in must find no backend, whatever runs on this machine.
        qputenv("LIBIPC_LOCAL_ADDR", QByteArray("/orvane-shell-test-") + QByteArray::number(qApp->applicationPid()));
        QFile(m_dir.filePath("pointercal")).open(QIODevice::WriteOnly);
        window = std::make_unique<MainWindow>();
        window->setCaptureDirectory(m_dir.path());
        window->setPointerCalibrationFile(m_dir.filePath("pointercal"));
        g_ipcClient.setRequestTap([this](const Message& msg) { sent.push_back(msg); });
    }
    ~ShellFixture() { g_ipcClient.setRequestTap(nullptr); }

    void setState(IPCClient::IPC_STATE state, bool defPwd = false) { emit g_ipcClient.changedState(state, defPwd); }
    // The requests sent, as "name key=value ...".
    QStringList requests() const
    {
        QStringList lines;
        for (const Message& msg : sent)
            lines << QString::fromStdString(msg.dump_text()).trimmed();
        return lines;
    }

    std::unique_ptr<MainWindow> window;
    std::vector<Message> sent;

private:
    QTemporaryDir m_dir;
};

// The operator's choice of F2 behaviour, as made on the user-interface settings screen.
inline void chooseF2Mode(MainWindow& window, int mode)
{
    QComboBox* modes = window.pane().keypadSetup().comboF2KeyMode;
    modes->setCurrentIndex(modes->findData(mode));
}


// "Down+" for a press of Down, "Down-r" for an auto-repeated release, "S-Tab+" with Shift held.
QString describeKey(int keycode, bool pressed, bool repeat, Qt::KeyboardModifiers modifiers = Qt::NoModifier)
{
    QString name = QString::fromLatin1(QMetaEnum::fromType<Qt::Key>().valueToKey(keycode)).mid(4);
    if (modifiers & Qt::ShiftModifier)
        name.prepend(QLatin1String("S-"));
    return name + (pressed ? "+" : "-") + (repeat ? "r" : "");
}

// Keys the window server typed on the program's behalf (not those from the platform). An ignored
// key travels on to the parents of its receiver as the same event: it is written down once.
class InjectedKeys : public QObject {
public:
    InjectedKeys() { qApp->installEventFilter(this); }
    QStringList keys;

protected:
    bool eventFilter(QObject*, QEvent* event) override
    {
        if ((event->type() != QEvent::KeyPress && event->type() != QEvent::KeyRelease) || event->spontaneous())
            return false;
        auto* key = static_cast<QKeyEvent*>(event);
        const QString typed = describeKey(key->key(), event->type() == QEvent::KeyPress, key->isAutoRepeat(), key->modifiers());
        if (event != m_last || keys.value(keys.size() - 1) != typed)
            keys << typed;
        m_last = event;
        return false;
    }

private:
    QEvent* m_last = nullptr;
};

// Set up before the key: what is up, and the kind of screen shown (one that writes its keys
// down unless told otherwise).
enum Flag { None = 0, Popup = 1, Calibrating = 2, Modal = 4, MenuOpen = 8, Typing = 16, List = 32, Form = 64, ComboOpen = 128,
            ContactClosure = 256 };

// A screen of one of the kinds the shared navigation serves, or one that writes its keys down.
struct Screen : KeypadHandler {
    void handleKey(int keycode, bool pressed, bool repeat) override
    {
        if (kind & List)
            handleListScreenKey(&list, keycode, pressed, repeat);
        else if (kind & Form)
            moveThroughForm(keycode, pressed, repeat);
        else if (kind & Typing)
            KeypadHandler::handleKey(keycode, pressed, repeat);
        else
            keys << describeKey(keycode, pressed, repeat);
    }
    int kind = None;
    QWidget list;
    QStringList keys;
};

// A status bar on a shown frame, fed by a source the test sets.
struct StatusFixture : StatusSource {
    StatusFixture() { frame.show(); }
    bool chatOnShow() const override { return chatShown; }
    bool networkReady() const override { return netReady; }
    bool anyCallActive() const override { return active; }
    // One tick of the blink timer, without waiting for it.
    void tick() { QMetaObject::invokeMethod(bar, "handleAlertTimer"); }
    bool chatShown = false, netReady = false, active = false;
    QWidget frame;
    StatusBar* bar = new StatusBar(&frame, *this);
};

} // namespace

class TestApp : public QObject {
    Q_OBJECT

private slots:
    void init()
    {
        m_shell = std::make_unique<ShellFixture>();
        // The offline screen comes up by itself shortly after start; the key source is made
        // active after it, or the offline screen would take the activation away meanwhile.
        QVERIFY(QTest::qWaitFor([this] { return m_shell->window->offlineScreen().isVisible(); }));
        m_keySource = std::make_unique<QWidget>();
        QVERIFY(showActive(m_keySource.get()));
        m_shell->setState(IPCClient::IPC_READY);
    }
    void cleanup()
    {
        m_keySource.reset();
        m_shell.reset();
        qunsetenv("GUI_DEBUG");
        qunsetenv("REMOTE_UI");
    }
    // Steps the operator takes: "s3" shows screen 3, "m5" chooses F2 mode 5, "f2" presses and
    // releases F2, "meters" and "chat" toggle, "kb" opens the keyboard, "alert" raises a chat alert.
    // Seen: the screen after each step, then "|" and what the window shows at the end: the menu's
    // screen and what is on. Pages scroll only behind the keyboard, and chat fits above it.
    void screenStack_data()
    {
        QTest::addColumn<QString>("steps");
        QTest::addColumn<QString>("seen");
        const auto row = [](const char* steps, const char* seen) { QTest::newRow(steps) << steps << seen; };
        row("s3 meters chat chat meters", "3 6 7 6 3 | 3 button");
        row("s3 meters chat", "3 6 7 | 6 keyboard");
        row("s3 meters meters chat", "3 6 3 7 | 3 keyboard");
        row("s3 alert chat", "3 3 7 | 3 keyboard");
        row("s3 alert", "3 3 | 3 button alerting");
        row("s3 chat s0", "3 7 0 | 0 button");
        row("s0 kb s3", "0 0 3 | 3 keyboard button scrolls");
        row("s3 kb chat chat", "3 3 7 3 | 3 button");
        row("kb s6", "0 6 | 0 shifted");
        row("kb s6 s0", "0 6 0 | 0 button");
        // The cycle, and from a screen outside it on from where it stood.
        row("m0 f2 f2 f2 f2 f2 f2 f2 s1 f2", "0 3 4 5 6 9 0 3 1 4 | 4 button");
        // Each toggle from the about screen and back; contact closure is in the key routing test.
        row("s19 m0 f2 f2", "19 19 0 3 | 3 button");
        row("s19 m1 f2 f2", "19 19 9 19 | 19 button");
        row("s19 m5 f2 f2", "19 19 6 19 | 19 button");
        row("s19 m6 f2", "19 19 19 | 19 keyboard button scrolls");
        row("s19 m6 f2 f2", "19 19 19 19 | 19 button");
        row("s19 m7 f2", "19 19 7 | 19 keyboard");
        row("s19 m7 f2 f2", "19 19 7 19 | 19 button");
        row("s19 m9 f2 f2", "19 19 5 19 | 19 button");
    }
    void screenStack()
    {
        QFETCH(QString, steps);
        QFETCH(QString, seen);
        MainWindow& window = *m_shell->window;
        StatusBar& bar = window.statusBarWidget();
        const std::map<QString, std::function<void()>> actions = {
            {"meters", [&] { pane().handleAudioMeters(); }},
            {"chat", [&] { pane().handleChat(); }},
            {"kb", [&] { window.handlePopupKeyboard(); }},
            {"alert", [&] { bar.handleChatAlert(); }},
            {"f2", [&] {
                 pane().f2Pressed();
                 pane().f2Released();
             }},
        };
        QStringList screens;
        for (const QString& step : steps.split(' ')) {
            if (actions.count(step))
                actions.at(step)();
            else if (step.startsWith('m'))
                chooseF2Mode(window, step.mid(1).toInt());
            else
                pane().showScreen(step.mid(1).toInt());
            screens << QString::number(pane().currentScreen());
        }
        const QScrollArea* pageArea = window.findChild<QScrollArea*>();
        QStringList shown{"|", QString::number(pane().menuScreen())};
        for (const auto& [on, name] : {std::pair(window.keyboardVisible(), "keyboard"),
                                       std::pair(bar.keyboardButtonEnabled(), "button"),
                                       std::pair(pageArea->verticalScrollBarPolicy() == Qt::ScrollBarAsNeeded, "scrolls"),
                                       std::pair(pageArea->horizontalScrollBarPolicy() != pageArea->verticalScrollBarPolicy(), "mixed"),
                                       std::pair(window.popup().geometry().top() != 190, "shifted"),
                                       std::pair(bar.chatAlerting(), "alerting")}) {
            if (on)
                shown << name;
        }
        QCOMPARE((screens + shown).join(' '), seen);
    }
    // The backend draws the bars where they are asked to: on the status bar's small meter.
    void smallMeterBarsLieOnTheMeter()
    {
        MainWindow& window = *m_shell->window;
        QVERIFY(QTest::qWaitForWindowExposed(&window));
        m_shell->sent.clear();
        m_shell->setState(IPCClient::IPC_LOGGED_IN);
        m_shell->setState(IPCClient::IPC_READY);
        const QWidget* meter = window.statusBarWidget().smallMeterWidget->findChild<QWidget*>();
        const QPoint top = meter->mapTo(&window, QPoint(0, 1)) + window.pos();
        const QString request = m_shell->requests().filter("setMetering").join('\n');
        QCOMPARE(request.count("\n  meter "), 4);
        const QString bar = QString("width:u=%1 x:u=%2 y:u=%3").arg(meter->width()).arg(top.x()).arg(top.y());
        QVERIFY2(request.contains(bar), qPrintable(request));
    }

    // Where each screen's own signals lead: screens run one after another, each from where the
    // one before left the stack, unless a starting screen is given.
    void screensLeadOnWhenTheySignal()
    {
        Pane& p = pane();
        auto* profiles = dynamic_cast<ProfileList*>(p.page(Pane::ScreenProfileList));
        auto* items = dynamic_cast<ProfileItems*>(p.page(Pane::ScreenProfileItems));
        auto* setting = dynamic_cast<EditSetting*>(p.page(Pane::ScreenEditSetting));
        auto* system = dynamic_cast<SystemSettings*>(p.page(Pane::ScreenSystemSettings));
        const std::tuple<int, std::function<void()>, int> steps[] = {
            {Pane::ScreenPeerEdit, [&] { emit p.peerEdit().editPeerDone(); }, Pane::ScreenPeerList},
            {Pane::ScreenConfigureNetwork, [&] { emit p.configureNetwork().configureDone(); }, Pane::ScreenNetworkList},
            {-1, [&] { emit p.chooseNetwork().configureRequested(); }, Pane::ScreenConfigureNetwork},
            {-1, [&] { emit p.configureNetwork().editNetworkSetting("netmgr.tunnel"); }, Pane::ScreenEditConfigSetting},
            {-1, [&] { emit p.editConfigSetting().editConfigSettingDone(true); }, Pane::ScreenConfigureNetwork},
            {Pane::ScreenBraidSettings, [&] { emit p.braidSettings().editBraidSetting("netmgr.tunnel"); },
             Pane::ScreenEditConfigSetting},
            {-1, [&] { emit p.editConfigSetting().editConfigSettingDone(false); }, Pane::ScreenBraidSettings},
            {Pane::ScreenProfileList, [&] { emit profiles->editProfile(1, false); }, Pane::ScreenProfileItems},
            {-1, [&] { emit items->editProfileSetting(); }, Pane::ScreenEditSetting},
            {-1, [&] { emit setting->profileEditDone(); }, Pane::ScreenProfileItems},
            {-1, [&] { emit items->doneClicked(); }, Pane::ScreenProfileList},
            {Pane::ScreenSystemSettings, [&] { emit system->editOption(); }, Pane::ScreenEditSetting},
            {-1, [&] { emit setting->channelEditDone(); }, Pane::ScreenSystemSettings},
            {Pane::ScreenAbout, [&] { emit p.metering().smallMeterClicked(); }, Pane::ScreenMeters},
        };
        for (const auto& [from, signal, to] : steps) {
            if (from >= 0)
                p.showScreen(from);
            const int before = p.currentScreen();
            p.configureNetwork().tabNetwork->setCurrentIndex(1);
            signal();
            QCOMPARE(p.currentScreen(), to);
            // Coming from the network list, the device configuration opens on its status.
            const bool onStatus = p.configureNetwork().tabNetwork->currentWidget() == p.configureNetwork().tabStatus;
            QCOMPARE(onStatus, before == Pane::ScreenNetworkList && to == Pane::ScreenConfigureNetwork);
        }
        // Screens that ask a question make the keypad answer it.
        emit profiles->changeModal(true);
        QVERIFY(m_shell->window->isModal());
        emit p.configureNetwork().changeModal(false);
        QVERIFY(!m_shell->window->isModal());
        emit p.keypadSetup().restrictedModeChanged(true);
        QVERIFY(!m_shell->window->menu().actionSystem_Settings->isVisible());
        emit dynamic_cast<Chat*>(p.page(Pane::ScreenChat))->chatAlert();
        QVERIFY(m_shell->window->statusBarWidget().chatAlerting());
    }
    // Entries that act on a selection are enabled on the screens that have one: Manage Networks,
    // Configure Network, Delete Network, Manage Connections, Change/Delete Remote; Calibrate
    // Touchscreen never is here (no touch screen). Chat is no screen of its own: F1 opens the
    // menu of the screen it covers, on that screen's first entry.
    void menuFollowsTheScreen_data()
    {
        QTest::addColumn<int>("screen");
        QTest::addColumn<QString>("enabled");
        QTest::addColumn<QString>("opened");
        QTest::newRow("remote list") << int(Pane::ScreenPeerList) << "1000110" << "menuRemotes Manage Connections";
        QTest::newRow("network list") << int(Pane::ScreenNetworkList) << "0111000" << "menuNetwork Manage Networks";
        QTest::newRow("statistics") << int(Pane::ScreenPeerStats) << "1001000" << "menuStats Channel Stats";
        QTest::newRow("remote editor") << int(Pane::ScreenPeerAdd) << "1001000" << "menuRemotes Manage Connections";
        QTest::newRow("device configuration") << int(Pane::ScreenConfigureNetwork) << "1001000" << "menuNetwork Manage Networks";
        QTest::newRow("any other") << int(Pane::ScreenSystemSettings) << "1001000" << "menuConfigure Manage Profiles";
    }
    void menuFollowsTheScreen()
    {
        QFETCH(int, screen);
        QFETCH(QString, enabled);
        QFETCH(QString, opened);
        pane().showScreen(screen);
        QString actual;
        for (QAction* action : {menu().actionChoose_Network, menu().actionConfigure_Network, menu().actionDelete_Network,
                                menu().actionConnect_to_Remote, menu().actionChange_Remote_Settings,
                                menu().actionDelete_Remote, menu().actionCalibrate_Touchscreen})
            actual += action->isEnabled() ? '1' : '0';
        QCOMPARE(actual, enabled);
        pane().handleChat();
        menu().openForCurrentScreen();
        QAction* open = m_shell->window->menuBar()->activeAction();
        QVERIFY(open);
        QCOMPARE(open->menu()->objectName() + ' ' + open->menu()->activeAction()->text(), opened);
        menu().closeMenu();
        QVERIFY(!menu().isMenuOpen());
    }
    // The entries are found by their object names; the screen shown takes the keypad.
    void entriesShowTheirScreens()
    {
        const std::pair<const char*, int> entries[] = {
            {"actionConnect_to_Remote", Pane::ScreenPeerList}, {"actionChange_Remote_Settings", Pane::ScreenPeerEdit},
            {"actionAdd_New_Remote", Pane::ScreenPeerAdd}, {"actionPeer_Stats", Pane::ScreenPeerStats},
            {"actionChannel_Stats", Pane::ScreenChannelStats}, {"actionBraid_Stats", Pane::ScreenBraidStats},
            {"actionAudio_Levels", Pane::ScreenMeters}, {"actionBrowser", Pane::ScreenBrowser},
            {"actionChoose_Network", Pane::ScreenNetworkList}, {"actionConfigure_Audio", Pane::ScreenAudioSettings},
            {"actionConfigure_Network", Pane::ScreenConfigureNetwork}, {"actionSystem_Settings", Pane::ScreenSystemSettings},
            {"actionBraid_Settings", Pane::ScreenBraidSettings}, {"actionManage_Profiles", Pane::ScreenProfileList},
            {"actionKeypad_Setup", Pane::ScreenKeypadSetup}, {"actionAbout_ORVANE", Pane::ScreenAbout}};
        for (const auto& [action, screen] : entries) {
            QAction* entry = menu().findChild<QAction*>(action);
            QVERIFY2(entry, action);
            entry->trigger();
            QCOMPARE(pane().currentScreen(), screen);
            QCOMPARE(m_shell->window->currentKeypadHandler(), dynamic_cast<KeypadHandler*>(pane().page(screen)));
        }
        // One screen serves both, titled by the entry that led there: Add came last.
        QCOMPARE(pane().peerEdit().labelTitle->text(), QString("Add New Remote"));
        menu().actionChange_Remote_Settings->trigger();
        QCOMPARE(pane().peerEdit().labelTitle->text(), QString("Edit Remote Settings"));
    }
    void menusListTheirEntries_data()
    {
        QTest::addColumn<bool>("restricted");
        QTest::addColumn<QStringList>("menus"); // Network, Remotes, Stats, Configure, its submenu
        QTest::newRow("full") << false << QStringList{
            "Manage Networks|Configure Network|-|Delete Network|-|Web Browser",
            "Manage Connections|-|Add New Remote|Change Remote Settings|Delete Remote",
            "Channel Stats|Peer Stats|Braid Stats|Audio Levels",
            "Manage Profiles|System Settings|Braid Settings|User Interface|-|Additional Configuration|-|About ORVANE",
            "Calibrate Touchscreen|Reset Configuration"};
        QTest::newRow("restricted") << true << QStringList{"Manage Networks|-|-", "Manage Connections|-",
                                                           "Channel Stats|Peer Stats|Braid Stats|Audio Levels",
                                                           "User Interface|-|-|About ORVANE", ""};
    }
    // Restricted mode comes and goes: the full row has been restricted once before.
    void menusListTheirEntries()
    {
        QFETCH(bool, restricted);
        QFETCH(QStringList, menus);
        menu().handleMenuRestrictedToggled(true);
        menu().handleMenuRestrictedToggled(restricted);
        const auto visibleEntries = [](const QWidget* menu) {
            QStringList entries;
            for (const QAction* action : menu->actions()) {
                if (action->isVisible())
                    entries << (action->isSeparator() ? QStringLiteral("-") : action->text());
            }
            return entries;
        };
        QStringList shown;
        for (const QMenu* entries : {menu().menuNetwork, menu().menuRemotes, menu().menuStats, menu().menuConfigure,
                                     menu().menuMore})
            shown << visibleEntries(entries).join('|');
        QCOMPARE(shown, menus);
        QCOMPARE(visibleEntries(m_shell->window->menuBar()), (QStringList{"Network", "Remotes", "Stats", "Configure"}));
    }
    // Asked with No as the default, the window modal meanwhile; sent only on Yes.
    void resetIsSentOnlyOnYes()
    {
        QStringList seen;
        for (const QMessageBox::StandardButton answer : {QMessageBox::No, QMessageBox::Yes}) {
            m_shell->sent.clear();
            answerNextQuestion(this, answer, [&](QMessageBox& box) {
                seen << QString("asked modal=%1 defaultNo=%2")
                            .arg(m_shell->window->isModal())
                            .arg(box.defaultButton() == box.button(QMessageBox::No));
            });
            menu().actionReset_Configuration->trigger();
            seen << m_shell->requests() << QString("modal=%1").arg(m_shell->window->isModal());
        }
        QCOMPARE(seen, (QStringList{"asked modal=1 defaultNo=1", "modal=0", "asked modal=1 defaultNo=1",
                                    R"(reset seq:s="reset" what:s="cfg")", "modal=0"}));
    }

    // The key as describeKey writes it ("C-" for Control held); seen: what the screen's handler
    // got, what was typed into the focused widget, and what holds afterwards.
    void routesEachKey_data()
    {
        QTest::addColumn<int>("state");
        QTest::addColumn<int>("flags");
        QTest::addColumn<QString>("key");
        QTest::addColumn<QString>("seen");
        const auto row = [](const char* name, int state, int flags, const char* key, const char* seen) {
            QTest::newRow(name) << state << flags << key << seen;
        };
        const int ready = IPCClient::IPC_READY;
        row("popup closed, key goes on", ready, Popup, "Down+", "screen Down+");
        row("popup stays while calibrating", ready, Popup | Calibrating, "Down+", "popup calibrating");
        row("ctrl+F1 captures offline", IPCClient::IPC_DISCONNECTED, None, "C-F1+", "captured");
        row("ctrl+F25 captures when ready", ready, None, "C-F25+", "captured");
        row("ctrl+F1 release captures nothing", ready, None, "C-F1-", "");
        row("F1 dropped while logging in", IPCClient::IPC_LOGGED_IN, None, "F1+", "");
        row("calibrating: F2 press ignored", ready, Calibrating, "F2+", "calibrating");
        row("calibrating: F2 release aborts", ready, Calibrating, "F2-", "aborted");
        row("calibrating: other keys ignored", ready, Calibrating, "Enter+", "calibrating");
        // Qt reports a Shift key's own bit flipped: Shift down, then up.
        row("modal: Left is back-tab", ready, Modal, "Left+", "typed Shift+ S-Tab+ S-Shift+");
        row("modal: Right is tab", ready, Modal, "Right-", "typed Tab-");
        row("modal: Enter passes", ready, Modal, "Enter+", "typed Enter+");
        row("modal: F1 ignored", ready, Modal, "F1+", "");
        row("F1 opens the menu", ready, None, "F1+", "menu");
        row("F1 release does nothing", ready, None, "F1-", "");
        row("F1 closes an open menu", ready, MenuOpen, "F1+", "");
        row("F2 press goes to the stack", ready, None, "F2+", "meters");
        row("menu: Enter becomes Return", ready, MenuOpen, "Enter-", "typed Return-; menu");
        row("menu: arrows go to the menu", ready, MenuOpen, "Down+", "typed Down+; menu");
        row("screen gets the rest", ready, None, "Asterisk-", "screen Asterisk-");
        // The far unit's contact closes while F2 is held and opens when it is released.
        row("F2 press closes the contact", ready, ContactClosure, "F2+", R"(sent setRemoteCC id:i=0 seq:s="remoteCC" state:b=true)");
        row("F2 release opens it", ready, ContactClosure, "F2-", R"(sent setRemoteCC id:i=0 seq:s="remoteCC" state:b=false)");
        // The navigation the screens share.
        row("typing screen", ready, Typing, "Up+", "typed Up+");
        row("list: Enter presses", ready, List, "Enter+", "typed Space+");
        row("list: Left goes back", ready, List, "Left+", "typed Shift+ S-Tab+ S-Shift+");
        row("list: Right goes on", ready, List, "Right-", "typed Tab-");
        row("list: Down moves in it", ready, List, "Down+", "typed Down+");
        row("list: others ignored", ready, List, "Asterisk+", "");
        row("form: Up goes back", ready, Form, "Up+", "typed Shift+ S-Tab+ S-Shift+");
        row("form: Down goes on", ready, Form, "Down-", "typed Tab-");
        row("form: open combo list", ready, Form | ComboOpen, "Up+", "typed Up+");
    }
    void routesEachKey()
    {
        QFETCH(int, state);
        QFETCH(int, flags);
        QFETCH(QString, key);
        QFETCH(QString, seen);

        MainWindow& window = *m_shell->window;
        chooseF2Mode(window, flags & ContactClosure ? KeypadSetup::F2RemoteContactClosure : KeypadSetup::F2ToggleMeters);
        m_shell->setState(IPCClient::IPC_STATE(state));

        Screen screen;
        screen.kind = flags;
        window.setKeypadHandler(&screen);
        QWidget comboList(nullptr, Qt::Popup);
        if (flags & ComboOpen)
            comboList.show();
        if (flags & Popup)
            window.popup().showMessage(QStringLiteral("note"), 0, 0);
        window.setCalibrating(flags & Calibrating);
        window.setModal(flags & Modal);
        if (flags & MenuOpen)
            window.menu().openForCurrentScreen();
        QSignalSpy abortSpy(&window, &MainWindow::abortCalibration);
        InjectedKeys typed;
        const bool ctrl = key.startsWith("C-");
        const QByteArray name = "Key_" + key.mid(ctrl ? 2 : 0).chopped(1).toLatin1();
        this->key(QMetaEnum::fromType<Qt::Key>().keyToValue(name), key.endsWith('+'),
                  ctrl ? Qt::ControlModifier : Qt::NoModifier);
        QCoreApplication::processEvents(); // what a list screen posts to its list

        QStringList actual;
        if (!screen.keys.isEmpty())
            actual << "screen " + screen.keys.join(' ');
        if (!typed.keys.isEmpty())
            actual << "typed " + typed.keys.join(' ');
        if (const QStringList closures = m_shell->requests().filter("setRemoteCC"); !closures.isEmpty())
            actual << "sent " + closures.join(' ');
        QStringList after;
        for (const auto& [on, word] : {std::pair(window.popup().isVisible(), "popup"),
                                       std::pair(window.isCalibrating(), "calibrating"),
                                       std::pair(window.menu().isMenuOpen(), "menu"),
                                       std::pair(QFile::exists(window.captureFileName(1)), "captured"),
                                       std::pair(window.pane().currentScreen() == Pane::ScreenMeters, "meters"),
                                       std::pair(abortSpy.count() == 1, "aborted")}) {
            if (on)
                after << word;
        }
        if (!after.isEmpty())
            actual << after.join(' ');
        QCOMPARE(actual.join("; "), seen);

        window.menu().closeMenu();
        window.setKeypadHandler(nullptr);
    }
    void onScreenKeyboardTypes()
    {
        MainWindow& window = *m_shell->window;
        window.handlePopupKeyboard();
        InjectedKeys typed;
        QVERIFY(clickPickBoard(*window.findChild<PickBoard*>(), {"a"}));
        QCOMPARE(typed.keys, (QStringList{"A+", "A-"}));
    }

    // The debug log on GUI_DEBUG=true in any case; the unit's own backend unless REMOTE_UI names
    // another, on the default port. Seen: debug log (1 on), encoding, host, port.
    void environment_data()
    {
        QTest::addColumn<QString>("environment");
        QTest::addColumn<QString>("seen");
        QTest::newRow("unset") << "" << "0 compact /com/halvik/orvane 47710";
        QTest::newRow("set") << "GUI_DEBUG=tRuE REMOTE_UI=unit.example" << "1 xmls unit.example 47710";
        QTest::newRow("other word") << "GUI_DEBUG=yes" << "0 compact /com/halvik/orvane 47710";
    }
    void environment()
    {
        m_shell.reset(); // a window of its own, set up first
        QFETCH(QString, environment);
        QFETCH(QString, seen);
        for (const QString& setting : environment.split(' ', Qt::SkipEmptyParts))
            qputenv(qPrintable(setting.section('=', 0, 0)), setting.section('=', 1).toUtf8());
        const MainWindow::LinkTarget link = MainWindow::linkTarget();
        qunsetenv("REMOTE_UI"); // the window's link stays on this machine
        ShellFixture shell;
        QVERIFY(g_log.enabled(LOG_ERROR));
        QCOMPARE(QString("%1 %2 %3 %4")
                     .arg(g_log.enabled(LOG_DEBUG))
                     .arg(link.encoding.c_str(), link.address.host().c_str())
                     .arg(link.address.effective_port()),
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
            << false << false
            << "asked 1 calibrating drawn 0 popup 220,190 200x100 Warning: Touchscreen disabled due to aborted calibration.";
        QTest::newRow("never calibrated, touched") << false << true << "asked 1 calibrating drawn 1 popup ";
    }
    void missingCalibrationStartsOneAtReady()
    {
        m_shell.reset(); // a window of its own, set up first
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
        QCOMPARE(QString("asked %1%2 drawn %3 popup %4")
                     .arg(calibrations)
                     .arg(calibrating)
                     .arg(drawingTests)
                     .arg(popupShown(window.popup())),
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
        m_shell.reset(); // a window of its own, set up first
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
            QCOMPARE(QString("%1%2 %3 %4|%5 %6")
                         .arg(window.isVisible() ? "window" : "", offline.isVisible() ? "offline" : "",
                              iconName(offline.labelIcon->pixmap(Qt::ReturnByValue)), offline.labelState->text(),
                              offline.labelStatus->text(), popupShown(window.popup()))
                         .trimmed(),
                     seen);
        }
    }

private:
    // The popup's place and text while it is up, else nothing.
    static QString popupShown(const TransientPopup& popup)
    {
        const QRect r = popup.geometry();
        const QString text = popup.findChild<QLabel*>()->text();
        return popup.isVisible() ? QString("%1,%2 %3x%4 %5").arg(r.x()).arg(r.y()).arg(r.width()).arg(r.height()).arg(text) : "";
    }
    Menu& menu() { return m_shell->window->menu(); }
    Pane& pane() { return m_shell->window->pane(); }
    // The platform delivers keys to the window that has the focus: a modal dialog blocks the rest.
    void key(int keycode, bool press = true, Qt::KeyboardModifiers modifiers = Qt::NoModifier)
    {
        QWidget* modal = QApplication::activeModalWidget();
        QWidget* window = modal ? modal : QApplication::activeWindow();
        sendPlatformKey(window ? window : m_keySource.get(), press, keycode, modifiers);
    }

    std::unique_ptr<ShellFixture> m_shell;
    std::unique_ptr<QWidget> m_keySource;
};

QTEST_MAIN(TestApp)
#include "test_app.moc"
