#include "shellfixture.h"

#include <QAction>
#include <QApplication>
#include <QMenu>
#include <QMenuBar>
#include <QMessageBox>
#include <QPushButton>
#include <QTimer>

namespace {

QStringList visibleEntries(const QMenu* menu)
{
    QStringList entries;
    for (const QAction* action : menu->actions()) {
        if (action->isVisible())
            entries << (action->isSeparator() ? QStringLiteral("-") : action->text());
    }
    return entries;
}

} // namespace

class TestMenu : public QObject {
    Q_OBJECT

private slots:
    void init()
    {
        m_shell = std::make_unique<ShellFixture>();
        m_shell->setState(IPCClient::IPC_READY);
    }
    void cleanup() { m_shell.reset(); }
    void enabledEntriesFollowTheScreen_data();
    void enabledEntriesFollowTheScreen();
    void f1OpensTheMenuForTheScreen_data();
    void f1OpensTheMenuForTheScreen();
    void restrictedModeHidesConfiguration();
    void resetIsSentOnlyOnYes_data();
    void resetIsSentOnlyOnYes();
    void entriesSwitchScreens();

private:
    Menu& menu() { return m_shell->window->menu(); }
    std::unique_ptr<ShellFixture> m_shell;
};

void TestMenu::enabledEntriesFollowTheScreen_data()
{
    QTest::addColumn<int>("screen");
    // Manage Networks, Configure Network, Delete Network, Manage Connections, Change/Delete Remote
    QTest::addColumn<QString>("enabled");

    QTest::newRow("remote list") << int(Pane::ScreenPeerList) << "10001";
    QTest::newRow("network list") << int(Pane::ScreenNetworkList) << "01110";
    QTest::newRow("peer stats") << int(Pane::ScreenPeerStats) << "10010";
}

void TestMenu::enabledEntriesFollowTheScreen()
{
    QFETCH(int, screen);
    QFETCH(QString, enabled);

    m_shell->window->pane().showScreen(screen);
    QString actual;
    for (QAction* action : {menu().actionChoose_Network, menu().actionConfigure_Network, menu().actionDelete_Network,
                            menu().actionConnect_to_Remote, menu().actionChange_Remote_Settings})
        actual += action->isEnabled() ? '1' : '0';
    QCOMPARE(actual, enabled);
    QCOMPARE(menu().actionDelete_Remote->isEnabled(), menu().actionChange_Remote_Settings->isEnabled());
    // No touch screen here, so nothing to calibrate.
    QVERIFY(!menu().actionCalibrate_Touchscreen->isEnabled());
}

void TestMenu::f1OpensTheMenuForTheScreen_data()
{
    QTest::addColumn<int>("screen");
    QTest::addColumn<bool>("viaChat");
    QTest::addColumn<QString>("menuTitle");
    QTest::addColumn<QString>("highlighted");

    QTest::newRow("remote editor") << int(Pane::ScreenPeerAdd) << false << "Remotes" << "Manage Connections";
    QTest::newRow("channel stats") << int(Pane::ScreenChannelStats) << false << "Stats" << "Channel Stats";
    QTest::newRow("braid stats") << int(Pane::ScreenBraidStats) << false << "Configure" << "Manage Profiles";
    QTest::newRow("chat over peer stats") << int(Pane::ScreenPeerStats) << true << "Stats" << "Channel Stats";
}

void TestMenu::f1OpensTheMenuForTheScreen()
{
    QFETCH(int, screen);
    QFETCH(bool, viaChat);
    QFETCH(QString, menuTitle);
    QFETCH(QString, highlighted);

    m_shell->window->pane().showScreen(screen);
    if (viaChat)
        m_shell->window->pane().handleChat();
    menu().openForCurrentScreen();
    QAction* open = m_shell->window->menuBar()->activeAction();
    QVERIFY(open);
    QCOMPARE(open->text(), menuTitle);
    QCOMPARE(open->menu()->activeAction()->text(), highlighted);
    menu().closeMenu();
    QVERIFY(!menu().isMenuOpen());
}

void TestMenu::restrictedModeHidesConfiguration()
{
    menu().handleMenuRestrictedToggled(true);
    QCOMPARE(visibleEntries(menu().menuConfigure), (QStringList{"User Interface", "-", "-", "About ORVANE"}));
    QCOMPARE(visibleEntries(menu().menuNetwork), (QStringList{"Manage Networks", "-", "-"}));
    QCOMPARE(visibleEntries(menu().menuRemotes), (QStringList{"Manage Connections", "-"}));
    QCOMPARE(visibleEntries(menu().menuStats).size(), 4);

    menu().handleMenuRestrictedToggled(false);
    QCOMPARE(visibleEntries(menu().menuConfigure).size(), 8);
    QCOMPARE(visibleEntries(menu().menuMore).size(), 2);
}

void TestMenu::resetIsSentOnlyOnYes_data()
{
    QTest::addColumn<int>("answer");
    QTest::addColumn<int>("requests");
    QTest::newRow("no") << int(QMessageBox::No) << 0;
    QTest::newRow("yes") << int(QMessageBox::Yes) << 1;
}

void TestMenu::resetIsSentOnlyOnYes()
{
    QFETCH(int, answer);
    QFETCH(int, requests);

    m_shell->sent.clear();
    bool modalDuringQuestion = false;
    QTimer::singleShot(0, [&] { modalDuringQuestion = m_shell->window->isModal(); });
    QTimer::singleShot(0, [answer] {
        auto* box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget());
        QVERIFY(box);
        QCOMPARE(box->defaultButton(), box->button(QMessageBox::No));
        box->button(QMessageBox::StandardButton(answer))->click();
    });
    menu().actionReset_Configuration->trigger();

    QVERIFY(modalDuringQuestion);
    QVERIFY(!m_shell->window->isModal());
    QCOMPARE(int(m_shell->sent.size()), requests);
    if (requests) {
        const Message& reset = m_shell->sent.front();
        QCOMPARE(reset.name, std::string("reset"));
        QCOMPARE(reset.params().get_string("what", ""), std::string("cfg"));
        QCOMPARE(reset.params().get_string("seq", ""), std::string("reset"));
    }
}

void TestMenu::entriesSwitchScreens()
{
    const std::pair<QAction* Menu::*, int> entries[] = {
        {&Menu::actionChannel_Stats, Pane::ScreenChannelStats}, {&Menu::actionPeer_Stats, Pane::ScreenPeerStats},
        {&Menu::actionBraid_Stats, Pane::ScreenBraidStats},     {&Menu::actionAdd_New_Remote, Pane::ScreenPeerAdd},
        {&Menu::actionBrowser, Pane::ScreenBrowser},            {&Menu::actionChoose_Network, Pane::ScreenNetworkList},
        {&Menu::actionConfigure_Audio, Pane::ScreenAudioSettings},
        {&Menu::actionSystem_Settings, Pane::ScreenSystemSettings},
        {&Menu::actionBraid_Settings, Pane::ScreenBraidSettings},
        {&Menu::actionManage_Profiles, Pane::ScreenProfileList}, {&Menu::actionKeypad_Setup, Pane::ScreenKeypadSetup},
        {&Menu::actionAbout_ORVANE, Pane::ScreenAbout},          {&Menu::actionConnect_to_Remote, Pane::ScreenPeerList},
        {&Menu::actionAudio_Levels, Pane::ScreenMeters},
    };
    for (const auto& [action, screen] : entries) {
        (menu().*action)->trigger();
        QCOMPARE(m_shell->window->pane().currentScreen(), screen);
    }
}

QTEST_MAIN(TestMenu)
#include "test_menu.moc"
