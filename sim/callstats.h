#ifndef SIM_CALLSTATS_H
#define SIM_CALLSTATS_H

#include "message.h"

#include <chrono>
#include <cstdint>
#include <map>
#include <random>
#include <string>
#include <vector>

// The statistics a unit pushes while its calls run: believable values that wander from one period
// to the next (delays drift, losses come in bursts, now and then a period brings no new data),
// channel totals that grow with the traffic and averaged rates that follow the plain ones.
class CallStats {
public:
    // One call with audio flowing.
    struct Flow {
        int peerId = 0;
        std::string channel;
        uint32_t callSeconds = 0;
        // What the unit's encoder sends and what the far end's encoder sends, in bits per second.
        uint32_t txBitrate = 0;
        uint32_t rxBitrate = 0;
    };
    struct Bitrates {
        uint32_t tx = 0;
        uint32_t rx = 0;
    };
    explicit CallStats(std::mt19937& random);

    // The bit rates of a profile's encoders ("local" sends, "remote" receives) by the codec list's
    // "bitrate"; an encoder the list does not know sends `fallback`, and a far end that follows the
    // unit's choice sends what the unit sends.
    static Bitrates profileBitrates(const Message* profile, const Message* codecList, uint32_t fallback);

    // "peer_stats": one "peer" per flow. A remote's values carry on from its previous period.
    Message peerStats(const std::vector<Flow>& flows);
    // The remote's next `periods` periods are a loss burst, opening with one that brings no data.
    void startBurst(int peerId, int periods);
    // "channel_stats": every channel of the unit's list, with the traffic of the flows on it
    // over one period added to its totals.
    Message channelStats(const Message& channelList, const std::vector<Flow>& flows, std::chrono::milliseconds period);

private:
    // Where a remote's statistics stand, carried from one period to the next.
    struct PeerState {
        int bufferDelay = 0;
        int desiredDelay = 0;
        int spread = 0;
        int rtt = 0;
        int delayOut = 0;
        int jitter = 0;
        // Periods left of a loss burst.
        int burst = 0;
        // The next period brings no new data.
        bool dropout = false;
    };
    // A channel's averaged bit rates, per direction and part.
    using Averages = std::map<std::string, uint32_t>;

    int wander(int centre, int spread);
    // One step of a random walk kept between lo and hi.
    int drift(int value, int step, int lo, int hi);
    bool oneIn(int n);
    uint32_t rate(uint32_t bitrate, int permille);
    PeerState& stateOf(int peerId);

    std::mt19937& m_random;
    std::map<int, PeerState> m_peers;
    std::map<std::string, Averages> m_averages;
    std::map<std::string, uint64_t> m_rxBytes;
    std::map<std::string, uint64_t> m_txBytes;
};

#endif
