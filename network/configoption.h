#ifndef CONFIGOPTION_H
#define CONFIGOPTION_H

#include "message.h"
#include "optiondescription.h"

#include <string>
#include <vector>

enum class ConfigOptionType {
    Int = 0,
    Bool = 1,
    String = 2,
    Select = 3,
    Bulk = 4
};

// One option of the network manager's configuration tree, as its description arrived, with the
// value being edited. Values are text; bools are "true" and "false".
class ConfigOption {
public:
    using Choice = OptionDescription::Choice;

    ConfigOption() = default;
    ConfigOption(const Message& option, const std::string& optionPath);

    std::string displayName() const;
    std::string descr() const;
    std::string displayDefault() const;
    std::string units() const;
    std::string labelTrue() const;
    std::string labelFalse() const;
    int minimum() const;
    int maximum() const;
    std::string currentValue() const;
    std::string displayText(const std::string& v) const;
    std::vector<Choice> choices() const;
    ConfigOptionType getType() const;

    void setValue(const std::string& v);
    void setDefault();
    bool isDefault() const;
    // Differs from the description as received.
    bool isChanged() const;

    // Stores the value in the object that owns the option; a defaulted option is sent without
    // a value, which returns it to its default.
    void commit() const;
    Message saveRequest() const;

private:
    OptionDescription description() const { return OptionDescription(desc); }

    std::string path;
    Message desc;
    bool defaulted = false;
    std::string value;
    ConfigOptionType type = ConfigOptionType::String;
};

#endif
