#ifndef SETTINGOPTION_H
#define SETTINGOPTION_H

#include "message.h"
#include "optiondescription.h"
#include "optiontype.h"

#include <string>
#include <utility>
#include <vector>

class StoredValues;

// One option description from the backend paired with the option's value. Three kinds, told apart
// by the description: system options (no `channel`; value in the cached response named by `group`),
// channel options (value in "channelList") and profile options (`profile_opt`; value in one
// section of a profile in "profileList"). Values are text throughout.
//
// Every read of the answer cache takes the IPC client's lock; call from the GUI thread.
class SettingOption {
public:
    using Choice = OptionDescription::Choice;

    // An empty string option; the editor holds one before its first edit.
    SettingOption() = default;
    explicit SettingOption(const Message& description);
    SettingOption(const Message& description, const std::string& profileId, const std::string& section);
    // The same, reading the value from answers already copied for a whole rebuild.
    SettingOption(const Message& description, const StoredValues& values);
    SettingOption(const Message& description, const std::string& profileId, const std::string& section,
                  const StoredValues& values);

    // Re-reads the stored value and whether the option is at its default.
    void refresh(const StoredValues& values);

    std::string currentValue() const;
    std::string displayText(const std::string& v) const;
    std::string currentText() const;
    std::string defaultText() const;

    std::string displayName() const;
    std::string descr() const;
    std::string units() const;
    std::string labelTrue() const;
    std::string labelFalse() const;
    int minimum() const;
    int maximum() const;

    void setValue(const std::string& v);
    void setDefault();
    bool isDefault() const;
    // True when what the backend stores differs from what this option now holds.
    bool isChanged() const;

    OptionType getType() const;
    std::string getSection() const;

    std::vector<Choice> choices() const;

    // Sends the one request that stores the option's current state.
    void commit() const;

private:
    struct StoredValue {
        bool found = false;
        std::string text;
        bool isDefault = true;
    };

    StoredValue readStored(const StoredValues& values) const;
    StoredValue readSystemValue(const StoredValues& values) const;
    StoredValue readChannelValue(const StoredValues& values) const;
    StoredValue readProfileValue(const StoredValues& values) const;
    void commitSystemOption() const;
    void commitToChild(Message& request, const std::string& childName) const;

    OptionDescription description() const { return OptionDescription(optionMsg); }
    std::string param(const char* key, const std::string& def = std::string()) const;
    bool isSystemOption() const;
    bool isProfileOption() const;
    std::string defaultValue() const;

    Message optionMsg;
    bool useDefault = true;
    std::string value;
    OptionType type = OptionType::String;
    std::string profileId;
    std::string section;
};

#endif
