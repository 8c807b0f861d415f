#include "channelgrapher.h"
#include "channelstats.h"
#include "statsfeed.h"

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
int receiveSamples(const ChannelStats& screen, const std::string& id)
{
    Grapher::PointList points[1];
    Grapher::RectList rects[2];
    int min = 0;
    int max = 0;
    screen.receiveGraph().draw(static_cast<uint32_t>(const_cast<ChannelStats&>(screen).keyOf(id)), points, rects,
                               &min, &max);
    return rects[0].size();
}

QString rowText(const ChannelStats& screen, int row)
{
    return screen.treeStats->topLevelItem(row)->text(1);
}

} // namespace

class TestChannelStats : public QObject {
    Q_OBJECT

private slots:
    void selection_data();
    void selection();
    void keysInOrderOfFirstSightKept();
    void popupRowKept();
    void graphsRepaintOnEveryNotification();
    void values_data();
    void values();
    void averagedChangesOnlyRates();
    void absentChannelKeepsItsRows();
    void leftOnCheckBoxTogglesIt();
};

void TestChannelStats::selection_data()
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

void TestChannelStats::selection()
{
    QFETCH(QStringList, first);
    QFETCH(QString, choose);
    QFETCH(QStringList, second);
    ChannelStats screen;
    feedChannels(first);
    if (!choose.isEmpty())
        screen.comboMode->setCurrentIndex(screen.comboMode->findData(choose));
    feedChannels(second);
    QCOMPARE(screen.comboMode->count(), second.size());
    QCOMPARE(screen.comboMode->itemText(0), "Name " + second[0]);
    QTEST(selected(screen), "selected");
    const int key = screen.keyOf(selected(screen).toStdString());
    QCOMPARE(screen.receiveGraph().key(), key);
    QCOMPARE(screen.transmitGraph().key(), key);
}

// The selected channel is not first: the list, not the selection, hands out the keys.
void TestChannelStats::keysInOrderOfFirstSightKept()
{
    ChannelStats screen;
    feedChannels({"sip", "rtp_udp_mux"});
    feedChannels({"rtp_udp_mux"});
    feedChannels({"pots", "sip", "rtp_udp_mux"});
    QCOMPARE(screen.keyOf("sip"), 0);
    QCOMPARE(screen.keyOf("rtp_udp_mux"), 1);
    QCOMPARE(screen.keyOf("pots"), 2);
    QCOMPARE(screen.keyOf("new"), 3);
    // The vanished channel's history went on where it stopped.
    QCOMPARE(receiveSamples(screen, "sip"), 2);
    QCOMPARE(receiveSamples(screen, "rtp_udp_mux"), 3);
}

// An operator moving through the open list keeps the row under the cursor while values arrive.
void TestChannelStats::popupRowKept()
{
    ChannelStats screen;
    feedChannels({"sip", "rtp_udp_mux", "pots"});
    screen.comboMode->view()->setCurrentIndex(screen.comboMode->model()->index(2, 0));
    feedChannels({"sip", "rtp_udp_mux", "pots"});
    QCOMPARE(screen.comboMode->view()->currentIndex().row(), 2);
    QCOMPARE(selected(screen), QString("rtp_udp_mux"));
}

void TestChannelStats::graphsRepaintOnEveryNotification()
{
    ChannelStats screen;
    screen.statsTab->setCurrentIndex(1);
    screen.show();
    QVERIFY(QTest::qWaitForWindowExposed(&screen));
    feedChannels({"rtp_udp_mux"});
    QCoreApplication::processEvents();
    PaintCounter receive(&screen.receiveGraph());
    PaintCounter transmit(&screen.transmitGraph());
    feedChannels({"rtp_udp_mux"});
    QTRY_VERIFY(receive.paints > 0 && transmit.paints > 0);
}

void TestChannelStats::values_data()
{
    QTest::addColumn<bool>("averaged");
    QTest::addColumn<QStringList>("rows");

    QTest::newRow("plain") << false << QStringList{"1.2 kbps", "1.0 kbps", "1.5 MB", "1024.0 GB"};
    QTest::newRow("averaged") << true << QStringList{"0.9 kbps", "128.1 kbps", "1.5 MB", "1024.0 GB"};
}

void TestChannelStats::values()
{
    QFETCH(bool, averaged);
    ChannelStats screen;
    screen.checkAvg->setChecked(averaged);
    notify("channel_stats", "channel",
           {channel("rtp_udp_mux", 1000,
                    "txOverhead:u=0 txRTCP:u=0 rxAvgPayload:u=900 txAvgPayload:u=128000 txAvgRTCP:u=100 "
                    "rxTotal:u=1536 txTotal:u=1073741825"),
            channel("sip", 5000)});
    const QStringList rows{rowText(screen, 0), rowText(screen, 1), rowText(screen, 2), rowText(screen, 3)};
    QTEST(rows, "rows");
    QCOMPARE(screen.treeStats->topLevelItem(0)->text(0), QString("Total Receive Rate"));
    QCOMPARE(screen.treeStats->topLevelItem(3)->text(0), QString("Total Transmit"));
}

void TestChannelStats::averagedChangesOnlyRates()
{
    ChannelStats screen;
    notify("channel_stats", "channel", {channel("rtp_udp_mux", 1000, "rxAvgPayload:u=2000 rxTotal:u=10")});
    QCOMPARE(rowText(screen, 0), QString("1.2 kbps"));
    screen.checkAvg->setChecked(true);
    QCOMPARE(rowText(screen, 0), QString("2.0 kbps"));
    QCOMPARE(rowText(screen, 2), QString("10.0 KB"));
    QCOMPARE(receiveSamples(screen, "rtp_udp_mux"), 1);
}

void TestChannelStats::absentChannelKeepsItsRows()
{
    ChannelStats screen;
    notify("channel_stats", "channel", {channel("sip", 3000, "rxTotal:u=7")});
    notify("channel_stats", "channel", {});
    QCOMPARE(rowText(screen, 0), QString("3.2 kbps"));
    QCOMPARE(rowText(screen, 2), QString("7.0 KB"));
}

void TestChannelStats::leftOnCheckBoxTogglesIt()
{
    ChannelStats screen;
    screen.show();
    QApplication::setActiveWindow(&screen);
    QVERIFY(QTest::qWaitForWindowActive(&screen));
    screen.checkAvg->setFocus();
    screen.handleKey(Qt::Key_Left, true, false);
    screen.handleKey(Qt::Key_Left, false, false);
    QVERIFY(screen.checkAvg->isChecked());
}

QTEST_MAIN(TestChannelStats)
#include "test_channelstats.moc"
