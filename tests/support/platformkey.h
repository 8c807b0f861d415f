#ifndef PLATFORMKEY_H
#define PLATFORMKEY_H

#include <QApplication>
#include <QTest>
#include <QWidget>
#include <QWindow>
#include <qpa/qwindowsysteminterface.h>

// A key as the platform plugin delivers it: to the window, spontaneously, at once.
inline void sendPlatformKey(QWidget* window, bool press, int key, Qt::KeyboardModifiers modifiers = Qt::NoModifier,
                            const QString& text = QString(), bool autoRepeat = false)
{
    QWindowSystemInterface::handleKeyEvent<QWindowSystemInterface::SynchronousDelivery>(
        window->windowHandle(), press ? QEvent::KeyPress : QEvent::KeyRelease, key, modifiers, text, autoRepeat);
}

inline bool showActive(QWidget* window)
{
    window->show();
    QApplication::setActiveWindow(window);
    return QTest::qWaitForWindowActive(window);
}

#endif
