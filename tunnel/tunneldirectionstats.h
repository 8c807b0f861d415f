#ifndef TUNNELDIRECTIONSTATS_H
#define TUNNELDIRECTIONSTATS_H

#include <array>
#include <string>

class LossLateRecoveryGrapher;
class Message;
class Params;
class UtilizationGrapher;

// One direction of a tunnel session: its delay settings, its packet rates (tenths of a percent)
// and its codec's bit rates. The transmit direction reads the plain keys of a "sess", the
// receive direction the same keys with an "r" in front.
struct TunnelDirectionStats {
    static constexpr int kDelayPoints = 5;

    int max_packet_delay = 0;
    int max_allowed_delay = 0;
    bool delay_mode_auto = false;
    std::array<int, kDelayPoints> delay_points{};
    int packet_loss_rate = 0;
    int packet_late_rate = 0;
    int packet_recovery_rate = 0;
    // Created by the statistics screen when it first shows a session; owned by their placeholders.
    UtilizationGrapher* utilization_graph = nullptr;
    LossLateRecoveryGrapher* loss_graph = nullptr;
    int nominal_bitrate = 0;
    int throttled_bitrate = 0;
    bool throttled = false;

    // Delays from a "sess" with this direction's key prefix; true when any value changed.
    bool readDelays(const Params& sess, const std::string& prefix);
    void readRates(const Params& sess, const std::string& prefix);
    // Bit rates from a "codec"; a "codec" without "enc" changes nothing.
    void readCodec(const Message& codec);
    // Loss or late above 10% (100 itself is still acceptable).
    bool lossy() const;
    void log() const;
};

#endif
