#include "simclient.h"

void SimClient::logged_in()
{
    IPCEndpointClient::logged_in();
    record([](Records& r) { ++r.logins; });
}

void SimClient::connection_changed()
{
    IPCEndpointClient::connection_changed();
    if (!is_connected())
        record([](Records& r) { ++r.disconnections; });
}

void SimClient::record(const std::function<void(Records&)>& change)
{
    {
        std::lock_guard<std::mutex> lock(m_recordsMutex);
        change(m_records);
    }
    m_changed.notify_all();
}

bool SimClient::waitFor(const std::function<bool(const Records&)>& done, std::chrono::milliseconds timeout)
{
    std::unique_lock<std::mutex> lock(m_recordsMutex);
    return m_changed.wait_for(lock, timeout, [&] { return done(m_records); });
}

SimClient::Records SimClient::records()
{
    std::lock_guard<std::mutex> lock(m_recordsMutex);
    return m_records;
}
