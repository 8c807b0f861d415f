#include "modalwatch.h"
#include "shellfixture.h"

#include <QAction>
#include <QApplication>
#include <QMenu>
#include <QMenuBar>
#include <QMessageBox>
#include <QPushButton>
#include <QTimer>

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

class TestMenu : public QObject {
    Q_OBJECT

private slots:
    void init()
    {
        m_shell = std::make_unique<ShellFixture>();
        m_shell->setState(IPCClient::IPC_READY);
    }
    void cleanup() { m_shell.reset(); }
    void enabledEntriesFollowTheScreen_data()
    {
        QTest::addColumn<int>("screen");
        // Manage Networks, Configure Network, Delete Network, Manage Connections, Change/Delete Remote
        QTest::addColumn<QString>("enabled");

        QTest::newRow("remote list") << int(Pane::ScreenPeerList) << "10001";
        QTest::newRow("network list") << int(Pane::ScreenNetworkList) << "01110";
        QTest::newRow("peer stats") << int(Pane::ScreenPeerStats) << "10010";
    }
    void enabledEntriesFollowTheScreen()
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
    void f1OpensTheMenuOfTheScreenUnderChat_data()
    {
        QTest::addColumn<int>("screen");
        QTest::addColumn<QString>("menuName");
        QTest::addColumn<QString>("entry");
        QTest::newRow("statistics") << int(Pane::ScreenPeerStats) << "menuStats" << "Channel Stats";
        QTest::newRow("remote editor") << int(Pane::ScreenPeerAdd) << "menuRemotes" << "Manage Connections";
        QTest::newRow("device configuration") << int(Pane::ScreenConfigureNetwork) << "menuNetwork" << "Manage Networks";
        QTest::newRow("any other") << int(Pane::ScreenSystemSettings) << "menuConfigure" << "Manage Profiles";
    }
    // Chat is no screen of its own: the menu opened is the one of the screen it covers.
    void f1OpensTheMenuOfTheScreenUnderChat()
    {
        QFETCH(int, screen);
        QFETCH(QString, menuName);
        QFETCH(QString, entry);
        m_shell->window->pane().showScreen(screen);
        m_shell->window->pane().handleChat();
        menu().openForCurrentScreen();
        QAction* open = m_shell->window->menuBar()->activeAction();
        QVERIFY(open);
        QCOMPARE(open->menu()->objectName(), menuName);
        QCOMPARE(open->menu()->activeAction()->text(), entry);
        menu().closeMenu();
        QVERIFY(!menu().isMenuOpen());
    }
    void entriesShowTheirScreens_data()
    {
        QTest::addColumn<QString>("action");
        QTest::addColumn<int>("screen");
        const std::pair<const char*, int> entries[] = {
            {"actionConnect_to_Remote", Pane::ScreenPeerList}, {"actionChange_Remote_Settings", Pane::ScreenPeerEdit},
            {"actionAdd_New_Remote", Pane::ScreenPeerAdd}, {"actionPeer_Stats", Pane::ScreenPeerStats},
            {"actionChannel_Stats", Pane::ScreenChannelStats}, {"actionBraid_Stats", Pane::ScreenBraidStats},
            {"actionAudio_Levels", Pane::ScreenMeters}, {"actionBrowser", Pane::ScreenBrowser},
            {"actionChoose_Network", Pane::ScreenNetworkList}, {"actionConfigure_Audio", Pane::ScreenAudioSettings},
            {"actionConfigure_Network", Pane::ScreenConfigureNetwork}, {"actionSystem_Settings", Pane::ScreenSystemSettings},
            {"actionBraid_Settings", Pane::ScreenBraidSettings}, {"actionManage_Profiles", Pane::ScreenProfileList},
            {"actionKeypad_Setup", Pane::ScreenKeypadSetup}, {"actionAbout_ORVANE", Pane::ScreenAbout}};
        for (const auto& [action, screen] : entries)
            QTest::newRow(action) << action << screen;
    }
    // The entries are found by their object names.
    void entriesShowTheirScreens()
    {
        QFETCH(QString, action);
        QFETCH(int, screen);
        QAction* entry = menu().findChild<QAction*>(action);
        QVERIFY(entry);
        entry->trigger();
        QCOMPARE(m_shell->window->pane().currentScreen(), screen);
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
    void resetIsSentOnlyOnYes_data()
    {
        QTest::addColumn<int>("answer");
        QTest::addColumn<int>("requests");
        QTest::newRow("no") << int(QMessageBox::No) << 0;
        QTest::newRow("yes") << int(QMessageBox::Yes) << 1;
    }
    void resetIsSentOnlyOnYes()
    {
        QFETCH(int, answer);
        QFETCH(int, requests);

        m_shell->sent.clear();
        bool modalDuringQuestion = false;
        bool defaultIsNo = false;
        answerNextQuestion(this, QMessageBox::StandardButton(answer), [&](QMessageBox& box) {
            modalDuringQuestion = m_shell->window->isModal();
            defaultIsNo = box.defaultButton() == box.button(QMessageBox::No);
        });
        menu().actionReset_Configuration->trigger();

        QVERIFY(modalDuringQuestion);
        QVERIFY(defaultIsNo);
        QVERIFY(!m_shell->window->isModal());
        QCOMPARE(int(m_shell->sent.size()), requests);
        if (requests) {
            const Message& reset = m_shell->sent.front();
            QCOMPARE(reset.name, std::string("reset"));
            QCOMPARE(reset.params().get_string("what", ""), std::string("cfg"));
            QCOMPARE(reset.params().get_string("seq", ""), std::string("reset"));
        }
    }

private:
    Menu& menu() { return m_shell->window->menu(); }
    std::unique_ptr<ShellFixture> m_shell;
};

QTEST_MAIN(TestMenu)
#include "test_menu.moc"
