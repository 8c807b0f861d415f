// orvane-unitsim as a process, driven through the library's own client and its control input.
#include "threadedmanager.h"
#include "codec.h"
#include "ipcendpoint.h"
#include "simclient.h"
#include "socketaddr.h"
#include "testprocess.h"

#include <QCoreApplication>
#include <QHostAddress>
#include <QTcpServer>
#include <QtTest>

#include <algorithm>
#include <memory>

namespace {

using namespace std::chrono_literals;
const auto kWait = 10s;
const int kWaitMs = 10000;
const char* const kClientName = "test";

QString uniqueLocalAddress()
{
    static int count = 0;
    return QString("/orvane-test-%1-sim-%2").arg(QCoreApplication::applicationPid()).arg(++count);
}

quint16 freeTcpPort()
{
    QTcpServer probe;
    probe.listen(QHostAddress::LocalHost, 0);
    return probe.serverPort();
}

QProcessEnvironment simEnvironment(const QString& localAddress)
{
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert("LIBIPC_LOCAL_ADDR", localAddress);
    environment.remove("REMOTE_UI_PASS");
    return environment;
}

// One simulator on a unique local address, read on its standard output.
class Sim {
public:
    explicit Sim(const QStringList& arguments, QProcessEnvironment environment = QProcessEnvironment())
        : m_address(uniqueLocalAddress()),
          m_process("orvane-unitsim", arguments,
                    environment.isEmpty() ? simEnvironment(m_address) : mergeAddress(environment, m_address),
                    QProcess::StandardOutput)
    {
    }

    bool start() { return m_process.start() && !m_process.waitForLine("listening", kWaitMs).isEmpty(); }
    // Sends a control command and returns its answer line.
    QString command(const QString& line)
    {
        m_process.writeLine(line);
        return m_process.waitForLine(QString(), kWaitMs);
    }
    TestProcess& process() { return m_process; }
    SocketAddr localAddress() const { return SocketAddr(m_address.toStdString(), 0); }

private:
    static QProcessEnvironment mergeAddress(QProcessEnvironment environment, const QString& address)
    {
        environment.insert("LIBIPC_LOCAL_ADDR", address);
        return environment;
    }

    QString m_address;
    TestProcess m_process;
};

// A library client with its own loop thread, connected to the simulator.
class Connection {
public:
    Connection(const std::string& encoding, const SocketAddr& address, const std::string& password = "velkor",
               const std::vector<std::string>& subscriptions = {})
        : m_client(password)
    {
        for (const std::string& pattern : subscriptions)
            m_client.subscribe_unso(pattern, 0);
        m_loop.add_client(kClientName, &m_client);
        m_loop.connect_client(encoding, "stream", address, kClientName, 0, "");
        m_loop.start_thread();
    }
    ~Connection()
    {
        m_loop.stop_thread();
        m_loop.remove_client(kClientName);
    }

    bool waitForLogins(int count)
    {
        return m_client.waitFor([count](const SimClient::Records& r) { return r.logins >= count; }, kWait);
    }
    bool send(const Message& request)
    {
        IPCLockGuard lock(m_loop.get_mutex());
        return m_client.send_command(request);
    }
    SimClient& client() { return m_client; }

private:
    ThreadedManager m_loop;
    SimClient m_client;
};

Message request(const char* name, const char* params)
{
    return Message(name, Params(params));
}

Message xmls(const char* text)
{
    Message message;
    std::string error;
    ipc::decode(ipc::Encoding::Xmls, text, std::char_traits<char>::length(text), message, error);
    return message;
}

} // namespace

class TestUnitSim : public QObject {
    Q_OBJECT

private slots:
    void answersTheLoginBurst_data();
    void answersTheLoginBurst();
    void leavesUnknownRequestsUnanswered();
    void checksThePassword_data();
    void checksThePassword();
    void notifiesOnlySubscribers();
    void announcesAFirmwareUpdate();
    void dropsSessionsAndReportsTheDefaultPassword();
    void reportsBadControlCommands_data();
    void reportsBadControlCommands();
    void keepsRunningAfterItsInputEnds();
    void endsCleanly_data();
    void endsCleanly();
    void repeatsSignalDriftWithTheSameSeed();
    void refusesToStartWithoutItsScenario();
};

void TestUnitSim::answersTheLoginBurst_data()
{
    QTest::addColumn<bool>("tcp");
    QTest::newRow("local compact") << false;
    QTest::newRow("tcp xmls") << true;
}

void TestUnitSim::answersTheLoginBurst()
{
    QFETCH(bool, tcp);
    const quint16 port = tcp ? freeTcpPort() : 0;
    Sim sim(tcp ? QStringList{"--listen", QString("127.0.0.1:%1").arg(port)} : QStringList{"--no-tcp"});
    QVERIFY(sim.start());
    Connection connection(tcp ? "xmls" : "compact", tcp ? SocketAddr("127.0.0.1", port) : sim.localAddress());
    QVERIFY(connection.waitForLogins(1));

    const Message burst[] = {
        request("loadSettings", "seq=loadSettings"),
        request("cfgDescribe", "path=netmgr.devices status=raw seq=networkList depth:u=2"),
        request("getProfileList", "seq=profileList"),
        request("getCodecList", "seq=codecList"),
        request("getDirectoryServer", "seq=directoryServer"),
        request("getPeerList", "seq=peerList"),
        request("getSysOptions", "seq=sysOptions"),
        request("getPowerInfo", "seq=powerInfo"),
        request("getChannelList", "seq=channelList"),
        request("getChannelOpts", "seq=channelOpts"),
        request("cfgGetStatus", "path=netmgr.tunnel seq=statusTunnel"),
        request("getVersion", "seq=version"),
        request("cfgDescribe", "path=netmgr.remote.password seq=pwd"),
    };
    for (const Message& message : burst)
        QVERIFY(connection.send(message));

    const std::vector<std::string> expected = {"loadSettings", "networkList", "profileList", "codecList",
                                               "currentEncoder", "directoryServer", "sipProxy", "peerList",
                                               "sysOptions", "systemOpts", "powerInfo", "channelList",
                                               "channelOpts", "statusTunnel", "version", "pwd"};
    QVERIFY(connection.client().waitFor(
        [&](const SimClient::Records& r) { return r.answers.size() >= expected.size(); }, kWait));
    const SimClient::Records records = connection.client().records();
    QStringList seqs, expectedSeqs;
    for (const Message& answer : records.answers)
        seqs << QString::fromStdString(answer.params().get_string("seq", ""));
    for (const std::string& seq : expected)
        expectedSeqs << QString::fromStdString(seq);
    QCOMPARE(seqs, expectedSeqs);
    const Message& pwd = records.answers.back();
    QCOMPARE(pwd.num_children("option"), 1u);
    QCOMPARE(pwd.get_child("option", 0).params().get_bool("defaulted", true), false);
}

void TestUnitSim::leavesUnknownRequestsUnanswered()
{
    Sim sim({"--no-tcp"});
    QVERIFY(sim.start());
    Connection connection("compact", sim.localAddress());
    QVERIFY(connection.waitForLogins(1));
    QVERIFY(connection.send(request("getNothing", "seq=nothing")));
    QVERIFY(connection.send(request("getVersion", "seq=version")));
    QVERIFY(connection.client().waitFor([](const SimClient::Records& r) { return !r.answers.empty(); }, kWait));
    QCOMPARE(connection.client().records().answers.front().name, std::string("version"));
}

void TestUnitSim::checksThePassword_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<QString>("environmentPassword");
    QTest::addColumn<QString>("clientPassword");
    QTest::addColumn<bool>("accepted");
    QTest::newRow("default") << QStringList() << QString() << "velkor" << true;
    QTest::newRow("default, wrong") << QStringList() << QString() << "velkor2" << false;
    QTest::newRow("command line") << QStringList{"--password", "s3cret"} << QString() << "s3cret" << true;
    QTest::newRow("environment") << QStringList() << "fromenv" << "fromenv" << true;
    QTest::newRow("command line over environment") << QStringList{"--password", "cli"} << "fromenv" << "fromenv"
                                                   << false;
}

void TestUnitSim::checksThePassword()
{
    QFETCH(QStringList, arguments);
    QFETCH(QString, environmentPassword);
    QFETCH(QString, clientPassword);
    QFETCH(bool, accepted);
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    if (!environmentPassword.isEmpty())
        environment.insert("REMOTE_UI_PASS", environmentPassword);
    else
        environment.remove("REMOTE_UI_PASS");
    Sim sim(arguments << "--no-tcp", environment);
    QVERIFY(sim.start());
    Connection connection("compact", sim.localAddress(), clientPassword.toStdString());
    QVERIFY(connection.client().waitFor(
        [](const SimClient::Records& r) { return r.logins > 0 || r.refusals > 0; }, kWait));
    const SimClient::Records records = connection.client().records();
    QCOMPARE(records.logins > 0, accepted);
    QCOMPARE(records.refusals > 0, !accepted);
}

void TestUnitSim::notifiesOnlySubscribers()
{
    Sim sim({"--no-tcp", "--stats-rate", "0"});
    QVERIFY(sim.start());
    Connection wifi("compact", sim.localAddress(), "velkor", {"wifi:*"});
    Connection stats("compact", sim.localAddress(), "velkor", {"peer_stats"});
    QVERIFY(wifi.waitForLogins(1));
    QVERIFY(stats.waitForLogins(1));

    QCOMPARE(sim.command(R"(notify wifi:wlan0 <m n="scan"><m n="net"><s k="essid">Field</s></m></m>)"),
             QString("ok wifi:wlan0 scan sent to 1 session(s)"));
    QCOMPARE(sim.command(R"(notify peer_stats <m n="stats"><i k="id">3</i></m>)"),
             QString("ok peer_stats stats sent to 1 session(s)"));
    QCOMPARE(sim.command(R"(notify tun_stats <m n="stats"/>)"), QString("ok tun_stats stats sent to 0 session(s)"));
    QCOMPARE(sim.command(R"(unso <m n="chat"><s k="text">hello</s></m>)"),
             QString("ok unso chat sent to 2 session(s)"));

    const auto twoArrived = [](const SimClient::Records& r) { return r.notifications.size() >= 2; };
    QVERIFY(wifi.client().waitFor(twoArrived, kWait));
    QVERIFY(stats.client().waitFor(twoArrived, kWait));
    const auto wifiSeen = wifi.client().records().notifications;
    const auto statsSeen = stats.client().records().notifications;
    QCOMPARE(wifiSeen.size(), std::size_t(2));
    QCOMPARE(statsSeen.size(), std::size_t(2));
    QCOMPARE(wifiSeen[0].first, std::string("wifi:wlan0"));
    QCOMPARE(wifiSeen[0].second, xmls(R"(<m n="scan"><m n="net"><s k="essid">Field</s></m></m>)"));
    QCOMPARE(statsSeen[0].first, std::string("peer_stats"));
    for (const auto& seen : {wifiSeen[1], statsSeen[1]}) {
        QCOMPARE(seen.first, std::string("unso"));
        QCOMPARE(seen.second.name, std::string("chat"));
    }
}

void TestUnitSim::announcesAFirmwareUpdate()
{
    Sim sim({"--no-tcp"});
    QVERIFY(sim.start());
    Connection connection("compact", sim.localAddress());
    QVERIFY(connection.waitForLogins(1));

    QCOMPARE(sim.command("update start Installing 4.3.0"), QString("ok update start sent to 1 session(s)"));
    QCOMPARE(sim.command("update progress 40% done"), QString("ok update progress sent to 1 session(s)"));
    QCOMPARE(sim.command("update finish"), QString("ok update finish sent to 1 session(s)"));
    QVERIFY(connection.client().waitFor(
        [](const SimClient::Records& r) { return r.notifications.size() >= 3; }, kWait));

    const auto seen = connection.client().records().notifications;
    const std::pair<const char*, bool> expected[] = {{"Installing 4.3.0", true}, {"40% done", true}, {"", false}};
    for (std::size_t i = 0; i < 3; ++i) {
        QCOMPARE(seen[i].first, std::string("unso"));
        QCOMPARE(seen[i].second.name, std::string("codeUpdateStatus"));
        QCOMPARE(seen[i].second.params().get_string("text", "?"), std::string(expected[i].first));
        QCOMPARE(seen[i].second.params().get_bool("updating", !expected[i].second), expected[i].second);
    }
}

void TestUnitSim::dropsSessionsAndReportsTheDefaultPassword()
{
    Sim sim({"--no-tcp"});
    QVERIFY(sim.start());
    Connection connection("compact", sim.localAddress());
    QVERIFY(connection.waitForLogins(1));

    QCOMPARE(sim.command("defpwd on"), QString("ok defpwd on"));
    QCOMPARE(sim.command("drop"), QString("ok dropped 1 session(s)"));
    QVERIFY(connection.client().waitFor([](const SimClient::Records& r) { return r.disconnections >= 1; }, kWait));
    QVERIFY(connection.waitForLogins(2));

    QVERIFY(connection.send(request("cfgDescribe", "path=netmgr.remote.password seq=pwd")));
    QVERIFY(connection.client().waitFor([](const SimClient::Records& r) { return !r.answers.empty(); }, kWait));
    const Message pwd = connection.client().records().answers.front();
    QCOMPARE(pwd.params().get_string("seq", ""), std::string("pwd"));
    QCOMPARE(pwd.get_child("option", 0).params().get_bool("defaulted", false), true);
}

void TestUnitSim::reportsBadControlCommands_data()
{
    QTest::addColumn<QString>("command");
    QTest::addColumn<QString>("answer");
    QTest::newRow("unknown") << "reboot now" << "error: unknown command 'reboot'";
    QTest::newRow("update step") << "update later" << "error: update start|progress|finish [text]";
    QTest::newRow("broken message") << "unso <m n=\"chat\">" << "error: bad message: ";
    QTest::newRow("notify without id") << "notify" << "error: notify needs an identifier and a message";
    QTest::newRow("defpwd value") << "defpwd maybe" << "error: defpwd on|off";
}

void TestUnitSim::reportsBadControlCommands()
{
    QFETCH(QString, command);
    QFETCH(QString, answer);
    Sim sim({"--no-tcp"});
    QVERIFY(sim.start());
    const QString line = sim.command(command);
    QVERIFY2(line.startsWith(answer), qPrintable(line));
    QCOMPARE(sim.command("drop"), QString("ok dropped 0 session(s)"));
}

void TestUnitSim::keepsRunningAfterItsInputEnds()
{
    Sim sim({"--no-tcp"});
    QVERIFY(sim.start());
    sim.process().closeInput();
    Connection connection("compact", sim.localAddress());
    QVERIFY(connection.waitForLogins(1));
    QVERIFY(sim.process().isRunning());
}

void TestUnitSim::endsCleanly_data()
{
    QTest::addColumn<bool>("byCommand");
    QTest::newRow("quit") << true;
    QTest::newRow("SIGTERM") << false;
}

void TestUnitSim::endsCleanly()
{
    QFETCH(bool, byCommand);
    Sim sim({"--no-tcp"});
    QVERIFY(sim.start());
    auto connection = std::make_unique<Connection>("compact", sim.localAddress());
    QVERIFY(connection->waitForLogins(1));
    if (byCommand)
        QCOMPARE(sim.command("quit"), QString("ok quit"));
    QVERIFY(sim.process().stop());
    QVERIFY(connection->client().waitFor([](const SimClient::Records& r) { return r.disconnections >= 1; }, kWait));
}

// Each run shows a client the same walk from wherever its login caught it, so the start of the
// later-joining run must reappear inside the other.
void TestUnitSim::repeatsSignalDriftWithTheSameSeed()
{
    const std::size_t samples = 20;
    const std::size_t window = 4;
    std::vector<std::vector<uint32_t>> runs;
    for (int run = 0; run < 2; ++run) {
        Sim sim({"--no-tcp", "--seed", "42", "--stats-rate", "40"});
        QVERIFY(sim.start());
        Connection connection("compact", sim.localAddress(), "velkor", {"cfgStatus:netmgr.devices.wlan0"});
        QVERIFY(connection.client().waitFor(
            [samples](const SimClient::Records& r) { return r.notifications.size() >= samples; }, kWait));
        std::vector<uint32_t> signal;
        for (const auto& [id, status] : connection.client().records().notifications) {
            QCOMPARE(id, std::string("cfgStatus:netmgr.devices.wlan0"));
            QCOMPARE(status.params().get_string("name", ""), std::string("wlan0"));
            QVERIFY(status.params().get_uint("signal", 1000) <= 100);
            signal.push_back(status.params().get_uint("signal", 0));
        }
        runs.push_back(signal);
    }
    const auto containsStartOf = [window](const std::vector<uint32_t>& walk, const std::vector<uint32_t>& other) {
        return std::search(walk.begin(), walk.end(), other.begin(), other.begin() + window) != walk.end();
    };
    QVERIFY2(containsStartOf(runs[0], runs[1]) || containsStartOf(runs[1], runs[0]),
             "the two runs with seed 42 walked differently");
}

void TestUnitSim::refusesToStartWithoutItsScenario()
{
    Sim sim({"--no-tcp", "--scenario", "/nonexistent/unit.xml"});
    QVERIFY(!sim.start());
    QVERIFY(!sim.process().stop());
}

QTEST_GUILESS_MAIN(TestUnitSim)
#include "test_unitsim.moc"
