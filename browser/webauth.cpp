#include "webauth.h"

#include "pickboard.h"
#include "qwsserver.h"

WebAuth::WebAuth(QWidget* parent)
    : QDialog(parent)
{
    setupUi(this);
    setWindowFlags((windowFlags() & ~Qt::WindowTitleHint) | Qt::FramelessWindowHint);
    move(0, 0);

    auto* keyboard = new PickBoard(keyboardWidget);
    connect(keyboard, &PickBoard::key, this, &WebAuth::handleVirtualKeyboardPress);
    // On press: the keyboard's keys act on press too, and a finger may slide off before release.
    connect(buttonOK, &QPushButton::pressed, this, &QDialog::accept);
    connect(buttonCancel, &QPushButton::pressed, this, &QDialog::reject);
    lineUsername->setFocus();
}

void WebAuth::handleVirtualKeyboardPress(uint unicode, uint keycode, Qt::KeyboardModifiers modifiers, bool press,
                                         bool repeat)
{
    QWSServer::sendKeyEvent(int(unicode), int(keycode), modifiers, press, repeat);
}
