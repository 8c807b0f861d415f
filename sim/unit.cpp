#include "unit.h"

#include "codec.h"

#include <fstream>
#include <sstream>

Unit::Unit(uint32_t seed) : m_random(seed)
{
}

bool Unit::loadFile(const std::string& path, std::string& error)
{
    std::ifstream file(path, std::ios::binary);
    if (!file) {
        error = "cannot read " + path;
        return false;
    }
    std::ostringstream text;
    text << file.rdbuf();
    if (!loadText(text.str(), error)) {
        error = path + ": " + error;
        return false;
    }
    return true;
}

bool Unit::loadText(const std::string& xmls, std::string& error)
{
    Message scenario;
    if (!ipc::decode(ipc::Encoding::Xmls, xmls.data(), xmls.size(), scenario, error))
        return false;
    std::map<std::string, Message> data;
    Message config;
    for (std::size_t i = 0; i < scenario.child_count(); ++i) {
        const Message& child = scenario.child(i);
        if (child.name == "node") {
            if (!config.name.empty()) {
                error = "more than one configuration tree";
                return false;
            }
            config = child;
        } else if (!data.emplace(child.name, child).second) {
            error = "\"" + child.name + "\" appears twice";
            return false;
        }
    }
    m_data = std::move(data);
    m_config = ConfigTree(std::move(config));
    return true;
}

const Message* Unit::data(const std::string& name) const
{
    auto found = m_data.find(name);
    return found == m_data.end() ? nullptr : &found->second;
}

Message* Unit::data(const std::string& name)
{
    auto found = m_data.find(name);
    return found == m_data.end() ? nullptr : &found->second;
}
