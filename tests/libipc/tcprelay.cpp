#include "tcprelay.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <memory>

namespace {

sockaddr_in loopback(int port)
{
    sockaddr_in sa{};
    sa.sin_family = AF_INET;
    sa.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    sa.sin_port = htons(static_cast<uint16_t>(port));
    return sa;
}

bool readable(int fd, int timeoutMs)
{
    pollfd entry{fd, POLLIN, 0};
    return poll(&entry, 1, timeoutMs) == 1;
}

} // namespace

struct TcpRelay::End {
    explicit End(int socket) : fd(socket) {}
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
    bool has_input() const { return (tls && tls->has_buffered_input()) || readable(fd, 0); }
    long read(char* buffer, std::size_t size)
    {
        std::size_t got = 0;
        if (!tls)
            return ::recv(fd, buffer, size, 0);
        return tls->read(buffer, size, got) == ipc::tls::Channel::Status::Done ? static_cast<long>(got) : -1;
    }
    // False once the peer is gone.
    bool write(const char* data, std::size_t size)
    {
        while (size > 0) {
            std::size_t n = 0;
            if (tls)
                tls->write(data, size, n);
            else
                n = static_cast<std::size_t>(std::max<ssize_t>(::send(fd, data, size, MSG_NOSIGNAL), 0));
            if (n == 0)
                return false;
            data += n;
            size -= n;
        }
        return true;
    }

    int fd;
    std::unique_ptr<ipc::tls::Channel> tls;
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
    m_thread = std::thread([this] {
        while (!m_stop) {
            if (readable(m_listener, 50))
                forward(accept4(m_listener, nullptr, nullptr, SOCK_CLOEXEC));
        }
    });
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

void TcpRelay::forward(int clientFd)
{
    End client(clientFd);
    End server(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
    const sockaddr_in sa = loopback(m_serverPort);
    std::string error;
    if (connect(server.fd, reinterpret_cast<const sockaddr*>(&sa), sizeof sa) != 0
        || (m_identity && (!client.start_tls(m_identity, true) || !server.start_tls(ipc::tls::client_context(error), false))))
        return;
    while (!m_stop) {
        pollfd entries[] = {{client.fd, POLLIN, 0}, {server.fd, POLLIN, 0}};
        poll(entries, 2, 50);
        if (!pump(client, server, m_toServer) || !pump(server, client, m_toClient))
            return;
    }
}

bool TcpRelay::pump(End& from, End& to, std::string& record)
{
    if (!from.has_input())
        return true;
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
