#ifndef TESTS_LIBIPC_THREADEDMANAGER_H
#define TESTS_LIBIPC_THREADEDMANAGER_H

#include "ipcmanager.h"

#include <atomic>
#include <chrono>
#include <functional>
#include <mutex>
#include <thread>

// An IPCManager whose loop runs on a thread of its own, guarded by a real recursive lock, as
// in the program.
class ThreadedManager : public IPCManager {
public:
    ~ThreadedManager() override { stop_thread(); }

    IPCMutex* get_mutex() override { return &m_mutex; }
    void user_loop() override { ++m_turns; }
    // Turns of the loop so far.
    std::size_t turns() const { return m_turns; }

    void start_thread()
    {
        if (!m_thread.joinable())
            m_thread = std::thread([this] { event_loop(); });
    }
    // Stops the loop and joins the thread; endpoints stay registered.
    void stop_thread()
    {
        if (!m_thread.joinable())
            return;
        IPCManager::stop();
        m_thread.join();
    }
    // Polls `condition` under the lock until it holds or five seconds have passed.
    bool wait_until(const std::function<bool()>& condition)
    {
        for (const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(5);;
             std::this_thread::sleep_for(std::chrono::milliseconds(2))) {
            {
                IPCLockGuard lock(get_mutex());
                if (condition())
                    return true;
            }
            if (std::chrono::steady_clock::now() >= deadline)
                return false;
        }
    }

private:
    struct RecursiveMutex : IPCMutex {
        void lock() override { mutex.lock(); }
        void unlock() override { mutex.unlock(); }
        std::recursive_mutex mutex;
    };

    RecursiveMutex m_mutex;
    std::atomic<std::size_t> m_turns{0};
    std::thread m_thread;
};

#endif
