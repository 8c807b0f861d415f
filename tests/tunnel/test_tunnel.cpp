// The tunnel: the model fed through the shared client (session life, the health colour, delays,
// connections and their buttons, the debug trace), the statistics screen (the view of each
// direction, the graphs, the delays and the requests they send, the keypad), its own widgets with
// their painting checked by pixels, and the settings list.
#include "braidsettings.h"
#include "braidstats.h"
#include "cachefeeder.h"
#include "delayslider.h"
#include "ifcbutton.h"
#include "logcapture.h"
#include "losslaterecoverygrapher.h"
#include "platformkey.h"
#include "tunnelconnection.h"
#include "tunnelinfo.h"
#include "tunnelsession.h"
#include "tunneltree.h"
#include "utilizationgrapher.h"

#include <QCheckBox>
#include <QImage>
#include <QLabel>
#include <QSignalSpy>
#include <QtTest>

using namespace cachefeeder;

namespace {

// Messages in tunnelTree form separated by ';', each delivered through the shared client as the
// unit sends it: "resp" as an answer, "status" as the tunnel's status, the rest by their name.
void deliver(const QString& texts)
{
    QMutexLocker lock(g_ipcClient.mutex());
    for (const QString& text : texts.split(';')) {
        const Message msg = tunnelTree(text);
        if (msg.name == "resp")
            g_ipcClient.process_response(msg);
        else
            g_ipcClient.process_unso_id(msg.name == "status" ? "cfgStatus:netmgr.tunnel" : msg.name, msg);
    }
}

// A "sess" (of session 1 unless `head` opens another) with connections "1:1 2:2" (li:ri, ri may be
// missing), each described as interface li, sending li thousand and 999 bit/s and receiving 2 li thousand.
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

// How many of each direction's widgets and connection buttons are not hidden, "*" marking the
// direction checked: "tx* 2 rx 0".
QString shown(BraidStats& stats)
{
    const TunnelSession* session = stats.tunnelInfo().session();
    QString out;
    for (bool rx : {false, true}) {
        const std::vector<QWidget*> widgets = {rx ? stats.rxSlider() : stats.txSlider(), rx ? stats.rxAuto() : stats.txAuto(),
                                               stats.utilizationGraph(rx), stats.lossGraph(rx)};
        int count = 0;
        for (QWidget* widget : widgets)
            count += widget && !widget->isHidden();
        for (const auto& entry : !session ? TunnelSession::Buttons() : rx ? session->rxButtons() : session->txButtons())
            count += !entry.second->isHidden();
        const bool checked = (rx ? stats.radioRx : stats.radioTx)->isChecked();
        out += QString(rx ? " rx%1 %2" : "tx%1 %2").arg(checked ? "*" : "").arg(count);
    }
    return out;
}

QImage paint(QWidget& widget, const QColor& background)
{
    QImage image(widget.size(), QImage::Format_RGB32);
    image.fill(background);
    widget.render(&image, QPoint(), QRegion(), QWidget::RenderFlags());
    return image;
}

// The tunnel's own settings, one advanced, and a group of another kind that is not listed.
const char* const kTunnel = R"(<m n="resp"><m n="node"><s k="name">tunnel</s>
  <m n="group"><s k="name"></s>
    <m n="option"><s k="name">enabled</s><s k="display_name">Braid</s><s k="display_value">Enabled</s></m>
    <m n="option"><s k="name">max_delay</s><s k="display_name">Maximum Delay</s><s k="display_value">400</s></m>
    <m n="option"><s k="name">port</s><s k="display_name">Tunnel Port</s><b k="advanced">true</b></m>
  </m>
  <m n="group"><s k="name">peers</s><m n="option"><s k="name">far</s><s k="display_name">Far End</s></m></m>
</m></m>)";

// The rows on show, the selected one in brackets.
QString rows(const QTreeWidget* tree)
{
    QStringList out;
    for (int i = 0; i < tree->topLevelItemCount(); ++i) {
        const QTreeWidgetItem* row = tree->topLevelItem(i);
        if (!row->isHidden())
            out << (row->isSelected() ? "[" + row->text(0) + "]" : row->text(0));
    }
    return out.join(", ");
}

} // namespace

class TestTunnel : public QObject {
    Q_OBJECT

private slots:
    // Each row: the messages delivered, what the last one raised, the session left ("-" for none).
    void sessionLife_data()
    {
        QTest::addColumn<QString>("steps");
        QTest::addColumn<QString>("emitted");
        QTest::addColumn<QString>("sid");
        const QString rows = R"(
tun_stats {sess sid:i=3 d:i=40} | create 3,delay 3,green | 3
tun_stats {sess sid:i=3 {conn li:i=1 ri:i=1}};tun_stats {sess sid:i=4 d:i=40} | destroy 3 of 0,create 4,delay 4,green | 4
tun_stats {sess} | create 0,green | 0
tun_stats {sess sid:i=3 {conn li:i=1 ri:i=1}};tun_stats | destroy 3 of 0,gray | -
status {sess sid:i=5 active_conns:i=0 active:b=true addr=a} | create 5 | 5
status {sess sid:i=5 active_conns:i=0 active:b=true} {sess sid:i=6 active:b=true} |  | -
status {sess sid:i=5 active:b=true} {sess sid:i=6 active_conns:i=2 active:b=true} | create 6 | 6
status {sess sid:i=5 active_conns:i=2} |  | -
resp seq=statusTunnel {node {sess sid:i=8 active_conns:i=1 active:b=true}} | create 8 | 8
tun_stats {sess sid:i=3};resp seq=statusTunnel fail:b=true |  | 3
tun_stats {sess sid:i=3};status {sess sid:i=9 active_conns:i=2 active:b=true} |  | 3
tun_conns {sess sid:i=3 active_conns:i=1 active:b=true} |  | -
tun_stats {sess sid:i=1};tun_stats {sess sid:i=1 pl:i=100 plt:i=100 rpl:i=100 rplt:i=100} | green | 1
tun_stats {sess sid:i=1 dm:i=400 rd5:i=300};tun_stats {sess sid:i=1 dm:i=400 rd5:i=300} | green | 1
tun_stats {sess sid:i=1 dm:i=400};tun_stats {sess sid:i=1 dm:i=400 rdma:b=true} | delay 1,green | 1
tun_stats {sess sid:i=1};tun_stats {sess sid:i=1 pl:i=101} | red | 1
tun_stats {sess sid:i=1};tun_stats {sess sid:i=1 rplt:i=101} | red | 1
tun_stats {sess sid:i=1};tun_stats {codec {enc nbr:i=2000000 tbr:i=0}} {sess sid:i=1} | green | 1
tun_stats {sess sid:i=1};tun_stats {codec {enc nbr:i=2000000 tbr:i=2000000}} {sess sid:i=1} | green | 1
tun_stats {sess sid:i=1};tun_stats {codec {enc nbr:i=2000000 tbr:i=1500000}} {sess sid:i=1 pl:i=100} | yellow | 1
tun_stats {sess sid:i=1};tun_stats {sess sid:i=1 {codec {enc nbr:i=2000000 tbr:i=1500000}}} | yellow | 1
tun_stats {sess sid:i=1};tun_stats {codec {enc nbr:i=2000000 tbr:i=1500000}} {sess sid:i=1 rpl:i=101} | red | 1
)";
        for (const QString& row : rows.split('\n', Qt::SkipEmptyParts)) {
            const QStringList cells = row.split(" | ");
            QTest::newRow(qPrintable(cells.value(0))) << cells.value(0) << cells.value(1) << cells.value(2);
        }
    }
    void sessionLife()
    {
        QFETCH(QString, steps);
        QFETCH(QString, emitted);
        QFETCH(QString, sid);

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
        QCOMPARE(info.session() ? QString::number(info.session()->sid()) : "-", sid);
    }
    void connections_data()
    {
        QTest::addColumn<QString>("before");
        QTest::addColumn<QString>("after");
        // Statistics updates raised, uid=position, then the transmit and receive graph lists.
        QTest::addColumn<QString>("shown");

        QTest::newRow("first connections") << "" << "1:1 2:2" << "1 1:1=0 2:2=1 1,2 2,4";
        QTest::newRow("same again") << "1:1 2:2" << "1:1 2:2" << "0 1:1=0 2:2=1 1,2 2,4";
        QTest::newRow("order changed") << "1:1 2:2" << "2:2 1:1" << "1 1:1=1 2:2=0 2,1 4,2";
        QTest::newRow("one dropped") << "1:1 2:2 3:3" << "1:1 3:3" << "1 1:1=0 3:3=1 1,3 2,6";
        QTest::newRow("without ri skipped") << "1:1" << "1:1 2:" << "0 1:1=0 1 2";
        // The palette has six colours, the rest keep the default text colour.
        QTest::newRow("eight") << "" << "1:1 2:2 3:3 4:4 5:5 6:6 7:7 8:8"
                               << "1 1:1=0 2:2=1 3:3=2 4:4=3 5:5=4 6:6=5 7:7=6 8:8=7 1,2,3,4,5,6,7,8 2,4,6,8,10,12,14,16";
    }
    // Positions, buttons and graph lists follow the connections in their order, in kbit/s.
    void connections()
    {
        QFETCH(QString, before);
        QFETCH(QString, after);
        QFETCH(QString, shown);

        QWidget ifc;
        ifc.resize(200, 300);
        auto info = std::make_unique<TunnelInfo>();
        deliver("tun_stats {sess sid:i=1}");
        TunnelSession& session = *info->session();
        session.setIfcWidget(&ifc);
        deliver(statsWithConns(before));
        QSignalSpy update(info.get(), &TunnelInfo::sessionStatsUpdate);
        deliver(statsWithConns(after));
        const QStringList palette = QString("#cc00cc #0000ff #00ff00 #cccc00 #cc7700 #dd0000").split(' ');
        QStringList rendered = {QString::number(update.count())};
        for (const auto& entry : session.connections()) {
            const int position = entry.second->position();
            const IFCButton* tx = session.txButtons().at(entry.first);
            rendered << QString("%1=%2").arg(QString::fromStdString(entry.first)).arg(position);
            QCOMPARE(session.rxButtons().at(entry.first)->position(), position);
            QCOMPARE(tx->y(), 300 - 20 * (position + 1));
            QCOMPARE(tx->palette().color(QPalette::Disabled, QPalette::ButtonText).name(),
                     palette.value(position, ifc.palette().color(QPalette::Disabled, QPalette::ButtonText).name()));
        }
        for (const std::vector<int>& list : {session.txGraphList(), session.rxGraphList()}) {
            QStringList values;
            for (int value : list)
                values << QString::number(value);
            rendered << values.join(',');
        }
        QCOMPARE(rendered.join(' '), shown);
        QCOMPARE(ifc.findChildren<IFCButton*>().size(), 2 * int(session.connections().size()));
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
        const QStringList steps = {"resp seq=statusTunnel;resp seq=statusTunnel fail:b=true",
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
    void viewFollowsDirectionAndSession()
    {
        RequestLog requests;
        BraidStats stats;
        LogCapture log(LOG_DEBUG);
        QCOMPARE(shown(stats), QString("tx 2 rx 0"));
        deliver(statsWithConns("1:1 2:2", "tun_stats {sess sid:i=3 pl:i=40 rpr:i=70"));
        QCOMPARE(shown(stats), QString("tx* 6 rx 0"));
        QVERIFY(log.all().find("Tunnel Session Stats Update") != std::string::npos);
        // The keypad: Left and Right swap the direction buttons on a press, Up and Down leave the
        // focus where it is, Enter presses the one with the focus.
        QVERIFY(showActive(&stats));
        stats.radioTx->setFocus();
        for (auto [key, press] : {std::pair(Qt::Key_Right, true), std::pair(Qt::Key_Right, false), std::pair(Qt::Key_Down, true),
                                  std::pair(Qt::Key_Up, true), std::pair(Qt::Key_Enter, true), std::pair(Qt::Key_Enter, false)})
            stats.handleKey(key, press, false);
        QTRY_COMPARE(shown(stats), QString("tx 0 rx* 6"));
        QVERIFY(stats.radioRx->hasFocus());
        // Buttons of a new connection show in the direction on show.
        deliver(statsWithConns("1:1 2:2 3:3", "tun_stats {sess sid:i=3"));
        QCOMPARE(shown(stats), QString("tx 0 rx* 7"));
        emit stats.radioTx->clicked(false);
        emit stats.radioRx->clicked(false);
        QCOMPARE(shown(stats), QString("tx 0 rx* 7"));
        for (auto [key, press] : {std::pair(Qt::Key_Left, true), std::pair(Qt::Key_Enter, true), std::pair(Qt::Key_Enter, false)})
            stats.handleKey(key, press, false);
        QTRY_COMPARE(shown(stats), QString("tx* 7 rx 0"));

        // Each graph shows the session's own history, the transmit rates of the transmit direction:
        // "key:largest value" of session 3, then whether it holds sessions 3 and 4.
        const auto graphs = [&stats] {
            QStringList out;
            for (bool rx : {false, true}) {
                for (GraphWidget* graph : {static_cast<GraphWidget*>(stats.utilizationGraph(rx)), static_cast<GraphWidget*>(stats.lossGraph(rx))}) {
                    int min = 0;
                    int max = 0;
                    graph->range(3, &min, &max);
                    out << QString("%1:%2 %3%4").arg(graph->key()).arg(max).arg(graph->hasHistory(3)).arg(graph->hasHistory(4));
                }
            }
            return out.join(", ");
        };
        QCOMPARE(graphs(), QString("3:3 10, 3:40 10, 3:6 10, 3:70 10"));
        // A new session: the old one's buttons and history go, the same graphs serve the new one.
        UtilizationGrapher* graph = stats.utilizationGraph(false);
        deliver("tun_stats {sess sid:i=4}");
        QCOMPARE(shown(stats), QString("tx* 4 rx 0"));
        QCOMPARE(stats.utilizationGraph(false), graph);
        QCOMPARE(graphs(), QString("4:0 01, 4:0 01, 4:0 01, 4:0 01"));
    }
    void delayUpdateSetsSliders()
    {
        RequestLog requests;
        BraidStats stats;
        LogCapture log(LOG_DEBUG);
        // The request is dumped in the general category; another one, silenced here, hides it.
        g_log.set_log_level(1, LOG_NONE);
        deliver(statsWithConns("1:1 2:2", "tun_stats {sess sid:i=3 d:i=120 dm:i=300 d1:i=50 d2:i=100 d3:i=150 d4:i=200 d5:i=400 "
                                          "dma:b=false rd:i=60 rdm:i=200 rd1:i=40 rd2:i=80 rd3:i=120 rd4:i=160 rd5:i=200 rdma:b=true"));
        // "value/maximum marker zones enabled auto checked"
        QStringList sliders;
        for (bool rx : {false, true}) {
            const DelaySlider* slider = rx ? stats.rxSlider() : stats.txSlider();
            const auto& zones = slider->zones();
            sliders << QString::asprintf("%d/%d %d %d,%d,%d,%d,%d %d%d%d", slider->value(), slider->maximum(), slider->marker(), zones[0], zones[1],
                                         zones[2], zones[3], zones[4], slider->isEnabled(), slider->isAuto(),
                                         (rx ? stats.rxAuto() : stats.txAuto())->isChecked());
        }
        QCOMPARE(sliders, QStringList({"300/400 30 12,12,12,12,52 100", "200/200 30 20,20,20,20,20 011"}));
        // The check box that changed reports the change to the unit like a click.
        QCOMPARE(requests.requests().size(), std::size_t(1));
        QCOMPARE(requests.lastTree(), tunnelTree("setMaxDelay sid:i=3 remote:b=true auto:b=true").dump_text());
        for (const char* line : {"Tunnel Session Delay Update", "TunnelSession id=3", "  setMaxDelay "})
            QVERIFY2(log.all().find(line) != std::string::npos, line);
    }
    void delayRequests_data()
    {
        QTest::addColumn<QString>("action"); // direction, slider value, then released or auto
        QTest::addColumn<QString>("request");
        QTest::newRow("released at 5 sends 10") << "tx 5 released" << "remote:b=false delay:i=10 auto:b=false";
        QTest::newRow("receive") << "rx 150 released" << "remote:b=true delay:i=150 auto:b=false";
        QTest::newRow("automatic sends no delay") << "tx 250 auto" << "remote:b=false auto:b=true";
        QTest::newRow("receive automatic") << "rx 250 auto" << "remote:b=true auto:b=true";
        QTest::newRow("no session, nothing sent") << "none 250 released" << "";
    }
    void delayRequests()
    {
        RequestLog requests;
        BraidStats stats;
        QFETCH(QString, action);
        QFETCH(QString, request);

        const QStringList words = action.split(' ');
        const bool receive = words.value(0) == "rx";
        deliver(words.value(0) == "none" ? "tun_stats" : statsWithConns("1:1 2:2", "tun_stats {sess sid:i=3 d5:i=400 rd5:i=400"));
        DelaySlider* slider = receive ? stats.rxSlider() : stats.txSlider();
        slider->setValue(words.value(1).toInt());
        const std::size_t before = requests.requests().size();
        if (words.value(2) == "auto")
            (receive ? stats.rxAuto() : stats.txAuto())->setChecked(true);
        else
            emit slider->sliderReleased();
        QCOMPARE(requests.requests().size(), before + !request.isEmpty());
        if (!request.isEmpty())
            QCOMPARE(requests.lastTree(), tunnelTree("setMaxDelay sid:i=3 " + request).dump_text());
    }
    // A button relabels on a change of either label, and renumbers itself when moved.
    void buttonLabels()
    {
        LogCapture log(LOG_DEBUG);
        QWidget ifc;
        ifc.resize(200, 120);
        for (auto [first, second, text] : {std::tuple("Wired", "Far Wired", "(2) Wired>Far Wired"), std::tuple("Wired", "labels", "(2) Wired>labels"),
                                           std::tuple("old", "Far", "(2) old>Far"), std::tuple("", "Far", "Connection eth0"),
                                           std::tuple("Wired", "", "Connection eth0")}) {
            IFCButton button(&ifc, 2, "eth0", "old", "labels");
            QCOMPARE(button.y(), 120 - 3 * 20);
            button.setLabels(first, second, false);
            QCOMPARE(button.text(), QString(text));
            QVERIFY(log.all().find(QString("setlabels %1 %2 2").arg(first, second).toStdString()) != std::string::npos);
            button.setPosition(0);
            QCOMPARE(button.y(), 100);
            QCOMPARE(button.text(), QString(text).replace("(2)", "(0)"));
        }
    }
    // The zones over w = 400 - 10 + 1 = 391 pixels from x = 5, the marker at half the range: the
    // points, the range, automatic, then the zones in percent and the label at the right.
    void slider()
    {
        using Zones = std::array<int, DelaySlider::kZones>;
        const Zones even = {50, 100, 150, 200, 400};
        for (auto [points, range, automatic, zones, right] :
             {std::tuple(even, 400, false, Zones{12, 12, 12, 12, 52}, "400ms"), std::tuple(even, 400, true, Zones{12, 12, 12, 12, 52}, "400ms"),
              std::tuple(Zones{0, 0, 0, 300, 300}, 300, false, Zones{0, 0, 0, 100, 0}, "300ms"),
              std::tuple(Zones{0, 0, 0, 0, 1}, 1, false, Zones{0, 0, 0, 0, 100}, "1ms"),
              std::tuple(Zones{50, 100, 150, 200, 0}, 0, false, Zones{0, 0, 0, 0, 0}, "100ms")}) {
            QWidget placeholder;
            placeholder.resize(400, 50);
            DelaySlider slider(&placeholder);
            slider.setZones(points, range);
            QCOMPARE(slider.zones(), zones);
            QCOMPARE(slider.rightLabel()->text(), QString(right));
            QCOMPARE(slider.maximum(), range > 0 ? range : 99);
            slider.setMaximum(7);
            slider.setMarker(range / 2, range);
            QCOMPARE(slider.marker(), range > 1 ? 50 : 0);
            QCOMPARE(slider.maximum(), range > 0 ? range : 7);
            slider.setValue(380);
            slider.setAuto(automatic);
            const QColor background(1, 2, 3);
            const QImage image = paint(slider, background);

            const int w = 391;
            const std::array<QColor, 5> colours = {QColor(255, 0, 0), QColor(255, 187, 0), QColor(255, 255, 0), QColor(0, 255, 0),
                                                   QColor(238, 238, 238)};
            int x = 5;
            for (std::size_t zone = 0; zone < 5; ++zone) {
                const int width = zones[zone] * w / 100;
                if (width > 0) {
                    QCOMPARE(QColor(image.pixel(x + width / 4, 36)), colours[zone]);
                    QCOMPARE(QColor(image.pixel(x + width - 1, 44)), colours[zone]);
                }
                x += width;
            }
            // With no bar the marker sits where the bar would start.
            QCOMPARE(QColor(image.pixel(x + 1, 40)), x > 5 ? background : QColor(Qt::black));
            QCOMPARE(QColor(image.pixel(5 + slider.marker() * w / 100, 40)), QColor(Qt::black));
            // The standard slider (groove, handle) is drawn only in manual mode.
            int drawnOutsideTheBar = 0;
            for (int y = 0; y < image.height(); ++y) {
                for (int px = 0; px < image.width(); ++px)
                    drawnOutsideTheBar += (y < 34 || y > 46) && QColor(image.pixel(px, y)) != background;
            }
            QCOMPARE(drawnOutsideTheBar > 0, !automatic);
        }
    }
    // Plots of 360 x 100 pixels: 3-pixel columns, the newest at x = 357..359. Each point is the
    // middle of a column, "sample:y=colour"; then the labels of the range 0 to 40.
    void graphColumns()
    {
        QWidget placeholder;
        placeholder.resize(400, 100);
        auto* rates = new UtilizationGrapher(&placeholder);
        auto* loss = new LossLateRecoveryGrapher(&placeholder);
        rates->addSample(7, {40}, false);
        rates->addSample(7, {10, 20}, false);
        rates->addSample(7, {20, 0, 0, 99}, true);
        rates->addSample(7, {20}, false);
        // Another session's history does not show.
        rates->addSample(8, {1000, 1000, 1000}, true);
        for (int sample = 0; sample < 4; ++sample)
            loss->addSample(7, 100, 200, 300);
        // Rates 40 | 10 20 | boundary 20 | 20 scaled to the largest, the columns before the boundary
        // grey; 10% loss, 20% late and 30% recovery stacked from the bottom.
        for (auto [graph, expected] : {std::pair<GraphWidget*, QString>(rates, "0:10=#444444 1:90=#444444 1:75=#222222 1:50=#666666 "
                                                                               "1:10=#1e1e1e 2:90=#cc00cc 2:20=#1e1e1e 3:60=#cc00cc 3:48=#1e1e1e | 40 Kbps 0"),
                                       std::pair<GraphWidget*, QString>(loss, "3:95=#770000 3:91=#770000 3:80=#dd0000 3:50=#44cc00 3:30=#1e1e1e | 100%  0%")}) {
            graph->setKey(7);
            const QImage image = paint(*graph, Qt::white);
            QStringList shown;
            for (const QString& point : expected.section(" | ", 0, 0).split(' ')) {
                const int x = 3 * (116 + point.section(':', 0, 0).toInt()) + 1;
                shown << point.section('=', 0, 0) + "=" + QColor(image.pixel(x, point.section(':', 1).section('=', 0, 0).toInt())).name();
            }
            const GraphWidget::Labels text = graph->labels(0, 40);
            QCOMPARE(shown.join(' ') + " | " + text.top + " " + text.middle + " " + text.bottom, expected);
        }
    }
    // Listed on show, edited with the keypad, read again on coming back with the same row selected.
    void listEditAndComeBack()
    {
        LogCapture log(LOG_DEBUG);
        RequestLog requests;
        BraidSettings screen;
        QStringList edited;
        connect(&screen, &BraidSettings::editBraidSetting, this, [&edited](const std::string& path) { edited << QString::fromStdString(path); });
        QTreeWidget* list = screen.treeSettings;
        answer("braidSettings", kTunnel);
        QVERIFY(list->topLevelItemCount() == 0 && !screen.buttonEdit->isEnabled());
        QVERIFY(showActive(&screen));
        list->clearFocus();
        screen.paneAboutToShow();
        QVERIFY(list->hasFocus());
        QCOMPARE(requests.lastTree(), tree(R"(<m n="cfgDescribe"><s k="path">netmgr.tunnel</s></m>)"));
        QCOMPARE(requests.requests().back().params().get_string("seq", ""), std::string("braidSettings"));
        answer("braidSettings", kTunnel);
        QCOMPARE(rows(list), QString("Braid, Maximum Delay"));
        QCOMPARE(list->topLevelItem(1)->text(1), QString("400"));
        list->setCurrentItem(list->topLevelItem(0));
        list->clearFocus();
        // Down moves through the list, Enter presses Edit.
        for (int key : {Qt::Key_Down, Qt::Key_Enter}) {
            for (bool press : {true, false})
                screen.handleKey(key, press, false);
        }
        QTRY_COMPARE(edited, QStringList{"netmgr.tunnel.max_delay"});
        for (const char* line : {"BraidSettings::handleRecvBraidSettings()", "edit braid setting path=netmgr.tunnel.max_delay"})
            QVERIFY2(log.all().find(line) != std::string::npos, line);
        QVERIFY(log.all().find("exception") == std::string::npos);

        // Off to the editor and back: read again, the same row selected, one edit per click.
        screen.paneAboutToHide();
        screen.paneAboutToShow();
        QCOMPARE(requests.requests().size(), std::size_t(2));
        answer("braidSettings", kTunnel);
        QCOMPARE(rows(list), QString("Braid, [Maximum Delay]"));
        screen.buttonEdit->click();
        QCOMPARE(edited.size(), 2);
        // Answers without the tunnel's settings keep the list.
        for (const char* other : {R"(<m n="resp"><m n="node"><m n="group"><s k="name">peers</s></m></m></m>)",
                                  R"(<m n="resp"><b k="fail">true</b></m>)"}) {
            answer("braidSettings", other);
            QCOMPARE(rows(list), QString("Braid, [Maximum Delay]"));
            QVERIFY(!screen.buttonEdit->isEnabled());
        }
    }
};

QTEST_MAIN(TestTunnel)
#include "test_tunnel.moc"
