#include "settinggrouplist.h"

#include "ipcinstances.h"

#include <QMutexLocker>

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
    Message nameOption = profileSetting("name", "Profile Name", "Configurable name for this profile.", "string");
    nameOption.params().set_string("default", "New Profile");
    auto name = std::make_unique<SettingOption>(nameOption, profileId, kSettingsSection);
    m_profileName = name->currentValue();

    Message channelOption = profileSetting("channel", "Channel", "Configures the network channel used for this profile.",
                                           "select");
    std::map<std::string, bool> remoteOpts;
    {
        QMutexLocker lock(g_ipcClient.mutex());
        if (const Message* channels = g_ipcClient.getResponse("channelList")) {
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
    }
    auto channel = std::make_unique<SettingOption>(channelOption, profileId, kSettingsSection);

    Message visibleOption = profileSetting("visible", "Visible",
                                           "Sets whether this profile is visible when changing peer settings.", "bool");
    visibleOption.params().set_string("label_false", "Invisible");
    visibleOption.params().set_string("label_true", "Visible");
    visibleOption.params().set_string("units", "Visible");
    visibleOption.params().set_bool("default", true);
    auto visible = std::make_unique<SettingOption>(visibleOption, profileId, kSettingsSection);

    SettingOption* channelResult = channel.get();
    const std::string channelId = channel->currentValue();
    Options global;
    global.push_back(std::move(name));
    global.push_back(std::move(channel));
    global.push_back(std::move(visible));
    m_groups.emplace_back("Global Settings", std::move(global));

    appendProfileSection("Local Settings", profileId, channelId, "local", showAdvanced);
    const auto remote = remoteOpts.find(channelId);
    if (remote != remoteOpts.end() && remote->second)
        appendProfileSection("Remote Settings", profileId, channelId, "remote", showAdvanced);
    return channelResult;
}

void SettingGroupList::appendProfileSection(const std::string& title, const std::string& profileId,
                                            const std::string& channel, const std::string& section, bool showAdvanced)
{
    Options options;
    {
        QMutexLocker lock(g_ipcClient.mutex());
        if (const Message* descriptions = g_ipcClient.getResponse("channelOpts")) {
            for (unsigned int i = 0; i < descriptions->num_children("option"); ++i) {
                const Message& description = descriptions->get_child("option", i);
                const Params& p = description.params();
                if (p.get_bool("profile_opt", false) && p.get_string("channel", "") == channel
                    && !isHidden(p, showAdvanced))
                    options.push_back(std::make_unique<SettingOption>(description, profileId, section));
            }
        }
    }
    if (!options.empty())
        m_groups.emplace_back(title, std::move(options));
}

void SettingGroupList::buildSystemGroups(bool showAdvanced)
{
    clear();
    QMutexLocker lock(g_ipcClient.mutex());

    std::vector<Group> systemGroups;
    if (const Message* descriptions = g_ipcClient.getResponse("systemOpts")) {
        for (unsigned int i = 0; i < descriptions->num_children("option"); ++i) {
            const Message& description = descriptions->get_child("option", i);
            if (!isHidden(description.params(), showAdvanced))
                group(systemGroups, description.params().get_string("group_name", ""))
                    .push_back(std::make_unique<SettingOption>(description));
        }
    }
    appendSorted(std::move(systemGroups));

    std::vector<Group> channelGroups;
    const Message* channels = g_ipcClient.getResponse("channelList");
    if (const Message* descriptions = g_ipcClient.getResponse("channelOpts")) {
        for (unsigned int i = 0; i < descriptions->num_children("option"); ++i) {
            const Message& description = descriptions->get_child("option", i);
            const Params& p = description.params();
            if (isHidden(p, showAdvanced) || p.get_bool("profile_opt", false))
                continue;
            std::string channelName = p.get_string("channel", "");
            for (unsigned int c = 0; channels && c < channels->num_children("channel"); ++c) {
                const Params& channel = channels->get_child("channel", c).params();
                if (channel.get_string("id", "") == channelName) {
                    channelName = channel.get_string("descr", "");
                    break;
                }
            }
            group(channelGroups, channelName + " Settings").push_back(std::make_unique<SettingOption>(description));
        }
    }
    appendSorted(std::move(channelGroups));
}

SettingGroupList::Options& SettingGroupList::group(std::vector<Group>& groups, const std::string& title)
{
    auto found = std::find_if(groups.begin(), groups.end(), [&title](const Group& g) { return g.first == title; });
    if (found != groups.end())
        return found->second;
    groups.emplace_back(title, Options());
    return groups.back().second;
}

// Titles in byte order; options keep the order the backend listed them in.
void SettingGroupList::appendSorted(std::vector<Group> groups)
{
    std::stable_sort(groups.begin(), groups.end(), [](const Group& a, const Group& b) { return a.first < b.first; });
    for (Group& g : groups)
        m_groups.push_back(std::move(g));
}
