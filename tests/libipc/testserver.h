#ifndef TESTS_LIBIPC_TESTSERVER_H
#define TESTS_LIBIPC_TESTSERVER_H

#include "ipcendpoint.h"
#include "socketaddr.h"
#include "temporarydirectory.h"
#include "threadedmanager.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <atomic>
#include <functional>
#include <vector>

// An in-process backend for tests: a server endpoint on its own manager thread that accepts the
// user "user", records every command it receives and, given a handler, lets the test answer.
// Its TLS identity is made in a directory of its own unless set_tls_directory says otherwise.
// push_unso, drop_sessions and sessions() of the base may be called from the test thread.
class TestServer : public IPCEndpointServer {
public:
    // Runs on the loop thread with the lock held, for every command after it is recorded.
    using Handler = std::function<void(TestServer& server, const IPCSessionInfo& session, const Message& msg)>;

    // A fresh abstract socket name, so that tests never meet each other's servers.
    static std::string unique_local_address()
    {
        static std::atomic<unsigned int> counter{0};
        return "/orvane-test-" + std::to_string(getpid()) + "-" + std::to_string(++counter);
    }
    // A loopback TCP port that nothing listens on right now.
    static int free_tcp_port()
    {
        const int fd = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
        sockaddr_in sa{AF_INET, 0, {htonl(INADDR_LOOPBACK)}, {}};
        socklen_t length = sizeof sa;
        bind(fd, reinterpret_cast<sockaddr*>(&sa), sizeof sa);
        getsockname(fd, reinterpret_cast<sockaddr*>(&sa), &length);
        close(fd);
        return ntohs(sa.sin_port);
    }

    explicit TestServer(const std::string& password, Handler handler = nullptr)
        : m_password(password)
        , m_handler(std::move(handler))
    {
        m_manager.add_server("test", this);
        set_tls_directory(m_tlsDirectory.path());
    }
    // No virtual of this object may run once its destruction has begun.
    ~TestServer() override { m_manager.stop_thread(); }

    // Listens (several times for several addresses) and starts the loop thread.
    bool listen(const std::string& encoding, const SocketAddr& address)
    {
        const bool listening = m_manager.listen_server(encoding, "stream", address, "test");
        m_manager.start_thread();
        return listening;
    }

    std::vector<Message> commands() { return locked(m_commands); }
    std::size_t logins() { return locked(m_logins); }
    // Logged-in sessions that have ended.
    std::size_t logouts() { return locked(m_logouts); }
    // Ticks of the loop's timer, which server endpoints get too.
    std::size_t ticks() { return locked(m_ticks); }
    // Polls `condition` under the server's lock.
    bool wait_until(const std::function<bool()>& condition) { return m_manager.wait_until(condition); }
    ThreadedManager& loop() { return m_manager; }

    bool password_for(const std::string& user, std::string& password) const override
    {
        password = m_password;
        return user == "user";
    }
    void session_opened(const IPCSessionInfo&) override { ++m_logins; }
    void session_closed(const IPCSessionInfo&) override { ++m_logouts; }
    void timer_service() override { ++m_ticks; }
    void process_command(const IPCSessionInfo& session, const Message& msg) override
    {
        m_commands.push_back(msg);
        if (m_handler)
            m_handler(*this, session, msg);
    }

private:
    // A copy of `value` taken under the loop's lock.
    template <typename T>
    T locked(const T& value)
    {
        IPCLockGuard lock(m_manager.get_mutex());
        return value;
    }

    TemporaryDirectory m_tlsDirectory;
    ThreadedManager m_manager;
    const std::string m_password;
    Handler m_handler;
    std::vector<Message> m_commands;
    std::size_t m_logins = 0;
    std::size_t m_logouts = 0;
    std::size_t m_ticks = 0;
};

#endif
