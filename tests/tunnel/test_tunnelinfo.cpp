// The tunnel model: session life from status and statistics, connections and their buttons, the
// health colour.
#include "ifcbutton.h"
#include "ipcinstances.h"
#include "tunnelconnection.h"
#include "tunnelinfo.h"
#include "tunnelsession.h"

#include <QSignalSpy>
#include <QtTest>

namespace {

// "sid:i=1 pl:i=5 | sid:i=2": one child of that name per item between the bars.
void addChildren(Message& parent, const char* name, const QString& items)
{
    for (const QString& item : items.split('|', Qt::SkipEmptyParts))
        parent.add_child(Message(name, Params(item.trimmed().toUtf8().constData())));
}

// A "sess" with connections "1:1 2:2" (li:ri pairs, each described as interface N).
Message sessWithConns(const QString& params, const QString& conns)
{
    Message sess("sess", Params(params.toUtf8().constData()));
    for (const QString& pair : conns.split(' ', Qt::SkipEmptyParts)) {
        const QStringList ids = pair.split(':');
        Params& conn = sess.add_child("conn").params();
        conn.set_int("li", ids[0].toInt());
        if (ids.size() > 1 && !ids[1].isEmpty())
            conn.set_int("ri", ids[1].toInt());
        conn.set_string("ldesc", "L" + ids[0].toStdString());
        conn.set_string("rdesc", "R" + ids.value(1).toStdString());
        conn.set_string("name", "if" + ids[0].toStdString());
        conn.set_int("tp", ids[0].toInt() * 1000 + 999);
        conn.set_int("rtp", ids[0].toInt() * 2000);
    }
    return sess;
}

Message tunStats(const QString& sessions)
{
    Message stats("tun_stats");
    addChildren(stats, "sess", sessions);
    return stats;
}

void addCodec(Message& parent, const QString& enc)
{
    if (!enc.isEmpty())
        parent.add_child("codec").add_child(Message("enc", Params(enc.toUtf8().constData())));
}

// Every signal of the model, in order, as text.
class SignalLog : public QObject {
public:
    explicit SignalLog(TunnelInfo& info)
    {
        connect(&info, &TunnelInfo::sessionCreate, this, [this](int sid) { lines << QString("create %1").arg(sid); });
        connect(&info, &TunnelInfo::sessionDestroy, this, [this](int sid) { lines << QString("destroy %1").arg(sid); });
        connect(&info, &TunnelInfo::sessionDelayUpdate, this, [this](int sid) { lines << QString("delay %1").arg(sid); });
        connect(&info, &TunnelInfo::sessionStatsUpdate, this, [this](int sid) { lines << QString("stats %1").arg(sid); });
        connect(&info, &TunnelInfo::braidStatus, this, [this](const QString& state) { lines << state; });
    }
    QStringList lines;
};

// Steps of a test: "stats <sessions>", "conns <sessions>", "status <sessions>", "answer <sessions>",
// "answer fail" (a failed status answer).
void apply(TunnelInfo& info, const QString& step)
{
    const QString kind = step.section(' ', 0, 0);
    const QString sessions = step.section(' ', 1);
    if (kind == "stats") {
        info.handleUnsoTunStats(tunStats(sessions));
    } else if (kind == "conns") {
        Message conns("tun_conns");
        addChildren(conns, "sess", sessions);
        info.handleUnsoTunConns(conns);
    } else if (kind == "status") {
        Message status("status");
        addChildren(status, "sess", sessions);
        info.handleUnsoTunnelStatus("cfgStatus:netmgr.tunnel", status);
    } else if (sessions == "fail") {
        info.handleRecvTunnelStatus(Message("resp", Params("fail:b=true")));
    } else {
        Message answer("resp", Params("fail:b=false"));
        addChildren(answer.add_child("node"), "sess", sessions);
        info.handleRecvTunnelStatus(answer);
    }
}

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
    void linkStats_data();
    void linkStats();
};

void TestTunnelInfo::sessionLife_data()
{
    QTest::addColumn<QStringList>("steps");
    QTest::addColumn<QStringList>("emitted"); // of the last step
    QTest::addColumn<int>("sid");             // the current session afterwards, 0 for none

    const QString active = "active:b=true addr=198.51.100.23";
    QTest::newRow("first statistics create the session")
        << QStringList{"stats sid:i=3 d:i=40"} << QStringList{"create 3", "delay 3", "green"} << 3;
    QTest::newRow("a new sid destroys before it creates")
        << QStringList{"stats sid:i=3", "stats sid:i=4 d:i=40"}
        << QStringList{"destroy 3", "create 4", "delay 4", "green"} << 4;
    QTest::newRow("no sess destroys, then gray")
        << QStringList{"stats sid:i=3", "stats"} << QStringList{"destroy 3", "gray"} << 0;
    QTest::newRow("no session at all is gray") << QStringList{"stats"} << QStringList{"gray"} << 0;
    QTest::newRow("status: the only sess, idle but active")
        << QStringList{"status sid:i=5 active_conns:i=0 " + active} << QStringList{"create 5"} << 5;
    QTest::newRow("status: two idle sess create none")
        << QStringList{"status sid:i=5 active_conns:i=0 " + active + " | sid:i=6 active_conns:i=0 " + active}
        << QStringList{} << 0;
    QTest::newRow("status: two without a count create none")
        << QStringList{"status sid:i=5 " + active + " | sid:i=6 " + active} << QStringList{} << 0;
    QTest::newRow("status: the one with connections")
        << QStringList{"status sid:i=5 active_conns:i=0 " + active + " | sid:i=6 active_conns:i=2 " + active}
        << QStringList{"create 6"} << 6;
    QTest::newRow("status: inactive creates none")
        << QStringList{"status sid:i=5 active_conns:i=2 active:b=false"} << QStringList{} << 0;
    QTest::newRow("answer: the node's sess") << QStringList{"answer sid:i=8 active_conns:i=1 " + active}
                                             << QStringList{"create 8"} << 8;
    QTest::newRow("failed answer changes nothing")
        << QStringList{"stats sid:i=3", "answer fail"} << QStringList{} << 3;
    QTest::newRow("status keeps the current session")
        << QStringList{"stats sid:i=3", "status sid:i=9 active_conns:i=2 " + active} << QStringList{} << 3;
    QTest::newRow("tun_conns never creates")
        << QStringList{"conns sid:i=3 active:b=true active_conns:i=1"} << QStringList{} << 0;
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
        apply(info, step);
    }
    QCOMPARE(log.lines, emitted);
    QCOMPARE(info.session() ? info.session()->sid() : 0, sid);
}

void TestTunnelInfo::healthColour_data()
{
    QTest::addColumn<QString>("sess");
    QTest::addColumn<QString>("txCodec");
    QTest::addColumn<QString>("rxCodec");
    QTest::addColumn<QString>("colour");

    const QString halfThrottled = "nbr:i=2000000 tbr:i=1500000";
    QTest::newRow("loss 100 is green") << "sid:i=1 pl:i=100 plt:i=100 rpl:i=100 rplt:i=100" << "" << "" << "green";
    QTest::newRow("tx loss 101 red") << "sid:i=1 pl:i=101" << "" << "" << "red";
    QTest::newRow("tx late 101 red") << "sid:i=1 plt:i=101" << "" << "" << "red";
    QTest::newRow("rx loss 101 red") << "sid:i=1 rpl:i=101" << "" << "" << "red";
    QTest::newRow("rx late 101 red") << "sid:i=1 rplt:i=101" << "" << "" << "red";
    QTest::newRow("recovery is no loss") << "sid:i=1 pr:i=900 rpr:i=900" << "" << "" << "green";
    QTest::newRow("tbr 0 never throttled") << "sid:i=1" << "nbr:i=2000000 tbr:i=0" << "" << "green";
    QTest::newRow("tbr at nbr not throttled") << "sid:i=1" << "nbr:i=2000000 tbr:i=2000000" << "" << "green";
    QTest::newRow("tx throttled yellow") << "sid:i=1 pl:i=100" << halfThrottled << "" << "yellow";
    QTest::newRow("rx throttled yellow") << "sid:i=1" << "" << halfThrottled << "yellow";
    QTest::newRow("loss beats throttling") << "sid:i=1 rplt:i=101" << halfThrottled << "" << "red";
}

void TestTunnelInfo::healthColour()
{
    QFETCH(QString, sess);
    QFETCH(QString, txCodec);
    QFETCH(QString, rxCodec);
    QFETCH(QString, colour);

    TunnelInfo info;
    // The transmit codec is read only once a session exists.
    info.handleUnsoTunStats(tunStats("sid:i=1"));
    QSignalSpy status(&info, &TunnelInfo::braidStatus);
    Message stats("tun_stats");
    addCodec(stats, txCodec);
    Message& session = stats.add_child(Message("sess", Params(sess.toUtf8().constData())));
    addCodec(session, rxCodec);
    info.handleUnsoTunStats(stats);
    QCOMPARE(status.count(), 1);
    QCOMPARE(status.last().at(0).toString(), colour);

    // Statistics without rates read as no loss at all.
    info.handleUnsoTunStats(tunStats("sid:i=1"));
    for (const TunnelDirectionStats* direction : {&info.session()->tx(), &info.session()->rx()}) {
        QCOMPARE(direction->packet_loss_rate, 0);
        QCOMPARE(direction->packet_late_rate, 0);
        QCOMPARE(direction->packet_recovery_rate, 0);
    }
}

void TestTunnelInfo::delaysReportOnlyChanges()
{
    TunnelInfo info;
    QSignalSpy delays(&info, &TunnelInfo::sessionDelayUpdate);
    const QString sess = "sid:i=1 d:i=90 dm:i=400 d1:i=50 d2:i=100 d3:i=150 d4:i=200 d5:i=400 dma:b=true "
                         "rd:i=80 rdm:i=300 rd5:i=300";
    info.handleUnsoTunStats(tunStats(sess));
    info.handleUnsoTunStats(tunStats(sess));
    QCOMPARE(delays.count(), 1);

    const TunnelSession& session = *info.session();
    QCOMPARE(session.maxAllowedDelayTx(), 400);
    QCOMPARE(session.maxAllowedDelayRx(), 300);
    QCOMPARE(session.tx().delay_points, (std::array<int, 5>{50, 100, 150, 200, 400}));
    QVERIFY(session.tx().delay_mode_auto);
    QCOMPARE(session.rx().max_packet_delay, 80);
    QCOMPARE(session.rx().delay_points[4], 300);

    // Each delay value counts; the session limits stay when their keys are absent.
    for (const char* change : {"d5:i=500", "rdma:b=true", "rd1:i=10", "dm:i=0"}) {
        const int before = delays.count();
        info.handleUnsoTunStats(tunStats(sess + " " + change));
        QVERIFY2(delays.count() == before + 1, change);
        info.handleUnsoTunStats(tunStats(sess));
        QVERIFY2(delays.count() == before + 2, change);
    }
    info.handleUnsoTunStats(tunStats("sid:i=1"));
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
    QTest::newRow("one added") << "1:1 2:2" << "1:1 2:2 3:1" << true << "1:1=0 2:2=1 3:1=2";
    QTest::newRow("one dropped") << "1:1 2:2 3:3" << "1:1 3:3" << true << "1:1=0 3:3=1";
    QTest::newRow("without ri skipped") << "1:1" << "1:1 2:" << false << "1:1=0";
    QTest::newRow("all dropped") << "1:1" << "" << true << "";
}

void TestTunnelInfo::connections()
{
    QFETCH(QString, before);
    QFETCH(QString, after);
    QFETCH(bool, boundary);
    QFETCH(QString, positions);

    TunnelInfo info;
    info.handleUnsoTunStats(tunStats("sid:i=1"));
    QWidget ifc;
    info.session()->setIfcWidget(&ifc);
    Message stats("tun_stats");
    stats.add_child(sessWithConns("sid:i=1", before));
    info.handleUnsoTunStats(stats);

    QSignalSpy update(&info, &TunnelInfo::sessionStatsUpdate);
    stats.remove_children("sess");
    stats.add_child(sessWithConns("sid:i=1", after));
    info.handleUnsoTunStats(stats);
    QCOMPARE(update.count(), boundary ? 1 : 0);
    const TunnelSession& session = *info.session();
    QCOMPARE(::positions(session), positions);
    QCOMPARE(int(session.txButtons().size()), int(session.connections().size()));
    QCOMPARE(int(session.rxButtons().size()), int(session.connections().size()));
    QCOMPARE(ifc.findChildren<IFCButton*>().size(), int(2 * session.connections().size()));

    // The graph lists follow the connections in position order, in kbit/s.
    std::vector<int> tx;
    std::vector<int> rx;
    for (const QString& pair : after.split(' ', Qt::SkipEmptyParts)) {
        if (pair.endsWith(':'))
            continue;
        tx.push_back(pair.section(':', 0, 0).toInt());
        rx.push_back(pair.section(':', 0, 0).toInt() * 2);
    }
    QCOMPARE(session.txGraphList(), tx);
    QCOMPARE(session.rxGraphList(), rx);
}

void TestTunnelInfo::buttonsFollowConnections()
{
    TunnelInfo info;
    QSignalSpy destroyed(&info, &TunnelInfo::sessionDestroy);
    info.handleUnsoTunStats(tunStats("sid:i=1"));
    QWidget ifc;
    ifc.resize(200, 300);
    info.session()->setIfcWidget(&ifc);

    // Eight connections: the palette has six colours, the rest keep the default text colour.
    Message stats("tun_stats");
    stats.add_child(sessWithConns("sid:i=1", "1:1 2:2 3:3 4:4 5:5 6:6 7:7 8:8"));
    info.handleUnsoTunStats(stats);
    const TunnelSession& session = *info.session();
    for (const auto& entry : session.txButtons()) {
        const IFCButton* button = entry.second;
        const int position = button->position();
        QCOMPARE(button->y(), 300 - 20 * (position + 1));
        const QColor expected = position < 6 ? IFCButton::kPalette[std::size_t(position)]
                                             : ifc.palette().color(QPalette::Disabled, QPalette::ButtonText);
        QCOMPARE(button->palette().color(QPalette::Disabled, QPalette::ButtonText), expected);
        QVERIFY(!button->isEnabled());
    }

    session.txButtons().at("1:1")->show();
    info.session()->showRx();
    QVERIFY(session.txButtons().at("1:1")->isHidden());
    QVERIFY(!session.rxButtons().at("1:1")->isHidden());

    info.session()->clear();
    QVERIFY(info.session()->connections().empty());
    QVERIFY(ifc.findChildren<IFCButton*>().isEmpty());
    info.handleUnsoTunStats(stats);
    QCOMPARE(ifc.findChildren<IFCButton*>().size(), 16);
    info.handleUnsoTunStats(tunStats(""));
    QCOMPARE(destroyed.count(), 1);
    QVERIFY(ifc.findChildren<IFCButton*>().isEmpty());
}

// Descriptions come with the status; the buttons take them at the next statistics.
void TestTunnelInfo::descriptionsFromStatus()
{
    TunnelInfo info;
    QWidget ifc;
    ifc.resize(200, 300);
    Message status("status");
    status.add_child(sessWithConns("sid:i=1 active:b=true active_conns:i=1", "1:1 2:2"));
    info.handleUnsoTunnelStatus("cfgStatus:netmgr.tunnel", status);
    QVERIFY(info.session());
    QVERIFY(info.session()->isActive());
    info.session()->setIfcWidget(&ifc);

    Message stats("tun_stats");
    Message sess("sess", Params("sid:i=1"));
    sess.add_child(Message("conn", Params("li:i=1 ri:i=1")));
    sess.add_child(Message("conn", Params("li:i=2 ri:i=2")));
    stats.add_child(sess);
    info.handleUnsoTunStats(stats);
    QCOMPARE(info.session()->txButtons().at("1:1")->text(), QString("(0) L1>R1"));
    QCOMPARE(info.session()->rxButtons().at("2:2")->text(), QString("(1) R2>L2"));

    // A renamed interface reaches its buttons with the next statistics.
    Message conns("tun_conns");
    Message renamed("sess", Params("sid:i=1"));
    renamed.add_child(Message("conn", Params("li:i=1 ri:i=1 ldesc=Cell rdesc=Fibre name=ppp0")));
    conns.add_child(renamed);
    info.handleUnsoTunConns(conns);
    QCOMPARE(info.connsSessionCount(), 1);
    QVERIFY(!info.session()->isActive());
    QVERIFY(!info.session()->isProtected());
    QVERIFY(!info.session()->updateSessionStatus(renamed));
    QVERIFY(info.session()->updateSessionStatus(sessWithConns("sid:i=1", "1:1")));
    info.session()->updateSessionStatus(renamed);
    info.handleUnsoTunStats(stats);
    QCOMPARE(info.session()->txButtons().at("1:1")->text(), QString("(0) Cell>Fibre"));
}

void TestTunnelInfo::linkStats_data()
{
    QTest::addColumn<QString>("conn");
    QTest::addColumn<QString>("tx"); // throttle flag, then the nine values
    QTest::addColumn<QString>("rx");

    QTest::newRow("rates in kbit/s")
        << "li:i=1 ri:i=1 th:i=5000999 td:i=2500 tp:i=64999 tf:i=1000 tr:i=999 d:i=90 dm:i=400 dq:i=80 pl:i=6"
        << "1 5000 2 64 1 0 90 400 80 6" << "0 0 0 0 0 0 0 0 0 0";
    QTest::newRow("throttle needs td") << "li:i=1 ri:i=1 th:i=5000000 rth:i=3000000 rtd:i=0 rdq:i=7"
                                       << "0 0 0 0 0 0 0 0 0 0" << "1 3000 0 0 0 0 0 0 7 0";
}

void TestTunnelInfo::linkStats()
{
    QFETCH(QString, conn);
    QFETCH(QString, tx);
    QFETCH(QString, rx);

    const auto text = [](const TunnelLinkStats& s) {
        return QString("%1 %2 %3 %4 %5 %6 %7 %8 %9 %10")
            .arg(int(s.throttle_present))
            .arg(s.throttle)
            .arg(s.td)
            .arg(s.tp)
            .arg(s.tf)
            .arg(s.tr)
            .arg(s.d)
            .arg(s.dm)
            .arg(s.dq)
            .arg(s.pl);
    };
    TunnelConnection connection;
    connection.parseConnNode(Message("conn", Params(conn.toUtf8().constData())));
    QCOMPARE(text(connection.tx()), tx);
    QCOMPARE(text(connection.rx()), rx);
    QCOMPARE(connection.uid(), std::string("1:1"));
}

QTEST_MAIN(TestTunnelInfo)
#include "test_tunnelinfo.moc"
