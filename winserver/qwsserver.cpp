#include "qwsserver.h"

#include "qwscalibratedmousehandler.h"

#include <QApplication>
#include <QKeyEvent>
#include <QPointer>
#include <QWidget>

namespace {

QPointer<QWSServer>& serverInstance()
{
    static QPointer<QWSServer> server;
    return server;
}

QWidget* keyReceiver()
{
    if (QWidget* popup = QApplication::activePopupWidget())
        return popup->focusWidget() ? popup->focusWidget() : popup;
    if (QWidget* modal = QApplication::activeModalWidget())
        return modal->focusWidget() ? modal->focusWidget() : modal;
    if (QWidget* focus = QApplication::focusWidget())
        return focus;
    return QApplication::activeWindow();
}

// A typed letter carries the key code of its upper-case form; senders may give the character.
int typedKeyCode(int keycode)
{
    if (keycode > 0 && keycode <= 0xFF) {
        const ushort upper = QChar(keycode).toUpper().unicode();
        if (upper <= 0xFF)
            return upper;
    }
    return keycode;
}

// Platforms differ on whether a modifier key's own bit is set on its press and its release;
// filters are told only about the other modifiers held.
Qt::KeyboardModifiers otherModifiers(const QKeyEvent* key)
{
    switch (key->key()) {
    case Qt::Key_Shift:
        return key->modifiers() & ~Qt::ShiftModifier;
    case Qt::Key_Control:
        return key->modifiers() & ~Qt::ControlModifier;
    case Qt::Key_Alt:
        return key->modifiers() & ~Qt::AltModifier;
    case Qt::Key_Meta:
        return key->modifiers() & ~Qt::MetaModifier;
    default:
        return key->modifiers();
    }
}

QString typedText(int unicode)
{
    if (unicode <= 0 || unicode >= QWSServer::kNoText)
        return QString();
    return QString(QChar(unicode));
}

} // namespace

QWSServer::KeyboardFilter::~KeyboardFilter()
{
    if (QWSServer* server = serverInstance())
        server->m_keyboardFilters.removeAll(this);
}

QWSServer::QWSServer(QObject* parent)
    : QObject(parent)
{
    if (qgetenv("ORVANE_TOUCHSCREEN") == "1")
        m_mouseHandler = new QWSCalibratedMouseHandler(QLatin1String(QWSCalibratedMouseHandler::kDefaultFile), this);
    else
        m_mouseHandler = new QWSMouseHandler(this);
    parent->installEventFilter(this);
}

QWSServer* QWSServer::instance()
{
    QPointer<QWSServer>& server = serverInstance();
    if (!server)
        server = new QWSServer(QCoreApplication::instance());
    return server;
}

void QWSServer::sendKeyEvent(int unicode, int keycode, Qt::KeyboardModifiers modifiers, bool isPress,
                             bool autoRepeat)
{
    QWidget* receiver = keyReceiver();
    if (!receiver)
        return;
    QKeyEvent event(isPress ? QEvent::KeyPress : QEvent::KeyRelease, typedKeyCode(keycode), modifiers,
                    typedText(unicode), autoRepeat);
    QCoreApplication::sendEvent(receiver, &event);
}

void QWSServer::addKeyboardFilter(KeyboardFilter* filter)
{
    instance()->m_keyboardFilters.append(filter);
}

void QWSServer::removeKeyboardFilter()
{
    QVector<KeyboardFilter*>& filters = instance()->m_keyboardFilters;
    if (!filters.isEmpty())
        filters.removeLast();
}

QWSMouseHandler* QWSServer::mouseHandler()
{
    return instance()->m_mouseHandler;
}

void QWSServer::setMouseHandler(QWSMouseHandler* handler)
{
    QWSServer* server = instance();
    delete server->m_mouseHandler;
    handler->setParent(server);
    server->m_mouseHandler = handler;
}

bool QWSServer::eventFilter(QObject* watched, QEvent* event)
{
    const bool isPress = event->type() == QEvent::KeyPress;
    if (!isPress && event->type() != QEvent::KeyRelease)
        return false;
    // The platform hands each key to a window first, spontaneously; the window then forwards it
    // to a widget, and injected keys go to a widget directly without being spontaneous. Looking
    // only at the first step filters every typed key exactly once and injected keys never.
    if (!event->spontaneous() || !watched->isWindowType())
        return false;
    const auto* key = static_cast<QKeyEvent*>(event);
    const int unicode = key->text().isEmpty() ? kNoText : key->text().at(0).unicode();
    // A copy: a filter may add or remove filters while it runs.
    const QVector<KeyboardFilter*> filters = m_keyboardFilters;
    for (auto it = filters.crbegin(); it != filters.crend(); ++it) {
        if ((*it)->filter(unicode, key->key(), int(otherModifiers(key)), isPress, key->isAutoRepeat()))
            return true;
    }
    return false;
}
