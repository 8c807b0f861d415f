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
#include <functional>

namespace {

using namespace std::chrono_literals;
const auto kWait = 10s;
const int kWaitMs = 10000;

QProcessEnvironment simEnvironment(const QString& address, const QString& password)
{
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert("LIBIPC_LOCAL_ADDR", address);
    environment.remove("REMOTE_UI_PASS");
    if (!password.isEmpty())
        environment.insert("REMOTE_UI_PASS", password);
    return environment;
}

// One simulator on a unique local address, read on its standard output.
class Sim {
public:
    explicit Sim(const QStringList& arguments, const QString& environmentPassword = QString())
        : m_address(QString("/orvane-test-%1-sim-%2").arg(QCoreApplication::applicationPid()).arg(++s_count)),
          m_process("orvane-unitsim", arguments, simEnvironment(m_address, environmentPassword),
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
    static inline int s_count = 0;
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
        m_loop.add_client("test", &m_client);
        m_loop.connect_client(encoding, "stream", address, "test", 0, "");
        m_loop.start_thread();
    }
    ~Connection()
    {
        m_loop.stop_thread();
        m_loop.remove_client("test");
    }

    bool waitFor(const std::function<bool(const SimClient::Records&)>& done) { return m_client.waitFor(done, kWait); }
    bool waitForLogins(int count)
    {
        return waitFor([count](const SimClient::Records& r) { return r.logins >= count; });
    }
    bool send(const char* name, const char* params)
    {
        IPCLockGuard lock(m_loop.get_mutex());
        return m_client.send_command(Message(name, Params(params)));
    }
    SimClient::Records records() { return m_client.records(); }

private:
    ThreadedManager m_loop;
    SimClient m_client;
};

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
    QTcpServer probe;
    probe.listen(QHostAddress::LocalHost, 0);
    const quint16 port = probe.serverPort();
    probe.close();
    Sim sim(tcp ? QStringList{"--listen", QString("127.0.0.1:%1").arg(port)} : QStringList{"--no-tcp"});
    QVERIFY(sim.start());
    Connection connection(tcp ? "xmls" : "compact", tcp ? SocketAddr("127.0.0.1", port) : sim.localAddress());
    QVERIFY(connection.waitForLogins(1));

    const std::pair<const char*, const char*> burst[] = {
        {"loadSettings", "seq=loadSettings"},
        {"cfgDescribe", "path=netmgr.devices status=raw seq=networkList depth:u=2"},
        {"getProfileList", "seq=profileList"}, {"getCodecList", "seq=codecList"},
        {"getDirectoryServer", "seq=directoryServer"}, {"getPeerList", "seq=peerList"},
        {"getSysOptions", "seq=sysOptions"}, {"getPowerInfo", "seq=powerInfo"},
        {"getChannelList", "seq=channelList"}, {"getChannelOpts", "seq=channelOpts"},
        {"cfgGetStatus", "path=netmgr.tunnel seq=statusTunnel"}, {"getVersion", "seq=version"},
        {"cfgDescribe", "path=netmgr.remote.password seq=pwd"}};
    for (const auto& [name, params] : burst)
        QVERIFY(connection.send(name, params));

    const QStringList expected = {"loadSettings", "networkList", "profileList", "codecList", "currentEncoder",
                                  "directoryServer", "sipProxy", "peerList", "sysOptions", "systemOpts", "powerInfo",
                                  "channelList", "channelOpts", "statusTunnel", "version", "pwd"};
    const std::size_t count = expected.size();
    QVERIFY(connection.waitFor([count](const SimClient::Records& r) { return r.answers.size() >= count; }));
    const SimClient::Records records = connection.records();
    QStringList seqs;
    for (const Message& answer : records.answers)
        seqs << QString::fromStdString(answer.params().get_string("seq", ""));
    QCOMPARE(seqs, expected);
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
    QVERIFY(connection.send("getNothing", "seq=nothing"));
    QVERIFY(connection.send("getVersion", "seq=version"));
    QVERIFY(connection.waitFor([](const SimClient::Records& r) { return !r.answers.empty(); }));
    QCOMPARE(connection.records().answers.front().name, std::string("version"));
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
    Sim sim(arguments << "--no-tcp", environmentPassword);
    QVERIFY(sim.start());
    Connection connection("compact", sim.localAddress(), clientPassword.toStdString());
    QVERIFY(connection.waitFor([](const SimClient::Records& r) { return r.logins > 0 || r.refusals > 0; }));
    const SimClient::Records records = connection.records();
    QCOMPARE(records.logins > 0, accepted);
    QCOMPARE(records.refusals > 0, !accepted);
}

void TestUnitSim::notifiesOnlySubscribers()
{
    Sim sim({"--no-tcp", "--stats-rate", "0"});
    QVERIFY(sim.start());
    Connection wifi("compact", sim.localAddress(), "velkor", {"wifi:*"});
    Connection stats("compact", sim.localAddress(), "velkor", {"peer_stats"});
    QVERIFY(wifi.waitForLogins(1) && stats.waitForLogins(1));

    const char* scan = R"(<m n="scan"><m n="net"><s k="essid">Field</s></m></m>)";
    QCOMPARE(sim.command(QString("notify wifi:wlan0 ") + scan), QString("ok wifi:wlan0 scan sent to 1 session(s)"));
    QCOMPARE(sim.command(R"(notify peer_stats <m n="stats"><i k="id">3</i></m>)"),
             QString("ok peer_stats stats sent to 1 session(s)"));
    QCOMPARE(sim.command(R"(notify tun_stats <m n="stats"/>)"), QString("ok tun_stats stats sent to 0 session(s)"));
    QCOMPARE(sim.command(R"(unso <m n="chat"><s k="text">hello</s></m>)"),
             QString("ok unso chat sent to 2 session(s)"));

    for (Connection* connection : {&wifi, &stats}) {
        QVERIFY(connection->waitFor([](const SimClient::Records& r) { return r.notifications.size() >= 2; }));
        const auto seen = connection->records().notifications;
        QCOMPARE(seen.size(), std::size_t(2));
        QCOMPARE(seen[0].first, std::string(connection == &wifi ? "wifi:wlan0" : "peer_stats"));
        QCOMPARE(seen[1].first, std::string("unso"));
        QCOMPARE(seen[1].second.name, std::string("chat"));
    }
    QCOMPARE(wifi.records().notifications[0].second, xmls(scan));
}

void TestUnitSim::announcesAFirmwareUpdate()
{
    Sim sim({"--no-tcp"});
    QVERIFY(sim.start());
    Connection connection("compact", sim.localAddress());
    QVERIFY(connection.waitForLogins(1));

    const std::pair<const char*, const char*> steps[] = {
        {"start Installing 4.3.0", "Installing 4.3.0"}, {"progress 40% done", "40% done"}, {"finish", ""}};
    for (const auto& step : steps) {
        const QString kind = QString(step.first).section(' ', 0, 0);
        QCOMPARE(sim.command(QString("update ") + step.first), "ok update " + kind + " sent to 1 session(s)");
    }
    QVERIFY(connection.waitFor([](const SimClient::Records& r) { return r.notifications.size() >= 3; }));
    const auto seen = connection.records().notifications;
    for (std::size_t i = 0; i < 3; ++i) {
        QCOMPARE(seen[i].first, std::string("unso"));
        QCOMPARE(seen[i].second.name, std::string("codeUpdateStatus"));
        QCOMPARE(seen[i].second.params().get_string("text", "?"), std::string(steps[i].second));
        // Only the finish step leaves "updating" off.
        QCOMPARE(seen[i].second.params().get_bool("updating", i == 2), i != 2);
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
    QVERIFY(connection.waitFor([](const SimClient::Records& r) { return r.disconnections >= 1; }));
    QVERIFY(connection.waitForLogins(2));

    QVERIFY(connection.send("cfgDescribe", "path=netmgr.remote.password seq=pwd"));
    QVERIFY(connection.waitFor([](const SimClient::Records& r) { return !r.answers.empty(); }));
    const Message pwd = connection.records().answers.front();
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
    Connection connection("compact", sim.localAddress());
    QVERIFY(connection.waitForLogins(1));
    if (byCommand)
        QCOMPARE(sim.command("quit"), QString("ok quit"));
    QVERIFY(sim.process().stop());
    QVERIFY(connection.waitFor([](const SimClient::Records& r) { return r.disconnections >= 1; }));
}

// Each run shows a client the same walk from wherever its login caught it, so the start of the
// later-joining run must reappear inside the other.
void TestUnitSim::repeatsSignalDriftWithTheSameSeed()
{
    const std::size_t samples = 20;
    std::vector<uint32_t> runs[2];
    for (std::vector<uint32_t>& signal : runs) {
        Sim sim({"--no-tcp", "--seed", "42", "--stats-rate", "40"});
        QVERIFY(sim.start());
        Connection connection("compact", sim.localAddress(), "velkor", {"cfgStatus:netmgr.devices.wlan0"});
        QVERIFY(connection.waitFor([&](const SimClient::Records& r) { return r.notifications.size() >= samples; }));
        for (const auto& [id, status] : connection.records().notifications) {
            QCOMPARE(id, std::string("cfgStatus:netmgr.devices.wlan0"));
            QCOMPARE(status.params().get_string("name", ""), std::string("wlan0"));
            signal.push_back(status.params().get_uint("signal", 1000));
            QVERIFY(signal.back() <= 100);
        }
    }
    const auto containsStartOf = [](const std::vector<uint32_t>& walk, const std::vector<uint32_t>& other) {
        return std::search(walk.begin(), walk.end(), other.begin(), other.begin() + 4) != walk.end();
    };
    QVERIFY(containsStartOf(runs[0], runs[1]) || containsStartOf(runs[1], runs[0]));
}

void TestUnitSim::refusesToStartWithoutItsScenario()
{
    Sim sim({"--no-tcp", "--scenario", "/nonexistent/unit.xml"});
    QVERIFY(!sim.start());
    QVERIFY(!sim.process().stop());
}

QTEST_GUILESS_MAIN(TestUnitSim)
#include "test_unitsim.moc"
