#include "socketaddr.h"

std::string SocketAddr::to_string() const
{
    if (is_local())
        return m_host;
    const std::string port = std::to_string(effective_port());
    // An IPv6 literal needs brackets to keep its colons apart from the port.
    if (m_host.find(':') != std::string::npos)
        return '[' + m_host + "]:" + port;
    return m_host + ':' + port;
}
