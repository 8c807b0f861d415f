// The tunnel screen's own widgets: connection buttons and the delay slider, painting checked by
// pixels.
#include "delayslider.h"
#include "ifcbutton.h"

#include <QImage>
#include <QLabel>
#include <QtTest>

class TestTunnelWidgets : public QObject {
    Q_OBJECT

private slots:
    void buttonLabels_data();
    void buttonLabels();
    void sliderZones_data();
    void sliderZones();
    void sliderPainting_data();
    void sliderPainting();
};

void TestTunnelWidgets::buttonLabels_data()
{
    QTest::addColumn<QString>("first");
    QTest::addColumn<QString>("second");
    QTest::addColumn<QString>("text");

    QTest::newRow("both labels") << "Wired" << "Far Wired" << "(2) Wired>Far Wired";
    QTest::newRow("empty first") << "" << "Far Wired" << "Connection eth0";
    QTest::newRow("empty second") << "Wired" << "" << "Connection eth0";
}

void TestTunnelWidgets::buttonLabels()
{
    QFETCH(QString, first);
    QFETCH(QString, second);
    QFETCH(QString, text);

    QWidget ifc;
    ifc.resize(200, 120);
    IFCButton button(&ifc, 2, "eth0", "old", "labels");
    QCOMPARE(button.size(), QSize(200, 16));
    QCOMPARE(button.y(), 120 - 3 * 20);
    QVERIFY(button.isFlat());
    QVERIFY(!button.isEnabled());

    button.setLabels(first, second, false);
    QCOMPARE(button.text(), text);
    // A moved button renumbers itself.
    button.setPosition(0);
    QCOMPARE(button.y(), 100);
    QCOMPARE(button.text(), QString(text).replace("(2)", "(0)"));
    QCOMPARE(button.palette().color(QPalette::ButtonText), QColor(204, 0, 204));
}

void TestTunnelWidgets::sliderZones_data()
{
    QTest::addColumn<QList<int>>("points");
    QTest::addColumn<int>("range");
    QTest::addColumn<QList<int>>("zones");
    QTest::addColumn<QString>("right");

    QTest::newRow("even steps") << QList<int>{50, 100, 150, 200, 400} << 400 << QList<int>{12, 12, 12, 12, 52}
                                << "400ms";
    QTest::newRow("all at the top") << QList<int>{0, 0, 0, 300, 300} << 300 << QList<int>{0, 0, 0, 100, 0} << "300ms";
    QTest::newRow("no range keeps the last") << QList<int>{50, 100, 150, 200, 0} << 0 << QList<int>{0, 0, 0, 0, 0}
                                             << "100ms";
}

void TestTunnelWidgets::sliderZones()
{
    QFETCH(QList<int>, points);
    QFETCH(int, range);
    QFETCH(QList<int>, zones);
    QFETCH(QString, right);

    QWidget placeholder;
    placeholder.resize(400, 50);
    DelaySlider slider(&placeholder);
    slider.setZones({points[0], points[1], points[2], points[3], points[4]}, range);
    QCOMPARE(QList<int>(slider.zones().begin(), slider.zones().end()), zones);
    QCOMPARE(slider.rightLabel()->text(), right);
    QCOMPARE(slider.maximum(), range > 0 ? range : 99);

    slider.setMarker(range / 4, range);
    QCOMPARE(slider.marker(), range > 0 ? 25 : 0);
}

void TestTunnelWidgets::sliderPainting_data()
{
    QTest::addColumn<bool>("automatic");
    QTest::newRow("manual") << false;
    QTest::newRow("automatic") << true;
}

// Zones 12 12 12 12 52 over w = 400 - 10 + 1 = 391 pixels from x = 5; the marker at 50%.
void TestTunnelWidgets::sliderPainting()
{
    QFETCH(bool, automatic);

    QWidget placeholder;
    placeholder.resize(400, 50);
    DelaySlider slider(&placeholder);
    slider.setZones({50, 100, 150, 200, 400}, 400);
    slider.setMarker(200, 400);
    slider.setValue(380);
    slider.setAuto(automatic);
    QImage image(slider.size(), QImage::Format_RGB32);
    const QColor background(1, 2, 3);
    image.fill(background);
    slider.render(&image, QPoint(), QRegion(), QWidget::RenderFlags());

    const int w = 391;
    const std::array<QColor, 5> colours = {QColor(255, 0, 0), QColor(255, 187, 0), QColor(255, 255, 0),
                                           QColor(0, 255, 0), QColor(238, 238, 238)};
    int x = 5;
    for (int zone = 0; zone < 5; ++zone) {
        const int width = (zone < 4 ? 12 : 52) * w / 100;
        QCOMPARE(QColor(image.pixel(x + 1, 36)), colours[std::size_t(zone)]);
        QCOMPARE(QColor(image.pixel(x + width - 1, 44)), colours[std::size_t(zone)]);
        x += width;
    }
    QCOMPARE(QColor(image.pixel(x + 1, 40)), background);
    QCOMPARE(QColor(image.pixel(5 + 50 * w / 100, 40)), QColor(Qt::black));

    // The standard slider (groove, handle) is drawn only in manual mode.
    int drawnOutsideTheBar = 0;
    for (int y = 0; y < image.height(); ++y) {
        for (int px = 0; px < image.width(); ++px) {
            const bool bar = y >= 34 && y <= 46;
            drawnOutsideTheBar += !bar && QColor(image.pixel(px, y)) != background;
        }
    }
    QCOMPARE(drawnOutsideTheBar > 0, !automatic);
}

QTEST_MAIN(TestTunnelWidgets)
#include "test_tunnelwidgets.moc"
