#include "modalwatch.h"
#include "shellfixture.h"

#include "statusbar.h"
#include "transientpopup.h"

#include <functional>
#include <tuple>

namespace {

QStringList visibleEntries(const QWidget* menu)
{
    QStringList entries;
    for (const QAction* action : menu->actions()) {
        if (action->isVisible())
            entries << (action->isSeparator() ? QStringLiteral("-") : action->text());
    }
    return entries;
}

} // namespace

class TestPane : public QObject {
    Q_OBJECT

private slots:
    void init()
    {
        m_shell = std::make_unique<ShellFixture>();
        m_shell->setState(IPCClient::IPC_READY);
    }
    void cleanup() { m_shell.reset(); }
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
        const auto metering = std::find_if(m_shell->sent.rbegin(), m_shell->sent.rend(),
                                           [](const Message& msg) { return msg.name == "setMetering"; });
        QVERIFY(metering != m_shell->sent.rend());
        const Message& request = *metering;
        QCOMPARE(request.num_children("meter"), 4u);
        const QWidget* meter = window.statusBarWidget().smallMeterWidget->findChild<QWidget*>();
        const QPoint top = meter->mapTo(&window, QPoint(0, 1)) + window.pos();
        const Params& bar = request.get_child("meter", 0).params();
        QCOMPARE(QPoint(int(bar.get_uint("x", 0)), int(bar.get_uint("y", 0))), top);
        QCOMPARE(int(bar.get_uint("width", 0)), meter->width());
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
    // Touchscreen never is here (no touch screen). Chat is no
    // screen of its own: F1 opens the menu of the screen it covers, on that screen's first entry.
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

private:
    Menu& menu() { return m_shell->window->menu(); }
    Pane& pane() { return m_shell->window->pane(); }
    std::unique_ptr<ShellFixture> m_shell;
};

QTEST_MAIN(TestPane)
#include "test_pane.moc"
