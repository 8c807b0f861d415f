#include "message.h"

#include <gtest/gtest.h>

#include <cctype>
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
    const char* label;
    ParamValue stored;
    std::optional<int32_t> asInt;
    std::optional<uint32_t> asUint;
    std::optional<bool> asBool;
    std::optional<std::string> asString;
};

constexpr int32_t kIntMin = std::numeric_limits<int32_t>::min();
constexpr uint32_t kUintMax = std::numeric_limits<uint32_t>::max();

const ReadCase kReadCases[] = {
    {"decimal text", "42"s, 42, 42u, std::nullopt, "42"s},
    {"negative text", "-5"s, -5, std::nullopt, std::nullopt, "-5"s},
    {"text 1", "1"s, 1, 1u, true, "1"s},
    {"text 0", "0"s, 0, 0u, false, "0"s},
    {"text true", "true"s, std::nullopt, std::nullopt, true, "true"s},
    {"text false", "false"s, std::nullopt, std::nullopt, false, "false"s},
    {"plain text", "Studio A"s, std::nullopt, std::nullopt, std::nullopt, "Studio A"s},
    {"empty text", ""s, std::nullopt, std::nullopt, std::nullopt, ""s},
    {"text with blanks", " 42"s, std::nullopt, std::nullopt, std::nullopt, " 42"s},
    {"text with trailing garbage", "42x"s, std::nullopt, std::nullopt, std::nullopt, "42x"s},
    {"text above int range", "2147483648"s, std::nullopt, 2147483648u, std::nullopt, "2147483648"s},
    {"text above uint range", "4294967296"s, std::nullopt, std::nullopt, std::nullopt, "4294967296"s},
    {"int -1", int32_t{-1}, -1, std::nullopt, true, "-1"s},
    {"int 0", int32_t{0}, 0, 0u, false, "0"s},
    {"int minimum", kIntMin, kIntMin, std::nullopt, true, "-2147483648"s},
    {"uint 7", uint32_t{7}, 7, 7u, true, "7"s},
    {"uint maximum", kUintMax, std::nullopt, kUintMax, true, "4294967295"s},
    {"bool true", true, 1, 1u, true, "true"s},
    {"bool false", false, 0, 0u, false, "false"s},
};

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

INSTANTIATE_TEST_SUITE_P(Table, ParamsRead, ::testing::ValuesIn(kReadCases),
                         [](const ::testing::TestParamInfo<ReadCase>& info) {
                             std::string name = info.param.label;
                             for (char& c : name)
                                 c = std::isalnum(static_cast<unsigned char>(c)) ? c : '_';
                             return name;
                         });

TEST(Params, AbsentKeyGivesTheDefault)
{
    const Params params("other=1");
    EXPECT_EQ(params.get_string("k", ""), "");
    EXPECT_EQ(params.get_string("k", "x"), "x");
    EXPECT_EQ(params.get_int("k", 0), 0);
    EXPECT_EQ(params.get_int("k", -3), -3);
    EXPECT_EQ(params.get_uint("k", 9u), 9u);
    EXPECT_FALSE(params.get_bool("k", false));
    EXPECT_TRUE(params.get_bool("k", true));
    EXPECT_FALSE(params.has_param("k"));
    EXPECT_TRUE(params.has_param("other"));
}

TEST(Params, SettingAKeyAgainReplacesValueAndType)
{
    Params params;
    params.set_int("k", 1);
    params.set_uint("k", 1u);
    EXPECT_EQ(params.size(), 1u);
    EXPECT_EQ(params.values().at("k"), ParamValue(uint32_t{1}));
    params.set_string("k", "x");
    EXPECT_EQ(params.values().at("k"), ParamValue("x"s));
    EXPECT_TRUE(params.remove("k"));
    EXPECT_FALSE(params.remove("k"));
    EXPECT_TRUE(params.empty());
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
    const Params params(c.text);

    Params expected;
    for (const auto& [key, value] : c.expected)
        expected.set(key, value);
    EXPECT_EQ(params, expected) << "text: " << (c.text ? c.text : "(null)");
    ASSERT_EQ(log.lines.size(), c.skipped);
    for (const std::string& line : log.lines)
        EXPECT_EQ(line.substr(0, 2), "2 ");
}

const TextCase kTextCases[] = {
    {"path=netmgr.devices status=raw depth:u=2 label=\"Studio A\" up:b=true",
     {{"path", "netmgr.devices"s}, {"status", "raw"s}, {"depth", uint32_t{2}}, {"label", "Studio A"s}, {"up", true}},
     0},
    {"a:i=-2147483648 b:u=4294967295 c:b=false d:b=1 e:s=x",
     {{"a", kIntMin}, {"b", kUintMax}, {"c", false}, {"d", true}, {"e", "x"s}},
     0},
    {R"(q="say \"hi\" \\ ok" raw=a\b)", {{"q", R"(say "hi" \ ok)"s}, {"raw", R"(a\b)"s}}, 0},
    {"  spaced=1\t\ttabbed=2  ", {{"spaced", "1"s}, {"tabbed", "2"s}}, 0},
    {"empty= quoted=\"\"", {{"empty", ""s}, {"quoted", ""s}}, 0},
    {"eq=a=b k=1 k=2", {{"eq", "a=b"s}, {"k", "2"s}}, 0},
    {"", {}, 0},
    {nullptr, {}, 0},
    {"bad:i=abc good=1", {{"good", "1"s}}, 1},
    {"neg:u=-1 big:i=2147483648 huge:u=4294967296 ok:i=1", {{"ok", int32_t{1}}}, 3},
    {"flag:b=yes novalue =x t:x=1 t:=1 good=1", {{"good", "1"s}}, 5},
    {"glued=\"a\"b good=1", {{"good", "1"s}}, 1},
    {"good=1 open=\"never closed", {{"good", "1"s}}, 1},
};

INSTANTIATE_TEST_SUITE_P(Table, ParamsText, ::testing::ValuesIn(kTextCases));

struct MergeCase {
    const char* left;
    const char* right;
    const char* expected;
};

class ParamsMerge : public ::testing::TestWithParam<MergeCase> {};

TEST_P(ParamsMerge, RightHandKeysAreAddedAndReplace)
{
    const MergeCase& c = GetParam();
    const Params left(c.left);
    const Params right(c.right);
    EXPECT_EQ(left + right, Params(c.expected));
    Params accumulated(c.left);
    accumulated += right;
    EXPECT_EQ(accumulated, Params(c.expected));
    EXPECT_EQ(left, Params(c.left)) << "operator+ must not change its left operand";
}

INSTANTIATE_TEST_SUITE_P(Table, ParamsMerge,
                         ::testing::Values(MergeCase{"a=1", "b:i=2", "a=1 b:i=2"},
                                           MergeCase{"a=1 b=2", "b:u=3", "a=1 b:u=3"},
                                           MergeCase{"", "a=1", "a=1"}, MergeCase{"a=1", "", "a=1"},
                                           MergeCase{"", "", ""}));

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
    const Message parent = make_family();
    EXPECT_EQ(parent.num_children("a"), 3u);
    EXPECT_EQ(parent.num_children("b"), 1u);
    EXPECT_EQ(parent.num_children("absent"), 0u);
    EXPECT_EQ(parent.get_child("a", 0).params().get_int("pos", -1), 0);
    EXPECT_EQ(parent.get_child("a", 1).params().get_int("pos", -1), 2);
    EXPECT_EQ(parent.get_child("a", 2).params().get_int("pos", -1), 4);
    EXPECT_EQ(parent.get_child("c", 0).params().get_int("pos", -1), 3);
    EXPECT_EQ(parent.find_child("a", 3), nullptr);
    EXPECT_EQ(parent.find_child("absent"), nullptr);
    EXPECT_EQ(parent.find_child("b"), &parent.get_child("b", 0));
    EXPECT_THROW(parent.get_child("a", 3), std::out_of_range);
    ASSERT_EQ(parent.child_count(), 5u);
    for (std::size_t i = 0; i < parent.child_count(); ++i)
        EXPECT_EQ(parent.child(i).params().get_int("pos", -1), static_cast<int>(i));
}

TEST(Message, RemoveChildrenKeepsTheOrderOfTheOthers)
{
    Message parent = make_family();
    parent.remove_children("a");
    ASSERT_EQ(parent.child_count(), 2u);
    EXPECT_EQ(parent.child(0).name, "b");
    EXPECT_EQ(parent.child(1).name, "c");
    parent.remove_children("absent");
    EXPECT_EQ(parent.child_count(), 2u);
}

TEST(Message, ReferencesToChildrenSurviveAddingMoreChildren)
{
    Message parent("p");
    Message& first = parent.add_child("first");
    for (int i = 0; i < 100; ++i)
        parent.add_child("more");
    first.params().set_int("x", 1);
    EXPECT_EQ(parent.get_child("first", 0).params().get_int("x", 0), 1);
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

TEST(Message, AssignmentFromItselfOrItsOwnDescendant)
{
    Message message = make_family();
    const Message before = message;
    message = *&message;
    EXPECT_EQ(message, before);

    message = message.get_child("c", 0);
    EXPECT_EQ(message, before.get_child("c", 0));

    Message tree("root");
    tree.add_child("x");
    tree.add_child(tree);
    ASSERT_EQ(tree.child_count(), 2u);
    EXPECT_EQ(tree.child(1).child_count(), 1u) << "a tree added to itself is copied as it was";
}

struct Mutation {
    const char* label;
    std::function<void(Message&)> apply;
};

class MessageDifference : public ::testing::TestWithParam<Mutation> {};

TEST_P(MessageDifference, AnyChangeAnywhereMakesTreesUnequal)
{
    const Message original = make_family();
    Message changed = original;
    GetParam().apply(changed);
    EXPECT_TRUE(changed != original);
    EXPECT_FALSE(changed == original);
}

INSTANTIATE_TEST_SUITE_P(
    Table, MessageDifference,
    ::testing::Values(
        Mutation{"name", [](Message& m) { m.name = "other"; }},
        Mutation{"root_param", [](Message& m) { m.params().set_bool("flag", true); }},
        Mutation{"child_param_type", [](Message& m) { m.get_child("a", 1).params().set_uint("pos", 2u); }},
        Mutation{"child_name", [](Message& m) { m.get_child("c", 0).name = "d"; }},
        Mutation{"extra_child", [](Message& m) { m.add_child("a"); }},
        Mutation{"fewer_children", [](Message& m) { m.remove_children("b"); }},
        Mutation{"child_order",
                 [](Message& m) {
                     const Message b = m.get_child("b", 0);
                     m.remove_children("b");
                     m.add_child(b);
                 }},
        Mutation{"grandchild", [](Message& m) { m.get_child("a", 2).add_child("deep"); }}),
    [](const ::testing::TestParamInfo<Mutation>& info) { return std::string(info.param.label); });

Message make_dump_sample()
{
    Message message("peer", Params("id:i=-3 name=\"Studio \\\"A\\\"\" on:b=true rate:u=64000"));
    message.params().set_string("ctl", "a\tb\n");
    message.add_child("channel").add_child("stats").params().set_int("lost", 0);
    message.add_child("empty");
    return message;
}

const char* const kDumpSample = "peer ctl:s=\"a\\x09b\\x0a\" id:i=-3 name:s=\"Studio \\\"A\\\"\" on:b=true rate:u=64000\n"
                                "  channel\n"
                                "    stats lost:i=0\n"
                                "  empty\n";

TEST(Message, DumpTextListsEveryNodeWithTypedParams)
{
    EXPECT_EQ(make_dump_sample().dump_text(), kDumpSample);
    EXPECT_EQ(Message("x").dump_text(2), "    x\n");
}

TEST(Message, DumpWritesOneLogLinePerNodeOnlyWhenEnabled)
{
    const Message message = make_dump_sample();
    {
        LogCapture log(LOG_DEBUG);
        message._dump(LOG_DEBUG, 0, 0);
        std::string joined;
        for (const std::string& line : log.lines)
            joined += line.substr(2) + '\n';
        EXPECT_EQ(log.lines.size(), 4u);
        EXPECT_EQ(joined, kDumpSample);
        EXPECT_EQ(log.lines[0].substr(0, 2), "6 ");
    }
    {
        LogCapture log(LOG_ERROR);
        message._dump(LOG_DEBUG, 0, 0);
        message._dump(LOG_NONE, 0, 0);
        EXPECT_TRUE(log.lines.empty());
    }
}

} // namespace
