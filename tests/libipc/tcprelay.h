#ifndef TESTS_LIBIPC_TCPRELAY_H
#define TESTS_LIBIPC_TCPRELAY_H

#include "testserver.h"
#include "tlschannel.h"

#include <poll.h>

#include <algorithm>
#include <memory>
#include <mutex>
#include <string>
#include <thread>

// Stands on a loopback port between a client and a server, one connection at a time, and
// records every byte that crosses it each way. Given an identity of its own it ends the
// client's TLS session and opens a second one to the server, as a relay in the middle would;
// it then records the plaintext it forwards.
class TcpRelay {
public:
    explicit TcpRelay(int serverPort, ipc::tls::Context identity = nullptr)
        : m_serverPort(serverPort)
        , m_identity(std::move(identity))
        , m_port(TestServer::free_tcp_port())
    {
        sockaddr_in sa = loopback(m_port);
        bind(m_listener, reinterpret_cast<sockaddr*>(&sa), sizeof sa);
        listen(m_listener, 8);
        m_thread = std::thread([this] {
            while (!m_stop) {
                if (readable(m_listener, 50))
                    forward(accept4(m_listener, nullptr, nullptr, SOCK_CLOEXEC));
            }
        });
    }
    ~TcpRelay()
    {
        m_stop = true;
        m_thread.join();
        close(m_listener);
    }

    int port() const { return m_port; }
    std::string toServer() { return recorded(m_toServer); }
    std::string toClient() { return recorded(m_toClient); }

private:
    // One end of a forwarded connection, in the clear or through TLS, on a blocking socket.
    struct End {
        explicit End(int socket) : fd(socket) {}
        ~End()
        {
            tls.reset();
            close(fd);
        }
        bool start_tls(const ipc::tls::Context& context, bool server)
        {
            std::string error;
            tls = ipc::tls::Channel::create(context, fd, server, error);
            return tls && tls->handshake() == ipc::tls::Channel::Status::Done;
        }
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
            for (std::size_t n = 1; size > 0 && n > 0; data += n, size -= n) {
                n = 0;
                if (tls)
                    tls->write(data, size, n);
                else
                    n = static_cast<std::size_t>(std::max<ssize_t>(::send(fd, data, size, MSG_NOSIGNAL), 0));
            }
            return size == 0;
        }

        int fd;
        std::unique_ptr<ipc::tls::Channel> tls;
    };

    static sockaddr_in loopback(int port) { return {AF_INET, htons(static_cast<uint16_t>(port)), {htonl(INADDR_LOOPBACK)}, {}}; }
    static bool readable(int fd, int timeoutMs)
    {
        pollfd entry{fd, POLLIN, 0};
        return poll(&entry, 1, timeoutMs) == 1;
    }
    std::string recorded(const std::string& stream)
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        return stream;
    }

    void forward(int clientFd)
    {
        End client(clientFd);
        End server(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
        const sockaddr_in sa = loopback(m_serverPort);
        std::string error;
        if (connect(server.fd, reinterpret_cast<const sockaddr*>(&sa), sizeof sa) != 0
            || (m_identity && (!client.start_tls(m_identity, true) || !server.start_tls(ipc::tls::client_context(error), false))))
            return;
        while (!m_stop && pump(client, server, m_toServer) && pump(server, client, m_toClient)) {
            pollfd entries[] = {{client.fd, POLLIN, 0}, {server.fd, POLLIN, 0}};
            poll(entries, 2, 50);
        }
    }
    // Moves what `from` has to `to`; false once either is closed.
    bool pump(End& from, End& to, std::string& record)
    {
        if (!(from.tls && from.tls->has_buffered_input()) && !readable(from.fd, 0))
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

    const int m_serverPort;
    const ipc::tls::Context m_identity;
    const int m_port;
    const int m_listener = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    std::atomic<bool> m_stop{false};
    std::mutex m_mutex;
    std::string m_toServer;
    std::string m_toClient;
    std::thread m_thread;
};

#endif
