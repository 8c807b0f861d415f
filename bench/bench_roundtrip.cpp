// One request and its answer, two ways, over the local socket and over loopback TCP:
//   library: client send_command -> server process_command -> send_response -> client
//            process_response, the client's loop running on the benchmark thread and the
//            server's on its own thread; over TCP inside TLS, as remote mode runs;
//   raw:     the same encoded frames written and read by two threads with blocking calls on a
//            socket pair (local) or a TCP connection in the clear, which is the floor any
//            transport pays.
// Prints the median of each and the ratio library / raw per encoding and transport.
// With --round-trips, bench/roundtrip-instructions counts the library's instructions.

#include "codec.h"
#include "ipcendpoint.h"
#include "ipcmanager.h"
#include "temporarydirectory.h"
#include "testserver.h"
#include "threadedmanager.h"

#include <benchmark/benchmark.h>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <map>
#include <string>
#include <thread>

namespace {

const char* const kEncodings[] = {"compact", "xmls"};
const char* const kTransports[] = {"local", "tcp"};
const std::string kPassword = "bench";


Message peer_list_request()
{
    return Message("getPeerList", Params("seq=peerList"));
}

// About the size of a unit's peer list with a handful of remotes.
Message peer_list_answer()
{
    Message answer("peerList", Params("seq=peerList"));
    for (int id = 1; id <= 8; ++id) {
        Message& peer = answer.add_child("peer");
        Params& params = peer.params();
        params.set_int("id", id);
        params.set_string("name", "Studio " + std::to_string(id));
        params.set_string("address", "sip:studio" + std::to_string(id) + "@example.net");
        params.set_string("codec", "opus");
        params.set_uint("bitrate", 64000u * static_cast<unsigned int>(id));
        params.set_bool("active", id == 3);
        params.set_string("state", id == 3 ? "connected" : "idle");
        params.set_int("channel", id % 2);
    }
    return answer;
}

class EchoServer : public IPCEndpointServer {
public:
    bool password_for(const std::string& user, std::string& password) const override
    {
        password = kPassword;
        return user == "user";
    }
    void process_command(const IPCSessionInfo& session, const Message&) override
    {
        send_response(session.id, m_answer);
    }

private:
    const Message m_answer = peer_list_answer();
};

// Ends the loop it runs in at each step, so the benchmark thread drives it one answer at a time.
class SteppingClient : public IPCEndpointClient {
public:
    std::string get_password() override { return kPassword; }
    void logged_in() override { manager()->stop(); }
    void process_response(const Message&) override { manager()->stop(); }
};

// A server loop on its own thread and a logged-in client whose loop this thread drives.
class LibraryLink {
public:
    LibraryLink(const std::string& encoding, bool tcp)
        : m_address(tcp ? SocketAddr("127.0.0.1", TestServer::free_tcp_port())
                        : SocketAddr(TestServer::unique_local_address(), 0))
    {
        m_server.set_tls_directory(m_configuration.path());
        m_serverLoop.add_server("bench", &m_server);
        if (!m_serverLoop.listen_server(encoding, "stream", m_address, "bench")) {
            m_error = "cannot listen";
            return;
        }
        m_serverLoop.start_thread();
        m_client.set_unit_trust(m_configuration.file("known_units"), "");
        m_clientLoop.add_client("bench", &m_client);
        m_clientLoop.connect_client(encoding, "stream", m_address, "bench", 0, "");
        m_clientLoop.event_loop();
        if (!m_client.is_logged_in())
            m_error = "no login";
    }

    // Empty once logged in.
    const std::string& error() const { return m_error; }

    void round_trip()
    {
        m_client.send_command(m_request);
        m_clientLoop.event_loop();
    }

private:
    const SocketAddr m_address;
    TemporaryDirectory m_configuration;
    ThreadedManager m_serverLoop;
    EchoServer m_server;
    IPCManager m_clientLoop;
    SteppingClient m_client;
    const Message m_request = peer_list_request();
    std::string m_error;
};

void library_round_trip(benchmark::State& state, const std::string& encoding, bool tcp)
{
    LibraryLink link(encoding, tcp);
    if (!link.error().empty()) {
        state.SkipWithError(link.error().c_str());
        return;
    }
    for (auto _ : state)
        link.round_trip();
}

// Under callgrind (see bench/roundtrip-instructions), which subtracts two runs of different
// counts: what is left is the round trips' own instructions, on both threads.
int run_round_trips(const std::string& encoding, bool tcp, int count)
{
    LibraryLink link(encoding, tcp);
    if (!link.error().empty()) {
        std::fprintf(stderr, "%s\n", link.error().c_str());
        return 1;
    }
    for (int i = 0; i < count; ++i)
        link.round_trip();
    return 0;
}

bool write_all(int fd, const std::string& bytes)
{
    std::size_t sent = 0;
    while (sent < bytes.size()) {
        const ssize_t n = write(fd, bytes.data() + sent, bytes.size() - sent);
        if (n <= 0)
            return false;
        sent += static_cast<std::size_t>(n);
    }
    return true;
}

bool read_exactly(int fd, std::string& buffer)
{
    std::size_t got = 0;
    while (got < buffer.size()) {
        const ssize_t n = read(fd, &buffer[got], buffer.size() - got);
        if (n <= 0)
            return false;
        got += static_cast<std::size_t>(n);
    }
    return true;
}

std::string framed(ipc::Encoding encoding, const char* kind, const Message& msg)
{
    Message envelope(kind);
    envelope.add_child(msg);
    return ipc::frame(ipc::encode(encoding, envelope));
}

// Two ends of a loopback TCP connection, without Nagle's delay as the library's; false on failure.
bool tcp_pair(int fds[2])
{
    const int listener = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in sa{};
    sa.sin_family = AF_INET;
    sa.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t length = sizeof sa;
    const bool listening = bind(listener, reinterpret_cast<sockaddr*>(&sa), sizeof sa) == 0
        && listen(listener, 1) == 0 && getsockname(listener, reinterpret_cast<sockaddr*>(&sa), &length) == 0;
    fds[0] = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    const bool connected = listening && connect(fds[0], reinterpret_cast<sockaddr*>(&sa), sizeof sa) == 0;
    fds[1] = connected ? accept4(listener, nullptr, nullptr, SOCK_CLOEXEC) : -1;
    close(listener);
    const int on = 1;
    for (int i = 0; i < 2; ++i)
        setsockopt(fds[i], IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
    return fds[1] >= 0;
}

void raw_round_trip(benchmark::State& state, const std::string& encodingName, bool tcp)
{
    ipc::Encoding encoding = ipc::Encoding::Compact;
    ipc::parse_encoding(encodingName, encoding);
    const std::string requestFrame = framed(encoding, ipc::envelope::kCommand, peer_list_request());
    const std::string answerFrame = framed(encoding, ipc::envelope::kResponse, peer_list_answer());
    int fds[2];
    if (tcp ? !tcp_pair(fds) : socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, fds) != 0) {
        state.SkipWithError("no socket pair");
        return;
    }
    std::thread echo([&] {
        std::string request(requestFrame.size(), '\0');
        while (read_exactly(fds[1], request) && write_all(fds[1], answerFrame)) {
        }
    });

    std::string answer(answerFrame.size(), '\0');
    for (auto _ : state) {
        write_all(fds[0], requestFrame);
        read_exactly(fds[0], answer);
    }
    state.SetLabel(std::to_string(requestFrame.size()) + " B request, " + std::to_string(answerFrame.size())
                   + " B answer");
    shutdown(fds[0], SHUT_WR);
    echo.join();
    close(fds[0]);
    close(fds[1]);
}

// The console output, plus the medians kept for the closing comparison.
class MedianReporter : public benchmark::ConsoleReporter {
public:
    MedianReporter()
        : ConsoleReporter(isatty(STDOUT_FILENO) ? OO_Defaults : OO_None)
    {
    }

    void ReportRuns(const std::vector<Run>& reports) override
    {
        for (const Run& run : reports) {
            if (run.run_type == Run::RT_Aggregate && run.aggregate_name == "median")
                m_medians[run.run_name.function_name] = run.GetAdjustedRealTime();
        }
        ConsoleReporter::ReportRuns(reports);
    }

    void print_comparison() const
    {
        std::printf("\nmedian round trip, microseconds (real time); tcp: library inside TLS, raw in the clear\n");
        std::printf("%-10s %-10s %12s %12s %8s\n", "transport", "encoding", "library", "raw", "ratio");
        for (const char* transport : kTransports) {
            for (const char* encoding : kEncodings) {
                const std::string suffix = std::string("/") + transport + "/" + encoding;
                const auto library = m_medians.find("roundtrip/library" + suffix);
                const auto raw = m_medians.find("roundtrip/raw" + suffix);
                if (library == m_medians.end() || raw == m_medians.end())
                    continue;
                std::printf("%-10s %-10s %12.2f %12.2f %7.2fx\n", transport, encoding, library->second,
                            raw->second, library->second / raw->second);
            }
        }
    }

private:
    std::map<std::string, double> m_medians;
};

} // namespace

int main(int argc, char** argv)
{
    // --round-trips TRANSPORT ENCODING COUNT
    if (argc == 5 && std::string(argv[1]) == "--round-trips")
        return run_round_trips(argv[3], std::string(argv[2]) == "tcp", std::atoi(argv[4]));
    benchmark::Initialize(&argc, argv);
    for (const char* transport : kTransports) {
        for (const char* encoding : kEncodings) {
            for (const auto& [kind, function] : {std::make_pair("library", &library_round_trip),
                                                 std::make_pair("raw", &raw_round_trip)}) {
                benchmark::RegisterBenchmark(
                    (std::string("roundtrip/") + kind + "/" + transport + "/" + encoding).c_str(), function,
                    std::string(encoding), std::string(transport) == "tcp")
                    ->Unit(benchmark::kMicrosecond)
                    ->UseRealTime()
                    ->Repetitions(9)
                    ->ReportAggregatesOnly(true);
            }
        }
    }
    MedianReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    reporter.print_comparison();
    benchmark::Shutdown();
    return 0;
}
