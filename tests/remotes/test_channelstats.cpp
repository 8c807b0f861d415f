#include "channelgrapher.h"
#include "channelstats.h"
#include "remotesfeed.h"

#include <QAbstractItemView>

namespace {

QString channel(const QString& id, int payload = 1000, const QString& extra = QString())
{
    return QStringLiteral("id=%1 name=\"Name %1\" rxPayload:u=%2 rxOverhead:u=200 rxRTCP:u=30 txPayload:u=%2 %3").arg(id).arg(payload).arg(extra);
}

// Channels by their ids, "sip pots".
void feedChannels(const QString& ids)
{
    QStringList channels;
    for (const QString& id : ids.split(' '))
        channels << channel(id);
    notify("channel_stats", "channel", channels);
}

QString selected(const ChannelStats& screen)
{
    return screen.comboMode->currentData().toString();
}

// Samples in a channel's receive history: each non-zero one draws a bar.
int receiveSamples(ChannelStats& screen, const std::string& id)
{
    return Drawing(screen.receiveGraph(), screen.keyOf(id)).rects[0].size();
}

} // namespace

class TestChannelStats : public QObject {
    Q_OBJECT

private slots:
    // Channels listed | the one chosen | channels listed next | the one selected then.
    void selection_data()
    {
        rows(R"(
          mux by default           | sip rtp_udp_mux pots | | sip rtp_udp_mux | rtp_udp_mux
          no mux: first entry      | sip pots | | sip pots | sip
          choice kept              | sip rtp_udp_mux pots | pots | pots rtp_udp_mux | pots
          chosen channel gone: mux | sip rtp_udp_mux pots | pots | sip rtp_udp_mux | rtp_udp_mux)");
    }

    void selection()
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
        QCOMPARE(selected(screen), expected);
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
    void values()
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
    void keys_data()
    {
        rows(R"(
          Left elsewhere: Numeric        | statsTab | Left | 0 0 b qt_tabwidget_tabbar
          Left on the option toggles it  | checkAvg | Left | 1 1 b checkAvg
          Left on the selector: previous | comboMode | Left | 1 0 a comboMode
          Right on the selector: next    | comboMode | Right | 1 0 c comboMode
          Down: focus moves on           | comboMode | Down | 1 0 b checkAvg)");
    }

    // Shown, so that focus and painting are real.
    void keys()
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

        const QString focused = pressOn(screen, focus, keyNamed(key));
        QCOMPARE(QStringLiteral("%1 %2 %3 %4").arg(screen.statsTab->currentIndex()).arg(screen.checkAvg->isChecked())
                     .arg(selected(screen), focused),
                 after);
    }
};

QTEST_MAIN(TestChannelStats)
#include "test_channelstats.moc"
