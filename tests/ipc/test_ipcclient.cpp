// The client fed directly, as the library's loop would call it (answers, notifications, login and
// link changes in, cache and signals out), and on its manager thread against an in-process backend
// (what leaves the client, and how its signals reach the GUI thread).

#include "ipcclient.h"
#include "ipcmanagerqt.h"
#include "logcapture.h"
#include "loginburst.h"
#include "testserver.h"

#include <QtTest>

#include <functional>
#include <future>
#include <memory>
#include <tuple>

namespace {

// A spy on every signal of one client.
class SignalLog {
public:
    explicit SignalLog(IPCClient& client)
    {
        for (int i = QObject::staticMetaObject.methodCount(); i < client.metaObject()->methodCount(); ++i) {
            const QMetaMethod method = client.metaObject()->method(i);
            if (method.methodType() == QMetaMethod::Signal)
                m_spies.emplace_back(method, std::make_unique<QSignalSpy>(&client, ('2' + method.methodSignature()).constData()));
        }
    }

    // Signal names, once per emission, in declaration order; "!" marks an emission whose "msg" is not
    // `msg` or whose "id" is not `id`.
    QString fired(const Message& msg, const QString& id) const
    {
        QStringList names;
        for (const auto& [method, spy] : m_spies) {
            const int msgAt = method.parameterNames().indexOf("msg");
            const int idAt = method.parameterNames().indexOf("id");
            for (const QList<QVariant>& arguments : *spy)
                names << QString::fromLatin1(method.name())
                        + ((msgAt >= 0 && !(qvariant_cast<Message>(arguments.at(msgAt)) == msg))
                                   || (idAt >= 0 && arguments.at(idAt).toString() != id)
                               ? "!"
                               : "");
        }
        return names.join('+');
    }

private:
    std::vector<std::pair<QMetaMethod, std::unique_ptr<QSignalSpy>>> m_spies;
};

// The library's side of the client: every call with the manager's lock held, as its loop does.
void feedAnswer(IPCClient& client, const Message& msg)
{
    QMutexLocker lock(client.mutex());
    client.process_response(msg);
}
void feedUnso(IPCClient& client, const std::string& id, const Message& msg)
{
    QMutexLocker lock(client.mutex());
    client.process_unso_id(id, msg);
}

// An answer as the backend sends it: named after, and carrying, its "seq".
Message answer(const std::string& seq, const char* params = "")
{
    Message msg(seq, Params(params));
    msg.params().set_string("seq", seq);
    return msg;
}
// A copy of the cache entry, or an empty message named "<none>".
Message cached(IPCClient& client, const std::string& name)
{
    Message copy("<none>");
    client.copyResponse(name, copy);
    return copy;
}

// The client's built-in password, as the unit's backend expects it.
const char* const kPassword = "velkor";

// Lingers a moment at the end of every turn, so that its thread is still running whenever it is
// told to stop: destroying it must wait for that thread.
struct LingeringManager : IPCManagerQt {
    void user_loop() override { QThread::msleep(5); }
};

// Reconnects within a second instead of the library's ten.
struct QuickClient : IPCClient {
    using IPCClient::IPCClient;
    int retry_interval() const override { return 1; }
};

// A backend on its own thread and the client on its manager thread, connected.
struct Link {
    explicit Link(TestServer::Handler handler) : server(kPassword, std::move(handler))
    {
        const SocketAddr address(TestServer::unique_local_address(), 0);
        server.listen("compact", address);
        manager.add_client("orvane", &client);
        manager.connect_client("compact", "stream", address, "orvane", 0, "");
    }

    // The commands from `first` on as one-line dumps, once at least `count` of them have arrived.
    QStringList commandsFrom(std::size_t first, std::size_t count)
    {
        server.wait_until([&] { return server.commands().size() >= first + count; });
        QStringList texts;
        for (const Message& msg : server.commands())
            texts << QString::fromStdString(msg.dump_text()).trimmed();
        return texts.mid(int(first));
    }

    TestServer server;
    LingeringManager manager;
    QuickClient client{manager};
};

// The login burst as commandsFrom shows it.
QStringList burst()
{
    QStringList texts;
    for (const QString& text : kLoginBurst)
        texts << QString::fromStdString(loginRequest(text).dump_text()).trimmed();
    return texts;
}

// Steps: "login", "down", "pwd" (no option), "pwd:0"/"pwd:1" (option with "defaulted"),
// "update" (no "updating"), "update:0"/"update:1"; called with the lock held, as the library's loop does.
void applyStep(IPCClient& client, const QString& step)
{
    QMutexLocker lock(client.mutex());
    if (step == "login")
        return client.logged_in();
    if (step == "down")
        return client.connection_changed();
    Message msg = answer(step.startsWith("update") ? "codeUpdateStatus" : "pwd");
    if (step.startsWith("pwd:"))
        msg.add_child("option").params().set_bool("defaulted", step.endsWith('1'));
    else if (step.startsWith("update:"))
        msg.params().set_bool("updating", step.endsWith('1'));
    client.process_response(msg);
}

} // namespace

class TestIPCClient : public QObject {
    Q_OBJECT

private slots:
    void password()
    {
        for (const char* value : {"s3cret pass", ""}) {
            qputenv("REMOTE_UI_PASS", value);
            QCOMPARE(IPCClient(m_manager).get_password(), std::string(value));
        }
        qunsetenv("REMOTE_UI_PASS");
        QCOMPARE(IPCClient(m_manager).get_password(), std::string("velkor"));
    }
    void requests()
    {
        const auto send = [](const char* name, const char* params) {
            return [=](IPCClient& c) {
                Message msg(name, Params(params));
                c.sendRequest(msg);
            };
        };
        // The operation, what goes out (name and params in the text form of Params), and whether the
        // whole request is written to the debug log. The seq names the answer, whatever the caller gave.
        const std::tuple<std::function<void(IPCClient&)>, const char*, const char*, bool> cases[] = {
            {[](IPCClient& c) { c.requestNetworkList(2); }, "cfgDescribe", "path=netmgr.devices status=raw seq=networkList depth:u=2", true},
            {[](IPCClient& c) { c.requestNetworkDevice("wlan0", 1); }, "cfgDescribe", "path=netmgr.devices.wlan0 status=raw seq=networkDevice depth:u=1", true},
            {[](IPCClient& c) { c.requestNetworkPath("netmgr.tunnel", 3); }, "cfgDescribe", "path=netmgr.tunnel status=raw seq=networkDeviceLocation depth:u=3", true},
            {[](IPCClient& c) { c.requestNetworkDeviceLocation("wlan0", "home"); }, "cfgDescribe", "path=netmgr.devices.wlan0.home status=raw seq=networkDeviceLocation depth:u=0", true},
            {[](IPCClient& c) { c.requestConfigSetting("netmgr.tunnel.mtu"); }, "cfgDescribe", "path=netmgr.tunnel.mtu seq=configSetting", true},
            {[](IPCClient& c) { c.requestBraidSettings(); }, "cfgDescribe", "path=netmgr.tunnel seq=braidSettings", true},
            {[](IPCClient& c) { c.requestTunnelStatus(); }, "cfgGetStatus", "path=netmgr.tunnel seq=statusTunnel", true},
            {[](IPCClient& c) { c.requestPasswordStatus(); }, "cfgDescribe", "path=netmgr.remote.password seq=pwd", false},
            {[](IPCClient& c) { c.requestVersion(); }, "getVersion", "seq=version", false},
            {send("getPeerList", "seq=mine"), "getPeerList", "seq=peerList", false},
            {send("setMetering", ""), "setMetering", "seq=metering", false},
            {send("get", ""), "get", "seq=", false},
            {send("loadSettings", ""), "loadSettings", "seq=loadSettings", false},
        };
        IPCClient client(m_manager);
        std::vector<Message> sent;
        client.setRequestTap([&](const Message& msg) { sent.push_back(msg); });
        for (const auto& [call, name, params, dumped] : cases) {
            sent.clear();
            // Category 0 only: what the client logs there, and nowhere else.
            LogCapture log;
            g_log.set_log_level(0, LOG_DEBUG);
            call(client);
            QCOMPARE(int(sent.size()), 1);
            QCOMPARE(sent[0].name, std::string(name));
            QVERIFY2(sent[0].params() == Params(params), params);
            QCOMPARE(('\n' + log.all()).find('\n' + std::string(name) + ' ') != std::string::npos, dumped);
        }
    }
    void stateMachine_data()
    {
        QTest::addColumn<QString>("steps");
        QTest::addColumn<QString>("trail");
        QTest::newRow("second pwd emits nothing") << "down login pwd pwd" << "1:0 2:0";
        QTest::newRow("defaulted password") << "login pwd:1" << "1:0 2:1";
        QTest::newRow("flag change alone emits nothing, travels later") << "login pwd:0 pwd:1 down login" << "1:0 2:0 0:1 1:1";
        QTest::newRow("update starts and ends") << "login pwd update:1 update:1 update:0" << "1:0 2:0 3:0 2:0";
        QTest::newRow("update without flag counts as finished") << "login update" << "1:0 2:0";
    }
    void stateMachine()
    {
        QFETCH(QString, steps);
        QFETCH(QString, trail);

        IPCClient client(m_manager);
        QSignalSpy changes(&client, &IPCClient::changedState);
        LogCapture log(LOG_INFO);
        for (const QString& step : steps.split(' '))
            applyStep(client, step);
        QVERIFY(log.all().find(" logged in as user") != std::string::npos);
        QStringList states;
        for (const QList<QVariant>& args : changes)
            states << QStringLiteral("%1:%2").arg(args.at(0).toInt()).arg(int(args.at(1).toBool()));
        QCOMPARE(states.join(' '), trail);
    }
    void answers_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<QString>("fired");
        // name=signals; several signals joined by '+'.
        const QStringList table = {
            "peerList=recvPeerList", "profileList=recvProfileList", "addProfile=recvAddProfile",
            "networkList=recvNetworkList", "networkDevice=recvNetworkDevice",
            "networkDeviceLocation=recvNetworkDeviceLocation", "configSetting=recvConfigSetting",
            "braidSettings=recvBraidSettings", "saveOption=recvSaveOption", "codecList=recvCodecList",
            "currentEncoder=recvCurrentEncoder", "channelOpts=recvChannelOpts", "channelList=recvChannelList",
            "sysOptions=recvSysOptions", "addPeer=recvAddPeer", "chat=recvChat+recvChatRecord", "version=recvVersion",
            "setMetering=recvSetMetering", "powerInfo=recvPowerInfo", "loadSettings=recvSettings",
            "directoryServer=recvDirectoryServer", "sipProxy=recvDirectoryServer", "statusTunnel=recvTunnelStatus",
            "codeUpdateStatus=recvCodeUpdateStatus+changedState", "pwd=changedState", "metering=", "peerStats="};
        for (const QString& entry : table)
            QTest::newRow(qPrintable(entry)) << entry.section('=', 0, 0) << entry.section('=', 1);
    }
    void answers()
    {
        QFETCH(QString, name);
        QFETCH(QString, fired);

        Message msg = answer(name.toStdString(), "id:i=-7 on:b=true");
        msg.add_child("item").params().set_string("label", "Studio A");
        // A notification of the generic id is dispatched by name like an answer.
        for (bool asNotification : {false, true}) {
            IPCClient client(m_manager);
            SignalLog emitted(client);
            LogCapture log(LOG_DEBUG);
            if (asNotification)
                feedUnso(client, "unso", msg);
            else
                feedAnswer(client, msg);
            const std::string outcome = fired.isEmpty() ? "no handler for unso name=" : "dispatched unso name=";
            QCOMPARE(log.all().find(outcome + name.toStdString()) != std::string::npos, asNotification);
            QCOMPARE(emitted.fired(msg, QString()), fired);
            QVERIFY(cached(client, name.toStdString()) == msg);
        }
    }
    // A broken backend sending ever new names: the cache stops growing, and known names still work.
    void unhandledNamesAreBounded()
    {
        IPCClient client(m_manager);
        for (int i = 0; i < 1000; ++i)
            feedAnswer(client, answer("unknown" + std::to_string(i), "n:i=1"));
        feedAnswer(client, answer("unknown3", "n:i=2"));
        feedAnswer(client, answer("peerList", "n:i=3"));
        const std::pair<const char*, const char*> entries[] = {
            {"unknown0", "n:i=1"}, {"unknown255", "n:i=1"}, {"unknown256", nullptr}, {"unknown999", nullptr},
            {"unknown3", "n:i=2"}, {"peerList", "n:i=3"}};
        for (const auto& [name, params] : entries)
            QVERIFY2(cached(client, name) == (params ? answer(name, params) : Message("<none>")), name);
    }
    void notifications_data()
    {
        QTest::addColumn<QString>("id");
        QTest::addColumn<QString>("fired");
        QTest::addColumn<QString>("cachedAs");
        // id=signal=cache entry; the tunnel status id is exact, wifi needs its colon, prefixes start the id.
        const QStringList table = {
            "peer_stats:3=recvPeerStats=peerStats", "channel_stats.1=recvChannelStats=channelStats",
            "tun_conns=unsoTunConns=tunConns", "tun_stats:braid0=unsoTunStats=tunStats",
            "cfgStatus:netmgr.devices=unsoNetmgrOverallStatus=", "cfgStatus:netmgr.devices.eth0=unsoNetmgrStatus=",
            "cfgData:netmgr.devices.wlan0.home=unsoNetmgrData=", "cfgStatus:netmgr.tunnel=unsoTunnelStatus=",
            "cfgStatus:netmgr.tunnel.x==", "wifi:wlan0=unsoNetmgrWifi=", "wifi==", "x_peer_stats=="};
        for (const QString& entry : table)
            QTest::newRow(qPrintable(entry)) << entry.section('=', 0, 0) << entry.section('=', 1, 1) << entry.section('=', 2);
    }
    void notifications()
    {
        QFETCH(QString, id);
        QFETCH(QString, fired);
        QFETCH(QString, cachedAs);

        IPCClient client(m_manager);
        SignalLog emitted(client);
        Message msg("stats", Params("rtt:u=120 loss:i=3"));
        LogCapture log;
        g_log.set_log_level(0, LOG_DEBUG);
        feedUnso(client, id.toStdString(), msg);
        // An id nobody handles is logged with its message.
        QCOMPARE(log.all().find("stats loss:i=3 rtt:u=120") != std::string::npos, fired.isEmpty());
        QCOMPARE(emitted.fired(msg, id), fired);
        for (const char* key : {"stats", "peerStats", "channelStats", "tunConns", "tunStats"})
            QCOMPARE(cached(client, key) == msg, cachedAs == key);
        QVERIFY(!(cached(client, id.toStdString()) == msg));
    }

    // Login to ready, a reconnection, then requests under REMOTE_UI. Only the first session gets answers:
    // after the reconnection the cache must still serve them.
    void lifecycle()
    {
        qunsetenv("REMOTE_UI");
        qunsetenv("REMOTE_UI_PASS");
        Link link([](TestServer& backend, const IPCSessionInfo& session, const Message& msg) {
            Message reply = answer(msg.params().get_string("seq", ""), "session:i=1");
            if (reply.name == "pwd")
                reply.add_child("option").params().set_bool("defaulted", true);
            if (backend.logins() == 1)
                backend.send_response(session.id, reply);
        });
        // Each state change as "state:defaulted", and whether all came through to this thread.
        QStringList states;
        bool onThisThread = true;
        QObject receiver;
        connect(&link.client, &IPCClient::changedState, &receiver, [&](IPCClient::IPC_STATE state, bool def_pwd) {
            states << QStringLiteral("%1:%2").arg(state).arg(def_pwd);
            onThisThread = onThisThread && QThread::currentThread() == thread();
        });
        // The library's lock is the client's mutex, and held here it keeps every other thread out.
        link.manager.get_mutex()->lock();
        const bool takenElsewhere = std::async(std::launch::async, [&link] { return link.client.mutex()->tryLock(); }).get();
        link.manager.get_mutex()->unlock();
        QVERIFY(!takenElsewhere);
        link.manager.start(QThread::InheritPriority);

        QTRY_COMPARE(states, (QStringList{"1:0", "2:1"}));
        QCOMPARE(link.commandsFrom(0, kLoginBurst.size()), burst());
        const std::vector<std::string> subscriptions = {
            "peer_stats", "channel_stats", "tun_conns", "tun_stats", "power", "cfgData:netmgr.devices.*",
            "cfgStatus:netmgr.devices", "cfgStatus:netmgr.devices.*", "cfgStatus:netmgr.tunnel", "wifi:*"};
        QCOMPARE(link.server.sessions().at(0).subscriptions, subscriptions);
        const Message peers = cached(link.client, "peerList");
        QCOMPARE(peers.params().get_int("session", 0), 1);

        link.server.drop_sessions();
        QTRY_COMPARE(states, (QStringList{"1:0", "2:1", "0:1", "1:1"}));
        QVERIFY(onThisThread);
        QCOMPARE(link.commandsFrom(kLoginBurst.size(), kLoginBurst.size()), burst());
        QVERIFY(cached(link.client, "peerList") == peers);

        // Requests keep their order, so once the marker is in, every request before it is in or never comes.
        Message local("setMetering");
        QVERIFY(link.client.sendRequest(local));
        qputenv("REMOTE_UI", "unit.example");
        for (const char* name : {"setMetering", "getPeerList", "setMeteringMode"}) {
            Message candidate(name);
            QVERIFY(link.client.sendRequest(candidate));
        }
        link.client.sendRaw(Message("marker"));
        QCOMPARE(link.commandsFrom(2 * kLoginBurst.size(), 4),
                 (QStringList{"setMetering seq:s=\"metering\"", "getPeerList seq:s=\"peerList\"",
                              "setMeteringMode seq:s=\"meteringMode\"", "marker"}));
    }

private:
    IPCManagerQt m_manager;
};

QTEST_GUILESS_MAIN(TestIPCClient)
#include "test_ipcclient.moc"
