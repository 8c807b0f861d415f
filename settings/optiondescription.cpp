#include "optiondescription.h"

OptionDescription::OptionDescription(const Message& description)
    : m_description(description)
{
}

std::string OptionDescription::param(const char* key, const std::string& def) const
{
    return m_description.params().get_string(key, def);
}

bool OptionDescription::has(const char* key) const
{
    return m_description.params().has_param(key);
}

std::string OptionDescription::displayName() const
{
    return param("display_name");
}

std::string OptionDescription::descr() const
{
    return param("descr");
}

std::string OptionDescription::units(bool isBool) const
{
    if (has("units"))
        return param("units");
    return isBool ? labelTrue() : std::string();
}

std::string OptionDescription::labelTrue() const
{
    return param("label_true", "Enabled");
}

std::string OptionDescription::labelFalse() const
{
    return param("label_false", "Not Enabled");
}

int OptionDescription::minimum() const
{
    return m_description.params().get_int("min", 0);
}

int OptionDescription::maximum() const
{
    return m_description.params().get_int("max", 0);
}

std::string OptionDescription::boolText(const std::string& v) const
{
    return v == "true" ? labelTrue() : labelFalse();
}

std::vector<OptionDescription::Choice> OptionDescription::selectChoices() const
{
    std::vector<Choice> choices;
    for (unsigned int i = 0; i < m_description.num_children("select"); ++i) {
        const Params& choice = m_description.get_child("select", i).params();
        choices.emplace_back(choice.get_string("name", ""), choice.get_string("value", ""));
    }
    return choices;
}

std::string OptionDescription::choiceLabel(const std::vector<Choice>& choices, const std::string& v)
{
    for (const Choice& choice : choices) {
        if (choice.second == v)
            return choice.first;
    }
    return v;
}
