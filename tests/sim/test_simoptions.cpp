#include "simoptions.h"

#include <gtest/gtest.h>

#include <tuple>
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

TEST(SimOptions, ReadsEveryOption)
{
    const Parsed parsed = parse({"--scenario", "busy.xml", "--seed", "4294967295", "--stats-rate", "250",
                                 "--password", "", "--listen", "[::1]:5000", "--no-tcp", "--log-level", "6"});
    ASSERT_TRUE(parsed.ok) << parsed.error;
    const SimOptions& o = parsed.options;
    EXPECT_EQ(std::tie(o.scenario, o.seed, o.statsRateMs, o.password, o.listenHost, o.listenPort, o.tcp, o.logLevel),
              std::make_tuple("busy.xml", 4294967295u, 250u, "", "::1", 5000, false, 6u));
    EXPECT_EQ(parse({"--listen", "[::1]"}).options.listenHost, "::1");
}

TEST(SimOptions, RefusesBadArguments)
{
    const std::vector<std::vector<const char*>> cases = {
        {"--seed"}, {"--seed", "-1"}, {"--seed", "4294967296"}, {"--seed", "12x"}, {"--log-level", "7"},
        {"--listen", "host:99999"}, {"--listen", ":80"}, {"--frobnicate", "1"}, {"stray"},
    };
    for (const auto& arguments : cases) {
        SCOPED_TRACE(arguments.front());
        const Parsed parsed = parse(arguments);
        EXPECT_FALSE(parsed.ok);
        EXPECT_FALSE(parsed.error.empty());
    }
}

} // namespace
