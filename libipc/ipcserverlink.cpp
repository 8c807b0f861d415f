#include "ipcserverlink.h"

#include "ipcmanager.h"
#include "login.h"
#include "netutil.h"
#include "strutil.h"

#include <unistd.h>

#include <algorithm>
#include <memory>

namespace {

// After a failed accept (out of descriptors, say) the listener rests instead of spinning.
constexpr std::chrono::seconds kAcceptPause(1);

} // namespace

IPCServerLink::IPCServerLink(IPCEndpointServer& server, IPCManager& manager)
    : m_server(server)
    , m_manager(manager)
{
}

IPCServerLink::~IPCServerLink()
{
    for (const auto& entry : m_pausedListeners)
        m_manager.cancel(entry.second);
    for (const Listener& listener : m_listeners) {
        m_manager.unwatch_fd(listener.fd);
        close(listener.fd);
    }
    for (const auto& entry : m_sessions) {
        if (entry.second.loginTimer)
            m_manager.cancel(entry.second.loginTimer);
        m_manager.discard_socket(*entry.second.socket);
    }
}

bool IPCServerLink::listen(ipc::Encoding encoding, const SocketAddr& address)
{
    const SocketAddr effective = ipc::net::effective_address(address);
    std::string error;
    if (!effective.is_local() && !m_tlsContext) {
        std::string fingerprint;
        m_tlsContext = ipc::tls::server_context(m_server.tls_directory(), fingerprint, error);
        if (!m_tlsContext) {
            g_log.log(LOG_ERROR, "IPC server %s: no TLS identity: %s", m_server.endpoint_name().c_str(),
                      error.c_str());
            return false;
        }
        g_log.log(LOG_INFO, "IPC server %s: TLS certificate %s/unit.crt, fingerprint %s",
                  m_server.endpoint_name().c_str(), m_server.tls_directory().c_str(), fingerprint.c_str());
    }
    const int fd = ipc::net::listen_stream(effective, error);
    if (fd < 0) {
        g_log.log(LOG_ERROR, "IPC server %s: cannot listen on %s: %s", m_server.endpoint_name().c_str(),
                  effective.to_string().c_str(), error.c_str());
        return false;
    }
    const Listener listener{fd, encoding, effective.to_string(), !effective.is_local()};
    m_listeners.push_back(listener);
    watch(listener);
    g_log.log(LOG_INFO, "IPC server %s: listening on %s (%s%s)", m_server.endpoint_name().c_str(),
              listener.address.c_str(), ipc::encoding_name(encoding), listener.tls ? ", TLS" : "");
    return true;
}

bool IPCServerLink::send_response(unsigned int sessionId, const Message& msg)
{
    const auto it = m_sessions.find(sessionId);
    if (it == m_sessions.end() || !it->second.loggedIn)
        return false;
    return it->second.socket->send(Message(ipc::envelope::kResponse), &msg);
}

std::size_t IPCServerLink::push_unso(const std::string& id, const Message& msg, unsigned int onlySession)
{
    Message envelope(ipc::envelope::kUnso);
    envelope.params().set_string("id", id);
    const bool generic = id == IPCEndpointServer::kGenericUnso;
    // Encoded once per encoding in use.
    std::map<ipc::Encoding, std::string> frames;
    std::size_t delivered = 0;
    for (const auto& entry : m_sessions) {
        const Session& session = entry.second;
        if (!session.loggedIn || !session.socket->is_open() || (onlySession != 0 && entry.first != onlySession))
            continue;
        const std::vector<std::string>& patterns = session.info.subscriptions;
        if (!generic && std::none_of(patterns.begin(), patterns.end(), [&id](const std::string& pattern) {
                return ipc::pattern_matches(pattern, id);
            }))
            continue;
        const ipc::Encoding encoding = session.socket->encoding();
        auto frame = frames.find(encoding);
        if (frame == frames.end()) {
            std::string encoded;
            if (!IPCSocket::encode_frame(encoding, envelope, &msg, encoded))
                return delivered;
            frame = frames.emplace(encoding, std::move(encoded)).first;
        }
        if (session.socket->send_frame(frame->second))
            ++delivered;
    }
    return delivered;
}

void IPCServerLink::drop_sessions()
{
    for (const auto& entry : m_sessions)
        entry.second.socket->abort("session dropped", LOG_INFO);
}

std::vector<IPCSessionInfo> IPCServerLink::sessions() const
{
    std::vector<IPCSessionInfo> open;
    for (const auto& entry : m_sessions) {
        if (entry.second.loggedIn && entry.second.socket->is_open())
            open.push_back(entry.second.info);
    }
    return open;
}

void IPCServerLink::watch(const Listener& listener)
{
    m_manager.watch_fd(listener.fd, [this, listener] { accept_clients(listener); });
}

void IPCServerLink::accept_clients(const Listener& listener)
{
    for (;;) {
        std::string peer;
        std::string error;
        const int fd = ipc::net::accept_stream(listener.fd, peer, error);
        if (fd < 0) {
            if (!error.empty()) {
                g_log.log(LOG_ERROR, "IPC server %s: %s", m_server.endpoint_name().c_str(), error.c_str());
                m_manager.unwatch_fd(listener.fd);
                m_pausedListeners[listener.fd] = m_manager.schedule(kAcceptPause, [this, listener] {
                    m_pausedListeners.erase(listener.fd);
                    watch(listener);
                });
            }
            return;
        }
        peer = "client " + peer + " on " + listener.address;
        if (sessions().size() >= kMaxSessions) {
            g_log.log(LOG_ERROR, "IPC %s: too many sessions; connection closed", peer.c_str());
            close(fd);
            continue;
        }
        make_room_for_login();
        open_session(listener, fd, peer);
    }
}

void IPCServerLink::make_room_for_login()
{
    // Ids grow with each connection, so the first waiting session is the oldest.
    std::size_t waiting = 0;
    Session* oldest = nullptr;
    for (auto& entry : m_sessions) {
        if (entry.second.loggedIn || !entry.second.socket->is_open())
            continue;
        ++waiting;
        if (!oldest)
            oldest = &entry.second;
    }
    if (waiting >= kMaxPendingLogins)
        oldest->socket->abort("no login yet, making room for a new connection", LOG_INFO);
}

void IPCServerLink::open_session(const Listener& listener, int fd, const std::string& peer)
{
    IPCSocket::Owner& owner = *this;
    IPCSocket& socket = m_manager.add_socket(
        std::make_unique<IPCSocket>(m_manager, owner, fd, false, listener.encoding, peer));
    socket.set_frame_limit(kMaxLoginFrameBytes);
    const unsigned int id = socket.id();
    Session& session = m_sessions[id];
    session.info.id = id;
    session.socket = &socket;
    session.nonce = ipc::login::make_nonce();
    session.loginTimer = m_manager.schedule(kLoginTimeout, [this, id] {
        const auto it = m_sessions.find(id);
        if (it == m_sessions.end())
            return;
        it->second.loginTimer = 0;
        it->second.socket->abort("no login within " + std::to_string(kLoginTimeout.count()) + " s", LOG_ERROR);
    });
    if (listener.tls && !socket.start_tls(m_tlsContext, true))
        return;
    // Over TLS it waits for the end of the handshake.
    Message challenge(ipc::envelope::kChallenge);
    challenge.params().set_string("nonce", session.nonce);
    challenge.params().set_string("protocol", int_to_str(kProtocolVersion));
    socket.send(challenge);
}

void IPCServerLink::check_login(Session& session, const Message& login)
{
    const std::string user = login.params().get_string("user", "");
    const std::string binding = session.socket->tls() ? session.socket->tls()->channel_binding() : std::string();
    std::string password;
    std::string unitMac;
    const bool accepted = m_server.password_for(user, password)
        && ipc::login::verify_mac(ipc::login::Role::Client, session.nonce, binding, password,
                                  login.params().get_string("mac", ""))
        && ipc::login::compute_mac(ipc::login::Role::Unit, session.nonce, binding, password, unitMac);
    Message result(ipc::envelope::kLoginResult);
    result.params().set_bool("ok", accepted);
    if (accepted)
        result.params().set_string("mac", unitMac);
    session.socket->send(result);
    if (!accepted) {
        g_log.log(LOG_ERROR, "IPC %s: login refused for user \"%s\"", session.socket->peer().c_str(), user.c_str());
        // The refusal has already left: before a login nothing else is sent that could hold it up.
        session.socket->abort("login refused", LOG_INFO);
        return;
    }
    m_manager.cancel(session.loginTimer);
    session.loginTimer = 0;
    session.loggedIn = true;
    session.socket->set_frame_limit(ipc::Limits::kMaxFrameBytes);
    session.info.user = user;
    g_log.log(LOG_INFO, "IPC %s: session %u logged in as \"%s\"", session.socket->peer().c_str(), session.info.id,
              user.c_str());
    m_server.session_opened(session.info);
}

void IPCServerLink::serve(Session& session, const Message& msg)
{
    if (msg.name == ipc::envelope::kCommand && msg.child_count() == 1) {
        m_server.process_command(session.info, msg.child(0));
        return;
    }
    const std::string pattern = msg.params().get_string("pattern", "");
    if (msg.name == ipc::envelope::kSubscribe && !pattern.empty()) {
        std::vector<std::string>& patterns = session.info.subscriptions;
        if (std::find(patterns.begin(), patterns.end(), pattern) == patterns.end())
            patterns.push_back(pattern);
        return;
    }
    session.socket->abort("malformed \"" + msg.name + "\" envelope", LOG_ERROR);
}

void IPCServerLink::socket_connected(IPCSocket&)
{
    // Nothing to do: the challenge queued at accept goes out once the socket is open.
}

void IPCServerLink::socket_message(IPCSocket& socket, const Message& msg)
{
    const auto it = m_sessions.find(socket.id());
    if (it == m_sessions.end())
        return;
    Session& session = it->second;
    if (session.loggedIn)
        serve(session, msg);
    else if (msg.name == ipc::envelope::kLogin)
        check_login(session, msg);
    else
        socket.abort("\"" + msg.name + "\" before login", LOG_ERROR);
}

void IPCServerLink::socket_closed(IPCSocket& socket)
{
    const auto it = m_sessions.find(socket.id());
    if (it == m_sessions.end())
        return;
    const Session session = it->second;
    m_sessions.erase(it);
    if (session.loginTimer)
        m_manager.cancel(session.loginTimer);
    if (session.loggedIn)
        m_server.session_closed(session.info);
}
