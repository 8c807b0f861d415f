#ifndef LIBIPC_IPCMUTEX_H
#define LIBIPC_IPCMUTEX_H

// The lock the library holds while it processes input and calls endpoint virtuals. The
// default does nothing: a single-threaded program needs no lock.
class IPCMutex {
public:
    IPCMutex() = default;
    IPCMutex(const IPCMutex&) = delete;
    IPCMutex& operator=(const IPCMutex&) = delete;
    virtual ~IPCMutex() = default;
    virtual void lock() {}
    virtual void unlock() {}
};

// Scoped holder for library code and plain C++ callers.
class IPCLockGuard {
public:
    explicit IPCLockGuard(IPCMutex* mutex) : m_mutex(mutex) { if (m_mutex) m_mutex->lock(); }
    ~IPCLockGuard() { if (m_mutex) m_mutex->unlock(); }
    IPCLockGuard(const IPCLockGuard&) = delete;
    IPCLockGuard& operator=(const IPCLockGuard&) = delete;

private:
    IPCMutex* m_mutex;
};

#endif
