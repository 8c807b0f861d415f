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

#include <cstring>
#include <functional>
#include <mutex>
#include <string>
#include <thread>
#include <tuple>
#include <vector>

using namespace std::chrono_literals;

namespace {

const std::string kPassword = "velkor-test";
// HMAC-SHA256 of the bytes 00..1f keyed by kPassword, computed independently.
const std::string kKnownNonce = "000102030405060708090a0b0c0d0e0f101112131415161718191a1b1c1d1e1f";
const std::string kKnownMac = "7c67271782987d40832ce93515139924e34cb076058fcaef2804654855f6be06";

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

    // Polls for up to five seconds for an error line containing `text`.
    bool wait_for_error(const std::string& text)
    {
        for (int i = 0; i < 2500; ++i, std::this_thread::sleep_for(2ms)) {
            std::lock_guard<std::mutex> lock(m_mutex);
            for (const auto& [level, line] : m_lines) {
                if (level == LOG_ERROR && line.find(text) != std::string::npos)
                    return true;
            }
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

    bool start(ipc::Encoding encoding, const SocketAddr& address)
    {
        if (!m_loop.add_client("test", this)
            || !m_loop.connect_client(ipc::encoding_name(encoding), "stream", address, "test", 0, ""))
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

sockaddr_un abstract_address(const std::string& name, socklen_t& length)
{
    sockaddr_un sa{};
    sa.sun_family = AF_UNIX;
    std::memcpy(sa.sun_path + 1, name.data(), name.size());
    length = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + 1 + name.size());
    return sa;
}

// A blocking socket driven by hand, to play a misbehaving peer.
class RawConnection {
public:
    explicit RawConnection(int fd)
        : m_fd(fd)
    {
    }
    ~RawConnection() { close(m_fd); }

    static int connect_local(const std::string& name)
    {
        socklen_t length = 0;
        const sockaddr_un sa = abstract_address(name, length);
        const int fd = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
        return connect(fd, reinterpret_cast<const sockaddr*>(&sa), length) == 0 ? fd : (close(fd), -1);
    }

    bool valid() const { return m_fd >= 0; }
    void send_bytes(const std::string& bytes) { ::send(m_fd, bytes.data(), bytes.size(), MSG_NOSIGNAL); }
    void send(ipc::Encoding encoding, const Message& msg) { send_bytes(ipc::frame(ipc::encode(encoding, msg))); }
    void shutdown_output() { shutdown(m_fd, SHUT_WR); }

    // The next whole frame, decoded; false on time-out, close or undecodable data.
    bool receive(ipc::Encoding encoding, Message& out)
    {
        for (;;) {
            std::size_t size = 0;
            const char* next = m_received.data() + m_consumed;
            const ipc::FrameStatus status = ipc::peek_frame(next, m_received.size() - m_consumed, size);
            if (status == ipc::FrameStatus::Complete) {
                std::string error;
                m_consumed += ipc::kFrameHeaderBytes + size;
                return ipc::decode(encoding, next + ipc::kFrameHeaderBytes, size, out, error);
            }
            if (status == ipc::FrameStatus::TooLarge || !read_some())
                return false;
        }
    }
    // True once the peer has closed.
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
        char chunk[4096];
        const ssize_t n = m_closed || poll(&entry, 1, 10000) <= 0 ? 0 : recv(m_fd, chunk, sizeof chunk, 0);
        m_closed = m_closed || n <= 0;
        if (n > 0)
            m_received.append(chunk, static_cast<std::size_t>(n));
        return n > 0;
    }

    int m_fd;
    std::string m_received;
    std::size_t m_consumed = 0;
    bool m_closed = false;
};

// A listening abstract socket played by hand, to stand in for a server.
class RawListener {
public:
    explicit RawListener(const std::string& name)
        : m_fd(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0))
    {
        socklen_t length = 0;
        const sockaddr_un sa = abstract_address(name, length);
        EXPECT_EQ(bind(m_fd, reinterpret_cast<const sockaddr*>(&sa), length), 0);
        EXPECT_EQ(listen(m_fd, 4), 0);
    }
    ~RawListener() { close(m_fd); }
    // The next connection, or -1 after ten seconds.
    int accept_one()
    {
        pollfd entry{m_fd, POLLIN, 0};
        return poll(&entry, 1, 10000) <= 0 ? -1 : accept4(m_fd, nullptr, nullptr, SOCK_CLOEXEC);
    }

private:
    int m_fd;
};

// Logs a raw connection in as "user" the way a client would.
bool raw_login(RawConnection& raw, ipc::Encoding encoding)
{
    Message challenge;
    Message result;
    std::string mac;
    if (!raw.receive(encoding, challenge) || challenge.name != ipc::envelope::kChallenge
        || !ipc::login::compute_mac(challenge.params().get_string("nonce", ""), kPassword, mac))
        return false;
    raw.send(encoding, Message(ipc::envelope::kLogin, Params(("user=user mac=" + mac).c_str())));
    return raw.receive(encoding, result) && result.params().get_bool("ok", false);
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

// Answers every command with a message named after its "seq", carrying the request's tree.
void echo_answer(TestServer& server, const IPCSessionInfo& session, const Message& request)
{
    Message answer(request.params().get_string("seq", ""));
    answer.add_child(request);
    server.send_response(session.id, answer);
}

std::string encoding_label(const ::testing::TestParamInfo<ipc::Encoding>& info)
{
    return ipc::encoding_name(info.param);
}

} // namespace

TEST(Login, MacIsHmacSha256OfTheNonceBytesKeyedByThePasswordAndNoncesAreFresh)
{
    std::string mac;
    ASSERT_TRUE(ipc::login::compute_mac(kKnownNonce, kPassword, mac));
    EXPECT_EQ(mac, kKnownMac);
    EXPECT_TRUE(ipc::login::verify_mac(kKnownNonce, kPassword, kKnownMac));
    EXPECT_FALSE(ipc::login::verify_mac(kKnownNonce, "velkor", kKnownMac));
    EXPECT_FALSE(ipc::login::verify_mac(kKnownNonce, kPassword, std::string(kKnownMac).replace(0, 1, "8")));
    EXPECT_FALSE(ipc::login::verify_mac(kKnownNonce, kPassword, kKnownMac.substr(2)));
    EXPECT_FALSE(ipc::login::verify_mac("zz" + kKnownNonce.substr(2), kPassword, kKnownMac));

    const std::string nonce = ipc::login::make_nonce();
    EXPECT_EQ(nonce.size(), 2 * ipc::login::kNonceBytes);
    EXPECT_EQ(nonce.find_first_not_of("0123456789abcdef"), std::string::npos);
    EXPECT_NE(nonce, ipc::login::make_nonce());
}

// Client and server over each transport and encoding: login, then a command and its answer.
class RoundTrip : public ::testing::TestWithParam<std::tuple<ipc::Encoding, bool>> {};

TEST_P(RoundTrip, CommandReachesTheServerAndItsAnswerTheClient)
{
    const auto& [encoding, overTcp] = GetParam();
    const SocketAddr address = overTcp ? SocketAddr("127.0.0.1", free_tcp_port())
                                       : SocketAddr(TestServer::unique_local_address(), 0);
    TestServer server(kPassword);
    server.set_handler(echo_answer);
    ASSERT_TRUE(server.listen(ipc::encoding_name(encoding), address));
    TestClient client(kPassword);
    ASSERT_TRUE(client.start(encoding, address));
    ASSERT_TRUE(client.wait_for_logins(1));

    Message request("setPeerSettings", Params("seq=peerSettings id:i=-3 rate:u=4294967295 on:b=true"));
    request.add_child("channel").add_child("codec").params().set_int("gain", -2147483647 - 1);
    request.add_child("channel");
    EXPECT_TRUE(client.send_command(request));
    ASSERT_TRUE(client.wait_until([](const TestClient::Events& e) { return !e.responses.empty(); }));

    EXPECT_EQ(server.commands(), std::vector<Message>{request});
    const TestClient::Events events = client.events();
    ASSERT_EQ(events.responses.size(), 1u);
    EXPECT_EQ(events.responses[0].name, "peerSettings");
    EXPECT_EQ(events.responses[0].get_child("setPeerSettings", 0), request);
    EXPECT_EQ(events.connectionChanges, std::vector<bool>{true});
}

INSTANTIATE_TEST_SUITE_P(EncodingsAndTransports, RoundTrip,
                         ::testing::Combine(::testing::Values(ipc::Encoding::Compact, ipc::Encoding::Xmls),
                                            ::testing::Bool()));

TEST(LoginOutcome, OnlyTheRightUserAndPasswordLogIn)
{
    const std::tuple<const char*, const char*, bool> cases[] = {
        {"user", "velkor-test", true}, {"user", "velkor", false}, {"admin", "velkor-test", false}};
    for (const auto& [user, password, accepted] : cases) {
        SCOPED_TRACE(std::string(user) + " " + password);
        LogCapture log;
        const SocketAddr address(TestServer::unique_local_address(), 0);
        TestServer server(kPassword);
        ASSERT_TRUE(server.listen("compact", address));
        TestClient client(password, user);
        ASSERT_TRUE(client.start(ipc::Encoding::Compact, address));
        if (accepted) {
            ASSERT_TRUE(client.wait_for_logins(1));
            EXPECT_TRUE(client.send_command(Message("getVersion")));
            EXPECT_TRUE(server.wait_until([&] { return server.commands().size() == 1; }));
            continue;
        }
        // Refused, the client closes and tries again after retry_interval().
        ASSERT_TRUE(client.wait_until([](const TestClient::Events& e) { return e.authFailures >= 2; }));
        EXPECT_EQ(client.events().logins, 0);
        EXPECT_FALSE(client.send_command(Message("getVersion")));
        EXPECT_EQ(server.logins(), 0u);
        EXPECT_TRUE(log.wait_for_error("login refused for user \"" + std::string(user) + "\""));
    }
}

class ServerSide : public ::testing::TestWithParam<ipc::Encoding> {};

TEST_P(ServerSide, NotificationsReachOnlyMatchingSubscriptionsAgainAfterAReconnection)
{
    const SocketAddr address(TestServer::unique_local_address(), 0);
    TestServer server(kPassword);
    ASSERT_TRUE(server.listen(ipc::encoding_name(GetParam()), address));
    TestClient client(kPassword);
    // Made before the link exists: sent at every login.
    client.subscribe_unso("wifi:*", 0);
    ASSERT_TRUE(client.start(GetParam(), address));
    ASSERT_TRUE(client.wait_for_logins(1));
    // Made while logged in: sent at once.
    client.subscribe_unso("netmgr", 0);
    const auto subscribed = [&] {
        const auto sessions = server.sessions();
        return sessions.size() == 1 && sessions[0].subscriptions.size() == 2;
    };
    ASSERT_TRUE(server.wait_until(subscribed));

    std::vector<std::string> expected;
    for (const auto& [id, reached] : std::vector<std::pair<std::string, std::size_t>>{
             {"wifi:wlan0", 1}, {"wifi", 0}, {"netmgr", 1}, {"netmgr.devices", 0}}) {
        EXPECT_EQ(server.push_unso(id, Message("status", Params(("for=" + id).c_str()))), reached) << id;
        if (reached)
            expected.push_back(id);
    }
    ASSERT_TRUE(client.wait_until([&](const TestClient::Events& e) { return e.notifications.size() >= 2; }));
    const auto notifications = client.events().notifications;
    ASSERT_EQ(notifications.size(), 2u);
    for (std::size_t i = 0; i < expected.size(); ++i) {
        EXPECT_EQ(notifications[i].first, expected[i]);
        EXPECT_EQ(notifications[i].second.params().get_string("for", ""), expected[i]);
    }

    server.drop_sessions();
    ASSERT_TRUE(client.wait_for_logins(2));
    ASSERT_TRUE(server.wait_until(subscribed));
    EXPECT_EQ(server.push_unso("wifi:wlan1", Message("status")), 1u);
    EXPECT_EQ(client.events().connectionChanges, (std::vector<bool>{true, false, true}));
}

// A raw peer that skips the login or misbehaves after it; its connection alone is closed, with a reason.
TEST_P(ServerSide, CommandBeforeLoginOrMalformedInputClosesOnlyThatConnectionWithALoggedError)
{
    const ipc::Encoding encoding = GetParam();
    Message deep(ipc::envelope::kCommand);
    Message* node = &deep;
    for (unsigned int level = 0; level < ipc::Limits::kMaxDepth + 5; ++level)
        node = &node->add_child("level");
    const std::string command =
        ipc::frame(ipc::encode(encoding, Message(ipc::envelope::kCommand, Params("seq=x"))));
    const std::pair<std::string, const char*> cases[] = {
        {ipc::frame("\xff\x01<not a message>\x80\x00"), "undecodable frame"},
        {std::string("\x7f\xff\xff\xf0", 4) + "tail", "frame larger than"},
        {command.substr(0, command.size() - 3), "closed by peer inside a frame"},
        {ipc::frame(ipc::encode(encoding, deep)), "undecodable frame"}};

    const std::string name = TestServer::unique_local_address();
    TestServer server(kPassword);
    server.set_handler(echo_answer);
    ASSERT_TRUE(server.listen(ipc::encoding_name(encoding), SocketAddr(name, 0)));
    TestClient client(kPassword);
    ASSERT_TRUE(client.start(encoding, SocketAddr(name, 0)));
    ASSERT_TRUE(client.wait_for_logins(1));
    {
        LogCapture log;
        RawConnection raw(RawConnection::connect_local(name));
        Message challenge;
        ASSERT_TRUE(raw.receive(encoding, challenge));
        EXPECT_EQ(challenge.name, ipc::envelope::kChallenge);
        raw.send_bytes(command);
        EXPECT_TRUE(raw.wait_closed());
        EXPECT_TRUE(log.wait_for_error("\"command\" before login; connection closed"));
    }
    for (const auto& [bytes, reason] : cases) {
        SCOPED_TRACE(reason);
        LogCapture log;
        RawConnection raw(RawConnection::connect_local(name));
        ASSERT_TRUE(raw_login(raw, encoding));
        raw.send_bytes(bytes);
        raw.shutdown_output();
        EXPECT_TRUE(raw.wait_closed());
        EXPECT_TRUE(log.wait_for_error(reason));
        EXPECT_TRUE(log.wait_for_error("IPC client local pid " + std::to_string(getpid())));
    }
    EXPECT_TRUE(server.commands().empty());
    EXPECT_TRUE(server.wait_until([&] { return server.sessions().size() == 1; }));
    EXPECT_TRUE(client.send_command(Message("getVersion", Params("seq=version"))));
    EXPECT_TRUE(client.wait_until([](const TestClient::Events& e) { return e.responses.size() == 1; }));
    EXPECT_EQ(client.events().connectionChanges, std::vector<bool>{true});
}

TEST_P(ServerSide, ReaderThatFallsTooFarBehindIsCutOff)
{
    LogCapture log;
    const std::string name = TestServer::unique_local_address();
    TestServer server(kPassword);
    ASSERT_TRUE(server.listen(ipc::encoding_name(GetParam()), SocketAddr(name, 0)));
    RawConnection raw(RawConnection::connect_local(name));
    ASSERT_TRUE(raw_login(raw, GetParam()));
    raw.send(GetParam(), Message(ipc::envelope::kSubscribe, Params("pattern=bulk")));
    ASSERT_TRUE(server.wait_until([&] { 
        const auto sessions = server.sessions();
        return sessions.size() == 1 && sessions[0].subscriptions.size() == 1;
    }));

    // The raw peer never reads; a megabyte at a time overflows the output queue.
    Message bulk("bulk");
    bulk.params().set_string("data", std::string(1 << 20, 'x'));
    int pushed = 0;
    while (pushed < 64 && server.push_unso("bulk", bulk) == 1)
        ++pushed;
    EXPECT_GE(pushed, 30);
    EXPECT_LT(pushed, 64);
    EXPECT_TRUE(log.wait_for_error("bytes of output waiting; connection closed"));
    EXPECT_TRUE(server.wait_until([&] { return server.sessions().empty(); }));
}

INSTANTIATE_TEST_SUITE_P(Encodings, ServerSide, ::testing::Values(ipc::Encoding::Compact, ipc::Encoding::Xmls),
                         encoding_label);

// The client against a server played by hand.
class ClientSide : public ::testing::TestWithParam<ipc::Encoding> {};

TEST_P(ClientSide, PasswordNeverCrossesTheLinkOnlyItsMacOverTheNonce)
{
    const ipc::Encoding encoding = GetParam();
    const std::string name = TestServer::unique_local_address();
    RawListener listener(name);
    TestClient client(kPassword);
    client.subscribe_unso("wifi:*", 0);
    ASSERT_TRUE(client.start(encoding, SocketAddr(name, 0)));
    RawConnection raw(listener.accept_one());

    raw.send(encoding, Message(ipc::envelope::kChallenge, Params(("protocol=7 nonce=" + kKnownNonce).c_str())));
    Message login;
    ASSERT_TRUE(raw.receive(encoding, login));
    EXPECT_EQ(login, Message(ipc::envelope::kLogin, Params(("user=user mac=" + kKnownMac).c_str())));
    raw.send(encoding, Message(ipc::envelope::kLoginResult, Params("ok:b=true")));
    Message subscription;
    ASSERT_TRUE(raw.receive(encoding, subscription));
    EXPECT_EQ(subscription.name, ipc::envelope::kSubscribe);
    EXPECT_EQ(subscription.params().get_string("pattern", ""), "wifi:*");
    ASSERT_TRUE(client.wait_for_logins(1));
    EXPECT_EQ(client.events().protocolChanges, std::vector<std::string>{"7"});

    const Message request("setPassword", Params("user=user"));
    EXPECT_TRUE(client.send_command(request));
    Message command;
    ASSERT_TRUE(raw.receive(encoding, command));
    EXPECT_EQ(command.get_child("setPassword", 0), request);
    EXPECT_EQ(raw.received().find(kPassword), std::string::npos);
}

TEST_P(ClientSide, ServerThatComesUpLaterIsReached)
{
    const SocketAddr address(TestServer::unique_local_address(), 0);
    TestClient client(kPassword);
    ASSERT_TRUE(client.start(GetParam(), address));
    std::this_thread::sleep_for(100ms);
    TestServer server(kPassword);
    ASSERT_TRUE(server.listen(ipc::encoding_name(GetParam()), address));
    EXPECT_TRUE(client.wait_for_logins(1));
    EXPECT_EQ(client.events().connectionChanges, std::vector<bool>{true});
}

// Garbage drops the link with a logged error, a silent server times out; both are tried again.
TEST_P(ClientSide, GarbageOrSilenceFromTheServerDropsTheLinkWhichComesBack)
{
    LogCapture log;
    const std::string name = TestServer::unique_local_address();
    RawListener listener(name);
    TestClient client(kPassword);
    ASSERT_TRUE(client.start(GetParam(), SocketAddr(name, 0)));
    {
        RawConnection raw(listener.accept_one());
        raw.send_bytes(ipc::frame("\x01\x02\x03 garbage"));
        EXPECT_TRUE(raw.wait_closed());
    }
    EXPECT_TRUE(log.wait_for_error("IPC link to " + name + ": undecodable frame"));
    RawConnection silent(listener.accept_one());
    EXPECT_TRUE(silent.wait_closed());
    RawConnection again(listener.accept_one());
    EXPECT_TRUE(again.valid());
    ASSERT_TRUE(client.wait_until([](const TestClient::Events& e) { return e.connectionChanges.size() >= 4; }));
    const TestClient::Events events = client.events();
    EXPECT_EQ(events.logins, 0);
    EXPECT_EQ(std::vector<bool>(events.connectionChanges.begin(), events.connectionChanges.begin() + 4),
              (std::vector<bool>{true, false, true, false}));
}

INSTANTIATE_TEST_SUITE_P(Encodings, ClientSide, ::testing::Values(ipc::Encoding::Compact, ipc::Encoding::Xmls),
                         encoding_label);

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
        manager.cancel(manager.schedule(20ms, [&] { fired.push_back("cancelled"); }));
    }
    manager.start_thread();
    ASSERT_TRUE(manager.wait_until([&] { return fired.size() == 2; }));
    IPCLockGuard lock(manager.get_mutex());
    EXPECT_EQ(fired, (std::vector<std::string>{"early", "late"}));
    EXPECT_NE(loopThread, std::this_thread::get_id());
}
