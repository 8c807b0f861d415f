#ifndef SIM_CALLSTATS_H
#define SIM_CALLSTATS_H

#include "message.h"

#include <chrono>
#include <cstdint>
#include <map>
#include <random>
#include <string>
#include <vector>

// The statistics a unit pushes while its calls run: believable values that wander a little from
// one period to the next, and channel totals that grow with the traffic.
class CallStats {
public:
    // One call with audio flowing.
    struct Flow {
        int peerId = 0;
        std::string channel;
        uint32_t callSeconds = 0;
        uint32_t bitrate = 0;
    };
    // One network the tunnel spreads its call over.
    struct Link {
        int id = 0;
        std::string name;
        std::string description;
    };
    // The session a Braid call runs in.
    struct Session {
        int sid = 0;
        std::string addr;
        int maxDelayMs = 0;
        uint32_t bitrate = 0;
        std::vector<Link> links;
    };

    explicit CallStats(std::mt19937& random);

    // "peer_stats": one "peer" per flow.
    Message peerStats(const std::vector<Flow>& flows);
    // "channel_stats": every channel of the unit's list, with the traffic of the flows on it
    // over one period added to its totals.
    Message channelStats(const Message& channelList, const std::vector<Flow>& flows, std::chrono::milliseconds period);
    // "tun_stats" for the session, or without "sess" once the session has gone.
    Message tunStats(const Session* session);

    // Adds the session's connections to a "sess", as the tunnel's status describes them.
    static void describeConnections(const Session& session, Message& sess);

private:
    int wander(int centre, int spread);
    uint32_t rate(uint32_t bitrate, int permille);

    std::mt19937& m_random;
    std::map<std::string, uint64_t> m_rxBytes;
    std::map<std::string, uint64_t> m_txBytes;
};

#endif
