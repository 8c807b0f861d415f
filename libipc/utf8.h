#ifndef LIBIPC_UTF8_H
#define LIBIPC_UTF8_H

#include <string_view>

namespace ipc {

// Whether `text` is well-formed UTF-8 (no overlong forms, no surrogates, nothing above
// U+10FFFF) and `accept` takes every code point of it.
bool utf8_all_of(std::string_view text, bool (*accept)(char32_t codePoint));

} // namespace ipc

#endif
