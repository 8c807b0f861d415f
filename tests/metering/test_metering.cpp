#include "ipcinstances.h"
#include "metering.h"

#include <QtTest>

#include <vector>

namespace {
// Rows 0 and 1 are the inputs' left and right channel, rows 2 and 3 the playback's.
Params bar(int x, int y, int width, int height, int row)
{
    Params params;
    for (const auto& [key, value] : {std::pair<const char*, int>{"x", x}, {"y", y}, {"width", width},
                                     {"height", height}, {"channel", row % 2}})
        params.set_uint(key, uint32_t(value));
    params.set_bool("playback", row >= 2);
    return params;
}

// Where the meters screen and the status bar sit in their window; the bars must count them in.
const QPoint kScreenOffset(10, 25);
const QPoint kStatusBarOffset(540, 452);
}

class TestMetering : public QObject {
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanup() { delete m_window; }
    void cleanupTestCase() { g_ipcClient.setRequestTap(nullptr); }
    void requestFollowsFlags_data();
    void requestFollowsFlags();
    void unchangedFlagsSendNothing();
    void suspendSignalsFollowTheRequest();

private:
    // The bars a request should carry: the small meter's in the status bar, then the big meter's
    // (200 x 100 gives bars 170 long and 17 high).
    std::vector<Params> expectedBars(bool small, bool big) const;
    void setReady(bool ready);

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

void TestMetering::init()
{
    m_window = new QWidget;
    m_statusBar = new QWidget(m_window);
    m_statusBar->move(kStatusBarOffset);
    m_metering = new Metering(m_window);
    m_metering->move(kScreenOffset);
    m_sent.clear();
}

std::vector<Params> TestMetering::expectedBars(bool small, bool big) const
{
    std::vector<Params> bars;
    const int smallRows[4] = {453, 456, 460, 463};
    const int bigRows[4] = {0, 19, 64, 83};
    const QPoint origin = kScreenOffset + m_metering->meterWidget->pos();
    for (int row = 0; small && row < 4; ++row)
        bars.push_back(bar(kStatusBarOffset.x(), smallRows[row], 78, 2, row));
    for (int row = 0; big && row < 4; ++row)
        bars.push_back(bar(origin.x() + 15, origin.y() + bigRows[row], 170, 17, row));
    return bars;
}

void TestMetering::setReady(bool ready)
{
    emit g_ipcClient.changedState(ready ? IPCClient::IPC_READY : IPCClient::IPC_LOGGED_IN, false);
}

// flags: s small meter created, r link ready, b big meter enabled, u suspended, p big meter paused.
void TestMetering::requestFollowsFlags_data()
{
    QTest::addColumn<QString>("flags");
    QTest::addColumn<bool>("smallBars");
    QTest::addColumn<bool>("bigBars");

    QTest::newRow("link not ready") << "sb" << false << true;
    QTest::newRow("ready, other screen") << "sr" << true << false;
    QTest::newRow("ready, meters shown") << "srb" << true << true;
    QTest::newRow("menu over meters") << "srbp" << true << false;
    QTest::newRow("suspended and paused") << "srbup" << false << false;
    QTest::newRow("suspended, big running") << "srbu" << false << true;
    QTest::newRow("no small meter") << "rb" << false << true;
}

void TestMetering::requestFollowsFlags()
{
    QFETCH(QString, flags);
    QFETCH(bool, smallBars);
    QFETCH(bool, bigBars);

    if (flags.contains('s'))
        m_metering->createSmallMeter(m_statusBar);
    // Going ready always changes a flag, so at least one request leaves; the last one counts.
    setReady(true);
    setReady(flags.contains('r'));
    m_metering->setBigMeterEnabled(flags.contains('b'));
    m_metering->setSuspended(flags.contains('u'), flags.contains('p'));

    const std::vector<Params> expected = expectedBars(smallBars, bigBars);
    QVERIFY(!m_sent.empty());
    const Message request = m_sent.back();
    QCOMPARE(request.name, std::string("setMetering"));
    QCOMPARE(request.child_count(), expected.size());
    for (std::size_t i = 0; i < expected.size(); ++i) {
        QCOMPARE(request.child(i).name, std::string("meter"));
        QVERIFY2(request.child(i).params() == expected[i], request.child(i).dump_text().c_str());
    }
}

void TestMetering::unchangedFlagsSendNothing()
{
    m_metering->createSmallMeter(m_statusBar);
    emit g_ipcClient.changedState(IPCClient::IPC_LOGGED_IN, false);
    m_metering->setSuspended(false, false);
    QCOMPARE(m_sent.size(), std::size_t(0));

    setReady(true);
    emit g_ipcClient.changedState(IPCClient::IPC_READY, true);
    QCOMPARE(m_sent.size(), std::size_t(1));
    m_metering->setBigMeterEnabled(true);
    m_metering->setBigMeterEnabled(true);
    QCOMPARE(m_sent.size(), std::size_t(2));
    // Either suspension flag alone is a change.
    m_metering->setSuspended(false, true);
    m_metering->setSuspended(false, true);
    QCOMPARE(m_sent.size(), std::size_t(3));
}

void TestMetering::suspendSignalsFollowTheRequest()
{
    QList<std::size_t> sentAtSuspended;
    QList<std::size_t> sentAtActive;
    connect(m_metering, &Metering::metersSuspended, this, [&] { sentAtSuspended << m_sent.size(); });
    connect(m_metering, &Metering::metersActive, this, [&] { sentAtActive << m_sent.size(); });

    m_metering->setSuspended(true, true);
    m_metering->setSuspended(true, true);
    m_metering->setSuspended(false, false);
    QCOMPARE(sentAtSuspended, QList<std::size_t>{1});
    QCOMPARE(sentAtActive, QList<std::size_t>{2});
}

QTEST_MAIN(TestMetering)
#include "test_metering.moc"
