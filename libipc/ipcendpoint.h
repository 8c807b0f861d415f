#ifndef LIBIPC_IPCENDPOINT_H
#define LIBIPC_IPCENDPOINT_H

#include "message.h"

#include <memory>
#include <string>
#include <vector>

class IPCManager;
class IPCSocket;
class IPCClientLink;
class IPCServerLink;

// Common base of client and server endpoints.
class IPCEndpoint {
public:
    IPCEndpoint() = default;
    IPCEndpoint(const IPCEndpoint&) = delete;
    IPCEndpoint& operator=(const IPCEndpoint&) = delete;
    virtual ~IPCEndpoint() = default;

    // Called by the manager's loop about once a second, with the manager's lock held.
    virtual void timer_service() {}
    virtual void set_debug(bool on) { m_debug = on; }
    bool debug() const { return m_debug; }

    const std::string& endpoint_name() const { return m_name; }
    IPCManager* manager() const { return m_manager; }

private:
    friend class IPCManager;
    std::string m_name;
    IPCManager* m_manager = nullptr;
    bool m_debug = false;
};

// A connection to one server. Every virtual is called on the manager's loop thread with the
// manager's lock (IPCManager::get_mutex()) held.
class IPCEndpointClient : public IPCEndpoint {
public:
    IPCEndpointClient();
    ~IPCEndpointClient() override;

    // The link went up (socket connected) or down; is_connected() tells which.
    virtual void connection_changed();
    // Reconnects when the link is down and retry_interval() seconds have passed.
    void timer_service() override;
    // A connect attempt or a login did not finish within retry_interval() seconds.
    virtual void timed_out();
    void set_debug(bool on) override;
    // The server accepted the login; the subscriptions have been sent.
    virtual void logged_in();
    // The server refused the login; the library closes the link and retries later.
    virtual void auth_fail() {}
    virtual std::string get_username() { return "user"; }
    virtual std::string get_password() { return std::string(); }
    virtual int retry_interval() const { return 10; }
    virtual int protocol_version() const { return 1; }
    // The server speaks another protocol version than protocol_version().
    virtual void protocol_changed(const std::string&) {}
    virtual void process_response(const Message&) {}
    virtual void process_unso(const Message&) {}
    // Every notification arrives here first; the default passes it on to process_unso.
    virtual void process_unso_id(const std::string& id, const Message& msg);

    // Encodes and queues one request. Any thread, with the manager's lock held; never blocks.
    // False (and a level-4 log line) when the client is not logged in: the request is dropped.
    bool send_command(const Message& msg);
    // Stored, and sent after every successful login, before logged_in() is called.
    void subscribe_unso(const std::string& pattern, unsigned int flags);

    // Whom a link to a remote unit (TCP, always inside TLS) trusts: the unit whose certificate
    // has `expectedFingerprint` (SHA-256, hex) when given, else the one pinned for its host and
    // port in `knownUnitsFile`, else, at the first login, the unit that proves it knows the
    // password, which is then pinned there. By default REMOTE_UI_FINGERPRINT and
    // KnownUnits::default_file().
    void set_unit_trust(const std::string& knownUnitsFile, const std::string& expectedFingerprint);

    bool is_connected() const { return m_connected; }
    bool is_logged_in() const { return m_loggedIn; }

private:
    friend class IPCManager;
    friend class IPCClientLink;
    struct Subscription {
        std::string pattern;
        unsigned int flags;
    };
    std::vector<Subscription> m_subscriptions;
    std::string m_knownUnitsFile;
    std::string m_expectedFingerprint;
    std::unique_ptr<IPCClientLink> m_link;
    bool m_connected = false;
    bool m_loggedIn = false;
};

// One logged-in (or logging-in) connection of a server endpoint.
struct IPCSessionInfo {
    unsigned int id = 0;
    std::string user;
    std::vector<std::string> subscriptions;
};

// Accepts clients, checks their login, hands each command to process_command with the session
// it came from, and pushes notifications to the sessions that subscribed to them. Virtuals run
// on the manager's loop thread with the manager's lock held; the other members need that lock
// when called from another thread.
class IPCEndpointServer : public IPCEndpoint {
public:
    IPCEndpointServer();
    ~IPCEndpointServer() override;

    // The password for `user`, or false to refuse the user outright.
    virtual bool password_for(const std::string& user, std::string& password) const;
    // Where the unit's TLS key and self-signed certificate live ("unit.key", "unit.crt"), made
    // on the first TCP listen and kept; user_config_path("orvane-unit") by default. Set it
    // before listening.
    void set_tls_directory(const std::string& directory);
    const std::string& tls_directory() const { return m_tlsDirectory; }
    // A session's login was accepted / a logged-in session ended.
    virtual void session_opened(const IPCSessionInfo&) {}
    virtual void session_closed(const IPCSessionInfo&) {}
    virtual void process_command(const IPCSessionInfo& session, const Message& msg) = 0;

    // False when the session is gone.
    bool send_response(unsigned int sessionId, const Message& msg);
    // To every logged-in session with a matching subscription; returns how many got it. The
    // generic identifier kGenericUnso ("unso") needs no subscription: it reaches every
    // logged-in session, since it carries messages of any kind the client may want.
    static constexpr const char* kGenericUnso = "unso";
    std::size_t push_unso(const std::string& id, const Message& msg);
    // The same for one session only; false when it is gone or not subscribed.
    bool push_unso_to(unsigned int sessionId, const std::string& id, const Message& msg);
    // Closes every session (the clients see their link drop and reconnect).
    void drop_sessions();
    // The logged-in sessions.
    std::vector<IPCSessionInfo> sessions() const;

private:
    friend class IPCManager;
    friend class IPCServerLink;
    std::string m_tlsDirectory;
    std::unique_ptr<IPCServerLink> m_link;
};

#endif
