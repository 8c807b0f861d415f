#include "callstats.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>

namespace {

using std::chrono::milliseconds;

// Every value the peer statistics screen shows or draws.
const char* const kPeerFields[] = {
    "id", "callTime", "delayOut", "delayIn", "frameLossRate", "remoteLoss", "rxPayload", "rxOverhead", "rxRTCP",
    "txPayload", "txOverhead", "txRTCP", "rtt", "bufferDelay", "bufferDesiredDelay", "packetJitter", "bufferMaxDev",
    "pktOutlierRate", "pktDupRate", "pktOOORate", "pktRtxRate", "frameLateRate", "insertRate", "corrUpRate",
    "corrDownRate", "effTxBitrate", "effRxBitrate", "bufferMinDelay", "bufferMaxDelay", "newData"};

CallStats::Flow flow(int peerId, const char* channel, uint32_t tx, uint32_t rx)
{
    CallStats::Flow flow;
    flow.peerId = peerId;
    flow.channel = channel;
    flow.txBitrate = tx;
    flow.rxBitrate = rx;
    return flow;
}

Message channelList(std::initializer_list<const char*> ids)
{
    Message list("channelList");
    for (const char* id : ids)
        list.add_child(Message("channel", Params((std::string("id=") + id + " descr=\"" + id + " link\"").c_str())));
    return list;
}

class Stats : public ::testing::Test {
protected:
    std::mt19937 m_random{7};
    CallStats m_stats{m_random};
};

} // namespace

TEST_F(Stats, EveryRemoteCarriesEveryFieldAtItsCodecRates)
{
    const Message stats = m_stats.peerStats({flow(1, "rtp_udp_mux", 256000, 128000), flow(4, "pots", 33600, 33600)});
    ASSERT_EQ(stats.num_children("peer"), 2u);
    for (unsigned int i = 0; i < 2; ++i) {
        const Params& peer = stats.get_child("peer", i).params();
        for (const char* field : kPeerFields)
            EXPECT_TRUE(peer.has_param(field)) << field;
    }
    const Params& studio = stats.get_child("peer", 0).params();
    EXPECT_EQ(studio.get_int("id", 0), 1);
    EXPECT_NEAR(studio.get_uint("txPayload", 0), 256000, 256000 / 50);
    EXPECT_NEAR(studio.get_uint("rxPayload", 0), 128000, 128000 / 50);
    EXPECT_NEAR(stats.get_child("peer", 1).params().get_uint("rxPayload", 0), 33600, 33600 / 50);
}

// Over ten minutes of one-second periods: delays walk instead of jumping, losses come in bursts,
// a few periods bring no new data, and the buffer's minimum never exceeds its maximum.
TEST_F(Stats, ValuesWanderWithBurstsAndGaps)
{
    int bursts = 0;
    int gaps = 0;
    int largestStep = 0;
    int previousDelay = -1;
    bool wasLossy = false;
    for (int period = 0; period < 600; ++period) {
        const Params peer = m_stats.peerStats({flow(2, "rtp_udp_mux", 128000, 128000)}).get_child("peer", 0).params();
        const int delay = peer.get_int("bufferDelay", 0);
        if (previousDelay >= 0)
            largestStep = std::max(largestStep, std::abs(delay - previousDelay));
        previousDelay = delay;
        const bool lossy = peer.get_uint("frameLossRate", 0) > 20;
        bursts += lossy && !wasLossy;
        wasLossy = lossy;
        gaps += !peer.get_bool("newData", true);
        EXPECT_LE(peer.get_int("bufferMinDelay", 0), peer.get_int("bufferMaxDelay", 0));
        EXPECT_LE(peer.get_uint("frameLossRate", 0), 1000u);
    }
    EXPECT_GT(largestStep, 0);
    EXPECT_LE(largestStep, 60);
    EXPECT_GE(bursts, 3);
    EXPECT_LE(bursts, 30);
    EXPECT_GE(gaps, 5);
    EXPECT_LE(gaps, 120);
}

TEST_F(Stats, ChannelsGrowTotalsAndAveragesFollow)
{
    const Message list = channelList({"rtp_udp_mux", "sip", "pots"});
    const std::vector<CallStats::Flow> flows = {flow(1, "rtp_udp_mux", 128000, 64000), flow(2, "rtp_udp_mux", 128000, 64000)};
    uint32_t lastTotal = 0;
    std::vector<uint32_t> averages;
    for (int period = 0; period < 30; ++period) {
        const Message stats = m_stats.channelStats(list, flows, milliseconds(1000));
        ASSERT_EQ(stats.num_children("channel"), 3u);
        const Params& mux = stats.get_child("channel", 0).params();
        EXPECT_EQ(mux.get_string("id", ""), "rtp_udp_mux");
        EXPECT_EQ(mux.get_string("name", ""), "rtp_udp_mux link");
        EXPECT_GT(mux.get_uint("txTotal", 0), lastTotal);
        lastTotal = mux.get_uint("txTotal", 0);
        averages.push_back(mux.get_uint("rxAvgPayload", 0));
        const Params& idle = stats.get_child("channel", 1).params();
        EXPECT_EQ(idle.get_uint("rxPayload", 1), 0u);
        EXPECT_EQ(idle.get_uint("rxTotal", 1), 0u);
    }
    // 256 kb/s for 30 s with a fifth of overhead: about 1100 KB.
    EXPECT_NEAR(lastTotal, 30 * 256000 * 1.2 / 8 / 1024, 40);
    // The average starts low and closes in on the 128 kb/s the two calls receive.
    EXPECT_LT(averages.front(), 64000u);
    EXPECT_NEAR(averages.back(), 128000, 128000 / 20);
}

TEST(ProfileBitrates, ComeFromTheCodecList)
{
    Message codecs("codecList");
    codecs.add_child(Message("codec", Params("id=aac bitrate:u=256000")));
    codecs.add_child(Message("codec", Params("id=opus bitrate:u=128000")));
    const auto profile = [](const char* local, const char* remote) {
        Message profile("profile");
        profile.add_child(Message("local", Params((std::string("encoder=") + local).c_str())));
        profile.add_child(Message("remote", Params((std::string("encoder=") + remote).c_str())));
        return profile;
    };
    const Message named = profile("aac", "opus");
    const Message following = profile("opus", "!follow");
    const Message unknown = profile("mp2", "!follow");
    const std::vector<std::tuple<const Message*, uint32_t, uint32_t>> cases = {
        {&named, 256000, 128000}, {&following, 128000, 128000}, {&unknown, 96000, 96000}, {nullptr, 96000, 96000}};
    for (const auto& [which, tx, rx] : cases) {
        const CallStats::Bitrates rates = CallStats::profileBitrates(which, &codecs, 96000);
        EXPECT_EQ(rates.tx, tx);
        EXPECT_EQ(rates.rx, rx);
    }
}
