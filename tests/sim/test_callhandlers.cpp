#include "callhandlers.h"
#include "reply.h"
#include "requestrouter.h"
#include "unit.h"

#include <gtest/gtest.h>

#include <map>
#include <utility>
#include <vector>

namespace {

using std::chrono::milliseconds;

// Timers on a clock the test moves by hand, run in due order and then in the order they were set.
class FakeClock {
public:
    unsigned int schedule(milliseconds delay, std::function<void()> callback)
    {
        m_timers[{m_now + delay, ++m_lastId}] = std::move(callback);
        return m_lastId;
    }
    void cancel(unsigned int id)
    {
        for (auto it = m_timers.begin(); it != m_timers.end(); ++it) {
            if (it->first.second == id)
                return void(m_timers.erase(it));
        }
    }
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
    std::size_t pending() const { return m_timers.size(); }

private:
    milliseconds m_now{0};
    unsigned int m_lastId = 0;
    std::map<std::pair<milliseconds, unsigned int>, std::function<void()>> m_timers;
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

    // Whether the request failed, keeping its error; every request gets exactly one answer.
    bool fails(const char* name, const std::string& params)
    {
        Message request(name, Params(params.c_str()));
        std::vector<Message> answers;
        Reply reply([&answers](const Message& answer) { answers.push_back(answer); }, request);
        EXPECT_TRUE(m_router.dispatch(request, reply)) << name;
        EXPECT_EQ(answers.size(), 1u) << name;
        m_lastError = answers.empty() ? std::string() : answers[0].params().get_string("error", "");
        return answers.at(0).params().get_bool("fail", true);
    }

    const Message* find(const Message& parent, const char* child, const char* key, int id) const
    {
        for (unsigned int i = 0; i < parent.num_children(child); ++i) {
            if (parent.get_child(child, i).params().get_int(key, 0) == id)
                return &parent.get_child(child, i);
        }
        return nullptr;
    }

    const Params& peer(int id)
    {
        const Message* record = find(*m_unit.data("peerList"), "peer", "id", id);
        static const Message none;
        EXPECT_NE(record, nullptr) << "no peer " << id;
        return (record ? *record : none).params();
    }

    const Message& session(int sid)
    {
        const Message* found = find(*m_unit.config().findNode("netmgr.tunnel")->find_child("status"), "sess", "sid", sid);
        static const Message none;
        EXPECT_NE(found, nullptr) << "no session " << sid;
        return found ? *found : none;
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

    std::vector<std::string> takeReports() { return std::exchange(m_reports, {}); }

    void connected(int id, milliseconds setUp)
    {
        ASSERT_FALSE(fails("connect", "id:i=" + std::to_string(id)));
        m_clock.advance(setUp);
        ASSERT_EQ(peer(id).get_string("state", ""), "connected");
        m_pushed.clear();
        m_reports.clear();
    }

    Unit m_unit{1};
    RequestRouter m_router;
    FakeClock m_clock;
    std::unique_ptr<CallHandlers> m_calls;
    std::vector<std::pair<std::string, Message>> m_pushed;
    std::vector<std::string> m_reports;
    std::string m_lastError;
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
    {"ip", 1, false,
     {{0, "connecting", "Connecting", "Negotiating", false, false, ""},
      {800, "connected", "Connected", "Connected", true, false, ""},
      {1400, "connected", "Connected", "Connected", true, true, ""}},
     "Opus Stereo 128 kb/s"},
    {"telephone", 2, false,
     {{0, "dialing", "Dialing", "Off hook", false, false, ""},
      {1000, "training", "Connecting", "Training", false, false, ""},
      {2500, "connected", "Connected", "33600 bps", true, true, ""}},
     "Telephone line audio"},
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

    int now = 0;
    for (const Moment& moment : script.moments) {
        SCOPED_TRACE(moment.atMs);
        if (moment.atMs > 0) {
            m_clock.advance(milliseconds(moment.atMs - now - 1));
            EXPECT_NE(peer(script.id).get_string("chan_state", "") + std::to_string(peer(script.id).get_bool("receiving", false)),
                      moment.chanState + std::to_string(moment.receiving))
                << "changed early";
            m_clock.advance(milliseconds(1));
        }
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
            EXPECT_EQ(session(7).params().get_string("state", ""), moment.tunnel);
        }
        const std::vector<Message> lists = take("unso");
        ASSERT_FALSE(lists.empty());
        EXPECT_EQ(lists.back(), *m_unit.data("peerList"));
    }
    const std::vector<std::string> reports = takeReports();
    ASSERT_EQ(reports.size(), script.moments.size());
    EXPECT_EQ(reports.front(), "call " + id + " " + script.moments.front().state);

    ASSERT_FALSE(fails("disconnect", "id:i=" + id));
    EXPECT_EQ(peer(script.id).get_string("state", ""), "disconnecting");
    m_clock.advance(milliseconds(500));
    EXPECT_FALSE(peer(script.id).get_bool("active", true));
    EXPECT_EQ(peer(script.id).get_string("state", ""), "idle");
    EXPECT_EQ(peer(script.id).get_string("chan_state", "-") + peer(script.id).get_string("rx_codec", "-"), "");
    EXPECT_EQ(takeReports(), (std::vector<std::string>{"call " + id + " disconnecting", "call " + id + " idle"}));
    EXPECT_TRUE(fails("disconnect", "id:i=" + id));
}

INSTANTIATE_TEST_SUITE_P(Sim, CallScripts, ::testing::ValuesIn(kScripts),
                         [](const ::testing::TestParamInfo<Script>& info) { return std::string(info.param.name); });

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
        EXPECT_TRUE(fails(request[0], request[1]));
        EXPECT_FALSE(m_lastError.empty());
    }
    EXPECT_TRUE(m_pushed.empty());

    ASSERT_FALSE(fails("connect", "id:i=1"));
    EXPECT_TRUE(fails("connect", "id:i=1"));
    EXPECT_EQ(m_calls->ring("1"), "error: remote 1 is in a call");
    EXPECT_EQ(m_calls->ring("1x"), "error: no remote '1x'");
    // An IP call has no line to retrain.
    m_clock.advance(milliseconds(2000));
    EXPECT_TRUE(fails("channelCommand", "channel=pots command=retrain"));
}

TEST_F(Calls, TelephoneLineDropsRateAndRetrains)
{
    connected(2, milliseconds(2500));
    const std::pair<const char*, const char*> steps[] = {
        {"rateDrop", "31200 bps"}, {"rateDrop", "28800 bps"}, {"retrain", "Retraining"}};
    for (const auto& [command, chanState] : steps) {
        EXPECT_FALSE(fails("channelCommand", std::string("channel=pots command=") + command));
        EXPECT_EQ(peer(2).get_string("chan_state", ""), chanState);
    }
    EXPECT_EQ(peer(2).get_string("state", ""), "training");
    EXPECT_TRUE(fails("channelCommand", "channel=pots command=rateDrop"));
    m_clock.advance(milliseconds(2000));
    EXPECT_EQ(peer(2).get_string("chan_state", ""), "33600 bps");
    EXPECT_TRUE(peer(2).get_bool("receiving", false));

    EXPECT_TRUE(fails("channelCommand", "channel=pots command=hangUp"));
    EXPECT_TRUE(fails("channelCommand", "channel=sip command=rateDrop"));
    for (int i = 0; i < 20; ++i)
        fails("channelCommand", "channel=pots command=rateDrop");
    EXPECT_EQ(peer(2).get_string("chan_state", ""), "2400 bps");
}

TEST_F(Calls, StatisticsFlowWhileCallsRun)
{
    connected(1, milliseconds(1400));
    m_clock.advance(milliseconds(1000));
    std::vector<Message> peerStats = take("peer_stats");
    ASSERT_EQ(peerStats.size(), 1u);
    ASSERT_EQ(peerStats[0].num_children("peer"), 1u);
    const Params stats = peerStats[0].get_child("peer", 0).params();
    EXPECT_EQ(stats.get_int("id", 0), 1);
    EXPECT_LT(stats.get_int("bufferMinDelay", 0), stats.get_int("bufferMaxDelay", 0));
    EXPECT_NEAR(double(stats.get_uint("rxPayload", 0)), 128000.0, 128000.0 * 0.03);

    EXPECT_EQ(take("channel_stats").size(), 1u);
    EXPECT_TRUE(take("tun_stats").empty());

    m_clock.advance(milliseconds(1000));
    peerStats = take("peer_stats");
    ASSERT_EQ(peerStats.size(), 1u);
    EXPECT_EQ(peerStats[0].get_child("peer", 0).params().get_uint("callTime", 0), stats.get_uint("callTime", 0) + 1);

    // After the call one more period of quiet channels, then nothing.
    fails("disconnect", "id:i=1");
    m_clock.advance(milliseconds(5000));
    EXPECT_LE(take("peer_stats").size(), 1u);
    m_pushed.clear();
    m_clock.advance(milliseconds(5000));
    EXPECT_TRUE(take("channel_stats").empty());
}

TEST_F(Calls, BraidCallRunsInItsTunnelSession)
{
    const Message idleSession = session(7);
    connected(3, milliseconds(2900));
    EXPECT_EQ(session(7).num_children("search"), 0u);
    EXPECT_EQ(session(7).params().get_int("active_conns", 0), int(session(7).num_children("conn")));
    m_clock.advance(milliseconds(1000));
    const std::vector<Message> tunStats = take("tun_stats");
    ASSERT_EQ(tunStats.size(), 1u);
    ASSERT_EQ(tunStats[0].num_children("sess"), 1u);
    EXPECT_EQ(tunStats[0].get_child("sess", 0).params().get_int("sid", 0), 7);
    EXPECT_EQ(take("tun_conns").at(0).get_child("sess", 0), session(7));

    fails("disconnect", "id:i=3");
    m_clock.advance(milliseconds(500));
    EXPECT_EQ(session(7).params().get_string("state", ""), "RETIRED");
    EXPECT_EQ(session(7).params().get_string("reason", ""), "Call ended");
    EXPECT_EQ(take("tun_stats").back().num_children("sess"), 0u);
    EXPECT_EQ(take("cfgStatus:netmgr.tunnel").back().get_child("sess", 0).params().get_string("state", ""), "RETIRED");
    m_clock.advance(milliseconds(3000));
    EXPECT_EQ(session(7), idleSession);
    const std::vector<Message> statuses = take("cfgStatus:netmgr.tunnel");
    ASSERT_EQ(statuses.size(), 1u);
    EXPECT_EQ(statuses[0].get_child("sess", 0), idleSession);

    // A Braid remote without a session gets the next one.
    ASSERT_FALSE(fails("addPeer", "name=Van3 addr=192.0.2.8 unit=00:1b:7c:0a:51:a0 plait:b=true use_plait:b=true"));
    fails("connect", "id:i=5");
    EXPECT_EQ(peer(5).get_string("sid", ""), "8");
    EXPECT_EQ(session(8).params().get_string("state", ""), "SEARCHING");
    EXPECT_EQ(session(8).get_child("search", 0).params().get_string("addr", ""), "192.0.2.8:9010");
}

TEST_F(Calls, RemotesAreAddedChangedAndRemoved)
{
    ASSERT_FALSE(fails("addPeer", "id:i=3 name=\"New Van\" addr=192.0.2.9 plait:b=false password=pw "
                                  "profile:i=2 backup_id:i=1 retry_primary:b=true"));
    // The request's id is ignored: a new remote takes the next free one, idle.
    EXPECT_EQ(Message("peer", peer(5)).dump_text(),
              Message("peer", Params("active:b=false addr=192.0.2.9 backup_id:i=1 chan_state=\"\" id:i=5 "
                                     "incoming:b=false name=\"New Van\" password=pw plait:b=false profile:i=2 "
                                     "receiving:b=false retry_primary:b=true rx_codec=\"\" state=idle state_ui=Idle "
                                     "transmitting:b=false unit=\"\" use_plait:b=false"))
                  .dump_text());
    EXPECT_EQ(takeReports(), std::vector<std::string>{"peer added 5 New Van"});
    EXPECT_EQ(take("unso").size(), 1u);

    EXPECT_FALSE(fails("setPeerSettings", "id:i=3 name=\"OB Van 2\" addr=198.51.100.24 plait:b=false "
                                          "password= profile:i=0 backup_id:i=0 retry_primary:b=false"));
    EXPECT_EQ(peer(3).get_string("addr", ""), "198.51.100.24");
    EXPECT_EQ(peer(3).get_string("unit", "-"), "");
    EXPECT_EQ(takeReports(), std::vector<std::string>{"peer changed 3"});

    // Removing a remote in a call ends the call; those that fell back on it fall back on nothing.
    connected(2, milliseconds(2500));
    EXPECT_FALSE(fails("removePeer", "id:i=2"));
    EXPECT_EQ(find(*m_unit.data("peerList"), "peer", "id", 2), nullptr);
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
    m_clock.advance(milliseconds(3600));
    EXPECT_EQ(peer(5).get_string("state", ""), "connected");
    fails("disconnect", "id:i=5");
    m_clock.advance(milliseconds(500));
    EXPECT_EQ(find(*m_unit.data("peerList"), "peer", "id", 5), nullptr);
}

TEST_F(Calls, DirectoryAnswerChangesOverTime)
{
    const auto canConnect = [this] {
        return m_unit.data("peerList")->get_child("peer", 0).get_child("directory", 0).params().get_string("can_connect", "");
    };
    m_pushed.clear();
    for (const char* expected : {"busy", "yes", "ts_fail", "yes"}) {
        m_clock.advance(CallHandlers::kDirectoryPeriod);
        EXPECT_EQ(canConnect(), expected);
        EXPECT_EQ(take("unso").size(), 1u);
    }
    // A remote in a call keeps what the directory said when the call began.
    connected(1, milliseconds(1400));
    m_clock.advance(CallHandlers::kDirectoryPeriod);
    EXPECT_EQ(canConnect(), "yes");
}

TEST_F(Calls, TimersRunOnlyWithAPeriodAndAllGoWhenCallsAreForgotten)
{
    build(milliseconds(0));
    EXPECT_EQ(m_clock.pending(), 0u);
    connected(1, milliseconds(1400));
    EXPECT_EQ(m_clock.pending(), 0u);
    m_clock.advance(milliseconds(60000));
    EXPECT_TRUE(m_pushed.empty());

    fails("connect", "id:i=3");
    EXPECT_GT(m_clock.pending(), 0u);
    m_calls->forgetCalls();
    EXPECT_EQ(m_clock.pending(), 0u);
}

} // namespace
