#include "keypadhandler.h"

#include "qwsserver.h"

#include <QApplication>
#include <QKeyEvent>
#include <QWidget>

void KeypadHandler::handleKey(int keycode, bool pressed, bool repeat)
{
    injectKey(keycode, pressed, repeat);
}

void KeypadHandler::injectKey(int keycode, bool pressed, bool repeat)
{
    QWSServer::sendKeyEvent(0, keycode, Qt::NoModifier, pressed, repeat);
}

void KeypadHandler::injectShiftedKey(int keycode, bool pressed, bool repeat)
{
    QWSServer::sendKeyEvent(QWSServer::kNoText, Qt::Key_Shift, Qt::ShiftModifier, pressed, repeat);
    QWSServer::sendKeyEvent(0, keycode, Qt::ShiftModifier, pressed, repeat);
    QWSServer::sendKeyEvent(QWSServer::kNoText, Qt::Key_Shift, Qt::NoModifier, pressed, repeat);
}

void KeypadHandler::injectBacktab(bool pressed, bool repeat)
{
    injectShiftedKey(Qt::Key_Tab, pressed, repeat);
}

bool KeypadHandler::listOpen()
{
    return QApplication::activePopupWidget() != nullptr;
}

void KeypadHandler::moveThroughForm(int keycode, bool pressed, bool repeat)
{
    if (listOpen())
        injectKey(keycode, pressed, repeat);
    else if (keycode == Qt::Key_Up)
        injectBacktab(pressed, repeat);
    else
        injectKey(Qt::Key_Tab, pressed, repeat);
}

void KeypadHandler::handleListScreenKey(QWidget* list, int keycode, bool pressed, bool repeat)
{
    switch (keycode) {
    case Qt::Key_Enter:
        injectKey(Qt::Key_Space, pressed, repeat);
        break;
    case Qt::Key_Left:
        injectBacktab(pressed, repeat);
        break;
    case Qt::Key_Right:
        injectKey(Qt::Key_Tab, pressed, repeat);
        break;
    case Qt::Key_Up:
    case Qt::Key_Down:
        QCoreApplication::postEvent(list, new QKeyEvent(pressed ? QEvent::KeyPress : QEvent::KeyRelease, keycode,
                                                        Qt::NoModifier, QString(), repeat));
        break;
    default:
        break;
    }
}
