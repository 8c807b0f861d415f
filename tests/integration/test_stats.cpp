// Two calls at once against the simulated unit: the statistics of both remotes and of the
// channels fill from its notifications.
#include "channelgrapher.h"
#include "channelstats.h"
#include "delaysamples.h"
#include "mainwindow.h"
#include "peerlist.h"
#include "peerstats.h"
#include "shellsession.h"

#include <QtTest>

class TestStats : public QObject {
    Q_OBJECT

private slots:
    void bothCallsFillTheirStatistics();

private:
    ShellSession m_shell;
};

void TestStats::bothCallsFillTheirStatistics()
{
    QVERIFY(m_shell.start({"--stats-rate", "200"}));
    auto* list = m_shell.screen<PeerList>(Pane::ScreenPeerList);
    auto* peers = m_shell.screen<PeerStats>(Pane::ScreenPeerStats);
    auto* channels = m_shell.screen<ChannelStats>(Pane::ScreenChannelStats);
    QVERIFY(list && peers && channels);
    QTRY_COMPARE(list->peerTree->topLevelItemCount(), 4);
    m_shell.window().pane().showScreen(Pane::ScreenPeerList);
    for (const auto& [name, id] : {std::make_pair("Studio A", 1), std::make_pair("Remote Booth", 4)}) {
        QVERIFY(m_shell.pressUntil(Qt::Key_Down, [&, name = name] {
            return list->peerTree->currentItem() && list->peerTree->currentItem()->text(0).startsWith(name);
        }));
        m_shell.key(Qt::Key_Enter);
        QVERIFY2(!m_shell.simEvent(QStringLiteral("event call %1 connected").arg(id)).isEmpty(),
                 qPrintable(m_shell.sim().transcript()));
    }

    m_shell.window().pane().showScreen(Pane::ScreenPeerStats);
    QTRY_COMPARE(peers->comboMode->count(), 2);
    const DelayGrapher& delay = peers->delayGraph();
    QTRY_VERIFY(validDelaySamples(delay, 1) >= 3 && validDelaySamples(delay, 4) >= 3);
    QTreeWidgetItem* duration = peers->treeStats->topLevelItem(0);
    QTRY_VERIFY(duration->text(1).startsWith("0:00:0"));
    QVERIFY(peers->treeStats->topLevelItem(5)->text(1).endsWith(" kbps"));
    // The booth's call began later.
    const QString studioDuration = duration->text(1);
    peers->comboMode->setCurrentIndex(1);
    QCOMPARE(peers->comboMode->currentText(), QString("Remote Booth"));
    QVERIFY(duration->text(1) < studioDuration);

    m_shell.window().pane().showScreen(Pane::ScreenChannelStats);
    QTRY_VERIFY(channels->comboMode->count() >= 2);
    QCOMPARE(channels->comboMode->currentData().toString(), QString("rtp_udp_mux"));
    QTRY_VERIFY(channels->treeStats->topLevelItem(2)->text(1).endsWith("KB"));
    QVERIFY(channels->receiveGraph().hasHistory(channels->keyOf("rtp_udp_mux")));
}

QTEST_MAIN(TestStats)
#include "test_stats.moc"
