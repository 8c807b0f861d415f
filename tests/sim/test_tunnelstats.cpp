// The Braid tunnel's statistics: its connections, its phases and health, the operator's delays.
#include "tunnelstats.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <set>

namespace {

TunnelStats::Session session(int links)
{
    TunnelStats::Session session;
    session.sid = 7;
    session.addr = "198.51.100.23";
    session.maxDelayMs = 400;
    session.bitrate = 128000;
    const char* names[] = {"eth0", "wlan0", "wwan0", "wlan1"};
    for (int i = 0; i < links; ++i)
        session.links.push_back({i + 1, names[i], std::string("Net ") + names[i]});
    return session;
}

const Params& sessOf(const Message& stats)
{
    return stats.get_child("sess", 0).params();
}

std::string uids(const Message& stats)
{
    std::string out;
    const Message& sess = stats.get_child("sess", 0);
    for (unsigned int i = 0; i < sess.num_children("conn"); ++i) {
        const Params& conn = sess.get_child("conn", i).params();
        out += (out.empty() ? "" : " ") + std::to_string(conn.get_int("li", 0)) + ":" + std::to_string(conn.get_int("ri", 0));
    }
    return out;
}

bool throttled(const Message& stats)
{
    const Params& enc = stats.get_child("codec", 0).get_child("enc", 0).params();
    return enc.get_int("tbr", 0) != 0 && enc.get_int("tbr", 0) < enc.get_int("nbr", 0);
}

bool lossy(const Message& stats)
{
    const Params& sess = sessOf(stats);
    for (const char* key : {"pl", "plt", "rpl", "rplt"}) {
        if (sess.get_int(key, 0) > 100)
            return true;
    }
    return false;
}

class Tunnel : public ::testing::Test {
protected:
    std::mt19937 m_random{1};
    TunnelStats m_stats{m_random};
};

} // namespace

TEST_F(Tunnel, TwoToFourConnectionsOverTheNetworks)
{
    const std::pair<int, const char*> cases[] = {{1, "1:1 1:2"}, {2, "1:1 2:1 1:2"}, {3, "1:1 2:1 3:1 1:2"},
                                                 {4, "1:1 2:1 3:1 4:1"}};
    for (const auto& [links, expected] : cases)
        EXPECT_EQ(uids(m_stats.tunStats(session(links))), expected) << links;
}

TEST_F(Tunnel, HealthHeldByTheConsole)
{
    const std::pair<TunnelStats::Health, std::pair<bool, bool>> cases[] = {
        {TunnelStats::Health::Green, {false, false}},
        {TunnelStats::Health::Yellow, {true, false}},
        {TunnelStats::Health::Red, {false, true}}};
    for (const auto& [health, expected] : cases) {
        m_stats.setHealth(health);
        for (int period = 0; period < 50; ++period) {
            const Message stats = m_stats.tunStats(session(3));
            ASSERT_EQ(throttled(stats), expected.first) << period;
            ASSERT_EQ(lossy(stats), expected.second) << period;
        }
    }
}

// Left to itself, over an hour of periods, the tunnel goes through every phase and its rates move.
TEST_F(Tunnel, PhasesOfItsOwn)
{
    int throttledPeriods = 0;
    int throttleRun = 0;
    int longestThrottle = 0;
    int lossyPeriods = 0;
    int shortOfConnections = 0;
    std::set<int> rates;
    std::set<int> recoveries;
    for (int period = 0; period < 3600; ++period) {
        const Message stats = m_stats.tunStats(session(3));
        throttleRun = throttled(stats) ? throttleRun + 1 : 0;
        throttledPeriods += throttled(stats);
        longestThrottle = std::max(longestThrottle, throttleRun);
        recoveries.insert(sessOf(stats).get_int("rpr", -1));
        EXPECT_EQ(sessOf(stats).get_string("addr", ""), "198.51.100.23");
        lossyPeriods += lossy(stats);
        shortOfConnections += stats.get_child("sess", 0).num_children("conn") < 4;
        rates.insert(stats.get_child("sess", 0).get_child("conn", 0).params().get_int("tp", 0) / 1000);
    }
    EXPECT_GT(throttledPeriods, 0);
    // A phase lasts a few periods.
    EXPECT_GE(longestThrottle, 3);
    EXPECT_EQ(recoveries.count(-1), 0u);
    EXPECT_GT(recoveries.size(), 10u);
    EXPECT_GT(lossyPeriods, 0);
    EXPECT_GT(shortOfConnections, 0);
    // Calm most of the time.
    EXPECT_LT(throttledPeriods + lossyPeriods + shortOfConnections, 1800);
    EXPECT_GT(rates.size(), 10u);
}

TEST_F(Tunnel, OperatorsDelayInTheNextStatistics)
{
    const TunnelStats::Session tunnel = session(2);
    EXPECT_EQ(sessOf(m_stats.tunStats(tunnel)).get_int("dm", 0), 400);
    std::string error;
    EXPECT_FALSE(m_stats.setMaxDelay(tunnel, false, false, Params(""), error));
    EXPECT_TRUE(m_stats.setMaxDelay(tunnel, false, false, Params("delay:i=3"), error));
    EXPECT_TRUE(m_stats.setMaxDelay(tunnel, true, false, Params("delay:i=250"), error));
    Params sess = sessOf(m_stats.tunStats(session(2)));
    EXPECT_EQ(sess.get_int("dm", 0), 10);
    EXPECT_EQ(sess.get_int("rdm", 0), 250);
    EXPECT_FALSE(sess.get_bool("dma", true));

    // In automatic mode the tunnel chooses: the fourth delay point, half again the packet delay.
    EXPECT_TRUE(m_stats.setMaxDelay(tunnel, false, true, Params(""), error));
    sess = sessOf(m_stats.tunStats(session(2)));
    EXPECT_TRUE(sess.get_bool("dma", false));
    EXPECT_EQ(sess.get_int("dm", 0), sess.get_int("d4", 0));
    EXPECT_EQ(sess.get_int("d4", 0), sess.get_int("d", 0) * 3 / 2);
    EXPECT_EQ(sess.get_int("d5", 0), 500);
}

TEST_F(Tunnel, DroppedConnectionComesBack)
{
    m_stats.setHealth(TunnelStats::Health::Green);
    const TunnelStats::Session tunnel = session(3);
    std::string uid;
    EXPECT_FALSE(m_stats.dropConnection(tunnel, 4, uid));
    EXPECT_TRUE(m_stats.dropConnection(tunnel, 1, uid));
    EXPECT_EQ(uid, "2:1");
    Message status("sess", Params("sid:i=7 active:b=true"));
    EXPECT_EQ(m_stats.tunConns(tunnel, status).get_child("sess", 0).params().get_int("active_conns", 0), 3);
    for (int period = 0; period < 7; ++period)
        EXPECT_EQ(uids(m_stats.tunStats(tunnel)), "1:1 3:1 1:2") << period;
    EXPECT_EQ(uids(m_stats.tunStats(tunnel)), "1:1 2:1 3:1 1:2");
}
