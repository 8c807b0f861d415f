#ifndef TESTS_SUPPORT_BYTESTRING_H
#define TESTS_SUPPORT_BYTESTRING_H

#include <initializer_list>
#include <string>

// Hand-written wire bytes, one number a byte.
inline std::string bytes(std::initializer_list<int> values)
{
    std::string out;
    for (const int value : values)
        out += static_cast<char>(value);
    return out;
}

#endif
