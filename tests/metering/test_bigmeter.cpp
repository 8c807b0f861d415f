#include "bigmeter.h"

#include <QImage>
#include <QtTest>

class TestBigMeter : public QObject {
    Q_OBJECT

private slots:
    void geometry_data();
    void geometry();
    void paintsItsWholeArea();
    void scaleFollowsMode_data();
    void scaleFollowsMode();

private:
    static QImage render(BigMeter &meter);
    // How many pixels wide the tick below the scale is at mark t (dBFS -60..0): 2 for the bold mark.
    static int tickWidth(const QImage &image, const BigMeter &meter, int t);
};

void TestBigMeter::geometry_data()
{
    QTest::addColumn<QSize>("size");
    QTest::addColumn<int>("length");
    QTest::addColumn<int>("thickness");
    QTest::addColumn<int>("x");
    QTest::addColumn<QList<int>>("rows");

    QTest::newRow("200 x 100") << QSize(200, 100) << 170 << 17 << 15 << QList<int>{0, 19, 64, 83};
    QTest::newRow("odd size") << QSize(201, 103) << 171 << 17 << 15 << QList<int>{0, 19, 67, 86};
}

void TestBigMeter::geometry()
{
    QFETCH(QSize, size);
    QFETCH(int, length);
    QFETCH(int, thickness);
    QFETCH(int, x);
    QFETCH(QList<int>, rows);

    BigMeter meter(size.width(), size.height());
    QCOMPARE(meter.size(), size);
    QCOMPARE(meter.minimumSize(), size);
    QCOMPARE(meter.maximumSize(), size);
    QCOMPARE(meter.barLength(), length);
    QCOMPARE(meter.barHeight(), thickness);
    QCOMPARE(meter.barX(), x);
    for (int row = 0; row < 4; ++row)
        QCOMPARE(meter.rowY(row), rows[row]);
}

QImage TestBigMeter::render(BigMeter &meter)
{
    // Red shows through wherever the meter leaves a pixel unpainted.
    QImage image(meter.size(), QImage::Format_RGB32);
    image.fill(Qt::red);
    meter.render(&image);
    return image;
}

int TestBigMeter::tickWidth(const QImage &image, const BigMeter &meter, int t)
{
    const int x = meter.barX() + meter.barLength() + meter.barLength() * t / 60;
    const int y = meter.height() / 2 + 9;
    int dark = 0;
    for (int column = x - 3; column <= x + 3; ++column)
        dark += qGray(image.pixel(column, y)) < 64 ? 1 : 0;
    return dark;
}

void TestBigMeter::paintsItsWholeArea()
{
    BigMeter meter(200, 100);
    const QImage image = render(meter);
    const QRgb background = qRgb(235, 235, 235);
    QCOMPARE(image.pixel(0, meter.height() / 2), background);
    QCOMPARE(image.pixel(meter.width() - 1, 0), background);
    QCOMPARE(image.pixel(meter.width() - 1, meter.height() - 1), background);
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            if (image.pixel(x, y) == qRgb(255, 0, 0))
                QFAIL(qPrintable(QStringLiteral("pixel %1,%2 left unpainted").arg(x).arg(y)));
        }
    }
}

void TestBigMeter::scaleFollowsMode_data()
{
    QTest::addColumn<bool>("dbu");
    QTest::addColumn<QList<int>>("boldMarks");

    // dBu labels are dBFS + 20; the marks lie 6 dB apart from -60, so none of them reads 0 dBu.
    QTest::newRow("dBFS") << false << QList<int>{0};
    QTest::newRow("dBu") << true << QList<int>{};
}

void TestBigMeter::scaleFollowsMode()
{
    QFETCH(bool, dbu);
    QFETCH(QList<int>, boldMarks);

    BigMeter meter(200, 100);
    const QImage dbfsImage = render(meter);
    if (dbu)
        meter.setModeDBU();
    const QImage image = render(meter);
    for (int t = -60; t <= 0; t += 6)
        QCOMPARE(tickWidth(image, meter, t), boldMarks.contains(t) ? 2 : 1);
    QCOMPARE(image != dbfsImage, dbu);

    meter.setModeFS();
    QCOMPARE(render(meter), dbfsImage);
}

QTEST_MAIN(TestBigMeter)
#include "test_bigmeter.moc"
