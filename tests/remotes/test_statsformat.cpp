#include "params.h"
#include "statsformat.h"

#include <QtTest>

using namespace StatsFormat;

class TestStatsFormat : public QObject {
    Q_OBJECT

private slots:
    void formats_data();
    void formats();
};

void TestStatsFormat::formats_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("expected");

    QTest::newRow("no time") << duration(0) << "0:00:00";
    QTest::newRow("just under an hour") << duration(3599) << "0:59:59";
    QTest::newRow("hours minutes seconds") << duration(3725) << "1:02:05";
    QTest::newRow("just under a day") << duration(86399) << "23:59:59";
    QTest::newRow("one day") << duration(86400) << "1d 0:00:00";
    QTest::newRow("day hour minute second") << duration(90061) << "1d 1:01:01";
    QTest::newRow("many days") << duration(12 * 86400 + 10 * 3600 + 7) << "12d 10:00:07";

    QTest::newRow("delay") << milliseconds(1234) << "123.4 ms";
    QTest::newRow("negative delay") << milliseconds(-15) << "-1.5 ms";
    // The whole part of -0.5 is 0, and the tenth is shown without its sign.
    QTest::newRow("negative delay above -1") << milliseconds(-5) << "0.5 ms";
    QTest::newRow("percent") << percent(57) << "5.7%";
    QTest::newRow("whole percent") << percent(1000) << "100.0%";
    QTest::newRow("tenths truncated") << kbps(1234567) << "1234.5 kbps";
    QTest::newRow("below one kbps") << kbps(999) << "0.9 kbps";
    QTest::newRow("above 32 bits") << kbps(5000000000ULL) << "5000000.0 kbps";

    QTest::newRow("small total") << dataTotal(0) << "0.0 KB";
    QTest::newRow("1024 KB stays") << dataTotal(1024) << "1024.0 KB";
    QTest::newRow("1025 KB moves") << dataTotal(1025) << "1.0 MB";
    QTest::newRow("tenth of a MB") << dataTotal(1536) << "1.5 MB";
    QTest::newRow("1024 MB stays") << dataTotal(1048576) << "1024.0 MB";
    QTest::newRow("1024 GB stays") << dataTotal(1073741825) << "1024.0 GB";
    QTest::newRow("terabytes") << dataTotal(4294967295U) << "3.9 TB";

    QTest::newRow("graph label") << decimal(-2345, 1000) << "-2.3";

    Params stats;
    stats.set_uint("rxPayload", 64000);
    stats.set_uint("rxOverhead", 12800);
    stats.set_uint("rxRTCP", 800);
    stats.set_uint("rxAvgPayload", 1299);
    stats.set_uint("rxAvgRTCP", 700);
    stats.set_uint("txPayload", 128000);
    stats.set_uint("txAvgOverhead", 1999);
    QTest::newRow("receive total") << kbps(bitrateSum(stats, Direction::Receive, false, AllParts)) << "77.6 kbps";
    QTest::newRow("receive overhead") << kbps(bitrateSum(stats, Direction::Receive, false, Overhead | Rtcp))
                                      << "13.6 kbps";
    // Sums just below a tenth: a missing part counts nothing at all.
    QTest::newRow("averaged, overhead missing") << kbps(bitrateSum(stats, Direction::Receive, true, AllParts))
                                                << "1.9 kbps";
    QTest::newRow("averaged, payload and RTCP missing")
        << kbps(bitrateSum(stats, Direction::Transmit, true, AllParts)) << "1.9 kbps";
    QTest::newRow("transmit payload") << kbps(bitrateSum(stats, Direction::Transmit, false, Payload))
                                      << "128.0 kbps";
    QTest::newRow("transmit averaged overhead") << kbps(bitrateSum(stats, Direction::Transmit, true, Overhead))
                                                << "1.9 kbps";
}

void TestStatsFormat::formats()
{
    QFETCH(QString, text);
    QFETCH(QString, expected);
    QCOMPARE(text, expected);
}

QTEST_APPLESS_MAIN(TestStatsFormat)
#include "test_statsformat.moc"
