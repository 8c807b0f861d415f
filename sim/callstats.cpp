#include "callstats.h"

#include <algorithm>

namespace {

const uint32_t kRtcpBitrate = 800;
// Packet headers add about a fifth to an audio stream.
const int kOverheadPercent = 20;
// Now and then a network hiccups: losses beyond what the tunnel can hide, or a throttled codec.
const int kHiccupOneIn = 25;

} // namespace

CallStats::CallStats(std::mt19937& random) : m_random(random)
{
}

int CallStats::wander(int centre, int spread)
{
    std::uniform_int_distribution<int> offset(-spread, spread);
    return std::max(0, centre + offset(m_random));
}

// The bit rate give or take `permille` thousandths.
uint32_t CallStats::rate(uint32_t bitrate, int permille)
{
    std::uniform_int_distribution<int> offset(-permille, permille);
    return static_cast<uint32_t>(static_cast<int64_t>(bitrate) * (1000 + offset(m_random)) / 1000);
}

Message CallStats::peerStats(const std::vector<Flow>& flows)
{
    Message stats("peer_stats");
    for (const Flow& flow : flows) {
        Params& peer = stats.add_child("peer").params();
        const int bufferDelay = wander(400, 40);
        peer.set_int("id", flow.peerId);
        peer.set_uint("callTime", flow.callSeconds);
        peer.set_int("delayOut", wander(450, 30));
        peer.set_int("delayIn", wander(600, 40));
        peer.set_uint("frameLossRate", static_cast<uint32_t>(wander(4, 4)));
        peer.set_uint("remoteLoss", static_cast<uint32_t>(wander(3, 3)));
        for (const char* direction : {"rx", "tx"}) {
            const std::string prefix = direction;
            peer.set_uint(prefix + "Payload", rate(flow.bitrate, 20));
            peer.set_uint(prefix + "Overhead", rate(flow.bitrate * kOverheadPercent / 100, 20));
            peer.set_uint(prefix + "RTCP", rate(kRtcpBitrate, 100));
        }
        peer.set_int("rtt", wander(300, 50));
        peer.set_int("bufferDelay", bufferDelay);
        peer.set_int("bufferDesiredDelay", 400);
        peer.set_int("bufferMinDelay", bufferDelay - wander(50, 10));
        peer.set_int("bufferMaxDelay", bufferDelay + wander(60, 10));
        peer.set_int("packetJitter", wander(50, 20));
        peer.set_int("bufferMaxDev", wander(80, 20));
        for (const char* key : {"pktOutlierRate", "pktDupRate", "pktOOORate", "frameLateRate", "insertRate",
                                "corrUpRate", "corrDownRate"})
            peer.set_uint(key, static_cast<uint32_t>(wander(2, 2)));
        peer.set_uint("pktRtxRate", static_cast<uint32_t>(wander(5, 5)));
        peer.set_uint("effTxBitrate", rate(flow.bitrate, 30));
        peer.set_uint("effRxBitrate", rate(flow.bitrate, 30));
        peer.set_bool("newData", true);
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
        uint32_t nominal = 0;
        for (const Flow& flow : flows) {
            if (flow.channel == id)
                nominal += flow.bitrate;
        }
        Params& out = stats.add_child("channel").params();
        out.set_string("id", id);
        out.set_string("name", channel.get_string("descr", id));
        for (const char* direction : {"rx", "tx"}) {
            const std::string prefix = direction;
            const uint32_t payload = nominal ? rate(nominal, 20) : 0;
            const uint32_t overhead = nominal ? rate(nominal * kOverheadPercent / 100, 20) : 0;
            const uint32_t rtcp = nominal ? rate(kRtcpBitrate, 100) : 0;
            out.set_uint(prefix + "Payload", payload);
            out.set_uint(prefix + "Overhead", overhead);
            out.set_uint(prefix + "RTCP", rtcp);
            // The averages sit on the nominal rates the instantaneous ones wander around.
            out.set_uint(prefix + "AvgPayload", nominal);
            out.set_uint(prefix + "AvgOverhead", nominal * kOverheadPercent / 100);
            out.set_uint(prefix + "AvgRTCP", nominal ? kRtcpBitrate : 0);
            uint64_t& bytes = (prefix == "rx" ? m_rxBytes : m_txBytes)[id];
            bytes += uint64_t(payload + overhead + rtcp) * static_cast<uint64_t>(period.count()) / 8000;
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
