#ifndef LIBIPC_IPCCLIENTLINK_H
#define LIBIPC_IPCCLIENTLINK_H

#include "codec.h"
#include "ipcsocket.h"
#include "socketaddr.h"

#include <chrono>
#include <memory>
#include <string>

class IPCEndpointClient;
class IPCManager;
namespace ipc {
namespace net {
class HostLookup;
}
} // namespace ipc

// The connection of one client endpoint: connects, answers the server's challenge, sends the
// subscriptions after each login, routes answers and notifications to the endpoint's virtuals,
// and reconnects while the link is down. A TCP host is looked up off the loop thread and
// spoken to inside TLS: its certificate must match the one expected or pinned, and the login
// is bound to the TLS session; the unit's certificate is pinned once the unit has shown that
// it knows the password.
class IPCClientLink : private IPCSocket::Owner {
public:
    IPCClientLink(IPCEndpointClient& client, IPCManager& manager, ipc::Encoding encoding, const SocketAddr& address);
    IPCClientLink(const IPCClientLink&) = delete;
    IPCClientLink& operator=(const IPCClientLink&) = delete;
    ~IPCClientLink();

    // Makes the first connect attempt from the loop as soon as it runs.
    void start();
    // Once a second: reconnects when down, gives up on a connect or login that takes too long.
    void service();
    // Only once logged in.
    bool send_command(const Message& msg);
    void send_subscription(const std::string& pattern, unsigned int flags);

private:
    using Clock = std::chrono::steady_clock;
    enum class Phase { Down, Resolving, Connecting, AwaitingChallenge, AwaitingLoginResult, LoggedIn };

    void attempt();
    void lookup_done();
    void drop_lookup();
    void open_socket(int fd, bool pending, const SocketAddr& address);
    // With `onlyChild`, `msg` is an envelope around it.
    bool send(const Message& msg, const Message* onlyChild = nullptr);
    // False (logged, link closed) when the unit's certificate is not the one trusted.
    bool check_certificate(const IPCSocket& socket);
    void answer_challenge(const Message& challenge);
    void finish_login(const Message& result);
    void pin_certificate();
    void fail(const std::string& reason);

    void socket_connected(IPCSocket& socket) override;
    void socket_message(IPCSocket& socket, const Message& msg) override;
    void socket_closed(IPCSocket& socket) override;

    IPCEndpointClient& m_client;
    IPCManager& m_manager;
    const ipc::Encoding m_encoding;
    const SocketAddr m_address;
    std::unique_ptr<ipc::net::HostLookup> m_lookup;
    IPCSocket* m_socket = nullptr;
    // Of the current connection: what the login MACs are bound to, the challenge's nonce, and
    // the certificate to pin after the login when none was trusted before.
    std::string m_binding;
    std::string m_nonce;
    std::string m_unpinnedFingerprint;
    Phase m_phase = Phase::Down;
    Clock::time_point m_lastAttempt;
    // Start of the current connect or login, for the time-out.
    Clock::time_point m_phaseStart;
    unsigned int m_startTimer = 0;
};

#endif
