#include "ipcendpoint.h"

#include "ipcclientlink.h"
#include "ipcmanager.h"
#include "knownunits.h"

#include <algorithm>
#include <cstdlib>

IPCEndpointClient::IPCEndpointClient()
    : m_knownUnitsFile(ipc::tls::KnownUnits::default_file())
{
    if (const char* expected = std::getenv("REMOTE_UI_FINGERPRINT"))
        m_expectedFingerprint = expected;
}

IPCEndpointClient::~IPCEndpointClient()
{
    if (IPCManager* owner = manager()) {
        IPCLockGuard lock(owner->get_mutex());
        const std::string name = endpoint_name();
        owner->remove_client(name);
        owner->client_destroyed(name);
    }
}

void IPCEndpointClient::connection_changed()
{
    g_log.log(LOG_INFO, "IPC client %s %s", endpoint_name().c_str(), m_connected ? "connected" : "disconnected");
}

void IPCEndpointClient::timer_service()
{
    if (m_link)
        m_link->service();
}

void IPCEndpointClient::timed_out()
{
    g_log.log(LOG_ERROR, "IPC client %s: no connection or login within %d s", endpoint_name().c_str(),
              retry_interval());
}

void IPCEndpointClient::set_debug(bool on)
{
    IPCEndpoint::set_debug(on);
    g_log.log(LOG_INFO, "IPC client %s: message tracing %s", endpoint_name().c_str(), on ? "on" : "off");
}

void IPCEndpointClient::logged_in()
{
    g_log.log(LOG_INFO, "IPC client %s logged in as %s", endpoint_name().c_str(), get_username().c_str());
}

void IPCEndpointClient::process_unso_id(const std::string&, const Message& msg)
{
    process_unso(msg);
}

bool IPCEndpointClient::send_command(const Message& msg)
{
    IPCLockGuard lock(manager() ? manager()->get_mutex() : nullptr);
    if (!m_link || !m_loggedIn) {
        g_log.log(LOG_INFO, "IPC client %s: not logged in, request %s dropped", endpoint_name().c_str(),
                  msg.name.c_str());
        return false;
    }
    return m_link->send_command(msg);
}

void IPCEndpointClient::subscribe_unso(const std::string& pattern, unsigned int flags)
{
    IPCLockGuard lock(manager() ? manager()->get_mutex() : nullptr);
    const auto known = std::find_if(m_subscriptions.begin(), m_subscriptions.end(),
                                    [&pattern](const Subscription& s) { return s.pattern == pattern; });
    if (known != m_subscriptions.end())
        known->flags = flags;
    else
        m_subscriptions.push_back(Subscription{pattern, flags});
    if (m_link)
        m_link->send_subscription(pattern, flags);
}

void IPCEndpointClient::set_unit_trust(const std::string& knownUnitsFile, const std::string& expectedFingerprint)
{
    IPCLockGuard lock(manager() ? manager()->get_mutex() : nullptr);
    m_knownUnitsFile = knownUnitsFile;
    m_expectedFingerprint = expectedFingerprint;
}
