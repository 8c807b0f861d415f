#ifndef IPCMUTEXQT_H
#define IPCMUTEXQT_H

#include "ipcmutex.h"

#include <QMutex>

// The library's lock on a recursive Qt mutex. Recursive because the IPC thread sends requests
// from inside callbacks that already hold it, and GUI code reads the cache and then sends.
// Code outside the library takes the QMutex part with a QMutexLocker.
class IPCMutexQt : public IPCMutex, public QMutex {
public:
    IPCMutexQt();

    void lock() override;
    void unlock() override;
};

#endif
