#ifndef STATSFORMAT_H
#define STATSFORMAT_H

#include <QString>

#include <cstdint>

class Params;

// How every statistics screen writes the backend's numbers: delays come in tenths of a
// millisecond, rates in tenths of a percent, bit rates in bits per second, durations in seconds
// and data totals in kilobytes. All digits are truncated, never rounded.
namespace StatsFormat {

enum class Direction { Receive, Transmit };

// The parts of a direction's bit rate; a sum names them with |.
enum BitrateParts : unsigned { Payload = 1, Overhead = 2, Rtcp = 4, AllParts = Payload | Overhead | Rtcp };

// "%1.%2": value / unit and the first digit of the remainder (unit a power of ten, at least 10),
// without its sign.
QString decimal(int64_t value, int64_t unit);

QString milliseconds(int tenths);
QString percent(uint32_t tenths);
QString kbps(uint64_t bitsPerSecond);
QString duration(uint32_t seconds);
QString dataTotal(uint32_t kilobytes);

// The sum of the chosen parts of one direction's bit rate ("rxPayload", "txAvgRTCP"...), missing
// parts counting 0.
uint64_t bitrateSum(const Params& stats, Direction direction, bool averaged, unsigned parts);

} // namespace StatsFormat

#endif
