#include "delaysamples.h"
#include "peerstats.h"
#include "percentgrapher.h"
#include "remotesfeed.h"

namespace {

QString peer(int id, int callTime = 0)
{
    return QStringLiteral("id:i=%1 callTime:u=%2 bufferMaxDelay:i=4 newData:b=true").arg(id).arg(callTime);
}

// Remotes are numbered from 1 in list order; a name starting with '-' is not in a call.
void feedActive(const QStringList& names)
{
    QStringList records;
    for (int i = 0; i < names.size(); ++i)
        records << QStringLiteral("id:i=%1 name=\"%2\" active:b=%3").arg(i + 1).arg(names[i]).arg(names[i].startsWith('-') ? "false" : "true");
    feedPeers(records);
}

} // namespace

class TestPeerStats : public QObject {
    Q_OBJECT

private slots:
    void table()
    {
        PeerStats screen;
        feedActive({"Studio A", "OB Van"});
        notify("peer_stats", "peer",
               {"id:i=1 callTime:u=3725 delayOut:i=450 delayIn:i=-15 frameLossRate:u=4 remoteLoss:u=1000 "
                "rxPayload:u=1234567 rxOverhead:u=12800 rxRTCP:u=800 txPayload:u=64000 txOverhead:u=100 txRTCP:u=50 "
                "rtt:i=301 bufferDelay:i=400 bufferDesiredDelay:i=420 packetJitter:i=55 bufferMaxDev:i=81 "
                "pktOutlierRate:u=1 pktDupRate:u=2 pktOOORate:u=3 pktRtxRate:u=5 frameLateRate:u=6 insertRate:u=7 "
                "corrUpRate:u=8 corrDownRate:u=9 effTxBitrate:u=130000 effRxBitrate:u=125999",
                peer(2, 99)});
        // The first nine are basic; the rest come with the check box.
        const QString basic =
            "Call Duration=1:02:05; Transmit Delay=45.0 ms; Receive Delay=-1.5 ms; Frame Loss Rate=0.4%; Remote Loss Rate=100.0%; "
            "Receive Rate=1234.5 kbps; Receive Overhead=13.6 kbps; Transmit Rate=64.0 kbps; Transmit Overhead=0.1 kbps";
        QCOMPARE(treeRows(screen.treeStats), basic);
        screen.checkAdvanced->setChecked(true);
        QCOMPARE(treeRows(screen.treeStats),
                 basic + "; Network RTT=30.1 ms; Buffer Delay=40.0 ms; Desired Delay=42.0 ms; Packet Jitter=5.5 ms; "
                         "Delay Max Deviation=8.1 ms; Packet Outlier Rate=0.1%; Packet Duplication Rate=0.2%; "
                         "Packet Out-of-Order Rate=0.3%; Packet Recovery Rate=0.5%; Frame Late Rate=0.6%; Insert Rate=0.7%; "
                         "Correction Rate (up)=0.8%; Correction Rate (down)=0.9%; Effective Bitrate (TX)=130.0 kbps; "
                         "Effective Bitrate (RX)=125.9 kbps");

        // The other remote at once; no values while the selected one is missing from a notification.
        screen.comboMode->setCurrentIndex(1);
        QCOMPARE(screen.treeStats->topLevelItem(0)->text(1), QString("0:01:39"));
        notify("peer_stats", "peer", {peer(1, 10)});
        for (int row = 0; row < 24; ++row)
            QVERIFY(screen.treeStats->topLevelItem(row)->text(1).isEmpty());
    }

    // Remotes (a name starting with '-' is not in a call) | the one selected | remotes next | entries
    // offered then, as id:name | the id selected then.
    void selector_data()
    {
        rows(R"(
          only active remotes, in list order | A -B C | 3 | A -B C D | 1:A 3:C 4:D | 3
          selection gone: first entry | A B C | 2 | A -B C | 1:A 3:C | 1
          other remote gone: selection kept | A B C | 3 | -A B C | 2:B 3:C | 3
          same remotes in calls: entries kept | A B | 2 | Renamed B -C | 1:A 2:B | 2
          last call ended | A | 1 | -A | | 0)");
    }

    void selector()
    {
        const auto [beforeText, selectBefore, afterText, entriesShown, selectedText] = cells<5>();
        const QStringList before = beforeText.split(' ');
        const QStringList after = afterText.split(' ');
        const int selected = selectedText.toInt();
        PeerStats screen;
        feedActive(before);
        screen.comboMode->setCurrentIndex(screen.comboMode->findData(selectBefore.toInt()));
        QStringList everyone;
        for (int id = 1; id <= before.size(); ++id)
            everyone << peer(id);
        notify("peer_stats", "peer", everyone);

        feedActive(after);
        QStringList entries;
        for (int i = 0; i < screen.comboMode->count(); ++i)
            entries << QStringLiteral("%1:%2").arg(screen.comboMode->itemData(i).toInt()).arg(screen.comboMode->itemText(i));
        QCOMPARE(entries.join(' '), entriesShown);
        QCOMPARE(screen.comboMode->currentIndex() < 0 ? 0 : screen.comboMode->currentData().toInt(), selected);
        QCOMPARE(std::make_pair(screen.delayGraph().key(), screen.percentGraph().key()), std::make_pair(selected, selected));
        // Histories of remotes no longer in a call are gone, the others kept.
        for (int id = 1; id <= before.size(); ++id) {
            const bool active = id <= after.size() && !after[id - 1].startsWith('-');
            QCOMPARE(std::make_pair(screen.delayGraph().hasHistory(id), screen.percentGraph().hasHistory(id)), std::make_pair(active, active));
        }
    }

    // Shown on the "Graph" page: both graphs repaint on every notification.
    void samplesForEveryRemote()
    {
        PeerStats screen;
        screen.statsTab->setCurrentIndex(1);
        screen.show();
        QVERIFY(QTest::qWaitForWindowExposed(&screen));
        feedActive({"A", "B"});
        QCoreApplication::processEvents();
        PaintCounter delayPaints(&screen.delayGraph());
        PaintCounter percentPaints(&screen.percentGraph());
        notify("peer_stats", "peer", {peer(1, 10), peer(2, 20) + " newData:b=false"});
        QTRY_VERIFY(delayPaints.paints > 0 && percentPaints.paints > 0);
        // A record without values is a gap of its own; one without an id is no remote's.
        notify("peer_stats", "peer",
               {peer(1, 11), "id:i=2 frameLossRate:u=4 remoteLoss:u=10 corrUpRate:u=8 corrDownRate:u=9 insertRate:u=7 "
                             "bufferMinDelay:i=350 bufferMaxDelay:i=460 bufferDesiredDelay:i=420 newData:b=true",
                "id:i=3", "bufferMaxDelay:i=4 newData:b=true"});
        // A sample without new data is kept, as a gap.
        QCOMPARE((std::vector<int>{validDelaySamples(screen.delayGraph(), 1), validDelaySamples(screen.delayGraph(), 2),
                                   validDelaySamples(screen.delayGraph(), 3)}),
                 (std::vector<int>{2, 1, 0}));
        // The corrections line carries the sum of the three correction rates. The bar reaches the
        // minimum delay, three quarters of the way up; the line the desired one.
        const Drawing delay(screen.delayGraph(), 2);
        const int height = screen.delayGraph().plotHeight();
        QCOMPARE((std::vector<int>{Drawing(screen.percentGraph(), 2).max, delay.max, delay.rects[0].last().top(), delay.points[0].last().y()}),
                 (std::vector<int>{24, 460, height - height * 350 / 460, height - height * 420 / 460}));
    }
};

QTEST_MAIN(TestPeerStats)
#include "test_peerstats.moc"
