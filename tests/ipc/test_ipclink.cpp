// The client on its manager thread against an in-process backend: what leaves the client, and
// how its signals reach the GUI thread.

#include "clientprobe.h"
#include "ipcclient.h"
#include "ipcmanagerqt.h"
#include "testserver.h"

#include <QMetaMethod>
#include <QtTest>

#include <functional>
#include <map>

namespace {

// The client's built-in password, as the unit's backend expects it.
const char* const kPassword = "velkor";

// Records, on the receiving thread, the name of every client signal that arrives.
class ArrivalLog : public QObject {
    Q_OBJECT

public:
    explicit ArrivalLog(IPCClient& client)
    {
        const QMetaMethod record = metaObject()->method(metaObject()->indexOfSlot("record()"));
        const QMetaObject* meta = client.metaObject();
        for (int i = QObject::staticMetaObject.methodCount(); i < meta->methodCount(); ++i)
            if (meta->method(i).methodType() == QMetaMethod::Signal)
                connect(&client, meta->method(i), this, record);
        connect(&client, &IPCClient::changedState, this, [this](IPCClient::IPC_STATE state, bool def_pwd) {
            states << QStringLiteral("%1:%2").arg(state).arg(def_pwd);
        });
    }

    QStringList names;
    QStringList states;
    bool allOnOwnThread = true;

private slots:
    void record()
    {
        names << QString::fromLatin1(sender()->metaObject()->method(senderSignalIndex()).name());
        allOnOwnThread = allOnOwnThread && QThread::currentThread() == thread();
    }
};

// Reconnects within a second instead of the library's ten.
class QuickClient : public IPCClient {
public:
    explicit QuickClient(IPCManagerQt& manager)
        : IPCClient(manager)
    {
    }
    int retry_interval() const override { return 1; }
};

// A backend on its own thread and the client on its manager thread, connected.
struct Link {
    Link()
    {
        const SocketAddr address(TestServer::unique_local_address(), 0);
        server.listen("compact", address);
        manager.add_client("orvane", &client);
        manager.connect_client("compact", "stream", address, "orvane", 0, "");
    }
    void start() { manager.start(QThread::InheritPriority); }

    std::size_t commandCount() { return server.commands().size(); }
    // The commands from `first` on, once at least `count` of them have arrived.
    std::vector<Message> commandsFrom(std::size_t first, std::size_t count)
    {
        server.wait_until([&] { return server.commands().size() >= first + count; });
        const std::vector<Message> all = server.commands();
        return std::vector<Message>(all.begin() + std::min(first, all.size()), all.end());
    }

    TestServer server{kPassword};
    IPCManagerQt manager;
    QuickClient client{manager};
};

Message request(const QString& text)
{
    const QString name = text.section(' ', 0, 0);
    const QByteArray params = text.section(' ', 1).toLatin1();
    return Message(name.toStdString(), Params(params.constData()));
}

QStringList describe(const std::vector<Message>& messages)
{
    QStringList texts;
    for (const Message& msg : messages)
        texts << QString::fromStdString(msg.dump_text()).trimmed();
    return texts;
}

QStringList describe(const QStringList& requests)
{
    std::vector<Message> messages;
    for (const QString& text : requests)
        messages.push_back(request(text));
    return describe(messages);
}

const QStringList kLoginBurst = {
    "loadSettings seq=loadSettings",
    "cfgDescribe path=netmgr.devices status=raw seq=networkList depth:u=2",
    "getProfileList seq=profileList",
    "getCodecList seq=codecList",
    "getDirectoryServer seq=directoryServer",
    "getPeerList seq=peerList",
    "getSysOptions seq=sysOptions",
    "getPowerInfo seq=powerInfo",
    "getChannelList seq=channelList",
    "getChannelOpts seq=channelOpts",
    "cfgGetStatus path=netmgr.tunnel seq=statusTunnel",
    "getVersion seq=version",
    "cfgDescribe path=netmgr.remote.password seq=pwd",
};

const std::map<QString, std::function<void(IPCClient&)>> kOperations = {
    {"requestNetworkList", [](IPCClient& c) { c.requestNetworkList(4); }},
    {"requestNetworkDevice", [](IPCClient& c) { c.requestNetworkDevice("eth0", 1); }},
    {"requestNetworkPath", [](IPCClient& c) { c.requestNetworkPath("netmgr.devices.wlan0", 3); }},
    {"requestNetworkDeviceLocation", [](IPCClient& c) { c.requestNetworkDeviceLocation("wlan0", "home"); }},
    {"requestConfigSetting", [](IPCClient& c) { c.requestConfigSetting("netmgr.devices.eth0.ipv4"); }},
    {"requestBraidSettings", [](IPCClient& c) { c.requestBraidSettings(); }},
    {"requestTunnelStatus", [](IPCClient& c) { c.requestTunnelStatus(); }},
    {"requestPasswordStatus", [](IPCClient& c) { c.requestPasswordStatus(); }},
    {"requestChannelInfo", [](IPCClient& c) { c.requestChannelInfo(); }},
    {"requestPeerList", [](IPCClient& c) { c.requestPeerList(); }},
    {"requestSettings", [](IPCClient& c) { c.requestSettings(); }},
};

} // namespace

class TestIPCLink : public QObject {
    Q_OBJECT

private slots:
    void init();

    void loginToReady();
    void requests_data();
    void requests();
    void meteringDroppedRemotely_data();
    void meteringDroppedRemotely();
    void reconnection();
};

void TestIPCLink::init()
{
    qunsetenv("REMOTE_UI");
    qunsetenv("REMOTE_UI_PASS");
}

void TestIPCLink::loginToReady()
{
    Link link;
    link.server.set_handler([](TestServer& backend, const IPCSessionInfo& session, const Message& msg) {
        Message reply = answer(msg.params().get_string("seq", ""));
        if (reply.name == "pwd")
            reply.add_child("option").params().set_bool("defaulted", true);
        backend.send_response(session.id, reply);
    });
    ArrivalLog arrivals(link.client);
    link.start();

    QTRY_COMPARE(arrivals.states, (QStringList{"1:0", "2:1"}));
    QCOMPARE(arrivals.names, (QStringList{"changedState", "recvSettings", "recvNetworkList", "recvProfileList",
                                          "recvCodecList", "recvDirectoryServer", "recvPeerList", "recvSysOptions",
                                          "recvPowerInfo", "recvChannelList", "recvChannelOpts", "recvTunnelStatus",
                                          "recvVersion", "changedState"}));
    QVERIFY(arrivals.allOnOwnThread);
    QCOMPARE(describe(link.server.commands()), describe(kLoginBurst));

    const std::vector<IPCSessionInfo> sessions = link.server.sessions();
    QCOMPARE(sessions.size(), std::size_t(1));
    const std::vector<std::string> subscriptions = {"peer_stats", "channel_stats", "tun_conns", "tun_stats", "power",
                                                    "cfgData:netmgr.devices.*", "cfgStatus:netmgr.devices",
                                                    "cfgStatus:netmgr.devices.*", "cfgStatus:netmgr.tunnel", "wifi:*"};
    QCOMPARE(sessions.front().subscriptions, subscriptions);
}

void TestIPCLink::requests_data()
{
    QTest::addColumn<QString>("operation");
    QTest::addColumn<QStringList>("sent");
    QTest::addColumn<bool>("dumped");

    QTest::newRow("network list") << "requestNetworkList"
                                  << QStringList{"cfgDescribe path=netmgr.devices status=raw seq=networkList depth:u=4"}
                                  << true;
    QTest::newRow("network device")
        << "requestNetworkDevice"
        << QStringList{"cfgDescribe path=netmgr.devices.eth0 status=raw seq=networkDevice depth:u=1"} << true;
    QTest::newRow("network path")
        << "requestNetworkPath"
        << QStringList{"cfgDescribe path=netmgr.devices.wlan0 status=raw seq=networkDeviceLocation depth:u=3"} << true;
    QTest::newRow("network device location")
        << "requestNetworkDeviceLocation"
        << QStringList{"cfgDescribe path=netmgr.devices.wlan0.home status=raw seq=networkDeviceLocation depth:u=0"}
        << true;
    QTest::newRow("config setting") << "requestConfigSetting"
                                    << QStringList{"cfgDescribe path=netmgr.devices.eth0.ipv4 seq=configSetting"} << true;
    QTest::newRow("braid settings") << "requestBraidSettings"
                                    << QStringList{"cfgDescribe path=netmgr.tunnel seq=braidSettings"} << true;
    QTest::newRow("tunnel status") << "requestTunnelStatus"
                                   << QStringList{"cfgGetStatus path=netmgr.tunnel seq=statusTunnel"} << true;
    QTest::newRow("password status") << "requestPasswordStatus"
                                     << QStringList{"cfgDescribe path=netmgr.remote.password seq=pwd"} << false;
    QTest::newRow("channel info") << "requestChannelInfo"
                                  << QStringList{"getChannelList seq=channelList", "getChannelOpts seq=channelOpts"}
                                  << false;
    QTest::newRow("peer list") << "requestPeerList" << QStringList{"getPeerList seq=peerList"} << false;
    QTest::newRow("settings") << "requestSettings" << QStringList{"loadSettings seq=loadSettings"} << false;
}

void TestIPCLink::requests()
{
    QFETCH(QString, operation);
    QFETCH(QStringList, sent);
    QFETCH(bool, dumped);

    Link link;
    ArrivalLog arrivals(link.client);
    link.start();
    QTRY_COMPARE(arrivals.states, QStringList{"1:0"});
    const std::size_t before = link.commandCount();
    QCOMPARE(before, std::size_t(kLoginBurst.size()));

    LogCapture log;
    kOperations.at(operation)(link.client);
    QCOMPARE(describe(link.commandsFrom(before, sent.size())), describe(sent));

    const QString firstDumpLine = describe(QStringList{sent.first()}).first().section('\n', 0, 0);
    QCOMPARE(log.lines().contains("6 " + firstDumpLine), dumped);
}

void TestIPCLink::meteringDroppedRemotely_data()
{
    QTest::addColumn<bool>("remote");
    QTest::addColumn<QString>("name");
    QTest::addColumn<bool>("sent");

    QTest::newRow("local setMetering") << false << "setMetering" << true;
    QTest::newRow("remote setMetering") << true << "setMetering" << false;
    QTest::newRow("remote getPeerList") << true << "getPeerList" << true;
    QTest::newRow("remote, other set request") << true << "setMeteringMode" << true;
}

void TestIPCLink::meteringDroppedRemotely()
{
    QFETCH(bool, remote);
    QFETCH(QString, name);
    QFETCH(bool, sent);

    Link link;
    ArrivalLog arrivals(link.client);
    link.start();
    QTRY_COMPARE(arrivals.states, QStringList{"1:0"});
    const std::size_t before = link.commandCount();

    if (remote)
        qputenv("REMOTE_UI", "unit.example");
    Message candidate(name.toStdString());
    QVERIFY(link.client.sendRequest(candidate));
    // Requests keep their order, so once the marker is in, the candidate is in or never comes.
    link.client.sendRaw(Message("marker"));

    QStringList names;
    for (const Message& msg : link.commandsFrom(before, sent ? 2 : 1))
        names << QString::fromStdString(msg.name);
    const QStringList expected = sent ? QStringList{name, "marker"} : QStringList{"marker"};
    QCOMPARE(names, expected);
}

void TestIPCLink::reconnection()
{
    Link link;
    // Only the first session gets answers: after the reconnection the cache must still serve them.
    link.server.set_handler([](TestServer& backend, const IPCSessionInfo& session, const Message& msg) {
        if (backend.logins() == 1)
            backend.send_response(session.id, answer(msg.params().get_string("seq", ""), "session:i=1"));
    });
    ArrivalLog arrivals(link.client);
    link.start();
    QTRY_COMPARE(arrivals.states, (QStringList{"1:0", "2:0"}));
    const Message peers = cached(link.client, "peerList");
    QCOMPARE(peers.params().get_int("session", 0), 1);

    link.server.drop_sessions();
    QTRY_COMPARE(arrivals.states, (QStringList{"1:0", "2:0", "0:0"}));
    QTRY_COMPARE(arrivals.states, (QStringList{"1:0", "2:0", "0:0", "1:0"}));

    QCOMPARE(describe(link.commandsFrom(kLoginBurst.size(), kLoginBurst.size())), describe(kLoginBurst));
    QVERIFY(cached(link.client, "peerList") == peers);
}

QTEST_GUILESS_MAIN(TestIPCLink)
#include "test_ipclink.moc"
