#ifndef LIBIPC_KNOWNUNITS_H
#define LIBIPC_KNOWNUNITS_H

#include <string>

namespace ipc {
namespace tls {

// `name` under the user's configuration directory ($XDG_CONFIG_HOME, else ~/.config); empty
// when neither is set.
std::string user_config_path(const std::string& name);
// Creates `directory` and its missing parents, readable by the owner only.
bool make_private_directory(const std::string& directory, std::string& error);

// The certificate fingerprints of remote units that a client trusts: a text file with one line
// per unit, "host:port fingerprint", written on the first successful login to each unit (or in
// advance, by whoever installs the user interface). Lines starting with '#' are comments.
class KnownUnits {
public:
    // user_config_path("orvane/known_units").
    static std::string default_file();

    explicit KnownUnits(std::string file) : m_file(std::move(file)) {}
    const std::string& file() const { return m_file; }

    // The fingerprint pinned for `unit`, or empty. False with `error` when the file exists but
    // cannot be read or holds a malformed line for `unit`.
    bool pinned(const std::string& unit, std::string& fingerprint, std::string& error) const;
    // Adds or replaces the line of `unit`, creating the file and its directory as needed.
    bool pin(const std::string& unit, const std::string& fingerprint, std::string& error) const;

private:
    std::string m_file;
};

} // namespace tls
} // namespace ipc

#endif
