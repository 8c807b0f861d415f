#ifndef KEY_H
#define KEY_H

#include "keytype.h"

#include <string>

class KeyButton;

// One key of an on-screen keyboard layout. Codes are Latin-1 character codes or Qt key codes;
// width is in layout units.
struct Key {
    Key(KeyType type, const std::string& label, int code, const std::string& shiftLabel, int shiftCode,
        int width);
    // A Gap or RowEnd: no caption, no code.
    explicit Key(KeyType type, int width = 0);
    virtual ~Key() = default;

    KeyType type;
    std::string label;
    int code;
    std::string shiftLabel;
    int shiftCode;
    int width;
    KeyButton* button = nullptr; // not owned; set when the layout is built
};

#endif
