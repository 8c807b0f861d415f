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
