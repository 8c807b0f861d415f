#ifndef TESTS_LIBIPC_TCPRELAY_H
#define TESTS_LIBIPC_TCPRELAY_H

#include "netutil.h"
#include "testserver.h"
#include "tlschannel.h"

#include <fcntl.h>
#include <poll.h>

#include <algorithm>
#include <mutex>
#include <thread>

// Stands on a loopback port between a client and a server for one connection, and records every
// byte that crosses it each way. Given an identity of its own it ends the client's TLS session
// and opens a second one to the server, as a relay in the middle would; it then records the
// plaintext it forwards.
class TcpRelay {
public:
    explicit TcpRelay(int serverPort, ipc::tls::Context identity = nullptr)
        : m_port(TestServer::free_tcp_port())
        , m_listener(ipc::net::listen_stream(SocketAddr("127.0.0.1", m_port), m_error))
        , m_thread([this, serverPort, identity] { forward(serverPort, identity); })
    {
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
    // One end of the forwarded connection, in the clear or through TLS, on a blocking socket.
    struct End {
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
        // False once the peer is gone. Blocking, and one record at most: all is written at once.
        bool write(const char* data, std::size_t size)
        {
            std::size_t written = 0;
            if (tls)
                tls->write(data, size, written);
            else
                written = static_cast<std::size_t>(std::max<ssize_t>(::send(fd, data, size, MSG_NOSIGNAL), 0));
            return written == size;
        }

        int fd;
        std::unique_ptr<ipc::tls::Channel> tls;
    };

    std::string recorded(const std::string& stream)
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        return stream;
    }
    void forward(int serverPort, const ipc::tls::Context& identity)
    {
        pollfd listener{m_listener, POLLIN, 0};
        while (!m_stop && poll(&listener, 1, 50) < 1) {
        }
        std::string peer;
        std::string error;
        End client{ipc::net::accept_stream(m_listener, peer, error), nullptr};
        End server{socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0), nullptr};
        const sockaddr_in address{AF_INET, htons(static_cast<uint16_t>(serverPort)), {htonl(INADDR_LOOPBACK)}, {}};
        if (client.fd < 0 || fcntl(client.fd, F_SETFL, 0) != 0
            || connect(server.fd, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0
            || (identity && (!client.start_tls(identity, true) || !server.start_tls(ipc::tls::client_context(error), false))))
            return;
        while (!m_stop && pump(client, server, m_toServer) && pump(server, client, m_toClient)) {
        }
    }
    // Moves what `from` has to `to`; false once either is closed.
    bool pump(End& from, End& to, std::string& record)
    {
        pollfd entry{from.fd, POLLIN, 0};
        if (!(from.tls && from.tls->has_buffered_input()) && poll(&entry, 1, 10) < 1)
            return true;
        char buffer[16384];
        std::size_t got = 0;
        if (from.tls)
            from.tls->read(buffer, sizeof buffer, got);
        else
            got = static_cast<std::size_t>(std::max<ssize_t>(recv(from.fd, buffer, sizeof buffer, 0), 0));
        if (got == 0)
            return false;
        {
            std::lock_guard<std::mutex> lock(m_mutex);
            record.append(buffer, got);
        }
        return to.write(buffer, got);
    }

    const int m_port;
    std::string m_error;
    const int m_listener;
    std::atomic<bool> m_stop{false};
    std::mutex m_mutex;
    std::string m_toServer;
    std::string m_toClient;
    std::thread m_thread;
};

#endif
