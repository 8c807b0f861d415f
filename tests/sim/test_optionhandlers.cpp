#include "codec.h"
#include "optionhandlers.h"
#include "reply.h"
#include "requestrouter.h"
#include "unit.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

const char* const kScenario = R"(<m n="unit">
  <m n="sysOptions"><s k="unit_name">Rack</s><m n="audio"><b k="cue">true</b><s k="gain">-6</s></m></m>
  <m n="systemOpts">
    <m n="option"><s k="name">unit_name</s><s k="group">sysOptions</s></m>
    <m n="option"><s k="name">gone</s><s k="group">sipProxy</s></m></m>
  <m n="channelList"><m n="channel"><s k="id">ip</s><s k="port">9000</s><s k="dscp">46</s></m></m>
  <m n="profileList">
    <m n="profile"><i k="id">1</i><s k="name">Factory</s><b k="default">true</b></m>
    <m n="profile"><i k="id">2</i><s k="name">Studio</s><b k="default">false</b>
      <m n="settings"><s k="name">Studio</s></m></m>
  </m>
</m>)";

Message parse(const std::string& xmls)
{
    Message msg;
    std::string error;
    EXPECT_TRUE(ipc::decode(ipc::Encoding::Xmls, xmls.data(), xmls.size(), msg, error)) << error;
    return msg;
}

// A write, the data it changes and that data's whole state afterwards; empty: the request fails
// and nothing changes.
const char* const kWrites[][3] = {
    {R"(<m n="setSysOptions"><s k="seq">sysOptions</s>
        <m n="audio"><b k="cue">false</b><b k="pgm">true</b><s k="gain">0</s></m></m>)",
     "sysOptions", R"(<m n="sysOptions"><s k="unit_name">Rack</s>
        <m n="audio"><b k="cue">false</b><s k="gain">0</s><b k="pgm">true</b></m></m>)"},
    {R"(<m n="setSipProxy"><s k="seq">sipProxy</s><s k="gone">x</s></m>)", "sipProxy", ""},
    {R"(<m n="setChannelSettings"><s k="seq">channelSettings</s><s k="id">ip</s>
        <m n="channel"><m n="reset"><s k="name">dscp</s></m></m></m>)",
     "channelList", R"(<m n="channelList"><m n="channel"><s k="id">ip</s><s k="port">9000</s></m></m>)"},
    // The settings' name is the profile's own name too; only one profile is the default.
    {R"(<m n="setProfile"><s k="seq">profile</s><i k="id">2</i><b k="default">true</b>
        <m n="settings"><s k="name">Booth</s></m><m n="remote"><s k="encoder">!follow</s></m></m>)",
     "profileList", R"(<m n="profileList">
        <m n="profile"><i k="id">1</i><s k="name">Factory</s><b k="default">false</b></m>
        <m n="profile"><i k="id">2</i><s k="name">Booth</s><b k="default">true</b>
          <m n="settings"><s k="name">Booth</s></m><m n="remote"><s k="encoder">!follow</s></m></m></m>)"},
    {R"(<m n="setProfile"><s k="seq">profile</s><s k="id">9</s></m>)", "profileList", ""},
};

TEST(OptionHandlers, WritesChangeTheUnitAndPushTheChangedList)
{
    for (const auto& [text, data, after] : kWrites) {
        SCOPED_TRACE(text);
        Unit unit(1);
        std::string error;
        ASSERT_TRUE(unit.loadText(kScenario, error)) << error;
        RequestRouter router;
        std::vector<Message> pushed, answers;
        addOptionHandlers(router, unit, [&pushed](const Message& msg) { pushed.push_back(msg); });
        const auto stored = [&unit, name = data] { return unit.data(name) ? unit.data(name)->dump_text() : ""; };
        const std::string before = stored();
        const Message request = parse(text);
        Reply reply([&answers](const Message& answer) { answers.push_back(answer); }, request);
        EXPECT_TRUE(router.dispatch(request, reply));
        ASSERT_EQ(answers.size(), 1u);
        const std::string seq = request.params().get_string("seq", "");
        EXPECT_EQ(answers[0].params().get_string("seq", ""), seq);
        if (*after == '\0') {
            EXPECT_TRUE(answers[0].params().get_bool("fail", false));
            EXPECT_EQ(stored(), before);
            EXPECT_TRUE(pushed.empty());
            continue;
        }
        EXPECT_EQ(stored(), parse(after).dump_text());
        ASSERT_EQ(pushed.size(), 1u);
        EXPECT_EQ(pushed[0].dump_text(), parse(after).dump_text());
        // A group's answer is its new state, since the client caches it under that name.
        answers[0].params().remove("seq");
        if (seq == data)
            EXPECT_EQ(answers[0].dump_text(), parse(after).dump_text());
        else
            EXPECT_FALSE(answers[0].params().get_bool("fail", true));
    }
}

} // namespace
