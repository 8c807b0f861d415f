// The client fed directly, as the library's loop would call it: answers, notifications, login and
// link changes in, cache and signals out.

#include "clientprobe.h"
#include "ipcclient.h"
#include "ipcmanagerqt.h"

#include <QtTest>

namespace {

// "1:0 2:1": every changedState as state:def_pwd.
QString stateTrail(QSignalSpy& spy)
{
    QStringList trail;
    for (const QList<QVariant>& args : spy)
        trail << QStringLiteral("%1:%2").arg(args.at(0).toInt()).arg(int(args.at(1).toBool()));
    return trail.join(' ');
}

Message passwordStatus(const QString& defaulted)
{
    Message msg = answer("pwd");
    if (!defaulted.isEmpty())
        msg.add_child("option").params().set_bool("defaulted", defaulted == "1");
    return msg;
}

Message updateStatus(const QString& updating)
{
    Message msg = answer("codeUpdateStatus", "text=Installing");
    if (!updating.isEmpty())
        msg.params().set_bool("updating", updating == "1");
    return msg;
}

// Steps: "login", "down", "pwd" (no option), "pwd:0"/"pwd:1" (option with "defaulted"),
// "unso:pwd", "update" (no "updating"), "update:0"/"update:1".
void applyStep(IPCClient& client, const QString& step)
{
    const QString arg = step.section(':', 1);
    if (step == "login")
        feedLogin(client);
    else if (step == "down")
        feedConnectionChange(client);
    else if (step == "unso:pwd")
        feedUnso(client, "unso", passwordStatus(QString()));
    else if (step.startsWith("pwd"))
        feedAnswer(client, passwordStatus(arg));
    else if (step.startsWith("update"))
        feedAnswer(client, updateStatus(arg));
    else
        qFatal("unknown step %s", qPrintable(step));
}

// Every fired signal that carries a message must carry msg, and one that carries an id, id.
void verifyCarried(SignalLog& emitted, const Message& msg, const QString& id)
{
    for (const QString& name : emitted.fired()) {
        const QVariant carried = emitted.argument(name, "msg");
        if (carried.isValid())
            QVERIFY2(qvariant_cast<Message>(carried) == msg, qPrintable(name));
        const QVariant carriedId = emitted.argument(name, "id");
        if (carriedId.isValid())
            QCOMPARE(carriedId.toString(), id);
    }
}

} // namespace

class TestIPCClient : public QObject {
    Q_OBJECT

private slots:
    void init();

    void password_data();
    void password();
    void seqRule_data();
    void seqRule();
    void stateMachine_data();
    void stateMachine();
    void codeUpdateText_data();
    void codeUpdateText();
    void answers_data();
    void answers();
    void notifications_data();
    void notifications();
    void cacheKeepsNewest();
    void logTexts();

private:
    IPCManagerQt m_manager;
};

void TestIPCClient::init()
{
    qunsetenv("REMOTE_UI");
    qunsetenv("REMOTE_UI_PASS");
}

void TestIPCClient::password_data()
{
    QTest::addColumn<bool>("set");
    QTest::addColumn<QByteArray>("value");
    QTest::addColumn<QString>("expected");

    QTest::newRow("unset: built-in default") << false << QByteArray() << "velkor";
    QTest::newRow("set") << true << QByteArray("s3cret pass") << "s3cret pass";
    QTest::newRow("set but empty") << true << QByteArray() << "";
}

void TestIPCClient::password()
{
    QFETCH(bool, set);
    QFETCH(QByteArray, value);
    QFETCH(QString, expected);

    if (set)
        qputenv("REMOTE_UI_PASS", value);
    IPCClient client(m_manager);
    QCOMPARE(QString::fromStdString(client.get_password()), expected);
}

void TestIPCClient::seqRule_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("callerSeq");
    QTest::addColumn<QString>("seq");

    QTest::newRow("get prefix") << "getPeerList" << "" << "peerList";
    QTest::newRow("set prefix") << "setMetering" << "" << "metering";
    QTest::newRow("set, upper-case after") << "setRemoteCC" << "" << "remoteCC";
    QTest::newRow("get alone") << "get" << "" << "";
    QTest::newRow("no prefix") << "loadSettings" << "" << "loadSettings";
    QTest::newRow("prefix not at start") << "channelCommand" << "" << "channelCommand";
    QTest::newRow("caller's seq overwritten") << "getPeerList" << "mine" << "peerList";
    QTest::newRow("caller's seq overwritten, no prefix") << "reset" << "mine" << "reset";
}

void TestIPCClient::seqRule()
{
    QFETCH(QString, name);
    QFETCH(QString, callerSeq);
    QFETCH(QString, seq);

    IPCClient client(m_manager);
    Message msg(name.toStdString());
    if (!callerSeq.isEmpty())
        msg.params().set_string("seq", callerSeq.toStdString());
    QVERIFY(client.sendRequest(msg));
    QCOMPARE(QString::fromStdString(msg.params().get_string("seq", "<absent>")), seq);
}

void TestIPCClient::stateMachine_data()
{
    QTest::addColumn<QStringList>("steps");
    QTest::addColumn<QString>("trail");

    QTest::newRow("starts disconnected") << QStringList{"down"} << "";
    QTest::newRow("login then password status") << QStringList{"login", "pwd"} << "1:0 2:0";
    QTest::newRow("second pwd emits nothing") << QStringList{"login", "pwd", "pwd"} << "1:0 2:0";
    QTest::newRow("defaulted password") << QStringList{"login", "pwd:1"} << "1:0 2:1";
    QTest::newRow("flag change alone emits nothing, travels later")
        << QStringList{"login", "pwd:0", "pwd:1", "down", "login"} << "1:0 2:0 0:1 1:1";
    QTest::newRow("pwd without option keeps the flag")
        << QStringList{"login", "pwd:1", "down", "login", "pwd"} << "1:0 2:1 0:1 1:1 2:1";
    QTest::newRow("pwd as generic notification") << QStringList{"login", "unso:pwd"} << "1:0 2:0";
    QTest::newRow("update starts and ends")
        << QStringList{"login", "pwd", "update:1", "update:1", "update:0"} << "1:0 2:0 3:0 2:0";
    QTest::newRow("update without flag counts as finished") << QStringList{"login", "update"} << "1:0 2:0";
    QTest::newRow("link lost from ready") << QStringList{"login", "pwd", "down", "down"} << "1:0 2:0 0:0";
    QTest::newRow("link lost during update") << QStringList{"login", "update:1", "down"} << "1:0 3:0 0:0";
}

void TestIPCClient::stateMachine()
{
    QFETCH(QStringList, steps);
    QFETCH(QString, trail);

    IPCClient client(m_manager);
    QSignalSpy changes(&client, &IPCClient::changedState);
    for (const QString& step : steps)
        applyStep(client, step);
    QCOMPARE(stateTrail(changes), trail);
}

void TestIPCClient::codeUpdateText_data()
{
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<QString>("shown");

    QTest::newRow("plain") << QByteArray("Installing 40%") << "Installing 40%";
    QTest::newRow("absent") << QByteArray() << "";
    QTest::newRow("bytes above 127 read as Latin-1") << QByteArray("Fl\xe4sh") << QString::fromUtf8("Fläsh");
}

void TestIPCClient::codeUpdateText()
{
    QFETCH(QByteArray, text);
    QFETCH(QString, shown);

    IPCClient client(m_manager);
    SignalLog emitted(client);
    Message msg = answer("codeUpdateStatus", "updating:b=true");
    if (!text.isEmpty())
        msg.params().set_string("text", text.toStdString());
    feedAnswer(client, msg);

    QCOMPARE(emitted.fired(), (QStringList{"recvCodeUpdateStatus", "changedState"}));
    QCOMPARE(emitted.spy("recvCodeUpdateStatus").first().first().toString(), shown);
}

void TestIPCClient::answers_data()
{
    QTest::addColumn<bool>("asNotification");
    QTest::addColumn<QString>("name");
    QTest::addColumn<QStringList>("fired");

    const QList<QPair<QString, QString>> table = {
        {"peerList", "recvPeerList"},
        {"profileList", "recvProfileList"},
        {"addProfile", "recvAddProfile"},
        {"networkList", "recvNetworkList"},
        {"networkDevice", "recvNetworkDevice"},
        {"networkDeviceLocation", "recvNetworkDeviceLocation"},
        {"configSetting", "recvConfigSetting"},
        {"braidSettings", "recvBraidSettings"},
        {"saveOption", "recvSaveOption"},
        {"codecList", "recvCodecList"},
        {"currentEncoder", "recvCurrentEncoder"},
        {"channelOpts", "recvChannelOpts"},
        {"channelList", "recvChannelList"},
        {"sysOptions", "recvSysOptions"},
        {"addPeer", "recvAddPeer"},
        {"chat", "recvChat"},
        {"version", "recvVersion"},
        {"setMetering", "recvSetMetering"},
        {"powerInfo", "recvPowerInfo"},
        {"loadSettings", "recvSettings"},
        {"directoryServer", "recvDirectoryServer"},
        {"sipProxy", "recvDirectoryServer"},
        {"statusTunnel", "recvTunnelStatus"},
        {"codeUpdateStatus", "recvCodeUpdateStatus changedState"},
        {"pwd", "changedState"},
        {"metering", ""},
        {"peerStats", ""},
    };
    for (bool asNotification : {false, true}) {
        for (const auto& [name, fired] : table) {
            const QString row = (asNotification ? "unso " : "answer ") + name;
            QTest::newRow(qPrintable(row)) << asNotification << name << fired.split(' ', Qt::SkipEmptyParts);
        }
    }
}

void TestIPCClient::answers()
{
    QFETCH(bool, asNotification);
    QFETCH(QString, name);
    QFETCH(QStringList, fired);

    IPCClient client(m_manager);
    SignalLog emitted(client);
    Message msg = answer(name.toStdString(), "id:i=-7 on:b=true");
    msg.add_child("item").params().set_string("label", "Studio A");
    if (asNotification)
        feedUnso(client, "unso", msg);
    else
        feedAnswer(client, msg);

    QCOMPARE(emitted.fired(), fired);
    verifyCarried(emitted, msg, QString());
    QVERIFY(cached(client, name.toStdString()) == msg);
}

void TestIPCClient::notifications_data()
{
    QTest::addColumn<QString>("id");
    QTest::addColumn<QStringList>("fired");
    QTest::addColumn<QString>("cachedAs");

    const QStringList none;
    QTest::newRow("peer_stats") << "peer_stats" << QStringList{"recvPeerStats"} << "peerStats";
    QTest::newRow("peer_stats, suffix") << "peer_stats:3" << QStringList{"recvPeerStats"} << "peerStats";
    QTest::newRow("channel_stats") << "channel_stats.1" << QStringList{"recvChannelStats"} << "channelStats";
    QTest::newRow("tun_conns") << "tun_conns" << QStringList{"unsoTunConns"} << "tunConns";
    QTest::newRow("tun_stats") << "tun_stats:braid0" << QStringList{"unsoTunStats"} << "tunStats";
    QTest::newRow("overall device status") << "cfgStatus:netmgr.devices" << QStringList{"unsoNetmgrOverallStatus"}
                                           << "";
    QTest::newRow("one device's status") << "cfgStatus:netmgr.devices.eth0" << QStringList{"unsoNetmgrStatus"} << "";
    QTest::newRow("device data") << "cfgData:netmgr.devices.wlan0.home" << QStringList{"unsoNetmgrData"} << "";
    QTest::newRow("device data, no dot") << "cfgData:netmgr.devices" << QStringList{"unsoNetmgrData"} << "";
    QTest::newRow("tunnel status") << "cfgStatus:netmgr.tunnel" << QStringList{"unsoTunnelStatus"} << "";
    QTest::newRow("tunnel status is exact") << "cfgStatus:netmgr.tunnel.x" << none << "";
    QTest::newRow("wifi scan") << "wifi:wlan0" << QStringList{"unsoNetmgrWifi"} << "";
    QTest::newRow("wifi without colon") << "wifi" << none << "";
    QTest::newRow("power has no rule") << "power" << none << "";
    QTest::newRow("prefix in the middle") << "x_peer_stats" << none << "";
}

void TestIPCClient::notifications()
{
    QFETCH(QString, id);
    QFETCH(QStringList, fired);
    QFETCH(QString, cachedAs);

    IPCClient client(m_manager);
    SignalLog emitted(client);
    Message msg("stats", Params("rtt:u=120 loss:i=3"));
    feedUnso(client, id.toStdString(), msg);

    QCOMPARE(emitted.fired(), fired);
    verifyCarried(emitted, msg, id);
    for (const std::string& key : {msg.name, id.toStdString(), std::string("peerStats"), std::string("channelStats"),
                                   std::string("tunConns"), std::string("tunStats")}) {
        const bool expected = key == cachedAs.toStdString();
        QCOMPARE(cached(client, key) == msg, expected);
    }
}

void TestIPCClient::cacheKeepsNewest()
{
    IPCClient client(m_manager);
    QCOMPARE(cached(client, "peerList").name, std::string("<none>"));

    feedAnswer(client, answer("peerList", "count:i=1"));
    const Message newer = answer("peerList", "count:i=2");
    feedUnso(client, "unso", newer);
    QVERIFY(cached(client, "peerList") == newer);

    feedUnso(client, "peer_stats:1", Message("stats", Params("rtt:u=1")));
    const Message newerStats("stats", Params("rtt:u=2"));
    feedUnso(client, "peer_stats:2", newerStats);
    QVERIFY(cached(client, "peerStats") == newerStats);

    const Message unnamed("orphan");
    feedAnswer(client, unnamed);
    QVERIFY(cached(client, "") == unnamed);
}

void TestIPCClient::logTexts()
{
    IPCClient client(m_manager);
    Message msg("mystery", Params("a:i=1"));
    msg.add_child("inner").params().set_string("b", "two");

    LogCapture log;
    feedUnso(client, "mystery:1", msg);
    feedUnso(client, "unso", Message("mystery"));
    feedUnso(client, "unso", answer("peerList"));

    QStringList expected{"6 unknown unso received, id=mystery:1"};
    for (const QString& line : QString::fromStdString(msg.dump_text()).split('\n', Qt::SkipEmptyParts))
        expected << "6 " + line;
    expected << "3 no handler for unso name=mystery"
             << "6 dispatched unso name=peerList";
    QCOMPARE(log.lines(), expected);
}

QTEST_GUILESS_MAIN(TestIPCClient)
#include "test_ipcclient.moc"
