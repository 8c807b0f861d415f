#include "tunnelstats.h"

#include "randomwalk.h"

#include <algorithm>
#include <array>
#include <numeric>

namespace {

struct FarInterface {
    int id;
    const char* description;
};
// The far end of a Braid call has a fixed line and a mobile one.
const std::array<FarInterface, 2> kFarInterfaces = {{{1, "Far Fibre"}, {2, "Far LTE"}}};
const std::size_t kMaxConnections = 4;
// The delay slider's range and the shortest delay the tunnel accepts, in ms.
const int kDelayRange = 500;
const int kMinDelay = 10;
const int kThrottleRate = 5000000;
// Redundancy and headers: the networks carry about a third more than the codec sends.
const uint32_t kCarriedPercent = 130;
// Phases, in periods: how often one starts while calm, and how long it lasts.
const int kThrottleOneIn = 30;
const int kLossOneIn = 40;
const int kDropOneIn = 45;
const int kDownPeriods = 8;
// Loss and late rates are in tenths of a percent; 100 is where the unit turns red.
const int kCalmLossMax = 60;
const int kCalmLateMax = 40;

} // namespace

TunnelStats::TunnelStats(std::mt19937& random) : m_random(random)
{
}

std::vector<TunnelStats::Connection> TunnelStats::connectionsOf(const Session& session)
{
    std::vector<Connection> connections;
    const auto add = [&](const Link& link, const FarInterface& far) {
        if (connections.size() < kMaxConnections)
            connections.push_back({link.id, far.id, link.description, far.description, link.name});
    };
    for (const Link& link : session.links)
        add(link, kFarInterfaces[0]);
    if (!session.links.empty())
        add(session.links.front(), kFarInterfaces[1]);
    return connections;
}

std::vector<TunnelStats::Connection> TunnelStats::upConnections(const Session& session) const
{
    std::vector<Connection> up;
    for (const Connection& connection : connectionsOf(session)) {
        const auto state = m_connections.find(connection.uid());
        if (session.sid != m_sid || state == m_connections.end() || state->second.downPeriods == 0)
            up.push_back(connection);
    }
    return up;
}

void TunnelStats::describeConnections(const Session& session, Message& sess) const
{
    for (const Connection& connection : upConnections(session)) {
        Params& conn = sess.add_child("conn").params();
        conn.set_int("li", connection.li);
        conn.set_int("ri", connection.ri);
        conn.set_string("ldesc", connection.ldesc);
        conn.set_string("rdesc", connection.rdesc);
        conn.set_string("name", connection.name);
    }
}

void TunnelStats::start(const Session& session)
{
    m_sid = session.sid;
    m_tx = Direction();
    m_tx.maxAllowed = std::clamp(session.maxDelayMs, kMinDelay, kDelayRange);
    m_tx.automatic = false;
    m_rx = m_tx;
    m_connections.clear();
    int index = 0;
    for (const Connection& connection : connectionsOf(session)) {
        ConnectionState& state = m_connections[connection.uid()];
        state.weight = randomwalk::wander(m_random, 50, 20) + 10;
        state.delay = 20 + 30 * index++;
    }
    m_phase = Phase::Calm;
    m_phaseLeft = 0;
}

bool TunnelStats::throttled() const
{
    return m_health == Health::Yellow || (m_health == Health::Phases && m_phase == Phase::Throttled);
}

bool TunnelStats::lossy() const
{
    return m_health == Health::Red || (m_health == Health::Phases && m_phase == Phase::Lossy);
}

void TunnelStats::advance(const Session& session)
{
    if (m_phaseLeft > 0 && --m_phaseLeft == 0)
        m_phase = Phase::Calm;
    if (m_health == Health::Phases && m_phase == Phase::Calm) {
        if (randomwalk::oneIn(m_random, kThrottleOneIn)) {
            m_phase = Phase::Throttled;
            m_phaseLeft = randomwalk::wander(m_random, 6, 2);
        } else if (randomwalk::oneIn(m_random, kLossOneIn)) {
            m_phase = Phase::Lossy;
            m_phaseLeft = randomwalk::wander(m_random, 4, 1);
        } else if (randomwalk::oneIn(m_random, kDropOneIn)) {
            const std::size_t up = upConnections(session).size();
            std::string uid;
            // The tunnel keeps at least two connections of its own accord.
            if (up > 2)
                dropConnection(session, std::uniform_int_distribution<std::size_t>(0, up - 1)(m_random), uid);
        }
    }
    for (auto& [uid, state] : m_connections) {
        if (state.downPeriods > 0)
            --state.downPeriods;
        state.weight = randomwalk::drift(m_random, state.weight, 8, 10, 100);
        state.delay = randomwalk::drift(m_random, state.delay, 6, 10, 200);
        state.loss = randomwalk::drift(m_random, state.loss, 3, 0, 30);
    }
    advanceDirection(m_tx, lossy());
    advanceDirection(m_rx, lossy());
}

void TunnelStats::advanceDirection(Direction& direction, bool lossy)
{
    direction.packetDelay = randomwalk::drift(m_random, direction.packetDelay, 15, 60, 300);
    if (direction.automatic)
        direction.maxAllowed = delayPoint(direction, 3);
    direction.loss = lossy ? randomwalk::wander(m_random, 150, 30) : randomwalk::drift(m_random, direction.loss, 4, 0, kCalmLossMax);
    direction.late = lossy ? randomwalk::wander(m_random, 60, 20) : randomwalk::drift(m_random, direction.late, 3, 0, kCalmLateMax);
    direction.recovery = lossy ? randomwalk::wander(m_random, 90, 30) : randomwalk::drift(m_random, direction.recovery, 4, 0, kCalmLossMax);
}

// The zones of the delay slider follow the packet delay: too short, short, just right, long,
// and the rest of the range.
int TunnelStats::delayPoint(const Direction& direction, int point) const
{
    const int delay = direction.packetDelay;
    const std::array<int, 5> points = {delay / 2, delay * 3 / 4, delay, delay * 3 / 2, kDelayRange};
    return std::clamp(points[std::size_t(point)], kMinDelay, kDelayRange);
}

void TunnelStats::writeDirection(const Direction& direction, const std::string& prefix, Params& sess) const
{
    sess.set_int(prefix + "d", direction.packetDelay);
    sess.set_int(prefix + "dm", direction.maxAllowed);
    for (int point = 0; point < 5; ++point)
        sess.set_int(prefix + "d" + std::to_string(point + 1), delayPoint(direction, point));
    sess.set_bool(prefix + "dma", direction.automatic);
    sess.set_int(prefix + "pl", direction.loss);
    sess.set_int(prefix + "plt", direction.late);
    sess.set_int(prefix + "pr", direction.recovery);
}

void TunnelStats::writeConnection(const Connection& connection, uint32_t total, int totalWeight, Params& conn)
{
    const ConnectionState& state = m_connections[connection.uid()];
    const uint32_t share = totalWeight ? static_cast<uint32_t>(uint64_t(total) * uint32_t(state.weight) / uint32_t(totalWeight)) : 0;
    for (const auto& [prefix, direction] : {std::make_pair("", &m_tx), std::make_pair("r", &m_rx)}) {
        const std::string p = prefix;
        conn.set_int(p + "th", kThrottleRate);
        conn.set_int(p + "td", static_cast<int>(randomwalk::rate(m_random, share / 50, 200)));
        conn.set_int(p + "tp", static_cast<int>(randomwalk::rate(m_random, share, 100)));
        conn.set_int(p + "tf", static_cast<int>(randomwalk::rate(m_random, share / 10, 200)));
        conn.set_int(p + "tr", static_cast<int>(randomwalk::rate(m_random, share / 20, 300)));
        conn.set_int(p + "d", randomwalk::wander(m_random, state.delay, 10));
        conn.set_int(p + "dm", direction->maxAllowed);
        conn.set_int(p + "dq", randomwalk::wander(m_random, state.delay * 2 / 3, 5));
        conn.set_int(p + "pl", randomwalk::wander(m_random, state.loss, 3));
    }
}

Message TunnelStats::tunStats(const Session& session)
{
    if (session.sid != m_sid)
        start(session);
    advance(session);

    Message stats("tun_stats");
    Params& txCodec = stats.add_child("codec").add_child("enc").params();
    txCodec.set_uint("nbr", session.bitrate);
    txCodec.set_uint("tbr", throttled() ? session.bitrate * 3 / 4 : 0);

    Message& sess = stats.add_child("sess");
    Params& params = sess.params();
    params.set_int("sid", session.sid);
    params.set_string("addr", session.addr);
    params.set_int("dm", m_tx.maxAllowed);
    params.set_int("rdm", m_rx.maxAllowed);
    writeDirection(m_tx, "", params);
    writeDirection(m_rx, "r", params);
    Params& rxCodec = sess.add_child("codec").add_child("enc").params();
    rxCodec.set_uint("nbr", session.bitrate);
    rxCodec.set_uint("tbr", 0);

    describeConnections(session, sess);
    const std::vector<Connection> up = upConnections(session);
    const int totalWeight = std::accumulate(up.begin(), up.end(), 0, [this](int sum, const Connection& connection) {
        return sum + m_connections[connection.uid()].weight;
    });
    const uint32_t total = static_cast<uint32_t>(uint64_t(session.bitrate) * kCarriedPercent / 100);
    for (unsigned int i = 0; i < sess.num_children("conn"); ++i)
        writeConnection(up[i], total, totalWeight, sess.get_child("conn", i).params());
    return stats;
}

Message TunnelStats::tunConns(const Session& session, const Message& statusSess) const
{
    Message conns("tun_conns");
    Message& sess = conns.add_child(statusSess);
    sess.remove_children("conn");
    describeConnections(session, sess);
    sess.params().set_int("active_conns", static_cast<int>(sess.num_children("conn")));
    return conns;
}

bool TunnelStats::setMaxDelay(const Session& session, bool remote, bool automatic, const Params& request,
                              std::string& error)
{
    if (session.sid != m_sid)
        start(session);
    if (!automatic && !request.has_param("delay")) {
        error = "a delay is needed outside automatic mode";
        return false;
    }
    Direction& direction = remote ? m_rx : m_tx;
    direction.automatic = automatic;
    direction.maxAllowed = automatic ? delayPoint(direction, 3)
                                     : std::clamp(request.get_int("delay", 0), kMinDelay, kDelayRange);
    return true;
}

bool TunnelStats::dropConnection(const Session& session, std::size_t position, std::string& uid)
{
    if (session.sid != m_sid)
        start(session);
    const std::vector<Connection> up = upConnections(session);
    if (position >= up.size())
        return false;
    uid = up[position].uid();
    m_connections[uid].downPeriods = kDownPeriods;
    return true;
}
