#ifndef LIBIPC_SOCKETADDR_H
#define LIBIPC_SOCKETADDR_H

#include <string>

// An address beginning with "/" names a Unix stream socket in the abstract namespace; any
// other is a TCP host name or address. Port 0 means kDefaultPort.
class SocketAddr {
public:
    static constexpr int kDefaultPort = 47710;

    SocketAddr() = default;
    SocketAddr(const std::string& host, int port) : m_host(host), m_port(port) {}

    const std::string& host() const { return m_host; }
    int port() const { return m_port; }
    bool is_local() const { return !m_host.empty() && m_host[0] == '/'; }
    int effective_port() const { return m_port == 0 ? kDefaultPort : m_port; }
    std::string to_string() const;

private:
    std::string m_host;
    int m_port = 0;
};

#endif
