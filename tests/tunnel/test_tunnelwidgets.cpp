// The tunnel screen's own widgets: connection buttons, the delay slider and the two graphs, their
// painting checked by pixels.
#include "delayslider.h"
#include "ifcbutton.h"
#include "logcapture.h"
#include "losslaterecoverygrapher.h"
#include "utilizationgrapher.h"

#include <QImage>
#include <QLabel>
#include <QtTest>

namespace {
QImage paint(QWidget& widget, const QColor& background)
{
    QImage image(widget.size(), QImage::Format_RGB32);
    image.fill(background);
    widget.render(&image, QPoint(), QRegion(), QWidget::RenderFlags());
    return image;
}
} // namespace

class TestTunnelWidgets : public QObject {
    Q_OBJECT

private slots:
    void buttonLabels_data()
    {
        QTest::addColumn<QString>("first");
        QTest::addColumn<QString>("second");
        QTest::addColumn<QString>("text");

        QTest::newRow("both labels") << "Wired" << "Far Wired" << "(2) Wired>Far Wired";
        QTest::newRow("first label changed") << "Wired" << "labels" << "(2) Wired>labels";
        QTest::newRow("second label changed") << "old" << "Far" << "(2) old>Far";
        QTest::newRow("empty first") << "" << "Far Wired" << "Connection eth0";
        QTest::newRow("empty second") << "Wired" << "" << "Connection eth0";
    }
    void buttonLabels()
    {
        QFETCH(QString, first);
        QFETCH(QString, second);
        QFETCH(QString, text);

        LogCapture log(LOG_DEBUG);
        QWidget ifc;
        ifc.resize(200, 120);
        IFCButton button(&ifc, 2, "eth0", "old", "labels");
        QCOMPARE(button.y(), 120 - 3 * 20);
        button.setLabels(first, second, false);
        QCOMPARE(button.text(), text);
        QVERIFY(log.all().find(QString("setlabels %1 %2 2").arg(first, second).toStdString()) != std::string::npos);
        // A moved button renumbers itself.
        button.setPosition(0);
        QCOMPARE(button.y(), 100);
        QCOMPARE(button.text(), QString(text).replace("(2)", "(0)"));
    }
    void slider_data()
    {
        QTest::addColumn<QList<int>>("points");
        QTest::addColumn<int>("range");
        QTest::addColumn<bool>("automatic");
        QTest::addColumn<QList<int>>("zones");
        QTest::addColumn<QString>("right");

        const QList<int> even = {50, 100, 150, 200, 400};
        QTest::newRow("even steps") << even << 400 << false << QList<int>{12, 12, 12, 12, 52} << "400ms";
        QTest::newRow("automatic") << even << 400 << true << QList<int>{12, 12, 12, 12, 52} << "400ms";
        QTest::newRow("all at the top") << QList<int>{0, 0, 0, 300, 300} << 300 << false << QList<int>{0, 0, 0, 100, 0} << "300ms";
        QTest::newRow("a millisecond") << QList<int>{0, 0, 0, 0, 1} << 1 << false << QList<int>{0, 0, 0, 0, 100} << "1ms";
        QTest::newRow("no range") << QList<int>{50, 100, 150, 200, 0} << 0 << false << QList<int>{0, 0, 0, 0, 0} << "100ms";
    }
    // The zones over w = 400 - 10 + 1 = 391 pixels from x = 5, the marker at half the range.
    void slider()
    {
        QFETCH(QList<int>, points);
        QFETCH(int, range);
        QFETCH(bool, automatic);
        QFETCH(QList<int>, zones);
        QFETCH(QString, right);

        QWidget placeholder;
        placeholder.resize(400, 50);
        DelaySlider slider(&placeholder);
        slider.setZones({points[0], points[1], points[2], points[3], points[4]}, range);
        QCOMPARE(QList<int>(slider.zones().begin(), slider.zones().end()), zones);
        QCOMPARE(slider.rightLabel()->text(), right);
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
        const std::array<QColor, 5> colours = {QColor(255, 0, 0), QColor(255, 187, 0), QColor(255, 255, 0),
                                               QColor(0, 255, 0), QColor(238, 238, 238)};
        int x = 5;
        for (int zone = 0; zone < 5; ++zone) {
            const int width = zones[zone] * w / 100;
            if (width > 0) {
                QCOMPARE(QColor(image.pixel(x + width / 4, 36)), colours[std::size_t(zone)]);
                QCOMPARE(QColor(image.pixel(x + width - 1, 44)), colours[std::size_t(zone)]);
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
    // Plots of 360 x 100 pixels: 3-pixel columns, the newest at x = 357..359. Each point is the
    // middle of a column, "sample:y=colour".
    void graphColumns_data()
    {
        QTest::addColumn<bool>("utilization");
        QTest::addColumn<QString>("points");
        QTest::addColumn<QString>("labels");

        // 40 | 10 20 | boundary 20 | 20, scaled to the largest rate, 40; the columns before the boundary grey.
        QTest::newRow("utilization") << true << "0:10=#444444 1:90=#444444 1:75=#222222 1:50=#666666 1:10=#1e1e1e 2:90=#cc00cc "
                                                "2:20=#1e1e1e 3:60=#cc00cc 3:48=#1e1e1e" << "40 Kbps 0";
        // 10% loss, 20% late, 30% recovery stacked from the bottom.
        QTest::newRow("loss, late and recovery") << false << "3:95=#770000 3:91=#770000 3:80=#dd0000 3:50=#44cc00 3:30=#1e1e1e"
                                                 << "100%  0%";
    }
    void graphColumns()
    {
        QFETCH(bool, utilization);
        QFETCH(QString, points);
        QFETCH(QString, labels);

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
        GraphWidget* graph = utilization ? static_cast<GraphWidget*>(rates) : loss;
        graph->setKey(7);
        const QImage image = paint(*graph, Qt::white);
        QStringList shown;
        for (const QString& point : points.split(' ')) {
            const int x = 3 * (116 + point.section(':', 0, 0).toInt()) + 1;
            shown << point.section('=', 0, 0) + "=" + QColor(image.pixel(x, point.section(':', 1).section('=', 0, 0).toInt())).name();
        }
        QCOMPARE(shown.join(' '), points);
        const GraphWidget::Labels text = graph->labels(0, 40);
        QCOMPARE(text.top + " " + text.middle + " " + text.bottom, labels);
    }
};


QTEST_MAIN(TestTunnelWidgets)
#include "test_tunnelwidgets.moc"
