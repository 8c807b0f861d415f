#include "ipcendpoint.h"

#include "ipcmanager.h"
#include "ipcserverlink.h"
#include "knownunits.h"

namespace {

IPCMutex* lock_of(const IPCEndpoint& endpoint)
{
    return endpoint.manager() ? endpoint.manager()->get_mutex() : nullptr;
}

} // namespace

IPCEndpointServer::IPCEndpointServer()
    : m_tlsDirectory(ipc::tls::user_config_path("orvane-unit"))
{
}

IPCEndpointServer::~IPCEndpointServer()
{
    if (IPCManager* owner = manager()) {
        IPCLockGuard lock(owner->get_mutex());
        owner->forget_server(this);
    }
}

bool IPCEndpointServer::password_for(const std::string&, std::string&) const
{
    return false;
}

void IPCEndpointServer::set_tls_directory(const std::string& directory)
{
    IPCLockGuard lock(lock_of(*this));
    m_tlsDirectory = directory;
}

bool IPCEndpointServer::send_response(unsigned int sessionId, const Message& msg)
{
    IPCLockGuard lock(lock_of(*this));
    return m_link && m_link->send_response(sessionId, msg);
}

std::size_t IPCEndpointServer::push_unso(const std::string& id, const Message& msg)
{
    IPCLockGuard lock(lock_of(*this));
    return m_link ? m_link->push_unso(id, msg) : 0;
}

bool IPCEndpointServer::push_unso_to(unsigned int sessionId, const std::string& id, const Message& msg)
{
    IPCLockGuard lock(lock_of(*this));
    return m_link && m_link->push_unso(id, msg, sessionId) == 1;
}

void IPCEndpointServer::drop_sessions()
{
    IPCLockGuard lock(lock_of(*this));
    if (m_link)
        m_link->drop_sessions();
}

std::vector<IPCSessionInfo> IPCEndpointServer::sessions() const
{
    IPCLockGuard lock(lock_of(*this));
    return m_link ? m_link->sessions() : std::vector<IPCSessionInfo>();
}
