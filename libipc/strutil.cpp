#include "strutil.h"

#include <charconv>

std::vector<std::string> split(const std::string& text, const std::string& separators)
{
    std::vector<std::string> fields;
    std::string::size_type start = 0;
    for (;;) {
        const std::string::size_type end = text.find_first_of(separators, start);
        fields.push_back(text.substr(start, end - start));
        if (end == std::string::npos)
            return fields;
        start = end + 1;
    }
}

std::string str_uc(const std::string& text)
{
    std::string upper = text;
    for (char& c : upper) {
        if (c >= 'a' && c <= 'z')
            c = static_cast<char>(c - 'a' + 'A');
    }
    return upper;
}

int str_to_int(const std::string& text)
{
    const char* begin = text.data();
    const char* end = begin + text.size();
    while (begin != end && (*begin == ' ' || *begin == '\t'))
        ++begin;
    // from_chars takes a minus sign but not a plus sign.
    if (begin != end && *begin == '+' && begin + 1 != end && begin[1] != '-')
        ++begin;
    int value = 0;
    const auto [stop, error] = std::from_chars(begin, end, value);
    return error == std::errc() && stop == end ? value : 0;
}

std::string int_to_str(int value)
{
    return std::to_string(value);
}
