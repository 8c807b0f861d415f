#include "channelgrapher.h"
#include "channelstats.h"
#include "remotesfeed.h"

#include <QAbstractItemView>
#include <QtTest>

namespace {

QString channel(const QString& id, int payload = 1000, const QString& extra = QString())
{
    return QStringLiteral("id=%1 name=\"Name %1\" rxPayload:u=%2 rxOverhead:u=200 rxRTCP:u=30 txPayload:u=%2 %3")
        .arg(id)
        .arg(payload)
        .arg(extra);
}

void feedChannels(const QStringList& ids)
{
    QStringList channels;
    for (const QString& id : ids)
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
    Grapher::PointList points[1];
    Grapher::RectList rects[2];
    int min = 0;
    int max = 0;
    screen.receiveGraph().draw(static_cast<uint32_t>(screen.keyOf(id)), points, rects, &min, &max);
    return rects[0].size();
}

} // namespace

class TestChannelStats : public QObject {
    Q_OBJECT

private slots:
    void selection_data()
    {
        QTest::addColumn<QStringList>("first");
        QTest::addColumn<QString>("choose");
        QTest::addColumn<QStringList>("second");
        QTest::addColumn<QString>("selected");

        QTest::newRow("mux by default") << QStringList{"sip", "rtp_udp_mux", "pots"} << "" << QStringList{"sip", "rtp_udp_mux"}
                                        << "rtp_udp_mux";
        QTest::newRow("no mux: first entry") << QStringList{"sip", "pots"} << "" << QStringList{"sip", "pots"} << "sip";
        QTest::newRow("choice kept") << QStringList{"sip", "rtp_udp_mux", "pots"} << "pots"
                                     << QStringList{"pots", "rtp_udp_mux"} << "pots";
        QTest::newRow("chosen channel gone: mux") << QStringList{"sip", "rtp_udp_mux", "pots"} << "pots"
                                                  << QStringList{"sip", "rtp_udp_mux"} << "rtp_udp_mux";
    }

    void selection()
    {
        QFETCH(QStringList, first);
        QFETCH(QString, choose);
        QFETCH(QStringList, second);
        ChannelStats screen;
        feedChannels(first);
        if (!choose.isEmpty())
            screen.comboMode->setCurrentIndex(screen.comboMode->findData(choose));
        // An operator moving through the open list keeps the row under the cursor while values arrive.
        screen.comboMode->view()->setCurrentIndex(screen.comboMode->model()->index(0, 0));
        feedChannels(second);
        QCOMPARE(screen.comboMode->view()->currentIndex().row(), 0);
        QCOMPARE(screen.comboMode->count(), second.size());
        QCOMPARE(screen.comboMode->itemText(0), "Name " + second[0]);
        QTEST(selected(screen), "selected");
        const int key = screen.keyOf(selected(screen).toStdString());
        QCOMPARE(screen.receiveGraph().key(), key);
        QCOMPARE(screen.transmitGraph().key(), key);
    }

    // The selected channel is not first: the list, not the selection, hands out the keys.
    void keysInOrderOfFirstSightKept()
    {
        ChannelStats screen;
        feedChannels({"sip", "rtp_udp_mux"});
        feedChannels({"rtp_udp_mux"});
        feedChannels({"pots", "sip", "rtp_udp_mux"});
        QCOMPARE((std::vector<int>{screen.keyOf("sip"), screen.keyOf("rtp_udp_mux"), screen.keyOf("pots"), screen.keyOf("new")}),
                 (std::vector<int>{0, 1, 2, 3}));
        // The vanished channel's history went on where it stopped.
        QCOMPARE(receiveSamples(screen, "sip"), 2);
        QCOMPARE(receiveSamples(screen, "rtp_udp_mux"), 3);
    }

    void values_data()
    {
        QTest::addColumn<bool>("averaged");
        QTest::addColumn<QStringList>("rows");

        QTest::newRow("plain") << false << QStringList{"1.2 kbps", "1.0 kbps"};
        QTest::newRow("averaged") << true << QStringList{"0.9 kbps", "128.1 kbps"};
    }

    // Only the rates change with the check box; a channel missing from a notification keeps its rows.
    void values()
    {
        QFETCH(bool, averaged);
        QFETCH(QStringList, rows);
        ChannelStats screen;
        notify("channel_stats", "channel",
               {channel("rtp_udp_mux", 1000,
                        "txOverhead:u=0 txRTCP:u=0 rxAvgPayload:u=900 txAvgPayload:u=128000 txAvgRTCP:u=100 "
                        "rxTotal:u=1536 txTotal:u=1073741825"),
                channel("sip", 5000)});
        screen.checkAvg->setChecked(averaged);
        notify("channel_stats", "channel", {});
        const QStringList expected{"Total Receive Rate=" + rows[0], "Total Transmit Rate=" + rows[1],
                                   "Total Receive=1.5 MB", "Total Transmit=1024.0 GB"};
        QCOMPARE(treeRows(screen.treeStats), expected);
        QCOMPARE(receiveSamples(screen, "rtp_udp_mux"), 1);
    }

    void keys_data()
    {
        QTest::addColumn<QString>("focus");
        QTest::addColumn<int>("key");
        QTest::addColumn<QString>("after"); // page, option, channel, widget with focus

        // Starting on the "Graph" page with the second of three channels selected, the option off.
        QTest::newRow("Left elsewhere: Numeric") << "statsTab" << int(Qt::Key_Left) << "0 0 b qt_tabwidget_tabbar";
        QTest::newRow("Left on the option toggles it") << "checkAvg" << int(Qt::Key_Left) << "1 1 b checkAvg";
        QTest::newRow("Left on the selector: previous") << "comboMode" << int(Qt::Key_Left) << "1 0 a comboMode";
        QTest::newRow("Right on the selector: next") << "comboMode" << int(Qt::Key_Right) << "1 0 c comboMode";
        QTest::newRow("Down: focus moves on") << "comboMode" << int(Qt::Key_Down) << "1 0 b checkAvg";
    }

    // Shown, so that focus and painting are real.
    void keys()
    {
        QFETCH(QString, focus);
        QFETCH(int, key);
        ChannelStats screen;
        QVERIFY(showActive(&screen));
        feedChannels({"a", "b", "c"});
        screen.comboMode->setCurrentIndex(1);
        screen.statsTab->setCurrentIndex(1);
        // Both graphs repaint on every notification.
        QCoreApplication::processEvents();
        PaintCounter receive(&screen.receiveGraph());
        PaintCounter transmit(&screen.transmitGraph());
        feedChannels({"a", "b", "c"});
        QTRY_VERIFY(receive.paints > 0 && transmit.paints > 0);
        // A release alone turns no page.
        screen.statsTab->setFocus();
        screen.handleKey(Qt::Key_Left, false, false);
        QCOMPARE(screen.statsTab->currentIndex(), 1);

        const QString focused = pressOn(screen, focus, key);
        QTEST(QStringLiteral("%1 %2 %3 %4").arg(screen.statsTab->currentIndex()).arg(screen.checkAvg->isChecked())
                  .arg(selected(screen), focused), "after");
    }
};

QTEST_MAIN(TestChannelStats)
#include "test_channelstats.moc"
