#include "profilehandlers.h"
#include "reply.h"
#include "requestrouter.h"
#include "unit.h"
#include "unitdatahandlers.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

const char* const kScenario = R"(<m n="unit">
  <m n="loadSettings"><m n="group"><s k="name">p_keypad</s><i k="keypadF2Mode">2</i></m>
    <m n="group"><s k="name">p_general</s><b k="restricted">false</b></m></m>
  <m n="profileList">
    <m n="profile"><i k="id">1</i><s k="name">Factory</s><b k="factory">true</b><b k="default">false</b>
      <m n="settings"><s k="name">Factory</s><s k="channel">rtp_udp_mux</s></m><m n="local"><s k="encoder">opus</s></m></m>
    <m n="profile"><i k="id">7</i><s k="name">Studio</s><b k="factory">false</b><b k="default">true</b>
      <m n="settings"><s k="name">Studio</s><s k="channel">pots</s></m><m n="local"><s k="line_mode">voice</s></m></m>
  </m></m>)";

// The profile and unit-data handlers over a small unit, with what is pushed to every session.
class ProfileHandlers : public ::testing::Test {
protected:
    void SetUp() override
    {
        std::string error;
        ASSERT_TRUE(m_unit.loadText(kScenario, error)) << error;
        addUnitDataHandlers(m_router, m_unit);
        addProfileHandlers(
            m_router, m_unit, [this](const Message& msg) { pushed.push_back(msg); },
            [this](const std::string& line) { reported.push_back(line); });
    }

    Message ask(const char* name, const std::string& params)
    {
        std::vector<Message> answers;
        const Message request(name, Params(params.c_str()));
        Reply reply([&answers](const Message& answer) { answers.push_back(answer); }, request);
        m_router.dispatch(request, reply);
        EXPECT_EQ(answers.size(), 1u) << name;
        return answers.empty() ? Message() : answers.front();
    }

    const Message& profiles() { return *m_unit.data("profileList"); }

    const Message* profile(int id)
    {
        for (unsigned int i = 0; i < profiles().num_children("profile"); ++i) {
            if (profiles().get_child("profile", i).params().get_int("id", 0) == id)
                return &profiles().get_child("profile", i);
        }
        return nullptr;
    }

    std::vector<Message> pushed;
    std::vector<std::string> reported;

private:
    Unit m_unit{1};
    RequestRouter m_router;
};

TEST_F(ProfileHandlers, AddCopyAndDeleteAnswerThenPushTheList)
{
    const Message added = ask("addProfile", "name=\"New Profile\" channel=rtp_udp_mux seq=addProfile");
    EXPECT_EQ(added.params().get_string("seq", ""), "addProfile");
    EXPECT_EQ(added.params().get_int("id", 0), 8);
    ASSERT_NE(profile(8), nullptr);
    EXPECT_EQ(profile(8)->find_child("settings")->params().get_string("channel", ""), "rtp_udp_mux");
    // A copy of a factory profile or of the default is neither, and keeps the settings.
    for (int source : {1, 7}) {
        const int id = ask("copyProfile", "id:i=" + std::to_string(source) + " name=Copy seq=copyProfile")
                           .params().get_int("id", 0);
        ASSERT_NE(profile(id), nullptr);
        EXPECT_FALSE(profile(id)->params().get_bool("factory", true) || profile(id)->params().get_bool("default", true));
        EXPECT_EQ(profile(id)->find_child("settings")->params().get_string("name", ""), "Copy");
        EXPECT_EQ(*profile(id)->find_child("local"), *profile(source)->find_child("local"));
    }
    ask("deleteProfile", "id:i=7 seq=deleteProfile");
    EXPECT_EQ(profiles().num_children("profile"), 4u);
    EXPECT_EQ(profile(7), nullptr);
    ASSERT_EQ(pushed.size(), 4u);
    EXPECT_EQ(pushed.back(), profiles());
    EXPECT_EQ(reported, (std::vector<std::string>{"addProfile id=8 name=New Profile", "copyProfile from=1 id=9 name=Copy",
                                                  "copyProfile from=7 id=10 name=Copy", "deleteProfile id=7"}));
}

TEST_F(ProfileHandlers, RefusedChangesLeaveTheUnitAsItWas)
{
    for (const auto& [name, params] : {std::make_pair("deleteProfile", "id:i=1 seq=deleteProfile"),
                                       std::make_pair("deleteProfile", "id:i=99 seq=deleteProfile"),
                                       std::make_pair("copyProfile", "id:i=99 name=x seq=copyProfile"),
                                       std::make_pair("storeSettings", "restricted:b=true seq=storeSettings")}) {
        SCOPED_TRACE(params);
        const Message profilesBefore = profiles();
        const Message settingsBefore = ask("loadSettings", "seq=loadSettings");
        const Message answer = ask(name, params);
        EXPECT_TRUE(answer.params().get_bool("fail", false));
        EXPECT_FALSE(answer.params().get_string("error", "").empty());
        EXPECT_EQ(profiles(), profilesBefore);
        EXPECT_EQ(ask("loadSettings", "seq=loadSettings"), settingsBefore);
    }
    EXPECT_TRUE(pushed.empty());
    EXPECT_TRUE(reported.empty());
}

TEST_F(ProfileHandlers, StoredSettingsComeBackWithLoadSettings)
{
    ask("storeSettings", "group=p_browser homeURL=http://example.org/ seq=storeSettings");
    ask("storeSettings", "group=p_general restricted:b=true seq=storeSettings");
    const Message settings = ask("loadSettings", "seq=loadSettings");
    ASSERT_EQ(settings.num_children("group"), 3u);
    EXPECT_EQ(settings.get_child("group", 1).params(), Params("name=p_general restricted:b=true"));
    EXPECT_EQ(settings.get_child("group", 2).params(), Params("name=p_browser homeURL=http://example.org/"));
    EXPECT_TRUE(pushed.empty());
    EXPECT_EQ(reported.back(), "storeSettings group=p_general restricted=true");
}

} // namespace
