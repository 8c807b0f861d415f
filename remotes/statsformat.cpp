#include "statsformat.h"

#include "params.h"

#include <array>
#include <cstdlib>
#include <string>

namespace StatsFormat {

namespace {
constexpr uint32_t kSecondsPerMinute = 60;
constexpr uint32_t kSecondsPerHour = 3600;
constexpr uint32_t kSecondsPerDay = 86400;
// A total moves to the next unit only above 1024 of the current one.
constexpr uint64_t kUnitStep = 1024;
constexpr uint64_t kLargestInUnit = 1025;
const std::array<const char*, 5> kDataUnits = {"KB", "MB", "GB", "TB", "PB"};

QString twoDigits(uint32_t value)
{
    return QStringLiteral("%1").arg(value, 2, 10, QLatin1Char('0'));
}
} // namespace

QString decimal(int64_t value, int64_t unit)
{
    const auto tenth = static_cast<char>('0' + std::llabs((value % unit) / (unit / 10)));
    return QString::number(value / unit) + QLatin1Char('.') + QLatin1Char(tenth);
}

QString milliseconds(int tenths)
{
    return decimal(tenths, 10) + QStringLiteral(" ms");
}

QString percent(uint32_t tenths)
{
    return decimal(tenths, 10) + QLatin1Char('%');
}

QString kbps(uint64_t bitsPerSecond)
{
    return decimal(static_cast<int64_t>(bitsPerSecond), 1000) + QStringLiteral(" kbps");
}

QString duration(uint32_t seconds)
{
    const uint32_t days = seconds / kSecondsPerDay;
    const uint32_t hours = seconds / kSecondsPerHour - 24 * days;
    const uint32_t minutes = seconds / kSecondsPerMinute - 60 * (seconds / kSecondsPerHour);
    const QString clock = QStringLiteral("%1:%2:%3").arg(hours).arg(twoDigits(minutes)).arg(twoDigits(seconds % 60));
    return days ? QStringLiteral("%1d %2").arg(days).arg(clock) : clock;
}

QString dataTotal(uint32_t kilobytes)
{
    size_t unit = 0;
    uint64_t divisor = 1;
    while (unit + 1 < kDataUnits.size() && kilobytes / divisor >= kLargestInUnit) {
        divisor *= kUnitStep;
        ++unit;
    }
    const uint64_t whole = kilobytes / divisor;
    const uint64_t tenth = kilobytes % divisor * 10 / divisor;
    return QStringLiteral("%1.%2 %3").arg(whole).arg(tenth).arg(QLatin1String(kDataUnits[unit]));
}

uint64_t bitrateSum(const Params& stats, Direction direction, bool averaged, unsigned parts)
{
    const std::string prefix = std::string(direction == Direction::Receive ? "rx" : "tx") + (averaged ? "Avg" : "");
    uint64_t sum = 0;
    if (parts & Payload)
        sum += stats.get_uint(prefix + "Payload", 0);
    if (parts & Overhead)
        sum += stats.get_uint(prefix + "Overhead", 0);
    if (parts & Rtcp)
        sum += stats.get_uint(prefix + "RTCP", 0);
    return sum;
}

} // namespace StatsFormat
