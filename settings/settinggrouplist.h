#ifndef SETTINGGROUPLIST_H
#define SETTINGGROUPLIST_H

#include "settingoption.h"

#include <memory>
#include <map>
#include <string>
#include <utility>
#include <vector>

// The titled groups of options a settings tree is built from. Built for one filling of a tree,
// which takes the options over.
class StoredValues;

class SettingGroupList {
public:
    SettingGroupList() = default;
    SettingGroupList(const SettingGroupList&) = delete;
    SettingGroupList& operator=(const SettingGroupList&) = delete;

    void clear();
    int groupCount() const;
    // Out of range: an empty title, no options, a null option.
    std::string groupTitle(int i) const;
    int optionCount(int i) const;
    SettingOption* option(int i, int j) const;
    std::string profileName() const;

    // The profile's global, local and remote groups. Returns the profile's "Channel" option,
    // which stays owned by the list.
    SettingOption* buildProfileGroups(const std::string& profileId, bool showAdvanced);
    // The system groups, then one group per channel for the options not kept in profiles.
    void buildSystemGroups(bool showAdvanced);

private:
    using Options = std::vector<std::unique_ptr<SettingOption>>;
    using Group = std::pair<std::string, Options>;

    // Groups by title, in byte order of title; options in the order they were added.
    using GroupsByTitle = std::map<std::string, Options>;
    void append(GroupsByTitle groups);
    void appendProfileSection(const StoredValues& values, const std::string& title, const std::string& profileId,
                              const std::string& channel, const std::string& section, bool showAdvanced);

    std::vector<Group> m_groups;
    std::string m_profileName;
};

#endif
