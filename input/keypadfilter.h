#ifndef KEYPADFILTER_H
#define KEYPADFILTER_H

#include <qwsserver.h>

#include <QObject>

// Takes the front-panel keypad keys out of the ordinary key flow and reports them through
// keypadPress(); every other key goes on to the focused widget unchanged.
class KeypadFilter : public QObject, public QWSServer::KeyboardFilter {
    Q_OBJECT
    Q_DISABLE_COPY(KeypadFilter)

public:
    KeypadFilter();

    bool filter(int unicode, int keycode, int modifiers, bool isPress, bool autoRepeat) override;

signals:
    void keypadPress(int keycode, int modifiers, bool press, bool repeat);
};

#endif
