#include "configoption.h"

#include "ipcinstances.h"
#include "debuglog.h"

namespace {
ConfigOptionType typeFromText(const std::string& text)
{
    if (text == "int")
        return ConfigOptionType::Int;
    if (text == "bool")
        return ConfigOptionType::Bool;
    if (text == "select")
        return ConfigOptionType::Select;
    if (text == "bulk")
        return ConfigOptionType::Bulk;
    return ConfigOptionType::String;
}
} // namespace

ConfigOption::ConfigOption(const Message& option, const std::string& optionPath)
    : path(optionPath),
      desc(option),
      defaulted(option.params().get_bool("defaulted", false)),
      value(option.params().get_string("value", "")),
      type(typeFromText(option.params().get_string("type", "")))
{
}

std::string ConfigOption::displayName() const
{
    return description().displayName();
}

std::string ConfigOption::descr() const
{
    return description().descr();
}

std::string ConfigOption::displayDefault() const
{
    return description().param("display_default");
}

std::string ConfigOption::units() const
{
    return description().units(type == ConfigOptionType::Bool);
}

std::string ConfigOption::labelTrue() const
{
    return description().labelTrue();
}

std::string ConfigOption::labelFalse() const
{
    return description().labelFalse();
}

int ConfigOption::minimum() const
{
    return description().minimum();
}

int ConfigOption::maximum() const
{
    return description().maximum();
}

std::string ConfigOption::currentValue() const
{
    return value;
}

std::string ConfigOption::displayText(const std::string& v) const
{
    if (type == ConfigOptionType::Bool)
        return description().boolText(v);
    if (type == ConfigOptionType::Select)
        return OptionDescription::choiceLabel(choices(), v);
    return v;
}

std::vector<ConfigOption::Choice> ConfigOption::choices() const
{
    return description().selectChoices();
}

ConfigOptionType ConfigOption::getType() const
{
    return type;
}

void ConfigOption::setValue(const std::string& v)
{
    value = v;
    defaulted = v == description().param("default_value");
}

void ConfigOption::setDefault()
{
    defaulted = true;
    value = description().param("default_value");
}

bool ConfigOption::isDefault() const
{
    return defaulted;
}

bool ConfigOption::isChanged() const
{
    const bool wasDefaulted = desc.params().get_bool("defaulted", false);
    if (defaulted != wasDefaulted)
        return true;
    return value != description().param("value");
}

Message ConfigOption::saveRequest() const
{
    Message request("cfgSetOption");
    const std::string::size_type ownerEnd = path.rfind('.');
    request.params().set_string("path", ownerEnd == std::string::npos ? std::string() : path.substr(0, ownerEnd));
    request.params().set_string("seq", "saveOption");
    Params& option = request.add_child("option").params();
    option.set_string("name", description().param("name"));
    if (!defaulted)
        option.set_string("value", value);
    return request;
}

void ConfigOption::commit() const
{
    const Message request = saveRequest();
    g_ipcClient.sendRaw(request);
    debugMessage("saving option:", request);
}
