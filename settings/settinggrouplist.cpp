#include "settinggrouplist.h"

#include "ipcinstances.h"
#include "storedvalues.h"

#include <algorithm>
#include <map>

namespace {
const char* const kSettingsSection = "settings";

bool isHidden(const Params& option, bool showAdvanced)
{
    return !showAdvanced && option.get_bool("advanced", false);
}

// A profile option the screens add themselves: the backend stores it in the profile's settings.
Message profileSetting(const char* name, const char* displayName, const char* descr, const char* type)
{
    Message option("option");
    Params& p = option.params();
    p.set_string("name", name);
    p.set_string("display_name", displayName);
    p.set_string("descr", descr);
    p.set_string("channel", "");
    p.set_string("type", type);
    p.set_bool("profile_opt", true);
    return option;
}
} // namespace

void SettingGroupList::clear()
{
    m_groups.clear();
    m_profileName.clear();
}

int SettingGroupList::groupCount() const
{
    return static_cast<int>(m_groups.size());
}

std::string SettingGroupList::groupTitle(int i) const
{
    return i >= 0 && i < groupCount() ? m_groups[i].first : std::string();
}

int SettingGroupList::optionCount(int i) const
{
    return i >= 0 && i < groupCount() ? static_cast<int>(m_groups[i].second.size()) : 0;
}

SettingOption* SettingGroupList::option(int i, int j) const
{
    return j >= 0 && j < optionCount(i) ? m_groups[i].second[j].get() : nullptr;
}

std::string SettingGroupList::profileName() const
{
    return m_profileName;
}

SettingOption* SettingGroupList::buildProfileGroups(const std::string& profileId, bool showAdvanced)
{
    clear();
    const StoredValues values;
    Message nameOption = profileSetting("name", "Profile Name", "Configurable name for this profile.", "string");
    nameOption.params().set_string("default", "New Profile");
    auto name = std::make_unique<SettingOption>(nameOption, profileId, kSettingsSection, values);
    m_profileName = name->currentValue();

    Message channelOption = profileSetting("channel", "Channel", "Configures the network channel used for this profile.",
                                           "select");
    std::map<std::string, bool> remoteOpts;
    if (const Message* channels = values.response("channelList")) {
        for (unsigned int i = 0; i < channels->num_children("channel"); ++i) {
            const Params& channel = channels->get_child("channel", i).params();
            const std::string id = channel.get_string("id", "");
            remoteOpts[id] = channel.get_bool("remote_opts", true);
            if (isHidden(channel, showAdvanced))
                continue;
            Params& choice = channelOption.add_child("select").params();
            choice.set_string("name", channel.get_string("descr", ""));
            choice.set_string("value", id);
            if (i == 0)
                channelOption.params().set_string("default", id);
        }
    }
    auto channel = std::make_unique<SettingOption>(channelOption, profileId, kSettingsSection, values);

    Message visibleOption = profileSetting("visible", "Visible",
                                           "Sets whether this profile is visible when changing peer settings.", "bool");
    visibleOption.params().set_string("label_false", "Invisible");
    visibleOption.params().set_string("label_true", "Visible");
    visibleOption.params().set_bool("default", true);
    auto visible = std::make_unique<SettingOption>(visibleOption, profileId, kSettingsSection, values);

    SettingOption* channelResult = channel.get();
    const std::string channelId = channel->currentValue();
    Options global;
    global.push_back(std::move(name));
    global.push_back(std::move(channel));
    global.push_back(std::move(visible));
    m_groups.emplace_back("Global Settings", std::move(global));

    appendProfileSection(values, "Local Settings", profileId, channelId, "local", showAdvanced);
    const auto remote = remoteOpts.find(channelId);
    if (remote != remoteOpts.end() && remote->second)
        appendProfileSection(values, "Remote Settings", profileId, channelId, "remote", showAdvanced);
    return channelResult;
}

void SettingGroupList::appendProfileSection(const StoredValues& values, const std::string& title,
                                            const std::string& profileId, const std::string& channel,
                                            const std::string& section, bool showAdvanced)
{
    Options options;
    if (const Message* descriptions = values.response("channelOpts")) {
        for (unsigned int i = 0; i < descriptions->num_children("option"); ++i) {
            const Message& description = descriptions->get_child("option", i);
            const Params& p = description.params();
            if (p.get_bool("profile_opt", false) && p.get_string("channel", "") == channel && !isHidden(p, showAdvanced))
                options.push_back(std::make_unique<SettingOption>(description, profileId, section, values));
        }
    }
    if (!options.empty())
        m_groups.emplace_back(title, std::move(options));
}

// Works on copies of the answers, so the IPC lock is held only while copying.
void SettingGroupList::buildSystemGroups(bool showAdvanced)
{
    clear();
    const StoredValues values;

    GroupsByTitle systemGroups;
    if (const Message* descriptions = values.response("systemOpts")) {
        for (unsigned int i = 0; i < descriptions->num_children("option"); ++i) {
            const Message& description = descriptions->get_child("option", i);
            if (!isHidden(description.params(), showAdvanced))
                systemGroups[description.params().get_string("group_name", "")].push_back(
                    std::make_unique<SettingOption>(description, values));
        }
    }
    append(std::move(systemGroups));

    GroupsByTitle channelGroups;
    if (const Message* descriptions = values.response("channelOpts")) {
        for (unsigned int i = 0; i < descriptions->num_children("option"); ++i) {
            const Message& description = descriptions->get_child("option", i);
            const Params& p = description.params();
            if (isHidden(p, showAdvanced) || p.get_bool("profile_opt", false))
                continue;
            std::string channelName = p.get_string("channel", "");
            if (const Message* channel = values.channel(channelName))
                channelName = channel->params().get_string("descr", "");
            channelGroups[channelName + " Settings"].push_back(std::make_unique<SettingOption>(description, values));
        }
    }
    append(std::move(channelGroups));
}

void SettingGroupList::append(GroupsByTitle groups)
{
    for (auto& [title, options] : groups)
        m_groups.emplace_back(title, std::move(options));
}
