#include "callhandlers.h"
#include "reply.h"
#include "requestrouter.h"
#include "unit.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <utility>
#include <vector>

namespace {

using std::chrono::milliseconds;

// Timers on a clock the test moves by hand.
class FakeClock {
public:
    unsigned int schedule(milliseconds delay, std::function<void()> callback)
    {
        m_timers[++m_lastId] = {m_now + delay, std::move(callback)};
        return m_lastId;
    }
    void cancel(unsigned int id) { m_timers.erase(id); }

    // Runs every timer that falls due within `by`, in time order.
    void advance(milliseconds by)
    {
        const milliseconds until = m_now + by;
        for (;;) {
            auto next = std::min_element(m_timers.begin(), m_timers.end(), [](const auto& a, const auto& b) {
                return a.second.due < b.second.due || (a.second.due == b.second.due && a.first < b.first);
            });
            if (next == m_timers.end() || next->second.due > until)
                break;
            m_now = next->second.due;
            const std::function<void()> callback = std::move(next->second.callback);
            m_timers.erase(next);
            callback();
        }
        m_now = until;
    }
    std::size_t pending() const { return m_timers.size(); }

private:
    struct Timer {
        milliseconds due;
        std::function<void()> callback;
    };
    milliseconds m_now{0};
    unsigned int m_lastId = 0;
    std::map<unsigned int, Timer> m_timers;
};

class Calls : public ::testing::Test {
protected:
    void SetUp() override { build(milliseconds(1000)); }

    void build(milliseconds statsPeriod)
    {
        std::string error;
        ASSERT_TRUE(m_unit.loadFile(ORVANE_SIM_SCENARIO, error)) << error;
        m_router = RequestRouter();
        m_calls.reset();
        CallHandlers::Hooks hooks{
            [this](milliseconds delay, std::function<void()> callback) { return m_clock.schedule(delay, callback); },
            [this](unsigned int id) { m_clock.cancel(id); },
            [this](const std::string& id, const Message& msg) { m_pushed.emplace_back(id, msg); },
            [this](const std::string& line) { m_reports.push_back(line); }};
        m_calls = std::make_unique<CallHandlers>(m_unit, hooks, statsPeriod);
        m_calls->addHandlers(m_router);
    }

    Message ask(const char* name, const char* params)
    {
        Message request(name, Params(params));
        std::vector<Message> answers;
        Reply reply([&answers](const Message& answer) { answers.push_back(answer); }, request);
        EXPECT_TRUE(m_router.dispatch(request, reply)) << name;
        EXPECT_EQ(answers.size(), 1u) << name;
        return answers.empty() ? Message() : answers.front();
    }

    bool failed(const Message& answer) const { return answer.params().get_bool("fail", true); }

    const Params& peer(int id)
    {
        const Message* list = m_unit.data("peerList");
        for (unsigned int i = 0; i < list->num_children("peer"); ++i) {
            if (list->get_child("peer", i).params().get_int("id", 0) == id)
                return list->get_child("peer", i).params();
        }
        static const Params none;
        ADD_FAILURE() << "no peer " << id;
        return none;
    }

    bool listed(int id) const
    {
        const Message* list = m_unit.data("peerList");
        for (unsigned int i = 0; i < list->num_children("peer"); ++i) {
            if (list->get_child("peer", i).params().get_int("id", 0) == id)
                return true;
        }
        return false;
    }

    const Message& tunnelSession(int sid)
    {
        const Message* status = m_unit.config().findNode("netmgr.tunnel")->find_child("status");
        for (unsigned int i = 0; i < status->num_children("sess"); ++i) {
            if (status->get_child("sess", i).params().get_int("sid", 0) == sid)
                return status->get_child("sess", i);
        }
        static const Message none;
        ADD_FAILURE() << "no session " << sid;
        return none;
    }

    // The notifications pushed under `id`, taken out of the record.
    std::vector<Message> take(const std::string& id)
    {
        std::vector<Message> out;
        for (auto it = m_pushed.begin(); it != m_pushed.end();) {
            if (it->first == id) {
                out.push_back(it->second);
                it = m_pushed.erase(it);
            } else {
                ++it;
            }
        }
        return out;
    }

    std::vector<std::string> takeReports()
    {
        std::vector<std::string> out;
        out.swap(m_reports);
        return out;
    }

    void connected(int id, milliseconds setUp)
    {
        ASSERT_FALSE(failed(ask("connect", ("id:i=" + std::to_string(id)).c_str())));
        m_clock.advance(setUp);
        ASSERT_EQ(peer(id).get_string("state", ""), "connected");
        ASSERT_TRUE(peer(id).get_bool("receiving", false));
        m_pushed.clear();
        m_reports.clear();
    }

    Unit m_unit{1};
    RequestRouter m_router;
    FakeClock m_clock;
    std::unique_ptr<CallHandlers> m_calls;
    std::vector<std::pair<std::string, Message>> m_pushed;
    std::vector<std::string> m_reports;
};

struct Moment {
    int atMs;
    const char* state;
    const char* stateUi;
    const char* chanState;
    bool transmitting;
    bool receiving;
    const char* tunnel;
};

struct Script {
    const char* name;
    int id;
    bool incoming;
    std::vector<Moment> moments;
    const char* rxCodec;
};

void PrintTo(const Script& script, std::ostream* out)
{
    *out << script.name;
}

class CallScripts : public Calls, public ::testing::WithParamInterface<Script> {};

// The default scenario: 1 is an IP remote on a profile that names the far end's encoder, 2 is on
// the telephone line, 3 calls through Braid session 7.
const std::vector<Script> kScripts = {
    {"ip",
     1,
     false,
     {{0, "connecting", "Connecting", "Negotiating", false, false, ""},
      {800, "connected", "Connected", "Connected", true, false, ""},
      {1400, "connected", "Connected", "Connected", true, true, ""}},
     "Opus Stereo 128 kb/s"},
    {"telephone",
     2,
     false,
     {{0, "dialing", "Dialing", "Off hook", false, false, ""},
      {1000, "training", "Connecting", "Training", false, false, ""},
      {2500, "connected", "Connected", "33600 bps", true, true, ""}},
     "Telephone line audio"},
    {"braid",
     3,
     false,
     {{0, "connecting", "Connecting", "Waiting for Braid", false, false, "SEARCHING"},
      {1500, "connecting", "Connecting", "Negotiating", false, false, "ACTIVE"},
      {2300, "connected", "Connected", "Connected", true, false, "ACTIVE"},
      {2900, "connected", "Connected", "Connected", true, true, "ACTIVE"}},
     "Opus Stereo 128 kb/s"},
    {"incoming ip",
     1,
     true,
     {{0, "ringing", "Incoming Call", "Ringing", false, false, ""},
      {3000, "connected", "Connected", "Connected", true, false, ""},
      {3600, "connected", "Connected", "Connected", true, true, ""}},
     "Opus Stereo 128 kb/s"},
    {"incoming telephone",
     2,
     true,
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
        ASSERT_FALSE(failed(ask("connect", ("id:i=" + id).c_str())));

    int now = 0;
    for (const Moment& moment : script.moments) {
        SCOPED_TRACE(moment.atMs);
        m_clock.advance(milliseconds(moment.atMs - now - 1));
        if (moment.atMs > 0) {
            EXPECT_NE(peer(script.id).get_string("state_ui", "") + peer(script.id).get_string("chan_state", "")
                          + std::to_string(peer(script.id).get_bool("receiving", false)),
                      std::string(moment.stateUi) + moment.chanState + std::to_string(moment.receiving))
                << "changed early";
        }
        m_clock.advance(milliseconds(1));
        now = moment.atMs;

        const Params& record = peer(script.id);
        EXPECT_TRUE(record.get_bool("active", false));
        EXPECT_EQ(record.get_string("state", ""), moment.state);
        EXPECT_EQ(record.get_string("state_ui", ""), moment.stateUi);
        EXPECT_EQ(record.get_string("chan_state", ""), moment.chanState);
        EXPECT_EQ(record.get_bool("transmitting", true), moment.transmitting);
        EXPECT_EQ(record.get_bool("receiving", true), moment.receiving);
        EXPECT_EQ(record.get_string("rx_codec", ""), moment.receiving ? script.rxCodec : "");
        if (*moment.tunnel) {
            EXPECT_EQ(tunnelSession(7).params().get_string("state", ""), moment.tunnel);
        }

        const std::vector<Message> lists = take("unso");
        ASSERT_FALSE(lists.empty());
        EXPECT_EQ(lists.back().name, "peerList");
        EXPECT_EQ(lists.back(), *m_unit.data("peerList"));
    }
    const std::vector<std::string> reports = takeReports();
    ASSERT_EQ(reports.size(), script.moments.size());
    EXPECT_EQ(reports.front(), "call " + id + " " + script.moments.front().state);

    ASSERT_FALSE(failed(ask("disconnect", ("id:i=" + id).c_str())));
    EXPECT_EQ(peer(script.id).get_string("state", ""), "disconnecting");
    EXPECT_FALSE(peer(script.id).get_bool("transmitting", true));
    m_clock.advance(milliseconds(500));
    const Params& idle = peer(script.id);
    EXPECT_FALSE(idle.get_bool("active", true));
    EXPECT_EQ(idle.get_string("state", ""), "idle");
    EXPECT_EQ(idle.get_string("chan_state", "-"), "");
    EXPECT_EQ(idle.get_string("rx_codec", "-"), "");
    EXPECT_EQ(takeReports(), (std::vector<std::string>{"call " + id + " disconnecting", "call " + id + " idle"}));
    EXPECT_TRUE(failed(ask("disconnect", ("id:i=" + id).c_str())));
}

INSTANTIATE_TEST_SUITE_P(Sim, CallScripts, ::testing::ValuesIn(kScripts),
                         [](const ::testing::TestParamInfo<Script>& info) {
                             std::string name = info.param.name;
                             std::replace(name.begin(), name.end(), ' ', '_');
                             return name;
                         });

TEST_F(Calls, RefuseWhatCannotBeDone)
{
    const char* const refused[][2] = {
        {"connect", "id:i=99"},
        {"disconnect", "id:i=1"},
        {"channelCommand", "channel=pots command=rateDrop"},
        {"setPeerSettings", "id:i=99 name=x"},
        {"removePeer", "id:i=99"},
    };
    for (const auto& request : refused) {
        SCOPED_TRACE(request[0]);
        const Message answer = ask(request[0], request[1]);
        EXPECT_TRUE(failed(answer));
        EXPECT_FALSE(answer.params().get_string("error", "").empty());
    }
    EXPECT_TRUE(m_pushed.empty());

    ASSERT_FALSE(failed(ask("connect", "id:i=1")));
    EXPECT_TRUE(failed(ask("connect", "id:i=1")));
    EXPECT_EQ(m_calls->ring("1"), "error: remote 1 is in a call");
    EXPECT_EQ(m_calls->ring("99"), "error: no remote '99'");
    EXPECT_EQ(m_calls->ring("1x"), "error: no remote '1x'");
    // An IP call has no line to retrain.
    m_clock.advance(milliseconds(2000));
    EXPECT_TRUE(failed(ask("channelCommand", "channel=pots command=retrain")));
}

TEST_F(Calls, TelephoneLineDropsRateAndRetrains)
{
    EXPECT_FALSE(failed(ask("connect", "id:i=2")));
    // Not up yet: nothing to drop.
    EXPECT_TRUE(failed(ask("channelCommand", "channel=pots command=rateDrop")));
    m_clock.advance(milliseconds(2500));

    const std::pair<const char*, const char*> steps[] = {
        {"rateDrop", "31200 bps"}, {"rateDrop", "28800 bps"}, {"retrain", "Retraining"}};
    for (const auto& [command, chanState] : steps) {
        const std::string params = std::string("channel=pots command=") + command;
        EXPECT_FALSE(failed(ask("channelCommand", params.c_str())));
        EXPECT_EQ(peer(2).get_string("chan_state", ""), chanState);
    }
    EXPECT_EQ(peer(2).get_string("state", ""), "training");
    EXPECT_FALSE(peer(2).get_bool("receiving", true));
    EXPECT_TRUE(failed(ask("channelCommand", "channel=pots command=rateDrop")));
    m_clock.advance(milliseconds(2000));
    EXPECT_EQ(peer(2).get_string("state", ""), "connected");
    EXPECT_EQ(peer(2).get_string("chan_state", ""), "33600 bps");
    EXPECT_TRUE(peer(2).get_bool("receiving", false));

    EXPECT_TRUE(failed(ask("channelCommand", "channel=pots command=hangUp")));
    EXPECT_TRUE(failed(ask("channelCommand", "channel=sip command=rateDrop")));
    for (int i = 0; i < 20; ++i)
        ask("channelCommand", "channel=pots command=rateDrop");
    EXPECT_EQ(peer(2).get_string("chan_state", ""), "2400 bps");
}

TEST_F(Calls, StatisticsFlowWhileCallsRun)
{
    connected(1, milliseconds(1400));
    m_clock.advance(milliseconds(1000));
    std::vector<Message> peerStats = take("peer_stats");
    ASSERT_EQ(peerStats.size(), 1u);
    ASSERT_EQ(peerStats[0].num_children("peer"), 1u);
    const Params& stats = peerStats[0].get_child("peer", 0).params();
    EXPECT_EQ(stats.get_int("id", 0), 1);
    for (const char* key : {"callTime", "delayOut", "delayIn", "frameLossRate", "remoteLoss", "rxPayload",
                            "rxOverhead", "rxRTCP", "txPayload", "txOverhead", "txRTCP", "rtt", "bufferDelay",
                            "bufferDesiredDelay", "packetJitter", "bufferMaxDev", "pktOutlierRate", "pktDupRate",
                            "pktOOORate", "pktRtxRate", "frameLateRate", "insertRate", "corrUpRate", "corrDownRate",
                            "effTxBitrate", "effRxBitrate", "bufferMinDelay", "bufferMaxDelay", "newData"})
        EXPECT_TRUE(stats.has_param(key)) << key;
    EXPECT_LT(stats.get_int("bufferMinDelay", 0), stats.get_int("bufferMaxDelay", 0));
    EXPECT_NEAR(double(stats.get_uint("rxPayload", 0)), 128000.0, 128000.0 * 0.03);

    std::vector<Message> channels = take("channel_stats");
    ASSERT_EQ(channels.size(), 1u);
    uint32_t firstTotal = 0;
    for (unsigned int i = 0; i < channels[0].num_children("channel"); ++i) {
        const Params& channel = channels[0].get_child("channel", i).params();
        EXPECT_FALSE(channel.get_string("name", "").empty());
        const bool busy = channel.get_string("id", "") == "rtp_udp_mux";
        EXPECT_EQ(channel.get_uint("rxAvgPayload", 0) > 0, busy) << channel.get_string("id", "");
        EXPECT_EQ(channel.get_uint("txPayload", 0) > 0, busy);
        if (busy)
            firstTotal = channel.get_uint("rxTotal", 0);
    }
    EXPECT_GT(firstTotal, 15u);
    EXPECT_TRUE(take("tun_stats").empty());

    m_clock.advance(milliseconds(2000));
    peerStats = take("peer_stats");
    ASSERT_EQ(peerStats.size(), 2u);
    EXPECT_EQ(peerStats[1].get_child("peer", 0).params().get_uint("callTime", 0),
              peerStats[0].get_child("peer", 0).params().get_uint("callTime", 0) + 1);
    channels = take("channel_stats");
    ASSERT_EQ(channels.size(), 2u);
    for (unsigned int i = 0; i < channels[1].num_children("channel"); ++i) {
        const Params& channel = channels[1].get_child("channel", i).params();
        if (channel.get_string("id", "") == "rtp_udp_mux") {
            EXPECT_GT(channel.get_uint("rxTotal", 0), firstTotal);
        }
    }

    // After the call one more period of quiet channels, then nothing.
    ask("disconnect", "id:i=1");
    m_clock.advance(milliseconds(5000));
    EXPECT_TRUE(take("peer_stats").size() <= 1);
    m_pushed.clear();
    m_clock.advance(milliseconds(5000));
    EXPECT_TRUE(take("channel_stats").empty());
}

TEST_F(Calls, BraidCallRunsInItsTunnelSession)
{
    const Message idleSession = tunnelSession(7);
    connected(3, milliseconds(2900));
    const Message& active = tunnelSession(7);
    EXPECT_TRUE(active.params().get_bool("active", false));
    EXPECT_EQ(active.num_children("search"), 0u);
    const unsigned int links = active.num_children("conn");
    EXPECT_GE(links, 2u);
    EXPECT_EQ(active.params().get_int("active_conns", 0), int(links));

    m_clock.advance(milliseconds(1000));
    const std::vector<Message> tunStats = take("tun_stats");
    ASSERT_EQ(tunStats.size(), 1u);
    ASSERT_EQ(tunStats[0].num_children("sess"), 1u);
    const Message& sess = tunStats[0].get_child("sess", 0);
    EXPECT_EQ(sess.params().get_int("sid", 0), 7);
    EXPECT_EQ(sess.params().get_int("dm", 0), 400);
    for (const char* key : {"d", "d1", "d5", "dma", "rd", "rd1", "rd5", "rdma", "pl", "plt", "pr", "rpl", "rplt", "rpr"})
        EXPECT_TRUE(sess.params().has_param(key)) << key;
    ASSERT_NE(tunStats[0].find_child("codec"), nullptr);
    EXPECT_EQ(tunStats[0].find_child("codec")->find_child("enc")->params().get_uint("nbr", 0), 128000u);
    ASSERT_EQ(sess.num_children("conn"), links);
    const Params& conn = sess.get_child("conn", 0).params();
    for (const char* key : {"li", "ri", "ldesc", "rdesc", "th", "td", "tp", "tf", "tr", "rth", "rtd", "rtp", "rtf",
                            "rtr", "d", "dm", "dq", "pl", "rd", "rdm", "rdq", "rpl"})
        EXPECT_TRUE(conn.has_param(key)) << key;
    const std::vector<Message> tunConns = take("tun_conns");
    ASSERT_EQ(tunConns.size(), 1u);
    EXPECT_EQ(tunConns[0].get_child("sess", 0), tunnelSession(7));

    ask("disconnect", "id:i=3");
    m_clock.advance(milliseconds(500));
    EXPECT_EQ(tunnelSession(7).params().get_string("state", ""), "RETIRED");
    EXPECT_EQ(tunnelSession(7).params().get_string("reason", ""), "Call ended");
    const std::vector<Message> ended = take("tun_stats");
    ASSERT_FALSE(ended.empty());
    EXPECT_EQ(ended.back().num_children("sess"), 0u);
    std::vector<Message> statuses = take("cfgStatus:netmgr.tunnel");
    ASSERT_FALSE(statuses.empty());
    EXPECT_EQ(statuses.back().get_child("sess", 0).params().get_string("state", ""), "RETIRED");

    m_clock.advance(milliseconds(3000));
    EXPECT_EQ(tunnelSession(7), idleSession);
    statuses = take("cfgStatus:netmgr.tunnel");
    ASSERT_EQ(statuses.size(), 1u);
    EXPECT_EQ(statuses[0].get_child("sess", 0), idleSession);
}

TEST_F(Calls, BraidRemoteWithoutSessionGetsOne)
{
    ASSERT_FALSE(failed(ask("addPeer", "id:i=0 name=Van3 addr=192.0.2.8 unit=00:1b:7c:0a:51:a0 plait:b=true "
                                       "use_plait:b=true password= profile:i=0 backup_id:i=0 retry_primary:b=false")));
    ask("connect", "id:i=5");
    EXPECT_EQ(peer(5).get_string("sid", ""), "8");
    EXPECT_EQ(tunnelSession(8).params().get_string("state", ""), "SEARCHING");
    EXPECT_EQ(tunnelSession(8).get_child("search", 0).params().get_string("addr", ""), "192.0.2.8:9010");
}

TEST_F(Calls, RemotesAreAddedChangedAndRemoved)
{
    const Message added = ask("addPeer", "id:i=3 name=\"New Van\" addr=192.0.2.9 plait:b=false password=pw "
                                         "profile:i=2 backup_id:i=1 retry_primary:b=true seq=addPeer");
    EXPECT_FALSE(failed(added));
    EXPECT_EQ(added.name, "addPeer");
    EXPECT_EQ(added.params().get_int("id", 0), 5);
    const Params& record = peer(5);
    EXPECT_EQ(record.get_string("name", ""), "New Van");
    EXPECT_EQ(record.get_string("addr", ""), "192.0.2.9");
    EXPECT_EQ(record.get_string("password", ""), "pw");
    EXPECT_EQ(record.get_int("profile", -1), 2);
    EXPECT_EQ(record.get_int("backup_id", -1), 1);
    EXPECT_TRUE(record.get_bool("retry_primary", false));
    EXPECT_FALSE(record.get_bool("plait", true));
    EXPECT_FALSE(record.get_bool("use_plait", true));
    EXPECT_FALSE(record.get_bool("active", true));
    EXPECT_EQ(record.get_string("state_ui", ""), "Idle");
    EXPECT_EQ(takeReports(), std::vector<std::string>{"peer added 5 New Van"});
    ASSERT_EQ(take("unso").size(), 1u);

    EXPECT_FALSE(failed(ask("setPeerSettings", "id:i=3 name=\"OB Van 2\" addr=198.51.100.24 plait:b=false "
                                               "password= profile:i=0 backup_id:i=0 retry_primary:b=false")));
    EXPECT_EQ(peer(3).get_string("addr", ""), "198.51.100.24");
    EXPECT_FALSE(peer(3).get_bool("use_plait", true));
    EXPECT_EQ(peer(3).get_string("unit", "-"), "");
    EXPECT_EQ(takeReports(), std::vector<std::string>{"peer changed 3"});

    // Removing a remote in a call ends the call; those that fell back on it fall back on nothing.
    connected(2, milliseconds(2500));
    EXPECT_FALSE(failed(ask("removePeer", "id:i=2")));
    EXPECT_FALSE(listed(2));
    EXPECT_EQ(peer(3).get_int("backup_id", -1), 0);
    EXPECT_EQ(takeReports(), (std::vector<std::string>{"call 2 idle", "peer removed 2"}));
    EXPECT_EQ(take("unso").back(), *m_unit.data("peerList"));
    m_clock.advance(milliseconds(10000));
    for (const std::string& report : takeReports())
        EXPECT_EQ(report.find("call 2"), std::string::npos) << report;
}

TEST_F(Calls, UnknownCallerComesAndGoes)
{
    EXPECT_EQ(m_calls->ring(""), "ok ring 5");
    EXPECT_TRUE(peer(5).get_bool("incoming", false));
    EXPECT_EQ(peer(5).get_string("state", ""), "ringing");
    m_clock.advance(milliseconds(3600));
    EXPECT_EQ(peer(5).get_string("state", ""), "connected");
    ask("disconnect", "id:i=5");
    m_clock.advance(milliseconds(500));
    EXPECT_FALSE(listed(5));
}

TEST_F(Calls, DirectoryAnswerChangesOverTime)
{
    m_pushed.clear();
    const std::vector<std::string> expected = {"busy", "yes", "ts_fail", "yes"};
    for (const std::string& canConnect : expected) {
        m_clock.advance(CallHandlers::kDirectoryPeriod);
        EXPECT_EQ(m_unit.data("peerList")->get_child("peer", 0).get_child("directory", 0).params().get_string(
                      "can_connect", ""),
                  canConnect);
        EXPECT_EQ(take("unso").size(), 1u);
    }
    // A remote in a call keeps what the directory said when the call began.
    connected(1, milliseconds(1400));
    m_clock.advance(CallHandlers::kDirectoryPeriod);
    EXPECT_EQ(peer(1).get_string("state", ""), "connected");
    EXPECT_EQ(
        m_unit.data("peerList")->get_child("peer", 0).get_child("directory", 0).params().get_string("can_connect", ""),
        "yes");
}

TEST_F(Calls, WithoutPeriodNothingIsPeriodic)
{
    build(milliseconds(0));
    EXPECT_EQ(m_clock.pending(), 0u);
    connected(1, milliseconds(1400));
    EXPECT_EQ(m_clock.pending(), 0u);
    m_clock.advance(milliseconds(60000));
    EXPECT_TRUE(m_pushed.empty());
}

TEST_F(Calls, ForgettingCallsCancelsEveryTimer)
{
    build(milliseconds(0));
    ask("connect", "id:i=3");
    m_clock.advance(milliseconds(3000));
    ask("disconnect", "id:i=3");
    m_clock.advance(milliseconds(500));
    ask("connect", "id:i=1");
    EXPECT_GT(m_clock.pending(), 0u);
    m_calls->forgetCalls();
    EXPECT_EQ(m_clock.pending(), 0u);
}

} // namespace
