#include "shellfixture.h"

#include "statusbar.h"
#include "transientpopup.h"

#include <QScrollArea>

#include <functional>
#include <tuple>

class TestPane : public QObject {
    Q_OBJECT

private slots:
    void init()
    {
        m_shell = std::make_unique<ShellFixture>();
        m_shell->setState(IPCClient::IPC_READY);
    }
    void cleanup() { m_shell.reset(); }
    void everyScreenShowsItsOwnPage()
    {
        QTRY_VERIFY(m_shell->window->isVisible());
        for (int index = 0; index < Pane::ScreenCount; ++index) {
            pane().showScreen(index);
            QVERIFY2(pane().page(index)->isVisible(), qPrintable(QString::number(index)));
            if (index != Pane::ScreenPeerList)
                QVERIFY(!pane().page(Pane::ScreenPeerList)->isVisible());
        }
    }
    void togglesReturnToTheScreenUnderneath()
    {
        pane().showScreen(Pane::ScreenPeerStats);
        pane().handleAudioMeters();
        QCOMPARE(pane().currentScreen(), int(Pane::ScreenMeters));
        pane().handleChat();
        QCOMPARE(pane().currentScreen(), int(Pane::ScreenChat));
        pane().handleChat();
        QCOMPARE(pane().currentScreen(), int(Pane::ScreenMeters));
        // The menu belongs to the screen under a toggle.
        QCOMPARE(pane().menuScreen(), int(Pane::ScreenPeerStats));
        pane().handleAudioMeters();
        QCOMPARE(pane().currentScreen(), int(Pane::ScreenPeerStats));
        pane().handleChat();
        QCOMPARE(pane().menuScreen(), int(Pane::ScreenPeerStats));
    }
    void cycleContinuesWhereItStood()
    {
        chooseF2Mode(*m_shell->window, KeypadSetup::F2Cycle);
        QList<int> seen;
        for (int step = 0; step < 7; ++step) {
            pane().f2Pressed();
            seen << pane().currentScreen();
        }
        QCOMPARE(seen, (QList<int>{3, 4, 5, 6, 9, 0, 3}));

        // From a screen outside the list the cycle goes on from its last position.
        pane().showScreen(Pane::ScreenPeerEdit);
        pane().f2Pressed();
        QCOMPARE(pane().currentScreen(), int(Pane::ScreenChannelStats));
    }
    // Two presses from the about screen; contact closure is followed in the key routing test.
    void f2Modes_data()
    {
        QTest::addColumn<int>("mode");
        QTest::addColumn<int>("afterPress");
        QTest::addColumn<int>("afterSecondPress");
        QTest::addColumn<bool>("keyboardAfterPress");
        const int about = Pane::ScreenAbout;
        QTest::newRow("0 cycle") << 0 << 0 << 3 << false;
        QTest::newRow("1 networks") << 1 << 9 << about << false;
        QTest::newRow("5 meters") << 5 << 6 << about << false;
        QTest::newRow("6 keyboard") << 6 << about << about << true;
        QTest::newRow("7 chat") << 7 << 7 << about << true;
        QTest::newRow("9 braid stats") << 9 << 5 << about << false;
    }
    void f2Modes()
    {
        QFETCH(int, mode);
        QFETCH(int, afterPress);
        QFETCH(int, afterSecondPress);
        QFETCH(bool, keyboardAfterPress);
        pane().showScreen(Pane::ScreenAbout);
        chooseF2Mode(*m_shell->window, mode);
        pane().f2Pressed();
        pane().f2Released();
        QCOMPARE(pane().currentScreen(), afterPress);
        QCOMPARE(m_shell->window->keyboardVisible(), keyboardAfterPress);
        pane().f2Pressed();
        QCOMPARE(pane().currentScreen(), afterSecondPress);
    }
    void chatForcesTheKeyboardAndLeavingHidesIt()
    {
        StatusBar& bar = m_shell->window->statusBarWidget();
        const QScrollArea* pageArea = m_shell->window->findChild<QScrollArea*>();
        pane().showScreen(Pane::ScreenPeerStats);
        bar.handleChatAlert();
        pane().handleChat();
        QVERIFY(!bar.chatAlerting());
        QVERIFY(m_shell->window->keyboardVisible());
        QVERIFY(!bar.keyboardButtonEnabled());
        // Chat fits above the keyboard; the other screens scroll behind it.
        QCOMPARE(pageArea->horizontalScrollBarPolicy(), Qt::ScrollBarAlwaysOff);
        QCOMPARE(pageArea->verticalScrollBarPolicy(), Qt::ScrollBarAlwaysOff);

        pane().showScreen(Pane::ScreenPeerList);
        QVERIFY(!m_shell->window->keyboardVisible());
        QVERIFY(bar.keyboardButtonEnabled());

        // A keyboard the operator opened stays when screens that allow it change.
        m_shell->window->handlePopupKeyboard();
        pane().showScreen(Pane::ScreenPeerStats);
        QVERIFY(m_shell->window->keyboardVisible());
        QCOMPARE(pageArea->horizontalScrollBarPolicy(), Qt::ScrollBarAsNeeded);
        QCOMPARE(pageArea->verticalScrollBarPolicy(), Qt::ScrollBarAsNeeded);
        // Closing chat gives the keyboard button back.
        pane().handleChat();
        pane().handleChat();
        QVERIFY(bar.keyboardButtonEnabled());
    }
    void metersHideTheKeyboardAndShiftThePopup()
    {
        m_shell->window->handlePopupKeyboard();
        pane().showScreen(Pane::ScreenMeters);
        QVERIFY(!m_shell->window->keyboardVisible());
        QVERIFY(!m_shell->window->statusBarWidget().keyboardButtonEnabled());

        m_shell->window->popup().showMessage(QStringLiteral("warning"), 0, 80);
        QCOMPARE(m_shell->window->popup().geometry(), QRect(220, 215, 200, 180));
        pane().showScreen(Pane::ScreenPeerList);
        QCOMPARE(m_shell->window->popup().geometry(), QRect(220, 150, 200, 180));
    }
    void screensLearnWhenTheyComeAndGo()
    {
        MainWindow& window = *m_shell->window;
        for (int index : {Pane::ScreenAbout, Pane::ScreenMeters, Pane::ScreenPeerAdd}) {
            pane().showScreen(index);
            QCOMPARE(window.currentKeypadHandler(), dynamic_cast<KeypadHandler*>(pane().page(index)));
        }
        // One screen serves both, titled by the menu entry that led there.
        QCOMPARE(pane().page(Pane::ScreenPeerAdd), pane().page(Pane::ScreenPeerEdit));
        for (const auto& [index, title] : {std::pair(Pane::ScreenPeerEdit, "Edit Remote Settings"),
                                           std::pair(Pane::ScreenPeerAdd, "Add New Remote")}) {
            pane().showScreen(index);
            QCOMPARE(pane().peerEdit().labelTitle->text(), QString(title));
        }
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
        for (const std::function<void(bool)>& modal : std::initializer_list<std::function<void(bool)>>{
                 [&](bool on) { emit profiles->changeModal(on); }, [&](bool on) { emit p.configureNetwork().changeModal(on); }}) {
            modal(true);
            QVERIFY(m_shell->window->isModal());
            modal(false);
            QVERIFY(!m_shell->window->isModal());
        }
        emit p.keypadSetup().restrictedModeChanged(true);
        QVERIFY(!m_shell->window->menu().actionSystem_Settings->isVisible());
        emit dynamic_cast<Chat*>(p.page(Pane::ScreenChat))->chatAlert();
        QVERIFY(m_shell->window->statusBarWidget().chatAlerting());
    }

private:
    Pane& pane() { return m_shell->window->pane(); }
    std::unique_ptr<ShellFixture> m_shell;
};

QTEST_MAIN(TestPane)
#include "test_pane.moc"
