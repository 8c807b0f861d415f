// The client fed directly, as the library's loop would call it: answers, notifications, login and
// link changes in, cache and signals out.

#include "clientprobe.h"
#include "ipcclient.h"
#include "ipcmanagerqt.h"

#include <QtTest>

namespace {

// Steps: "login", "down", "pwd" (no option), "pwd:0"/"pwd:1" (option with "defaulted"),
// "unso:pwd", "update" (no "updating"), "update:0"/"update:1".
void applyStep(IPCClient& client, const QString& step)
{
    const QString arg = step.section(':', 1);
    Message msg = answer(step.startsWith("update") ? "codeUpdateStatus" : "pwd");
    if (step.startsWith("pwd:"))
        msg.add_child("option").params().set_bool("defaulted", arg == "1");
    if (step.startsWith("update:"))
        msg.params().set_bool("updating", arg == "1");

    // The library's loop calls in with its lock held.
    QMutexLocker lock(client.mutex());
    if (step == "login")
        client.logged_in();
    else if (step == "down")
        client.connection_changed();
    else if (step == "unso:pwd")
        client.process_unso_id("unso", msg);
    else
        client.process_response(msg);
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
    void codeUpdateTextIsLatin1();
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
    QTest::newRow("get alone") << "get" << "" << "";
    QTest::newRow("no prefix") << "loadSettings" << "" << "loadSettings";
    QTest::newRow("caller's seq overwritten") << "getPeerList" << "mine" << "peerList";
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

    QTest::newRow("second pwd emits nothing") << QStringList{"down", "login", "pwd", "pwd"} << "1:0 2:0";
    QTest::newRow("defaulted password") << QStringList{"login", "pwd:1"} << "1:0 2:1";
    QTest::newRow("flag change alone emits nothing, travels later")
        << QStringList{"login", "pwd:0", "pwd:1", "down", "login"} << "1:0 2:0 0:1 1:1";
    QTest::newRow("pwd without option keeps the flag")
        << QStringList{"login", "pwd:1", "down", "login", "pwd"} << "1:0 2:1 0:1 1:1 2:1";
    QTest::newRow("pwd as generic notification") << QStringList{"login", "unso:pwd"} << "1:0 2:0";
    QTest::newRow("update starts and ends")
        << QStringList{"login", "pwd", "update:1", "update:1", "update:0"} << "1:0 2:0 3:0 2:0";
    QTest::newRow("update without flag counts as finished") << QStringList{"login", "update"} << "1:0 2:0";
    QTest::newRow("link lost during update") << QStringList{"login", "update:1", "down", "down"} << "1:0 3:0 0:0";
}

void TestIPCClient::stateMachine()
{
    QFETCH(QStringList, steps);
    QFETCH(QString, trail);

    IPCClient client(m_manager);
    QSignalSpy changes(&client, &IPCClient::changedState);
    for (const QString& step : steps)
        applyStep(client, step);
    QStringList states;
    for (const QList<QVariant>& args : changes)
        states << QStringLiteral("%1:%2").arg(args.at(0).toInt()).arg(int(args.at(1).toBool()));
    QCOMPARE(states.join(' '), trail);
}

void TestIPCClient::codeUpdateTextIsLatin1()
{
    IPCClient client(m_manager);
    SignalLog emitted(client);
    feedAnswer(client, answer("codeUpdateStatus", "updating:b=true text=Fl\xe4sh"));
    QCOMPARE(emitted.fired(), (QStringList{"recvCodeUpdateStatus", "changedState"}));
    QCOMPARE(emitted.argument("recvCodeUpdateStatus", "status").toString(), QString::fromUtf8("Fläsh"));
}

void TestIPCClient::answers_data()
{
    QTest::addColumn<bool>("asNotification");
    QTest::addColumn<QString>("name");
    QTest::addColumn<QStringList>("fired");

    // name=signals; several signals joined by '+'.
    const QStringList table = {
        "peerList=recvPeerList", "profileList=recvProfileList", "addProfile=recvAddProfile",
        "networkList=recvNetworkList", "networkDevice=recvNetworkDevice",
        "networkDeviceLocation=recvNetworkDeviceLocation", "configSetting=recvConfigSetting",
        "braidSettings=recvBraidSettings", "saveOption=recvSaveOption", "codecList=recvCodecList",
        "currentEncoder=recvCurrentEncoder", "channelOpts=recvChannelOpts", "channelList=recvChannelList",
        "sysOptions=recvSysOptions", "addPeer=recvAddPeer", "chat=recvChat", "version=recvVersion",
        "setMetering=recvSetMetering", "powerInfo=recvPowerInfo", "loadSettings=recvSettings",
        "directoryServer=recvDirectoryServer", "sipProxy=recvDirectoryServer", "statusTunnel=recvTunnelStatus",
        "codeUpdateStatus=recvCodeUpdateStatus+changedState", "pwd=changedState", "metering=", "peerStats="};
    for (bool asNotification : {false, true}) {
        for (const QString& entry : table) {
            const QString name = entry.section('=', 0, 0);
            QTest::addRow("%s %s", asNotification ? "unso" : "answer", qPrintable(name))
                << asNotification << name << entry.section('=', 1).split('+', Qt::SkipEmptyParts);
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
    QTest::addColumn<QString>("fired");
    QTest::addColumn<QString>("cachedAs");

    QTest::newRow("peer_stats, suffix") << "peer_stats:3" << "recvPeerStats" << "peerStats";
    QTest::newRow("channel_stats") << "channel_stats.1" << "recvChannelStats" << "channelStats";
    QTest::newRow("tun_conns") << "tun_conns" << "unsoTunConns" << "tunConns";
    QTest::newRow("tun_stats") << "tun_stats:braid0" << "unsoTunStats" << "tunStats";
    QTest::newRow("overall device status") << "cfgStatus:netmgr.devices" << "unsoNetmgrOverallStatus" << "";
    QTest::newRow("one device's status") << "cfgStatus:netmgr.devices.eth0" << "unsoNetmgrStatus" << "";
    QTest::newRow("device data") << "cfgData:netmgr.devices.wlan0.home" << "unsoNetmgrData" << "";
    QTest::newRow("tunnel status") << "cfgStatus:netmgr.tunnel" << "unsoTunnelStatus" << "";
    QTest::newRow("tunnel status is exact") << "cfgStatus:netmgr.tunnel.x" << "" << "";
    QTest::newRow("wifi scan") << "wifi:wlan0" << "unsoNetmgrWifi" << "";
    QTest::newRow("wifi without colon") << "wifi" << "" << "";
    QTest::newRow("prefix in the middle") << "x_peer_stats" << "" << "";
}

void TestIPCClient::notifications()
{
    QFETCH(QString, id);
    QFETCH(QString, fired);
    QFETCH(QString, cachedAs);

    IPCClient client(m_manager);
    SignalLog emitted(client);
    Message msg("stats", Params("rtt:u=120 loss:i=3"));
    feedUnso(client, id.toStdString(), msg);

    QCOMPARE(emitted.fired(), fired.split(' ', Qt::SkipEmptyParts));
    verifyCarried(emitted, msg, id);
    for (const char* key : {"stats", "peerStats", "channelStats", "tunConns", "tunStats"})
        QCOMPARE(cached(client, key) == msg, cachedAs == key);
    QVERIFY(!(cached(client, id.toStdString()) == msg));
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
