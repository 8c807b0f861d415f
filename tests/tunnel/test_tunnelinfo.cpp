// The tunnel model fed through the shared client: session life, the health colour, delays,
// connections and their buttons, and the debug trace.
#include "ifcbutton.h"
#include "ipcinstances.h"
#include "logcapture.h"
#include "losslaterecoverygrapher.h"
#include "tunnelconnection.h"
#include "tunnelinfo.h"
#include "tunnelsession.h"
#include "tunneltree.h"
#include "utilizationgrapher.h"

#include <QSignalSpy>
#include <QtTest>

namespace {

// A message in tunnelTree form, delivered as the client delivers its kind.
void deliver(const QString& text)
{
    const Message msg = tunnelTree(text);
    if (msg.name == "tun_stats")
        emit g_ipcClient.unsoTunStats(msg);
    else if (msg.name == "tun_conns")
        emit g_ipcClient.unsoTunConns(msg);
    else if (msg.name == "status")
        emit g_ipcClient.unsoTunnelStatus("cfgStatus:netmgr.tunnel", msg);
    else
        emit g_ipcClient.recvTunnelStatus(msg);
}

// "tun_stats {sess sid:i=1 {conn li:i=1 ri:i=1 ...}} ..." with connections "1:1 2:2" (li:ri),
// each described as interface li with rates in li thousands.
QString statsWithConns(const QString& conns, const QString& head = "tun_stats {sess sid:i=1")
{
    QString text = head;
    for (const QString& pair : conns.split(' ', Qt::SkipEmptyParts)) {
        const QString li = pair.section(':', 0, 0);
        const QString ri = pair.section(':', 1);
        text += QString(" {conn li:i=%1 %2 ldesc=L%1 rdesc=R%3 name=if%1 tp:i=%4 rtp:i=%5}")
                    .arg(li, ri.isEmpty() ? "" : "ri:i=" + ri, ri, QString::number(li.toInt() * 1000 + 999),
                         QString::number(li.toInt() * 2000));
    }
    return text + "}";
}

class SignalLog : public QObject {
public:
    explicit SignalLog(TunnelInfo& info)
    {
        const auto note = [this](const char* what) { return [this, what](int sid) { lines << what + QString::number(sid); }; };
        connect(&info, &TunnelInfo::sessionCreate, this, note("create "));
        connect(&info, &TunnelInfo::sessionDestroy, this, note("destroy "));
        connect(&info, &TunnelInfo::sessionDelayUpdate, this, note("delay "));
        connect(&info, &TunnelInfo::sessionStatsUpdate, this, note("stats "));
        connect(&info, &TunnelInfo::braidStatus, this, [this](const QString& state) { lines << state; });
    }
    QStringList lines;
};

QString positions(const TunnelSession& session)
{
    QStringList out;
    for (const auto& entry : session.connections())
        out << QString("%1=%2").arg(QString::fromStdString(entry.first)).arg(entry.second->position());
    return out.join(' ');
}

} // namespace

class TestTunnelInfo : public QObject {
    Q_OBJECT

private slots:
    void sessionLife_data();
    void sessionLife();
    void healthColour_data();
    void healthColour();
    void delaysReportOnlyChanges();
    void connections_data();
    void connections();
    void buttonsFollowConnections();
    void descriptionsFromStatus();
    void linkStats();
    void debugTrace();
};

void TestTunnelInfo::sessionLife_data()
{
    QTest::addColumn<QStringList>("steps");
    QTest::addColumn<QStringList>("emitted"); // by the last step
    QTest::addColumn<int>("sid");             // of the current session afterwards, 0 for none

    const QString a = "active:b=true addr=198.51.100.23";
    QTest::newRow("first statistics create") << QStringList{"tun_stats {sess sid:i=3 d:i=40}"}
                                             << QStringList{"create 3", "delay 3", "green"} << 3;
    QTest::newRow("a new sid destroys first") << QStringList{"tun_stats {sess sid:i=3}", "tun_stats {sess sid:i=4 d:i=40}"}
                                              << QStringList{"destroy 3", "create 4", "delay 4", "green"} << 4;
    QTest::newRow("no sess destroys") << QStringList{"tun_stats {sess sid:i=3}", "tun_stats"}
                                      << QStringList{"destroy 3", "gray"} << 0;
    QTest::newRow("status: the only sess, idle") << QStringList{"status {sess sid:i=5 active_conns:i=0 " + a + "}"}
                                                 << QStringList{"create 5"} << 5;
    QTest::newRow("status: two idle create none")
        << QStringList{"status {sess sid:i=5 active_conns:i=0 " + a + "} {sess sid:i=6 " + a + "}"} << QStringList{} << 0;
    QTest::newRow("status: the one with connections")
        << QStringList{"status {sess sid:i=5 " + a + "} {sess sid:i=6 active_conns:i=2 " + a + "}"}
        << QStringList{"create 6"} << 6;
    QTest::newRow("status: inactive") << QStringList{"status {sess sid:i=5 active_conns:i=2 active:b=false}"}
                                      << QStringList{} << 0;
    QTest::newRow("answer: the node's sess") << QStringList{"resp fail:b=false {node {sess sid:i=8 active_conns:i=1 " + a + "}}"}
                                             << QStringList{"create 8"} << 8;
    QTest::newRow("failed answer") << QStringList{"tun_stats {sess sid:i=3}", "resp fail:b=true"} << QStringList{} << 3;
    QTest::newRow("status keeps the session")
        << QStringList{"tun_stats {sess sid:i=3}", "status {sess sid:i=9 active_conns:i=2 " + a + "}"} << QStringList{} << 3;
    QTest::newRow("tun_conns never creates") << QStringList{"tun_conns {sess sid:i=3 active_conns:i=1 " + a + "}"}
                                             << QStringList{} << 0;
}

void TestTunnelInfo::sessionLife()
{
    QFETCH(QStringList, steps);
    QFETCH(QStringList, emitted);
    QFETCH(int, sid);

    TunnelInfo info;
    SignalLog log(info);
    for (const QString& step : steps) {
        log.lines.clear();
        deliver(step);
    }
    QCOMPARE(log.lines, emitted);
    QCOMPARE(info.session() ? info.session()->sid() : 0, sid);
}

void TestTunnelInfo::healthColour_data()
{
    QTest::addColumn<QString>("stats");
    QTest::addColumn<QString>("colour");

    const QString throttled = "{codec {enc nbr:i=2000000 tbr:i=1500000}}";
    QTest::newRow("loss 100 is green") << "tun_stats {sess sid:i=1 pl:i=100 plt:i=100 rpl:i=100 rplt:i=100}" << "green";
    QTest::newRow("tx loss 101") << "tun_stats {sess sid:i=1 pl:i=101}" << "red";
    QTest::newRow("rx late 101") << "tun_stats {sess sid:i=1 rplt:i=101}" << "red";
    QTest::newRow("tbr 0") << "tun_stats {codec {enc nbr:i=2000000 tbr:i=0}} {sess sid:i=1}" << "green";
    QTest::newRow("tbr at nbr") << "tun_stats {codec {enc nbr:i=2000000 tbr:i=2000000}} {sess sid:i=1}" << "green";
    QTest::newRow("tx throttled") << "tun_stats " + throttled + " {sess sid:i=1 pl:i=100}" << "yellow";
    QTest::newRow("rx throttled") << "tun_stats {sess sid:i=1 " + throttled + "}" << "yellow";
    QTest::newRow("loss beats throttling") << "tun_stats " + throttled + " {sess sid:i=1 rpl:i=101}" << "red";
}

void TestTunnelInfo::healthColour()
{
    QFETCH(QString, stats);
    QFETCH(QString, colour);

    TunnelInfo info;
    // The transmit codec is read only once a session exists.
    deliver("tun_stats {sess sid:i=1}");
    QSignalSpy status(&info, &TunnelInfo::braidStatus);
    deliver(stats);
    QCOMPARE(status.count(), 1);
    QCOMPARE(status.last().at(0).toString(), colour);

    // Statistics without rates read as no loss at all.
    deliver("tun_stats {sess sid:i=1}");
    for (const TunnelDirectionStats* direction : {&info.session()->tx(), &info.session()->rx()})
        QCOMPARE(direction->packet_loss_rate + direction->packet_late_rate + direction->packet_recovery_rate, 0);
}

void TestTunnelInfo::delaysReportOnlyChanges()
{
    TunnelInfo info;
    QSignalSpy delays(&info, &TunnelInfo::sessionDelayUpdate);
    const QString sess = "sid:i=1 d:i=90 dm:i=400 d1:i=50 d2:i=100 d3:i=150 d4:i=200 d5:i=400 dma:b=true "
                         "rd:i=80 rdm:i=300 rd5:i=300";
    deliver("tun_stats {sess " + sess + "}");
    deliver("tun_stats {sess " + sess + "}");
    QCOMPARE(delays.count(), 1);
    const TunnelSession& session = *info.session();
    QCOMPARE(session.maxAllowedDelayTx(), 400);
    QCOMPARE(session.maxAllowedDelayRx(), 300);
    QCOMPARE(session.tx().delay_points, (std::array<int, 5>{50, 100, 150, 200, 400}));
    QVERIFY(session.tx().delay_mode_auto);
    QCOMPARE(session.rx().max_packet_delay, 80);

    // Each value counts; the session limits stay when their keys are absent.
    for (const char* change : {"d5:i=500", "rdma:b=true", "rd1:i=10", "dm:i=0"}) {
        const int before = delays.count();
        deliver("tun_stats {sess " + sess + " " + change + "}");
        deliver("tun_stats {sess " + sess + "}");
        QVERIFY2(delays.count() == before + 2, change);
    }
    deliver("tun_stats {sess sid:i=1}");
    QCOMPARE(info.session()->maxAllowedDelayTx(), 400);
    QCOMPARE(info.session()->tx().max_allowed_delay, 0);
}

void TestTunnelInfo::connections_data()
{
    QTest::addColumn<QString>("before");
    QTest::addColumn<QString>("after");
    QTest::addColumn<bool>("boundary");
    QTest::addColumn<QString>("positions");

    QTest::newRow("first connections") << "" << "1:1 2:2" << true << "1:1=0 2:2=1";
    QTest::newRow("same again") << "1:1 2:2" << "1:1 2:2" << false << "1:1=0 2:2=1";
    QTest::newRow("order changed") << "1:1 2:2" << "2:2 1:1" << true << "1:1=1 2:2=0";
    QTest::newRow("one dropped") << "1:1 2:2 3:3" << "1:1 3:3" << true << "1:1=0 3:3=1";
    QTest::newRow("without ri skipped") << "1:1" << "1:1 2:" << false << "1:1=0";
}

// The graph lists and the graphs follow the connections in position order, in kbit/s.
void TestTunnelInfo::connections()
{
    QFETCH(QString, before);
    QFETCH(QString, after);
    QFETCH(bool, boundary);
    QFETCH(QString, positions);

    TunnelInfo info;
    deliver("tun_stats {sess sid:i=1}");
    QWidget ifc;
    TunnelSession& session = *info.session();
    session.setIfcWidget(&ifc);
    deliver(statsWithConns(before));
    UtilizationGrapher rates(&ifc);
    LossLateRecoveryGrapher loss(&ifc);
    session.rx().utilization_graph = &rates;
    session.rx().loss_graph = &loss;

    QSignalSpy update(&info, &TunnelInfo::sessionStatsUpdate);
    deliver(statsWithConns(after, "tun_stats {sess sid:i=1 rpr:i=7"));
    QCOMPARE(update.count(), int(boundary));
    QCOMPARE(::positions(session), positions);
    QCOMPARE(ifc.findChildren<IFCButton*>().size(), int(2 * session.connections().size()));
    std::vector<int> tx;
    std::vector<int> rx;
    for (const QString& pair : after.split(' ')) {
        if (!pair.endsWith(':')) {
            tx.push_back(pair.section(':', 0, 0).toInt());
            rx.push_back(tx.back() * 2);
        }
    }
    QCOMPARE(session.txGraphList(), tx);
    QCOMPARE(session.rxGraphList(), rx);
    int min = 0;
    int max = 0;
    rates.range(1, &min, &max);
    QCOMPARE(max, *std::max_element(rx.begin(), rx.end()));
    loss.range(1, &min, &max);
    QCOMPARE(max, 7);
}

void TestTunnelInfo::buttonsFollowConnections()
{
    TunnelInfo info;
    deliver("tun_stats {sess sid:i=1}");
    QWidget ifc;
    ifc.resize(200, 300);
    info.session()->setIfcWidget(&ifc);

    // Eight connections: the palette has six colours, the rest keep the default text colour.
    const QString stats = statsWithConns("1:1 2:2 3:3 4:4 5:5 6:6 7:7 8:8");
    deliver(stats);
    const TunnelSession& session = *info.session();
    QCOMPARE(session.txButtons().size(), std::size_t(8));
    for (const auto& entry : session.txButtons()) {
        const int position = entry.second->position();
        QCOMPARE(entry.second->y(), 300 - 20 * (position + 1));
        const QColor expected = position < 6 ? IFCButton::kPalette[std::size_t(position)]
                                             : ifc.palette().color(QPalette::Disabled, QPalette::ButtonText);
        QCOMPARE(entry.second->palette().color(QPalette::Disabled, QPalette::ButtonText), expected);
    }
    session.txButtons().at("1:1")->show();
    info.session()->showRx();
    QVERIFY(session.txButtons().at("1:1")->isHidden());
    QVERIFY(!session.rxButtons().at("1:1")->isHidden());
    info.session()->showTx();
    QVERIFY(!session.txButtons().at("1:1")->isHidden());
    QVERIFY(session.rxButtons().at("1:1")->isHidden());

    info.session()->clear();
    QVERIFY(info.session()->connections().empty());
    QVERIFY(ifc.findChildren<IFCButton*>().isEmpty());
    deliver(stats);
    QCOMPARE(ifc.findChildren<IFCButton*>().size(), 16);
    deliver("tun_stats");
    QVERIFY(ifc.findChildren<IFCButton*>().isEmpty());
}

// Descriptions come with the status; the buttons take them at the next statistics.
void TestTunnelInfo::descriptionsFromStatus()
{
    TunnelInfo info;
    QWidget ifc;
    deliver(statsWithConns("1:1 2:2", "status {sess sid:i=1 active:b=true active_conns:i=1 protected:b=true "
                                      "encrypted:b=true state=up"));
    TunnelSession& session = *info.session();
    QVERIFY(session.isActive() && session.isProtected() && session.isEncrypted());
    QCOMPARE(session.state(), std::string("up"));
    session.setIfcWidget(&ifc);
    const QString stats = "tun_stats {sess sid:i=1 {conn li:i=1 ri:i=1} {conn li:i=2 ri:i=2}}";
    deliver(stats);
    QCOMPARE(session.txButtons().at("1:1")->text(), QString("(0) L1>R1"));
    QCOMPARE(session.rxButtons().at("2:2")->text(), QString("(1) R2>L2"));

    deliver("tun_conns {sess sid:i=1 {conn li:i=1 ri:i=1 ldesc=Cell rdesc=Fibre}} {sess sid:i=2}");
    QCOMPARE(info.connsSessionCount(), 2);
    QVERIFY(!session.isActive() && !session.isProtected() && !session.isEncrypted());
    deliver(stats);
    QCOMPARE(session.txButtons().at("1:1")->text(), QString("(0) Cell>Fibre"));
    // True when any text of a connection changed.
    for (const char* conn : {"ldesc=Cell rdesc=Fibre name=ppp1", "ldesc=Wan rdesc=Fibre name=ppp1"})
        QVERIFY(session.updateSessionStatus(tunnelTree(QString("sess sid:i=1 {conn li:i=1 ri:i=1 %1}").arg(conn))));
    QVERIFY(!session.updateSessionStatus(tunnelTree("sess sid:i=1 {conn li:i=1 ri:i=1 ldesc=Wan rdesc=Fibre name=ppp1}")));
    QVERIFY(!session.updateSessionStatus(tunnelTree("sess sid:i=2 {conn li:i=1 ri:i=1}")));
}

void TestTunnelInfo::linkStats()
{
    const auto text = [](const TunnelLinkStats& s) {
        return QString("%1 %2 %3 %4 %5 %6 %7 %8 %9 %10")
            .arg(int(s.throttle_present)).arg(s.throttle).arg(s.td).arg(s.tp).arg(s.tf).arg(s.tr)
            .arg(s.d).arg(s.dm).arg(s.dq).arg(s.pl);
    };
    TunnelConnection connection;
    connection.parseConnNode(tunnelTree("conn li:i=1 ri:i=2 th:i=5000999 td:i=2500 tp:i=64999 tf:i=1000 tr:i=999 "
                                        "d:i=90 dm:i=400 dq:i=80 pl:i=6 rth:i=3000000 rtd:i=0 rdq:i=7"));
    QCOMPARE(text(connection.tx()), QString("1 5000 2 64 1 0 90 400 80 6"));
    QCOMPARE(text(connection.rx()), QString("1 3000 0 0 0 0 0 0 7 0"));
    QCOMPARE(connection.uid(), std::string("1:2"));
    // The throttle rate needs td beside it.
    connection.parseConnNode(tunnelTree("conn li:i=1 ri:i=2 th:i=5000000"));
    QCOMPARE(text(connection.tx()), QString("0 0 0 0 0 0 0 0 0 0"));
}

// What the debug log tells, in order, about one session's life.
void TestTunnelInfo::debugTrace()
{
    LogCapture log(LOG_DEBUG);
    TunnelInfo info;
    const QStringList steps = {"resp fail:b=true",
                               "status {sess sid:i=4 active_conns:i=1 active:b=true addr=a4 {conn li:i=1 ri:i=1 ldesc=C}}",
                               "tun_conns {sess sid:i=4}",
                               "tun_stats {codec {enc nbr:i=2000000 tbr:i=1500000}} {sess sid:i=4 pl:i=101 {codec} "
                               "{conn li:i=1 ri:i=1}}",
                               "tun_stats {sess sid:i=4 {conn li:i=1}}"};
    for (const QString& step : steps)
        deliver(step);
    info.session()->log();
    deliver("tun_stats {sess sid:i=5}");
    deliver("tun_stats");
    const auto dump = [&](int step, int child = -1) {
        const Message msg = tunnelTree(steps[step]);
        return (child < 0 ? msg : msg.get_child(child ? "sess" : "codec", 0)).dump_text(1);
    };
    std::size_t at = 0;
    for (const std::string& line :
         {std::string("TunnelInfo constructor"), std::string("TunnelInfo::handleRecvTunnelStatus"),
          std::string("response failure"), dump(0), std::string("handleUnsoTunnelStatus id=cfgStatus:netmgr.tunnel"),
          std::string("sessid=4  active_conns=1"), std::string("creating new tunnel session sid=4 addr=a4"),
          std::string("updateSessionStatus: active=true protected=false encrypted=false state="),
          std::string("update session status.. update connection..."), std::string("updateConnection uid=1:1"),
          tunnelTree("conn li:i=1 ri:i=1 ldesc=C").dump_text(1), std::string("parseConnNode: 1:1"),
          std::string("updateConnectionStatus: 1:1 ldesc=C rdesc= name="), std::string("handleUnsoTunConns:"),
          std::string("parsing session sid=4"), std::string("handleUnsoTunStats"), dump(3),
          std::string("update tx codec stats:"), dump(3, 0), std::string("  nominal_bitrate = 2000"),
          std::string("throttled_bitrate = 1500"), std::string("        throttled = true"),
          std::string("stats node has 1 session child nodes"), std::string("update rx codec stats:"),
          std::string("m_ifc_widget is null"), std::string("braid status: red - loss/late exceeds threshold"),
          std::string("error updating connections: sess dump below"), dump(4, 1),
          std::string("braid status: yellow - throttled"), std::string("TunnelSession id=4 addr=a4"),
          std::string("max_allowed_delay_tx = -1"), std::string("max_allowed_delay_rx = -1"),
          std::string("    max_packet_delay = 0"), std::string("   max_allowed_delay = 0"),
          std::string("     delay_mode_auto = false"), std::string("  delay_points[0..4] = 0 0 0 0 0"),
          std::string("    packet_loss_rate = 0"), std::string("    packet_late_rate = 0"),
          std::string("packet_recovery_rate = 0"), std::string("TunnelInfo destroying session id=4"),
          std::string("TunnelInfo creating session id=5"), std::string("braid status: green - OK"),
          std::string("braid status: gray - no session")}) {
        at = log.all().find(line, at);
        QVERIFY2(at != std::string::npos, line.c_str());
    }
}

QTEST_MAIN(TestTunnelInfo)
#include "test_tunnelinfo.moc"
