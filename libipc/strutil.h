#ifndef LIBIPC_STRUTIL_H
#define LIBIPC_STRUTIL_H

#include <string>
#include <vector>

// Splits at any of the separator characters; empty fields between adjacent separators are
// kept, so split("a,,b", ",") gives {"a", "", "b"} and split("", ",") gives {""}.
std::vector<std::string> split(const std::string& text, const std::string& separators);
// ASCII upper-case copy.
std::string str_uc(const std::string& text);
// Leading blanks, an optional sign and decimal digits; anything else (or overflow) gives 0.
int str_to_int(const std::string& text);
std::string int_to_str(int value);

#endif
