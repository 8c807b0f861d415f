#include "simoptions.h"

#include <gtest/gtest.h>

#include <tuple>

namespace {

// Parses the arguments after the program name into fresh options; false with `error` when refused.
bool parse(std::vector<const char*> arguments, SimOptions& options, std::string& error)
{
    arguments.insert(arguments.begin(), "orvane-unitsim");
    options = SimOptions("default.xml", "velkor");
    return options.parse(static_cast<int>(arguments.size()), arguments.data(), error);
}

TEST(SimOptions, ReadsEveryOptionAndRefusesBadArgumentsWithAReason)
{
    SimOptions o("default.xml", "velkor");
    std::string error;
    ASSERT_TRUE(parse({"--scenario", "busy.xml", "--seed", "4294967295", "--stats-rate", "250", "--password", "",
                       "--listen", "[::1]:5000", "--no-tcp", "--log-level", "6"},
                      o, error))
        << error;
    EXPECT_EQ(std::tie(o.scenario, o.seed, o.statsRateMs, o.password, o.listenHost, o.listenPort, o.tcp, o.logLevel),
              std::make_tuple("busy.xml", 4294967295u, 250u, "", "::1", 5000, false, 6u));
    EXPECT_TRUE(parse({"--listen", "[::1]"}, o, error) && o.listenHost == "::1");
    const std::vector<std::vector<const char*>> refused = {
        {"--seed"}, {"--seed", "-1"}, {"--seed", "4294967296"}, {"--seed", "12x"}, {"--log-level", "7"},
        {"--listen", "host:99999"}, {"--listen", ":80"}, {"--frobnicate", "1"}, {"stray"}};
    for (const auto& arguments : refused) {
        error.clear();
        EXPECT_TRUE(!parse(arguments, o, error) && !error.empty()) << arguments.front();
    }
}

} // namespace
