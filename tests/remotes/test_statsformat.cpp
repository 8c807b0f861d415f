#include "params.h"
#include "statsformat.h"

#include <QtTest>

using namespace StatsFormat;

class TestStatsFormat : public QObject {
    Q_OBJECT

private slots:
    // Each text beside the one expected; tenths are truncated, units change above 1024.
    void formats()
    {
        const Params stats("rxPayload:u=64000 rxOverhead:u=12800 rxRTCP:u=800 rxAvgPayload:u=1299 rxAvgRTCP:u=700 txPayload:u=128000 "
                           "txAvgOverhead:u=1999");
        const std::pair<QString, const char*> cases[] = {
            {duration(0), "0:00:00"}, {duration(3599), "0:59:59"}, {duration(3725), "1:02:05"}, {duration(86399), "23:59:59"},
            {duration(86400), "1d 0:00:00"}, {duration(90061), "1d 1:01:01"}, {duration(12 * 86400 + 10 * 3600 + 7), "12d 10:00:07"},
            // The whole part of -0.5 is 0, and the tenth is shown without its sign.
            {milliseconds(1234), "123.4 ms"}, {milliseconds(-15), "-1.5 ms"}, {milliseconds(-5), "0.5 ms"},
            {percent(57), "5.7%"}, {percent(1000), "100.0%"}, {decimal(-2345, 1000), "-2.3"},
            {kbps(1234567), "1234.5 kbps"}, {kbps(999), "0.9 kbps"}, {kbps(5000000000ULL), "5000000.0 kbps"},
            {dataTotal(0), "0.0 KB"}, {dataTotal(1024), "1024.0 KB"}, {dataTotal(1025), "1.0 MB"}, {dataTotal(1536), "1.5 MB"},
            {dataTotal(1048576), "1024.0 MB"}, {dataTotal(1073741825), "1024.0 GB"}, {dataTotal(4294967295U), "3.9 TB"},
            {kbps(bitrateSum(stats, Direction::Receive, false, AllParts)), "77.6 kbps"},
            {kbps(bitrateSum(stats, Direction::Receive, false, Overhead | Rtcp)), "13.6 kbps"},
            // Sums just below a tenth: a missing part counts nothing at all.
            {kbps(bitrateSum(stats, Direction::Receive, true, AllParts)), "1.9 kbps"},
            {kbps(bitrateSum(stats, Direction::Transmit, true, AllParts)), "1.9 kbps"},
            {kbps(bitrateSum(stats, Direction::Transmit, false, Payload)), "128.0 kbps"},
            {kbps(bitrateSum(stats, Direction::Transmit, true, Overhead)), "1.9 kbps"},
        };
        for (const auto& [text, expected] : cases)
            QCOMPARE(text, QString(expected));
    }
};

QTEST_APPLESS_MAIN(TestStatsFormat)
#include "test_statsformat.moc"
