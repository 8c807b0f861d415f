#include "channelgrapher.h"
#include "delaygrapher.h"
#include "percentgrapher.h"

#include <QImage>
#include <QPainter>
#include <QtTest>

#include <memory>
#include <random>

namespace {

// Records what the drawing walk hands over.
class RecordingGrapher : public Grapher {
public:
    RecordingGrapher() : Grapher(120, 2) {}
    struct Call {
        unsigned index;
        int min;
        int max;
        Sample sample;
    };
    mutable std::vector<Call> calls;

    std::vector<Call> drawn(uint32_t key, int* min, int* max)
    {
        calls.clear();
        draw(key, nullptr, nullptr, min, max);
        return calls;
    }

protected:
    void drawSample(unsigned index, int min, int max, const Sample& sample, PointList*, RectList*) const override
    {
        calls.push_back({index, min, max, sample});
    }
};

// Plot 600 x 120 with columns 5 pixels wide: the interior of column i is x = 5 i + 1 .. 5 i + 3.
const QSize kPlaceholder(640, 120);
constexpr int kColumns = 120;
constexpr int kColumnWidth = 5;

int columnCentre(int column)
{
    return column * kColumnWidth + 2;
}

QImage rendered(QWidget& graph)
{
    QImage image(graph.size(), QImage::Format_RGB32);
    image.fill(Qt::white);
    graph.render(&image);
    return image;
}

bool isRed(QRgb pixel)
{
    return qRed(pixel) >= 200 && qGreen(pixel) < 20 && qBlue(pixel) < 20;
}

const QRgb kBackground = qRgb(30, 30, 30);
const QRgb kGrey = qRgb(128, 128, 128);

// The three graphs in one placeholder of the test's size.
struct Graphs {
    Graphs() : placeholder(new QWidget), delay(sized()), percent(sized()), channel(sized(), QStringLiteral("RX")) {}
    QWidget* sized()
    {
        placeholder->resize(kPlaceholder);
        return placeholder.get();
    }
    std::unique_ptr<QWidget> placeholder;
    DelayGrapher delay;
    PercentGrapher percent;
    ChannelGrapher channel;
};

} // namespace

class TestGrapher : public QObject {
    Q_OBJECT

private slots:
    void newHistoryIsZeroFilled();
    void oldestDropsOutAfterFullRing();
    void rangeSpansSeriesAndZero_data();
    void rangeSpansSeriesAndZero();
    void pruneAndErase();

    void geometryFromPlaceholder();
    void invalidDelayIsRedFullHeight();
    void newestInRightmostColumn();
    void zeroLineOnlyWithNegativeValues_data();
    void zeroLineOnlyWithNegativeValues();
    void allZeroDrawsNothingButFrame();
    void delayBarsInTheirColours();
    void channelOverheadStackedOnPayload();
    void shapes_data();
    void shapes();
    void samePixelsAsStrokingEachShape();
    void labels_data();
    void labels();
    void currentKeyIsDrawn();
};

void TestGrapher::newHistoryIsZeroFilled()
{
    RecordingGrapher grapher;
    int min = -7;
    int max = 7;
    QVERIFY(grapher.drawn(1, &min, &max).empty());
    QCOMPARE(min, 0);
    QCOMPARE(max, 0);

    grapher.add(1, {4, 5, 6});
    const auto calls = grapher.drawn(1, &min, &max);
    QCOMPARE(calls.size(), size_t(120));
    QCOMPARE(calls.front().sample, Grapher::Sample({0, 0}));
    QCOMPARE(calls.back().sample, Grapher::Sample({4, 5, 6}));
    for (unsigned i = 0; i < calls.size(); ++i)
        QCOMPARE(calls[i].index, i);
}

void TestGrapher::oldestDropsOutAfterFullRing()
{
    RecordingGrapher grapher;
    for (int value = 1; value <= 121; ++value)
        grapher.add(9, {value});
    int min = 0;
    int max = 0;
    const auto calls = grapher.drawn(9, &min, &max);
    QCOMPARE(calls.front().sample, Grapher::Sample({2}));
    QCOMPARE(calls.back().sample, Grapher::Sample({121}));
    QCOMPARE(min, 0);
    QCOMPARE(max, 121);
    QCOMPARE(calls.front().max, 121);
}

void TestGrapher::rangeSpansSeriesAndZero_data()
{
    QTest::addColumn<Grapher::Sample>("first");
    QTest::addColumn<Grapher::Sample>("second");
    QTest::addColumn<int>("min");
    QTest::addColumn<int>("max");

    QTest::newRow("values beyond the series count ignored") << Grapher::Sample{5, -3, 100} << Grapher::Sample{2, 1, -50}
                                                            << -3 << 5;
    QTest::newRow("positive values still reach down to 0") << Grapher::Sample{5, 7} << Grapher::Sample{9, 8} << 0 << 9;
    QTest::newRow("negative values still reach up to 0") << Grapher::Sample{-5, -7} << Grapher::Sample{-2, -8} << -8 << 0;
}

void TestGrapher::rangeSpansSeriesAndZero()
{
    QFETCH(Grapher::Sample, first);
    QFETCH(Grapher::Sample, second);
    RecordingGrapher grapher;
    grapher.add(3, first);
    grapher.add(3, second);
    grapher.add(4, {1000, -1000});
    int min = 1;
    int max = -1;
    grapher.range(3, &min, &max);
    QTEST(min, "min");
    QTEST(max, "max");
}

void TestGrapher::pruneAndErase()
{
    RecordingGrapher grapher;
    for (uint32_t key : {1u, 2u, 3u})
        grapher.add(key, {int(key)});
    grapher.prune({1, 3, 4});
    QVERIFY(grapher.hasHistory(1));
    QVERIFY(!grapher.hasHistory(2));
    QVERIFY(grapher.hasHistory(3));
    QVERIFY(!grapher.hasHistory(4));
    grapher.erase(3);
    QVERIFY(!grapher.hasHistory(3));
    QVERIFY(grapher.hasHistory(1));
}

void TestGrapher::geometryFromPlaceholder()
{
    Graphs graphs;
    for (GraphWidget* graph : std::initializer_list<GraphWidget*>{&graphs.delay, &graphs.percent, &graphs.channel}) {
        QCOMPARE(graph->size(), kPlaceholder);
        QCOMPARE(graph->parentWidget(), graphs.placeholder.get());
        QCOMPARE(graph->plotWidth(), 600);
        QCOMPARE(graph->plotHeight(), 120);
        QCOMPARE(graph->historyLength(), 120u);
        QCOMPARE(graph->key(), 0);
    }
    QCOMPARE(graphs.delay.seriesCount(), 4u);
    QCOMPARE(graphs.percent.seriesCount(), 3u);
    QCOMPARE(graphs.channel.seriesCount(), 2u);
}

void TestGrapher::invalidDelayIsRedFullHeight()
{
    Graphs graphs;
    for (int i = 0; i < kColumns - 1; ++i)
        graphs.delay.addSample(0, 500, 400, 100, true);
    graphs.delay.addSample(0, 1000, 400, 100, false);
    const QImage image = rendered(graphs.delay);
    const int last = columnCentre(kColumns - 1);
    for (int y : {1, 60, 118})
        QVERIFY2(isRed(image.pixel(last, y)), qPrintable(QString::number(y)));
    // Valid columns have a background above their band.
    QCOMPARE(image.pixel(columnCentre(kColumns - 2), 1), kBackground);
}

void TestGrapher::newestInRightmostColumn()
{
    Graphs graphs;
    graphs.percent.addSample(0, 1000, 0, 0);
    for (int i = 0; i < kColumns - 1; ++i)
        graphs.percent.addSample(0, 0, 0, 0);
    graphs.percent.addSample(0, 500, 0, 0);
    const QImage image = rendered(graphs.percent);
    // 50 % reaches half way up the plot in the right-most column only.
    QVERIFY(isRed(image.pixel(columnCentre(kColumns - 1), 70)));
    QCOMPARE(image.pixel(columnCentre(kColumns - 1), 50), kBackground);
    // The full-height sample was the oldest of 121 and has gone.
    QCOMPARE(image.pixel(columnCentre(0), 70), kBackground);
    QCOMPARE(image.pixel(columnCentre(kColumns - 2), 70), kBackground);
}

void TestGrapher::zeroLineOnlyWithNegativeValues_data()
{
    QTest::addColumn<int>("max");
    QTest::addColumn<int>("spread");
    QTest::addColumn<bool>("line");

    // max 2, min -2: 0 sits half way, on row 60 (1 would be on row 30).
    QTest::newRow("negative minimum") << 2 << 4 << true;
    QTest::newRow("all positive") << 2 << 1 << false;
}

void TestGrapher::zeroLineOnlyWithNegativeValues()
{
    QFETCH(int, max);
    QFETCH(int, spread);
    QFETCH(bool, line);
    Graphs graphs;
    for (int i = 0; i < kColumns; ++i)
        graphs.delay.addSample(0, max, max, spread, true);
    const QImage image = rendered(graphs.delay);
    QCOMPARE(image.pixel(columnCentre(50), 60) == kGrey, line);
}

void TestGrapher::allZeroDrawsNothingButFrame()
{
    Graphs graphs;
    for (int i = 0; i < kColumns; ++i)
        graphs.channel.addSample(0, 0, 0);
    int min = 1;
    int max = 1;
    graphs.channel.range(0, &min, &max);
    QCOMPARE(max, 0);
    const QImage image = rendered(graphs.channel);
    for (int column : {0, 60, kColumns - 1}) {
        for (int y : {1, 60, 118})
            QCOMPARE(image.pixel(columnCentre(column), y), kBackground);
    }
}

// Minimum 400, maximum 800, desired 600, all columns alike: the scale runs 0 to 800, so the bar
// below the minimum reaches row 60 and the band the top, the desired line crossing at row 30.
void TestGrapher::delayBarsInTheirColours()
{
    Graphs graphs;
    for (int i = 0; i < kColumns; ++i)
        graphs.delay.addSample(0, 800, 600, 400, true);
    const QImage image = rendered(graphs.delay);
    const int x = columnCentre(30);
    QCOMPARE(image.pixel(x, 90), qRgb(10, 100, 240));
    QCOMPARE(image.pixel(x, 45), qRgb(50, 150, 180));
    QCOMPARE(image.pixel(x, 15), qRgb(50, 150, 180));
    QCOMPARE(image.pixel(x, 30), qRgb(10, 255, 75));
}

void TestGrapher::channelOverheadStackedOnPayload()
{
    Graphs graphs;
    graphs.channel.addSample(0, 30000, 10000);
    const QImage image = rendered(graphs.channel);
    const int x = columnCentre(kColumns - 1);
    // Payload up to 3/4 of the scale, overhead above it to the top.
    QCOMPARE(image.pixel(x, 100), qRgb(10, 100, 240));
    QCOMPARE(image.pixel(x, 15), qRgb(50, 150, 180));
    QCOMPARE(image.pixel(columnCentre(kColumns - 2), 100), kBackground);
}

// One sample on a small scale (plot height 120), where every value has a row of its own.
void TestGrapher::shapes_data()
{
    QTest::addColumn<QString>("graph");
    QTest::addColumn<QList<int>>("sample");
    QTest::addColumn<QList<QRect>>("rects");
    QTest::addColumn<QList<QPoint>>("points");

    const int x = 119 * kColumnWidth;
    // Scale 0 to 4: 30 rows a unit. Maximum 4, minimum 2, desired 3.
    QTest::newRow("delay") << "delay" << QList<int>{4, 3, 2, 1}
                           << QList<QRect>{QRect(x, 60, 5, 60), QRect(x, 0, 5, 60)} << QList<QPoint>{QPoint(x, 30)};
    // Minimum 0: no bar under the band.
    QTest::newRow("delay from zero") << "delay" << QList<int>{4, 3, 4, 1} << QList<QRect>{QRect(x, 0, 5, 120)}
                                     << QList<QPoint>{QPoint(x, 30)};
    QTest::newRow("delay, no data") << "delay" << QList<int>{4, 3, 2, 0} << QList<QRect>{QRect(x, 0, 5, 120)}
                                    << QList<QPoint>{};
    // Payload 3 and overhead 1 on a scale of 0 to 4.
    QTest::newRow("channel") << "channel" << QList<int>{3, 1} << QList<QRect>{QRect(x, 0, 5, 120), QRect(x, 0, 5, 30)}
                             << QList<QPoint>{};
    // Fixed scale of 1000: 250 is a quarter up; the two lines at their rates.
    QTest::newRow("percent") << "percent" << QList<int>{250, 500, 1000} << QList<QRect>{QRect(x, 90, 5, 30)}
                             << QList<QPoint>{QPoint(x, 60), QPoint(x, 0)};
}

void TestGrapher::shapes()
{
    QFETCH(QString, graph);
    QFETCH(QList<int>, sample);
    Graphs graphs;
    GraphWidget* widget = nullptr;
    if (graph == "delay") {
        graphs.delay.addSample(0, sample[0], sample[1], sample[2], sample[3]);
        widget = &graphs.delay;
    } else if (graph == "channel") {
        graphs.channel.addSample(0, sample[0], sample[1]);
        widget = &graphs.channel;
    } else {
        graphs.percent.addSample(0, sample[0], sample[1], sample[2]);
        widget = &graphs.percent;
    }
    Grapher::PointList points[2];
    Grapher::RectList rects[3];
    int min = 0;
    int max = 0;
    widget->draw(0, points, rects, &min, &max);
    // The shapes of the newest sample, list by list; the older, empty samples draw none but
    // their missing-data columns and their points on the zero row.
    QList<QRect> newestRects;
    for (const Grapher::RectList& list : rects) {
        if (!list.isEmpty() && list.last().left() == 119 * kColumnWidth)
            newestRects << list.last();
    }
    QList<QPoint> newestPoints;
    for (const Grapher::PointList& list : points) {
        if (!list.isEmpty() && list.last().x() == 119 * kColumnWidth)
            newestPoints << list.last();
    }
    QTEST(newestRects, "rects");
    QTEST(newestPoints, "points");
}

// The reference: each rectangle list filled and stroked in one call, every polyline point by point,
// as the shapes are described.
void TestGrapher::samePixelsAsStrokingEachShape()
{
    Graphs graphs;
    std::mt19937 random(3);
    const auto below = [&random](int n) { return static_cast<int>(random() % unsigned(n)); };
    for (int i = 0; i < kColumns; ++i) {
        const bool negative = i % 17 == 0;
        graphs.delay.addSample(0, negative ? -50 : 300 + below(300), i % 30 < 10 ? 400 : 300 + below(100),
                               negative ? 100 : below(200), below(10) != 0);
        graphs.percent.addSample(0, below(200), i % 20 < 10 ? 0 : below(100), below(150));
        graphs.channel.addSample(0, 100000 + below(50000), below(30000));
    }
    struct Style {
        GraphWidget* graph;
        QVector<std::pair<QColor, QPen>> rects;
        QVector<QPen> lines;
    };
    const Style styles[] = {
        {&graphs.delay,
         {{QColor(10, 100, 240), QPen(QColor(10, 75, 200), 0)},
          {QColor(50, 150, 180), QPen(QColor(50, 100, 155), 0)},
          {QColor(240, 10, 10), QPen(QColor(200, 10, 10), 1)}},
         {QPen(QColor(10, 255, 75), 2)}},
        {&graphs.percent,
         {{QColor(240, 10, 10), QPen(QColor(200, 10, 10), 1)}},
         {QPen(QColor(200, 175, 30), 2), QPen(QColor(100, 175, 240), 1)}},
        {&graphs.channel,
         {{QColor(10, 100, 240), QPen(QColor(10, 75, 200), 0)}, {QColor(50, 150, 180), QPen(QColor(50, 100, 155), 0)}},
         {}},
    };
    for (const Style& style : styles) {
        GraphWidget& graph = *style.graph;
        QImage reference(graph.size(), QImage::Format_RGB32);
        reference.fill(graph.palette().window().color());
        QPainter painter(&reference);
        painter.setPen(GraphWidget::framePen());
        painter.setBrush(QColor(30, 30, 30));
        painter.drawRect(0, 0, graph.plotWidth(), graph.plotHeight());
        QVector<Grapher::RectList> rects(style.rects.size());
        QVector<Grapher::PointList> points(style.lines.size());
        int min = 0;
        int max = 0;
        graph.draw(0, points.data(), rects.data(), &min, &max);
        for (int i = 0; i < rects.size(); ++i) {
            painter.setPen(style.rects[i].second);
            painter.setBrush(style.rects[i].first);
            painter.drawRects(rects[i]);
        }
        painter.setBrush(Qt::NoBrush);
        for (int i = 0; i < points.size(); ++i) {
            painter.setPen(style.lines[i]);
            painter.drawPolyline(points[i].constData(), points[i].size());
        }
        if (&graph == &graphs.delay) {
            const int zeroY = graph.plotHeight() - graph.plotHeight() * (0 - min) / (max - min);
            painter.setPen(GraphWidget::framePen());
            painter.drawLine(0, zeroY, graph.plotWidth(), zeroY);
        }
        painter.end();
        // The plot with its frame; the labels beside it are text, rendered by the platform.
        const QRect plot(0, 0, graph.plotWidth() + 1, graph.plotHeight() + 1);
        QVERIFY2(rendered(graph).copy(plot) == reference.copy(plot), graph.metaObject()->className());
    }
}

void TestGrapher::labels_data()
{
    QTest::addColumn<QString>("graph");
    QTest::addColumn<int>("min");
    QTest::addColumn<int>("max");
    QTest::addColumn<QStringList>("texts");

    QTest::newRow("delay, empty") << "delay" << 0 << 0 << QStringList{"0.0ms", "Delay", "0.0ms"};
    QTest::newRow("delay, negative") << "delay" << -15 << 1234 << QStringList{"123.4ms", "Delay", "-1.5ms"};
    QTest::newRow("percent") << "percent" << 0 << 400 << QStringList{"100%", "Misc", "0%"};
    QTest::newRow("channel") << "channel" << -2500 << 1234567 << QStringList{"1234.5kb", "RX", "-2.5kb"};
}

void TestGrapher::labels()
{
    QFETCH(QString, graph);
    QFETCH(int, min);
    QFETCH(int, max);
    Graphs graphs;
    const GraphWidget& widget = graph == "delay"     ? static_cast<GraphWidget&>(graphs.delay)
                                : graph == "percent" ? static_cast<GraphWidget&>(graphs.percent)
                                                     : static_cast<GraphWidget&>(graphs.channel);
    const GraphWidget::Labels labels = widget.labels(min, max);
    QTEST((QStringList{labels.top, labels.middle, labels.bottom}), "texts");
}

void TestGrapher::currentKeyIsDrawn()
{
    Graphs graphs;
    graphs.percent.addSample(7, 1000, 0, 0);
    QCOMPARE(rendered(graphs.percent).pixel(columnCentre(kColumns - 1), 60), kBackground);
    graphs.percent.setKey(7);
    QVERIFY(isRed(rendered(graphs.percent).pixel(columnCentre(kColumns - 1), 60)));
}

QTEST_MAIN(TestGrapher)
#include "test_grapher.moc"
