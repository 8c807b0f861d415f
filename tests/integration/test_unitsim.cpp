#include "threadedmanager.h"
#include "ipcendpoint.h"
#include "simclient.h"
#include "socketaddr.h"
#include "testprocess.h"

#include <QCoreApplication>
#include <QHostAddress>
#include <QTcpServer>
#include <QTemporaryDir>
#include <QtTest>

#include <algorithm>

#include <functional>
#include <tuple>

namespace {

const int kWaitMs = 10000;

// The simulators' TLS identity and the clients' pinned certificates, apart from the user's own.
const QTemporaryDir& configurationHome()
{
    static const QTemporaryDir directory;
    return directory;
}

QProcessEnvironment simEnvironment(const QString& address, const QString& password)
{
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert("XDG_CONFIG_HOME", configurationHome().path());
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
    // Sends a control command and returns its answer line, past the event lines before it.
    QString command(const QString& line)
    {
        m_process.writeLine(line);
        QString answer;
        do
            answer = m_process.waitForLine(QString(), kWaitMs);
        while (answer.startsWith("event "));
        return answer;
    }
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
        m_client.set_unit_trust(configurationHome().filePath("known_units").toStdString(), "");
        m_loop.add_client("test", &m_client);
        m_loop.connect_client(encoding, "stream", address, "test", 0, "");
        m_loop.start_thread();
    }
    ~Connection() { m_loop.stop_thread(); }

    bool waitFor(const std::function<bool(const SimClient::Records&)>& done) { return m_client.waitFor(done, std::chrono::milliseconds(kWaitMs)); }
    bool waitForLogins(int count) { return waitFor([count](const SimClient::Records& r) { return r.logins >= count; }); }
    bool send(const char* name, const char* params)
    {
        IPCLockGuard lock(m_loop.get_mutex());
        return m_client.send_command(Message(name, Params(params)));
    }
    SimClient::Records records() { return m_client.records(); }

private:
    SimClient m_client;
    // Destroyed first, so that its thread never outlives the client.
    ThreadedManager m_loop;
};

} // namespace

class TestUnitSim : public QObject {
    Q_OBJECT

private slots:
    void answersTheLoginBurst_data();
    void answersTheLoginBurst();
    void checksThePassword();
    void notifiesOnlySubscribersAndRunsControlCommands();
    void chatReachesEveryUserInterface();
    void usageListsEveryCommand();
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
    const quint16 port = probe.listen(QHostAddress::LocalHost, 0) ? probe.serverPort() : 0;
    probe.close();
    Sim sim(tcp ? QStringList{"--listen", QString("127.0.0.1:%1").arg(port)} : QStringList{"--no-tcp"});
    QVERIFY(sim.start());
    Connection connection(tcp ? "xmls" : "compact", tcp ? SocketAddr("127.0.0.1", port) : sim.localAddress());
    QVERIFY(connection.waitForLogins(1));

    const std::pair<const char*, const char*> burst[] = {
        {"loadSettings", "seq=loadSettings"}, {"cfgDescribe", "path=netmgr.devices status=raw seq=networkList depth:u=2"},
        {"getProfileList", "seq=profileList"}, {"getCodecList", "seq=codecList"},
        {"getDirectoryServer", "seq=directoryServer"}, {"getPeerList", "seq=peerList"}, {"getSysOptions", "seq=sysOptions"},
        {"getPowerInfo", "seq=powerInfo"}, {"getChannelList", "seq=channelList"}, {"getChannelOpts", "seq=channelOpts"},
        {"cfgGetStatus", "path=netmgr.tunnel seq=statusTunnel"}, {"getVersion", "seq=version"},
        {"cfgDescribe", "path=netmgr.remote.password seq=pwd"}};
    for (const auto& [name, params] : burst)
        QVERIFY(connection.send(name, params));

    const QStringList expected = {"loadSettings", "networkList", "profileList", "codecList", "currentEncoder",
                                  "directoryServer", "sipProxy", "peerList", "sysOptions", "powerInfo",
                                  "channelList", "channelOpts", "statusTunnel", "version", "pwd"};
    QVERIFY(connection.waitFor([&](const SimClient::Records& r) { return int(r.answers.size()) >= expected.size(); }));
    const SimClient::Records records = connection.records();
    QStringList seqs;
    for (const Message& answer : records.answers)
        seqs << QString::fromStdString(answer.params().get_string("seq", ""));
    QCOMPARE(seqs, expected);
    QCOMPARE(records.answers.back().get_child("option", 0).params().get_bool("defaulted", true), false);
    // The system option descriptions come unasked, as a generic notification after the login.
    QVERIFY(connection.waitFor([](const SimClient::Records& r) {
        return std::any_of(r.notifications.begin(), r.notifications.end(),
                           [](const auto& n) { return n.first == "unso" && n.second.name == "systemOpts"; });
    }));
}

void TestUnitSim::checksThePassword()
{
    // Command-line arguments, REMOTE_UI_PASS, the client's password, accepted.
    const std::tuple<QStringList, QString, std::string, bool> cases[] = {
        {{}, {}, "velkor", true}, {{}, {}, "velkor2", false}, {{"--password", "s3cret"}, {}, "s3cret", true},
        {{}, "fromenv", "fromenv", true}, {{"--password", "cli"}, "fromenv", "fromenv", false}};
    for (const auto& [arguments, environment, client, accepted] : cases) {
        Sim sim(arguments + QStringList{"--no-tcp"}, environment);
        QVERIFY(sim.start());
        Connection connection("compact", sim.localAddress(), client);
        QVERIFY(connection.waitFor([](const SimClient::Records& r) { return r.logins > 0 || r.refusals > 0; }));
        QVERIFY2((connection.records().logins > 0) == accepted, client.c_str());
    }
}

// Notifications, firmware update steps, then the default-password flag seen after dropped sessions.
void TestUnitSim::notifiesOnlySubscribersAndRunsControlCommands()
{
    Sim sim({"--no-tcp", "--stats-rate", "0"});
    QVERIFY(sim.start());
    Connection wifi("compact", sim.localAddress(), "velkor", {"wifi:*"});
    Connection stats("compact", sim.localAddress(), "velkor", {"peer_stats"});
    QVERIFY(wifi.waitForLogins(1) && stats.waitForLogins(1));

    QCOMPARE(sim.command(R"(notify wifi:wlan0 <m n="scan"><m n="net"><s k="essid">Field</s></m></m>)"),
             QString("ok wifi:wlan0 scan sent to 1 session(s)"));
    QCOMPARE(sim.command(R"(notify peer_stats <m n="stats"><i k="id">3</i></m>)"),
             QString("ok peer_stats stats sent to 1 session(s)"));
    QCOMPARE(sim.command(R"(notify tun_stats <m n="stats"/>)"), QString("ok tun_stats stats sent to 0 session(s)"));
    QCOMPARE(sim.command(R"(unso <m n="chat"><s k="text">hello</s></m>)"),
             QString("ok unso chat sent to 2 session(s)"));

    // Each session's first notification is the one every login brings: the system options.
    for (Connection* connection : {&wifi, &stats}) {
        QVERIFY(connection->waitFor([](const SimClient::Records& r) { return r.notifications.size() >= 3; }));
        const auto seen = connection->records().notifications;
        QCOMPARE(seen.size(), std::size_t(3));
        QCOMPARE(seen[0].second.name, std::string("systemOpts"));
        QCOMPARE(seen[1].first, std::string(connection == &wifi ? "wifi:wlan0" : "peer_stats"));
        QCOMPARE(seen[2].first, std::string("unso"));
        QCOMPARE(seen[2].second.name, std::string("chat"));
    }
    QCOMPARE(wifi.records().notifications[1].second.get_child("net", 0).params().get_string("essid", ""),
             std::string("Field"));

    const std::pair<const char*, const char*> steps[] = {
        {"start Installing 4.3.0", "Installing 4.3.0"}, {"progress 40% done", "40% done"}, {"finish", ""}};
    for (const auto& [command, text] : steps)
        QCOMPARE(sim.command(QString("update ") + command),
                 "ok update " + QString(command).section(' ', 0, 0) + " sent to 2 session(s)");
    QVERIFY(wifi.waitFor([](const SimClient::Records& r) { return r.notifications.size() >= 6; }));
    const auto seen = wifi.records().notifications;
    for (std::size_t i = 0; i < 3; ++i) {
        QCOMPARE(seen[3 + i].second.name, std::string("codeUpdateStatus"));
        QCOMPARE(seen[3 + i].second.params().get_string("text", "?"), std::string(steps[i].second));
        // Only the finish step leaves "updating" off.
        QCOMPARE(seen[3 + i].second.params().get_bool("updating", i == 2), i != 2);
    }

    QCOMPARE(sim.command("defpwd on"), QString("ok defpwd on"));
    QCOMPARE(sim.command("drop"), QString("ok dropped 2 session(s)"));
    QVERIFY(wifi.waitForLogins(2));
    QVERIFY(wifi.send("cfgDescribe", "path=netmgr.remote.password seq=pwd"));
    QVERIFY(wifi.waitFor([](const SimClient::Records& r) { return !r.answers.empty(); }));
    QCOMPARE(wifi.records().answers.front().get_child("option", 0).params().get_bool("defaulted", false), true);
}

namespace {
std::vector<Message> chatNotifications(Connection& connection)
{
    std::vector<Message> lines;
    for (const auto& [id, msg] : connection.records().notifications) {
        if (msg.name == "chat")
            lines.push_back(msg);
    }
    return lines;
}
} // namespace

// A line from one user interface is answered to it and pushed to the others; the far end's
// presence line reaches them all.
void TestUnitSim::chatReachesEveryUserInterface()
{
    Sim sim({"--no-tcp", "--stats-rate", "0"});
    QVERIFY(sim.start());
    Connection sender("compact", sim.localAddress());
    Connection other("compact", sim.localAddress());
    QVERIFY(sender.waitForLogins(1) && other.waitForLogins(1));

    QVERIFY(sender.send("chat", "type=message from=Portable when=\"\" text=hello portable:b=true seq=chat"));
    QVERIFY(other.waitFor([](const SimClient::Records& r) { return r.notifications.size() >= 2; }));
    QVERIFY(sender.waitFor([](const SimClient::Records& r) { return !r.answers.empty(); }));
    QCOMPARE(sender.records().answers.front().params().get_string("text", ""), std::string("hello"));
    QCOMPARE(chatNotifications(other).size(), std::size_t(1));
    QCOMPARE(chatNotifications(other).front().params().get_string("text", ""), std::string("hello"));

    QCOMPARE(sim.command("presence"), QString("ok presence sent to 2 session(s)"));
    for (Connection* connection : {&sender, &other}) {
        QVERIFY(connection->waitFor([](const SimClient::Records& r) {
            return !r.notifications.empty() && r.notifications.back().second.params().get_string("type", "") == "status";
        }));
        const Params presence = chatNotifications(*connection).back().params();
        QCOMPARE(presence.get_string("text", ""), std::string("has entered chat."));
        QCOMPARE(presence.get_bool("portable", true), false);
    }
    QCOMPARE(chatNotifications(sender).size(), std::size_t(1));
}

// Every command the help names is one the console runs; the statistics rate among them.
void TestUnitSim::usageListsEveryCommand()
{
    TestProcess help("orvane-unitsim", {"--help"}, QProcessEnvironment::systemEnvironment(), QProcess::StandardOutput);
    QVERIFY(help.start());
    QVERIFY(!help.waitForLine("quit", kWaitMs).isEmpty());
    help.stop();
    QStringList commands;
    for (const QString& line : help.transcript().section("Control commands", 1).split('\n').mid(1)) {
        if (!line.trimmed().isEmpty())
            commands << line.trimmed().section(' ', 0, 0);
    }
    for (const char* expected : {"say", "presence", "ring", "rate", "drop", "update", "quit"})
        QVERIFY2(commands.contains(expected), expected);

    Sim sim({"--no-tcp"});
    QVERIFY(sim.start());
    QCOMPARE(sim.command("rate 250"), QString("ok rate 250"));
    QVERIFY(sim.command("rate soon").startsWith("error: rate MS"));
    commands.removeAll("quit");
    for (const QString& command : commands)
        QVERIFY2(!sim.command(command).contains("unknown command"), qPrintable(command));
}

QTEST_GUILESS_MAIN(TestUnitSim)
#include "test_unitsim.moc"
