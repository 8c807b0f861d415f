// The simulator as a process, driven through the library's own client and its control console.
#include "ipcendpoint.h"
#include "loginburst.h"
#include "testprocess.h"
#include "threadedmanager.h"

#include <QCoreApplication>
#include <QHostAddress>
#include <QTcpServer>
#include <QTemporaryDir>
#include <QtTest>

#include <functional>

namespace {

const int kWaitMs = 10000;

// The simulators' TLS identity and the clients' pinned certificates, apart from the user's own.
const QTemporaryDir& configurationHome()
{
    static const QTemporaryDir directory;
    return directory;
}

// One simulator on a unique local address, with its control console.
struct Sim {
    explicit Sim(const QStringList& arguments, const QString& password = QString())
        : address(QString("/orvane-test-%1-sim-%2").arg(QCoreApplication::applicationPid()).arg(++s_count))
    {
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert("XDG_CONFIG_HOME", configurationHome().path());
        environment.insert("LIBIPC_LOCAL_ADDR", address);
        environment.remove("REMOTE_UI_PASS");
        if (!password.isEmpty())
            environment.insert("REMOTE_UI_PASS", password);
        process = startUnitSim(arguments, environment);
    }
    // A control command's answer, past the event lines before it.
    QString command(const QString& line)
    {
        process->writeLine(line);
        QString answer;
        do
            answer = process->waitForLine(QString(), kWaitMs);
        while (answer.startsWith("event "));
        return answer;
    }
    SocketAddr localAddress() const { return SocketAddr(address.toStdString(), 0); }

    static inline int s_count = 0;
    const QString address;
    std::unique_ptr<TestProcess> process;
};

// A library client on a loop thread of its own, connected to the simulator. The library calls
// the virtuals with the loop's lock held; the test reads the records under the same lock.
class Connection : public IPCEndpointClient {
public:
    Connection(const std::string& encoding, const SocketAddr& address, const std::string& password = "velkor",
               const std::vector<std::string>& subscriptions = {})
        : m_password(password)
    {
        for (const std::string& pattern : subscriptions)
            subscribe_unso(pattern, 0);
        set_unit_trust(configurationHome().filePath("known_units").toStdString(), "");
        m_loop.add_client("test", this);
        m_loop.connect_client(encoding, "stream", address, "test", 0, "");
        m_loop.start_thread();
    }
    ~Connection() override { m_loop.stop_thread(); }

    std::string get_password() override { return m_password; }
    int retry_interval() const override { return 1; }
    void logged_in() override
    {
        IPCEndpointClient::logged_in();
        ++logins;
    }
    void auth_fail() override { ++refusals; }
    void process_response(const Message& msg) override { answers.push_back(msg); }
    void process_unso_id(const std::string& id, const Message& msg) override { notifications.emplace_back(id, msg); }

    bool waitFor(const std::function<bool()>& done) { return m_loop.wait_until(done, std::chrono::milliseconds(kWaitMs)); }
    bool send(const QString& request)
    {
        IPCLockGuard lock(m_loop.get_mutex());
        return send_command(loginRequest(request));
    }

    int logins = 0;
    int refusals = 0;
    std::vector<Message> answers;
    std::vector<std::pair<std::string, Message>> notifications;

private:
    std::string m_password;
    ThreadedManager m_loop;
};

} // namespace

class TestUnitSim : public QObject {
    Q_OBJECT

private slots:
    // Over the local socket in the compact encoding or over TCP in xmls; the password from the
    // command line before REMOTE_UI_PASS before the default.
    void logsInAndAnswersTheBurst_data()
    {
        QTest::addColumn<bool>("tcp");
        QTest::addColumn<QStringList>("arguments");
        QTest::addColumn<QString>("environment");
        QTest::addColumn<QString>("password");
        QTest::addColumn<bool>("accepted");
        QTest::newRow("local compact") << false << QStringList() << QString() << "velkor" << true;
        QTest::newRow("tcp xmls") << true << QStringList() << QString() << "velkor" << true;
        QTest::newRow("wrong password") << false << QStringList() << QString() << "velkor2" << false;
        QTest::newRow("command line") << false << QStringList{"--password", "s3cret"} << QString() << "s3cret" << true;
        QTest::newRow("environment") << false << QStringList() << "fromenv" << "fromenv" << true;
        QTest::newRow("command line first") << false << QStringList{"--password", "cli"} << "fromenv" << "fromenv"
                                            << false;
    }
    void logsInAndAnswersTheBurst()
    {
        QFETCH(bool, tcp);
        QFETCH(QStringList, arguments);
        QFETCH(QString, environment);
        QFETCH(QString, password);
        QFETCH(bool, accepted);
        QTcpServer probe;
        const quint16 port = probe.listen(QHostAddress::LocalHost, 0) ? probe.serverPort() : 0;
        probe.close();
        Sim sim(arguments + (tcp ? QStringList{"--listen", QString("127.0.0.1:%1").arg(port)} : QStringList{"--no-tcp"}),
                environment);
        QVERIFY(sim.process);
        Connection connection(tcp ? "xmls" : "compact", tcp ? SocketAddr("127.0.0.1", port) : sim.localAddress(),
                              password.toStdString());
        QVERIFY(connection.waitFor([&] { return connection.logins + connection.refusals > 0; }));
        QCOMPARE(connection.logins > 0, accepted);
        if (!accepted)
            return;
        for (const QString& request : kLoginBurst)
            QVERIFY(connection.send(request));

        const QStringList expected = {"loadSettings", "networkList", "profileList", "codecList", "currentEncoder",
                                      "directoryServer", "sipProxy", "peerList", "sysOptions", "powerInfo",
                                      "channelList", "channelOpts", "statusTunnel", "version", "pwd"};
        QStringList seqs;
        bool defaulted = true;
        QVERIFY(connection.waitFor([&] {
            if (connection.answers.size() < std::size_t(expected.size()))
                return false;
            for (const Message& answer : connection.answers)
                seqs << QString::fromStdString(answer.params().get_string("seq", ""));
            defaulted = connection.answers.back().get_child("option", 0).params().get_bool("defaulted", true);
            return true;
        }));
        QCOMPARE(seqs, expected);
        QVERIFY(!defaulted);
    }

    // Notifications, then the default-password flag seen after dropped sessions; the firmware
    // update steps are followed by the program test.
    void notifiesOnlySubscribersAndRunsControlCommands()
    {
        Sim sim({"--no-tcp", "--stats-rate", "0"});
        QVERIFY(sim.process);
        Connection wifi("compact", sim.localAddress(), "velkor", {"wifi:*"});
        Connection stats("compact", sim.localAddress(), "velkor", {"peer_stats"});
        QVERIFY(wifi.waitFor([&] { return wifi.logins == 1; }) && stats.waitFor([&] { return stats.logins == 1; }));

        QCOMPARE(sim.command(R"(notify wifi:wlan0 <m n="scan"><m n="net"><s k="essid">Field</s></m></m>)"),
                 QString("ok wifi:wlan0 scan sent to 1 session(s)"));
        QCOMPARE(sim.command(R"(notify peer_stats <m n="stats"><i k="id">3</i></m>)"),
                 QString("ok peer_stats stats sent to 1 session(s)"));
        QCOMPARE(sim.command(R"(notify tun_stats <m n="stats"/>)"), QString("ok tun_stats stats sent to 0 session(s)"));
        QCOMPARE(sim.command(R"(unso <m n="chat"><s k="text">hello</s></m>)"),
                 QString("ok unso chat sent to 2 session(s)"));
        // Each session's first notification is the one every login brings unasked: the system options.
        for (Connection* connection : {&wifi, &stats}) {
            QVERIFY(connection->waitFor([&] { return connection->notifications.size() >= 3; }));
            QStringList seen;
            for (const auto& [id, msg] : connection->notifications)
                seen << QString::fromStdString(id + ' ' + msg.name);
            QCOMPARE(seen, (QStringList{"unso systemOpts", connection == &wifi ? "wifi:wlan0 scan" : "peer_stats stats",
                                        "unso chat"}));
        }
        QCOMPARE(wifi.notifications[1].second.get_child("net", 0).params().get_string("essid", ""),
                 std::string("Field"));

        QCOMPARE(sim.command("defpwd on"), QString("ok defpwd on"));
        QCOMPARE(sim.command("drop"), QString("ok dropped 2 session(s)"));
        QVERIFY(wifi.waitFor([&] { return wifi.logins == 2; }));
        QVERIFY(wifi.send("cfgDescribe path=netmgr.remote.password seq=pwd"));
        QVERIFY(wifi.waitFor([&] { return !wifi.answers.empty(); }));
        QCOMPARE(wifi.answers.front().get_child("option", 0).params().get_bool("defaulted", false), true);
    }
};

QTEST_GUILESS_MAIN(TestUnitSim)
#include "test_unitsim.moc"
