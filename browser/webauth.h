#ifndef WEBAUTH_H
#define WEBAUTH_H

#include "ui_webauth.h"

#include <QDialog>

// The login a web page asks for: user name and password typed on the dialog's own on-screen
// keyboard. Frameless at the screen's top-left corner, above the browser.
class WebAuth : public QDialog, public Ui::AuthDialog {
    Q_OBJECT
    Q_DISABLE_COPY(WebAuth)

public:
    explicit WebAuth(QWidget* parent = nullptr);

private slots:
    void handleVirtualKeyboardPress(uint unicode, uint keycode, Qt::KeyboardModifiers modifiers, bool press,
                                    bool repeat);
};

#endif
