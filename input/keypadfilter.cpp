#include "keypadfilter.h"

namespace {

bool isKeypadKey(int keycode)
{
    switch (keycode) {
    case Qt::Key_Left:
    case Qt::Key_Up:
    case Qt::Key_Right:
    case Qt::Key_Down:
    case Qt::Key_Asterisk:
    case Qt::Key_Enter:
    case Qt::Key_F1:
    case Qt::Key_F2:
    case Qt::Key_F25:
        return true;
    default:
        return false;
    }
}

// Without a modifier, Return stands for the keypad's Enter and Alt for F1; with one held they
// keep their own meaning.
int keypadKeyCode(int keycode, int modifiers)
{
    if (modifiers != Qt::NoModifier)
        return keycode;
    if (keycode == Qt::Key_Return)
        return Qt::Key_Enter;
    if (keycode == Qt::Key_Alt)
        return Qt::Key_F1;
    return keycode;
}

} // namespace

KeypadFilter::KeypadFilter()
{
    QWSServer::addKeyboardFilter(this);
}

bool KeypadFilter::filter(int unicode, int keycode, int modifiers, bool isPress, bool autoRepeat)
{
    const int k = keypadKeyCode(keycode, modifiers);
    if (isKeypadKey(k))
        emit keypadPress(k, modifiers, isPress, autoRepeat);
    else
        QWSServer::sendKeyEvent(unicode, k, Qt::KeyboardModifiers(modifiers), isPress, autoRepeat);
    return true;
}
