#include "callstats.h"

#include "randomwalk.h"

#include <algorithm>
#include <utility>

namespace {

const uint32_t kRtcpBitrate = 800;
// Packet headers add about a fifth to an audio stream.
const int kOverheadPercent = 20;
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
    return randomwalk::wander(m_random, centre, spread);
}

int CallStats::drift(int value, int step, int lo, int hi)
{
    return randomwalk::drift(m_random, value, step, lo, hi);
}

bool CallStats::oneIn(int n)
{
    return randomwalk::oneIn(m_random, n);
}

uint32_t CallStats::rate(uint32_t bitrate, int permille)
{
    return randomwalk::rate(m_random, bitrate, permille);
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
            startBurst(flow.peerId, std::uniform_int_distribution<int>(kBurstMinPeriods, kBurstMaxPeriods)(m_random));
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
        peer.set_bool("newData", !(std::exchange(state.dropout, false) || (burst ? oneIn(3) : oneIn(kNoDataOneIn))));
    }
    return stats;
}

void CallStats::startBurst(int peerId, int periods)
{
    PeerState& state = stateOf(peerId);
    state.burst = periods;
    state.dropout = true;
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
