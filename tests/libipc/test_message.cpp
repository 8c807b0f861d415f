#include "logcapture.h"
#include "message.h"

#include <gtest/gtest.h>

#include <functional>
#include <limits>
#include <optional>
#include <vector>

using namespace std::string_literals;

namespace {

constexpr int32_t kIntMin = std::numeric_limits<int32_t>::min();
constexpr uint32_t kUintMax = std::numeric_limits<uint32_t>::max();

TEST(Params, ReadsConvertWhereTheMeaningIsPlainElseGiveTheDefault)
{
    // A stored value and how it reads as int, uint, bool and string; nullopt: the caller's default.
    const std::tuple<ParamValue, std::optional<int32_t>, std::optional<uint32_t>, std::optional<bool>, std::string> cases[] = {
        {"-5"s, -5, {}, {}, "-5"}, {"1"s, 1, 1u, true, "1"}, {"42x"s, {}, {}, {}, "42x"},
        {"4294967296"s, {}, {}, {}, "4294967296"}, {int32_t{-1}, -1, {}, true, "-1"},
        {kUintMax, {}, kUintMax, true, "4294967295"}};
    for (const auto& [stored, asInt, asUint, asBool, asString] : cases) {
        Params params;
        params.set("k", stored);
        EXPECT_EQ(params.get_int("k", -77), asInt.value_or(-77)) << asString;
        EXPECT_EQ(params.get_uint("k", 77u), asUint.value_or(77u)) << asString;
        EXPECT_EQ(params.get_bool("k", true), asBool.value_or(true)) << asString;
        EXPECT_EQ(params.get_bool("k", false), asBool.value_or(false)) << asString;
        EXPECT_EQ(params.get_string("k", "default"), asString);
        EXPECT_EQ(params.get_string("absent", "x"), "x");
        EXPECT_EQ(params.get_int("absent", -3), -3);
        EXPECT_EQ(params.get_uint("absent", 9u), 9u);
        EXPECT_TRUE(params.get_bool("absent", true));
    }
}

TEST(Params, TextIsParsedIntoItemsAndEachMalformedOneSkippedWithALogLine)
{
    const std::tuple<const char*, std::vector<std::pair<std::string, ParamValue>>, std::size_t> cases[] = {
        {"path=netmgr.devices depth:u=2 label=\"Studio A\" up:b=true",
         {{"path", "netmgr.devices"s}, {"depth", uint32_t{2}}, {"label", "Studio A"s}, {"up", true}}, 0},
        {"a:i=-2147483648 b:u=4294967295 e:s=x", {{"a", kIntMin}, {"b", kUintMax}, {"e", "x"s}}, 0},
        {R"(q="say \"hi\" \\ ok" raw=a\b)", {{"q", R"(say "hi" \ ok)"s}, {"raw", R"(a\b)"s}}, 0},
        {"  empty=\t\teq=a=b k=1 k=2", {{"empty", ""s}, {"eq", "a=b"s}, {"k", "2"s}}, 0},
        {nullptr, {}, 0},
        {"neg:u=-1 big:i=2147483648 bad:i=abc ok:i=1", {{"ok", int32_t{1}}}, 3},
        {"flag:b=yes novalue =x t:x=1 good=1 open=\"never closed", {{"good", "1"s}}, 5}};
    for (const auto& [text, items, skipped] : cases) {
        LogCapture log;
        Params expected;
        for (const auto& [key, value] : items)
            expected.set(key, value);
        EXPECT_EQ(Params(text), expected) << (text ? text : "(null)");
        EXPECT_EQ(log.lineCount(), skipped) << (text ? text : "(null)");
    }
    const Params left("a=1 b=2");
    EXPECT_EQ(left + Params("b:u=3 c=4"), Params("a=1 b:u=3 c=4"));
    EXPECT_EQ(left, Params("a=1 b=2")) << "operator+ must not change its left operand";
}

// Children a, b, a, c, a; each tagged with its position; then `padding` children named "pad".
Message make_family(int padding = 0)
{
    Message parent("parent");
    int position = 0;
    for (const char* name : {"a", "b", "a", "c", "a"})
        parent.add_child(name).params().set_int("pos", position++);
    for (int i = 0; i < padding; ++i)
        parent.add_child("pad");
    return parent;
}

TEST(Message, ChildrenAreAddressedByNameAndIndexAmongThatName)
{
    Message parent = make_family();
    Message& last = parent.get_child("a", 2);
    for (int i = 0; i < 100; ++i)
        parent.add_child("more");
    last.params().set_int("pos", 4);
    EXPECT_EQ(parent.num_children("a"), 3u);
    // Equal only in name, params and every child.
    EXPECT_NE(parent.get_child("a", 0), parent.get_child("a", 1));
    EXPECT_NE(make_family(), make_family(1));
    EXPECT_EQ(parent.get_child("a", 1).params().get_int("pos", -1), 2);
    EXPECT_EQ(parent.get_child("c", 0).params().get_int("pos", -1), 3);
    EXPECT_EQ(parent.find_child("a", 3), nullptr);
    EXPECT_THROW(parent.get_child("a", 3), std::out_of_range);
    parent.remove_children("a");
    parent.remove_children("more");
    parent.add_child(parent);
    ASSERT_EQ(parent.child_count(), 3u);
    EXPECT_EQ(parent.child(1).name, "c");
    EXPECT_EQ(parent.child(2).child_count(), 2u) << "a tree added to itself is copied as it was";
    parent = parent.get_child("c", 0);
    EXPECT_EQ(parent, make_family().get_child("c", 0)) << "assignment from its own descendant";
}

// Small messages are scanned, large ones go through an index; either way every way of renaming a
// child after a lookup must still be seen.
TEST(Message, LookupsSeeChildrenRenamedOrReplacedAfterAnEarlierLookup)
{
    const std::function<void(Message&)> renames[] = {
        [](Message& m) { m.get_child("a", 1).name = "c"; },
        [](Message& m) { m.child(2).name = "c"; },
        [](Message& m) { m.get_child("a", 1) = Message("c", Params("pos:i=2")); },
        [](Message& m) { m.add_child("").name = "c"; },
        [](Message& m) {
            m.remove_children("b");
            m.add_child("c");
        },
        [](Message& m) {
            Message moved(std::move(m));
            moved.get_child("a", 0).name = "c";
            m = std::move(moved);
        }};
    for (const int padding : {0, 40}) {
        for (const auto& rename : renames) {
            Message family = make_family(padding);
            ASSERT_EQ(family.num_children("c"), 1u);
            rename(family);
            EXPECT_EQ(family.num_children("c"), 2u) << family.dump_text();
            EXPECT_EQ(family.num_children("a") + family.num_children("b") + family.num_children("c")
                          + family.num_children("pad"),
                      family.child_count());
            for (unsigned int i = 0; i < family.num_children("c"); ++i)
                EXPECT_EQ(family.get_child("c", i).name, "c");
            EXPECT_EQ(family.find_child("c", 2), nullptr);
        }
    }
}

// One line per node, indented by depth, quoted so that no value can break its line.
TEST(Message, DumpsOneLinePerNodeWithEveryByteVisibleAndOnlyAtAnEnabledLevel)
{
    Message root("peer");
    root.params().set_string("name", std::string("a \"b\"\\\x01\x7f~ \x1f ", 12));
    root.params().set_int("id", -3);
    root.add_child("stats").params().set_bool("up", true);
    const std::string expected = R"(  peer id:i=-3 name:s="a \"b\"\\\x01\x7f~ \x1f "
    stats up:b=true
)";
    EXPECT_EQ(root.dump_text(1), expected);
    LogCapture log(LOG_VERBOSE);
    root._dump(LOG_DEBUG, 0, 1);
    EXPECT_EQ(log.lineCount(), 0u);
    root._dump(LOG_VERBOSE, 0, 1);
    EXPECT_EQ(log.all(), expected);
}

} // namespace
