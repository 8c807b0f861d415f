#ifndef QWSSERVER_H
#define QWSSERVER_H

#include <QObject>
#include <QVector>

class QWSMouseHandler;

// The window-server services the screens use, on top of the Qt platform plugin: key injection,
// keyboard filters and the pointer handler. One instance lives as a child of the application,
// created on first use.
//
// The pointer handler is chosen then from the environment: ORVANE_TOUCHSCREEN set to "1" gives
// a QWSCalibratedMouseHandler reading and writing "/etc/pointercal"; anything else gives a
// plain QWSMouseHandler.
class QWSServer : public QObject {
    Q_OBJECT
    Q_DISABLE_COPY(QWSServer)

public:
    // Sees every key the platform delivers, before any widget. Returning true consumes it.
    // A filter that is destroyed takes itself out of the chain.
    class KeyboardFilter {
        Q_DISABLE_COPY(KeyboardFilter)

    public:
        KeyboardFilter() = default;
        virtual ~KeyboardFilter();
        virtual bool filter(int unicode, int keycode, int modifiers, bool isPress, bool autoRepeat) = 0;
    };

    // The unicode of a key without text (a modifier), as X reports it.
    static constexpr int kNoText = 0xFFFF;

    // Delivers a key as if typed: to the open popup, else to the focus widget of the active
    // modal dialog, else to the focus widget. unicode 0 or kNoText means the key has no text.
    // The event does not pass the keyboard filters.
    static void sendKeyEvent(int unicode, int keycode, Qt::KeyboardModifiers modifiers, bool isPress,
                             bool autoRepeat);

    // The filter added last is asked first.
    static void addKeyboardFilter(KeyboardFilter* filter);
    static void removeKeyboardFilter();

    static QWSMouseHandler* mouseHandler();
    // Replaces the handler chosen at start and takes ownership of the new one.
    static void setMouseHandler(QWSMouseHandler* handler);

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    explicit QWSServer(QObject* parent);
    static QWSServer* instance();

    QVector<KeyboardFilter*> m_keyboardFilters;
    QWSMouseHandler* m_mouseHandler;
};

#endif
