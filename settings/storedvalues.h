#ifndef STOREDVALUES_H
#define STOREDVALUES_H

#include "message.h"

#include <map>
#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

// Copies of the cached answers that option values are stored in, each taken under the IPC lock
// when first needed and indexed by id, so that reading the values of many options costs time
// linear in their number and the lock is held only for the copies. Lives for one rebuild.
class StoredValues {
public:
    StoredValues() = default;
    StoredValues(const StoredValues&) = delete;
    StoredValues& operator=(const StoredValues&) = delete;

    // The cached answer of that name, or null.
    const Message* response(const std::string& name) const;
    // The first "channel" of "channelList" whose `id` reads as id, or null.
    const Message* channel(const std::string& id) const;
    // The first "profile" of "profileList" whose `id` reads as id and that has a child `section`:
    // that child, or null.
    const Message* profileSection(const std::string& id, const std::string& section) const;

private:
    template <typename Index>
    static const Index& indexed(std::unique_ptr<Index>& index, const Message* list, const char* childName);

    mutable std::map<std::string, std::unique_ptr<Message>> m_responses;
    mutable std::unique_ptr<std::unordered_map<std::string, std::vector<const Message*>>> m_channels;
    mutable std::unique_ptr<std::unordered_map<std::string, std::vector<const Message*>>> m_profiles;
};

#endif
