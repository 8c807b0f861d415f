#include "tcprelay.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <memory>

namespace {

constexpr int kPollMs = 50;

sockaddr_in loopback(int port)
{
    sockaddr_in sa{};
    sa.sin_family = AF_INET;
    sa.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    sa.sin_port = htons(static_cast<uint16_t>(port));
    return sa;
}

} // namespace

struct TcpRelay::End {
    int fd = -1;
    std::unique_ptr<ipc::tls::Channel> tls;

    ~End()
    {
        tls.reset();
        close(fd);
    }
    // Blocking handshake on a blocking socket.
    bool start_tls(const ipc::tls::Context& context, bool server)
    {
        std::string error;
        tls = ipc::tls::Channel::create(context, fd, server, error);
        return tls && tls->handshake() == ipc::tls::Channel::Status::Done;
    }
    long read(char* buffer, std::size_t size)
    {
        if (!tls)
            return ::recv(fd, buffer, size, 0);
        std::size_t got = 0;
        return tls->read(buffer, size, got) == ipc::tls::Channel::Status::Done ? static_cast<long>(got) : -1;
    }
    // How much of `data` went out; 0 once the peer is gone.
    std::size_t write_some(const char* data, std::size_t size)
    {
        std::size_t written = 0;
        if (tls)
            return tls->write(data, size, written) == ipc::tls::Channel::Status::Done ? written : 0;
        const ssize_t n = ::send(fd, data, size, MSG_NOSIGNAL);
        return n > 0 ? static_cast<std::size_t>(n) : 0;
    }
    bool write(const char* data, std::size_t size)
    {
        for (std::size_t n = 0; size > 0; data += n, size -= n) {
            if ((n = write_some(data, size)) == 0)
                return false;
        }
        return true;
    }
};

TcpRelay::TcpRelay(int serverPort, ipc::tls::Context identity)
    : m_serverPort(serverPort)
    , m_identity(std::move(identity))
{
    m_listener = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in sa = loopback(0);
    socklen_t length = sizeof sa;
    if (bind(m_listener, reinterpret_cast<sockaddr*>(&sa), sizeof sa) == 0 && listen(m_listener, 8) == 0
        && getsockname(m_listener, reinterpret_cast<sockaddr*>(&sa), &length) == 0)
        m_port = ntohs(sa.sin_port);
    m_thread = std::thread([this] { run(); });
}

TcpRelay::~TcpRelay()
{
    m_stop = true;
    m_thread.join();
    close(m_listener);
}

std::string TcpRelay::toServer()
{
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_toServer;
}

std::string TcpRelay::toClient()
{
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_toClient;
}

void TcpRelay::run()
{
    while (!m_stop) {
        pollfd entry{m_listener, POLLIN, 0};
        if (poll(&entry, 1, kPollMs) == 1)
            forward(accept4(m_listener, nullptr, nullptr, SOCK_CLOEXEC));
    }
}

void TcpRelay::forward(int clientFd)
{
    End client;
    client.fd = clientFd;
    End server;
    server.fd = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in sa = loopback(m_serverPort);
    if (connect(server.fd, reinterpret_cast<sockaddr*>(&sa), sizeof sa) != 0)
        return;
    if (m_identity) {
        std::string error;
        if (!client.start_tls(m_identity, true) || !server.start_tls(ipc::tls::client_context(error), false))
            return;
    }
    while (!m_stop) {
        pollfd entries[] = {{client.fd, POLLIN, 0}, {server.fd, POLLIN, 0}};
        const bool buffered = (client.tls && client.tls->has_buffered_input())
            || (server.tls && server.tls->has_buffered_input());
        if (!buffered && poll(entries, 2, kPollMs) <= 0)
            continue;
        if ((buffered || entries[0].revents) && !pump(client, server, m_toServer))
            return;
        if ((buffered || entries[1].revents) && !pump(server, client, m_toClient))
            return;
    }
}

bool TcpRelay::pump(End& from, End& to, std::string& record)
{
    if (from.tls && !from.tls->has_buffered_input()) {
        pollfd entry{from.fd, POLLIN, 0};
        if (poll(&entry, 1, 0) != 1)
            return true;
    }
    char buffer[16384];
    const long n = from.read(buffer, sizeof buffer);
    if (n <= 0)
        return false;
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        record.append(buffer, static_cast<std::size_t>(n));
    }
    return to.write(buffer, static_cast<std::size_t>(n));
}
