#include "message.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <functional>
#include <limits>
#include <optional>
#include <vector>

using namespace std::string_literals;

namespace {

// Collects g_log's lines for the life of the object.
class LogCapture {
public:
    explicit LogCapture(LOG_LEVEL threshold = LOG_ERROR)
        : m_previousLevel(g_log.log_level())
    {
        g_log.set_log_level(threshold);
        g_log.set_sink([this](unsigned int, LOG_LEVEL level, const std::string& line) {
            lines.push_back(std::to_string(level) + ' ' + line);
        });
    }
    ~LogCapture()
    {
        g_log.set_sink(nullptr);
        g_log.set_log_level(m_previousLevel);
    }

    std::vector<std::string> lines;

private:
    LOG_LEVEL m_previousLevel;
};

// Expected reads of one stored value; nullopt means "the caller's default".
struct ReadCase {
    ParamValue stored;
    std::optional<int32_t> asInt;
    std::optional<uint32_t> asUint;
    std::optional<bool> asBool;
    std::optional<std::string> asString;
};

constexpr int32_t kIntMin = std::numeric_limits<int32_t>::min();
constexpr uint32_t kUintMax = std::numeric_limits<uint32_t>::max();

class ParamsRead : public ::testing::TestWithParam<ReadCase> {};

TEST_P(ParamsRead, ConvertsWhereTheMeaningIsPlainElseGivesTheDefault)
{
    const ReadCase& c = GetParam();
    Params params;
    params.set("k", c.stored);
    EXPECT_EQ(params.get_int("k", -77), c.asInt.value_or(-77));
    EXPECT_EQ(params.get_uint("k", 77u), c.asUint.value_or(77u));
    EXPECT_EQ(params.get_bool("k", true), c.asBool.value_or(true));
    EXPECT_EQ(params.get_bool("k", false), c.asBool.value_or(false));
    EXPECT_EQ(params.get_string("k", "default"), c.asString.value_or("default"));
}

INSTANTIATE_TEST_SUITE_P(
    Table, ParamsRead,
    ::testing::Values(ReadCase{"-5"s, -5, std::nullopt, std::nullopt, "-5"s},
                      ReadCase{"1"s, 1, 1u, true, "1"s},
                      ReadCase{"false"s, std::nullopt, std::nullopt, false, "false"s},
                      ReadCase{"42x"s, std::nullopt, std::nullopt, std::nullopt, "42x"s},
                      ReadCase{"2147483648"s, std::nullopt, 2147483648u, std::nullopt, "2147483648"s},
                      ReadCase{"4294967296"s, std::nullopt, std::nullopt, std::nullopt, "4294967296"s},
                      ReadCase{int32_t{-1}, -1, std::nullopt, true, "-1"s},
                      ReadCase{kUintMax, std::nullopt, kUintMax, true, "4294967295"s},
                      ReadCase{true, 1, 1u, true, "true"s}));

TEST(Params, AbsentKeyGivesTheDefaultAndSettingAgainReplacesTheType)
{
    Params params("other=1");
    EXPECT_EQ(params.get_string("k", "x"), "x");
    EXPECT_EQ(params.get_int("k", -3), -3);
    EXPECT_EQ(params.get_uint("k", 9u), 9u);
    EXPECT_TRUE(params.get_bool("k", true));
    EXPECT_FALSE(params.has_param("k"));
    params.set_int("other", 1);
    params.set_uint("other", 1u);
    EXPECT_EQ(params.values().at("other"), ParamValue(uint32_t{1}));
}

struct TextCase {
    const char* text;
    std::vector<std::pair<std::string, ParamValue>> expected;
    std::size_t skipped;
};

class ParamsText : public ::testing::TestWithParam<TextCase> {};

TEST_P(ParamsText, ParsesItemsAndSkipsMalformedOnesWithALogLine)
{
    const TextCase& c = GetParam();
    LogCapture log;
    Params expected;
    for (const auto& [key, value] : c.expected)
        expected.set(key, value);
    EXPECT_EQ(Params(c.text), expected) << "text: " << (c.text ? c.text : "(null)");
    ASSERT_EQ(log.lines.size(), c.skipped);
    for (const std::string& line : log.lines)
        EXPECT_EQ(line.substr(0, 2), "2 ");
}

INSTANTIATE_TEST_SUITE_P(
    Table, ParamsText,
    ::testing::Values(
        TextCase{"path=netmgr.devices depth:u=2 label=\"Studio A\" up:b=true",
                 {{"path", "netmgr.devices"s}, {"depth", uint32_t{2}}, {"label", "Studio A"s}, {"up", true}}, 0},
        TextCase{"a:i=-2147483648 b:u=4294967295 d:b=1 e:s=x",
                 {{"a", kIntMin}, {"b", kUintMax}, {"d", true}, {"e", "x"s}}, 0},
        TextCase{R"(q="say \"hi\" \\ ok" raw=a\b)", {{"q", R"(say "hi" \ ok)"s}, {"raw", R"(a\b)"s}}, 0},
        TextCase{"  empty=\t\teq=a=b k=1 k=2", {{"empty", ""s}, {"eq", "a=b"s}, {"k", "2"s}}, 0},
        TextCase{nullptr, {}, 0},
        TextCase{"neg:u=-1 big:i=2147483648 bad:i=abc ok:i=1", {{"ok", int32_t{1}}}, 3},
        TextCase{"flag:b=yes novalue =x t:x=1 t:=1 good=1", {{"good", "1"s}}, 5},
        TextCase{"glued=\"a\"b good=1 open=\"never closed", {{"good", "1"s}}, 2}));

TEST(Params, MergeAddsAndReplacesRightHandKeys)
{
    const Params left("a=1 b=2");
    EXPECT_EQ(left + Params("b:u=3 c=4"), Params("a=1 b:u=3 c=4"));
    EXPECT_EQ(left, Params("a=1 b=2")) << "operator+ must not change its left operand";
    Params accumulated("a=1");
    accumulated += Params("b:i=2");
    EXPECT_EQ(accumulated, Params("a=1 b:i=2"));
}

// Children a, b, a, c, a; each tagged with its position.
Message make_family()
{
    Message parent("parent");
    int position = 0;
    for (const char* name : {"a", "b", "a", "c", "a"})
        parent.add_child(name).params().set_int("pos", position++);
    return parent;
}

TEST(Message, ChildrenAreAddressedByNameAndIndexAmongThatName)
{
    Message parent = make_family();
    Message& last = parent.get_child("a", 2);
    for (int i = 0; i < 100; ++i)
        parent.add_child("more");
    last.params().set_int("pos", 4);
    parent.remove_children("more");
    EXPECT_EQ(parent.num_children("a"), 3u);
    EXPECT_EQ(parent.num_children("absent"), 0u);
    EXPECT_EQ(parent.get_child("a", 1).params().get_int("pos", -1), 2);
    EXPECT_EQ(parent.get_child("a", 2).params().get_int("pos", -1), 4);
    EXPECT_EQ(parent.get_child("c", 0).params().get_int("pos", -1), 3);
    EXPECT_EQ(parent.find_child("a", 3), nullptr);
    EXPECT_THROW(parent.get_child("a", 3), std::out_of_range);
    for (std::size_t i = 0; i < parent.child_count(); ++i)
        EXPECT_EQ(parent.child(i).params().get_int("pos", -1), static_cast<int>(i));
    parent.remove_children("a");
    ASSERT_EQ(parent.child_count(), 2u);
    EXPECT_EQ(parent.child(0).name, "b");
    EXPECT_EQ(parent.child(1).name, "c");
}

TEST(Message, CopiesAreDeepAndIndependent)
{
    Message original = make_family();
    original.get_child("b", 0).add_child("grandchild").params().set_string("v", "old");
    Message copy(original);
    Message assigned;
    assigned = original;
    EXPECT_EQ(copy, original);
    EXPECT_EQ(assigned, original);

    copy.get_child("b", 0).get_child("grandchild", 0).params().set_string("v", "new");
    assigned.get_child("a", 1).name = "renamed";
    EXPECT_EQ(original.get_child("b", 0).get_child("grandchild", 0).params().get_string("v", ""), "old");
    EXPECT_EQ(original.num_children("a"), 3u);
    EXPECT_NE(copy, original);
    EXPECT_NE(assigned, original);
}

TEST(Message, AssignmentFromItsOwnDescendantOrAddingItself)
{
    Message message = make_family();
    const Message before = message;
    message = message.get_child("c", 0);
    EXPECT_EQ(message, before.get_child("c", 0));

    Message tree("root");
    tree.add_child("x");
    tree.add_child(tree);
    ASSERT_EQ(tree.child_count(), 2u);
    EXPECT_EQ(tree.child(1).child_count(), 1u) << "a tree added to itself is copied as it was";
}

TEST(Message, AnyChangeAnywhereMakesTreesUnequal)
{
    const std::function<void(Message&)> changes[] = {
        [](Message& m) { m.name = "other"; },
        [](Message& m) { m.get_child("a", 1).params().set_uint("pos", 2u); },
        [](Message& m) { m.get_child("c", 0).name = "d"; },
        [](Message& m) { m.add_child("a"); },
        [](Message& m) { m.get_child("a", 2).add_child("deep"); },
        [](Message& m) {
            const Message b = m.get_child("b", 0);
            m.remove_children("b");
            m.add_child(b);
        }};
    for (const auto& change : changes) {
        Message changed = make_family();
        change(changed);
        EXPECT_TRUE(changed != make_family());
        EXPECT_FALSE(changed == make_family());
    }
}

TEST(Message, DumpListsEveryNodeWithTypedParams)
{
    Message message("peer", Params("id:i=-3 name=\"Studio \\\"A\\\"\" on:b=true rate:u=64000"));
    message.params().set_string("ctl", "a\tb\n");
    message.add_child("channel").add_child("stats").params().set_int("lost", 0);
    message.add_child("empty");
    EXPECT_EQ(message.dump_text(), "peer ctl:s=\"a\\x09b\\x0a\" id:i=-3 name:s=\"Studio \\\"A\\\"\" on:b=true rate:u=64000\n"
                                 "  channel\n"
                                 "    stats lost:i=0\n"
                                 "  empty\n");
    EXPECT_EQ(Message("x").dump_text(2), "    x\n");
    LogCapture log(LOG_DEBUG);
    message._dump(LOG_DEBUG, 0, 0);
    message._dump(LOG_NONE, 0, 0);
    EXPECT_EQ(log.lines.size(), 4u);
    EXPECT_EQ(log.lines.at(2), "6     stats lost:i=0");
}

} // namespace
