#include "codec.h"
#include "ipcserverlink.h"
#include "knownunits.h"
#include "logcapture.h"
#include "login.h"
#include "netutil.h"
#include "tcprelay.h"

#include <gtest/gtest.h>

#include <fstream>
#include <regex>

using namespace std::chrono_literals;

namespace {

const std::string kPassword = "velkor-test";
// HMAC-SHA256 of the bytes 00..1f keyed by kPassword, computed independently.
const std::string kKnownNonce = "000102030405060708090a0b0c0d0e0f101112131415161718191a1b1c1d1e1f";
const std::string kKnownMac = "7c67271782987d40832ce93515139924e34cb076058fcaef2804654855f6be06";
// The unit's MAC for the same nonce: over "unit:" and the nonce bytes.
const std::string kKnownUnitMac = "2d0588f46c7928a1f9bdce9d378e103511b64e50b60de7bdc523dbebc6b5bbab";
const char* const kLoopback = "127.0.0.1";

// A client endpoint on its own manager thread that records what the library tells it; it pins
// units in a file of its own unless given one.
class TestClient : public IPCEndpointClient {
public:
    struct Events {
        std::vector<bool> connectionChanges;
        int logins = 0;
        int authFailures = 0;
        std::vector<Message> responses;
        // Each notification's id, then the "for" of the message that process_unso got.
        std::vector<std::string> notifications;
    };

    explicit TestClient(const std::string& knownUnits = "", const std::string& expectedFingerprint = "")
    {
        set_unit_trust(knownUnits.empty() ? m_configuration.file("known_units") : knownUnits, expectedFingerprint);
    }
    ~TestClient() override { m_loop.stop_thread(); }

    bool start(ipc::Encoding encoding, const SocketAddr& address)
    {
        const bool connecting = m_loop.add_client("test", this)
            && m_loop.connect_client(ipc::encoding_name(encoding), "stream", address, "test", 0, "");
        m_loop.start_thread();
        return connecting;
    }
    ThreadedManager& loop() { return m_loop; }
    Events events()
    {
        IPCLockGuard lock(m_loop.get_mutex());
        return m_events;
    }
    bool wait_until(const std::function<bool(const Events&)>& condition)
    {
        return m_loop.wait_until([&] { return condition(m_events); });
    }
    bool wait_logins(int count)
    {
        return wait_until([count](const Events& e) { return e.logins == count; });
    }

    void connection_changed() override
    {
        IPCEndpointClient::connection_changed();
        m_events.connectionChanges.push_back(is_connected());
    }
    void logged_in() override
    {
        IPCEndpointClient::logged_in();
        ++m_events.logins;
    }
    void auth_fail() override { ++m_events.authFailures; }
    std::string get_password() override { return kPassword; }
    int retry_interval() const override { return 1; }
    void process_response(const Message& msg) override { m_events.responses.push_back(msg); }
    // The library's own process_unso_id passes the message on to process_unso.
    void process_unso_id(const std::string& id, const Message& msg) override
    {
        m_events.notifications.push_back(id);
        IPCEndpointClient::process_unso_id(id, msg);
    }
    void process_unso(const Message& msg) override
    {
        m_events.notifications.push_back(msg.params().get_string("for", "?"));
    }

private:
    TemporaryDirectory m_configuration;
    ThreadedManager m_loop;
    Events m_events;
};

// A socket driven by hand, to play a misbehaving peer.
class RawConnection {
public:
    explicit RawConnection(int fd) : m_fd(fd) {}
    explicit RawConnection(const std::string& name) : m_fd(ipc::net::connect_local(SocketAddr(name, 0), m_error)) {}
    ~RawConnection() { close(m_fd); }

    void send_bytes(const std::string& bytes) { ::send(m_fd, bytes.data(), bytes.size(), MSG_NOSIGNAL); }
    void send(ipc::Encoding encoding, const Message& msg) { send_bytes(ipc::frame(ipc::encode(encoding, msg))); }
    void shutdown(int how) { ::shutdown(m_fd, how); }

    // The next whole frame, decoded; false on time-out, close or undecodable data.
    bool receive(ipc::Encoding encoding, Message& out)
    {
        for (;;) {
            std::size_t size = 0;
            const char* next = m_received.data() + m_consumed;
            const ipc::FrameStatus status = ipc::peek_frame(next, m_received.size() - m_consumed, size);
            if (status == ipc::FrameStatus::Complete) {
                m_consumed += ipc::kFrameHeaderBytes + size;
                return ipc::decode(encoding, next + ipc::kFrameHeaderBytes, size, out, m_error);
            }
            if (status == ipc::FrameStatus::TooLarge || !read_some())
                return false;
        }
    }
    // Reads the server's challenge.
    bool challenged(ipc::Encoding encoding)
    {
        return receive(encoding, m_challenge) && m_challenge.name == ipc::envelope::kChallenge;
    }
    // Logs in as "user" the way a client would, reading the challenge unless it came already.
    bool login(ipc::Encoding encoding)
    {
        Message result;
        std::string mac;
        if ((m_challenge.name.empty() && !challenged(encoding))
            || !ipc::login::compute_mac(ipc::login::Role::Client, m_challenge.params().get_string("nonce", ""), "",
                                        kPassword, mac))
            return false;
        send(encoding, Message(ipc::envelope::kLogin, Params(("user=user mac=" + mac).c_str())));
        return receive(encoding, result) && result.params().get_bool("ok", false);
    }
    // True once the peer has closed.
    bool wait_closed()
    {
        while (read_some()) {
        }
        return m_closed;
    }
    const std::string& received() const { return m_received; }

private:
    // False on time-out or close.
    bool read_some()
    {
        pollfd entry{m_fd, POLLIN, 0};
        char chunk[4096];
        // Shorter than the server's login timeout, so that its close is never taken for another.
        if (m_closed || poll(&entry, 1, 5000) <= 0)
            return false;
        const ssize_t n = recv(m_fd, chunk, sizeof chunk, 0);
        m_closed = n <= 0;
        m_received.append(chunk, static_cast<std::size_t>(std::max<ssize_t>(n, 0)));
        return n > 0;
    }

    std::string m_error;
    Message m_challenge;
    int m_fd;
    std::string m_received;
    std::size_t m_consumed = 0;
    bool m_closed = false;
};

// The fingerprint of the identity a server keeps in `directory`.
std::string identity_fingerprint(const std::string& directory)
{
    std::string fingerprint;
    std::string error;
    ipc::tls::server_context(directory, fingerprint, error);
    return fingerprint;
}

// Every test ends with the descriptors it started with: sockets, listeners, timers, lookups and
// TLS sessions are all closed.
class Transport : public ::testing::Test {
protected:
    static long open_descriptors()
    {
        return std::distance(std::filesystem::directory_iterator("/proc/self/fd"), std::filesystem::directory_iterator());
    }
    void TearDown() override
    {
        // A finished lookup's thread lets go of its descriptor a moment after it answers.
        for (int i = 0; i < 500 && open_descriptors() != m_before; ++i)
            std::this_thread::sleep_for(2ms);
        EXPECT_EQ(open_descriptors(), m_before);
    }
    const long m_before = open_descriptors();
};

} // namespace

// Subscriptions are sent at every login, again after a reconnection.
TEST_F(Transport, LoginAndSubscriptionsAgainAfterAReconnection)
{
    const SocketAddr address(TestServer::unique_local_address(), 0);
    TestServer server(kPassword);
    ASSERT_TRUE(server.listen("compact", address));
    TestClient client;
    // Made before the link exists: sent at every login.
    client.subscribe_unso("wifi:*", 0);
    ASSERT_TRUE(client.start(ipc::Encoding::Compact, address));
    ASSERT_TRUE(client.wait_logins(1));
    // Made while logged in: sent at once.
    client.subscribe_unso("netmgr", 0);
    const auto subscribed = [&] { return server.sessions().size() == 1 && server.sessions()[0].subscriptions.size() == 2; };
    ASSERT_TRUE(server.wait_until(subscribed));
    // An idle link lets the loop sleep: it turns for its timers, never for a socket with nothing to write.
    const std::size_t turns = client.loop().turns();
    std::this_thread::sleep_for(100ms);
    EXPECT_LT(client.loop().turns() - turns, 20u);

    for (const auto& [id, reached] : {std::pair{"wifi:wlan0", 1u}, {"wifi", 0u}, {"netmgr", 1u}, {"netmgr.devices", 0u}})
        EXPECT_EQ(server.push_unso(id, Message("status", Params((std::string("for=") + id).c_str()))), reached) << id;
    const unsigned int session = server.sessions()[0].id;
    EXPECT_TRUE(server.push_unso_to(session, "netmgr", Message("status", Params("for=session"))));
    EXPECT_FALSE(server.push_unso_to(session, "wifi", Message("status")));
    EXPECT_FALSE(server.push_unso_to(session + 1, "netmgr", Message("status")));
    ASSERT_TRUE(client.wait_until([](const TestClient::Events& e) { return e.notifications.size() >= 6; }));
    EXPECT_EQ(client.events().notifications,
              (std::vector<std::string>{"wifi:wlan0", "wifi:wlan0", "netmgr", "netmgr", "netmgr", "session"}));

    // Refused by the sender, with its reason, before the unit would have to refuse it.
    Message tooDeep("getVersion");
    Message* deepest = &tooDeep;
    for (std::size_t depth = 1; depth < ipc::Limits::kMaxDepth; ++depth)
        deepest = &deepest->add_child("level");
    LogCapture log;
    EXPECT_FALSE(client.send_command(tooDeep));
    EXPECT_TRUE(log.wait_for_error("message \"getVersion\" not sent: messages nested deeper than 64"));

    server.drop_sessions();
    ASSERT_TRUE(client.wait_logins(2));
    ASSERT_TRUE(server.wait_until(subscribed));
    EXPECT_EQ(server.push_unso("wifi:wlan1", Message("status")), 1u);
    EXPECT_EQ(client.events().connectionChanges, (std::vector<bool>{true, false, true}));
    EXPECT_EQ((std::vector<std::size_t>{server.logins(), server.logouts()}), (std::vector<std::size_t>{2, 1}));
    // Server endpoints get the loop's ticks too.
    EXPECT_TRUE(server.wait_until([&server] { return server.ticks() > 0; }));
}

class ServerSide : public Transport, public ::testing::WithParamInterface<ipc::Encoding> {};

// A raw peer that skips the login or misbehaves after it; its connection alone is closed, with a
// reason. A refused login is answered, then closed from the server's side.
TEST_P(ServerSide, CommandBeforeLoginOrMalformedInputClosesOnlyThatConnectionWithALoggedError)
{
    const ipc::Encoding encoding = GetParam();
    const std::string command = ipc::frame(ipc::encode(encoding, Message(ipc::envelope::kCommand, Params("seq=x"))));
    const std::string badLogin = ipc::frame(ipc::encode(encoding, Message(ipc::envelope::kLogin, Params("user=user mac=00"))));
    const std::string refusal = ipc::frame(ipc::encode(encoding, Message(ipc::envelope::kLoginResult, Params("ok:b=false"))));
    // What the peer sends, the logged reason, whether it logs in first.
    const std::tuple<std::string, const char*, bool> cases[] = {
        {command, "\"command\" before login; connection closed", false},
        {std::string("\x00\x00\x04\x01", 4) + std::string(1025, 'x'), "frame larger than 1024 bytes", false},
        {badLogin, "login refused for user \"user\"", false},
        {ipc::frame("\xff\x01<not a message>\x80\x00"), "undecodable frame", true},
        {std::string("\x7f\xff\xff\xf0", 4) + "tail", "frame larger than", true},
        {command.substr(0, command.size() - 3), "closed by peer inside a frame", true},
        {ipc::frame(ipc::encode(encoding, Message(ipc::envelope::kSubscribe))), "malformed \"subscribe\" envelope", true},
        {command, "malformed \"command\" envelope", true}};

    const std::string name = TestServer::unique_local_address();
    TestServer server(kPassword, [](TestServer& s, const IPCSessionInfo& session, const Message&) {
        s.send_response(session.id, Message("version"));
    });
    ASSERT_TRUE(server.listen(ipc::encoding_name(encoding), SocketAddr(name, 0)));
    TestClient client;
    ASSERT_TRUE(client.start(encoding, SocketAddr(name, 0)));
    ASSERT_TRUE(client.wait_logins(1));
    for (const auto& [bytes, reason, logIn] : cases) {
        SCOPED_TRACE(reason);
        LogCapture log;
        RawConnection raw(name);
        ASSERT_TRUE(logIn ? raw.login(encoding) : raw.challenged(encoding));
        raw.send_bytes(bytes);
        if (bytes != badLogin)
            raw.shutdown(SHUT_WR);
        EXPECT_TRUE(raw.wait_closed());
        EXPECT_EQ(raw.received().find(refusal) != std::string::npos, bytes == badLogin);
        EXPECT_TRUE(log.wait_for_error(reason));
    }
    EXPECT_TRUE(server.commands().empty());
    EXPECT_TRUE(server.wait_until([&] { return server.sessions().size() == 1; }));
    EXPECT_TRUE(client.send_command(Message("getVersion", Params("seq=version"))));
    EXPECT_TRUE(client.wait_until([](const TestClient::Events& e) { return e.responses.size() == 1; }));
    EXPECT_EQ(client.events().connectionChanges, std::vector<bool>{true});
}


TEST_F(Transport, AReaderFallingTooFarBehindIsCutOffAndTheOldestWaitingLoginMakesRoom)
{
    LogCapture log;
    const std::string name = TestServer::unique_local_address();
    TestServer server(kPassword);
    ASSERT_TRUE(server.listen("compact", SocketAddr(name, 0)));
    RawConnection raw(name);
    ASSERT_TRUE(raw.login(ipc::Encoding::Compact));
    // A pattern given twice is kept once.
    for (const char* pattern : {"pattern=bulk", "pattern=bulk", "pattern=last"})
        raw.send(ipc::Encoding::Compact, Message(ipc::envelope::kSubscribe, Params(pattern)));
    ASSERT_TRUE(server.wait_until([&] { return server.sessions().at(0).subscriptions.size() == 2; }));
    EXPECT_EQ(server.sessions().at(0).subscriptions, (std::vector<std::string>{"bulk", "last"}));

    // The raw peer never reads; a megabyte at a time overflows the output queue.
    const Message bulk("bulk", Params(("data=" + std::string(1 << 20, 'x')).c_str()));
    int pushed = 0;
    while (pushed < 64 && server.push_unso("bulk", bulk) == 1)
        ++pushed;
    EXPECT_GE(pushed, 30);
    EXPECT_LT(pushed, 64);
    EXPECT_TRUE(log.wait_for_error("bytes of output waiting; connection closed"));
    EXPECT_TRUE(server.wait_until([&] { return server.sessions().empty(); }));

    // A peer that will never read again is closed at the first write, which fails.
    RawConnection deaf(name);
    ASSERT_TRUE(deaf.login(ipc::Encoding::Compact));
    deaf.send(ipc::Encoding::Compact, Message(ipc::envelope::kSubscribe, Params("pattern=bulk")));
    ASSERT_TRUE(server.wait_until([&] { return server.sessions().size() == 1 && !server.sessions()[0].subscriptions.empty(); }));
    deaf.shutdown(SHUT_RD);
    EXPECT_EQ(server.push_unso("bulk", Message("bulk")), 0u);
    EXPECT_TRUE(server.wait_until([&] { return server.sessions().empty(); }));

    // The limit of connections waiting for their login, exactly: the seventeenth closes the first,
    // and the second can still log in.
    std::vector<std::unique_ptr<RawConnection>> waiting;
    for (std::size_t i = 0; i <= IPCServerLink::kMaxPendingLogins; ++i) {
        waiting.push_back(std::make_unique<RawConnection>(name));
        ASSERT_TRUE(waiting.back()->challenged(ipc::Encoding::Compact)) << i;
    }
    EXPECT_TRUE(waiting[0]->wait_closed());
    EXPECT_TRUE(waiting[1]->login(ipc::Encoding::Compact));
}


INSTANTIATE_TEST_SUITE_P(Encodings, ServerSide, ::testing::Values(ipc::Encoding::Compact, ipc::Encoding::Xmls));

// The client against a server played by hand: the password never crosses the link, only its MAC over
// the nonce; a server that says yes without its own MAC, a malformed answer or silence drop the link with a
// logged error, and the client tries again, sending nothing until it is logged in.
TEST_F(Transport, ClientLogsInWithAMacAndRecoversFromAnImpostorAMalformedAnswerOrSilence)
{
    const ipc::Encoding encoding = ipc::Encoding::Xmls;
    const std::string name = TestServer::unique_local_address();
    std::string error;
    const int listener = ipc::net::listen_stream(SocketAddr(name, 0), error);
    // The whole name counts: one that differs in its last byte only is another address.
    EXPECT_LT(ipc::net::connect_local(SocketAddr(name.substr(0, name.size() - 1) + '~', 0), error), 0);
    const auto accept_one = [&] {
        pollfd entry{listener, POLLIN, 0};
        std::string peer;
        return poll(&entry, 1, 10000) <= 0 ? -1 : ipc::net::accept_stream(listener, peer, error);
    };
    LogCapture log;
    TestClient client;
    ASSERT_TRUE(client.start(encoding, SocketAddr(name, 0)));
    const Message challenge(ipc::envelope::kChallenge, Params(("protocol=7 nonce=" + kKnownNonce).c_str()));
    // The impostor answers with the client's own MAC.
    for (const std::string& unitMac : {kKnownMac, kKnownUnitMac}) {
        RawConnection raw(accept_one());
        Message login;
        raw.send(encoding, challenge);
        ASSERT_TRUE(raw.receive(encoding, login));
        EXPECT_FALSE(client.send_command(Message("getVersion")));
        EXPECT_EQ(login, Message(ipc::envelope::kLogin, Params(("user=user mac=" + kKnownMac).c_str())));
        raw.send(encoding, Message(ipc::envelope::kLoginResult, Params(("ok:b=true mac=" + unitMac).c_str())));
        if (unitMac == kKnownUnitMac && client.wait_logins(1))
            raw.send(encoding, Message(ipc::envelope::kResponse));
        EXPECT_TRUE(raw.wait_closed());
        EXPECT_EQ(raw.received().find(kPassword), std::string::npos);
    }
    EXPECT_TRUE(log.wait_for_error("accepted the login without proving that it knows the password"));
    EXPECT_TRUE(log.wait_for_error("IPC link to " + name + ": malformed \"response\" envelope"));
    RawConnection silent(accept_one());
    EXPECT_FALSE(client.send_command(Message("getVersion")));
    EXPECT_TRUE(silent.wait_closed());
    const std::vector<bool> upAndDown = {true, false, true, false, true, false};
    EXPECT_TRUE(client.wait_until([&](const TestClient::Events& e) { return e.connectionChanges == upAndDown; }));
    EXPECT_EQ(client.events().logins, 1);
    close(listener);
}

// A remote session as an eavesdropper on the wire records it: TLS records only, application
// data after the hellos, and none of the password, the names, the answers or the login's nonce and
// MACs, so the capture gives nothing to test a password guess against.
TEST_F(Transport, ACaptureHoldsOnlyEncryptedRecordsAndARelayedLoginFails)
{
    const int port = TestServer::free_tcp_port();
    TestServer server(kPassword, [](TestServer& s, const IPCSessionInfo& session, const Message&) {
        Message answer("peerList", Params("seq=peerList"));
        answer.add_child(Message("peer", Params("id:i=1 name=Studio password=remote-s3cret")));
        s.send_response(session.id, answer);
    });
    ASSERT_TRUE(server.listen("xmls", SocketAddr(kLoopback, port)));
    TcpRelay tap(port);
    LogCapture log(LOG_DEBUG);
    TestClient client;
    client.set_debug(true);
    ASSERT_TRUE(client.start(ipc::Encoding::Xmls, SocketAddr(kLoopback, tap.port())));
    ASSERT_TRUE(client.wait_logins(1));
    EXPECT_TRUE(client.send_command(Message("getPeerList", Params("seq=peerList"))));
    ASSERT_TRUE(client.wait_until([](const TestClient::Events& e) { return e.responses.size() == 1; }));
    EXPECT_EQ(client.events().responses[0].child(0).params().get_string("password", ""), "remote-s3cret");

    // The nonce and both MACs, as the client's debug trace of what it received and sent shows them.
    std::vector<std::string> secrets = {kPassword, "getPeerList", "peerList", "remote-s3cret", "challenge", "login"};
    client.loop().stop_thread();
    client.set_debug(false);
    const std::string trace = log.all();
    for (const char* line : {"IPC client test connected\n", "IPC client test received:\n  challenge ",
                             "IPC client test logged in as user\n", "IPC client test: message tracing off\n",
                             "IPC client test sends:\n  command\n    getPeerList seq:s=\"peerList\"\n"})
        EXPECT_NE(trace.find(line), std::string::npos) << line;
    const std::regex loginValue("(nonce|mac):s=\"([0-9a-f]{64})");
    for (std::sregex_iterator found(trace.begin(), trace.end(), loginValue), end; found != end; ++found)
        secrets.push_back((*found)[2]);
    ASSERT_EQ(secrets.size(), 9u);

    // Whole records, the hello first, then only application data and cipher changes.
    for (const std::string& stream : {tap.toServer(), tap.toClient()}) {
        for (const std::string& secret : secrets)
            EXPECT_EQ(stream.find(secret), std::string::npos) << secret;
        std::string types;
        std::size_t offset = 0;
        for (; offset + 5 <= stream.size(); offset += 5 + uint8_t(stream[offset + 3]) * 256 + uint8_t(stream[offset + 4]))
            types += stream[offset];
        EXPECT_EQ(offset, stream.size());
        EXPECT_TRUE(std::regex_match(types, std::regex("\x16[\x14\x17]{2,}"))) << testing::PrintToString(types);
    }

    // A relay that ends the client's TLS session and opens its own to the unit forwards every byte
    // of the login, yet the login is bound to the client's session and fails at the unit; nothing is pinned.
    TemporaryDirectory relayHome;
    std::string fingerprint;
    std::string error;
    TcpRelay relay(port, ipc::tls::server_context(relayHome.file("identity"), fingerprint, error));
    LogCapture relayLog;
    TestClient relayed(relayHome.file("known_units"));
    ASSERT_TRUE(relayed.start(ipc::Encoding::Xmls, SocketAddr(kLoopback, relay.port())));
    ASSERT_TRUE(relayed.wait_until([](const TestClient::Events& e) { return e.authFailures >= 1; }));
    EXPECT_TRUE(relayLog.wait_for_error("login refused for user \"user\""));
    // The unit names the peer by address and port, and an empty accept queue is no error.
    EXPECT_NE(relayLog.all().find("IPC client 127.0.0.1:"), std::string::npos) << relayLog.all();
    EXPECT_EQ(relayLog.all().find("accept"), std::string::npos) << relayLog.all();
    EXPECT_NE(relay.toServer().find("<m n=\"login\">"), std::string::npos);
    EXPECT_EQ(relayed.events().logins, 0);
    EXPECT_EQ(server.logins(), 1u);
    EXPECT_FALSE(std::filesystem::exists(relayHome.file("known_units")));
}

// The unit's identity is made once and kept; half an identity, a damaged one or a place where none
// can be written is an error, never a new identity.
TEST_F(Transport, TheUnitsIdentityIsMadeOnceAndKeptAndThePinsFileHasItsPlace)
{
    TemporaryDirectory home;
    const std::string directory = home.file("unit");
    // Kept, and in its normal form.
    const std::string first = identity_fingerprint(directory);
    EXPECT_EQ(identity_fingerprint(directory), ipc::tls::normalise_fingerprint(first));
    EXPECT_EQ(std::filesystem::status(directory + "/unit.key").permissions(),
              std::filesystem::perms::owner_read | std::filesystem::perms::owner_write);
    identity_fingerprint(home.file("other"));
    std::filesystem::create_directories(home.file("unwritable/unit.key.new"));
    std::ofstream(home.file("file")) << "x";
    // A damage done first, where the identity is asked for, and the reason it is refused.
    const std::tuple<std::function<void()>, std::string, std::string> refused[] = {
        {[&] { std::filesystem::remove(directory + "/unit.crt"); }, directory,
         "only one of " + directory + "/unit.key and " + directory + "/unit.crt exists"},
        {[&] { std::ofstream(directory + "/unit.crt") << "-----BEGIN CERTIFICATE-----\n"; }, directory, directory + "/unit.crt"},
        {[&] { std::filesystem::copy_file(home.file("other/unit.crt"), directory + "/unit.crt",
                                          std::filesystem::copy_options::overwrite_existing); },
         directory, "identity in " + directory},
        {[] {}, home.file("unwritable"), "cannot write " + home.file("unwritable/unit.key.new")},
        {[] {}, home.file("file/unit"), "cannot create " + home.file("file/unit")}};
    std::string error;
    for (const auto& [damage, place, reason] : refused) {
        damage();
        std::string fingerprint;
        EXPECT_FALSE(ipc::tls::server_context(place, fingerprint, error));
        EXPECT_TRUE(error.find(reason) != std::string::npos && error.find("unknown error") == std::string::npos) << error;
    }

    // The longest local name there is room for, and one byte more.
    for (const std::size_t length : {107, 108}) {
        ipc::net::connect_local(SocketAddr(std::string(length, '/'), 0), error);
        EXPECT_EQ(error.find("local address too long") != std::string::npos, length == 108) << error;
    }
    // The pin file lives under XDG_CONFIG_HOME, else under HOME, in directories made for it; a pin
    // with nowhere to go is an error.
    const char* const places[][3] = {
        {"/xdg", "/home/op", "/xdg/orvane/known_units"}, {"relative", "/home/op", "/home/op/.config/orvane/known_units"},
        {"", "relative", ""}};
    for (const auto& [xdg, homeVariable, file] : places) {
        setenv("XDG_CONFIG_HOME", xdg, 1);
        setenv("HOME", homeVariable, 1);
        EXPECT_EQ(ipc::tls::KnownUnits::default_file(), file) << xdg << " " << homeVariable;
    }
    const ipc::tls::KnownUnits fresh(home.file("a/b/known_units"));
    std::string pinned = "stale";
    EXPECT_TRUE(fresh.pinned("unit:1", pinned, error) && pinned.empty()) << "no file yet: nothing pinned, no error";
    ASSERT_TRUE(fresh.pin("unit:1", std::string(64, 'a'), error)) << error;
    EXPECT_TRUE(fresh.pinned("unit:1", pinned, error) && pinned == std::string(64, 'a')) << error;
    const std::pair<std::string, std::string> unpinnable[] = {
        {"", "no file to keep it in"}, {home.file("file/c/known_units"), "cannot create " + home.file("file/c")}};
    for (const auto& [file, reason] : unpinnable) {
        EXPECT_FALSE(ipc::tls::KnownUnits(file).pin("unit:1", std::string(64, 'a'), error));
        EXPECT_NE(error.find(reason), std::string::npos) << error;
    }
}

// The first unit is pinned at the first login, beside the lines already there; another certificate on that address is refused,
// unless the expected fingerprint given (as REMOTE_UI_FINGERPRINT would) is the new one's.
TEST_F(Transport, PinsTheFirstUnitRefusesAChangedOneHonoursAnExpectedFingerprint)
{
    const int port = TestServer::free_tcp_port();
    TemporaryDirectory configuration;
    const std::string knownUnits = configuration.file("orvane/known_units");
    const std::string unit = SocketAddr(kLoopback, port).to_string();
    // Whether a client expecting `expectedFingerprint` logs in, or, given a reason, is refused with it
    // before its link counts as up.
    const auto log_in = [&](const std::string& expectedFingerprint, const char* reason = nullptr) {
        LogCapture log;
        TestClient client(knownUnits, expectedFingerprint);
        client.start(ipc::Encoding::Compact, SocketAddr(kLoopback, port));
        return reason ? log.wait_for_error(reason) && client.events().connectionChanges.empty() : client.wait_logins(1);
    };
    // Comments and other units' lines, even malformed ones, are kept.
    const std::string others = "# units\nother:1 nonsense\n";
    std::filesystem::create_directories(configuration.file("orvane"));
    std::ofstream(knownUnits) << others;
    {
        TemporaryDirectory identity;
        TestServer first(kPassword);
        first.set_tls_directory(identity.path());
        ASSERT_TRUE(first.listen("compact", SocketAddr(kLoopback, port)));
        ASSERT_TRUE(log_in(""));
        std::ifstream pins(knownUnits);
        EXPECT_EQ(std::string(std::istreambuf_iterator<char>(pins), {}),
                  others + unit + " " + identity_fingerprint(identity.path()) + "\n");
    }

    TemporaryDirectory identity;
    TestServer second(kPassword);
    second.set_tls_directory(identity.path());
    ASSERT_TRUE(second.listen("compact", SocketAddr(kLoopback, port)));
    const std::string secondFingerprint = identity_fingerprint(identity.path());
    const std::pair<std::string, const char*> refused[] = {
        {"", "the unit's certificate has changed"},
        {std::string(64, '0'), "where REMOTE_UI_FINGERPRINT expects"},
        {"not-a-fingerprint", "REMOTE_UI_FINGERPRINT is not a SHA-256 fingerprint"}};
    for (const auto& [expected, reason] : refused)
        EXPECT_TRUE(log_in(expected, reason)) << reason;
    EXPECT_EQ(second.logins(), 0u);
    // As a firmware team might copy it from openssl's output: "AB:CD:...".
    std::string copied = std::regex_replace(secondFingerprint, std::regex("(..)(?!$)"), "$1:");
    std::transform(copied.begin(), copied.end(), copied.begin(), ::toupper);
    EXPECT_TRUE(log_in(copied));
    EXPECT_EQ(second.logins(), 1u);
}

// Misuse of the loop is refused with a logged reason.
TEST_F(Transport, MisusingTheLoopIsRefusedWithAReason)
{
    const SocketAddr address(TestServer::unique_local_address(), 0);
    TestServer server(kPassword);
    ThreadedManager& loop = server.loop();
    IPCEndpointClient client;
    IPCEndpointClient other;
    LogCapture log;
    // Registered nowhere: nobody to reach.
    struct Unregistered : IPCEndpointServer {
        void process_command(const IPCSessionInfo&, const Message&) override {}
    };
    EXPECT_EQ(Unregistered().push_unso("wifi", Message("status")), 0u);
    ASSERT_TRUE(loop.add_client("client", &client));
    ASSERT_TRUE(loop.connect_client("xmls", "stream", address, "client", 0, ""));
    const std::pair<bool, const char*> misuses[] = {
        {loop.add_server("test", nullptr), "cannot register server test"},
        {loop.add_server("again", &server), "cannot register server again"},
        {loop.listen_server("json", "stream", address, "test"), "server test: unsupported encoding json or transport stream"},
        {loop.listen_server("xmls", "dgram", address, "test"), "server test: unsupported encoding xmls or transport dgram"},
        {loop.listen_server("xmls", "stream", address, "nobody"), "server nobody: no such server"},
        {loop.add_client("client", &other), "cannot register client client"},
        {loop.add_client("again", &client), "cannot register client again"},
        {loop.connect_client("xmls", "dgram", address, "client", 0, ""), "client client: unsupported encoding xmls or transport dgram"},
        {loop.connect_client("xmls", "stream", address, "nobody", 0, ""), "client nobody: no such client"},
        {loop.connect_client("xmls", "stream", address, "client", 0, ""), "client client: already connecting"}};
    for (const auto& [accepted, reason] : misuses) {
        EXPECT_FALSE(accepted) << reason;
        EXPECT_TRUE(log.wait_for_error(reason)) << reason;
    }
    loop.remove_client("client");
}
