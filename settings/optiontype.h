#ifndef OPTIONTYPE_H
#define OPTIONTYPE_H

#include <string>

// Kind of an option's value; the numbers are fixed.
enum class OptionType {
    Int = 0,
    Bool = 1,
    String = 2,
    Select = 3,
    Codec = 4
};

// The three select kinds ("select", "peer", "profile") differ only in where their choices come
// from; any unknown type text is a string option.
OptionType optionTypeFromText(const std::string& typeText);

#endif
