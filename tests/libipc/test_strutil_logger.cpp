#include "logger.h"
#include "socketaddr.h"
#include "strutil.h"

#include <gtest/gtest.h>

#include <climits>
#include <cstdio>
#include <tuple>
#include <vector>

#include <unistd.h>

namespace {

// Recorded while this file's static objects are constructed: g_log must already be usable then.
struct EarlyLogUser {
    EarlyLogUser() : thresholdSeen(g_log.log_level(0)) { g_log.set_log_level(9, LOG_INFO); }
    LOG_LEVEL thresholdSeen;
};
const EarlyLogUser g_earlyLogUser;

TEST(Logger, IsReadyBeforeDynamicInitialisationOfOtherFiles)
{
    EXPECT_EQ(g_earlyLogUser.thresholdSeen, LOG_ERROR);
    EXPECT_EQ(g_log.log_level(9), LOG_INFO) << "a later constructor run must not reset what was set";
}

TEST(StrUtil, SplitsKeepingEmptyFieldsUpperCasesAsciiOnlyAndReadsWholeDecimals)
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
}

TEST(SocketAddr, LocalPathsAndTcpHostsWithTheDefaultPort)
{
    EXPECT_TRUE(SocketAddr("/com/halvik/orvane", 0).is_local());
    EXPECT_EQ(SocketAddr("/com/halvik/orvane", 0).to_string(), "/com/halvik/orvane");
    EXPECT_FALSE(SocketAddr("192.168.1.20", 0).is_local());
    EXPECT_EQ(SocketAddr("192.168.1.20", 0).to_string(), "192.168.1.20:47710");
    EXPECT_EQ(SocketAddr("unit.local", 5000).effective_port(), 5000);
    EXPECT_EQ(SocketAddr("::1", 0).to_string(), "[::1]:47710");
}

// A logger of its own per test, with a sink that records "<category> <level> <text>".
class LoggerTest : public ::testing::Test {
protected:
    LoggerTest()
    {
        logger.set_sink([this](unsigned int category, LOG_LEVEL level, const std::string& text) {
            lines.push_back(std::to_string(category) + ' ' + std::to_string(level) + ' ' + text);
        });
    }

    Logger logger;
    std::vector<std::string> lines;
};

TEST_F(LoggerTest, WritesALineOnlyAboveZeroAndUpToItsCategorysThreshold)
{
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

TEST(LoggerStderr, WritesLevelSpaceTextOnlyUpToTheThreshold)
{
    std::FILE* file = std::tmpfile();
    const int saved = ::dup(STDERR_FILENO);
    ::dup2(::fileno(file), STDERR_FILENO);
    Logger logger;
    logger.clog(3, LOG_CRITICAL, "fatal");
    logger.log(LOG_DEBUG, "not written");
    logger.log(LOG_ERROR, "%s", "error");
    ::dup2(saved, STDERR_FILENO);
    ::close(saved);

    std::string text(static_cast<std::size_t>(std::ftell(file)), '\0');
    std::rewind(file);
    ASSERT_EQ(std::fread(text.data(), 1, text.size(), file), text.size());
    std::fclose(file);
    EXPECT_EQ(text, "1 fatal\n2 error\n");
}

} // namespace
