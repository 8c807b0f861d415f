#ifndef SIM_UNIT_H
#define SIM_UNIT_H

#include "configtree.h"
#include "message.h"

#include <cstdint>
#include <map>
#include <random>
#include <string>

// The simulated unit's state, loaded from a scenario: one xmls message whose children are the
// unit's data, each named after the answer that carries it ("peerList", "profileList", ...),
// and one "node" child, the network manager's configuration tree.
class Unit {
public:
    explicit Unit(uint32_t seed);

    bool loadFile(const std::string& path, std::string& error);
    bool loadText(const std::string& xmls, std::string& error);

    // Null when the scenario has no such data.
    const Message* data(const std::string& name) const;
    // The same, for handlers that change the unit's state.
    Message* data(const std::string& name);

    ConfigTree& config() { return m_config; }
    const ConfigTree& config() const { return m_config; }

    // The one random source, so that a seed repeats a run.
    std::mt19937& random() { return m_random; }

private:
    std::map<std::string, Message> m_data;
    ConfigTree m_config;
    std::mt19937 m_random;
};

#endif
