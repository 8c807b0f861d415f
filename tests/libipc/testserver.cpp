#include "testserver.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <atomic>

std::string TestServer::unique_local_address()
{
    static std::atomic<unsigned int> counter{0};
    return "/orvane-test-" + std::to_string(getpid()) + "-" + std::to_string(++counter);
}

int TestServer::free_tcp_port()
{
    const int fd = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in sa{};
    sa.sin_family = AF_INET;
    sa.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t length = sizeof sa;
    bind(fd, reinterpret_cast<sockaddr*>(&sa), sizeof sa);
    getsockname(fd, reinterpret_cast<sockaddr*>(&sa), &length);
    close(fd);
    return ntohs(sa.sin_port);
}

TestServer::TestServer(const std::string& password, const std::string& user)
    : m_user(user)
    , m_password(password)
{
    m_manager.add_server("test", this);
    set_tls_directory(m_tlsDirectory.path());
}

bool TestServer::listen(const std::string& encoding, const SocketAddr& address)
{
    if (!m_manager.listen_server(encoding, "stream", address, "test"))
        return false;
    m_manager.start_thread();
    return true;
}

bool TestServer::password_for(const std::string& user, std::string& password) const
{
    if (user != m_user)
        return false;
    password = m_password;
    return true;
}

void TestServer::process_command(const IPCSessionInfo& session, const Message& msg)
{
    m_commands.push_back(msg);
    if (m_handler)
        m_handler(*this, session, msg);
}
