#include "bigmeter.h"
#include "ipcinstances.h"
#include "metering.h"
#include "screentest.h"
#include "smallmeter.h"

#include <QImage>
#include <QtTest>

namespace {
QString bar(uint x, uint y, uint width, uint height, uint channel, bool playback)
{
    return QStringLiteral("%1,%2 %3x%4 %5 %6").arg(x).arg(y).arg(width).arg(height).arg(channel).arg(playback);
}

// The background shows through wherever the widget leaves a pixel unpainted.
QImage render(QWidget& widget, Qt::GlobalColor background = Qt::red)
{
    QImage image(widget.size(), QImage::Format_RGB32);
    image.fill(background);
    widget.render(&image);
    return image;
}

int darkPixels(const QImage& image, const QRect& area)
{
    int dark = 0;
    for (int y = area.top(); y <= area.bottom(); ++y) {
        for (int x = area.left(); x <= area.right(); ++x)
            dark += qGray(image.pixel(x, y)) < 64 ? 1 : 0;
    }
    return dark;
}

// How many pixels wide the ticks above and below the scale are at mark t (dBFS -60..0): 2 for
// the bold mark.
std::pair<int, int> tickWidths(const QImage& image, const BigMeter& meter, int t)
{
    const int x = meter.barX() + meter.barLength() + meter.barLength() * t / 60;
    return {darkPixels(image, QRect(x - 3, meter.height() / 2 - 9, 7, 1)), darkPixels(image, QRect(x - 3, meter.height() / 2 + 9, 7, 1))};
}

void setReady(bool ready, bool defaultPassword = false)
{
    emit g_ipcClient.changedState(ready ? IPCClient::IPC_READY : IPCClient::IPC_LOGGED_IN, defaultPassword);
}
} // namespace

// The meters screen sits at (10, 25) in its window and the status bar at (540, 452); the bars
// must count them in.
class TestMetering : public QObject {
    Q_OBJECT

private slots:
    void init()
    {
        m_window = new QWidget;
        m_statusBar = new QWidget(m_window);
        m_statusBar->move(540, 452);
        m_metering = new Metering(m_window);
        m_metering->move(10, 25);
        m_sent.clear();
        g_ipcClient.setRequestTap([this](const Message& request) { m_sent.push_back(request); });
    }

    void cleanup() { delete m_window; }
    void cleanupTestCase() { g_ipcClient.setRequestTap(nullptr); }
    // Flags (s small meter created, r link ready, b big meter enabled, u suspended, p big meter
    // paused) | the small meter's bars sent | the big meter's.
    void requestFollowsFlags_data()
    {
        rows(R"(
          link not ready        | sb    | 0 | 1
          ready, other screen   | sr    | 1 | 0
          ready, meters shown   | srb   | 1 | 1
          menu over meters      | srbp  | 1 | 0
          suspended and paused  | srbup | 0 | 0
          no small meter        | rb    | 0 | 1)");
    }

    void requestFollowsFlags()
    {
        const auto [flags, smallBars, bigBars] = cells<3>();
        if (flags.contains('s'))
            m_metering->createSmallMeter(m_statusBar);
        // Going ready always changes a flag, so at least one request leaves; the last one counts.
        setReady(true);
        setReady(flags.contains('r'));
        m_metering->setBigMeterEnabled(flags.contains('b'));
        m_metering->setSuspended(flags.contains('u'), flags.contains('p'));

        // Rows 0 and 1 are the input's L and R, 2 and 3 the playback's. The big meter is 200 x 100:
        // bars 170 long and 17 high, 15 in from its left.
        QStringList expected, sent;
        const int smallRows[4] = {453, 456, 460, 463}, bigRows[4] = {0, 19, 64, 83};
        const QPoint origin = QPoint(10, 25) + m_metering->meterWidget->pos();
        for (int row = 0; smallBars == "1" && row < 4; ++row)
            expected << bar(540, smallRows[row], 78, 2, row % 2, row >= 2);
        for (int row = 0; bigBars == "1" && row < 4; ++row)
            expected << bar(origin.x() + 15, origin.y() + bigRows[row], 170, 17, row % 2, row >= 2);
        QCOMPARE(m_sent.back().name, std::string("setMetering"));
        for (std::size_t i = 0; i < m_sent.back().child_count(); ++i) {
            const Message& meter = m_sent.back().child(i);
            const Params& p = meter.params();
            sent << QString::fromStdString(meter.name == "meter" ? "" : meter.name) + bar(p.get_uint("x", 0), p.get_uint("y", 0),
                p.get_uint("width", 0), p.get_uint("height", 0), p.get_uint("channel", 9), p.get_bool("playback", false));
        }
        QCOMPARE(sent, expected);
    }

    // Every change of a flag sends the whole set once; the screen hears after each request, and
    // after the unit's answer, whether the meters are suspended.
    void onlyChangesSendAndAnnounce()
    {
        QStringList events;
        connect(m_metering, &Metering::metersSuspended, this, [&] { events << QStringLiteral("S%1").arg(m_sent.size()); });
        connect(m_metering, &Metering::metersActive, this, [&] { events << QStringLiteral("A%1").arg(m_sent.size()); });
        QSignalSpy clicked(m_metering, &Metering::smallMeterClicked);
        m_metering->createSmallMeter(m_statusBar);
        setReady(false);
        m_metering->setSuspended(false, false);
        setReady(true);
        setReady(true, true);
        m_metering->setBigMeterEnabled(true);
        m_metering->setBigMeterEnabled(true);
        events << QString::number(m_sent.size());
        for (const char* slot : {"menuAboutToShow", "menuAboutToShow", "menuAboutToHide"})
            QMetaObject::invokeMethod(m_metering, slot);
        m_metering->setSuspended(true, true);
        emit g_ipcClient.recvSetMetering();
        m_metering->setSuspended(false, false);
        emit g_ipcClient.recvSetMetering();
        QCOMPARE(events.join(' '), QString("2 A3 A4 S5 S5 A6 A6"));

        SmallMeter* small = m_statusBar->findChild<SmallMeter*>();
        QTest::mouseClick(small, Qt::LeftButton);
        QCOMPARE(clicked.count(), 1);
        // The backend draws the bars: the small meter paints no pixel over them.
        QCOMPARE(render(*small).pixel(small->width() / 2, small->height() / 2), qRgb(255, 0, 0));
        const BigMeter* big = m_metering->findChild<BigMeter*>();
        QTest::mouseClick(m_metering->radioDBU, Qt::LeftButton);
        QCOMPARE(big->mode(), BigMeter::ModeDBU);
        QTest::mouseClick(m_metering->radioDBFS, Qt::LeftButton);
        QCOMPARE(big->mode(), BigMeter::ModeDBFS);
    }

    // dBu labels are dBFS + 20; the marks lie 6 dB apart from -60, so none of them reads 0 dBu.
    void bigMeterScaleFollowsModeAndPaintsEverything()
    {
        BigMeter meter(200, 100);
        const QImage dbfs = render(meter);
        QVERIFY2(render(meter, Qt::blue) == dbfs, "a pixel left unpainted");
        meter.setModeDBU();
        const QImage dbu = render(meter);
        QVERIFY(dbu != dbfs);
        for (int t = -60; t <= 0; t += 6) {
            QCOMPARE(tickWidths(dbfs, meter, t), std::make_pair(t == 0 ? 2 : 1, t == 0 ? 2 : 1));
            QCOMPARE(tickWidths(dbu, meter, t), std::make_pair(1, 1));
        }
        // Every row has its letter, bold in both modes; the labels stand between the ticks.
        for (int row = 0; row < 4; ++row) {
            const QRect letter(0, meter.rowY(row), 14, 16);
            QVERIFY(darkPixels(dbfs, letter) > 10);
            QCOMPARE(dbu.copy(letter), dbfs.copy(letter));
        }
        QVERIFY(darkPixels(dbfs, QRect(0, 44, meter.width(), 12)) > 100);
        meter.setModeFS();
        QCOMPARE(render(meter), dbfs);
        QCOMPARE((QStringList{BigMeter::markLabel(-6), BigMeter::markLabel(0), BigMeter::markLabel(1)}),
                 (QStringList{"-6", "0", "+1"}));
    }

private:
    std::vector<Message> m_sent;
    QWidget* m_window = nullptr;
    QWidget* m_statusBar = nullptr;
    Metering* m_metering = nullptr;
};

QTEST_MAIN(TestMetering)
#include "test_metering.moc"
