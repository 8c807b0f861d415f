#include "bigmeter.h"

#include <QImage>
#include <QtTest>

namespace {
QImage render(BigMeter& meter)
{
    // Red shows through wherever the meter leaves a pixel unpainted.
    QImage image(meter.size(), QImage::Format_RGB32);
    image.fill(Qt::red);
    meter.render(&image);
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

// Counts its paints.
struct CountingMeter : BigMeter {
    CountingMeter() : BigMeter(200, 100) {}
    void paintEvent(QPaintEvent* event) override
    {
        ++paints;
        BigMeter::paintEvent(event);
    }
    int paints = 0;
};
} // namespace

// The bars' geometry is checked where it matters, in the meters' request (test_metering).
class TestBigMeter : public QObject {
    Q_OBJECT

private slots:
    void scaleFollowsModeAndPaintsEverything();
};

// dBu labels are dBFS + 20; the marks lie 6 dB apart from -60, so none of them reads 0 dBu.
void TestBigMeter::scaleFollowsModeAndPaintsEverything()
{
    CountingMeter meter;
    meter.show();
    QVERIFY(QTest::qWaitForWindowExposed(&meter));
    const QImage dbfs = render(meter);
    for (int y = 0; y < dbfs.height(); ++y) {
        for (int x = 0; x < dbfs.width(); ++x)
            QVERIFY2(dbfs.pixel(x, y) != qRgb(255, 0, 0), "a pixel left unpainted");
    }
    const int paints = meter.paints;
    meter.setModeDBU();
    QTRY_VERIFY(meter.paints > paints);
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

QTEST_MAIN(TestBigMeter)
#include "test_bigmeter.moc"
