#include "logcapture.h"
#include "message.h"
#include "socketaddr.h"
#include "strutil.h"

#include <gtest/gtest.h>

#include <climits>
#include <functional>
#include <limits>
#include <vector>

using namespace std::string_literals;

namespace {

// Recorded while this file's static objects are constructed: g_log must already be usable then.
struct EarlyLogUser {
    EarlyLogUser() : thresholdSeen(g_log.log_level(0)) { g_log.set_log_level(9, LOG_INFO); }
    LOG_LEVEL thresholdSeen;
};
const EarlyLogUser g_earlyLogUser;

TEST(StrUtil, SplitsUpperCasesReadsWholeDecimalsAndNamesSocketAddresses)
{
    using Fields = std::vector<std::string>;
    EXPECT_EQ(split("a,,b", ","), (Fields{"a", "", "b"}));
    EXPECT_EQ(split("", ","), Fields{""});
    EXPECT_EQ(split("a,b;c", ",;"), (Fields{"a", "b", "c"}));
    EXPECT_EQ(split("a,b", ""), Fields{"a,b"});
    EXPECT_EQ(str_uc("gui_debug 1-z\xc3\xa9"), "GUI_DEBUG 1-Z\xc3\xa9");
    const std::pair<const char*, int> cases[] = {
        {"-17", -17}, {"+5", 5}, {"  \t12", 12}, {"-2147483648", INT_MIN}, {"2147483648", 0},
        {"", 0}, {"-", 0}, {"+-5", 0}, {"12abc", 0}, {"12 ", 0}, {"0x10", 0}};
    for (const auto& [text, value] : cases)
        EXPECT_EQ(str_to_int(text), value) << '"' << text << '"';
    EXPECT_EQ(int_to_str(INT_MIN), "-2147483648");
    // Socket addresses: local paths, and TCP hosts with the default port.
    const std::tuple<const char*, int, const char*, bool> addresses[] = {
        {"/com/halvik/orvane", 0, "/com/halvik/orvane", true}, {"192.168.1.20", 0, "192.168.1.20:47710", false},
        {"unit.local", 5000, "unit.local:5000", false}, {"::1", 0, "[::1]:47710", false}};
    for (const auto& [host, port, text, local] : addresses)
        EXPECT_EQ(std::make_pair(SocketAddr(host, port).to_string(), SocketAddr(host, port).is_local()),
                  std::make_pair(std::string(text), local));
}

// Without a sink a logger writes "<level> <text>" on stderr; with one, it hands it the line.
TEST(Logger, WritesALineOnlyAboveZeroAndUpToItsCategorysThreshold)
{
    // g_log is ready before the dynamic initialisation of other files.
    EXPECT_EQ(g_earlyLogUser.thresholdSeen, LOG_ERROR);
    EXPECT_EQ(g_log.log_level(9), LOG_INFO) << "a later constructor run must not reset what was set";
    testing::internal::CaptureStderr();
    Logger plain;
    plain.clog(3, LOG_CRITICAL, "fatal");
    plain.log(LOG_DEBUG, "not written");
    plain.log(LOG_ERROR, "%s", "error");
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "1 fatal\n2 error\n");
    Logger logger;
    std::vector<std::string> lines;
    logger.set_sink([&lines](unsigned int category, LOG_LEVEL level, const std::string& text) {
        lines.push_back(std::to_string(category) + ' ' + std::to_string(level) + ' ' + text);
    });
    // Category set and its threshold, category and level of the line, whether it is written.
    const std::tuple<unsigned int, LOG_LEVEL, unsigned int, LOG_LEVEL, bool> cases[] = {
        {0, LOG_ERROR, 0, LOG_ERROR, true},    {0, LOG_ERROR, 0, LOG_WARNING, false},
        {0, LOG_DEBUG, 0, LOG_NONE, false},    {5, LOG_DEBUG, 5, LOG_INFO, true},
        {5, LOG_DEBUG, 6, LOG_INFO, false},    {0, LOG_ERROR, 5, LOG_INFO, false},
        {31, LOG_INFO, 31, LOG_INFO, true},    {0, LOG_DEBUG, 32, LOG_DEBUG, true},
        {0, LOG_DEBUG, 4000, LOG_VERBOSE, true}, {32, LOG_INFO, 0, LOG_INFO, true},
        {32, LOG_INFO, 1, LOG_INFO, false}};
    for (const auto& [setCategory, threshold, lineCategory, lineLevel, written] : cases) {
        logger.set_log_level(LOG_ERROR);
        logger.set_log_level(setCategory, threshold);
        lines.clear();
        logger.clog(lineCategory, lineLevel, "line %d", 1);
        EXPECT_EQ(lines.size(), written ? 1u : 0u) << setCategory << ' ' << lineCategory;
        // What callers ask before building a costly line.
        EXPECT_EQ(logger.enabled(lineCategory, lineLevel), written);
    }
    const std::string longText(5000, 'x');
    lines.clear();
    logger.log(LOG_ERROR, "state %s -> %d", "IPC_READY", 2);
    logger.clog(7, LOG_CRITICAL, "%05.1f|%-3s|<%s>", 3.14159, "x", longText.c_str());
    // A format that cannot be printed is written as it stands.
    logger.log(LOG_ERROR, "%s", "");
    logger.log(LOG_ERROR, "%ls", L"\u0100");
    EXPECT_EQ(lines, (std::vector<std::string>{"0 2 state IPC_READY -> 2", "7 1 003.1|x  |<" + longText + '>', "0 2 ",
                                               "0 2 %ls"}));
}

constexpr uint32_t kUintMax = std::numeric_limits<uint32_t>::max();

// How `key` reads as int, uint, bool (with default true, then false) and string, with defaults that
// no case stores.
std::string reads(const Params& params, const std::string& key)
{
    return std::to_string(params.get_int(key, -77)) + ' ' + std::to_string(params.get_uint(key, 77u)) + ' '
        + "ft"[params.get_bool(key, true)] + "ft"[params.get_bool(key, false)] + ' ' + params.get_string(key, "default");
}

TEST(Params, ReadsConvertWhereTheMeaningIsPlainElseGiveTheDefault)
{
    const std::pair<ParamValue, std::string> cases[] = {
        {"-5"s, "-5 77 tf -5"}, {"1"s, "1 1 tt 1"}, {"42x"s, "-77 77 tf 42x"}, {"4294967296"s, "-77 77 tf 4294967296"},
        {int32_t{-1}, "-1 77 tt -1"}, {kUintMax, "-77 4294967295 tt 4294967295"}};
    for (const auto& [stored, expected] : cases) {
        Params params;
        params.set("k", stored);
        EXPECT_EQ(reads(params, "k"), expected);
        EXPECT_EQ(reads(params, "absent"), "-77 77 tf default");
    }
}

// Text, the parsed items as a dump shows them, and how many malformed items were skipped, each with a log line.
TEST(Params, TextIsParsedIntoItemsAndEachMalformedOneSkippedWithALogLine)
{
    const std::tuple<const char*, const char*, std::size_t> cases[] = {
        {"path=netmgr.devices depth:u=2 label=\"Studio A\" up:b=true",
         R"(depth:u=2 label:s="Studio A" path:s="netmgr.devices" up:b=true)", 0},
        {"a:i=-2147483648 b:u=4294967295 e:s=x", R"(a:i=-2147483648 b:u=4294967295 e:s="x")", 0},
        {R"(q="say \"hi\" \\ ok" raw=a\b)", R"(q:s="say \"hi\" \\ ok" raw:s="a\\b")", 0},
        {"  empty=\t\teq=a=b k=1 k=2", R"(empty:s="" eq:s="a=b" k:s="2")", 0},
        {nullptr, "", 0},
        {"neg:u=-1 big:i=2147483648 bad:i=abc ok:i=1", "ok:i=1", 3},
        {"flag:b=yes novalue =x t:x=1 good=1 open=\"never closed", R"(good:s="1")", 5}};
    for (const auto& [text, items, skipped] : cases) {
        LogCapture log;
        EXPECT_EQ(Message("m", Params(text)).dump_text(), "m" + std::string(*items ? " " : "") + items + "\n");
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
