#ifndef TESTS_INTEGRATION_CLIENTLOOP_H
#define TESTS_INTEGRATION_CLIENTLOOP_H

#include "ipcmanager.h"

#include <mutex>
#include <thread>

// The library's manager running its loop on a thread of its own, with a real recursive lock,
// as a program with a GUI thread runs it.
class ClientLoop : public IPCManager {
public:
    ClientLoop() = default;
    ~ClientLoop() override;

    IPCMutex* get_mutex() override { return &m_mutex; }
    void startThread();
    void stopThread();

private:
    class RecursiveMutex : public IPCMutex {
    public:
        void lock() override { m_mutex.lock(); }
        void unlock() override { m_mutex.unlock(); }

    private:
        std::recursive_mutex m_mutex;
    };

    RecursiveMutex m_mutex;
    std::thread m_thread;
};

#endif
