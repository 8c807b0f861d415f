#include "netmgrhandlers.h"
#include "reply.h"
#include "requestrouter.h"
#include "unit.h"
#include "unitdatahandlers.h"

#include <gtest/gtest.h>

#include <set>
#include <vector>

namespace {

// The unit's request handlers over a scenario, with the answers each request gets.
class Handlers {
public:
    explicit Handlers(const std::string& scenarioText = std::string()) : m_unit(1)
    {
        std::string error;
        const bool loaded = scenarioText.empty() ? m_unit.loadFile(ORVANE_SIM_SCENARIO, error)
                                                 : m_unit.loadText(scenarioText, error);
        EXPECT_TRUE(loaded) << error;
        addUnitDataHandlers(m_router, m_unit);
        addNetmgrHandlers(m_router, m_unit);
    }

    std::vector<Message> ask(const Message& request)
    {
        std::vector<Message> answers;
        Reply reply([&answers](const Message& answer) { answers.push_back(answer); }, request);
        m_router.dispatch(request, reply);
        return answers;
    }

    Unit& unit() { return m_unit; }

private:
    Unit m_unit;
    RequestRouter m_router;
};

Message request(const char* name, const char* params)
{
    return Message(name, Params(params));
}

// The requests the client sends after every login, in its order, with the answers' names.
struct BurstRequest {
    const char* name;
    const char* params;
    std::vector<const char*> answers;
};

const std::vector<BurstRequest> kLoginBurst = {
    {"loadSettings", "seq=loadSettings", {"loadSettings"}},
    {"cfgDescribe", "path=netmgr.devices status=raw seq=networkList depth:u=2", {"networkList"}},
    {"getProfileList", "seq=profileList", {"profileList"}},
    {"getCodecList", "seq=codecList", {"codecList", "currentEncoder"}},
    {"getDirectoryServer", "seq=directoryServer", {"directoryServer", "sipProxy"}},
    {"getPeerList", "seq=peerList", {"peerList"}},
    {"getSysOptions", "seq=sysOptions", {"sysOptions", "systemOpts"}},
    {"getPowerInfo", "seq=powerInfo", {"powerInfo"}},
    {"getChannelList", "seq=channelList", {"channelList"}},
    {"getChannelOpts", "seq=channelOpts", {"channelOpts"}},
    {"cfgGetStatus", "path=netmgr.tunnel seq=statusTunnel", {"statusTunnel"}},
    {"getVersion", "seq=version", {"version"}},
    {"cfgDescribe", "path=netmgr.remote.password seq=pwd", {"pwd"}},
};

TEST(SimHandlers, EveryLoginRequestIsAnsweredUnderItsSeq)
{
    Handlers handlers;
    for (const BurstRequest& burst : kLoginBurst) {
        SCOPED_TRACE(burst.params);
        const std::vector<Message> answers = handlers.ask(request(burst.name, burst.params));
        ASSERT_EQ(answers.size(), burst.answers.size());
        for (std::size_t i = 0; i < answers.size(); ++i) {
            EXPECT_EQ(answers[i].params().get_string("seq", ""), burst.answers[i]);
            EXPECT_TRUE(answers[i].params().size() > 1 || answers[i].child_count() > 0) << "empty answer";
        }
    }
}

TEST(SimHandlers, DataAnswersAreNamedAfterTheSeqAndNetworkAnswersAreResponses)
{
    Handlers handlers;
    const std::vector<Message> peers = handlers.ask(request("getPeerList", "seq=myPeers"));
    ASSERT_EQ(peers.size(), 1u);
    EXPECT_EQ(peers[0].name, "myPeers");
    EXPECT_GT(peers[0].num_children("peer"), 0u);

    const std::vector<Message> devices = handlers.ask(request("cfgDescribe", "path=netmgr.devices seq=networkList"));
    ASSERT_EQ(devices.size(), 1u);
    EXPECT_EQ(devices[0].name, "resp");
}

TEST(SimHandlers, PasswordStatusFollowsTheDefaultedFlag)
{
    Handlers handlers;
    const Message pwd = request("cfgDescribe", "path=netmgr.remote.password seq=pwd");
    std::vector<Message> answers = handlers.ask(pwd);
    ASSERT_EQ(answers.size(), 1u);
    ASSERT_EQ(answers[0].num_children("option"), 1u);
    EXPECT_FALSE(answers[0].get_child("option", 0).params().get_bool("defaulted", true));

    handlers.unit().config().findOption("netmgr.remote.password")->params().set_bool("defaulted", true);
    answers = handlers.ask(pwd);
    ASSERT_EQ(answers.size(), 1u);
    EXPECT_TRUE(answers[0].get_child("option", 0).params().get_bool("defaulted", false));
}

TEST(SimHandlers, DeviceListCarriesTheOverallStatus)
{
    Handlers handlers;
    const std::vector<Message> answers =
        handlers.ask(request("cfgDescribe", "path=netmgr.devices status=raw seq=networkList depth:u=2"));
    ASSERT_EQ(answers.size(), 1u);
    const Message* devices = answers[0].find_child("node");
    ASSERT_NE(devices, nullptr);
    EXPECT_EQ(devices->params().get_string("name", ""), "devices");
    const Message* status = devices->find_child("status");
    ASSERT_NE(status, nullptr);
    // eth0, wlan0 and wwan0 are up; wlan1 is not installed and the telephone line is view-only.
    EXPECT_EQ(status->params().get_uint("num_alive", 0), 3u);
    EXPECT_FALSE(status->params().get_bool("tunnel_alive", true));
}

TEST(SimHandlers, TunnelStatusIsANodeWithTheSessions)
{
    Handlers handlers;
    const std::vector<Message> answers = handlers.ask(request("cfgGetStatus", "path=netmgr.tunnel seq=statusTunnel"));
    ASSERT_EQ(answers.size(), 1u);
    EXPECT_FALSE(answers[0].params().get_bool("fail", true));
    const Message* node = answers[0].find_child("node");
    ASSERT_NE(node, nullptr);
    EXPECT_EQ(node->params().get_string("name", ""), "tunnel");
    ASSERT_GT(node->num_children("sess"), 0u);
    EXPECT_EQ(node->get_child("sess", 0).params().get_string("state", ""), "SEARCHING");
}

TEST(SimHandlers, UnknownPathsAnswerAFailure)
{
    Handlers handlers;
    for (const char* name : {"cfgDescribe", "cfgGetStatus"}) {
        SCOPED_TRACE(name);
        const std::vector<Message> answers = handlers.ask(request(name, "path=netmgr.devices.eth9 seq=networkDevice"));
        ASSERT_EQ(answers.size(), 1u);
        EXPECT_TRUE(answers[0].params().get_bool("fail", false));
        EXPECT_EQ(answers[0].child_count(), 0u);
        EXPECT_EQ(answers[0].params().get_string("seq", ""), "networkDevice");
    }
    EXPECT_TRUE(handlers.ask(request("cfgDescribe", "path=elsewhere seq=x")).empty());
}

TEST(SimHandlers, MissingDataAnswersEmpty)
{
    Handlers handlers(R"(<m n="unit"><m n="version"><s k="version">1.0</s></m></m>)");
    std::vector<Message> answers = handlers.ask(request("getPeerList", "seq=peerList"));
    ASSERT_EQ(answers.size(), 1u);
    EXPECT_EQ(answers[0].name, "peerList");
    EXPECT_EQ(answers[0].child_count(), 0u);

    // The data that rides along with another answer is left out when the unit has none.
    EXPECT_EQ(handlers.ask(request("getCodecList", "seq=codecList")).size(), 1u);
    answers = handlers.ask(request("getVersion", "seq=version"));
    ASSERT_EQ(answers.size(), 1u);
    EXPECT_EQ(answers[0].params().get_string("version", ""), "1.0");
}

TEST(Unit, RefusesScenariosItCannotTellApart)
{
    const char* const cases[] = {
        R"(<m n="unit"><m n="peerList"/><m n="peerList"/></m>)",
        R"(<m n="unit"><m n="node"><s k="name">a</s></m><m n="node"><s k="name">b</s></m></m>)",
        R"(<m n="unit"><m n="peerList"></m>)",
        "",
    };
    for (const char* text : cases) {
        SCOPED_TRACE(text);
        Unit unit(1);
        std::string error;
        EXPECT_FALSE(unit.loadText(text, error));
        EXPECT_FALSE(error.empty());
    }
    Unit unit(1);
    std::string error;
    EXPECT_FALSE(unit.loadFile("/nonexistent/scenario.xml", error));
    EXPECT_NE(error.find("/nonexistent/scenario.xml"), std::string::npos);
}

// What the default scenario promises the screens: every case they distinguish.
TEST(DefaultScenario, HasARemoteOfEveryKind)
{
    Handlers handlers;
    const Message* peers = handlers.unit().data("peerList");
    ASSERT_NE(peers, nullptr);
    bool directory = false, telephone = false, braid = false;
    for (unsigned int i = 0; i < peers->num_children("peer"); ++i) {
        const Message& peer = peers->get_child("peer", i);
        directory = directory || peer.num_children("directory") > 0;
        telephone = telephone || peer.params().get_string("channel", "") == "pots";
        braid = braid || (peer.params().get_bool("use_plait", false) && peer.params().has_param("sid"));
    }
    EXPECT_TRUE(directory);
    EXPECT_TRUE(telephone);
    EXPECT_TRUE(braid);
}

TEST(DefaultScenario, HasFactoryDefaultAndHiddenProfiles)
{
    Handlers handlers;
    const Message* profiles = handlers.unit().data("profileList");
    ASSERT_NE(profiles, nullptr);
    bool factory = false, isDefault = false, hidden = false;
    for (unsigned int i = 0; i < profiles->num_children("profile"); ++i) {
        const Message& profile = profiles->get_child("profile", i);
        factory = factory || profile.params().get_bool("factory", false);
        isDefault = isDefault || profile.params().get_bool("default", false);
        const Message* settings = profile.find_child("settings");
        ASSERT_NE(settings, nullptr);
        hidden = hidden || !settings->params().get_bool("visible", true);
    }
    EXPECT_TRUE(factory);
    EXPECT_TRUE(isDefault);
    EXPECT_TRUE(hidden);
}

TEST(DefaultScenario, DescribesOptionsOfEveryType)
{
    Handlers handlers;
    std::set<std::string> channelTypes, systemTypes;
    for (const auto& [list, types] : {std::make_pair("channelOpts", &channelTypes), std::make_pair("systemOpts", &systemTypes)}) {
        const Message* options = handlers.unit().data(list);
        ASSERT_NE(options, nullptr) << list;
        for (unsigned int i = 0; i < options->num_children("option"); ++i)
            types->insert(options->get_child("option", i).params().get_string("type", ""));
    }
    EXPECT_EQ(channelTypes, (std::set<std::string>{"int", "bool", "string", "select", "codec", "peer", "profile"}));
    EXPECT_EQ(systemTypes, (std::set<std::string>{"int", "bool", "string", "select", "profile"}));
}

TEST(DefaultScenario, HasEveryKindOfNetworkDevice)
{
    Handlers handlers;
    const Message* devices = handlers.unit().config().findNode("netmgr.devices");
    ASSERT_NE(devices, nullptr);
    std::set<std::string> classes;
    bool viewOnly = false, locations = false;
    const Message& group = devices->get_child("group", 0);
    for (unsigned int i = 0; i < group.num_children("node"); ++i) {
        const Message& device = group.get_child("node", i);
        classes.insert(device.get_child("status", 0).params().get_string("class", ""));
        viewOnly = viewOnly || device.params().get_bool("view_only", false);
        for (unsigned int g = 0; g < device.num_children("group"); ++g)
            locations = locations || device.get_child("group", g).num_children("node") > 0;
    }
    EXPECT_EQ(classes, (std::set<std::string>{"wired", "wifi", "3g", "phone"}));
    EXPECT_TRUE(viewOnly);
    EXPECT_TRUE(locations);
}

} // namespace
