#ifndef SIM_TUNNELSTATS_H
#define SIM_TUNNELSTATS_H

#include "message.h"

#include <cstdint>
#include <map>
#include <random>
#include <string>
#include <vector>

// What a Braid tunnel session measures while a call runs over it: per connection the rates,
// delays and losses of both directions, per direction the packet delay with its zones and the
// maximum allowed delay (set by the operator or, in automatic mode, by the unit), the loss, late
// and recovery rates, and the codec's bit rates. Left to itself the tunnel goes through phases:
// calm, a throttled codec, losses the tunnel cannot hide, a connection that drops and comes back.
class TunnelStats {
public:
    // One network of the unit the tunnel can use.
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
    // How the tunnel's health goes: through its phases, or held by the console.
    enum class Health { Phases, Green, Yellow, Red };

    explicit TunnelStats(std::mt19937& random);

    // Adds the connections that are up to a "sess": every network to the far end's first
    // interface, the first network also to its second, four at the most.
    void describeConnections(const Session& session, Message& sess) const;
    // One period of "tun_stats" for the session; a new sid starts from calm.
    Message tunStats(const Session& session);
    // "tun_conns": the status's "sess" with the connections that are up.
    Message tunConns(const Session& session, const Message& statusSess) const;

    // The operator's maximum delay for one direction of the session (`remote`: the receive
    // direction); false with a reason when the delay is missing outside automatic mode.
    bool setMaxDelay(const Session& session, bool remote, bool automatic, const Params& request, std::string& error);

    void setHealth(Health health) { m_health = health; }
    // Takes connection `position` (0 = first) down for a while; false when there is none.
    bool dropConnection(const Session& session, std::size_t position, std::string& uid);

private:
    struct Direction {
        int maxAllowed = 0;
        bool automatic = true;
        int packetDelay = 120;
        int loss = 10;
        int late = 5;
        int recovery = 8;
    };
    struct Connection {
        int li = 0;
        int ri = 0;
        std::string ldesc;
        std::string rdesc;
        std::string name;
        std::string uid() const { return std::to_string(li) + ":" + std::to_string(ri); }
    };
    struct ConnectionState {
        int weight = 50;
        int delay = 40;
        int loss = 5;
        int downPeriods = 0;
    };
    enum class Phase { Calm, Throttled, Lossy };

    static std::vector<Connection> connectionsOf(const Session& session);
    std::vector<Connection> upConnections(const Session& session) const;
    void start(const Session& session);
    void advance(const Session& session);
    void advanceDirection(Direction& direction, bool lossy);
    void writeDirection(const Direction& direction, const std::string& prefix, Params& sess) const;
    void writeConnection(const Connection& connection, uint32_t total, int totalWeight, Params& conn);
    bool throttled() const;
    bool lossy() const;
    int delayPoint(const Direction& direction, int point) const;

    std::mt19937& m_random;
    int m_sid = 0;
    Direction m_tx;
    Direction m_rx;
    std::map<std::string, ConnectionState> m_connections;
    Phase m_phase = Phase::Calm;
    int m_phaseLeft = 0;
    Health m_health = Health::Phases;
};

#endif
