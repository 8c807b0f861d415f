#include "key.h"

Key::Key(KeyType type, const std::string& label, int code, const std::string& shiftLabel, int shiftCode,
         int width)
    : type(type)
    , label(label)
    , code(code)
    , shiftLabel(shiftLabel)
    , shiftCode(shiftCode)
    , width(width)
{
}

Key::Key(KeyType type, int width)
    : Key(type, std::string(), 0, std::string(), 0, width)
{
}
