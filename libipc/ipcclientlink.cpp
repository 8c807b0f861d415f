#include "ipcclientlink.h"

#include "hostlookup.h"
#include "ipcendpoint.h"
#include "ipcmanager.h"
#include "knownunits.h"
#include "login.h"
#include "netutil.h"
#include "strutil.h"

#include <memory>

IPCClientLink::IPCClientLink(IPCEndpointClient& client, IPCManager& manager, ipc::Encoding encoding,
                             const SocketAddr& address)
    : m_client(client)
    , m_manager(manager)
    , m_encoding(encoding)
    , m_address(address)
{
}

IPCClientLink::~IPCClientLink()
{
    if (m_startTimer)
        m_manager.cancel(m_startTimer);
    drop_lookup();
    if (m_socket)
        m_manager.discard_socket(*m_socket);
}

void IPCClientLink::start()
{
    m_startTimer = m_manager.schedule(std::chrono::milliseconds(0), [this] {
        m_startTimer = 0;
        attempt();
    });
}

void IPCClientLink::service()
{
    const Clock::time_point now = Clock::now();
    const std::chrono::seconds interval(m_client.retry_interval());
    if (m_phase == Phase::Down) {
        if (!m_startTimer && now - m_lastAttempt >= interval)
            attempt();
        return;
    }
    if (m_phase == Phase::LoggedIn || now - m_phaseStart < interval)
        return;
    m_client.timed_out();
    if (m_phase == Phase::Resolving) {
        g_log.log(LOG_INFO, "IPC client %s: looking up %s timed out", m_client.endpoint_name().c_str(),
                  m_address.host().c_str());
        drop_lookup();
        m_phase = Phase::Down;
        return;
    }
    const char* what = m_phase == Phase::Connecting ? "connect" : "login";
    if (m_socket)
        m_socket->abort(std::string(what) + " timed out", LOG_INFO);
}

bool IPCClientLink::send_command(const Message& msg)
{
    return send(Message(ipc::envelope::kCommand), &msg);
}

void IPCClientLink::send_subscription(const std::string& pattern, unsigned int flags)
{
    if (m_phase != Phase::LoggedIn)
        return;
    Message subscribe(ipc::envelope::kSubscribe);
    subscribe.params().set_string("pattern", pattern);
    subscribe.params().set_uint("flags", flags);
    send(subscribe);
}

void IPCClientLink::attempt()
{
    m_lastAttempt = Clock::now();
    m_phaseStart = m_lastAttempt;
    const SocketAddr address = ipc::net::effective_address(m_address);
    if (!address.is_local()) {
        m_lookup = std::make_unique<ipc::net::HostLookup>(address);
        m_phase = Phase::Resolving;
        if (m_lookup->fd() < 0)
            lookup_done();
        else
            m_manager.watch_fd(m_lookup->fd(), [this] { lookup_done(); });
        return;
    }
    std::string error;
    const int fd = ipc::net::connect_local(address, error);
    if (fd < 0) {
        g_log.log(LOG_INFO, "IPC client %s: cannot connect to %s: %s", m_client.endpoint_name().c_str(),
                  address.to_string().c_str(), error.c_str());
        return;
    }
    open_socket(fd, false, address);
}

void IPCClientLink::lookup_done()
{
    std::string error;
    const ipc::net::AddrInfoList addresses = m_lookup->take_result(error);
    drop_lookup();
    m_phase = Phase::Down;
    bool pending = false;
    const int fd = addresses ? ipc::net::connect_tcp(addresses.get(), pending, error) : -1;
    if (fd < 0) {
        g_log.log(LOG_INFO, "IPC client %s: cannot connect to %s: %s", m_client.endpoint_name().c_str(),
                  m_address.to_string().c_str(), error.c_str());
        return;
    }
    open_socket(fd, pending, ipc::net::effective_address(m_address));
}

void IPCClientLink::drop_lookup()
{
    if (!m_lookup)
        return;
    m_manager.unwatch_fd(m_lookup->fd());
    m_lookup.reset();
}

void IPCClientLink::open_socket(int fd, bool pending, const SocketAddr& address)
{
    m_phase = Phase::Connecting;
    IPCSocket::Owner& owner = *this;
    m_socket = &m_manager.add_socket(std::make_unique<IPCSocket>(m_manager, owner, fd, pending, m_encoding,
                                                                 "link to " + address.to_string()));
    if (!address.is_local()) {
        std::string error;
        static const ipc::tls::Context clientContext = ipc::tls::client_context(error);
        m_socket->start_tls(clientContext, false);
    } else if (!pending) {
        socket_connected(*m_socket);
    }
}

bool IPCClientLink::send(const Message& msg, const Message* onlyChild)
{
    if (m_client.debug() && g_log.enabled(LOG_DEBUG)) {
        g_log.log(LOG_DEBUG, "IPC client %s sends:", m_client.endpoint_name().c_str());
        msg._dump(LOG_DEBUG, 0, 1);
        if (onlyChild)
            onlyChild->_dump(LOG_DEBUG, 0, 2);
    }
    return m_socket && m_socket->send(msg, onlyChild);
}

bool IPCClientLink::check_certificate(const IPCSocket& socket)
{
    const std::string seen = socket.tls()->peer_fingerprint();
    const std::string unit = m_address.to_string();
    const ipc::tls::KnownUnits knownUnits(m_client.m_knownUnitsFile);
    std::string expected;
    std::string source;
    std::string error;
    if (!m_client.m_expectedFingerprint.empty()) {
        expected = ipc::tls::normalise_fingerprint(m_client.m_expectedFingerprint);
        source = "REMOTE_UI_FINGERPRINT";
        if (expected.empty())
            error = "REMOTE_UI_FINGERPRINT is not a SHA-256 fingerprint: " + m_client.m_expectedFingerprint;
    } else if (knownUnits.pinned(unit, expected, error)) {
        source = "the pin in " + knownUnits.file();
    }
    if (!error.empty()) {
        fail(error);
        return false;
    }
    if (!expected.empty() && expected != seen) {
        fail("the unit's certificate has changed: it shows fingerprint " + seen + " where " + source + " expects "
             + expected + "; refused. If the unit was reinstalled, remove its line from " + knownUnits.file()
             + " (or update REMOTE_UI_FINGERPRINT)");
        return false;
    }
    m_unpinnedFingerprint = expected.empty() ? seen : std::string();
    m_binding = socket.tls()->channel_binding();
    return true;
}

void IPCClientLink::answer_challenge(const Message& challenge)
{
    std::string mac;
    m_nonce = challenge.params().get_string("nonce", "");
    if (!ipc::login::compute_mac(ipc::login::Role::Client, m_nonce, m_binding, m_client.get_password(), mac)) {
        fail("malformed challenge");
        return;
    }
    const std::string protocol = challenge.params().get_string("protocol", "");
    if (protocol != int_to_str(m_client.protocol_version()))
        m_client.protocol_changed(protocol);
    Message login(ipc::envelope::kLogin);
    login.params().set_string("user", m_client.get_username());
    login.params().set_string("mac", mac);
    m_phase = Phase::AwaitingLoginResult;
    send(login);
}

void IPCClientLink::finish_login(const Message& result)
{
    if (!result.params().get_bool("ok", false)) {
        g_log.log(LOG_ERROR, "IPC client %s: login refused", m_client.endpoint_name().c_str());
        m_client.auth_fail();
        if (m_socket)
            m_socket->abort("login refused", LOG_INFO);
        return;
    }
    if (!ipc::login::verify_mac(ipc::login::Role::Unit, m_nonce, m_binding, m_client.get_password(),
                                result.params().get_string("mac", ""))) {
        fail("the unit accepted the login without proving that it knows the password");
        return;
    }
    pin_certificate();
    m_phase = Phase::LoggedIn;
    m_client.m_loggedIn = true;
    for (const IPCEndpointClient::Subscription& subscription : m_client.m_subscriptions)
        send_subscription(subscription.pattern, subscription.flags);
    m_client.logged_in();
}

void IPCClientLink::pin_certificate()
{
    if (m_unpinnedFingerprint.empty())
        return;
    const std::string unit = m_address.to_string();
    const ipc::tls::KnownUnits knownUnits(m_client.m_knownUnitsFile);
    std::string error;
    if (knownUnits.pin(unit, m_unpinnedFingerprint, error))
        g_log.log(LOG_INFO, "IPC client %s: pinned the certificate of unit %s (fingerprint %s) in %s",
                  m_client.endpoint_name().c_str(), unit.c_str(), m_unpinnedFingerprint.c_str(),
                  knownUnits.file().c_str());
    else
        g_log.log(LOG_ERROR, "IPC client %s: cannot pin the certificate of unit %s: %s",
                  m_client.endpoint_name().c_str(), unit.c_str(), error.c_str());
    m_unpinnedFingerprint.clear();
}

void IPCClientLink::fail(const std::string& reason)
{
    if (m_socket)
        m_socket->abort(reason, LOG_ERROR);
}

void IPCClientLink::socket_connected(IPCSocket& socket)
{
    m_binding.clear();
    m_unpinnedFingerprint.clear();
    if (socket.tls() && !check_certificate(socket))
        return;
    m_phase = Phase::AwaitingChallenge;
    m_phaseStart = Clock::now();
    m_client.m_connected = true;
    m_client.connection_changed();
}

void IPCClientLink::socket_message(IPCSocket&, const Message& msg)
{
    if (m_client.debug() && g_log.enabled(LOG_DEBUG)) {
        g_log.log(LOG_DEBUG, "IPC client %s received:", m_client.endpoint_name().c_str());
        msg._dump(LOG_DEBUG, 0, 1);
    }
    const bool oneChild = msg.child_count() == 1;
    switch (m_phase) {
    case Phase::AwaitingChallenge:
        if (msg.name == ipc::envelope::kChallenge)
            answer_challenge(msg);
        else
            fail("expected a challenge, got \"" + msg.name + "\"");
        return;
    case Phase::AwaitingLoginResult:
        if (msg.name == ipc::envelope::kLoginResult)
            finish_login(msg);
        else
            fail("expected a login result, got \"" + msg.name + "\"");
        return;
    case Phase::LoggedIn:
        if (msg.name == ipc::envelope::kResponse && oneChild)
            m_client.process_response(msg.child(0));
        else if (msg.name == ipc::envelope::kUnso && oneChild && msg.params().has_param("id"))
            m_client.process_unso_id(msg.params().get_string("id", ""), msg.child(0));
        else
            fail("malformed \"" + msg.name + "\" envelope");
        return;
    case Phase::Down:
    case Phase::Resolving:
    case Phase::Connecting:
        break;
    }
    fail("unexpected \"" + msg.name + "\"");
}

void IPCClientLink::socket_closed(IPCSocket&)
{
    const bool wasConnected = m_client.m_connected;
    m_socket = nullptr;
    m_phase = Phase::Down;
    m_client.m_connected = false;
    m_client.m_loggedIn = false;
    if (wasConnected)
        m_client.connection_changed();
}
