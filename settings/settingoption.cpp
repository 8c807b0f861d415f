#include "settingoption.h"

#include "ipcinstances.h"
#include "storedvalues.h"

#include <QMutexLocker>

#include <cctype>

namespace {
const char* const kFollowValue = "!follow";
const char* const kSettingsSection = "settings";
const char* const kResetChild = "reset";

// The first child `childName` whose `key` reads as `wanted`, or null.
const Message* findChildWith(const Message* parent, const std::string& childName, const char* key,
                             const std::string& wanted)
{
    if (!parent)
        return nullptr;
    for (unsigned int i = 0; i < parent->num_children(childName); ++i) {
        const Message& child = parent->get_child(childName, i);
        if (child.params().get_string(key, "") == wanted)
            return &child;
    }
    return nullptr;
}

// "None" first, then (name, id) of every `childName` of the cached `listName`.
std::vector<SettingOption::Choice> listChoices(const char* listName, const char* childName)
{
    std::vector<SettingOption::Choice> choices = {{"None", "0"}};
    QMutexLocker lock(g_ipcClient.mutex());
    const Message* list = g_ipcClient.getResponse(listName);
    if (!list)
        return choices;
    for (unsigned int i = 0; i < list->num_children(childName); ++i) {
        const Params& item = list->get_child(childName, i).params();
        choices.emplace_back(item.get_string("name", ""), item.get_string("id", ""));
    }
    return choices;
}
} // namespace

SettingOption::SettingOption(const Message& description)
    : SettingOption(description, std::string(), std::string())
{
}

SettingOption::SettingOption(const Message& description, const std::string& profileId,
                             const std::string& section)
    : SettingOption(description, profileId, section, StoredValues())
{
}

SettingOption::SettingOption(const Message& description, const StoredValues& values)
    : SettingOption(description, std::string(), std::string(), values)
{
}

SettingOption::SettingOption(const Message& description, const std::string& profileId,
                             const std::string& section, const StoredValues& values)
    : optionMsg(description),
      type(optionTypeFromText(description.params().get_string("type", ""))),
      profileId(profileId),
      section(section)
{
    refresh(values);
}

std::string SettingOption::param(const char* key, const std::string& def) const
{
    return description().param(key, def);
}

bool SettingOption::isSystemOption() const
{
    return !optionMsg.params().has_param("channel");
}

bool SettingOption::isProfileOption() const
{
    return optionMsg.params().get_bool("profile_opt", false);
}

std::string SettingOption::defaultValue() const
{
    return param("default");
}

SettingOption::StoredValue SettingOption::readStored(const StoredValues& values) const
{
    if (isSystemOption())
        return readSystemValue(values);
    if (isProfileOption())
        return readProfileValue(values);
    return readChannelValue(values);
}

SettingOption::StoredValue SettingOption::readSystemValue(const StoredValues& values) const
{
    StoredValue stored;
    const Message* holder = values.response(param("group"));
    if (holder && optionMsg.params().has_param("subgroup"))
        holder = holder->find_child(param("subgroup"));
    const std::string name = param("name");
    if (!holder || !holder->params().has_param(name))
        return stored;
    stored.found = true;
    stored.text = holder->params().get_string(name, "");
    stored.isDefault = stored.text == defaultValue();
    return stored;
}

// A value stored in the channel itself counts as set, even when it equals the default.
SettingOption::StoredValue SettingOption::readChannelValue(const StoredValues& values) const
{
    StoredValue stored;
    const Message* channel = values.channel(param("channel"));
    const std::string name = param("name");
    if (!channel || !channel->params().has_param(name))
        return stored;
    stored.found = true;
    stored.text = channel->params().get_string(name, "");
    stored.isDefault = false;
    return stored;
}

// Only a profile's own settings compare with the default; a local or remote value stored in the
// profile overrides the channel's default even when equal to it.
SettingOption::StoredValue SettingOption::readProfileValue(const StoredValues& values) const
{
    StoredValue stored;
    const Message* holder = values.profileSection(profileId, section);
    const std::string name = param("name");
    if (!holder || !holder->params().has_param(name))
        return stored;
    stored.found = true;
    stored.text = holder->params().get_string(name, "");
    stored.isDefault = section == kSettingsSection && stored.text == defaultValue();
    return stored;
}

void SettingOption::refresh(const StoredValues& values)
{
    const StoredValue stored = readStored(values);
    if (stored.found)
        value = stored.text;
    useDefault = stored.isDefault;
}

std::string SettingOption::currentValue() const
{
    return useDefault ? defaultValue() : value;
}

std::string SettingOption::displayText(const std::string& v) const
{
    switch (type) {
    case OptionType::Bool:
        return description().boolText(v);
    case OptionType::Select:
        return OptionDescription::choiceLabel(choices(), v);
    case OptionType::Codec: {
        if (v == kFollowValue)
            return "Follow local encoder";
        QMutexLocker lock(g_ipcClient.mutex());
        const Message* codec = findChildWith(g_ipcClient.getResponse("codecList"), "codec", "id", v);
        if (!codec)
            return v;
        const Params& p = codec->params();
        return p.get_string("code", "") + ": " + p.get_string("mode", "") + " " + p.get_string("name", "");
    }
    case OptionType::Int:
    case OptionType::String:
        break;
    }
    return v;
}

std::string SettingOption::currentText() const
{
    return displayText(currentValue());
}

std::string SettingOption::defaultText() const
{
    return displayText(defaultValue());
}

std::string SettingOption::displayName() const
{
    return description().displayName();
}

std::string SettingOption::descr() const
{
    return description().descr();
}

std::string SettingOption::units() const
{
    return description().units(type == OptionType::Bool);
}

std::string SettingOption::labelTrue() const
{
    return description().labelTrue();
}

std::string SettingOption::labelFalse() const
{
    return description().labelFalse();
}

int SettingOption::minimum() const
{
    return description().minimum();
}

int SettingOption::maximum() const
{
    return description().maximum();
}

void SettingOption::setValue(const std::string& v)
{
    value = v;
    useDefault = false;
}

void SettingOption::setDefault()
{
    useDefault = true;
}

bool SettingOption::isDefault() const
{
    return useDefault;
}

bool SettingOption::isChanged() const
{
    const StoredValue stored = readStored(StoredValues());
    if (stored.isDefault != useDefault)
        return true;
    // The read lands on a copy of the text: where nothing is stored, the copy keeps it as refresh() would.
    return (stored.found ? stored.text : value) != value;
}

OptionType SettingOption::getType() const
{
    return type;
}

std::string SettingOption::getSection() const
{
    return section;
}

std::vector<SettingOption::Choice> SettingOption::choices() const
{
    const std::string typeText = param("type");
    if (typeText == "peer")
        return listChoices("peerList", "peer");
    if (typeText == "profile")
        return listChoices("profileList", "profile");
    return description().selectChoices();
}

void SettingOption::commit() const
{
    if (isSystemOption()) {
        commitSystemOption();
        return;
    }
    Message request;
    if (isProfileOption()) {
        request.name = "setProfile";
        request.params().set_string("id", profileId);
        commitToChild(request, section);
    } else {
        request.name = "setChannelSettings";
        request.params().set_string("id", param("channel"));
        commitToChild(request, "channel");
    }
    g_ipcClient.sendRequest(request);
}

void SettingOption::commitSystemOption() const
{
    std::string group = param("group");
    if (!group.empty())
        group[0] = static_cast<char>(std::toupper(static_cast<unsigned char>(group[0])));
    Message request("set" + group);
    Message& holder = optionMsg.params().has_param("subgroup") ? request.add_child(param("subgroup")) : request;
    holder.params().set_string(param("name"), currentValue());
    g_ipcClient.sendRequest(request);
}

// Back to the default: a profile's own settings store the default text; everywhere else the
// stored value is dropped so that the backend's default applies again.
void SettingOption::commitToChild(Message& request, const std::string& childName) const
{
    Message& child = request.add_child(childName);
    const std::string name = param("name");
    if (!useDefault)
        child.params().set_string(name, value);
    else if (section == kSettingsSection)
        child.params().set_string(name, defaultValue());
    else
        child.add_child(kResetChild).params().set_string("name", name);
}
