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
  <m n="loadSettings">
    <m n="group"><s k="name">p_keypad</s><i k="keypadF2Mode">2</i></m>
    <m n="group"><s k="name">p_general</s><b k="restricted">false</b></m>
  </m>
  <m n="profileList">
    <m n="profile"><i k="id">1</i><s k="name">Factory</s><b k="factory">true</b><b k="default">false</b>
      <m n="settings"><s k="name">Factory</s><s k="channel">rtp_udp_mux</s><s k="visible">true</s></m>
      <m n="local"><s k="encoder">opus</s></m>
    </m>
    <m n="profile"><i k="id">7</i><s k="name">Studio</s><b k="factory">false</b><b k="default">true</b>
      <m n="settings"><s k="name">Studio</s><s k="channel">pots</s><s k="visible">false</s></m>
      <m n="local"><s k="line_mode">voice</s></m>
      <m n="remote"><s k="encoder">!follow</s></m>
    </m>
  </m>
</m>)";

// The profile and unit-data handlers over a small unit, with what each request gets back and
// what is pushed to every session.
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

    Message ask(const char* name, const char* params)
    {
        std::vector<Message> answers;
        const Message request(name, Params(params));
        Reply reply([&answers](const Message& answer) { answers.push_back(answer); }, request);
        EXPECT_TRUE(m_router.dispatch(request, reply)) << name;
        EXPECT_EQ(answers.size(), 1u) << name;
        return answers.empty() ? Message() : answers.front();
    }

    const Message& profiles() { return *m_unit.data("profileList"); }

    static const Message* profile(const Message& list, int id)
    {
        for (unsigned int i = 0; i < list.num_children("profile"); ++i) {
            if (list.get_child("profile", i).params().get_int("id", 0) == id)
                return &list.get_child("profile", i);
        }
        return nullptr;
    }

    std::vector<Message> pushed;
    std::vector<std::string> reported;

private:
    Unit m_unit{1};
    RequestRouter m_router;
};

TEST_F(ProfileHandlers, AddAnswersTheNewIdBeforePushingTheList)
{
    const Message answer = ask("addProfile", "name=\"New Profile\" channel=rtp_udp_mux seq=addProfile");
    EXPECT_EQ(answer.params().get_string("seq", ""), "addProfile");
    EXPECT_EQ(answer.params().get_int("id", 0), 8);
    EXPECT_FALSE(answer.params().get_bool("fail", true));

    ASSERT_EQ(pushed.size(), 1u);
    EXPECT_EQ(pushed[0].name, "profileList");
    EXPECT_EQ(pushed[0], profiles());
    const Message* added = profile(pushed[0], 8);
    ASSERT_NE(added, nullptr);
    EXPECT_EQ(added->params().get_string("name", ""), "New Profile");
    EXPECT_FALSE(added->params().get_bool("factory", true));
    EXPECT_FALSE(added->params().get_bool("default", true));
    const Message* settings = added->find_child("settings");
    ASSERT_NE(settings, nullptr);
    EXPECT_EQ(settings->params().get_string("name", ""), "New Profile");
    EXPECT_EQ(settings->params().get_string("channel", ""), "rtp_udp_mux");
    EXPECT_EQ(settings->params().get_string("visible", ""), "true");

    EXPECT_EQ(ask("addProfile", "name=Another seq=addProfile").params().get_int("id", 0), 9);
    EXPECT_EQ(reported, (std::vector<std::string>{"addProfile id=8 name=New Profile", "addProfile id=9 name=Another"}));
}

TEST_F(ProfileHandlers, CopyKeepsTheSettingsUnderANewIdAndName)
{
    for (int source : {1, 7}) {
        SCOPED_TRACE(source);
        const std::string params = "id:i=" + std::to_string(source) + " name=\"Copy of it\" seq=copyProfile";
        const int id = ask("copyProfile", params.c_str()).params().get_int("id", 0);
        const Message* copy = profile(profiles(), id);
        const Message* original = profile(profiles(), source);
        ASSERT_NE(copy, nullptr);
        ASSERT_NE(original, nullptr);
        EXPECT_NE(id, source);
        // A copy of a factory profile or of the default is neither.
        EXPECT_FALSE(copy->params().get_bool("factory", true));
        EXPECT_FALSE(copy->params().get_bool("default", true));
        EXPECT_EQ(copy->find_child("settings")->params().get_string("name", ""), "Copy of it");
        EXPECT_EQ(copy->find_child("settings")->params().get_string("channel", ""),
                  original->find_child("settings")->params().get_string("channel", "?"));
        EXPECT_EQ(*copy->find_child("local"), *original->find_child("local"));
        EXPECT_EQ(original->find_child("settings")->params().get_string("name", ""), original->params().get_string("name", "?"));
    }
    EXPECT_EQ(pushed.size(), 2u);
    EXPECT_EQ(reported, (std::vector<std::string>{"copyProfile from=1 id=8 name=Copy of it",
                                                  "copyProfile from=7 id=9 name=Copy of it"}));
}

TEST_F(ProfileHandlers, DeleteRemovesOnlyThatProfile)
{
    ask("addProfile", "name=Spare seq=addProfile");
    ask("deleteProfile", "id:i=7 seq=deleteProfile");
    ASSERT_EQ(profiles().num_children("profile"), 2u);
    EXPECT_NE(profile(profiles(), 1), nullptr);
    EXPECT_NE(profile(profiles(), 8), nullptr);
    ASSERT_EQ(pushed.size(), 2u);
    EXPECT_EQ(pushed.back(), profiles());
    EXPECT_EQ(reported.back(), "deleteProfile id=7");
}

TEST_F(ProfileHandlers, RefusedChangesLeaveTheUnitAsItWas)
{
    struct Case {
        const char* request;
        const char* params;
    };
    for (const Case& refused : {Case{"deleteProfile", "id:i=1 seq=deleteProfile"},
                                Case{"deleteProfile", "id:i=99 seq=deleteProfile"},
                                Case{"copyProfile", "id:i=99 name=x seq=copyProfile"},
                                Case{"storeSettings", "restricted:b=true seq=storeSettings"}}) {
        SCOPED_TRACE(refused.params);
        const Message profilesBefore = profiles();
        const Message settingsBefore = ask("loadSettings", "seq=loadSettings");
        const Message answer = ask(refused.request, refused.params);
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
    ask("storeSettings", "group=p_keypad keypadF2Mode:i=9 seq=storeSettings");
    ask("storeSettings", "group=p_browser homeURL=http://example.org/ seq=storeSettings");
    ask("storeSettings", "group=p_general restricted:b=true seq=storeSettings");

    const Message settings = ask("loadSettings", "seq=loadSettings");
    ASSERT_EQ(settings.num_children("group"), 3u);
    const char* const order[] = {"p_keypad", "p_general", "p_browser"};
    for (unsigned int i = 0; i < 3; ++i) {
        const Params& group = settings.get_child("group", i).params();
        EXPECT_EQ(group.get_string("name", ""), order[i]);
        EXPECT_FALSE(group.has_param("group"));
        EXPECT_FALSE(group.has_param("seq"));
    }
    EXPECT_EQ(settings.get_child("group", 0).params().get_int("keypadF2Mode", 0), 9);
    EXPECT_TRUE(settings.get_child("group", 1).params().get_bool("restricted", false));
    EXPECT_EQ(settings.get_child("group", 2).params().get_string("homeURL", ""), "http://example.org/");
    EXPECT_TRUE(pushed.empty());
    EXPECT_EQ(reported, (std::vector<std::string>{"storeSettings group=p_keypad keypadF2Mode=9",
                                                  "storeSettings group=p_browser homeURL=http://example.org/",
                                                  "storeSettings group=p_general restricted=true"}));
}

TEST(ProfileHandlersWithoutData, AnswerFailure)
{
    Unit unit(1);
    std::string error;
    ASSERT_TRUE(unit.loadText("<m n=\"unit\"/>", error)) << error;
    RequestRouter router;
    addProfileHandlers(
        router, unit, [](const Message&) { ADD_FAILURE() << "pushed without a list"; },
        [](const std::string& line) { ADD_FAILURE() << "reported " << line; });
    for (const char* name : {"addProfile", "copyProfile", "deleteProfile", "storeSettings"}) {
        const Message request(name, Params("id:i=1 group=p_keypad seq=x"));
        std::vector<Message> answers;
        Reply reply([&answers](const Message& answer) { answers.push_back(answer); }, request);
        ASSERT_TRUE(router.dispatch(request, reply));
        ASSERT_EQ(answers.size(), 1u);
        EXPECT_TRUE(answers[0].params().get_bool("fail", false)) << name;
    }
}

} // namespace
