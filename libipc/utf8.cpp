#include "utf8.h"

namespace ipc {

bool utf8_all_of(std::string_view text, bool (*accept)(char32_t codePoint))
{
    std::size_t position = 0;
    while (position < text.size()) {
        const auto lead = static_cast<unsigned char>(text[position]);
        std::size_t length;
        char32_t codePoint;
        char32_t smallest;
        if (lead < 0x80) {
            length = 1;
            codePoint = lead;
            smallest = 0;
        } else if ((lead & 0xe0) == 0xc0) {
            length = 2;
            codePoint = lead & 0x1f;
            smallest = 0x80;
        } else if ((lead & 0xf0) == 0xe0) {
            length = 3;
            codePoint = lead & 0x0f;
            smallest = 0x800;
        } else if ((lead & 0xf8) == 0xf0) {
            length = 4;
            codePoint = lead & 0x07;
            smallest = 0x10000;
        } else {
            return false;
        }
        if (text.size() - position < length)
            return false;
        for (std::size_t i = 1; i < length; ++i) {
            const auto continuation = static_cast<unsigned char>(text[position + i]);
            if ((continuation & 0xc0) != 0x80)
                return false;
            codePoint = (codePoint << 6) | (continuation & 0x3f);
        }
        if (codePoint < smallest || codePoint > 0x10ffff || (codePoint >= 0xd800 && codePoint <= 0xdfff))
            return false;
        if (!accept(codePoint))
            return false;
        position += length;
    }
    return true;
}

} // namespace ipc
