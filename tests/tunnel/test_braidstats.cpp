// The tunnel statistics screen fed through the shared client: the view of each direction, the
// graphs, the delays and the requests they send, and the keypad.
#include "braidstats.h"
#include "cachefeeder.h"
#include "delayslider.h"
#include "ifcbutton.h"
#include "logcapture.h"
#include "losslaterecoverygrapher.h"
#include "platformkey.h"
#include "tunnelsession.h"
#include "tunneltree.h"
#include "utilizationgrapher.h"

#include <QCheckBox>
#include <QtTest>

namespace {

void notify(const QString& text)
{
    QMutexLocker lock(g_ipcClient.mutex());
    g_ipcClient.process_unso_id("tun_stats", tunnelTree(text));
}

// Session 3 with connections 1:1 and 2:2 (and 3:3 when `third`), its delays and rates given as params.
QString tunStats(const QString& sessParams, bool third = false)
{
    return "tun_stats {sess sid:i=3 " + sessParams + " {conn li:i=1 ri:i=1 tp:i=640000 rtp:i=320000} "
           "{conn li:i=2 ri:i=2 tp:i=128000 rtp:i=64000}" + (third ? " {conn li:i=3 ri:i=3}}" : "}");
}

const char* const kDelays = "d:i=120 dm:i=300 d1:i=50 d2:i=100 d3:i=150 d4:i=200 d5:i=400 dma:b=false "
                            "rd:i=60 rdm:i=200 rd1:i=40 rd2:i=80 rd3:i=120 rd4:i=160 rd5:i=200 rdma:b=true";

// A "setMaxDelay" request with these parameters, as the screen sends it.
void checkRequest(const Message& request, const char* params)
{
    QCOMPARE(request.name, std::string("setMaxDelay"));
    QCOMPARE(request.params(), Params((std::string(params) + " sid:i=3 seq=maxDelay").c_str()));
}

// Which of the direction's widgets and connection buttons are not hidden: "tx 2 rx 0".
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
        out += QString(rx ? " rx %1" : "tx %1").arg(count);
    }
    return out;
}

} // namespace

class TestBraidStats : public QObject {
    Q_OBJECT

private slots:
    void init()
    {
        m_requests = std::make_unique<cachefeeder::RequestLog>();
        m_stats = std::make_unique<BraidStats>();
    }
    void cleanup()
    {
        m_stats.reset();
        m_requests.reset();
    }
    void viewFollowsDirectionAndSession()
    {
        LogCapture log(LOG_DEBUG);
        QCOMPARE(shown(*m_stats), QString("tx 2 rx 0"));
        notify(tunStats("pl:i=40 rpr:i=70"));
        QVERIFY(m_stats->radioTx->isChecked());
        QCOMPARE(shown(*m_stats), QString("tx 6 rx 0"));
        QVERIFY(log.all().find("Tunnel Session Stats Update") != std::string::npos);
        // The keypad: Left and Right swap the direction buttons on a press, Up and Down leave the
        // focus where it is, Enter presses the one with the focus.
        QVERIFY(showActive(m_stats.get()));
        m_stats->radioTx->setFocus();
        for (auto [key, press] : {std::pair(Qt::Key_Right, true), std::pair(Qt::Key_Right, false), std::pair(Qt::Key_Down, true),
                                  std::pair(Qt::Key_Up, true), std::pair(Qt::Key_Enter, true), std::pair(Qt::Key_Enter, false)})
            m_stats->handleKey(key, press, false);
        QTRY_VERIFY(m_stats->radioRx->isChecked() && m_stats->radioRx->hasFocus());
        QCOMPARE(shown(*m_stats), QString("tx 0 rx 6"));
        // Buttons of a new connection show in the direction on show.
        notify(tunStats("", true));
        QCOMPARE(shown(*m_stats), QString("tx 0 rx 7"));
        emit m_stats->radioTx->clicked(false);
        emit m_stats->radioRx->clicked(false);
        QCOMPARE(shown(*m_stats), QString("tx 0 rx 7"));
        for (auto [key, press] : {std::pair(Qt::Key_Left, true), std::pair(Qt::Key_Enter, true), std::pair(Qt::Key_Enter, false)})
            m_stats->handleKey(key, press, false);
        QTRY_COMPARE(shown(*m_stats), QString("tx 7 rx 0"));

        // Each graph shows the session's own history, the transmit rates of the transmit direction.
        QStringList ranges;
        for (bool rx : {false, true}) {
            for (GraphWidget* graph : {static_cast<GraphWidget*>(m_stats->utilizationGraph(rx)), static_cast<GraphWidget*>(m_stats->lossGraph(rx))}) {
                int min = 0;
                int max = 0;
                graph->range(3, &min, &max);
                ranges << QString("%1:%2").arg(graph->key()).arg(max);
            }
        }
        QCOMPARE(ranges.join(' '), QString("3:640 3:40 3:320 3:70"));
        // A new session: the old one's buttons and history go, the graphs stay for the new one.
        UtilizationGrapher* graph = m_stats->utilizationGraph(false);
        notify("tun_stats {sess sid:i=4}");
        QVERIFY(m_stats->radioTx->isChecked());
        QCOMPARE(shown(*m_stats), QString("tx 4 rx 0"));
        QCOMPARE(m_stats->utilizationGraph(false), graph);
        QCOMPARE(graph->key(), 4);
        for (bool rx : {false, true}) {
            QVERIFY(!m_stats->utilizationGraph(rx)->hasHistory(3));
            QVERIFY(!m_stats->lossGraph(rx)->hasHistory(3));
            QVERIFY(m_stats->lossGraph(rx)->hasHistory(4));
        }
    }
    void delayUpdateSetsSliders()
    {
        LogCapture log(LOG_DEBUG);
        notify(tunStats(kDelays));
        // "value/maximum marker zones enabled auto checked"
        QStringList sliders;
        for (bool rx : {false, true}) {
            const DelaySlider* slider = rx ? m_stats->rxSlider() : m_stats->txSlider();
            const auto& zones = slider->zones();
            sliders << QString::asprintf("%d/%d %d %d,%d,%d,%d,%d %d%d%d", slider->value(), slider->maximum(), slider->marker(), zones[0], zones[1],
                                         zones[2], zones[3], zones[4], slider->isEnabled(), slider->isAuto(),
                                         (rx ? m_stats->rxAuto() : m_stats->txAuto())->isChecked());
        }
        QCOMPARE(sliders, QStringList({"300/400 30 12,12,12,12,52 100", "200/200 30 20,20,20,20,20 011"}));
        // The check box that changed reports the change to the unit like a click.
        QCOMPARE(m_requests->requests().size(), std::size_t(1));
        checkRequest(m_requests->requests().back(), "remote:b=true auto:b=true");
        for (const char* line : {"Tunnel Session Delay Update", "TunnelSession id=3", "  setMaxDelay "})
            QVERIFY2(log.all().find(line) != std::string::npos, line);
    }
    void delayRequests_data()
    {
        QTest::addColumn<QString>("stats");
        QTest::addColumn<bool>("receive");
        QTest::addColumn<bool>("automatic");
        QTest::addColumn<int>("value");
        QTest::addColumn<QString>("request");

        const QString stats = tunStats("d5:i=400 rd5:i=400");
        QTest::newRow("released at 5 sends 10") << stats << false << false << 5 << "remote:b=false delay:i=10 auto:b=false";
        QTest::newRow("receive") << stats << true << false << 150 << "remote:b=true delay:i=150 auto:b=false";
        QTest::newRow("automatic sends no delay") << stats << false << true << 250 << "remote:b=false auto:b=true";
        QTest::newRow("receive automatic") << stats << true << true << 250 << "remote:b=true auto:b=true";
        QTest::newRow("no session, nothing sent") << "tun_stats" << false << false << 250 << "";
    }
    void delayRequests()
    {
        QFETCH(QString, stats);
        QFETCH(bool, receive);
        QFETCH(bool, automatic);
        QFETCH(int, value);
        QFETCH(QString, request);

        notify(stats);
        DelaySlider* slider = receive ? m_stats->rxSlider() : m_stats->txSlider();
        slider->setValue(value);
        const std::size_t before = m_requests->requests().size();
        if (automatic)
            (receive ? m_stats->rxAuto() : m_stats->txAuto())->setChecked(true);
        else
            emit slider->sliderReleased();
        QCOMPARE(m_requests->requests().size(), before + !request.isEmpty());
        if (!request.isEmpty())
            checkRequest(m_requests->requests().back(), request.toUtf8().constData());
    }
private:
    std::unique_ptr<cachefeeder::RequestLog> m_requests;
    std::unique_ptr<BraidStats> m_stats;
};

QTEST_MAIN(TestBraidStats)
#include "test_braidstats.moc"
