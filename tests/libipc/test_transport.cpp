#include "codec.h"
#include "ipcendpoint.h"
#include "login.h"
#include "testserver.h"
#include "threadedmanager.h"

#include <gtest/gtest.h>

#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <mutex>
#include <string>
#include <thread>
#include <tuple>
#include <utility>
#include <vector>

using namespace std::chrono_literals;

namespace {

const std::string kPassword = "velkor-test";
// HMAC-SHA256 of the bytes 00..1f keyed by kPassword, computed independently.
const std::string kKnownNonce = "000102030405060708090a0b0c0d0e0f101112131415161718191a1b1c1d1e1f";
const std::string kKnownMac = "7c67271782987d40832ce93515139924e34cb076058fcaef2804654855f6be06";

ipc::Encoding encoding_of(const std::string& name)
{
    ipc::Encoding encoding = ipc::Encoding::Compact;
    ipc::parse_encoding(name, encoding);
    return encoding;
}

// Every g_log line while it exists.
class LogCapture {
public:
    LogCapture()
    {
        m_previous = g_log.set_sink([this](unsigned int, LOG_LEVEL level, const std::string& line) {
            std::lock_guard<std::mutex> lock(m_mutex);
            m_lines.emplace_back(level, line);
        });
    }
    ~LogCapture() { g_log.set_sink(m_previous); }

    bool has(LOG_LEVEL level, const std::string& text)
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        for (const auto& line : m_lines) {
            if (line.first == level && line.second.find(text) != std::string::npos)
                return true;
        }
        return false;
    }
    bool wait_for(LOG_LEVEL level, const std::string& text)
    {
        for (int i = 0; i < 2500; ++i) {
            if (has(level, text))
                return true;
            std::this_thread::sleep_for(2ms);
        }
        return false;
    }

private:
    Logger::Sink m_previous;
    std::mutex m_mutex;
    std::vector<std::pair<LOG_LEVEL, std::string>> m_lines;
};

// A client endpoint on its own manager thread that records what the library tells it.
class TestClient : public IPCEndpointClient {
public:
    struct Events {
        std::vector<bool> connectionChanges;
        int logins = 0;
        int authFailures = 0;
        int timeouts = 0;
        std::vector<std::string> protocolChanges;
        std::vector<Message> responses;
        std::vector<std::pair<std::string, Message>> notifications;
    };

    explicit TestClient(const std::string& password, const std::string& user = "user")
        : m_password(password)
        , m_user(user)
    {
    }
    ~TestClient() override { m_loop.stop_thread(); }

    bool start(const std::string& encoding, const SocketAddr& address)
    {
        if (!m_loop.add_client("test", this) || !m_loop.connect_client(encoding, "stream", address, "test", 0, ""))
            return false;
        m_loop.start_thread();
        return true;
    }
    Events events()
    {
        IPCLockGuard lock(m_loop.get_mutex());
        return m_events;
    }
    bool wait_until(const std::function<bool(const Events&)>& condition)
    {
        return m_loop.wait_until([&] { return condition(m_events); });
    }
    bool wait_for_logins(int count)
    {
        return wait_until([count](const Events& e) { return e.logins >= count; });
    }

    void connection_changed() override
    {
        IPCEndpointClient::connection_changed();
        m_events.connectionChanges.push_back(is_connected());
    }
    void timed_out() override
    {
        IPCEndpointClient::timed_out();
        ++m_events.timeouts;
    }
    void logged_in() override
    {
        IPCEndpointClient::logged_in();
        ++m_events.logins;
    }
    void auth_fail() override { ++m_events.authFailures; }
    std::string get_username() override { return m_user; }
    std::string get_password() override { return m_password; }
    int retry_interval() const override { return 1; }
    void protocol_changed(const std::string& protocol) override { m_events.protocolChanges.push_back(protocol); }
    void process_response(const Message& msg) override { m_events.responses.push_back(msg); }
    void process_unso_id(const std::string& id, const Message& msg) override
    {
        m_events.notifications.emplace_back(id, msg);
    }

private:
    ThreadedManager m_loop;
    const std::string m_password;
    const std::string m_user;
    Events m_events;
};

// A blocking socket driven by hand, to play a misbehaving peer.
class RawConnection {
public:
    explicit RawConnection(int fd)
        : m_fd(fd)
    {
    }
    RawConnection(const RawConnection&) = delete;
    RawConnection& operator=(const RawConnection&) = delete;
    ~RawConnection()
    {
        if (m_fd >= 0)
            close(m_fd);
    }

    static sockaddr_un abstract_address(const std::string& name, socklen_t& length)
    {
        sockaddr_un sa{};
        sa.sun_family = AF_UNIX;
        std::memcpy(sa.sun_path + 1, name.data(), name.size());
        length = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + 1 + name.size());
        return sa;
    }
    static int connect_local(const std::string& name)
    {
        socklen_t length = 0;
        const sockaddr_un sa = abstract_address(name, length);
        const int fd = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
        if (connect(fd, reinterpret_cast<const sockaddr*>(&sa), length) != 0) {
            close(fd);
            return -1;
        }
        return fd;
    }

    bool valid() const { return m_fd >= 0; }
    void send_bytes(const std::string& bytes)
    {
        std::size_t sent = 0;
        while (sent < bytes.size()) {
            const ssize_t n = ::send(m_fd, bytes.data() + sent, bytes.size() - sent, MSG_NOSIGNAL);
            if (n <= 0)
                return;
            sent += static_cast<std::size_t>(n);
        }
    }
    void send(ipc::Encoding encoding, const Message& msg) { send_bytes(ipc::frame(ipc::encode(encoding, msg))); }
    void shutdown_output() { shutdown(m_fd, SHUT_WR); }

    // The next whole frame, decoded; false on time-out, close or undecodable data.
    bool receive(ipc::Encoding encoding, Message& out)
    {
        for (;;) {
            std::size_t payloadSize = 0;
            const ipc::FrameStatus status = ipc::peek_frame(m_buffer.data(), m_buffer.size(), payloadSize);
            if (status == ipc::FrameStatus::Complete) {
                std::string error;
                const bool decoded = ipc::decode(encoding, m_buffer.data() + ipc::kFrameHeaderBytes, payloadSize,
                                                 out, error);
                m_buffer.erase(0, ipc::kFrameHeaderBytes + payloadSize);
                return decoded;
            }
            if (status == ipc::FrameStatus::TooLarge || !read_some())
                return false;
        }
    }
    // True once the peer has closed; what it sent before is dropped.
    bool wait_closed()
    {
        while (read_some()) {
        }
        return m_closed;
    }
    // Every byte read so far.
    const std::string& received() const { return m_received; }

private:
    // False on time-out or close.
    bool read_some()
    {
        pollfd entry{m_fd, POLLIN, 0};
        if (m_closed || poll(&entry, 1, 10000) <= 0)
            return false;
        char chunk[4096];
        const ssize_t n = recv(m_fd, chunk, sizeof chunk, 0);
        if (n <= 0) {
            m_closed = true;
            return false;
        }
        m_buffer.append(chunk, static_cast<std::size_t>(n));
        m_received.append(chunk, static_cast<std::size_t>(n));
        return true;
    }

    int m_fd;
    std::string m_buffer;
    std::string m_received;
    bool m_closed = false;
};

// A listening abstract socket played by hand, to stand in for a server.
class RawListener {
public:
    explicit RawListener(const std::string& name)
    {
        socklen_t length = 0;
        const sockaddr_un sa = RawConnection::abstract_address(name, length);
        m_fd = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
        if (bind(m_fd, reinterpret_cast<const sockaddr*>(&sa), length) != 0 || listen(m_fd, 4) != 0) {
            close(m_fd);
            m_fd = -1;
        }
    }
    RawListener(const RawListener&) = delete;
    RawListener& operator=(const RawListener&) = delete;
    ~RawListener()
    {
        if (m_fd >= 0)
            close(m_fd);
    }
    // The next connection, or an invalid one after ten seconds.
    int accept_one()
    {
        pollfd entry{m_fd, POLLIN, 0};
        if (m_fd < 0 || poll(&entry, 1, 10000) <= 0)
            return -1;
        return accept4(m_fd, nullptr, nullptr, SOCK_CLOEXEC);
    }

private:
    int m_fd = -1;
};

// Logs a raw connection in as "user" the way a client would.
bool raw_login(RawConnection& raw, ipc::Encoding encoding, const std::string& password)
{
    Message challenge;
    std::string mac;
    if (!raw.receive(encoding, challenge) || challenge.name != ipc::envelope::kChallenge
        || !ipc::login::compute_mac(challenge.params().get_string("nonce", ""), password, mac))
        return false;
    Message login(ipc::envelope::kLogin);
    login.params().set_string("user", "user");
    login.params().set_string("mac", mac);
    raw.send(encoding, login);
    Message result;
    return raw.receive(encoding, result) && result.name == ipc::envelope::kLoginResult
        && result.params().get_bool("ok", false);
}

int free_tcp_port()
{
    const int fd = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in sa{};
    sa.sin_family = AF_INET;
    sa.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t length = sizeof sa;
    bind(fd, reinterpret_cast<const sockaddr*>(&sa), sizeof sa);
    getsockname(fd, reinterpret_cast<sockaddr*>(&sa), &length);
    close(fd);
    return ntohs(sa.sin_port);
}

Message request_with_every_type()
{
    Message request("setPeerSettings", Params("seq=peerSettings name=\"Studio A\" id:i=-3 rate:u=64000 on:b=true"));
    Message& channel = request.add_child("channel");
    channel.params().set_string("mode", "stereo");
    channel.add_child("codec").params().set_uint("bitrate", 4294967295u);
    request.add_child("channel").params().set_int("gain", -2147483647 - 1);
    return request;
}

// Answers every command with a message named after its "seq", carrying the request's tree.
void echo_answer(TestServer& server, const IPCSessionInfo& session, const Message& request)
{
    Message answer(request.params().get_string("seq", ""));
    answer.params() = request.params();
    answer.add_child(request);
    server.send_response(session.id, answer);
}

} // namespace

TEST(Login, MacIsHmacSha256OfTheNonceBytesKeyedByThePassword)
{
    std::string mac;
    ASSERT_TRUE(ipc::login::compute_mac(kKnownNonce, kPassword, mac));
    EXPECT_EQ(mac, kKnownMac);
    EXPECT_TRUE(ipc::login::verify_mac(kKnownNonce, kPassword, kKnownMac));

    const std::vector<std::tuple<std::string, std::string, std::string>> refused = {
        {kKnownNonce, "velkor", kKnownMac},
        {kKnownNonce, kPassword, std::string(kKnownMac).replace(0, 1, "8")},
        {kKnownNonce, kPassword, kKnownMac.substr(2)},
        {kKnownNonce, kPassword, kKnownMac + "00"},
        {kKnownNonce, kPassword, ""},
        {kKnownNonce.substr(2), kPassword, kKnownMac},
        {"zz" + kKnownNonce.substr(2), kPassword, kKnownMac},
    };
    for (const auto& [nonce, password, candidate] : refused)
        EXPECT_FALSE(ipc::login::verify_mac(nonce, password, candidate)) << nonce << " " << password << " " << candidate;
    EXPECT_FALSE(ipc::login::compute_mac("", kPassword, mac));
}

TEST(Login, NoncesAreFreshHex)
{
    const std::string first = ipc::login::make_nonce();
    EXPECT_EQ(first.size(), 2 * ipc::login::kNonceBytes);
    EXPECT_EQ(first.find_first_not_of("0123456789abcdef"), std::string::npos);
    EXPECT_NE(first, ipc::login::make_nonce());
}

// Client and server over each transport and encoding: login, then a command and its answer.
class RoundTrip : public ::testing::TestWithParam<std::tuple<std::string, bool>> {
};

TEST_P(RoundTrip, CommandReachesTheServerAndItsAnswerTheClient)
{
    const auto& [encoding, overTcp] = GetParam();
    const SocketAddr address = overTcp ? SocketAddr("127.0.0.1", free_tcp_port())
                                       : SocketAddr(TestServer::unique_local_address(), 0);
    TestServer server(kPassword);
    server.set_handler(echo_answer);
    ASSERT_TRUE(server.listen(encoding, address));
    TestClient client(kPassword);
    ASSERT_TRUE(client.start(encoding, address));
    ASSERT_TRUE(client.wait_for_logins(1));

    const Message request = request_with_every_type();
    EXPECT_TRUE(client.send_command(request));
    ASSERT_TRUE(client.wait_until([](const TestClient::Events& e) { return !e.responses.empty(); }));

    ASSERT_EQ(server.commands().size(), 1u);
    EXPECT_EQ(server.commands()[0], request);
    const TestClient::Events events = client.events();
    ASSERT_EQ(events.responses.size(), 1u);
    EXPECT_EQ(events.responses[0].name, "peerSettings");
    ASSERT_EQ(events.responses[0].child_count(), 1u);
    EXPECT_EQ(events.responses[0].child(0), request);
    EXPECT_EQ(events.connectionChanges, std::vector<bool>{true});
    EXPECT_TRUE(events.protocolChanges.empty());
    EXPECT_EQ(events.authFailures, 0);
}

INSTANTIATE_TEST_SUITE_P(EncodingsAndTransports, RoundTrip,
                         ::testing::Combine(::testing::Values("compact", "xmls"), ::testing::Values(false, true)),
                         [](const auto& info) {
                             return std::get<0>(info.param) + (std::get<1>(info.param) ? "_tcp" : "_local");
                         });

struct Credentials {
    const char* label;
    const char* user;
    const char* password;
    bool accepted;
};

class LoginOutcome : public ::testing::TestWithParam<std::tuple<Credentials, std::string>> {
};

TEST_P(LoginOutcome, OnlyTheRightUserAndPasswordLogIn)
{
    const auto& [credentials, encoding] = GetParam();
    LogCapture log;
    const SocketAddr address(TestServer::unique_local_address(), 0);
    TestServer server(kPassword);
    ASSERT_TRUE(server.listen(encoding, address));
    TestClient client(credentials.password, credentials.user);
    ASSERT_TRUE(client.start(encoding, address));

    if (credentials.accepted) {
        ASSERT_TRUE(client.wait_for_logins(1));
        EXPECT_EQ(server.logins(), 1u);
        EXPECT_TRUE(client.send_command(Message("getVersion")));
        ASSERT_TRUE(server.wait_until([&] { return server.commands().size() == 1; }));
        EXPECT_EQ(client.events().authFailures, 0);
        return;
    }
    // Refused, the client closes and tries again after retry_interval().
    ASSERT_TRUE(client.wait_until([](const TestClient::Events& e) { return e.authFailures >= 2; }));
    EXPECT_EQ(client.events().logins, 0);
    EXPECT_FALSE(client.send_command(Message("getVersion")));
    EXPECT_EQ(server.logins(), 0u);
    EXPECT_TRUE(server.commands().empty());
    EXPECT_TRUE(log.has(LOG_ERROR, "login refused for user \"" + std::string(credentials.user) + "\""));
}

INSTANTIATE_TEST_SUITE_P(
    Table, LoginOutcome,
    ::testing::Combine(::testing::Values(Credentials{"right", "user", "velkor-test", true},
                                         Credentials{"wrong_password", "user", "velkor", false},
                                         Credentials{"empty_password", "user", "", false},
                                         Credentials{"unknown_user", "admin", "velkor-test", false}),
                       ::testing::Values("compact", "xmls")),
    [](const auto& info) { return std::string(std::get<0>(info.param).label) + "_" + std::get<1>(info.param); });

class ServerSide : public ::testing::TestWithParam<std::string> {
protected:
    ipc::Encoding encoding() const { return encoding_of(GetParam()); }
};

TEST_P(ServerSide, CommandBeforeLoginIsNotServedAndClosesTheConnection)
{
    LogCapture log;
    const std::string name = TestServer::unique_local_address();
    TestServer server(kPassword);
    ASSERT_TRUE(server.listen(GetParam(), SocketAddr(name, 0)));
    RawConnection raw(RawConnection::connect_local(name));
    ASSERT_TRUE(raw.valid());
    Message challenge;
    ASSERT_TRUE(raw.receive(encoding(), challenge));
    EXPECT_EQ(challenge.name, ipc::envelope::kChallenge);

    Message command(ipc::envelope::kCommand);
    command.add_child("getPeerList");
    raw.send(encoding(), command);

    EXPECT_TRUE(raw.wait_closed());
    EXPECT_TRUE(log.wait_for(LOG_ERROR, "\"command\" before login; connection closed"));
    EXPECT_TRUE(server.commands().empty());
    EXPECT_EQ(server.logins(), 0u);
}

TEST_P(ServerSide, NotificationsReachOnlyMatchingSubscriptionsAgainAfterAReconnection)
{
    const SocketAddr address(TestServer::unique_local_address(), 0);
    TestServer server(kPassword);
    ASSERT_TRUE(server.listen(GetParam(), address));
    TestClient client(kPassword);
    // Made before the link exists: sent at every login.
    client.subscribe_unso("wifi:*", 0);
    client.subscribe_unso("netmgr", 0);
    ASSERT_TRUE(client.start(GetParam(), address));
    ASSERT_TRUE(client.wait_for_logins(1));
    // Made while logged in: sent at once.
    client.subscribe_unso("late", 0);
    ASSERT_TRUE(server.wait_until([&] {
        const auto sessions = server.sessions();
        return sessions.size() == 1 && sessions[0].subscriptions.size() == 3;
    }));

    const std::vector<std::pair<std::string, std::size_t>> pushes = {
        {"wifi:wlan0", 1}, {"wifi", 0}, {"wifi:", 1}, {"netmgr", 1}, {"netmgr.devices", 0},
        {"late", 1},       {"lat", 0},  {"unso", 1},
    };
    std::vector<std::string> expected;
    for (const auto& [id, reached] : pushes) {
        Message note("status");
        note.params().set_string("for", id);
        EXPECT_EQ(server.push_unso(id, note), reached) << id;
        if (reached)
            expected.push_back(id);
    }
    ASSERT_TRUE(client.wait_until([&](const TestClient::Events& e) { return e.notifications.size() >= expected.size(); }));
    const auto notifications = client.events().notifications;
    ASSERT_EQ(notifications.size(), expected.size());
    for (std::size_t i = 0; i < expected.size(); ++i) {
        EXPECT_EQ(notifications[i].first, expected[i]);
        EXPECT_EQ(notifications[i].second.params().get_string("for", ""), expected[i]);
    }

    server.drop_sessions();
    ASSERT_TRUE(client.wait_for_logins(2));
    ASSERT_TRUE(server.wait_until([&] {
        const auto sessions = server.sessions();
        return sessions.size() == 1 && sessions[0].subscriptions.size() == 3;
    }));
    EXPECT_EQ(server.push_unso("wifi:wlan1", Message("status")), 1u);
    ASSERT_TRUE(client.wait_until([](const TestClient::Events& e) {
        return !e.notifications.empty() && e.notifications.back().first == "wifi:wlan1";
    }));
    EXPECT_EQ(client.events().connectionChanges, (std::vector<bool>{true, false, true}));
}

// A raw peer that logs in and then misbehaves; its connection alone is closed, with a reason.
struct Misbehaviour {
    const char* label;
    std::function<void(RawConnection&, ipc::Encoding)> act;
    const char* reason;
};

Message tree_of_depth(unsigned int depth)
{
    Message root("deep");
    Message* node = &root;
    for (unsigned int level = 1; level < depth; ++level)
        node = &node->add_child("level");
    return root;
}

const Misbehaviour kMisbehaviours[] = {
    {"garbage_frame",
     [](RawConnection& raw, ipc::Encoding) { raw.send_bytes(ipc::frame("\xff\x01<not a message>\x80\x00")); },
     "undecodable frame"},
    {"oversized_length_header",
     [](RawConnection& raw, ipc::Encoding) { raw.send_bytes(std::string("\x7f\xff\xff\xf0", 4) + "tail"); },
     "frame larger than"},
    {"truncated_frame_then_close",
     [](RawConnection& raw, ipc::Encoding encoding) {
         Message command(ipc::envelope::kCommand);
         command.add_child("getPeerList");
         const std::string frame = ipc::frame(ipc::encode(encoding, command));
         raw.send_bytes(frame.substr(0, frame.size() - 3));
         raw.shutdown_output();
     },
     "closed by peer inside a frame"},
    {"tree_too_deep",
     [](RawConnection& raw, ipc::Encoding encoding) {
         Message command(ipc::envelope::kCommand);
         command.add_child(tree_of_depth(ipc::Limits::kMaxDepth + 5));
         raw.send(encoding, command);
     },
     "undecodable frame"},
    {"command_without_request",
     [](RawConnection& raw, ipc::Encoding encoding) { raw.send(encoding, Message(ipc::envelope::kCommand)); },
     "malformed \"command\" envelope"},
    {"unknown_envelope",
     [](RawConnection& raw, ipc::Encoding encoding) { raw.send(encoding, Message("hello")); },
     "malformed \"hello\" envelope"},
};

class MalformedInput : public ::testing::TestWithParam<std::tuple<Misbehaviour, std::string>> {
};

TEST_P(MalformedInput, ClosesOnlyThatConnectionWithALoggedError)
{
    const auto& [misbehaviour, encodingName] = GetParam();
    const ipc::Encoding encoding = encoding_of(encodingName);
    LogCapture log;
    const std::string name = TestServer::unique_local_address();
    TestServer server(kPassword);
    server.set_handler(echo_answer);
    ASSERT_TRUE(server.listen(encodingName, SocketAddr(name, 0)));
    TestClient client(kPassword);
    ASSERT_TRUE(client.start(encodingName, SocketAddr(name, 0)));
    ASSERT_TRUE(client.wait_for_logins(1));

    RawConnection raw(RawConnection::connect_local(name));
    ASSERT_TRUE(raw_login(raw, encoding, kPassword));
    misbehaviour.act(raw, encoding);

    EXPECT_TRUE(raw.wait_closed());
    EXPECT_TRUE(log.wait_for(LOG_ERROR, std::string(misbehaviour.reason)));
    EXPECT_TRUE(log.has(LOG_ERROR, "IPC client local pid " + std::to_string(getpid())));
    EXPECT_TRUE(server.commands().empty());
    ASSERT_TRUE(server.wait_until([&] { return server.sessions().size() == 1; }));

    EXPECT_TRUE(client.send_command(Message("getVersion", Params("seq=version"))));
    ASSERT_TRUE(client.wait_until([](const TestClient::Events& e) { return e.responses.size() == 1; }));
    EXPECT_EQ(client.events().connectionChanges, std::vector<bool>{true});
}

INSTANTIATE_TEST_SUITE_P(Table, MalformedInput,
                         ::testing::Combine(::testing::ValuesIn(kMisbehaviours), ::testing::Values("compact", "xmls")),
                         [](const auto& info) {
                             return std::string(std::get<0>(info.param).label) + "_" + std::get<1>(info.param);
                         });

TEST_P(ServerSide, ReaderThatFallsTooFarBehindIsCutOff)
{
    LogCapture log;
    const std::string name = TestServer::unique_local_address();
    TestServer server(kPassword);
    ASSERT_TRUE(server.listen(GetParam(), SocketAddr(name, 0)));
    RawConnection raw(RawConnection::connect_local(name));
    ASSERT_TRUE(raw_login(raw, encoding(), kPassword));
    Message subscribe(ipc::envelope::kSubscribe);
    subscribe.params().set_string("pattern", "bulk");
    raw.send(encoding(), subscribe);
    ASSERT_TRUE(server.wait_until([&] {
        const auto sessions = server.sessions();
        return sessions.size() == 1 && !sessions[0].subscriptions.empty();
    }));

    // The raw peer never reads; a megabyte at a time overflows the output queue.
    Message bulk("bulk");
    bulk.params().set_string("data", std::string(1 << 20, 'x'));
    int pushed = 0;
    while (pushed < 64 && server.push_unso("bulk", bulk) == 1)
        ++pushed;
    EXPECT_GE(pushed, 30);
    EXPECT_LT(pushed, 64);
    EXPECT_TRUE(log.wait_for(LOG_ERROR, "bytes of output waiting; connection closed"));
    EXPECT_TRUE(server.wait_until([&] { return server.sessions().empty(); }));
}

INSTANTIATE_TEST_SUITE_P(Encodings, ServerSide, ::testing::Values("compact", "xmls"),
                         [](const auto& info) { return info.param; });

// The client against a server played by hand.
class ClientSide : public ::testing::TestWithParam<std::string> {
protected:
    ipc::Encoding encoding() const { return encoding_of(GetParam()); }
};

TEST_P(ClientSide, PasswordNeverCrossesTheLinkOnlyItsMacOverTheNonce)
{
    const std::string name = TestServer::unique_local_address();
    RawListener listener(name);
    TestClient client(kPassword);
    client.subscribe_unso("wifi:*", 0);
    ASSERT_TRUE(client.start(GetParam(), SocketAddr(name, 0)));
    RawConnection raw(listener.accept_one());
    ASSERT_TRUE(raw.valid());

    Message challenge(ipc::envelope::kChallenge);
    challenge.params().set_string("nonce", kKnownNonce);
    challenge.params().set_string("protocol", "7");
    raw.send(encoding(), challenge);
    Message login;
    ASSERT_TRUE(raw.receive(encoding(), login));
    EXPECT_EQ(login.name, ipc::envelope::kLogin);
    EXPECT_EQ(login.params().get_string("user", ""), "user");
    EXPECT_EQ(login.params().get_string("mac", ""), kKnownMac);

    Message result(ipc::envelope::kLoginResult);
    result.params().set_bool("ok", true);
    raw.send(encoding(), result);
    Message subscription;
    ASSERT_TRUE(raw.receive(encoding(), subscription));
    EXPECT_EQ(subscription.name, ipc::envelope::kSubscribe);
    EXPECT_EQ(subscription.params().get_string("pattern", ""), "wifi:*");
    ASSERT_TRUE(client.wait_for_logins(1));
    EXPECT_EQ(client.events().protocolChanges, std::vector<std::string>{"7"});

    Message request("setPassword");
    request.params().set_string("user", "user");
    EXPECT_TRUE(client.send_command(request));
    Message command;
    ASSERT_TRUE(raw.receive(encoding(), command));
    ASSERT_EQ(command.child_count(), 1u);
    EXPECT_EQ(command.child(0), request);

    EXPECT_EQ(raw.received().find(kPassword), std::string::npos);
}

TEST_P(ClientSide, ServerThatComesUpLaterIsReached)
{
    const SocketAddr address(TestServer::unique_local_address(), 0);
    TestClient client(kPassword);
    ASSERT_TRUE(client.start(GetParam(), address));
    std::this_thread::sleep_for(100ms);
    TestServer server(kPassword);
    ASSERT_TRUE(server.listen(GetParam(), address));
    EXPECT_TRUE(client.wait_for_logins(1));
    EXPECT_EQ(client.events().connectionChanges, std::vector<bool>{true});
}

TEST_P(ClientSide, LocalAddressOverrideRedirectsTheConnection)
{
    const std::string name = TestServer::unique_local_address();
    RawListener listener(name);
    setenv("LIBIPC_LOCAL_ADDR", name.c_str(), 1);
    {
        TestClient client(kPassword);
        ASSERT_TRUE(client.start(GetParam(), SocketAddr("/com/halvik/orvane", 0)));
        RawConnection raw(listener.accept_one());
        EXPECT_TRUE(raw.valid());
    }
    unsetenv("LIBIPC_LOCAL_ADDR");
}

TEST_P(ClientSide, GarbageFromTheServerDropsTheLinkWhichComesBack)
{
    LogCapture log;
    const std::string name = TestServer::unique_local_address();
    RawListener listener(name);
    TestClient client(kPassword);
    ASSERT_TRUE(client.start(GetParam(), SocketAddr(name, 0)));
    {
        RawConnection raw(listener.accept_one());
        ASSERT_TRUE(raw.valid());
        raw.send_bytes(ipc::frame("\x01\x02\x03 garbage"));
        EXPECT_TRUE(raw.wait_closed());
    }
    EXPECT_TRUE(log.wait_for(LOG_ERROR, "IPC link to " + name + ": undecodable frame"));
    RawConnection again(listener.accept_one());
    EXPECT_TRUE(again.valid());
    EXPECT_TRUE(client.wait_until([](const TestClient::Events& e) { return e.connectionChanges.size() >= 3; }));
    EXPECT_EQ(client.events().connectionChanges, (std::vector<bool>{true, false, true}));
}

TEST_P(ClientSide, SilentServerTimesOutAndIsTriedAgain)
{
    const std::string name = TestServer::unique_local_address();
    RawListener listener(name);
    TestClient client(kPassword);
    ASSERT_TRUE(client.start(GetParam(), SocketAddr(name, 0)));
    RawConnection first(listener.accept_one());
    ASSERT_TRUE(first.valid());

    EXPECT_TRUE(first.wait_closed());
    EXPECT_GE(client.events().timeouts, 1);
    RawConnection second(listener.accept_one());
    EXPECT_TRUE(second.valid());
    EXPECT_EQ(client.events().logins, 0);
}

INSTANTIATE_TEST_SUITE_P(Encodings, ClientSide, ::testing::Values("compact", "xmls"),
                         [](const auto& info) { return info.param; });

TEST(Manager, TimersRunInDeadlineOrderOnTheLoopThreadUnlessCancelled)
{
    ThreadedManager manager;
    std::vector<std::string> fired;
    std::thread::id loopThread;
    {
        IPCLockGuard lock(manager.get_mutex());
        manager.schedule(40ms, [&] { fired.push_back("late"); });
        manager.schedule(10ms, [&] {
            fired.push_back("early");
            loopThread = std::this_thread::get_id();
        });
        const unsigned int cancelled = manager.schedule(20ms, [&] { fired.push_back("cancelled"); });
        manager.cancel(cancelled);
    }
    manager.start_thread();
    ASSERT_TRUE(manager.wait_until([&] { return fired.size() == 2; }));
    IPCLockGuard lock(manager.get_mutex());
    EXPECT_EQ(fired, (std::vector<std::string>{"early", "late"}));
    EXPECT_NE(loopThread, std::this_thread::get_id());
}

TEST(Manager, WatchedDescriptorIsReportedWhenReadable)
{
    ThreadedManager manager;
    int fds[2];
    ASSERT_EQ(pipe(fds), 0);
    std::string read;
    manager.watch_fd(fds[0], [&] {
        char c = 0;
        if (::read(fds[0], &c, 1) == 1)
            read += c;
    });
    manager.start_thread();
    ASSERT_EQ(write(fds[1], "ab", 2), 2);
    EXPECT_TRUE(manager.wait_until([&] { return read == "ab"; }));
    manager.stop_thread();
    close(fds[0]);
    close(fds[1]);
}
