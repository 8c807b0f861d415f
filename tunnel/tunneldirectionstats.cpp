#include "tunneldirectionstats.h"

#include "message.h"
#include "tunnellog.h"

namespace {
// Loss and late rates are in tenths of a percent: above 10% the tunnel cannot hide them.
constexpr int kLossThreshold = 100;
constexpr int kBitsPerKilobit = 1000;

// Stores `value` into `field`; true when that changed it.
template <typename T>
bool assign(T& field, T value)
{
    if (field == value)
        return false;
    field = value;
    return true;
}
} // namespace

bool TunnelDirectionStats::readDelays(const Params& sess, const std::string& prefix)
{
    bool changed = assign(max_packet_delay, sess.get_int(prefix + "d", 0));
    changed |= assign(max_allowed_delay, sess.get_int(prefix + "dm", 0));
    int number = 0;
    for (int& point : delay_points)
        changed |= assign(point, sess.get_int(prefix + "d" + std::to_string(++number), 0));
    changed |= assign(delay_mode_auto, sess.get_bool(prefix + "dma", false));
    return changed;
}

void TunnelDirectionStats::readRates(const Params& sess, const std::string& prefix)
{
    packet_loss_rate = sess.get_int(prefix + "pl", 0);
    packet_late_rate = sess.get_int(prefix + "plt", 0);
    packet_recovery_rate = sess.get_int(prefix + "pr", 0);
}

void TunnelDirectionStats::readCodec(const Message& codec)
{
    codec._dump(LOG_DEBUG, 0, 1);
    const Message* enc = codec.find_child("enc");
    if (!enc)
        return;
    nominal_bitrate = enc->params().get_int("nbr", 0) / kBitsPerKilobit;
    throttled_bitrate = enc->params().get_int("tbr", 0) / kBitsPerKilobit;
    throttled = throttled_bitrate != 0 && throttled_bitrate < nominal_bitrate;
    g_log.log(LOG_DEBUG, "  nominal_bitrate = %d", nominal_bitrate);
    g_log.log(LOG_DEBUG, "throttled_bitrate = %d", throttled_bitrate);
    g_log.log(LOG_DEBUG, "        throttled = %s", tunnellog::text(throttled));
}

bool TunnelDirectionStats::lossy() const
{
    return packet_loss_rate > kLossThreshold || packet_late_rate > kLossThreshold;
}

void TunnelDirectionStats::log() const
{
    g_log.log(LOG_DEBUG, "    max_packet_delay = %d", max_packet_delay);
    g_log.log(LOG_DEBUG, "   max_allowed_delay = %d", max_allowed_delay);
    g_log.log(LOG_DEBUG, "     delay_mode_auto = %s", tunnellog::text(delay_mode_auto));
    g_log.log(LOG_DEBUG, "  delay_points[0..4] = %d %d %d %d %d", delay_points[0], delay_points[1], delay_points[2],
              delay_points[3], delay_points[4]);
    g_log.log(LOG_DEBUG, "    packet_loss_rate = %d", packet_loss_rate);
    g_log.log(LOG_DEBUG, "    packet_late_rate = %d", packet_late_rate);
    g_log.log(LOG_DEBUG, "packet_recovery_rate = %d", packet_recovery_rate);
}
