#include "callhandlers.h"
#include "reply.h"
#include "requestrouter.h"
#include "unit.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <tuple>
#include <utility>
#include <vector>

namespace {

using std::chrono::milliseconds;

class Calls : public ::testing::Test {
protected:
    void SetUp() override
    {
        std::string error;
        ASSERT_TRUE(m_unit.loadFile(ORVANE_SIM_SCENARIO, error)) << error;
        UnitHooks hooks{
            [this](milliseconds delay, std::function<void()> callback) {
                m_timers[{m_now + delay, ++m_lastId}] = std::move(callback);
                return m_lastId;
            },
            [this](unsigned int id) {
                const auto it = std::find_if(m_timers.begin(), m_timers.end(), [id](const auto& t) { return t.first.second == id; });
                if (it != m_timers.end())
                    m_timers.erase(it);
            },
            // Generic notifications by the name of what they carry.
            [this](const std::string& id, const Message& msg) { m_pushed[id == "unso" ? msg.name : id] = msg; },
            [this](const std::string& line) { m_reports.push_back(line); }};
        m_calls = std::make_unique<CallHandlers>(m_unit, hooks, milliseconds(1000));
        m_calls->addHandlers(m_router);
    }

    // Runs the timers due by then, in due order and then in the order they were set.
    void advance(milliseconds by)
    {
        const milliseconds until = m_now + by;
        while (!m_timers.empty() && m_timers.begin()->first.first <= until) {
            auto timer = m_timers.extract(m_timers.begin());
            m_now = timer.key().first;
            timer.mapped()();
        }
        m_now = until;
    }

    // Whether the request failed; every request gets exactly one answer.
    bool fails(const char* name, const std::string& params)
    {
        Message request(name, Params(params.c_str()));
        std::vector<Message> answers;
        Reply reply([&answers](const Message& answer) { answers.push_back(answer); }, request);
        m_router.dispatch(request, reply);
        EXPECT_EQ(answers.size(), 1u) << name;
        return answers.at(0).params().get_bool("fail", true);
    }

    const Message& find(const Message& parent, const char* child, const char* key, int id) const
    {
        static const Message none;
        for (unsigned int i = 0; i < parent.num_children(child); ++i)
            if (parent.get_child(child, i).params().get_int(key, 0) == id)
                return parent.get_child(child, i);
        return none;
    }
    const Params& peer(int id) { return find(*m_unit.data("peerList"), "peer", "id", id).params(); }
    const Message& session(int sid)
    {
        return find(*m_unit.config().findNode("netmgr.tunnel")->find_child("status"), "sess", "sid", sid);
    }

    // The last notification pushed under `id` since the previous look; empty if none.
    Message lastPushed(const std::string& id) { return std::exchange(m_pushed[id], Message()); }

    void connected(int id, milliseconds setUp)
    {
        ASSERT_FALSE(fails("connect", "id:i=" + std::to_string(id)));
        advance(setUp);
        m_pushed.clear();
    }

    Unit m_unit{1};
    RequestRouter m_router;
    milliseconds m_now{0};
    unsigned int m_lastId = 0;
    std::map<std::pair<milliseconds, unsigned int>, std::function<void()>> m_timers;
    std::unique_ptr<CallHandlers> m_calls;
    std::map<std::string, Message> m_pushed;
    std::vector<std::string> m_reports;
};

using Moment = std::tuple<int, const char*, const char*, const char*, bool, bool, const char*>;

// Moments: at ms, state, state_ui, chan_state, transmitting, receiving, tunnel session 7's state.
struct Script { const char* name; int id; bool incoming; std::vector<Moment> moments; const char* rxCodec; };

class CallScripts : public Calls, public ::testing::WithParamInterface<Script> {};

// The default scenario: 2 is on the telephone line, 3 calls through Braid session 7 on a profile
// that names the far end's encoder.
const std::vector<Script> kScripts = {
    {"ip", 1, false,
     {{0, "connecting", "Connecting", "Negotiating", false, false, ""},
      {800, "connected", "Connected", "Connected", true, false, ""},
      {1400, "connected", "Connected", "Connected", true, true, ""}},
     "Opus Stereo 128 kb/s"},
    {"braid", 3, false,
     {{0, "connecting", "Connecting", "Waiting for Braid", false, false, "SEARCHING"},
      {1500, "connecting", "Connecting", "Negotiating", false, false, "ACTIVE"},
      {2300, "connected", "Connected", "Connected", true, false, "ACTIVE"},
      {2900, "connected", "Connected", "Connected", true, true, "ACTIVE"}},
     "Opus Stereo 128 kb/s"},
    {"incoming_telephone", 2, true,
     {{0, "ringing", "Incoming Call", "Ringing", false, false, ""},
      {3000, "training", "Connecting", "Training", false, false, ""},
      {4500, "connected", "Connected", "33600 bps", true, true, ""}},
     "Telephone line audio"},
};

TEST_P(CallScripts, WalkThroughTheirStatesAndBack)
{
    const Script& script = GetParam();
    const std::string id = std::to_string(script.id);
    if (script.incoming)
        ASSERT_EQ(m_calls->ring(id), "ok ring " + id);
    else
        ASSERT_FALSE(fails("connect", "id:i=" + id));

    const auto now = [this, &script] {
        const Params& r = peer(script.id);
        return std::make_tuple(r.get_string("state", ""), r.get_string("state_ui", ""), r.get_string("chan_state", "-"),
                               r.get_bool("transmitting", true), r.get_bool("receiving", true),
                               r.get_string("rx_codec", "-"), r.get_bool("active", true));
    };
    int before = 0;
    for (const auto& [atMs, state, stateUi, chanState, transmitting, receiving, tunnel] : script.moments) {
        SCOPED_TRACE(atMs);
        advance(milliseconds(atMs - before));
        before = atMs;
        EXPECT_EQ(now(), std::make_tuple(std::string(state), std::string(stateUi), std::string(chanState), transmitting,
                                         receiving, std::string(receiving ? script.rxCodec : ""), true));
        EXPECT_EQ(*tunnel ? session(7).params().get_string("state", "") : "", tunnel);
        EXPECT_EQ(lastPushed("peerList"), *m_unit.data("peerList"));
    }

    ASSERT_FALSE(fails("disconnect", "id:i=" + id));
    EXPECT_EQ(peer(script.id).get_string("state", ""), "disconnecting");
    advance(milliseconds(500));
    EXPECT_EQ(now(), std::make_tuple(std::string("idle"), std::string("Idle"), std::string(), false, false,
                                     std::string(), false));
    EXPECT_TRUE(fails("disconnect", "id:i=" + id));
}

INSTANTIATE_TEST_SUITE_P(Sim, CallScripts, ::testing::ValuesIn(kScripts),
                         [](const ::testing::TestParamInfo<Script>& info) { return std::string(info.param.name); });

TEST_F(Calls, RefuseWhatCannotBeDone)
{
    connected(1, milliseconds(1400));
    // An IP call has no line to retrain.
    const char* const refused[][2] = {{"connect", "id:i=99"}, {"connect", "id:i=1"}, {"disconnect", "id:i=2"},
                                      {"channelCommand", "channel=pots command=retrain"},
                                      {"setPeerSettings", "id:i=99 name=x"}, {"removePeer", "id:i=99"}};
    for (const auto& [name, params] : refused)
        EXPECT_TRUE(fails(name, params)) << name << " " << params;
    EXPECT_TRUE(m_pushed.empty());
    EXPECT_EQ(m_calls->ring("1"), "error: remote 1 is in a call");
}

// Each call's statistics at the rates of its profile's codecs, call times counting up.
TEST_F(Calls, TwoCallsReportTogether)
{
    connected(1, milliseconds(1400));
    connected(4, milliseconds(1400));
    advance(milliseconds(3000));
    const Message stats = lastPushed("peer_stats");
    const Params& studio = find(stats, "peer", "id", 1).params();
    const Params& booth = find(stats, "peer", "id", 4).params();
    EXPECT_GT(studio.get_uint("callTime", 0), booth.get_uint("callTime", 0));
    EXPECT_GE(booth.get_uint("callTime", 0), 3u);
    // Both run the Studio Link profile (the booth as the default one): AAC-LD out, Opus in.
    for (const Params* peer : {&studio, &booth}) {
        EXPECT_NEAR(peer->get_uint("txPayload", 0), 256000, 256000 / 50);
        EXPECT_NEAR(peer->get_uint("rxPayload", 0), 128000, 128000 / 50);
    }
    // A burst on one call: its next period brings no data and a loss well beyond the usual.
    EXPECT_EQ(m_calls->burst("4 3"), "ok burst 4 3");
    for (const char* refused : {"2", "4 0", "4x", ""})
        EXPECT_EQ(m_calls->burst(refused).rfind("error: ", 0), 0u) << refused;
    advance(milliseconds(1000));
    const Message during = lastPushed("peer_stats");
    EXPECT_FALSE(find(during, "peer", "id", 4).params().get_bool("newData", true));
    EXPECT_GT(find(during, "peer", "id", 4).params().get_uint("frameLossRate", 0), 10u);
    EXPECT_TRUE(find(during, "peer", "id", 1).params().has_param("newData"));

    const Message channels = lastPushed("channel_stats");
    EXPECT_EQ(channels.num_children("channel"), m_unit.data("channelList")->num_children("channel"));
    EXPECT_GT(channels.get_child("channel", 0).params().get_uint("rxTotal", 0), 0u);
}

TEST_F(Calls, TelephoneLineDropsRateAndRetrains)
{
    connected(2, milliseconds(2500));
    for (int i = 0; i < 20; ++i)
        fails("channelCommand", "channel=pots command=rateDrop");
    EXPECT_EQ(peer(2).get_string("chan_state", ""), "2400 bps");
    EXPECT_FALSE(fails("channelCommand", "channel=pots command=retrain"));
    EXPECT_EQ(peer(2).get_string("state", "") + " " + peer(2).get_string("chan_state", ""), "training Retraining");
    EXPECT_TRUE(fails("channelCommand", "channel=pots command=rateDrop"));
    advance(milliseconds(2000));
    EXPECT_EQ(peer(2).get_string("chan_state", ""), "33600 bps");
}

TEST_F(Calls, BraidCallRunsInItsTunnelSession)
{
    const Message idleSession = session(7);
    ASSERT_FALSE(fails("connect", "id:i=3"));
    EXPECT_EQ(lastPushed("cfgStatus:netmgr.tunnel").get_child("sess", 0).params().get_string("state", ""), "SEARCHING");
    advance(milliseconds(1500));
    EXPECT_EQ(lastPushed("cfgStatus:netmgr.tunnel").get_child("sess", 0).params().get_string("state", ""), "ACTIVE");
    advance(milliseconds(2400));
    // Connected: the tunnel's statistics come with the call's.
    const Message tunnel = lastPushed("tun_stats");
    ASSERT_EQ(tunnel.num_children("sess"), 1u);
    EXPECT_EQ(tunnel.get_child("sess", 0).params().get_int("sid", 0), 7);

    fails("disconnect", "id:i=3");
    advance(milliseconds(500));
    EXPECT_EQ(session(7).params().get_string("reason", ""), "Call ended");
    EXPECT_EQ(lastPushed("cfgStatus:netmgr.tunnel").get_child("sess", 0).params().get_string("state", ""), "RETIRED");
    advance(milliseconds(3000));
    EXPECT_EQ(session(7), idleSession);
    EXPECT_EQ(lastPushed("cfgStatus:netmgr.tunnel").get_child("sess", 0), idleSession);

    // A Braid remote without a session gets the next one.
    ASSERT_FALSE(fails("addPeer", "name=Van3 addr=192.0.2.8 unit=00:1b:7c:0a:51:a0 plait:b=true use_plait:b=true"));
    fails("connect", "id:i=5");
    EXPECT_EQ(session(8).params(), Params("sid:i=8 active_conns:i=0 addr=192.0.2.8 active:b=false protected:b=true "
                                          "encrypted:b=true state=SEARCHING"));
    EXPECT_EQ(session(8).get_child("search", 0).params().get_string("addr", ""), "192.0.2.8:9010");
}

// The operator's delay comes back with the next statistics; a dropped connection leaves them and
// returns; the end of the call is statistics without a session.
TEST_F(Calls, BraidCallTakesTheOperatorsDelay)
{
    connected(3, milliseconds(2900));
    EXPECT_TRUE(fails("setMaxDelay", "sid:i=9 remote:b=false delay:i=250 auto:b=false"));
    EXPECT_FALSE(fails("setMaxDelay", "sid:i=7 remote:b=false delay:i=5 auto:b=false"));
    EXPECT_FALSE(fails("setMaxDelay", "sid:i=7 remote:b=true auto:b=true"));
    EXPECT_EQ(m_calls->braid().command("drop 2"), "ok braid connection 2:1 dropped");
    advance(milliseconds(1000));
    const Message stats = lastPushed("tun_stats");
    const Params& sess = stats.get_child("sess", 0).params();
    EXPECT_EQ(sess.get_int("dm", 0), 10);
    EXPECT_FALSE(sess.get_bool("dma", true));
    EXPECT_TRUE(sess.get_bool("rdma", false));
    EXPECT_EQ(stats.get_child("sess", 0).num_children("conn"), 3u);
    EXPECT_EQ(lastPushed("tun_conns").get_child("sess", 0).params().get_int("active_conns", 0), 3);
    advance(milliseconds(8000));
    EXPECT_EQ(lastPushed("tun_stats").get_child("sess", 0).num_children("conn"), 4u);

    fails("disconnect", "id:i=3");
    advance(milliseconds(500));
    EXPECT_EQ(lastPushed("tun_stats").num_children("sess"), 0u);
    EXPECT_EQ(m_calls->braid().command("drop 1"), "error: no Braid call is running");
}

TEST_F(Calls, RemotesAreAddedChangedAndRemoved)
{
    ASSERT_FALSE(fails("addPeer", "id:i=3 name=\"New Van\" addr=192.0.2.9 plait:b=false password=pw "
                                  "profile:i=2 backup_id:i=1 retry_primary:b=true"));
    // The request's id is ignored: a new remote takes the next free one, idle.
    EXPECT_EQ(peer(5), Params("active:b=false addr=192.0.2.9 backup_id:i=1 chan_state=\"\" channel=rtp_udp_mux "
                              "id:i=5 incoming:b=false "
                              "name=\"New Van\" password=pw plait:b=false profile:i=2 receiving:b=false "
                              "retry_primary:b=true rx_codec=\"\" state=idle state_ui=Idle transmitting:b=false "
                              "unit=\"\" use_plait:b=false"));
    EXPECT_FALSE(fails("setPeerSettings", "id:i=3 name=\"OB Van 2\" addr=198.51.100.24 plait:b=false "
                                          "password= profile:i=0 backup_id:i=2 retry_primary:b=false"));
    EXPECT_EQ(peer(3).get_string("unit", "-"), "");

    // Removing a remote in a call ends the call; those that fell back on it fall back on nothing.
    connected(2, milliseconds(2500));
    EXPECT_FALSE(fails("removePeer", "id:i=2"));
    EXPECT_FALSE(peer(2).has_param("id"));
    EXPECT_EQ(peer(3).get_int("backup_id", -1), 0);
    EXPECT_EQ(lastPushed("peerList"), *m_unit.data("peerList"));
    m_reports.clear();
    advance(milliseconds(10000));
    for (const std::string& report : m_reports)
        EXPECT_EQ(report.find("call 2"), std::string::npos) << report;
}

TEST_F(Calls, EditingOntoAnotherProfileMovesTheRemotesChannel)
{
    // The newsroom leaves the telephone line for the default profile's IP channel, and back.
    const char* const moves[][2] = {{"profile:i=0", "rtp_udp_mux"}, {"profile:i=4", "rtp_tcp"}, {"profile:i=3", "pots"}};
    for (const auto& [profile, channel] : moves) {
        ASSERT_FALSE(fails("setPeerSettings", std::string("id:i=2 name=News addr=x ") + profile));
        EXPECT_EQ(peer(2).get_string("channel", ""), channel) << profile;
        EXPECT_EQ(lastPushed("peerList").get_child("peer", 1).params().get_string("channel", ""), channel);
    }
    ASSERT_FALSE(fails("setPeerSettings", "id:i=2 name=News addr=x profile:i=2"));
    // What the editor leaves out falls back: no backup.
    EXPECT_EQ(peer(2).get_int("backup_id", -1), 0);
    ASSERT_FALSE(fails("connect", "id:i=2"));
    EXPECT_EQ(peer(2).get_string("state", ""), "connecting");
}

// The unit's encoder follows the call: the line's audio on the telephone, the profile's encoder
// on IP, and what it was once no call is left.
TEST_F(Calls, CurrentEncoderFollowsTheCall)
{
    const auto encoder = [this] { return lastPushed("currentEncoder").params().get_string("descr", "-"); };
    ASSERT_FALSE(fails("connect", "id:i=2"));
    advance(milliseconds(2500));
    EXPECT_EQ(encoder(), "Telephone line audio");
    ASSERT_FALSE(fails("disconnect", "id:i=2"));
    advance(milliseconds(500));
    EXPECT_EQ(encoder(), "Opus Stereo 128 kb/s");

    ASSERT_FALSE(fails("connect", "id:i=1"));
    advance(milliseconds(800));
    EXPECT_EQ(encoder(), "AAC-LD Stereo 256 kb/s");
    EXPECT_EQ(peer(1).get_string("rx_codec", "-"), "");
    advance(milliseconds(600));
    EXPECT_EQ(peer(1).get_string("rx_codec", ""), "Opus Stereo 128 kb/s");
}

// Every state of the directory shows within a few turns: each remote's answer and whether it is
// online, and the unit's own link to the directory.
TEST_F(Calls, DirectoryChangesOverTime)
{
    std::vector<std::string> seen;
    for (int turn = 0; turn < 4; ++turn) {
        advance(CallHandlers::kDirectoryPeriod);
        const Params& directory = find(*m_unit.data("peerList"), "peer", "id", 1).get_child("directory", 0).params();
        seen.push_back(directory.get_string("can_connect", "") + (directory.get_bool("online", false) ? "" : " offline")
                       + (m_unit.data("directoryServer")->params().get_bool("connected", false) ? "" : " unlinked"));
    }
    EXPECT_EQ(seen, (std::vector<std::string>{"busy", "yes offline", "ts_fail unlinked", "yes"}));
    EXPECT_EQ(lastPushed("peerList").get_child("peer", 0).get_child("directory", 0).params().get_string("can_connect", ""),
              "yes");
    EXPECT_EQ(lastPushed("directoryServer").params().get_string("connected", ""), "true");
}

// The codec editor shows the quality as a percentage.
TEST_F(Calls, CodecQualityIsAPercentage)
{
    const Message& codecs = *m_unit.data("codecList");
    ASSERT_GT(codecs.num_children("codec"), 1u);
    for (unsigned int i = 0; i < codecs.num_children("codec"); ++i) {
        const Params& codec = codecs.get_child("codec", i).params();
        EXPECT_GE(codec.get_uint("quality", 0), 20u) << codec.get_string("id", "");
        EXPECT_LE(codec.get_uint("quality", 0), 100u) << codec.get_string("id", "");
    }
}

TEST_F(Calls, UnknownCallerComesAndGoesWithItsCall)
{
    EXPECT_EQ(m_calls->ring(""), "ok ring 5");
    EXPECT_EQ(peer(5).get_string("name", "") + " " + peer(5).get_string("state", ""), "Incoming Call ringing");
    EXPECT_TRUE(peer(5).get_bool("incoming", false));
    advance(milliseconds(4000));
    ASSERT_FALSE(fails("disconnect", "id:i=5"));
    advance(milliseconds(500));
    EXPECT_FALSE(peer(5).has_param("id"));
}

TEST_F(Calls, StatisticsFollowTheirPeriod)
{
    connected(1, milliseconds(1400));
    m_calls->setStatsPeriod(milliseconds(0));
    advance(milliseconds(5000));
    EXPECT_TRUE(lastPushed("peer_stats").name.empty());
    m_calls->setStatsPeriod(milliseconds(250));
    advance(milliseconds(250));
    EXPECT_EQ(lastPushed("peer_stats").name, "peer_stats");
    // An IP call has no tunnel to report on.
    EXPECT_TRUE(lastPushed("tun_stats").name.empty());
}

} // namespace
