#include "knownunits.h"

#include "tlschannel.h"

#include <sys/stat.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <sstream>
#include <vector>

namespace ipc {
namespace tls {

std::string user_config_path(const std::string& name)
{
    const char* config = std::getenv("XDG_CONFIG_HOME");
    if (config && *config == '/')
        return std::string(config) + "/" + name;
    const char* home = std::getenv("HOME");
    if (home && *home == '/')
        return std::string(home) + "/.config/" + name;
    return std::string();
}

bool make_private_directory(const std::string& directory, std::string& error)
{
    for (std::size_t slash = 0; slash != std::string::npos;) {
        slash = directory.find('/', slash + 1);
        const std::string partial = directory.substr(0, slash);
        if (mkdir(partial.c_str(), S_IRWXU) != 0 && errno != EEXIST) {
            error = "cannot create " + partial + ": " + std::strerror(errno);
            return false;
        }
    }
    return true;
}

std::string KnownUnits::default_file()
{
    return user_config_path("orvane/known_units");
}

bool KnownUnits::pinned(const std::string& unit, std::string& fingerprint, std::string& error) const
{
    fingerprint.clear();
    std::ifstream in(m_file);
    if (!in) {
        if (errno == ENOENT)
            return true;
        error = "cannot read " + m_file + ": " + std::strerror(errno);
        return false;
    }
    std::string line;
    for (int number = 1; std::getline(in, line); ++number) {
        std::istringstream fields(line);
        std::string name;
        std::string value;
        if (!(fields >> name) || name != unit)
            continue;
        fields >> value;
        fingerprint = normalise_fingerprint(value);
        if (fingerprint.empty()) {
            error = m_file + ":" + std::to_string(number) + ": not a SHA-256 fingerprint: " + value;
            return false;
        }
    }
    return true;
}

bool KnownUnits::pin(const std::string& unit, const std::string& fingerprint, std::string& error) const
{
    if (m_file.empty()) {
        error = "no file to keep it in (neither XDG_CONFIG_HOME nor HOME is set)";
        return false;
    }
    std::vector<std::string> kept;
    {
        std::ifstream in(m_file);
        std::string line;
        while (std::getline(in, line)) {
            std::istringstream fields(line);
            std::string name;
            if (!(fields >> name) || name != unit)
                kept.push_back(line);
        }
    }
    const std::size_t slash = m_file.rfind('/');
    if (slash != std::string::npos && slash > 0 && !make_private_directory(m_file.substr(0, slash), error))
        return false;
    const std::string temporary = m_file + ".new";
    {
        std::ofstream out(temporary, std::ios::trunc);
        for (const std::string& line : kept)
            out << line << '\n';
        out << unit << ' ' << fingerprint << '\n';
        if (!out.flush()) {
            error = "cannot write " + temporary + ": " + std::strerror(errno);
            return false;
        }
    }
    if (std::rename(temporary.c_str(), m_file.c_str()) != 0) {
        error = "cannot write " + m_file + ": " + std::strerror(errno);
        return false;
    }
    return true;
}

} // namespace tls
} // namespace ipc
