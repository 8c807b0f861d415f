#include "ipcmutexqt.h"

IPCMutexQt::IPCMutexQt()
    : QMutex(QMutex::Recursive)
{
}

void IPCMutexQt::lock()
{
    QMutex::lock();
}

void IPCMutexQt::unlock()
{
    QMutex::unlock();
}
