#ifndef TESTS_LIBIPC_TCPRELAY_H
#define TESTS_LIBIPC_TCPRELAY_H

#include "tlschannel.h"

#include <atomic>
#include <mutex>
#include <string>
#include <thread>

// Stands on a loopback port between a client and a server, one connection at a time, and
// records every byte that crosses it each way. Given an identity of its own it ends the
// client's TLS session and opens a second one to the server, as a relay in the middle would;
// it then records the plaintext it forwards.
class TcpRelay {
public:
    explicit TcpRelay(int serverPort, ipc::tls::Context identity = nullptr);
    ~TcpRelay();
    TcpRelay(const TcpRelay&) = delete;
    TcpRelay& operator=(const TcpRelay&) = delete;

    int port() const { return m_port; }
    std::string toServer();
    std::string toClient();

private:
    // One end of a forwarded connection, in the clear or through TLS.
    struct End;
    void forward(int clientFd);
    // Moves what `from` has to `to`; false once either is closed.
    bool pump(End& from, End& to, std::string& record);

    const int m_serverPort;
    const ipc::tls::Context m_identity;
    int m_listener = -1;
    int m_port = 0;
    std::atomic<bool> m_stop{false};
    std::mutex m_mutex;
    std::string m_toServer;
    std::string m_toClient;
    std::thread m_thread;
};

#endif
