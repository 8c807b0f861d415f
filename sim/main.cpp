#include "controlconsole.h"
#include "logger.h"
#include "simoptions.h"
#include "simulator.h"

#include <cstdio>
#include <cstdlib>
#include <filesystem>

namespace {
const char* const kDefaultPassword = "velkor";

// <prefix>/bin/orvane-unitsim reads <prefix>/share/...: the same in the build tree and once installed.
std::string defaultScenario()
{
    std::error_code error;
    const std::filesystem::path program = std::filesystem::read_symlink("/proc/self/exe", error);
    return (program.parent_path().parent_path() / ORVANE_SIM_DEFAULT_SCENARIO).string();
}
} // namespace

int main(int argc, char** argv)
{
    const char* envPassword = std::getenv("REMOTE_UI_PASS");
    SimOptions options(defaultScenario(), envPassword ? envPassword : kDefaultPassword);
    std::string error;
    if (!options.parse(argc, argv, error)) {
        std::fprintf(stderr, "orvane-unitsim: %s\n%s%s", error.c_str(), SimOptions::usage(),
                     ControlConsole::usage().c_str());
        return 2;
    }
    if (options.help) {
        std::fputs(SimOptions::usage(), stdout);
        std::fputs(ControlConsole::usage().c_str(), stdout);
        return 0;
    }
    g_log.set_log_level(static_cast<LOG_LEVEL>(options.logLevel));

    Simulator simulator(options);
    if (!simulator.start(error)) {
        std::fprintf(stderr, "orvane-unitsim: %s\n", error.c_str());
        return 1;
    }
    simulator.run();
    return 0;
}
