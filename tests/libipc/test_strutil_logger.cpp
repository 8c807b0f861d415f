#include "logger.h"
#include "socketaddr.h"
#include "strutil.h"

#include <gtest/gtest.h>

#include <climits>
#include <cstdio>
#include <sstream>
#include <thread>
#include <vector>

#include <unistd.h>

namespace {

// Recorded while this file's static objects are constructed: g_log must already be usable then.
struct EarlyLogUser {
    EarlyLogUser()
        : thresholdSeen(g_log.log_level(0))
    {
        g_log.set_log_level(9, LOG_INFO);
    }
    LOG_LEVEL thresholdSeen;
};
const EarlyLogUser g_earlyLogUser;

TEST(Logger, IsReadyBeforeDynamicInitialisationOfOtherFiles)
{
    EXPECT_EQ(g_earlyLogUser.thresholdSeen, LOG_ERROR);
    EXPECT_EQ(g_log.log_level(9), LOG_INFO) << "a later constructor run must not reset what was set";
}

struct SplitCase {
    std::string text;
    std::string separators;
    std::vector<std::string> fields;
};

class Split : public ::testing::TestWithParam<SplitCase> {};

TEST_P(Split, KeepsEmptyFields)
{
    EXPECT_EQ(split(GetParam().text, GetParam().separators), GetParam().fields);
}

INSTANTIATE_TEST_SUITE_P(Table, Split,
                         ::testing::Values(SplitCase{"a,,b", ",", {"a", "", "b"}}, SplitCase{"", ",", {""}},
                                           SplitCase{"abc", ",", {"abc"}}, SplitCase{",", ",", {"", ""}},
                                           SplitCase{"a,b;c d", ",; ", {"a", "b", "c", "d"}},
                                           SplitCase{"a,b", "", {"a,b"}},
                                           SplitCase{"netmgr.devices.eth0", ".", {"netmgr", "devices", "eth0"}}));

TEST(StrUc, UpperCasesAsciiOnly)
{
    EXPECT_EQ(str_uc("True"), "TRUE");
    EXPECT_EQ(str_uc("gui_debug 1-z"), "GUI_DEBUG 1-Z");
    EXPECT_EQ(str_uc(""), "");
    EXPECT_EQ(str_uc("\xc3\xa9t\xc3\xa9"), "\xc3\xa9T\xc3\xa9") << "bytes of UTF-8 sequences are left alone";
}

struct IntCase {
    const char* text;
    int value;
};

class StrToInt : public ::testing::TestWithParam<IntCase> {};

TEST_P(StrToInt, ReadsDecimalOrGivesZero)
{
    EXPECT_EQ(str_to_int(GetParam().text), GetParam().value) << '"' << GetParam().text << '"';
}

INSTANTIATE_TEST_SUITE_P(Table, StrToInt,
                         ::testing::Values(IntCase{"42", 42}, IntCase{"-17", -17}, IntCase{"+5", 5},
                                           IntCase{"  \t12", 12}, IntCase{"2147483647", INT_MAX},
                                           IntCase{"-2147483648", INT_MIN}, IntCase{"2147483648", 0},
                                           IntCase{"-2147483649", 0}, IntCase{"", 0}, IntCase{"   ", 0},
                                           IntCase{"-", 0}, IntCase{"+", 0}, IntCase{"+-5", 0},
                                           IntCase{"12abc", 0}, IntCase{"12 ", 0}, IntCase{"0x10", 0},
                                           IntCase{"abc", 0}, IntCase{"007", 7}));

TEST(IntToStr, WritesDecimalAndRoundTrips)
{
    for (const int value : {0, 1, -1, 64000, INT_MAX, INT_MIN}) {
        EXPECT_EQ(int_to_str(value), std::to_string(value));
        EXPECT_EQ(str_to_int(int_to_str(value)), value);
    }
}

struct AddrCase {
    const char* host;
    int port;
    bool local;
    int effectivePort;
    const char* text;
};

class SocketAddrText : public ::testing::TestWithParam<AddrCase> {};

TEST_P(SocketAddrText, LocalPathsAndTcpHostsWithTheDefaultPort)
{
    const AddrCase& c = GetParam();
    const SocketAddr addr(c.host, c.port);
    EXPECT_EQ(addr.is_local(), c.local);
    EXPECT_EQ(addr.effective_port(), c.effectivePort);
    EXPECT_EQ(addr.to_string(), c.text);
}

INSTANTIATE_TEST_SUITE_P(Table, SocketAddrText,
                         ::testing::Values(AddrCase{"/com/halvik/orvane", 0, true, 47710, "/com/halvik/orvane"},
                                           AddrCase{"192.168.1.20", 0, false, 47710, "192.168.1.20:47710"},
                                           AddrCase{"unit.local", 5000, false, 5000, "unit.local:5000"},
                                           AddrCase{"::1", 0, false, 47710, "[::1]:47710"},
                                           AddrCase{"", 0, false, 47710, ":47710"}));

struct Line {
    unsigned int category;
    LOG_LEVEL level;
    std::string text;
};

// A logger of its own per test, with a sink that records every line.
class LoggerTest : public ::testing::Test {
protected:
    LoggerTest()
    {
        logger.set_sink([this](unsigned int category, LOG_LEVEL level, const std::string& text) {
            lines.push_back({category, level, text});
        });
    }

    Logger logger;
    std::vector<Line> lines;
};

TEST_F(LoggerTest, EveryCategoryStartsAtThresholdTwoAndCanBeSetAtOnce)
{
    for (unsigned int category = 0; category < 40; ++category) {
        EXPECT_EQ(logger.log_level(category), LOG_ERROR);
        EXPECT_TRUE(logger.enabled(category, LOG_ERROR));
        EXPECT_FALSE(logger.enabled(category, LOG_WARNING));
    }
    logger.set_log_level(LOG_DEBUG);
    for (unsigned int category = 0; category < Logger::kCategories; ++category)
        EXPECT_EQ(logger.log_level(category), LOG_DEBUG);
}

struct ThresholdCase {
    unsigned int setCategory;
    LOG_LEVEL threshold;
    unsigned int lineCategory;
    LOG_LEVEL lineLevel;
    bool written;
};

class LoggerThreshold : public LoggerTest, public ::testing::WithParamInterface<ThresholdCase> {};

TEST_P(LoggerThreshold, WritesALineOnlyAboveZeroAndUpToItsCategorysThreshold)
{
    const ThresholdCase& c = GetParam();
    logger.set_log_level(c.setCategory, c.threshold);
    EXPECT_EQ(logger.enabled(c.lineCategory, c.lineLevel), c.written);
    logger.clog(c.lineCategory, c.lineLevel, "line %d", 1);
    EXPECT_EQ(lines.size(), c.written ? 1u : 0u);
}

INSTANTIATE_TEST_SUITE_P(Table, LoggerThreshold,
                         ::testing::Values(ThresholdCase{0, LOG_ERROR, 0, LOG_ERROR, true},
                                           ThresholdCase{0, LOG_ERROR, 0, LOG_WARNING, false},
                                           ThresholdCase{0, LOG_DEBUG, 0, LOG_DEBUG, true},
                                           ThresholdCase{0, LOG_DEBUG, 0, LOG_NONE, false},
                                           ThresholdCase{0, LOG_NONE, 0, LOG_CRITICAL, false},
                                           ThresholdCase{0, LOG_NONE, 0, LOG_NONE, false},
                                           ThresholdCase{5, LOG_DEBUG, 5, LOG_INFO, true},
                                           ThresholdCase{5, LOG_DEBUG, 6, LOG_INFO, false},
                                           ThresholdCase{5, LOG_DEBUG, 0, LOG_INFO, false},
                                           ThresholdCase{31, LOG_INFO, 31, LOG_INFO, true},
                                           ThresholdCase{0, LOG_DEBUG, 32, LOG_DEBUG, true},
                                           ThresholdCase{0, LOG_DEBUG, 4000, LOG_VERBOSE, true},
                                           ThresholdCase{32, LOG_INFO, 0, LOG_INFO, true},
                                           ThresholdCase{32, LOG_INFO, 1, LOG_INFO, false}));

TEST_F(LoggerTest, LogUsesCategoryZeroAndFormatsPrintfStyle)
{
    logger.set_log_level(3, LOG_NONE);
    logger.log(LOG_ERROR, "state %s -> %d", "IPC_READY", 2);
    logger.clog(7, LOG_CRITICAL, "%05.1f|%-3s|%u", 3.14159, "x", 7u);
    ASSERT_EQ(lines.size(), 2u);
    EXPECT_EQ(lines[0].category, 0u);
    EXPECT_EQ(lines[0].level, LOG_ERROR);
    EXPECT_EQ(lines[0].text, "state IPC_READY -> 2");
    EXPECT_EQ(lines[1].category, 7u);
    EXPECT_EQ(lines[1].text, "003.1|x  |7");
}

TEST_F(LoggerTest, LongLinesAreNotCut)
{
    const std::string longText(5000, 'x');
    logger.log(LOG_ERROR, "<%s>", longText.c_str());
    ASSERT_EQ(lines.size(), 1u);
    EXPECT_EQ(lines[0].text, '<' + longText + '>');
}

// The caller's idiom for costly lines: the argument is only built when the level is enabled.
TEST_F(LoggerTest, GuardedCostlyLineIsNotBuiltWhenDisabled)
{
    int built = 0;
    const auto costly = [&built] {
        ++built;
        return std::string("tree dump");
    };
    for (const LOG_LEVEL threshold : {LOG_ERROR, LOG_DEBUG}) {
        logger.set_log_level(threshold);
        if (logger.enabled(0, LOG_DEBUG))
            logger.clog(0, LOG_DEBUG, "%s", costly().c_str());
    }
    EXPECT_EQ(built, 1);
    EXPECT_EQ(lines.size(), 1u);
}

TEST_F(LoggerTest, SetSinkReturnsThePreviousOne)
{
    int calls = 0;
    const Logger::Sink counting = [&calls](unsigned int, LOG_LEVEL, const std::string&) { ++calls; };
    Logger::Sink previous = logger.set_sink(counting);
    ASSERT_TRUE(previous);
    logger.log(LOG_ERROR, "to the counting sink");
    EXPECT_EQ(calls, 1);
    EXPECT_TRUE(lines.empty());

    Logger::Sink counted = logger.set_sink(std::move(previous));
    ASSERT_TRUE(counted);
    logger.log(LOG_ERROR, "back to the recording sink");
    EXPECT_EQ(lines.size(), 1u);
    counted(0, LOG_ERROR, "");
    EXPECT_EQ(calls, 2);
}

// Points standard error at a temporary file for the life of the object.
class StderrCapture {
public:
    StderrCapture()
        : m_file(std::tmpfile())
        , m_saved(::dup(STDERR_FILENO))
    {
        ::dup2(::fileno(m_file), STDERR_FILENO);
    }
    ~StderrCapture()
    {
        restore();
        std::fclose(m_file);
    }

    std::string text()
    {
        restore();
        std::string content;
        std::rewind(m_file);
        char buffer[4096];
        std::size_t count;
        while ((count = std::fread(buffer, 1, sizeof buffer, m_file)) > 0)
            content.append(buffer, count);
        return content;
    }

private:
    void restore()
    {
        if (m_saved < 0)
            return;
        ::dup2(m_saved, STDERR_FILENO);
        ::close(m_saved);
        m_saved = -1;
    }

    std::FILE* m_file;
    int m_saved;
};

TEST(LoggerStderr, WritesLevelSpaceTextNewline)
{
    Logger logger;
    StderrCapture capture;
    logger.log(LOG_ERROR, "link %s", "down");
    logger.clog(3, LOG_CRITICAL, "fatal");
    logger.log(LOG_DEBUG, "not written");
    EXPECT_EQ(capture.text(), "2 link down\n1 fatal\n");
}

TEST(LoggerStderr, LinesOfTwoThreadsNeverInterleave)
{
    constexpr int kLinesPerThread = 2000;
    Logger logger;
    StderrCapture capture;
    const auto writer = [&logger](char mark) {
        const std::string body(120, mark);
        for (int i = 0; i < kLinesPerThread; ++i)
            logger.log(LOG_ERROR, "%c%d %s", mark, i, body.c_str());
    };
    std::thread first(writer, 'a');
    std::thread second(writer, 'b');
    first.join();
    second.join();

    // Every line must be "2 <mark><number> <120 marks>" with one mark throughout.
    std::istringstream text(capture.text());
    std::string line;
    int counts[2] = {0, 0};
    while (std::getline(text, line)) {
        ASSERT_GT(line.size(), 3u) << line;
        const char mark = line[2];
        ASSERT_TRUE(mark == 'a' || mark == 'b') << line;
        const std::size_t blank = line.find(' ', 3);
        ASSERT_NE(blank, std::string::npos) << line;
        EXPECT_EQ(line.substr(0, 2), "2 ");
        EXPECT_EQ(line.substr(3, blank - 3).find_first_not_of("0123456789"), std::string::npos) << line;
        ASSERT_EQ(line.substr(blank + 1), std::string(120, mark)) << line;
        ++counts[mark - 'a'];
    }
    EXPECT_EQ(counts[0], kLinesPerThread);
    EXPECT_EQ(counts[1], kLinesPerThread);
}

} // namespace
