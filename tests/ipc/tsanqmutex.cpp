// ThreadSanitizer builds only. The distribution's QtCore is not instrumented, so TSan cannot see
// that QMutex orders memory, nor that QThread::wait() joins: every access guarded by the IPC lock,
// and every teardown after the IPC thread ended, would be reported as a race. These definitions
// take the place of QtCore's out-of-line entry points for calls from our own code (the
// executable's definitions win), forward to QtCore and tell TSan about the ordering they provide.
// A thread's unlocks also release on its QThread, so that waiting for the thread acquires
// everything it did up to its last unlock.

#include <QDeadlineTimer>
#include <QMutex>
#include <QThread>

#include <sanitizer/tsan_interface.h>

#include <dlfcn.h>

#include <cstdlib>

namespace {

template <typename Function>
Function qtCore(const char* symbol)
{
    void* address = dlvsym(RTLD_NEXT, symbol, "Qt_5");
    if (!address)
        std::abort();
    return reinterpret_cast<Function>(address);
}

void releaseOnUnlock(QBasicMutex* mutex)
{
    __tsan_release(mutex);
    __tsan_release(QThread::currentThread());
}

} // namespace

void QMutex::lock() QT_MUTEX_LOCK_NOEXCEPT
{
    static const auto forward = qtCore<void (*)(QMutex*)>("_ZN6QMutex4lockEv");
    forward(this);
    __tsan_acquire(this);
}

void QMutex::unlock() noexcept
{
    static const auto forward = qtCore<void (*)(QMutex*)>("_ZN6QMutex6unlockEv");
    releaseOnUnlock(this);
    forward(this);
}

void QBasicMutex::lockInternal() QT_MUTEX_LOCK_NOEXCEPT
{
    static const auto forward = qtCore<void (*)(QBasicMutex*)>("_ZN11QBasicMutex12lockInternalEv");
    forward(this);
    __tsan_acquire(this);
}

void QBasicMutex::unlockInternal() noexcept
{
    static const auto forward = qtCore<void (*)(QBasicMutex*)>("_ZN11QBasicMutex14unlockInternalEv");
    releaseOnUnlock(this);
    forward(this);
}

bool QThread::wait(QDeadlineTimer deadline)
{
    static const auto forward = qtCore<bool (*)(QThread*, QDeadlineTimer)>("_ZN7QThread4waitE14QDeadlineTimer");
    const bool finished = forward(this, deadline);
    if (finished)
        __tsan_acquire(this);
    return finished;
}
