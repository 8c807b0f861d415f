#include "netutil.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <netdb.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cerrno>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <memory>

namespace ipc {
namespace net {

namespace {

// Deep enough that a burst of connections does not cost a real client a dropped SYN and its
// one-second retransmission.
constexpr int kListenBacklog = 128;

std::string errno_text(const char* what)
{
    return std::string(what) + ": " + std::strerror(errno);
}

// The name goes after a leading NUL byte, which puts it in the abstract namespace.
bool abstract_address(const std::string& name, sockaddr_un& sa, socklen_t& length, std::string& error)
{
    sa = sockaddr_un{};
    sa.sun_family = AF_UNIX;
    if (name.size() + 1 > sizeof sa.sun_path) {
        error = "local address too long: " + name;
        return false;
    }
    std::memcpy(sa.sun_path + 1, name.data(), name.size());
    length = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + 1 + name.size());
    return true;
}

// A Unix stream socket for the abstract address `name`, which fills `sa`; -1 with `error`.
int local_socket(const std::string& name, sockaddr_un& sa, socklen_t& length, std::string& error)
{
    if (!abstract_address(name, sa, length, error))
        return -1;
    const int fd = socket(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
    if (fd < 0)
        error = errno_text("socket");
    return fd;
}

// For listening only: a listener starts before the loop runs.
AddrInfoList resolve_passive(const SocketAddr& addr, std::string& error)
{
    addrinfo hints{};
    hints.ai_family = AF_UNSPEC;
    hints.ai_socktype = SOCK_STREAM;
    hints.ai_flags = AI_PASSIVE;
    const std::string port = std::to_string(addr.effective_port());
    const char* host = addr.host().empty() ? nullptr : addr.host().c_str();
    addrinfo* list = nullptr;
    const int rc = getaddrinfo(host, port.c_str(), &hints, &list);
    if (rc != 0) {
        error = "cannot resolve " + addr.host() + ": " + gai_strerror(rc);
        list = nullptr;
    }
    return AddrInfoList(list, &freeaddrinfo);
}

void set_no_delay(int fd)
{
    const int on = 1;
    setsockopt(fd, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
}

std::string describe_inet(const sockaddr_storage& sa)
{
    char host[INET6_ADDRSTRLEN] = "?";
    int port = 0;
    if (sa.ss_family == AF_INET) {
        const auto& in = reinterpret_cast<const sockaddr_in&>(sa);
        inet_ntop(AF_INET, &in.sin_addr, host, sizeof host);
        port = ntohs(in.sin_port);
    } else {
        const auto& in6 = reinterpret_cast<const sockaddr_in6&>(sa);
        inet_ntop(AF_INET6, &in6.sin6_addr, host, sizeof host);
        port = ntohs(in6.sin6_port);
    }
    return std::string(host) + ":" + std::to_string(port);
}

std::string describe_unix_peer(int fd)
{
    ucred cred{};
    socklen_t length = sizeof cred;
    if (getsockopt(fd, SOL_SOCKET, SO_PEERCRED, &cred, &length) == 0)
        return "local pid " + std::to_string(cred.pid);
    return "local peer";
}

} // namespace

SocketAddr effective_address(const SocketAddr& addr)
{
    const char* override = std::getenv("LIBIPC_LOCAL_ADDR");
    if (addr.is_local() && override && *override)
        return SocketAddr(override, addr.port());
    return addr;
}

int connect_local(const SocketAddr& addr, std::string& error)
{
    sockaddr_un sa;
    socklen_t length = 0;
    const int fd = local_socket(addr.host(), sa, length, error);
    if (fd < 0)
        return -1;
    // EAGAIN here means the server's backlog is full.
    if (connect(fd, reinterpret_cast<const sockaddr*>(&sa), length) == 0)
        return fd;
    error = errno_text("connect");
    close(fd);
    return -1;
}

int connect_tcp(const addrinfo* addresses, bool& pending, std::string& error)
{
    for (const addrinfo* ai = addresses; ai; ai = ai->ai_next) {
        const int fd = socket(ai->ai_family, ai->ai_socktype | SOCK_NONBLOCK | SOCK_CLOEXEC, ai->ai_protocol);
        if (fd < 0) {
            error = errno_text("socket");
            continue;
        }
        set_no_delay(fd);
        const bool connected = connect(fd, ai->ai_addr, ai->ai_addrlen) == 0;
        if (connected || errno == EINPROGRESS) {
            pending = !connected;
            return fd;
        }
        error = errno_text("connect");
        close(fd);
    }
    return -1;
}

std::string connect_result(int fd)
{
    int code = 0;
    socklen_t length = sizeof code;
    if (getsockopt(fd, SOL_SOCKET, SO_ERROR, &code, &length) != 0)
        return errno_text("getsockopt");
    return code == 0 ? std::string() : std::string("connect: ") + std::strerror(code);
}

int listen_stream(const SocketAddr& addr, std::string& error)
{
    if (addr.is_local()) {
        sockaddr_un sa;
        socklen_t length = 0;
        const int fd = local_socket(addr.host(), sa, length, error);
        if (fd < 0)
            return -1;
        if (bind(fd, reinterpret_cast<const sockaddr*>(&sa), length) == 0 && listen(fd, kListenBacklog) == 0)
            return fd;
        error = errno_text("bind/listen");
        close(fd);
        return -1;
    }

    AddrInfoList list = resolve_passive(addr, error);
    for (const addrinfo* ai = list.get(); ai; ai = ai->ai_next) {
        const int fd = socket(ai->ai_family, ai->ai_socktype | SOCK_NONBLOCK | SOCK_CLOEXEC, ai->ai_protocol);
        if (fd < 0) {
            error = errno_text("socket");
            continue;
        }
        const int on = 1;
        setsockopt(fd, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
        if (bind(fd, ai->ai_addr, ai->ai_addrlen) == 0 && listen(fd, kListenBacklog) == 0)
            return fd;
        error = errno_text("bind/listen");
        close(fd);
    }
    return -1;
}

int accept_stream(int listenFd, std::string& peer, std::string& error)
{
    sockaddr_storage sa{};
    socklen_t length = sizeof sa;
    const int fd = accept4(listenFd, reinterpret_cast<sockaddr*>(&sa), &length, SOCK_NONBLOCK | SOCK_CLOEXEC);
    if (fd < 0) {
        // EWOULDBLOCK is EAGAIN on Linux, the only system with abstract local sockets.
        if (errno != EAGAIN && errno != EINTR)
            error = errno_text("accept");
        return -1;
    }
    if (sa.ss_family == AF_UNIX) {
        peer = describe_unix_peer(fd);
    } else {
        set_no_delay(fd);
        peer = describe_inet(sa);
    }
    return fd;
}

} // namespace net
} // namespace ipc
