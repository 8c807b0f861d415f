#include "delaysamples.h"
#include "peerstats.h"
#include "percentgrapher.h"
#include "statsfeed.h"

#include <QtTest>

namespace {

const QString kFullPeer =
    "callTime:u=3725 delayOut:i=450 delayIn:i=-15 frameLossRate:u=4 remoteLoss:u=1000 "
    "rxPayload:u=1234567 rxOverhead:u=12800 rxRTCP:u=800 txPayload:u=64000 txOverhead:u=100 txRTCP:u=50 "
    "rtt:i=301 bufferDelay:i=400 bufferDesiredDelay:i=420 packetJitter:i=55 bufferMaxDev:i=81 "
    "pktOutlierRate:u=1 pktDupRate:u=2 pktOOORate:u=3 pktRtxRate:u=5 frameLateRate:u=6 insertRate:u=7 "
    "corrUpRate:u=8 corrDownRate:u=9 effTxBitrate:u=130000 effRxBitrate:u=125999 "
    "bufferMinDelay:i=350 bufferMaxDelay:i=460 newData:b=true";

QString peer(int id, int callTime = 0)
{
    return QStringLiteral("id:i=%1 callTime:u=%2 bufferMaxDelay:i=500 newData:b=true").arg(id).arg(callTime);
}

void feedActive(const QStringList& names)
{
    QStringList records;
    for (int i = 0; i < names.size(); ++i)
        records << QStringLiteral("id:i=%1 name=\"%2\" active:b=%3")
                       .arg(i + 1)
                       .arg(names[i])
                       .arg(names[i].startsWith('-') ? "false" : "true");
    answer("peerList", "peer", records);
}


QStringList selectorEntries(const PeerStats& screen)
{
    QStringList entries;
    for (int i = 0; i < screen.comboMode->count(); ++i)
        entries << QStringLiteral("%1:%2").arg(screen.comboMode->itemData(i).toInt()).arg(screen.comboMode->itemText(i));
    return entries;
}

} // namespace

class TestPeerStats : public QObject {
    Q_OBJECT

private slots:
    void rows_data();
    void rows();
    void advancedRowsFollowCheckBox();
    void selector_data();
    void selector();
    void unchangedActiveSetKeepsSelector();
    void everyRemoteFillsItsHistory();
    void samplesCarryTheGraphedValues();
    void selectedRemoteMissingClearsValues();
    void graphsRepaintOnEveryNotification();
    void keys_data();
    void keys();
};

void TestPeerStats::rows_data()
{
    QTest::addColumn<int>("row");
    QTest::addColumn<QString>("label");
    QTest::addColumn<QString>("value");
    QTest::addColumn<bool>("advanced");

    const struct {
        const char* label;
        const char* value;
    } rows[] = {
        {"Call Duration", "1:02:05"},
        {"Transmit Delay", "45.0 ms"},
        {"Receive Delay", "-1.5 ms"},
        {"Frame Loss Rate", "0.4%"},
        {"Remote Loss Rate", "100.0%"},
        {"Receive Rate", "1234.5 kbps"},
        {"Receive Overhead", "13.6 kbps"},
        {"Transmit Rate", "64.0 kbps"},
        {"Transmit Overhead", "0.1 kbps"},
        {"Network RTT", "30.1 ms"},
        {"Buffer Delay", "40.0 ms"},
        {"Desired Delay", "42.0 ms"},
        {"Packet Jitter", "5.5 ms"},
        {"Delay Max Deviation", "8.1 ms"},
        {"Packet Outlier Rate", "0.1%"},
        {"Packet Duplication Rate", "0.2%"},
        {"Packet Out-of-Order Rate", "0.3%"},
        {"Packet Recovery Rate", "0.5%"},
        {"Frame Late Rate", "0.6%"},
        {"Insert Rate", "0.7%"},
        {"Correction Rate (up)", "0.8%"},
        {"Correction Rate (down)", "0.9%"},
        {"Effective Bitrate (TX)", "130.0 kbps"},
        {"Effective Bitrate (RX)", "125.9 kbps"},
    };
    int row = 0;
    for (const auto& expected : rows) {
        QTest::newRow(expected.label) << row << expected.label << expected.value << (row >= 9);
        ++row;
    }
}

void TestPeerStats::rows()
{
    QFETCH(int, row);
    PeerStats screen;
    QCOMPARE(screen.treeStats->topLevelItemCount(), 24);
    feedActive({"Studio A", "OB Van"});
    notify("peer_stats", "peer", {"id:i=1 " + kFullPeer, peer(2, 99)});

    const QTreeWidgetItem* item = screen.treeStats->topLevelItem(row);
    QTEST(item->text(0), "label");
    QTEST(item->text(1), "value");
    QFETCH(bool, advanced);
    QCOMPARE(item->data(0, Qt::UserRole), QVariant(advanced));
    QCOMPARE(item->isHidden(), advanced);
    QVERIFY(screen.treeStats->isHeaderHidden());
    QVERIFY(!screen.treeStats->rootIsDecorated());
    QCOMPARE(screen.treeStats->columnWidth(0), 320);
    QCOMPARE(screen.treeStats->columnWidth(1), 200);
}

void TestPeerStats::advancedRowsFollowCheckBox()
{
    PeerStats screen;
    screen.checkAdvanced->setChecked(true);
    for (int row = 0; row < 24; ++row)
        QVERIFY(!screen.treeStats->topLevelItem(row)->isHidden());
    screen.checkAdvanced->setChecked(false);
    for (int row = 0; row < 24; ++row)
        QCOMPARE(screen.treeStats->topLevelItem(row)->isHidden(), row >= 9);
}

// Remotes are numbered from 1 in list order; a name starting with '-' is not in a call.
void TestPeerStats::selector_data()
{
    QTest::addColumn<QStringList>("before");
    QTest::addColumn<int>("selectBefore");
    QTest::addColumn<QStringList>("after");
    QTest::addColumn<QStringList>("entries");
    QTest::addColumn<int>("selected");

    QTest::newRow("only active remotes, in list order")
        << QStringList{"A", "-B", "C"} << 3 << QStringList{"A", "-B", "C", "D"} << QStringList{"1:A", "3:C", "4:D"}
        << 3;
    QTest::newRow("selection gone: first entry")
        << QStringList{"A", "B", "C"} << 2 << QStringList{"A", "-B", "C"} << QStringList{"1:A", "3:C"} << 1;
    QTest::newRow("other remote gone: selection kept")
        << QStringList{"A", "B", "C"} << 3 << QStringList{"-A", "B", "C"} << QStringList{"2:B", "3:C"} << 3;
    QTest::newRow("last call ended") << QStringList{"A"} << 1 << QStringList{"-A"} << QStringList{} << 0;
}

void TestPeerStats::selector()
{
    QFETCH(QStringList, before);
    QFETCH(int, selectBefore);
    QFETCH(QStringList, after);
    PeerStats screen;
    feedActive(before);
    screen.comboMode->setCurrentIndex(screen.comboMode->findData(selectBefore));
    QStringList everyone;
    for (int id = 1; id <= before.size(); ++id)
        everyone << peer(id);
    notify("peer_stats", "peer", everyone);

    feedActive(after);
    QTEST(selectorEntries(screen), "entries");
    QFETCH(int, selected);
    QCOMPARE(screen.comboMode->currentIndex() < 0 ? 0 : screen.comboMode->currentData().toInt(), selected);
    QCOMPARE(screen.delayGraph().key(), selected);
    QCOMPARE(screen.percentGraph().key(), selected);
    // Histories of remotes no longer in a call are gone, the others kept.
    for (int id = 1; id <= before.size(); ++id) {
        const bool active = id <= after.size() && !after[id - 1].startsWith('-');
        QCOMPARE(screen.delayGraph().hasHistory(id), active);
        QCOMPARE(screen.percentGraph().hasHistory(id), active);
    }
}

void TestPeerStats::unchangedActiveSetKeepsSelector()
{
    PeerStats screen;
    feedActive({"A", "B"});
    screen.comboMode->setCurrentIndex(1);
    feedActive({"Renamed", "B", "-C"});
    QCOMPARE(selectorEntries(screen), (QStringList{"1:A", "2:B"}));
    QCOMPARE(screen.comboMode->currentIndex(), 1);
}

void TestPeerStats::everyRemoteFillsItsHistory()
{
    PeerStats screen;
    feedActive({"A", "B"});
    notify("peer_stats", "peer", {peer(1, 10), peer(2, 20) + " newData:b=false"});
    notify("peer_stats", "peer", {peer(1, 11), peer(2, 21)});
    QCOMPARE(validDelaySamples(screen.delayGraph(), 1), 2);
    // A sample without new data is kept, as a gap.
    QCOMPARE(validDelaySamples(screen.delayGraph(), 2), 1);
    QVERIFY(screen.percentGraph().hasHistory(2));
    QCOMPARE(screen.treeStats->topLevelItem(0)->text(1), QString("0:00:11"));

    // The other remote's history and its latest values at once, without a sample more.
    screen.comboMode->setCurrentIndex(1);
    QCOMPARE(screen.delayGraph().key(), 2);
    QCOMPARE(screen.treeStats->topLevelItem(0)->text(1), QString("0:00:21"));
    screen.checkAdvanced->setChecked(true);
    QCOMPARE(validDelaySamples(screen.delayGraph(), 1), 2);
    QCOMPARE(validDelaySamples(screen.delayGraph(), 2), 1);
}

void TestPeerStats::samplesCarryTheGraphedValues()
{
    PeerStats screen;
    feedActive({"A"});
    notify("peer_stats", "peer",
           {"id:i=1 frameLossRate:u=4 remoteLoss:u=10 corrUpRate:u=8 corrDownRate:u=9 insertRate:u=7 "
            "bufferMinDelay:i=350 bufferMaxDelay:i=460 bufferDesiredDelay:i=420 newData:b=true"});
    int min = 1;
    int max = 0;
    // The corrections line carries the sum of the three correction rates.
    screen.percentGraph().range(1, &min, &max);
    QCOMPARE(max, 24);
    screen.delayGraph().range(1, &min, &max);
    QCOMPARE(max, 460);
    // The bar reaches the minimum delay, three quarters of the way up.
    Grapher::PointList points[1];
    Grapher::RectList rects[3];
    screen.delayGraph().draw(1, points, rects, &min, &max);
    const int plotHeight = screen.delayGraph().plotHeight();
    QCOMPARE(rects[0].last().top(), plotHeight - plotHeight * 350 / 460);
    QCOMPARE(points[0].last().y(), plotHeight - plotHeight * 420 / 460);
}

void TestPeerStats::selectedRemoteMissingClearsValues()
{
    PeerStats screen;
    feedActive({"A", "B"});
    notify("peer_stats", "peer", {peer(1, 10), peer(2, 20)});
    QCOMPARE(screen.treeStats->topLevelItem(0)->text(1), QString("0:00:10"));
    notify("peer_stats", "peer", {peer(2, 21)});
    for (int row = 0; row < 24; ++row)
        QVERIFY(screen.treeStats->topLevelItem(row)->text(1).isEmpty());
    QCOMPARE(validDelaySamples(screen.delayGraph(), 2), 2);
}

void TestPeerStats::graphsRepaintOnEveryNotification()
{
    PeerStats screen;
    screen.statsTab->setCurrentIndex(1);
    screen.show();
    QVERIFY(QTest::qWaitForWindowExposed(&screen));
    feedActive({"A"});
    QCoreApplication::processEvents();
    PaintCounter delay(&screen.delayGraph());
    PaintCounter percent(&screen.percentGraph());
    notify("peer_stats", "peer", {peer(1, 10)});
    QTRY_VERIFY(delay.paints > 0 && percent.paints > 0);
}

void TestPeerStats::keys_data()
{
    QTest::addColumn<QString>("focus");
    QTest::addColumn<int>("key");
    QTest::addColumn<int>("page");
    QTest::addColumn<bool>("checked");
    QTest::addColumn<int>("remote");

    // Starting on the "Graph" page with remote 2 of 3 selected and the box unchecked.
    QTest::newRow("Left elsewhere: Numeric") << "none" << int(Qt::Key_Left) << 0 << false << 2;
    QTest::newRow("Right elsewhere: Graph") << "none" << int(Qt::Key_Right) << 1 << false << 2;
    QTest::newRow("Left on the box toggles it") << "check" << int(Qt::Key_Left) << 1 << true << 2;
    QTest::newRow("Right on the box toggles it") << "check" << int(Qt::Key_Right) << 1 << true << 2;
    QTest::newRow("Enter on the box toggles it") << "check" << int(Qt::Key_Enter) << 1 << true << 2;
    QTest::newRow("Left on the selector: previous") << "combo" << int(Qt::Key_Left) << 1 << false << 1;
    QTest::newRow("Right on the selector: next") << "combo" << int(Qt::Key_Right) << 1 << false << 3;
    QTest::newRow("Down: focus moves on") << "combo" << int(Qt::Key_Down) << 1 << false << 2;
    QTest::newRow("F1 ignored") << "combo" << int(Qt::Key_F1) << 1 << false << 2;
}

void TestPeerStats::keys()
{
    QFETCH(QString, focus);
    QFETCH(int, key);
    PeerStats screen;
    screen.show();
    QApplication::setActiveWindow(&screen);
    QVERIFY(QTest::qWaitForWindowActive(&screen));
    feedActive({"A", "B", "C"});
    screen.comboMode->setCurrentIndex(1);
    screen.statsTab->setCurrentIndex(1);
    QWidget* focused = focus == "check" ? static_cast<QWidget*>(screen.checkAdvanced)
                       : focus == "combo" ? static_cast<QWidget*>(screen.comboMode)
                                          : nullptr;
    if (focused)
        focused->setFocus();
    else
        screen.setFocus();

    screen.handleKey(key, true, false);
    screen.handleKey(key, false, false);
    QTEST(screen.statsTab->currentIndex(), "page");
    QTEST(screen.checkAdvanced->isChecked(), "checked");
    QTEST(screen.comboMode->currentData().toInt(), "remote");
    if (key == Qt::Key_Down)
        QCOMPARE(QApplication::focusWidget(), static_cast<QWidget*>(screen.checkAdvanced));
}

QTEST_MAIN(TestPeerStats)
#include "test_peerstats.moc"
