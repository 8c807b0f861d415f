#include "netmgrhandlers.h"
#include "reply.h"
#include "requestrouter.h"
#include "unit.h"
#include "unitdatahandlers.h"

#include <gtest/gtest.h>

#include <vector>

namespace {

// The unit's request handlers over a scenario, with the answers each request gets.
struct Handlers {
    explicit Handlers(const std::string& scenarioText = std::string()) : m_unit(1)
    {
        std::string error;
        EXPECT_TRUE(scenarioText.empty() ? m_unit.loadFile(ORVANE_SIM_SCENARIO, error)
                                         : m_unit.loadText(scenarioText, error))
            << error;
        addUnitDataHandlers(m_router, m_unit);
        addNetmgrHandlers(m_router, m_unit);
    }

    std::vector<Message> ask(const char* name, const char* params)
    {
        const Message request(name, Params(params));
        std::vector<Message> answers;
        Reply reply([&answers](const Message& answer) { answers.push_back(answer); }, request);
        m_router.dispatch(request, reply);
        return answers;
    }

    Unit m_unit;
    RequestRouter m_router;
};

// The requests the client sends after every login, in its order, with the answers' seqs.
TEST(SimHandlers, EveryLoginRequestIsAnsweredUnderItsSeq)
{
    const std::vector<std::tuple<const char*, const char*, std::vector<const char*>>> burst = {
        {"loadSettings", "seq=loadSettings", {"loadSettings"}},
        {"cfgDescribe", "path=netmgr.devices status=raw seq=networkList depth:u=2", {"networkList"}},
        {"getProfileList", "seq=profileList", {"profileList"}},
        {"getCodecList", "seq=codecList", {"codecList", "currentEncoder"}},
        {"getDirectoryServer", "seq=directoryServer", {"directoryServer", "sipProxy"}},
        {"getPeerList", "seq=peerList", {"peerList"}},
        {"getSysOptions", "seq=sysOptions", {"sysOptions"}},
        {"getPowerInfo", "seq=powerInfo", {"powerInfo"}},
        {"getChannelList", "seq=channelList", {"channelList"}},
        {"getChannelOpts", "seq=channelOpts", {"channelOpts"}},
        {"cfgGetStatus", "path=netmgr.tunnel seq=statusTunnel", {"statusTunnel"}},
        {"getVersion", "seq=version", {"version"}},
        {"cfgDescribe", "path=netmgr.remote.password seq=pwd", {"pwd"}},
    };
    Handlers handlers;
    for (const auto& [name, params, seqs] : burst) {
        SCOPED_TRACE(params);
        const std::vector<Message> answers = handlers.ask(name, params);
        ASSERT_EQ(answers.size(), seqs.size());
        for (std::size_t i = 0; i < answers.size(); ++i) {
            EXPECT_EQ(answers[i].params().get_string("seq", ""), seqs[i]);
            EXPECT_TRUE(answers[i].params().size() > 1 || answers[i].child_count() > 0) << "empty answer";
        }
    }
    EXPECT_EQ(handlers.ask("getPeerList", "seq=myPeers").at(0).name, "myPeers");
    EXPECT_EQ(handlers.ask("cfgDescribe", "path=netmgr.devices seq=networkList").at(0).name, "resp");
}

TEST(SimHandlers, PasswordStatusFollowsTheDefaultedFlag)
{
    Handlers handlers;
    const char* const pwd = "path=netmgr.remote.password seq=pwd";
    EXPECT_FALSE(handlers.ask("cfgDescribe", pwd).at(0).get_child("option", 0).params().get_bool("defaulted", true));
    handlers.m_unit.config().findOption("netmgr.remote.password")->params().set_bool("defaulted", true);
    EXPECT_TRUE(handlers.ask("cfgDescribe", pwd).at(0).get_child("option", 0).params().get_bool("defaulted", false));
}

TEST(SimHandlers, NetworkStatusCarriesTheDevicesAndSessions)
{
    Handlers handlers;
    const Message list = handlers.ask("cfgDescribe", "path=netmgr.devices status=raw seq=networkList depth:u=2").at(0);
    const Message* devices = list.find_child("node");
    const Message* status = devices ? devices->find_child("status") : nullptr;
    ASSERT_NE(status, nullptr);
    // eth0, wlan0 and wwan0 are up; wlan1 is not installed and the telephone line is view-only.
    EXPECT_EQ(status->params().get_uint("num_alive", 0), 3u);
    EXPECT_FALSE(status->params().get_bool("tunnel_alive", true));

    const Message sessions = handlers.ask("cfgGetStatus", "path=netmgr.tunnel seq=statusTunnel").at(0);
    const Message* tunnel = sessions.find_child("node");
    ASSERT_NE(tunnel, nullptr);
    ASSERT_GT(tunnel->num_children("sess"), 0u);
    EXPECT_EQ(tunnel->get_child("sess", 0).params().get_string("state", ""), "SEARCHING");
}

TEST(SimHandlers, UnknownPathsAnswerAFailure)
{
    Handlers handlers;
    for (const char* name : {"cfgDescribe", "cfgGetStatus"}) {
        SCOPED_TRACE(name);
        const std::vector<Message> answers = handlers.ask(name, "path=netmgr.devices.eth9 seq=networkDevice");
        ASSERT_EQ(answers.size(), 1u);
        EXPECT_TRUE(answers[0].params().get_bool("fail", false));
        EXPECT_EQ(answers[0].params().get_string("seq", ""), "networkDevice");
    }
}

TEST(SimHandlers, MissingDataAnswersEmpty)
{
    Handlers handlers(R"(<m n="unit"><m n="version"><s k="version">1.0</s></m></m>)");
    EXPECT_EQ(handlers.ask("getPeerList", "seq=peerList").at(0).child_count(), 0u);
    // The data that rides along with another answer is left out when the unit has none.
    EXPECT_EQ(handlers.ask("getCodecList", "seq=codecList").size(), 1u);
}

} // namespace
