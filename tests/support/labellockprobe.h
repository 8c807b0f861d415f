#ifndef LABELLOCKPROBE_H
#define LABELLOCKPROBE_H

// Include in one test source only: it defines QLabel::setText for the test program.
//
// A label set while the IPC lock is held keeps the IPC thread waiting for as long as the widget
// takes. The program's own definition wins over QtWidgets' for calls from our code: it notes
// whether some thread holds the lock (a helper thread fails to take it), then forwards.

#include "ipcinstances.h"

#include <QLabel>
#include <QMutex>

#include <dlfcn.h>

#include <cstdlib>
#include <thread>

namespace labellockprobe {
// Labels set while the lock was held, since the count was last cleared.
inline int underLock = 0;
} // namespace labellockprobe

void QLabel::setText(const QString& text)
{
    using SetText = void (*)(QLabel*, const QString&);
    static const auto forward = reinterpret_cast<SetText>(dlvsym(RTLD_NEXT, "_ZN6QLabel7setTextERK7QString", "Qt_5"));
    if (!forward)
        std::abort();
    bool free = false;
    std::thread([&free] {
        QMutex* lock = g_ipcClient.mutex();
        if ((free = lock->tryLock()))
            lock->unlock();
    }).join();
    if (!free)
        ++labellockprobe::underLock;
    forward(this, text);
}

#endif
