// The client on its manager thread against an in-process backend: what leaves the client, and
// how its signals reach the GUI thread.

#include "clientprobe.h"
#include "ipcclient.h"
#include "ipcmanagerqt.h"
#include "loginburst.h"
#include "testserver.h"

#include <QMetaMethod>
#include <QtTest>

#include <future>

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
    explicit QuickClient(IPCManagerQt& manager) : IPCClient(manager) {}
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
        messages.push_back(loginRequest(text));
    return describe(messages);
}

} // namespace

class TestIPCLink : public QObject {
    Q_OBJECT

private slots:
    // Login to ready, a reconnection, then requests under REMOTE_UI. Only the first session gets answers:
    // after the reconnection the cache must still serve them.
    void lifecycle()
    {
        qunsetenv("REMOTE_UI");
        qunsetenv("REMOTE_UI_PASS");
        Link link;
        link.server.set_handler([](TestServer& backend, const IPCSessionInfo& session, const Message& msg) {
            Message reply = answer(msg.params().get_string("seq", ""), "session:i=1");
            if (reply.name == "pwd")
                reply.add_child("option").params().set_bool("defaulted", true);
            if (backend.logins() == 1)
                backend.send_response(session.id, reply);
        });
        ArrivalLog arrivals(link.client);
        // The library's lock is the client's mutex, and held here it keeps every other thread out.
        link.manager.get_mutex()->lock();
        const bool takenElsewhere = std::async(std::launch::async, [&link] {
            const bool taken = link.client.mutex()->tryLock();
            if (taken)
                link.client.mutex()->unlock();
            return taken;
        }).get();
        link.manager.get_mutex()->unlock();
        QVERIFY(!takenElsewhere);
        link.start();

        QTRY_COMPARE(arrivals.states, (QStringList{"1:0", "2:1"}));
        QCOMPARE(arrivals.names, (QStringList{"changedState", "recvSettings", "recvNetworkList", "recvProfileList",
                                              "recvCodecList", "recvDirectoryServer", "recvPeerList", "recvSysOptions",
                                              "recvPowerInfo", "recvChannelList", "recvChannelOpts", "recvTunnelStatus",
                                              "recvVersion", "changedState"}));
        QVERIFY(arrivals.allOnOwnThread);
        QCOMPARE(describe(link.server.commands()), describe(kLoginBurst));
        const std::vector<std::string> subscriptions = {
            "peer_stats", "channel_stats", "tun_conns", "tun_stats", "power", "cfgData:netmgr.devices.*",
            "cfgStatus:netmgr.devices", "cfgStatus:netmgr.devices.*", "cfgStatus:netmgr.tunnel", "wifi:*"};
        QCOMPARE(link.server.sessions().at(0).subscriptions, subscriptions);
        const Message peers = cached(link.client, "peerList");
        QCOMPARE(peers.params().get_int("session", 0), 1);

        link.server.drop_sessions();
        QTRY_COMPARE(arrivals.states, (QStringList{"1:0", "2:1", "0:1", "1:1"}));
        QCOMPARE(describe(link.commandsFrom(kLoginBurst.size(), kLoginBurst.size())), describe(kLoginBurst));
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
        QStringList names;
        for (const Message& msg : link.commandsFrom(2 * kLoginBurst.size(), 4))
            names << QString::fromStdString(msg.name);
        QCOMPARE(names, (QStringList{"setMetering", "getPeerList", "setMeteringMode", "marker"}));
    }
};


QTEST_GUILESS_MAIN(TestIPCLink)
#include "test_ipclink.moc"
