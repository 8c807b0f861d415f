#include "keypadhandler.h"

#include "qwsserver.h"

void KeypadHandler::handleKey(int keycode, bool pressed, bool repeat)
{
    injectKey(keycode, pressed, repeat);
}

void KeypadHandler::injectKey(int keycode, bool pressed, bool repeat)
{
    QWSServer::sendKeyEvent(0, keycode, Qt::NoModifier, pressed, repeat);
}

void KeypadHandler::injectBacktab(bool pressed, bool repeat)
{
    QWSServer::sendKeyEvent(0xFFFF, Qt::Key_Shift, Qt::ShiftModifier, true, false);
    QWSServer::sendKeyEvent(0, Qt::Key_Tab, Qt::ShiftModifier, pressed, repeat);
    QWSServer::sendKeyEvent(0xFFFF, Qt::Key_Shift, Qt::NoModifier, false, false);
}
