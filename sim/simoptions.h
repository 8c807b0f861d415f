#ifndef SIM_SIMOPTIONS_H
#define SIM_SIMOPTIONS_H

#include <cstdint>
#include <string>

// The simulator's command line.
class SimOptions {
public:
    std::string scenario;
    uint32_t seed = 1;
    unsigned int statsRateMs = 1000;
    std::string password;
    std::string listenHost = "0.0.0.0";
    int listenPort = 0;
    bool tcp = true;
    unsigned int logLevel = 4;
    bool help = false;

    // `defaultScenario` and `defaultPassword` fill what the command line leaves out.
    SimOptions(std::string defaultScenario, std::string defaultPassword);

    // False with a reason for an unknown option or a bad value.
    bool parse(int argc, const char* const* argv, std::string& error);
    static const char* usage();
};

#endif
