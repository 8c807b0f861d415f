#ifndef KEYTYPE_H
#define KEYTYPE_H

// What an on-screen key does.
enum class KeyType : int {
    Char = 0,      // sends a code
    Shift = 1,     // one-shot shift
    Caps = 2,      // caps lock
    ToNumeric = 3, // switch to the numeric layout
    ToAlpha = 4,   // switch to the letter layout
    Gap = 5,       // empty space
    RowEnd = 6,    // start the next row
};

#endif
