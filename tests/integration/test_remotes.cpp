// The remote list and the remote editor driven from the keypad, with the shell in this process
// against the simulated unit over the real socket: a call made and ended, its statistics filled
// from the unit's notifications, a remote added and deleted, as the operator sees them and as the
// unit is asked.
#include "channelgrapher.h"
#include "channelstats.h"
#include "delaysamples.h"
#include "mainwindow.h"
#include "menu.h"
#include "peeredit.h"
#include "peerlist.h"
#include "peerstats.h"
#include "shellsession.h"

#include <QtTest>

class TestRemotes : public QObject {
    Q_OBJECT

private slots:
    void initTestCase()
    {
        QVERIFY(m_shell.start({"--stats-rate", "200"}));
        m_list = m_shell.screen<PeerList>(Pane::ScreenPeerList);
        QVERIFY(m_list);
        QTRY_COMPARE(m_list->peerTree->topLevelItemCount(), 4);
    }

    void callWithTheKeypad()
    {
        m_shell.window().pane().showScreen(Pane::ScreenPeerList);
        QTreeWidgetItem* studio = row("Studio A");
        QVERIFY(m_shell.pressUntil(Qt::Key_Down, [&] { return m_list->peerTree->currentItem() == studio; }));
        m_shell.key(Qt::Key_Enter);
        QVERIFY2(!m_shell.simEvent("event call 1 connected").isEmpty(), qPrintable(m_shell.sim().transcript()));
        QTRY_COMPARE_WITH_TIMEOUT(studio->text(0), QString("Studio A\nConnected"), ShellSession::kCommandMs);

        // The unit's statistics reach both statistics screens, shown or not.
        auto* peers = m_shell.screen<PeerStats>(Pane::ScreenPeerStats);
        auto* channels = m_shell.screen<ChannelStats>(Pane::ScreenChannelStats);
        QTRY_VERIFY(validDelaySamples(peers->delayGraph(), 1) >= 3);
        QVERIFY(peers->comboMode->currentText() == "Studio A" && peers->treeStats->topLevelItem(5)->text(1).endsWith(" kbps"));
        QTRY_VERIFY(channels->treeStats->topLevelItem(2)->text(1).endsWith("KB"));
        QVERIFY(channels->receiveGraph().hasHistory(channels->keyOf("rtp_udp_mux")));

        m_shell.key(Qt::Key_Enter);
        QVERIFY2(!m_shell.simEvent("event call 1 idle").isEmpty(), qPrintable(m_shell.sim().transcript()));
        QTRY_VERIFY_WITH_TIMEOUT(!m_list->getAnyActive() && m_list->buttonConnect->hasFocus(), ShellSession::kCommandMs);
    }

    void addAndDeleteRemoteWithTheKeypad()
    {
        m_shell.window().menu().actionAdd_New_Remote->trigger();
        for (const char* field : {"Field Kit", "secret", "192.0.2.44"}) {
            m_shell.type(field);
            m_shell.key(Qt::Key_Down);
        }
        auto* editor = m_shell.screen<PeerEdit>(Pane::ScreenPeerAdd);
        QVERIFY(m_shell.pressUntil(Qt::Key_Down, [&] { return editor->buttonOK->hasFocus(); }));
        m_shell.key(Qt::Key_Enter);
        QVERIFY2(!m_shell.simEvent("event peer added 5 Field Kit").isEmpty(), qPrintable(m_shell.sim().transcript()));
        QCOMPARE(m_shell.window().pane().currentScreen(), int(Pane::ScreenPeerList));
        QTRY_VERIFY_WITH_TIMEOUT(row("Field Kit"), ShellSession::kCommandMs);
        QCOMPARE(row("Field Kit")->child(0)->text(0), QString("Address\t192.0.2.44"));
        QCOMPARE(m_list->peerTree->indexOfTopLevelItem(row("Field Kit")), 4);

        // Deleted after a question where No is the default: Left moves to Yes.
        m_list->peerTree->setCurrentItem(row("Field Kit"));
        const QString question = m_shell.answerQuestion([this] { m_shell.window().menu().actionDelete_Remote->trigger(); },
                                                        {Qt::Key_Left, Qt::Key_Enter});
        QCOMPARE(question, QString("This will delete the 'Field Kit' remote from the list!\n\nDo you wish to continue?"));
        QVERIFY2(!m_shell.simEvent("event peer removed 5").isEmpty(), qPrintable(m_shell.sim().transcript()));
        QTRY_VERIFY_WITH_TIMEOUT(!row("Field Kit"), ShellSession::kCommandMs);
        QCOMPARE(m_list->peerTree->topLevelItemCount(), 4);
    }

private:
    QTreeWidgetItem* row(const QString& name) const { return m_list->peerTree->findItems(name, Qt::MatchStartsWith).value(0); }

    ShellSession m_shell;
    PeerList* m_list = nullptr;
};

QTEST_MAIN(TestRemotes)
#include "test_remotes.moc"
