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
  <m n="sysOptions"><s k="unit_name">Rack</s><s k="auto_answer">true</s>
    <m n="audio"><b k="cue">true</b><b k="phantom">false</b><s k="headphone_gain">-6</s></m></m>
  <m n="directoryServer"><s k="enabled">true</s><s k="server">dir.example.net</s></m>
  <m n="version"><s k="version">1.0</s></m>
  <m n="systemOpts">
    <m n="option"><s k="name">unit_name</s><s k="group">sysOptions</s></m>
    <m n="option"><s k="name">headphone_gain</s><s k="group">sysOptions</s><s k="subgroup">audio</s></m>
    <m n="option"><s k="name">enabled</s><s k="group">directoryServer</s></m>
    <m n="option"><s k="name">gone</s><s k="group">sipProxy</s></m>
  </m>
  <m n="channelList">
    <m n="channel"><s k="id">ip</s><s k="descr">IP</s><s k="port">9000</s><s k="dscp">46</s></m>
    <m n="channel"><s k="id">pots</s><s k="descr">Phone</s></m>
  </m>
  <m n="profileList">
    <m n="profile"><i k="id">1</i><s k="name">Factory</s><b k="default">true</b>
      <m n="settings"><s k="name">Factory</s><s k="channel">ip</s></m>
      <m n="local"><s k="encoder">opus</s><s k="jitter">60</s></m></m>
    <m n="profile"><i k="id">2</i><s k="name">Studio</s><b k="default">false</b>
      <m n="settings"><s k="name">Studio</s><s k="channel">ip</s></m></m>
  </m>
</m>)";

Message parse(const std::string& xmls)
{
    Message msg;
    std::string error;
    EXPECT_TRUE(ipc::decode(ipc::Encoding::Xmls, xmls.data(), xmls.size(), msg, error)) << error;
    return msg;
}

class OptionHandlers : public ::testing::Test {
protected:
    void SetUp() override
    {
        std::string error;
        ASSERT_TRUE(m_unit.loadText(kScenario, error)) << error;
        addOptionHandlers(m_router, m_unit, [this](const Message& msg) { pushed.push_back(msg); });
    }

    // The answers to one request, given as xmls.
    std::vector<Message> ask(const std::string& xmls)
    {
        std::vector<Message> answers;
        const Message request = parse(xmls);
        Reply reply([&answers](const Message& answer) { answers.push_back(answer); }, request);
        handled = m_router.dispatch(request, reply);
        return answers;
    }

    std::string stored(const std::string& name) const
    {
        const Message* data = m_unit.data(name);
        return data ? data->dump_text() : std::string();
    }

    Unit m_unit{1};
    RequestRouter m_router;
    std::vector<Message> pushed;
    bool handled = false;
};

// A write, the data it changes and that data's whole state afterwards; empty: the request fails
// and nothing changes.
const char* const kWrites[][3] = {
    {R"(<m n="setSysOptions"><s k="seq">sysOptions</s>
        <m n="audio"><b k="cue">false</b><b k="phantom">true</b><b k="pgm">true</b><s k="headphone_gain">0</s></m></m>)",
     "sysOptions",
     R"(<m n="sysOptions"><s k="unit_name">Rack</s><s k="auto_answer">true</s>
        <m n="audio"><b k="cue">false</b><b k="phantom">true</b><s k="headphone_gain">0</s><b k="pgm">true</b></m></m>)"},
    {R"(<m n="setDirectoryServer"><s k="seq">directoryServer</s><s k="enabled">false</s></m>)", "directoryServer",
     R"(<m n="directoryServer"><s k="enabled">false</s><s k="server">dir.example.net</s></m>)"},
    {R"(<m n="setSipProxy"><s k="seq">sipProxy</s><s k="gone">x</s></m>)", "sipProxy", ""},
    {R"(<m n="setChannelSettings"><s k="seq">channelSettings</s><s k="id">ip</s>
        <m n="channel"><m n="reset"><s k="name">dscp</s></m></m></m>)",
     "channelList", R"(<m n="channelList"><m n="channel"><s k="id">ip</s><s k="descr">IP</s><s k="port">9000</s></m>
        <m n="channel"><s k="id">pots</s><s k="descr">Phone</s></m></m>)"},
    {R"(<m n="setChannelSettings"><s k="seq">channelSettings</s><s k="id">isdn</s>
        <m n="channel"><s k="port">1</s></m></m>)", "channelList", ""},
    // The settings' name is the profile's own name too.
    {R"(<m n="setProfile"><s k="seq">profile</s><s k="id">1</s><m n="settings"><s k="name">Booth</s></m>
        <m n="local"><m n="reset"><s k="name">jitter</s></m></m><m n="remote"><s k="encoder">!follow</s></m></m>)",
     "profileList", R"(<m n="profileList">
        <m n="profile"><i k="id">1</i><s k="name">Booth</s><b k="default">true</b>
          <m n="settings"><s k="name">Booth</s><s k="channel">ip</s></m>
          <m n="local"><s k="encoder">opus</s></m><m n="remote"><s k="encoder">!follow</s></m></m>
        <m n="profile"><i k="id">2</i><s k="name">Studio</s><b k="default">false</b>
          <m n="settings"><s k="name">Studio</s><s k="channel">ip</s></m></m></m>)"},
    {R"(<m n="setProfile"><s k="seq">profile</s><i k="id">2</i><b k="default">true</b></m>)", "profileList",
     R"(<m n="profileList">
        <m n="profile"><i k="id">1</i><s k="name">Factory</s><b k="default">false</b>
          <m n="settings"><s k="name">Factory</s><s k="channel">ip</s></m>
          <m n="local"><s k="encoder">opus</s><s k="jitter">60</s></m></m>
        <m n="profile"><i k="id">2</i><s k="name">Studio</s><b k="default">true</b>
          <m n="settings"><s k="name">Studio</s><s k="channel">ip</s></m></m></m>)"},
    {R"(<m n="setProfile"><s k="seq">profile</s><s k="id">9</s></m>)", "profileList", ""},
};

TEST_F(OptionHandlers, WritesChangeTheUnitAndPushTheChangedList)
{
    for (const auto& [text, data, after] : kWrites) {
        SCOPED_TRACE(text);
        SetUp();
        pushed.clear();
        const std::string before = stored(data);
        const Message request = parse(text);
        const std::vector<Message> answers = ask(text);
        ASSERT_EQ(answers.size(), 1u);
        EXPECT_EQ(answers[0].params().get_string("seq", ""), request.params().get_string("seq", ""));
        if (*after == '\0') {
            EXPECT_TRUE(answers[0].params().get_bool("fail", false));
            EXPECT_EQ(stored(data), before);
            EXPECT_TRUE(pushed.empty());
            continue;
        }
        EXPECT_EQ(stored(data), parse(after).dump_text());
        ASSERT_EQ(pushed.size(), 1u);
        EXPECT_EQ(pushed[0].dump_text(), parse(after).dump_text());
        // A group's answer is its new state, since the client caches it under that name.
        Message answer = answers[0];
        answer.params().remove("seq");
        if (request.params().get_string("seq", "") == data)
            EXPECT_EQ(answer.dump_text(), parse(after).dump_text());
        else
            EXPECT_FALSE(answer.params().get_bool("fail", true));
    }
}

TEST_F(OptionHandlers, OnlyTheGroupsOfTheSystemOptionsAreWritable)
{
    ask(R"(<m n="setSipProxy"/>)");
    EXPECT_TRUE(handled);
    ask(R"(<m n="setVersion"><s k="version">2.0</s></m>)");
    EXPECT_FALSE(handled);
    EXPECT_EQ(stored("version"), parse(R"(<m n="version"><s k="version">1.0</s></m>)").dump_text());
}

} // namespace
