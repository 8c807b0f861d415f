#include "simoptions.h"

#include <gtest/gtest.h>

#include <vector>

namespace {

struct Parsed {
    bool ok;
    SimOptions options;
    std::string error;
};

Parsed parse(std::vector<const char*> arguments)
{
    arguments.insert(arguments.begin(), "orvane-unitsim");
    Parsed parsed{false, SimOptions("default.xml", "velkor"), std::string()};
    parsed.ok = parsed.options.parse(static_cast<int>(arguments.size()), arguments.data(), parsed.error);
    return parsed;
}

TEST(SimOptions, DefaultsStandWithoutArguments)
{
    const Parsed parsed = parse({});
    ASSERT_TRUE(parsed.ok);
    EXPECT_EQ(parsed.options.scenario, "default.xml");
    EXPECT_EQ(parsed.options.password, "velkor");
    EXPECT_EQ(parsed.options.listenHost, "0.0.0.0");
    EXPECT_EQ(parsed.options.listenPort, 0);
    EXPECT_TRUE(parsed.options.tcp);
    EXPECT_FALSE(parsed.options.help);
}

TEST(SimOptions, ReadsEveryOption)
{
    const Parsed parsed = parse({"--scenario", "busy.xml", "--seed", "4294967295", "--stats-rate", "250",
                                 "--password", "", "--listen", "127.0.0.1:5000", "--no-tcp", "--log-level", "6",
                                 "--help"});
    ASSERT_TRUE(parsed.ok) << parsed.error;
    EXPECT_EQ(parsed.options.scenario, "busy.xml");
    EXPECT_EQ(parsed.options.seed, 4294967295u);
    EXPECT_EQ(parsed.options.statsRateMs, 250u);
    EXPECT_EQ(parsed.options.password, "");
    EXPECT_EQ(parsed.options.listenHost, "127.0.0.1");
    EXPECT_EQ(parsed.options.listenPort, 5000);
    EXPECT_FALSE(parsed.options.tcp);
    EXPECT_EQ(parsed.options.logLevel, 6u);
    EXPECT_TRUE(parsed.options.help);
}

TEST(SimOptions, ListenTakesAHostWithOrWithoutAPort)
{
    struct Case {
        const char* value;
        const char* host;
        int port;
    };
    const Case cases[] = {
        {"localhost", "localhost", 0},
        {"10.1.2.3:47711", "10.1.2.3", 47711},
        {"[::1]", "::1", 0},
        {"[::1]:9000", "::1", 9000},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.value);
        const Parsed parsed = parse({"--listen", c.value});
        ASSERT_TRUE(parsed.ok) << parsed.error;
        EXPECT_EQ(parsed.options.listenHost, c.host);
        EXPECT_EQ(parsed.options.listenPort, c.port);
    }
}

TEST(SimOptions, RefusesBadArguments)
{
    const std::vector<std::vector<const char*>> cases = {
        {"--seed"},
        {"--seed", "-1"},
        {"--seed", "4294967296"},
        {"--seed", "12x"},
        {"--stats-rate", ""},
        {"--log-level", "7"},
        {"--listen", "host:99999"},
        {"--listen", ":80"},
        {"--listen", ""},
        {"--frobnicate", "1"},
        {"stray"},
    };
    for (const auto& arguments : cases) {
        SCOPED_TRACE(arguments.front());
        const Parsed parsed = parse(arguments);
        EXPECT_FALSE(parsed.ok);
        EXPECT_FALSE(parsed.error.empty());
    }
}

} // namespace
