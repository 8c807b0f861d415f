#include "threadedmanager.h"

ThreadedManager::~ThreadedManager()
{
    stop_thread();
}

void ThreadedManager::start_thread()
{
    if (!m_thread.joinable())
        m_thread = std::thread([this] { event_loop(); });
}

void ThreadedManager::stop_thread()
{
    if (!m_thread.joinable())
        return;
    IPCManager::stop();
    m_thread.join();
}

bool ThreadedManager::wait_until(const std::function<bool()>& condition, std::chrono::milliseconds timeout)
{
    const auto deadline = std::chrono::steady_clock::now() + timeout;
    for (;;) {
        {
            IPCLockGuard lock(get_mutex());
            if (condition())
                return true;
        }
        if (std::chrono::steady_clock::now() >= deadline)
            return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
}
