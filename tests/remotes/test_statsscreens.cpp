// The two statistics screens fed through the shared client: the remotes in a call and their
// values, the channels and theirs, both graphs of each screen.
#include "channelgrapher.h"
#include "channelstats.h"
#include "delaysamples.h"
#include "peerstats.h"
#include "percentgrapher.h"
#include "remotesfeed.h"

#include <QAbstractItemView>

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

QString channel(const QString& id, int payload = 1000, const QString& extra = QString())
{
    return QStringLiteral("id=%1 name=\"Name %1\" rxPayload:u=%2 rxOverhead:u=200 rxRTCP:u=30 txPayload:u=%2 %3").arg(id).arg(payload).arg(extra);
}

// Channels by their ids, "sip pots".
void feedChannels(const QString& ids)
{
    notify("channel_stats", "channel", ids.split(' ').replaceInStrings(QRegularExpression("^(.*)$"), channel("\\1")));
}

// Samples in a channel's receive history: each non-zero one draws a bar.
int receiveSamples(ChannelStats& screen, const std::string& id)
{
    return Drawing(screen.receiveGraph(), screen.keyOf(id)).rects[0].size();
}

} // namespace

class TestStatsScreens : public QObject {
    Q_OBJECT

private slots:
    void peerTable()
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
        QVERIFY(!treeRows(screen.treeStats).contains(QRegularExpression("=[^;]")));
    }

    // Remotes (a name starting with '-' is not in a call) | the one selected | remotes next | entries
    // offered then as id:name, the id selected, the keys of both graphs, the remotes whose history
    // each graph kept.
    void peerSelector_data()
    {
        rows(R"(
          only active remotes, in list order  | A -B C | 3 | A -B C D     | 1:A 3:C 4:D > 3 3 3 kept 13 13
          selection gone: first entry         | A B C  | 2 | A -B C       | 1:A 3:C > 1 1 1 kept 13 13
          other remote gone: selection kept   | A B C  | 3 | -A B C       | 2:B 3:C > 3 3 3 kept 23 23
          same remotes in calls: entries kept | A B    | 2 | Renamed B -C | 1:A 2:B > 2 2 2 kept 12 12
          last call ended                     | A      | 1 | -A           | > 0 0 0 kept)");
    }

    void peerSelector()
    {
        const auto [before, selectBefore, after, expected] = cells<4>();
        PeerStats screen;
        feedActive(before.split(' '));
        screen.comboMode->setCurrentIndex(screen.comboMode->findData(selectBefore.toInt()));
        QStringList everyone;
        for (int id = 1; id <= before.count(' ') + 1; ++id)
            everyone << peer(id);
        notify("peer_stats", "peer", everyone);

        feedActive(after.split(' '));
        QStringList shown;
        for (int i = 0; i < screen.comboMode->count(); ++i)
            shown << QStringLiteral("%1:%2").arg(screen.comboMode->itemData(i).toInt()).arg(screen.comboMode->itemText(i));
        QString delayKept, percentKept;
        for (int id = 1; id <= 4; ++id) {
            delayKept += screen.delayGraph().hasHistory(id) ? QString::number(id) : QString();
            percentKept += screen.percentGraph().hasHistory(id) ? QString::number(id) : QString();
        }
        shown << QStringLiteral("> %1 %2 %3 kept %4 %5").arg(screen.comboMode->currentData().toInt()).arg(screen.delayGraph().key())
                     .arg(screen.percentGraph().key()).arg(delayKept, percentKept);
        QCOMPARE(shown.join(' ').trimmed(), expected);
    }

    // Shown on the "Graph" page: both graphs repaint on every notification.
    void samplesForEveryRemote()
    {
        PeerStats screen;
        screen.statsTab->setCurrentIndex(1);
        QVERIFY(showActive(&screen));
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

    // Channels listed | the one chosen | channels listed next | the one selected then.
    void channelSelection_data()
    {
        rows(R"(
          mux by default           | sip rtp_udp_mux pots | | sip rtp_udp_mux | rtp_udp_mux
          no mux: first entry      | sip pots | | sip pots | sip
          choice kept              | sip rtp_udp_mux pots | pots | pots rtp_udp_mux | pots
          chosen channel gone: mux | sip rtp_udp_mux pots | pots | sip rtp_udp_mux | rtp_udp_mux)");
    }

    void channelSelection()
    {
        const auto [first, choose, second, expected] = cells<4>();
        ChannelStats screen;
        feedChannels(first);
        if (!choose.isEmpty())
            screen.comboMode->setCurrentIndex(screen.comboMode->findData(choose));
        // An operator moving through the open list keeps the row under the cursor while values arrive.
        screen.comboMode->view()->setCurrentIndex(screen.comboMode->model()->index(0, 0));
        feedChannels(second);
        QCOMPARE(screen.comboMode->view()->currentIndex().row(), 0);
        QCOMPARE(screen.comboMode->count(), second.count(' ') + 1);
        QCOMPARE(screen.comboMode->itemText(0), "Name " + second.section(' ', 0, 0));
        QCOMPARE(screen.comboMode->currentData().toString(), expected);
        const int key = screen.keyOf(expected.toStdString());
        QCOMPARE(std::make_pair(screen.receiveGraph().key(), screen.transmitGraph().key()), std::make_pair(key, key));
    }

    // The selected channel is not first: the list, not the selection, hands out the keys.
    void keysInOrderOfFirstSightKept()
    {
        ChannelStats screen;
        feedChannels("sip rtp_udp_mux");
        feedChannels("rtp_udp_mux");
        feedChannels("pots sip rtp_udp_mux");
        QCOMPARE((std::vector<int>{screen.keyOf("sip"), screen.keyOf("rtp_udp_mux"), screen.keyOf("pots"), screen.keyOf("new")}),
                 (std::vector<int>{0, 1, 2, 3}));
        // The vanished channel's history went on where it stopped.
        QCOMPARE(receiveSamples(screen, "sip"), 2);
        QCOMPARE(receiveSamples(screen, "rtp_udp_mux"), 3);
    }

    // Only the rates change with the check box; a channel missing from a notification keeps its rows.
    void channelValues()
    {
        ChannelStats screen;
        notify("channel_stats", "channel",
               {channel("rtp_udp_mux", 1000,
                        "txOverhead:u=0 txRTCP:u=0 rxAvgPayload:u=900 txAvgPayload:u=128000 txAvgRTCP:u=100 "
                        "rxTotal:u=1536 txTotal:u=1073741825"),
                channel("sip", 5000)});
        const QString totals = "Total Receive=1.5 MB; Total Transmit=1024.0 GB";
        QCOMPARE(treeRows(screen.treeStats), "Total Receive Rate=1.2 kbps; Total Transmit Rate=1.0 kbps; " + totals);
        screen.checkAvg->setChecked(true);
        notify("channel_stats", "channel", {});
        QCOMPARE(treeRows(screen.treeStats), "Total Receive Rate=0.9 kbps; Total Transmit Rate=128.1 kbps; " + totals);
        QCOMPARE(receiveSamples(screen, "rtp_udp_mux"), 1);
    }

    // Starting on the "Graph" page with the second of three channels selected, the option off: the
    // widget with focus and the key | page, option, channel, widget with focus then.
    void channelKeys_data()
    {
        rows(R"(
          Left elsewhere: Numeric        | statsTab | Left | 0 0 b qt_tabwidget_tabbar
          Left on the option toggles it  | checkAvg | Left | 1 1 b checkAvg
          Left on the selector: previous | comboMode | Left | 1 0 a comboMode
          Right on the selector: next    | comboMode | Right | 1 0 c comboMode
          Down: focus moves on           | comboMode | Down | 1 0 b checkAvg)");
    }

    // Shown, so that focus and painting are real.
    void channelKeys()
    {
        const auto [focus, key, after] = cells<3>();
        ChannelStats screen;
        QVERIFY(showActive(&screen));
        feedChannels("a b c");
        screen.comboMode->setCurrentIndex(1);
        screen.statsTab->setCurrentIndex(1);
        // Both graphs repaint on every notification.
        QCoreApplication::processEvents();
        PaintCounter receive(&screen.receiveGraph());
        PaintCounter transmit(&screen.transmitGraph());
        feedChannels("a b c");
        QTRY_VERIFY(receive.paints > 0 && transmit.paints > 0);
        // A release alone turns no page.
        screen.statsTab->setFocus();
        screen.handleKey(Qt::Key_Left, false, false);
        QCOMPARE(screen.statsTab->currentIndex(), 1);

        const QString focused = pressOn(screen, focus, key);
        QCOMPARE(QStringLiteral("%1 %2 %3 %4").arg(screen.statsTab->currentIndex()).arg(screen.checkAvg->isChecked())
                     .arg(screen.comboMode->currentData().toString(), focused),
                 after);
    }
};

QTEST_MAIN(TestStatsScreens)
#include "test_statsscreens.moc"
