#include "bigmeter.h"
#include "ipcinstances.h"
#include "metering.h"
#include "smallmeter.h"

#include <QSignalSpy>
#include <QtTest>

#include <vector>

namespace {
struct Bar {
    int x, y, width, height, channel;
    bool playback;
};

Params barParams(const Bar &bar)
{
    Params params;
    params.set_uint("x", uint32_t(bar.x));
    params.set_uint("y", uint32_t(bar.y));
    params.set_uint("width", uint32_t(bar.width));
    params.set_uint("height", uint32_t(bar.height));
    params.set_uint("channel", uint32_t(bar.channel));
    params.set_bool("playback", bar.playback);
    return params;
}

const std::vector<Bar> kSmallBars = {
    {555, 461, 78, 2, 0, false},
    {555, 464, 78, 2, 1, false},
    {555, 468, 78, 2, 0, true},
    {555, 471, 78, 2, 1, true},
};

// Where the meters screen sits in its window; the bars must count it in.
const QPoint kScreenOffset(10, 25);
}

class TestMetering : public QObject {
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanup();
    void cleanupTestCase();

    void requestFollowsFlags_data();
    void requestFollowsFlags();
    void unchangedFlagsSendNothing();
    void suspendSignalsFollowTheRequest();
    void menuPausesOnlyTheBigMeter();
    void meterChangeAnswerReportsSuspension();
    void modeSwitchSendsNothing();
    void smallMeterClickIsRelayed();
    void arrowKeysWorkTheRadioButtons();
    void remoteScreenLeavesTheMetersAlone();

private:
    // The big meter's bars on the screen: 200 x 100 gives bars 170 long and 17 high.
    std::vector<Bar> bigBars() const;
    void setReady(bool ready);
    // An empty message when nothing was sent.
    Message lastRequest() const;

    std::vector<Message> m_sent;
    QWidget *m_window = nullptr;
    QWidget *m_statusBar = nullptr;
    Metering *m_metering = nullptr;
};

void TestMetering::initTestCase()
{
    qunsetenv("REMOTE_UI");
    g_ipcClient.setRequestTap([this](const Message &request) { m_sent.push_back(request); });
}

void TestMetering::cleanupTestCase()
{
    g_ipcClient.setRequestTap(nullptr);
}

void TestMetering::init()
{
    m_window = new QWidget;
    m_statusBar = new QWidget(m_window);
    m_metering = new Metering(m_window);
    m_metering->move(kScreenOffset);
    m_sent.clear();
}

void TestMetering::cleanup()
{
    delete m_window;
    m_window = nullptr;
}

std::vector<Bar> TestMetering::bigBars() const
{
    const QPoint origin = kScreenOffset + m_metering->meterWidget->pos();
    std::vector<Bar> bars;
    const int rows[4] = {0, 19, 64, 83};
    for (int row = 0; row < 4; ++row)
        bars.push_back({origin.x() + 15, origin.y() + rows[row], 170, 17, row % 2, row >= 2});
    return bars;
}

void TestMetering::setReady(bool ready)
{
    emit g_ipcClient.changedState(ready ? IPCClient::IPC_READY : IPCClient::IPC_LOGGED_IN, false);
}

Message TestMetering::lastRequest() const
{
    return m_sent.empty() ? Message() : m_sent.back();
}

void TestMetering::requestFollowsFlags_data()
{
    QTest::addColumn<bool>("smallCreated");
    QTest::addColumn<bool>("ready");
    QTest::addColumn<bool>("bigEnabled");
    QTest::addColumn<bool>("suspended");
    QTest::addColumn<bool>("bigPaused");
    QTest::addColumn<bool>("smallBars");
    QTest::addColumn<bool>("bigBars");

    QTest::newRow("link not ready") << true << false << true << false << false << false << true;
    QTest::newRow("ready, other screen") << true << true << false << false << false << true << false;
    QTest::newRow("ready, meters shown") << true << true << true << false << false << true << true;
    QTest::newRow("menu over meters") << true << true << true << false << true << true << false;
    QTest::newRow("paused on other screen") << true << true << false << false << true << true << false;
    QTest::newRow("suspended and paused") << true << true << true << true << true << false << false;
    QTest::newRow("suspended, big running") << true << true << true << true << false << false << true;
    QTest::newRow("no small meter") << false << true << true << false << false << false << true;
    QTest::newRow("no small meter, other screen") << false << true << false << false << false << false << false;
}

void TestMetering::requestFollowsFlags()
{
    QFETCH(bool, smallCreated);
    QFETCH(bool, ready);
    QFETCH(bool, bigEnabled);
    QFETCH(bool, suspended);
    QFETCH(bool, bigPaused);
    QFETCH(bool, smallBars);
    QFETCH(bool, bigBars);

    if (smallCreated)
        m_metering->createSmallMeter(m_statusBar);
    // Going ready always changes a flag, so at least one request leaves; the last one counts.
    setReady(true);
    if (!ready)
        setReady(false);
    m_metering->setBigMeterEnabled(bigEnabled);
    m_metering->setSuspended(suspended, bigPaused);

    std::vector<Bar> expected;
    if (smallBars)
        expected = kSmallBars;
    if (bigBars) {
        const std::vector<Bar> big = this->bigBars();
        expected.insert(expected.end(), big.begin(), big.end());
    }

    QVERIFY(!m_sent.empty());
    const Message request = lastRequest();
    QCOMPARE(request.name, std::string("setMetering"));
    QCOMPARE(request.params().get_string("seq", ""), std::string("metering"));
    QCOMPARE(request.child_count(), expected.size());
    for (std::size_t i = 0; i < expected.size(); ++i) {
        QCOMPARE(request.child(i).name, std::string("meter"));
        const Params &actual = request.child(i).params();
        if (actual != barParams(expected[i]))
            QFAIL(qPrintable(QStringLiteral("bar %1 differs:\n%2").arg(i).arg(
                QString::fromStdString(request.child(i).dump_text()))));
    }
}

void TestMetering::unchangedFlagsSendNothing()
{
    m_metering->createSmallMeter(m_statusBar);
    QCOMPARE(m_sent.size(), std::size_t(0));

    emit g_ipcClient.changedState(IPCClient::IPC_LOGGED_IN, false);
    emit g_ipcClient.changedState(IPCClient::IPC_UPDATING, false);
    m_metering->setBigMeterEnabled(false);
    m_metering->setSuspended(false, false);
    QCOMPARE(m_sent.size(), std::size_t(0));

    setReady(true);
    emit g_ipcClient.changedState(IPCClient::IPC_READY, true);
    QCOMPARE(m_sent.size(), std::size_t(1));

    m_metering->setBigMeterEnabled(true);
    m_metering->setBigMeterEnabled(true);
    QCOMPARE(m_sent.size(), std::size_t(2));

    m_metering->setSuspended(true, true);
    m_metering->setSuspended(true, true);
    QCOMPARE(m_sent.size(), std::size_t(3));

    // Either flag alone is a change.
    m_metering->setSuspended(true, false);
    QCOMPARE(m_sent.size(), std::size_t(4));

    emit g_ipcClient.changedState(IPCClient::IPC_DISCONNECTED, false);
    QCOMPARE(m_sent.size(), std::size_t(5));
}

void TestMetering::suspendSignalsFollowTheRequest()
{
    QList<std::size_t> sentAtSuspended;
    QList<std::size_t> sentAtActive;
    connect(m_metering, &Metering::metersSuspended, this, [&] { sentAtSuspended << m_sent.size(); });
    connect(m_metering, &Metering::metersActive, this, [&] { sentAtActive << m_sent.size(); });

    m_metering->setSuspended(true, true);
    QCOMPARE(sentAtSuspended, QList<std::size_t>{1});
    QCOMPARE(sentAtActive, QList<std::size_t>{});

    m_metering->setSuspended(true, true);
    QCOMPARE(sentAtSuspended, QList<std::size_t>{1});

    m_metering->setSuspended(false, false);
    QCOMPARE(sentAtActive, QList<std::size_t>{2});
}

void TestMetering::menuPausesOnlyTheBigMeter()
{
    m_metering->createSmallMeter(m_statusBar);
    setReady(true);
    m_metering->setBigMeterEnabled(true);
    QCOMPARE(lastRequest().child_count(), std::size_t(8));

    QSignalSpy active(m_metering, &Metering::metersActive);
    QVERIFY(QMetaObject::invokeMethod(m_metering, "menuAboutToShow"));
    QCOMPARE(lastRequest().child_count(), std::size_t(4));
    QCOMPARE(lastRequest().child(0).params(), barParams(kSmallBars[0]));
    QCOMPARE(active.count(), 1);

    QVERIFY(QMetaObject::invokeMethod(m_metering, "menuAboutToHide"));
    QCOMPARE(lastRequest().child_count(), std::size_t(8));
    QCOMPARE(active.count(), 2);

    // A menu opened while the meters were suspended resumes them.
    m_metering->setSuspended(true, true);
    QVERIFY(QMetaObject::invokeMethod(m_metering, "menuAboutToShow"));
    QCOMPARE(lastRequest().child_count(), std::size_t(4));
}

void TestMetering::meterChangeAnswerReportsSuspension()
{
    QSignalSpy suspended(m_metering, &Metering::metersSuspended);
    QSignalSpy active(m_metering, &Metering::metersActive);

    emit g_ipcClient.recvSetMetering();
    QCOMPARE(active.count(), 1);
    QCOMPARE(suspended.count(), 0);

    m_metering->setSuspended(true, false);
    const std::size_t sent = m_sent.size();
    emit g_ipcClient.recvSetMetering();
    QCOMPARE(suspended.count(), 2);
    QCOMPARE(active.count(), 1);
    QCOMPARE(m_sent.size(), sent);
}

void TestMetering::modeSwitchSendsNothing()
{
    setReady(true);
    m_metering->setBigMeterEnabled(true);
    const std::size_t sent = m_sent.size();
    auto *meter = m_metering->findChild<BigMeter *>();
    QVERIFY(meter);
    QCOMPARE(meter->mode(), BigMeter::ModeDBFS);

    m_metering->radioDBU->click();
    QCOMPARE(meter->mode(), BigMeter::ModeDBU);
    m_metering->radioDBFS->click();
    QCOMPARE(meter->mode(), BigMeter::ModeDBFS);
    QCOMPARE(m_sent.size(), sent);
}

void TestMetering::smallMeterClickIsRelayed()
{
    QSignalSpy clicked(m_metering, &Metering::smallMeterClicked);
    m_metering->createSmallMeter(m_statusBar);
    auto *meter = m_statusBar->findChild<SmallMeter *>();
    QVERIFY(meter);
    QCOMPARE(meter->size(), QSize(78, 14));

    QTest::mouseClick(meter, Qt::LeftButton);
    QCOMPARE(clicked.count(), 1);
}

void TestMetering::arrowKeysWorkTheRadioButtons()
{
    m_window->show();
    QVERIFY(QTest::qWaitForWindowActive(m_window));
    auto *meter = m_metering->findChild<BigMeter *>();
    m_metering->radioDBFS->setFocus();

    KeypadHandler &keypad = *m_metering;
    keypad.handleKey(Qt::Key_Right, true, false);
    keypad.handleKey(Qt::Key_Right, false, false);
    QVERIFY(m_metering->radioDBU->isChecked());
    QCOMPARE(meter->mode(), BigMeter::ModeDBU);

    keypad.handleKey(Qt::Key_Left, true, false);
    keypad.handleKey(Qt::Key_Left, false, false);
    QVERIFY(m_metering->radioDBFS->isChecked());
    QCOMPARE(meter->mode(), BigMeter::ModeDBFS);
}

void TestMetering::remoteScreenLeavesTheMetersAlone()
{
    qputenv("REMOTE_UI", "unit.example");
    setReady(true);
    m_metering->setBigMeterEnabled(true);
    qunsetenv("REMOTE_UI");
    QCOMPARE(m_sent.size(), std::size_t(0));

    m_metering->setBigMeterEnabled(false);
    QCOMPARE(m_sent.size(), std::size_t(1));
}

QTEST_MAIN(TestMetering)
#include "test_metering.moc"
