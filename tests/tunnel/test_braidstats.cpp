// The tunnel statistics screen fed through the shared client: the view of each direction, the
// delay requests it sends, the keypad, and the status bar's tunnel indicator.
#include "braidstats.h"
#include "delayslider.h"
#include "ifcbutton.h"
#include "offline.h"
#include "platformkey.h"
#include "shellfixture.h"
#include "statusbar.h"
#include "tunnelsession.h"

#include <QCheckBox>
#include <QMutexLocker>
#include <QtTest>

namespace {

void notify(const std::string& id, const Message& msg)
{
    QMutexLocker lock(g_ipcClient.mutex());
    g_ipcClient.process_unso_id(id, msg);
}

// A "tun_stats" of session 3 with two connections, its delays and rates given as params.
Message tunStats(const std::string& sessParams, const std::string& txCodec = std::string())
{
    Message stats("tun_stats");
    if (!txCodec.empty())
        stats.add_child("codec").add_child(Message("enc", Params(txCodec.c_str())));
    Message& sess = stats.add_child(Message("sess", Params(("sid:i=3 addr=198.51.100.23 " + sessParams).c_str())));
    sess.add_child(Message("conn", Params("li:i=1 ri:i=1 tp:i=640000 rtp:i=320000")));
    sess.add_child(Message("conn", Params("li:i=2 ri:i=2 tp:i=128000 rtp:i=64000")));
    return stats;
}

const char* const kDelays = "d:i=120 dm:i=300 d1:i=50 d2:i=100 d3:i=150 d4:i=200 d5:i=400 dma:b=false "
                            "rd:i=60 rdm:i=200 rd1:i=40 rd2:i=80 rd3:i=120 rd4:i=160 rd5:i=200 rdma:b=true";

// "remote=false sid=3 delay=10 auto=false", absent keys left out.
QString describe(const Message& request)
{
    QStringList out;
    const Params& p = request.params();
    for (const char* key : {"remote", "sid", "delay", "auto"}) {
        if (p.has_param(key))
            out << QString("%1=%2").arg(key, QString::fromStdString(p.get_string(key, "")));
    }
    return request.name.c_str() + QString(" ") + out.join(' ');
}

} // namespace

class TestBraidStats : public QObject {
    Q_OBJECT

private slots:
    void init();
    void cleanup();
    void sessionShowsTransmitView();
    void delayUpdateSetsSliders();
    void delayRequests_data();
    void delayRequests();
    void nothingSentWithoutSession();
    void keypad();
    void indicatorColours_data();
    void indicatorColours();

private:
    std::unique_ptr<ShellFixture> m_shell;
    BraidStats* m_stats = nullptr;
};

void TestBraidStats::init()
{
    m_shell = std::make_unique<ShellFixture>();
    // Ready only after the offline screen came up by itself, as at start: it would otherwise
    // come up later and take the window's activation away.
    QTRY_VERIFY(m_shell->window->offlineScreen().isVisible());
    m_shell->setState(IPCClient::IPC_READY);
    m_shell->window->pane().showScreen(Pane::ScreenBraidStats);
    m_stats = &m_shell->window->pane().braidStats();
}

void TestBraidStats::cleanup()
{
    // The session goes with a "tun_stats" without "sess", as the unit ends a call.
    notify("tun_stats", Message("tun_stats"));
    m_shell.reset();
}

void TestBraidStats::sessionShowsTransmitView()
{
    notify("tun_stats", tunStats(kDelays));
    QVERIFY(m_stats->radioTx->isChecked());
    QVERIFY(m_stats->txSlider()->isVisible());
    QVERIFY(!m_stats->rxSlider()->isVisible());
    const TunnelSession& session = *m_stats->tunnelInfo().session();
    QCOMPARE(session.txButtons().size(), std::size_t(2));
    for (const auto& entry : session.txButtons())
        QVERIFY(entry.second->isVisible());
    for (const auto& entry : session.rxButtons())
        QVERIFY(!entry.second->isVisible());

    m_stats->radioRx->click();
    QVERIFY(m_stats->rxAuto()->isVisible());
    QVERIFY(!m_stats->txAuto()->isVisible());
    for (const auto& entry : session.txButtons())
        QVERIFY(!entry.second->isVisible());
    for (const auto& entry : session.rxButtons())
        QVERIFY(entry.second->isVisible());
}

void TestBraidStats::delayUpdateSetsSliders()
{
    notify("tun_stats", tunStats(kDelays));
    const DelaySlider* tx = m_stats->txSlider();
    QCOMPARE(tx->value(), 300);
    QCOMPARE(tx->maximum(), 400);
    QCOMPARE(tx->marker(), 30);
    QCOMPARE(tx->zones(), (std::array<int, 5>{12, 12, 12, 12, 52}));
    QVERIFY(tx->isEnabled());
    QVERIFY(!tx->isAuto());
    QVERIFY(!m_stats->txAuto()->isChecked());

    const DelaySlider* rx = m_stats->rxSlider();
    QCOMPARE(rx->value(), 200);
    QCOMPARE(rx->marker(), 30);
    QVERIFY(!rx->isEnabled());
    QVERIFY(rx->isAuto());
    QVERIFY(m_stats->rxAuto()->isChecked());
}

void TestBraidStats::delayRequests_data()
{
    QTest::addColumn<bool>("receive");
    QTest::addColumn<bool>("automatic");
    QTest::addColumn<int>("value");
    QTest::addColumn<QString>("request");

    QTest::newRow("released at 5 sends 10") << false << false << 5 << "setMaxDelay remote=false sid=3 delay=10 auto=false";
    QTest::newRow("released at 250") << false << false << 250 << "setMaxDelay remote=false sid=3 delay=250 auto=false";
    QTest::newRow("receive direction") << true << false << 150 << "setMaxDelay remote=true sid=3 delay=150 auto=false";
    QTest::newRow("automatic sends no delay") << false << true << 250 << "setMaxDelay remote=false sid=3 auto=true";
}

void TestBraidStats::delayRequests()
{
    QFETCH(bool, receive);
    QFETCH(bool, automatic);
    QFETCH(int, value);
    QFETCH(QString, request);

    notify("tun_stats", tunStats("d5:i=400 rd5:i=400"));
    DelaySlider* slider = receive ? m_stats->rxSlider() : m_stats->txSlider();
    QCheckBox* check = receive ? m_stats->rxAuto() : m_stats->txAuto();
    slider->setValue(value);
    m_shell->sent.clear();
    if (automatic)
        check->setChecked(true);
    else
        emit slider->sliderReleased();
    QCOMPARE(m_shell->sent.size(), std::size_t(1));
    QCOMPARE(describe(m_shell->sent.back()), request);
    QCOMPARE(QString::fromStdString(m_shell->sent.back().params().get_string("seq", "")), QString("maxDelay"));
}

void TestBraidStats::nothingSentWithoutSession()
{
    m_shell->sent.clear();
    emit m_stats->txSlider()->sliderReleased();
    m_stats->rxAuto()->setChecked(true);
    QVERIFY(m_shell->sent.empty());
}

// Left and Right swap the direction buttons on a press; Up and Down leave the focus where it is.
void TestBraidStats::keypad()
{
    QVERIFY(showActive(m_shell->window.get()));
    notify("tun_stats", tunStats(kDelays));
    m_stats->radioTx->setFocus();
    m_stats->handleKey(Qt::Key_Right, true, false);
    QVERIFY(m_stats->radioRx->hasFocus());
    m_stats->handleKey(Qt::Key_Right, false, false);
    QVERIFY(m_stats->radioRx->hasFocus());
    m_stats->handleKey(Qt::Key_Left, true, false);
    QVERIFY(m_stats->radioTx->hasFocus());
    m_stats->handleKey(Qt::Key_Down, true, false);
    m_stats->handleKey(Qt::Key_Up, true, false);
    QVERIFY(m_stats->radioTx->hasFocus());
}

void TestBraidStats::indicatorColours_data()
{
    QTest::addColumn<QString>("sess");
    QTest::addColumn<QString>("txCodec");
    QTest::addColumn<QString>("colour");

    QTest::newRow("green") << "pl:i=100" << "" << "green";
    QTest::newRow("yellow") << "" << "nbr:i=2000000 tbr:i=1500000" << "yellow";
    QTest::newRow("red") << "rplt:i=101" << "" << "red";
    QTest::newRow("gray") << "" << "" << "gray";
}

void TestBraidStats::indicatorColours()
{
    QFETCH(QString, sess);
    QFETCH(QString, txCodec);
    QFETCH(QString, colour);

    QLabel* indicator = m_shell->window->statusBarWidget().labelBraidStatus;
    QVERIFY(!indicator->isVisible());
    notify("tun_stats", tunStats(""));
    if (colour == "gray")
        notify("tun_stats", Message("tun_stats"));
    else
        notify("tun_stats", tunStats(sess.toStdString(), txCodec.toStdString()));
    QVERIFY(indicator->isVisible());
    QCOMPARE(indicator->pixmap(Qt::ReturnByValue).toImage(), QPixmap(":/icons/braid_" + colour + ".png").toImage());
}

QTEST_MAIN(TestBraidStats)
#include "test_braidstats.moc"
