#include "simoptions.h"

#include "logger.h"

#include <cstdlib>
#include <utility>

namespace {

bool parseUnsigned(const std::string& text, unsigned long max, unsigned long& out)
{
    if (text.empty() || text.find_first_not_of("0123456789") != std::string::npos)
        return false;
    char* end = nullptr;
    out = std::strtoul(text.c_str(), &end, 10);
    return *end == '\0' && out <= max;
}

// "HOST" or "HOST:PORT"; an IPv6 address goes in brackets ("[::1]:9000"), which are dropped.
bool parseListen(const std::string& text, std::string& host, int& port)
{
    const std::string::size_type colon = text.rfind(':');
    const bool hasPort = colon != std::string::npos && text.find(']', colon) == std::string::npos;
    host = hasPort ? text.substr(0, colon) : text;
    if (hasPort) {
        unsigned long value = 0;
        if (!parseUnsigned(text.substr(colon + 1), 65535, value))
            return false;
        port = static_cast<int>(value);
    }
    if (host.size() > 2 && host.front() == '[' && host.back() == ']')
        host = host.substr(1, host.size() - 2);
    return !host.empty();
}

} // namespace

SimOptions::SimOptions(std::string defaultScenario, std::string defaultPassword)
    : scenario(std::move(defaultScenario)), password(std::move(defaultPassword))
{
}

const char* SimOptions::usage()
{
    return "usage: orvane-unitsim [options]\n"
           "  --scenario FILE     starting state of the unit (xmls message file)\n"
           "  --seed N            seed of the random source, so runs repeat\n"
           "  --stats-rate MS     period of the periodic notifications, 0 = none\n"
           "  --password P        login password of user \"user\" (else REMOTE_UI_PASS, else the default)\n"
           "  --listen HOST[:PORT] address of the xmls TCP listener (default 0.0.0.0, default port)\n"
           "  --no-tcp            no TCP listener, only the local socket\n"
           "  --log-level N       log threshold 0..6 (default 4)\n"
           "  --help              this text\n";
}

bool SimOptions::parse(int argc, const char* const* argv, std::string& error)
{
    for (int i = 1; i < argc; ++i) {
        const std::string option = argv[i];
        if (option == "--help") {
            help = true;
            continue;
        }
        if (option == "--no-tcp") {
            tcp = false;
            continue;
        }
        if (i + 1 >= argc) {
            error = option.rfind("--", 0) == 0 ? "missing value for " + option : "unknown argument " + option;
            return false;
        }
        const std::string value = argv[++i];
        unsigned long number = 0;
        bool valid = true;
        if (option == "--scenario") {
            scenario = value;
        } else if (option == "--password") {
            password = value;
        } else if (option == "--seed") {
            valid = parseUnsigned(value, UINT32_MAX, number);
            seed = static_cast<uint32_t>(number);
        } else if (option == "--stats-rate") {
            valid = parseUnsigned(value, 3600000, number);
            statsRateMs = static_cast<unsigned int>(number);
        } else if (option == "--log-level") {
            valid = parseUnsigned(value, LOG_DEBUG, number);
            logLevel = static_cast<unsigned int>(number);
        } else if (option == "--listen") {
            valid = parseListen(value, listenHost, listenPort);
        } else {
            error = "unknown option " + option;
            return false;
        }
        if (!valid) {
            error = "bad value for " + option + ": " + value;
            return false;
        }
    }
    return true;
}
