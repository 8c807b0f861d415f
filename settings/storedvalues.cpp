#include "storedvalues.h"

#include "ipcinstances.h"

namespace {
using IdIndex = std::unordered_map<std::string, std::vector<const Message*>>;

const std::vector<const Message*>* withId(const IdIndex& index, const std::string& id)
{
    const auto found = index.find(id);
    return found == index.end() ? nullptr : &found->second;
}
} // namespace

const Message* StoredValues::response(const std::string& name) const
{
    auto found = m_responses.find(name);
    if (found == m_responses.end()) {
        auto copy = std::make_unique<Message>();
        if (!g_ipcClient.copyResponse(name, *copy))
            copy.reset();
        found = m_responses.emplace(name, std::move(copy)).first;
    }
    return found->second.get();
}

template <typename Index>
const Index& StoredValues::indexed(std::unique_ptr<Index>& index, const Message* list, const char* childName)
{
    if (!index) {
        index = std::make_unique<Index>();
        for (unsigned int i = 0; list && i < list->num_children(childName); ++i) {
            const Message& child = list->get_child(childName, i);
            (*index)[child.params().get_string("id", "")].push_back(&child);
        }
    }
    return *index;
}

const Message* StoredValues::channel(const std::string& id) const
{
    const auto* channels = withId(indexed(m_channels, response("channelList"), "channel"), id);
    return channels ? channels->front() : nullptr;
}

const Message* StoredValues::profileSection(const std::string& id, const std::string& section) const
{
    const auto* profiles = withId(indexed(m_profiles, response("profileList"), "profile"), id);
    for (std::size_t i = 0; profiles && i < profiles->size(); ++i) {
        if (const Message* holder = (*profiles)[i]->find_child(section))
            return holder;
    }
    return nullptr;
}
