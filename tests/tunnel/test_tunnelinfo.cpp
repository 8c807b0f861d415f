// The tunnel model fed through the shared client: session life, the health colour, delays,
// connections and their buttons, and the debug trace.
#include "ifcbutton.h"
#include "ipcinstances.h"
#include "logcapture.h"
#include "tunnelconnection.h"
#include "tunnelinfo.h"
#include "tunnelsession.h"
#include "tunneltree.h"

#include <QSignalSpy>
#include <QtTest>

namespace {

// Messages in tunnelTree form separated by ';', each delivered as the client delivers its kind.
void deliver(const QString& texts)
{
    for (const QString& text : texts.split(';')) {
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
}

// A "sess" of session 1 with connections "1:1 2:2" (li:ri, ri may be missing), each described as
// interface li, sending li thousand and 999 bit/s and receiving 2 li thousand.
QString statsWithConns(const QString& conns, const QString& head = "tun_stats {sess sid:i=1")
{
    QString text = head;
    for (const QString& pair : conns.split(' ', Qt::SkipEmptyParts)) {
        const int li = pair.section(':', 0, 0).toInt();
        const QString ri = pair.section(':', 1);
        text += QString(" {conn li:i=%1 %2 ldesc=L%1 rdesc=R%3 name=if%1 tp:i=%4 rtp:i=%5}")
                    .arg(li).arg(ri.isEmpty() ? "" : "ri:i=" + ri, ri).arg(li * 1000 + 999).arg(li * 2000);
    }
    return text + "}";
}

} // namespace

class TestTunnelInfo : public QObject {
    Q_OBJECT

private slots:
    void sessionLife_data()
    {
        QTest::addColumn<QString>("steps");
        QTest::addColumn<QString>("emitted"); // by the last step
        QTest::addColumn<int>("sid");         // of the current session afterwards, 0 for none

        const QString a = " active:b=true addr=198.51.100.23}";
        const QString stats3 = "tun_stats {sess sid:i=3 {conn li:i=1 ri:i=1}};";
        QTest::newRow("first statistics create") << "tun_stats {sess sid:i=3 d:i=40}" << "create 3,delay 3,green" << 3;
        QTest::newRow("new sid destroys first") << stats3 + "tun_stats {sess sid:i=4 d:i=40}" << "destroy 3 of 0,create 4,delay 4,green" << 4;
        QTest::newRow("sess without sid") << "tun_stats {sess}" << "create 0,green" << 0;
        QTest::newRow("no sess destroys") << stats3 + "tun_stats" << "destroy 3 of 0,gray" << 0;
        QTest::newRow("status: the only sess, idle") << "status {sess sid:i=5 active_conns:i=0" + a << "create 5" << 5;
        QTest::newRow("status: two idle") << "status {sess sid:i=5 active_conns:i=0" + a + " {sess sid:i=6" + a << "" << 0;
        QTest::newRow("status: the one with connections") << "status {sess sid:i=5" + a + " {sess sid:i=6 active_conns:i=2" + a
                                                          << "create 6" << 6;
        QTest::newRow("status: not active") << "status {sess sid:i=5 active_conns:i=2}" << "" << 0;
        QTest::newRow("answer") << "resp fail:b=false {node {sess sid:i=8 active_conns:i=1" + a + "}" << "create 8" << 8;
        QTest::newRow("failed answer") << stats3 + "resp fail:b=true" << "" << 3;
        QTest::newRow("status keeps the session") << stats3 + "status {sess sid:i=9 active_conns:i=2" + a << "" << 3;
        QTest::newRow("tun_conns never creates") << "tun_conns {sess sid:i=3 active_conns:i=1" + a << "" << 0;
    }
    void sessionLife()
    {
        QFETCH(QString, steps);
        QFETCH(QString, emitted);
        QFETCH(int, sid);

        TunnelInfo info;
        QStringList log;
        const auto note = [&log](const char* what) { return [&log, what](int sid) { log << what + QString::number(sid); }; };
        connect(&info, &TunnelInfo::sessionCreate, this, note("create "));
        // The statistics screen counts on the connections being gone before the session.
        connect(&info, &TunnelInfo::sessionDestroy, this,
                [&](int sid) { log << QString("destroy %1 of %2").arg(sid).arg(info.session()->connections().size()); });
        connect(&info, &TunnelInfo::sessionDelayUpdate, this, note("delay "));
        connect(&info, &TunnelInfo::braidStatus, this, [&log](const QString& state) { log << state; });
        deliver(steps.section(';', 0, -2));
        log.clear();
        deliver(steps.section(';', -1));
        QCOMPARE(log.join(','), emitted);
        QCOMPARE(info.session() ? info.session()->sid() : 0, sid);
    }
    void healthColour_data()
    {
        QTest::addColumn<QString>("stats");
        QTest::addColumn<QString>("colour");

        const QString throttled = "{codec {enc nbr:i=2000000 tbr:i=1500000}}";
        QTest::newRow("loss 100") << "tun_stats {sess sid:i=1 pl:i=100 plt:i=100 rpl:i=100 rplt:i=100}" << "green";
        QTest::newRow("tx loss 101") << "tun_stats {sess sid:i=1 pl:i=101}" << "red";
        QTest::newRow("rx late 101") << "tun_stats {sess sid:i=1 rplt:i=101}" << "red";
        QTest::newRow("tbr 0") << "tun_stats {codec {enc nbr:i=2000000 tbr:i=0}} {sess sid:i=1}" << "green";
        QTest::newRow("tbr at nbr") << "tun_stats {codec {enc nbr:i=2000000 tbr:i=2000000}} {sess sid:i=1}" << "green";
        QTest::newRow("tx throttled") << "tun_stats " + throttled + " {sess sid:i=1 pl:i=100}" << "yellow";
        QTest::newRow("rx throttled") << "tun_stats {sess sid:i=1 " + throttled + "}" << "yellow";
        QTest::newRow("loss beats throttling") << "tun_stats " + throttled + " {sess sid:i=1 rpl:i=101}" << "red";
    }
    void healthColour()
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
    void delaysReportOnlyChanges()
    {
        TunnelInfo info;
        QSignalSpy delays(&info, &TunnelInfo::sessionDelayUpdate);
        const QString sess = "tun_stats {sess sid:i=1 d:i=90 dm:i=400 d1:i=50 d2:i=100 d3:i=150 d4:i=200 d5:i=400 dma:b=true "
                             "rd:i=80 rdm:i=300 rd5:i=300";
        deliver(sess + "};" + sess + "}");
        QCOMPARE(delays.count(), 1);
        const TunnelSession& session = *info.session();
        QCOMPARE(session.maxAllowedDelayTx() * 1000 + session.maxAllowedDelayRx(), 400300);
        QCOMPARE(session.tx().delay_points, (std::array<int, 5>{50, 100, 150, 200, 400}));
        QVERIFY(session.tx().delay_mode_auto && session.rx().max_packet_delay == 80);
        // Each value counts; the session limits stay when their keys are absent.
        for (const char* change : {"d5:i=500", "rdma:b=true", "rd1:i=10", "dm:i=0"})
            deliver(sess + " " + change + "};" + sess + "}");
        QCOMPARE(delays.count(), 1 + 4 * 2);
        deliver("tun_stats {sess sid:i=1}");
        QCOMPARE(session.maxAllowedDelayTx(), 400);
        QCOMPARE(session.tx().max_allowed_delay, 0);
    }
    void connections_data()
    {
        QTest::addColumn<QString>("before");
        QTest::addColumn<QString>("after");
        QTest::addColumn<bool>("boundary");
        QTest::addColumn<QString>("positions"); // uid=position, then the transmit and receive graph lists

        QTest::newRow("first connections") << "" << "1:1 2:2" << true << "1:1=0 2:2=1 1,2 2,4";
        QTest::newRow("same again") << "1:1 2:2" << "1:1 2:2" << false << "1:1=0 2:2=1 1,2 2,4";
        QTest::newRow("order changed") << "1:1 2:2" << "2:2 1:1" << true << "1:1=1 2:2=0 2,1 4,2";
        QTest::newRow("one dropped") << "1:1 2:2 3:3" << "1:1 3:3" << true << "1:1=0 3:3=1 1,3 2,6";
        QTest::newRow("without ri skipped") << "1:1" << "1:1 2:" << false << "1:1=0 1 2";
        // The palette has six colours, the rest keep the default text colour.
        QTest::newRow("eight") << "" << "1:1 2:2 3:3 4:4 5:5 6:6 7:7 8:8" << true
                               << "1:1=0 2:2=1 3:3=2 4:4=3 5:5=4 6:6=5 7:7=6 8:8=7 1,2,3,4,5,6,7,8 2,4,6,8,10,12,14,16";
    }
    // Positions, buttons and graph lists follow the connections in their order, in kbit/s.
    void connections()
    {
        QFETCH(QString, before);
        QFETCH(QString, after);
        QFETCH(bool, boundary);
        QFETCH(QString, positions);

        QWidget ifc;
        ifc.resize(200, 300);
        auto info = std::make_unique<TunnelInfo>();
        deliver("tun_stats {sess sid:i=1}");
        TunnelSession& session = *info->session();
        session.setIfcWidget(&ifc);
        deliver(statsWithConns(before));
        QSignalSpy update(info.get(), &TunnelInfo::sessionStatsUpdate);
        deliver(statsWithConns(after));
        QCOMPARE(update.count(), int(boundary));
        QStringList shown;
        for (const auto& entry : session.connections()) {
            shown << QString("%1=%2").arg(QString::fromStdString(entry.first)).arg(entry.second->position());
            QCOMPARE(session.rxButtons().at(entry.first)->position(), entry.second->position());
        }
        for (const std::vector<int>& list : {session.txGraphList(), session.rxGraphList()}) {
            QStringList values;
            for (int value : list)
                values << QString::number(value);
            shown << values.join(',');
        }
        QCOMPARE(shown.join(' '), positions);
        QCOMPARE(ifc.findChildren<IFCButton*>().size(), 2 * int(session.connections().size()));
        const QStringList palette = QString("#cc00cc #0000ff #00ff00 #cccc00 #cc7700 #dd0000").split(' ');
        for (const auto& entry : session.txButtons()) {
            const int position = entry.second->position();
            QCOMPARE(entry.second->y(), 300 - 20 * (position + 1));
            QCOMPARE(entry.second->palette().color(QPalette::Disabled, QPalette::ButtonText).name(),
                     palette.value(position, ifc.palette().color(QPalette::Disabled, QPalette::ButtonText).name()));
        }
        // The buttons go with the session, and so with the model.
        info.reset();
        QVERIFY(ifc.findChildren<IFCButton*>().isEmpty());
    }
    // Descriptions come with the status; the buttons take them at the next statistics.
    void descriptionsFromStatus()
    {
        TunnelInfo info;
        QWidget ifc;
        deliver(statsWithConns("1:1 2:2", "status {sess sid:i=1 active:b=true protected:b=true encrypted:b=true state=up"));
        TunnelSession& session = *info.session();
        QVERIFY(session.isActive() && session.isProtected() && session.isEncrypted() && session.state() == "up");
        session.setIfcWidget(&ifc);
        const QString stats = "tun_stats {sess sid:i=1 {conn li:i=1 ri:i=1} {conn li:i=2 ri:i=2}}";
        deliver(stats);
        QCOMPARE(session.txButtons().at("1:1")->text(), QString("(0) L1>R1"));
        QCOMPARE(session.rxButtons().at("2:2")->text(), QString("(1) R2>L2"));
        deliver("tun_conns {sess sid:i=1 {conn li:i=1 ri:i=1 ldesc=Cell rdesc=Fibre}} {sess sid:i=2 active:b=true};" + stats);
        QCOMPARE(info.connsSessionCount(), 2);
        QVERIFY(!session.isActive() && !session.isProtected() && !session.isEncrypted());
        QCOMPARE(session.txButtons().at("1:1")->text(), QString("(0) Cell>Fibre"));
    }
    void linkStats()
    {
        const auto text = [](const TunnelLinkStats& s) {
            return QString::asprintf("%d %d %d %d %d %d %d %d %d %d", s.throttle_present, s.throttle, s.td, s.tp, s.tf, s.tr, s.d, s.dm, s.dq, s.pl);
        };
        TunnelConnection connection;
        connection.parseConnNode(tunnelTree("conn li:i=1 ri:i=2 th:i=5000999 td:i=2500 tp:i=64999 tf:i=1000 tr:i=999 "
                                            "d:i=90 dm:i=400 dq:i=80 pl:i=6 rth:i=3000000 rtd:i=0 rdq:i=7"));
        QCOMPARE(text(connection.tx()), QString("1 5000 2 64 1 0 90 400 80 6"));
        QCOMPARE(text(connection.rx()), QString("1 3000 0 0 0 0 0 0 7 0"));
        QCOMPARE(connection.uid(), std::string("1:2"));
        // The throttle rate needs td beside it; whatever is missing or no number reads as 0.
        connection.parseConnNode(tunnelTree("conn li=x ri=y th:i=5000000"));
        QCOMPARE(text(connection.tx()) + QString(" %1 %2 %3").arg(connection.li()).arg(connection.ri()).arg(connection.uid().c_str()),
                 QString("0 0 0 0 0 0 0 0 0 0 0 0 0:0"));
    }
    // What the debug log tells, in order, about one session's life.
    void debugTrace()
    {
        LogCapture log(LOG_DEBUG);
        TunnelInfo info;
        const QStringList steps = {"resp;resp fail:b=true",
                                   "status {sess sid:i=4 active_conns:i=1 active:b=true addr=a4 {conn li:i=1 ri:i=1 ldesc=C}}",
                                   "tun_conns {sess sid:i=4}",
                                   "tun_stats {codec {enc nbr:i=2000000 tbr:i=1500000}} {sess sid:i=4 pl:i=101 {codec} {conn li:i=1 ri:i=1}}",
                                   "tun_stats {sess sid:i=4 d1:i=1 d2:i=2 d3:i=3 d4:i=4 d5:i=5 rd5:i=6 {conn li:i=1}}"};
        deliver(steps.join(';'));
        info.session()->log();
        deliver("tun_stats {sess sid:i=5};tun_stats");
        const auto dump = [&](int step, const char* child = nullptr) {
            const Message msg = tunnelTree(steps[step].section(';', -1));
            return QString::fromStdString((child ? msg.get_child(child, 0) : msg).dump_text(1));
        };
        const QString expected = QString(
            "TunnelInfo constructor|TunnelInfo::handleRecvTunnelStatus\n|response failure|%1|handleUnsoTunnelStatus id=cfgStatus:"
            "netmgr.tunnel|sessid=4  active_conns=1|creating new tunnel session sid=4 addr=a4|updateSessionStatus: active=true "
            "protected=false encrypted=false state=|update session status.. update connection...|updateConnection uid=1:1|%2|"
            "parseConnNode: 1:1|updateConnectionStatus: 1:1 ldesc=C rdesc= name=|handleUnsoTunConns:|parsing session sid=4|"
            "handleUnsoTunStats|%3|update tx codec stats:|%4|  nominal_bitrate = 2000|throttled_bitrate = 1500|        throttled"
            " = true|stats node has 1 session child nodes|update rx codec stats:|m_ifc_widget is null|braid status: red - loss/"
            "late exceeds threshold|error updating connections: sess dump below|%5|braid status: yellow - throttled|TunnelSess"
            "ion id=4 addr=a4|max_allowed_delay_tx = -1|max_allowed_delay_rx = -1|    max_packet_delay = 0|   max_allowed_delay"
            " = 0|     delay_mode_auto = false|  delay_points[0..4] = 1 2 3 4 5|  delay_points[0..4] = 0 0 0 0 6|    packet_loss_rate = 0|    packet_late_rate ="
            " 0|packet_recovery_rate = 0|TunnelInfo destroying session id=4|TunnelInfo creating session id=5|braid status: gree"
            "n - OK|braid status: gray - no session")
            .arg(dump(0), QString::fromStdString(tunnelTree("conn li:i=1 ri:i=1 ldesc=C").dump_text(1)), dump(3), dump(3, "codec"),
                 dump(4, "sess"));
        std::size_t at = 0;
        for (const QString& line : expected.split('|')) {
            at = log.all().find(line.toStdString(), at);
            QVERIFY2(at != std::string::npos, qPrintable(line));
        }
        QCOMPARE(QString::fromStdString(log.all()).count("response failure"), 1);
    }
};

QTEST_MAIN(TestTunnelInfo)
#include "test_tunnelinfo.moc"
