#ifndef KEYPADHANDLER_H
#define KEYPADHANDLER_H

class QWidget;

// Every screen that takes hardware keys. The default types the key into the focused widget.
class KeypadHandler {
public:
    virtual ~KeypadHandler() = default;
    virtual void handleKey(int keycode, bool pressed, bool repeat);

    // The key as if typed, without modifiers.
    static void injectKey(int keycode, bool pressed, bool repeat);
    // The key with Shift held, as typed: the Shift key, the key with Shift, the Shift key again.
    static void injectShiftedKey(int keycode, bool pressed, bool repeat);
    // Shift+Tab: the focus goes to the previous widget.
    static void injectBacktab(bool pressed, bool repeat);

protected:
    // A combo box has its list open (it takes Up, Down and Enter itself then).
    static bool listOpen();
    // Up and Down move the focus through a form, or through an open combo list.
    static void moveThroughForm(int keycode, bool pressed, bool repeat);
    // Screens made of one list and a row of buttons: Up and Down go to the list, Left and Right
    // move between the buttons, Enter presses the one with focus.
    static void handleListScreenKey(QWidget* list, int keycode, bool pressed, bool repeat);
};

#endif
