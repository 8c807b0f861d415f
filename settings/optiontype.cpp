#include "optiontype.h"

OptionType optionTypeFromText(const std::string& typeText)
{
    if (typeText == "int")
        return OptionType::Int;
    if (typeText == "bool")
        return OptionType::Bool;
    if (typeText == "select" || typeText == "peer" || typeText == "profile")
        return OptionType::Select;
    if (typeText == "codec")
        return OptionType::Codec;
    return OptionType::String;
}
