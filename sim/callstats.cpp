#include "callstats.h"

#include <algorithm>

namespace {

const uint32_t kRtcpBitrate = 800;
// Packet headers add about a fifth to an audio stream.
const int kOverheadPercent = 20;
// Now and then a network hiccups: losses beyond what the tunnel can hide, or a throttled codec.
const int kHiccupOneIn = 25;
// A loss burst starts about once a minute at one period a second and lasts a few periods.
const int kBurstOneIn = 60;
const int kBurstMinPeriods = 3;
const int kBurstMaxPeriods = 8;
// A period without a new packet, outside bursts.
const int kNoDataOneIn = 40;
// How fast the jitter buffer grows in a burst and shrinks back after it, per period.
const int kBufferPull = 40;
// Averaged rates close a quarter of the distance to the plain rate each period.
const int kAverageLag = 4;

} // namespace

CallStats::CallStats(std::mt19937& random) : m_random(random)
{
}

int CallStats::wander(int centre, int spread)
{
    std::uniform_int_distribution<int> offset(-spread, spread);
    return std::max(0, centre + offset(m_random));
}

int CallStats::drift(int value, int step, int lo, int hi)
{
    std::uniform_int_distribution<int> offset(-step, step);
    return std::clamp(value + offset(m_random), lo, hi);
}

bool CallStats::oneIn(int n)
{
    return std::uniform_int_distribution<int>(1, n)(m_random) == 1;
}

// The bit rate give or take `permille` thousandths.
uint32_t CallStats::rate(uint32_t bitrate, int permille)
{
    std::uniform_int_distribution<int> offset(-permille, permille);
    return static_cast<uint32_t>(static_cast<int64_t>(bitrate) * (1000 + offset(m_random)) / 1000);
}

CallStats::Bitrates CallStats::profileBitrates(const Message* profile, const Message* codecList, uint32_t fallback)
{
    const auto encoderRate = [&](const char* side, uint32_t unknown) {
        const Message* encoder = profile ? profile->find_child(side) : nullptr;
        const std::string id = encoder ? encoder->params().get_string("encoder", "") : std::string();
        for (unsigned int i = 0; codecList && i < codecList->num_children("codec"); ++i) {
            const Params& codec = codecList->get_child("codec", i).params();
            if (codec.get_string("id", "") == id)
                return codec.get_uint("bitrate", unknown);
        }
        return unknown;
    };
    Bitrates rates;
    rates.tx = encoderRate("local", fallback);
    rates.rx = encoderRate("remote", rates.tx);
    return rates;
}

CallStats::PeerState& CallStats::stateOf(int peerId)
{
    const auto found = m_peers.find(peerId);
    if (found != m_peers.end())
        return found->second;
    PeerState& fresh = m_peers[peerId];
    fresh.desiredDelay = wander(400, 150);
    fresh.bufferDelay = fresh.desiredDelay;
    fresh.spread = 100;
    fresh.rtt = wander(300, 200);
    fresh.delayOut = wander(450, 100);
    fresh.jitter = 50;
    return fresh;
}

Message CallStats::peerStats(const std::vector<Flow>& flows)
{
    // Remotes whose call has ended start afresh next time.
    std::map<int, PeerState> running;
    for (const Flow& flow : flows) {
        const auto found = m_peers.find(flow.peerId);
        if (found != m_peers.end())
            running.insert(*found);
    }
    m_peers.swap(running);

    Message stats("peer_stats");
    for (const Flow& flow : flows) {
        PeerState& state = stateOf(flow.peerId);
        if (state.burst > 0)
            --state.burst;
        else if (oneIn(kBurstOneIn))
            state.burst = std::uniform_int_distribution<int>(kBurstMinPeriods, kBurstMaxPeriods)(m_random);
        const bool burst = state.burst > 0;
        // The buffer grows during a burst and settles back on its desired delay afterwards.
        state.jitter = drift(state.jitter, 8, 10, burst ? 400 : 150);
        state.spread = drift(state.spread, 15, 30, burst ? 400 : 200);
        const int pull = burst ? kBufferPull : std::clamp((state.desiredDelay - state.bufferDelay) / 4, -kBufferPull, kBufferPull);
        state.bufferDelay = drift(state.bufferDelay + pull, 15, 100, 2000);
        state.rtt = drift(state.rtt, 20, 20, 3000);
        state.delayOut = drift(state.delayOut, 10, 100, 3000);

        Params& peer = stats.add_child("peer").params();
        peer.set_int("id", flow.peerId);
        peer.set_uint("callTime", flow.callSeconds);
        peer.set_int("delayOut", state.delayOut);
        peer.set_int("delayIn", state.bufferDelay + state.rtt / 2);
        peer.set_uint("frameLossRate", static_cast<uint32_t>(burst ? wander(120, 100) : wander(2, 2)));
        peer.set_uint("remoteLoss", static_cast<uint32_t>(burst ? wander(60, 50) : wander(2, 2)));
        const std::pair<const char*, uint32_t> directions[] = {{"rx", flow.rxBitrate}, {"tx", flow.txBitrate}};
        for (const auto& [direction, bitrate] : directions) {
            const std::string prefix = direction;
            peer.set_uint(prefix + "Payload", rate(bitrate, 20));
            peer.set_uint(prefix + "Overhead", rate(bitrate * kOverheadPercent / 100, 20));
            peer.set_uint(prefix + "RTCP", rate(kRtcpBitrate, 100));
        }
        peer.set_int("rtt", state.rtt);
        peer.set_int("bufferDelay", state.bufferDelay);
        peer.set_int("bufferDesiredDelay", state.desiredDelay);
        peer.set_int("bufferMinDelay", state.bufferDelay - state.spread / 2);
        peer.set_int("bufferMaxDelay", state.bufferDelay + state.spread / 2);
        peer.set_int("packetJitter", state.jitter);
        peer.set_int("bufferMaxDev", state.spread / 2 + wander(10, 10));
        for (const char* key : {"pktOutlierRate", "pktDupRate", "pktOOORate", "frameLateRate"})
            peer.set_uint(key, static_cast<uint32_t>(burst ? wander(20, 20) : wander(1, 1)));
        for (const char* key : {"insertRate", "corrUpRate", "corrDownRate"})
            peer.set_uint(key, static_cast<uint32_t>(burst ? wander(80, 60) : wander(2, 2)));
        peer.set_uint("pktRtxRate", static_cast<uint32_t>(burst ? wander(100, 80) : wander(5, 5)));
        peer.set_uint("effTxBitrate", rate(flow.txBitrate, 30));
        peer.set_uint("effRxBitrate", rate(burst ? flow.rxBitrate * 3 / 4 : flow.rxBitrate, 30));
        peer.set_bool("newData", !(burst ? oneIn(3) : oneIn(kNoDataOneIn)));
    }
    return stats;
}

Message CallStats::channelStats(const Message& channelList, const std::vector<Flow>& flows,
                                std::chrono::milliseconds period)
{
    Message stats("channel_stats");
    for (unsigned int i = 0; i < channelList.num_children("channel"); ++i) {
        const Params& channel = channelList.get_child("channel", i).params();
        const std::string id = channel.get_string("id", "");
        uint32_t nominalRx = 0;
        uint32_t nominalTx = 0;
        for (const Flow& flow : flows) {
            if (flow.channel == id) {
                nominalRx += flow.rxBitrate;
                nominalTx += flow.txBitrate;
            }
        }
        Params& out = stats.add_child("channel").params();
        out.set_string("id", id);
        out.set_string("name", channel.get_string("descr", id));
        Averages& averages = m_averages[id];
        const std::pair<const char*, uint32_t> directions[] = {{"rx", nominalRx}, {"tx", nominalTx}};
        for (const auto& [direction, nominal] : directions) {
            const std::string prefix = direction;
            const std::pair<const char*, uint32_t> parts[] = {
                {"Payload", nominal ? rate(nominal, 20) : 0},
                {"Overhead", nominal ? rate(nominal * kOverheadPercent / 100, 20) : 0},
                {"RTCP", nominal ? rate(kRtcpBitrate, 100) : 0}};
            uint64_t sent = 0;
            for (const auto& [part, value] : parts) {
                out.set_uint(prefix + part, value);
                uint32_t& average = averages[prefix + part];
                average = static_cast<uint32_t>(average + (int64_t(value) - int64_t(average)) / kAverageLag);
                out.set_uint(prefix + "Avg" + part, average);
                sent += value;
            }
            uint64_t& bytes = (prefix == "rx" ? m_rxBytes : m_txBytes)[id];
            bytes += sent * static_cast<uint64_t>(period.count()) / 8000;
            out.set_uint(prefix + "Total", static_cast<uint32_t>(bytes / 1024));
        }
    }
    return stats;
}

void CallStats::describeConnections(const Session& session, Message& sess)
{
    for (const Link& link : session.links) {
        Params& conn = sess.add_child("conn").params();
        conn.set_int("li", link.id);
        conn.set_int("ri", link.id);
        conn.set_string("ldesc", link.description);
        conn.set_string("rdesc", "Far " + link.description);
        conn.set_string("name", link.name);
    }
}

Message CallStats::tunStats(const Session* session)
{
    Message stats("tun_stats");
    if (!session)
        return stats;

    std::uniform_int_distribution<int> hiccup(1, kHiccupOneIn);
    const bool throttled = hiccup(m_random) == 1;
    const bool lossy = hiccup(m_random) == 1;
    Params& txCodec = stats.add_child("codec").add_child("enc").params();
    txCodec.set_uint("nbr", session->bitrate);
    txCodec.set_uint("tbr", throttled ? session->bitrate * 3 / 4 : 0);

    Message& sess = stats.add_child("sess");
    Params& params = sess.params();
    params.set_int("sid", session->sid);
    params.set_string("addr", session->addr);
    params.set_int("dm", session->maxDelayMs);
    params.set_int("rdm", session->maxDelayMs);
    for (const char* direction : {"", "r"}) {
        const std::string prefix = direction;
        params.set_int(prefix + "d", wander(120, 30));
        for (int point = 1; point <= 5; ++point)
            params.set_int(prefix + "d" + std::to_string(point), wander(20 * point + 20, 5));
        params.set_bool(prefix + "dma", true);
        params.set_int(prefix + "pl", lossy ? wander(140, 20) : wander(8, 8));
        params.set_int(prefix + "plt", wander(5, 5));
        params.set_int(prefix + "pr", wander(10, 10));
    }
    Params& rxCodec = sess.add_child("codec").add_child("enc").params();
    rxCodec.set_uint("nbr", session->bitrate);
    rxCodec.set_uint("tbr", 0);

    describeConnections(*session, sess);
    const uint32_t share = session->links.empty() ? 0 : session->bitrate / static_cast<uint32_t>(session->links.size());
    for (unsigned int i = 0; i < sess.num_children("conn"); ++i) {
        Params& conn = sess.get_child("conn", i).params();
        for (const char* direction : {"", "r"}) {
            const std::string prefix = direction;
            conn.set_int(prefix + "th", 5000000);
            conn.set_int(prefix + "td", static_cast<int>(rate(share / 50, 200)));
            conn.set_int(prefix + "tp", static_cast<int>(rate(share, 100)));
            conn.set_int(prefix + "tf", static_cast<int>(rate(share / 10, 200)));
            conn.set_int(prefix + "tr", static_cast<int>(rate(share / 20, 300)));
            conn.set_int(prefix + "d", wander(90, 30));
            conn.set_int(prefix + "dm", session->maxDelayMs);
            conn.set_int(prefix + "dq", wander(80, 15));
            conn.set_int(prefix + "pl", wander(6, 6));
        }
    }
    return stats;
}
