// The statistics of two calls at once, driven from the keypad with the shell in this process
// against the simulated unit: both remotes' histories fill, and switching remotes shows the other
// one's history and numbers at once.
#include "channelgrapher.h"
#include "channelstats.h"
#include "delaysamples.h"
#include "mainwindow.h"
#include "peerlist.h"
#include "peerstats.h"
#include "shellsession.h"

#include <QMenu>
#include <QMenuBar>
#include <QTabBar>
#include <QtTest>

namespace {
const int kEnoughSamples = 3;
} // namespace

class TestStats : public QObject {
    Q_OBJECT

private slots:
    void initTestCase();
    void peerStatsFollowBothRemotes();
    void channelStatsShowTheTraffic();

private:
    void call(const QString& name, int id);
    void openFromStatsMenu(const QString& entry);

    ShellSession m_shell;
    PeerList* m_list = nullptr;
    PeerStats* m_peerStats = nullptr;
    ChannelStats* m_channelStats = nullptr;
};

void TestStats::initTestCase()
{
    QVERIFY(m_shell.start({"--stats-rate", "200"}));
    m_list = m_shell.screen<PeerList>(Pane::ScreenPeerList);
    m_peerStats = m_shell.screen<PeerStats>(Pane::ScreenPeerStats);
    m_channelStats = m_shell.screen<ChannelStats>(Pane::ScreenChannelStats);
    QVERIFY(m_list && m_peerStats && m_channelStats);
    QTRY_COMPARE(m_list->peerTree->topLevelItemCount(), 4);
    m_shell.window().pane().showScreen(Pane::ScreenPeerList);
    call("Studio A", 1);
    call("Remote Booth", 4);
}

void TestStats::call(const QString& name, int id)
{
    QVERIFY(m_shell.pressUntil(Qt::Key_Down, [&] {
        return m_list->peerTree->currentItem() && m_list->peerTree->currentItem()->text(0).startsWith(name);
    }));
    m_shell.key(Qt::Key_Enter);
    QVERIFY2(!m_shell.simEvent(QStringLiteral("event call %1 connected").arg(id)).isEmpty(),
             qPrintable(m_shell.sim().transcript()));
}

// F1 opens the remotes' menu on the remote list; Right moves to the statistics menu.
void TestStats::openFromStatsMenu(const QString& entry)
{
    QMenuBar* bar = m_shell.window().menuBar();
    m_shell.key(Qt::Key_F1);
    QVERIFY(m_shell.pressUntil(Qt::Key_Right, [&] { return bar->activeAction() && bar->activeAction()->text() == "Stats"; }));
    QMenu* stats = bar->activeAction()->menu();
    QVERIFY(m_shell.pressUntil(Qt::Key_Down, [&] { return stats->activeAction() && stats->activeAction()->text() == entry; }));
    m_shell.key(Qt::Key_Enter);
}

void TestStats::peerStatsFollowBothRemotes()
{
    openFromStatsMenu("Peer Stats");
    QTRY_COMPARE(m_shell.window().pane().currentScreen(), int(Pane::ScreenPeerStats));
    QTRY_COMPARE(m_peerStats->comboMode->count(), 2);
    QCOMPARE(m_peerStats->comboMode->currentText(), QString("Studio A"));
    const DelayGrapher& delay = m_peerStats->delayGraph();
    QTRY_VERIFY(validDelaySamples(delay, 1) >= kEnoughSamples && validDelaySamples(delay, 4) >= kEnoughSamples);
    QTreeWidgetItem* duration = m_peerStats->treeStats->topLevelItem(0);
    QTRY_VERIFY(duration->text(1).startsWith("0:00:0"));
    QVERIFY(m_peerStats->treeStats->topLevelItem(5)->text(1).endsWith(" kbps"));
    const QString studioDuration = duration->text(1);

    // Right on the selector: the booth, whose call began later, with its history already there.
    QVERIFY(m_shell.pressUntil(Qt::Key_Up, [&] { return m_peerStats->comboMode->hasFocus(); }));
    m_shell.key(Qt::Key_Right);
    QCOMPARE(m_peerStats->comboMode->currentText(), QString("Remote Booth"));
    QCOMPARE(delay.key(), 4);
    QVERIFY(validDelaySamples(delay, 4) >= kEnoughSamples);
    QVERIFY(duration->text(1) < studioDuration);

    // Over the tab bar to the graphs.
    QVERIFY(m_shell.pressUntil(Qt::Key_Down, [&] { return m_peerStats->statsTab->tabBar()->hasFocus(); }));
    m_shell.key(Qt::Key_Right);
    QCOMPARE(m_peerStats->statsTab->currentIndex(), 1);
}

void TestStats::channelStatsShowTheTraffic()
{
    openFromStatsMenu("Channel Stats");
    QTRY_COMPARE(m_shell.window().pane().currentScreen(), int(Pane::ScreenChannelStats));
    QTRY_VERIFY(m_channelStats->comboMode->count() >= 2);
    QCOMPARE(m_channelStats->comboMode->currentData().toString(), QString("rtp_udp_mux"));
    QTRY_VERIFY(m_channelStats->treeStats->topLevelItem(2)->text(1).endsWith("KB"));
    QVERIFY(m_channelStats->receiveGraph().hasHistory(m_channelStats->keyOf("rtp_udp_mux")));
}

QTEST_MAIN(TestStats)
#include "test_stats.moc"
