#ifndef LIBIPC_IPCSERVERLINK_H
#define LIBIPC_IPCSERVERLINK_H

#include "codec.h"
#include "ipcendpoint.h"
#include "ipcsocket.h"
#include "socketaddr.h"
#include "tlschannel.h"

#include <chrono>
#include <map>
#include <string>
#include <vector>

class IPCManager;

// The listening sockets and sessions of one server endpoint. A TCP listener runs TLS with the
// unit's identity; a local one stays in the clear. A session serves nothing until its login is
// accepted; anything else before that closes it, and so does a frame that no login needs.
// Connections still waiting for their login are few: the oldest makes room for a new one, so
// idle connections cannot keep a real client out.
class IPCServerLink : private IPCSocket::Owner {
public:
    static constexpr int kProtocolVersion = 1;
    static constexpr std::chrono::seconds kLoginTimeout{10};
    static constexpr std::size_t kMaxSessions = 64;
    static constexpr std::size_t kMaxPendingLogins = 16;
    static constexpr std::size_t kMaxLoginFrameBytes = 1024;

    IPCServerLink(IPCEndpointServer& server, IPCManager& manager);
    IPCServerLink(const IPCServerLink&) = delete;
    IPCServerLink& operator=(const IPCServerLink&) = delete;
    ~IPCServerLink();

    bool listen(ipc::Encoding encoding, const SocketAddr& address);
    bool send_response(unsigned int sessionId, const Message& msg);
    // To every matching session, or only to `onlySession` when it is not 0.
    std::size_t push_unso(const std::string& id, const Message& msg, unsigned int onlySession = 0);
    void drop_sessions();
    std::vector<IPCSessionInfo> sessions() const;

private:
    struct Listener {
        int fd;
        ipc::Encoding encoding;
        std::string address;
        bool tls;
    };
    // Keyed by the id of its socket, which is also the session id.
    struct Session {
        IPCSessionInfo info;
        IPCSocket* socket = nullptr;
        std::string nonce;
        bool loggedIn = false;
        unsigned int loginTimer = 0;
    };

    void watch(const Listener& listener);
    void accept_clients(const Listener& listener);
    // Closes the oldest connection still waiting for its login when there are too many.
    void make_room_for_login();
    void open_session(const Listener& listener, int fd, const std::string& peer);
    void check_login(Session& session, const Message& login);
    void serve(Session& session, const Message& msg);

    void socket_connected(IPCSocket& socket) override;
    void socket_message(IPCSocket& socket, const Message& msg) override;
    void socket_closed(IPCSocket& socket) override;

    IPCEndpointServer& m_server;
    IPCManager& m_manager;
    std::vector<Listener> m_listeners;
    ipc::tls::Context m_tlsContext;
    // Listeners paused after a failed accept, with the timer that resumes them.
    std::map<int, unsigned int> m_pausedListeners;
    std::map<unsigned int, Session> m_sessions;
};

#endif
