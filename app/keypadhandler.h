#ifndef KEYPADHANDLER_H
#define KEYPADHANDLER_H

// Every screen that takes hardware keys. The default types the key into the focused widget.
class KeypadHandler {
public:
    virtual ~KeypadHandler() = default;
    virtual void handleKey(int keycode, bool pressed, bool repeat);

protected:
    // Helpers for screens that give some keys their own meaning and pass the rest on.
    static void injectKey(int keycode, bool pressed, bool repeat);
    // Shift+Tab as typed (Shift press, Tab with Shift, Shift release): focus to the previous widget.
    static void injectBacktab(bool pressed, bool repeat);
};

#endif
