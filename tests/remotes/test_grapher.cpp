#include "channelgrapher.h"
#include "delaygrapher.h"
#include "percentgrapher.h"
#include "remotesfeed.h"
#include "statsformat.h"

#include <QPainter>

#include <memory>
#include <random>

namespace {

// Records what the drawing walk hands over: one sample per call, oldest first.
class RecordingGrapher : public Grapher {
public:
    RecordingGrapher() : Grapher(3, 2) {}
    mutable std::vector<Sample> drawn;

protected:
    void drawSample(unsigned index, int, int, const Sample& sample, PointList*, RectList*) const override
    {
        QCOMPARE(index, unsigned(drawn.size()));
        drawn.push_back(sample);
    }
};

// Plots of 600 x 120 pixels beside 40 for the labels, 5-pixel columns.
const QSize kPlaceholder(640, 120);
const int kNewestX = 119 * 5;

QWidget* sizedPlaceholder()
{
    auto* placeholder = new QWidget;
    placeholder->resize(kPlaceholder);
    return placeholder;
}

// The three graphs in one placeholder of the test's size.
struct Graphs {
    GraphWidget& named(const QString& name)
    {
        GraphWidget* const graphs[] = {&delay, &percent, &channel};
        return *graphs[QStringList({"delay", "percent", "channel"}).indexOf(name)];
    }
    std::unique_ptr<QWidget> placeholder{sizedPlaceholder()};
    DelayGrapher delay{placeholder.get()};
    PercentGrapher percent{placeholder.get()};
    ChannelGrapher channel{placeholder.get(), "RX"};
};

} // namespace

class TestGrapher : public QObject {
    Q_OBJECT

private slots:
    // A new history is zero-filled; the fourth sample pushes out the first; an unknown key draws
    // nothing and spans nothing.
    void ringOfSamplesOldestFirst()
    {
        RecordingGrapher grapher;
        const auto walk = [&grapher] {
            grapher.drawn.clear();
            int min = -7;
            int max = 7;
            grapher.draw(1, nullptr, nullptr, &min, &max);
            return std::make_pair(grapher.drawn, std::make_pair(min, max));
        };
        using Walk = std::pair<std::vector<Grapher::Sample>, std::pair<int, int>>;
        QCOMPARE(walk(), Walk({}, {0, 0}));
        grapher.add(1, {1});
        QCOMPARE(walk(), Walk({{0, 0}, {0, 0}, {1}}, {0, 1}));
        for (int value : {2, 3, 4})
            grapher.add(1, {value});
        QCOMPARE(walk(), Walk({{2}, {3}, {4}}, {0, 4}));

        grapher.add(2, {2});
        grapher.add(3, {3});
        grapher.prune({1, 3, 4});
        grapher.erase(3);
        QCOMPARE((std::vector<bool>{grapher.hasHistory(1), grapher.hasHistory(2), grapher.hasHistory(3), grapher.hasHistory(4)}),
                 (std::vector<bool>{true, false, false, false}));
    }

    // Only the series in use count, and the range always reaches 0.
    void rangeSpansSeriesAndZero()
    {
        const std::pair<std::vector<Grapher::Sample>, std::pair<int, int>> cases[] = {
            {{{5, -3, 100}, {2, 1, -50}}, {-3, 5}}, {{{5, 7}, {9, 8}}, {0, 9}}, {{{-5, -7}, {-2, -8}}, {-8, 0}}};
        for (const auto& [samples, expected] : cases) {
            RecordingGrapher grapher;
            for (const Grapher::Sample& sample : samples)
                grapher.add(3, sample);
            grapher.add(4, {1000, -1000});
            int min = 1;
            int max = -1;
            grapher.range(3, &min, &max);
            QCOMPARE(std::make_pair(min, max), expected);
        }
    }

    // One point a column, at the digit's row | the columns left.
    void levelRunsKeepTheirEnds_data()
    {
        rows(R"(
          one run | 5555 | 03
          no run | 1212 | 0123
          run between changes | 15552 | 0134
          two points | 55 | 01
          runs back to back | 1113332 | 02356)");
    }

    // Memory past the end holds one more level point, which the walk must not read.
    void levelRunsKeepTheirEnds()
    {
        const auto [levels, expected] = cells<2>();
        Grapher::PointList points;
        for (int x = 0; x < levels.size(); ++x)
            points.append(QPoint(x, levels[x].digitValue()));
        points.append(points.last());
        points.removeLast();
        GraphWidget::dropLevelRuns(points);
        QString kept;
        for (const QPoint& point : points)
            kept += QString::number(point.x());
        QCOMPARE(kept, expected);
    }

    // One sample on a small scale, where every value has a row of its own: the graph | the sample |
    // the shapes of the newest column, list by list: rectangles as top+height:width, points
    // as @y.
    void shapes_data()
    {
        // Delay samples are maximum, desired, minimum, valid on a scale of 0 to 4, 30 rows a unit, and
        // a minimum of 0 draws no bar under the band; the channel's are payload and overhead; the
        // percent scale is fixed at 1000, the two lines at their rates.
        rows(R"(
          delay | delay | 4 3 2 1 | 60+60:5 0+60:5 @30
          delay from zero | delay | 4 3 0 1 | 0+120:5 @30
          delay, no data | delay | 4 3 2 0 | 0+120:5
          channel | channel | 3 1 | 0+120:5 0+30:5
          channel without overhead | channel | 3 0 | 0+120:5
          percent | percent | 250 500 1000 | 90+30:5 @60 @0)");
    }

    void shapes()
    {
        const auto [graph, sampleText, expected] = cells<3>();
        QList<int> sample;
        for (const QString& value : sampleText.split(' '))
            sample << value.toInt();
        Graphs graphs;
        graphs.delay.addSample(0, sample[0], sample[1], sample[0] - sample.value(2), sample.value(3));
        graphs.channel.addSample(0, sample[0], sample[1]);
        graphs.percent.addSample(0, sample[0], sample[1], sample.value(2));
        const Drawing drawing(graphs.named(graph), 0);
        QStringList newest;
        for (const Grapher::RectList& list : drawing.rects) {
            if (!list.isEmpty() && list.last().left() == kNewestX)
                newest << QStringLiteral("%1+%2:%3").arg(list.last().top()).arg(list.last().height()).arg(list.last().width());
        }
        for (const Grapher::PointList& list : drawing.points) {
            if (!list.isEmpty() && list.last().x() == kNewestX)
                newest << QStringLiteral("@%1").arg(list.last().y());
        }
        QCOMPARE(newest.join(' '), expected);
    }

    // The reference: each rectangle list filled and stroked in one call, the polyline point by point,
    // as the shapes are described. Negative delays bring the zero line. Painted again after the next
    // sample, which moves every column: nothing of the first painting may remain.
    void samePixelsAsStrokingEachShape()
    {
        Graphs graphs;
        std::mt19937 random(3);
        const auto below = [&random](int n) { return static_cast<int>(random() % unsigned(n)); };
        for (int i = 0; i < 120; ++i) {
            const bool negative = i % 17 == 0;
            graphs.delay.addSample(7, negative ? -2 : 3 + below(3), i % 30 < 10 ? 4 : 3 + below(2), negative ? 1 : below(3),
                                   below(10) != 0);
        }
        GraphWidget& graph = graphs.delay;
        graph.setKey(7);
        QImage image(graph.size(), QImage::Format_RGB32);
        graph.render(&image);
        graphs.delay.addSample(7, 5, 4, 2, true);
        QImage reference(graph.size(), QImage::Format_RGB32);
        reference.fill(graph.palette().window().color());
        QPainter painter(&reference);
        painter.setPen(GraphWidget::framePen());
        painter.setBrush(QColor(30, 30, 30));
        painter.drawRect(0, 0, 600, 120);
        const Drawing drawing(graph, 7);
        // Fill, outline and its width of each rectangle list.
        const std::tuple<QColor, QColor, int> styles[] = {{QColor(10, 100, 240), QColor(10, 75, 200), 0},
                                                          {QColor(50, 150, 180), QColor(50, 100, 155), 0},
                                                          {QColor(240, 10, 10), QColor(200, 10, 10), 1}};
        for (int i = 0; i < 3; ++i) {
            painter.setPen(QPen(std::get<1>(styles[i]), std::get<2>(styles[i])));
            painter.setBrush(std::get<0>(styles[i]));
            painter.drawRects(drawing.rects[i]);
        }
        painter.setBrush(Qt::NoBrush);
        painter.setPen(QPen(QColor(10, 255, 75), 2));
        painter.drawPolyline(drawing.points[0].constData(), drawing.points[0].size());
        QVERIFY(drawing.min < 0);
        const int zeroY = 120 - 120 * (0 - drawing.min) / (drawing.max - drawing.min);
        painter.setPen(GraphWidget::framePen());
        painter.drawLine(0, zeroY, 600, zeroY);
        painter.end();
        graph.render(&image);
        // The plot with its frame; the labels beside it are text, rendered by the platform.
        const QRect plot(0, 0, 601, 121);
        QVERIFY(image.copy(plot) == reference.copy(plot));
        // Each label leaves ink beside the plot: at the top, around the middle and at the bottom.
        for (const int top : {0, 55, 108})
            QVERIFY(image.copy(602, top, 38, 12) != reference.copy(602, top, 38, 12));
    }

    // The graph | the range drawn | its labels, top to bottom.
    void labels_data()
    {
        rows(R"(
          delay, empty | delay | 0 0 | 0.0ms Delay 0.0ms
          delay, negative | delay | -15 1234 | 123.4ms Delay -1.5ms
          percent | percent | 0 400 | 100% Misc 0%
          channel | channel | -2500 1234567 | 1234.5kb RX -2.5kb)");
    }

    void labels()
    {
        const auto [graph, range, expected] = cells<3>();
        Graphs graphs;
        const GraphWidget::Labels labels = graphs.named(graph).labels(range.section(' ', 0, 0).toInt(), range.section(' ', 1).toInt());
        QCOMPARE(QStringList({labels.top, labels.middle, labels.bottom}).join(' '), expected);
    }

    // Each text beside the one expected; tenths are truncated, units change above 1024.
    void formats()
    {
        using namespace StatsFormat;
        const Params stats("rxPayload:u=64000 rxOverhead:u=12800 rxRTCP:u=800 rxAvgPayload:u=1299 rxAvgRTCP:u=700 txPayload:u=128000 "
                           "txAvgOverhead:u=1999");
        const std::pair<QString, const char*> cases[] = {
            {duration(0), "0:00:00"}, {duration(3599), "0:59:59"}, {duration(3725), "1:02:05"}, {duration(86399), "23:59:59"},
            {duration(86400), "1d 0:00:00"}, {duration(90061), "1d 1:01:01"}, {duration(12 * 86400 + 10 * 3600 + 7), "12d 10:00:07"},
            // The whole part of -0.5 is 0, and the tenth is shown without its sign.
            {milliseconds(1234), "123.4 ms"}, {milliseconds(-15), "-1.5 ms"}, {milliseconds(-5), "0.5 ms"},
            {percent(57), "5.7%"}, {percent(1000), "100.0%"}, {decimal(-2345, 1000), "-2.3"},
            {kbps(1234567), "1234.5 kbps"}, {kbps(999), "0.9 kbps"}, {kbps(5000000000ULL), "5000000.0 kbps"},
            {dataTotal(0), "0.0 KB"}, {dataTotal(1024), "1024.0 KB"}, {dataTotal(1025), "1.0 MB"}, {dataTotal(1536), "1.5 MB"},
            {dataTotal(1048576), "1024.0 MB"}, {dataTotal(1073741825), "1024.0 GB"}, {dataTotal(4294967295U), "3.9 TB"},
            {kbps(bitrateSum(stats, Direction::Receive, false, AllParts)), "77.6 kbps"},
            {kbps(bitrateSum(stats, Direction::Receive, false, Overhead | Rtcp)), "13.6 kbps"},
            // Sums just below a tenth: a missing part counts nothing at all.
            {kbps(bitrateSum(stats, Direction::Receive, true, AllParts)), "1.9 kbps"},
            {kbps(bitrateSum(stats, Direction::Transmit, true, AllParts)), "1.9 kbps"},
            {kbps(bitrateSum(stats, Direction::Transmit, false, Payload)), "128.0 kbps"},
            {kbps(bitrateSum(stats, Direction::Transmit, true, Overhead)), "1.9 kbps"},
        };
        for (const auto& [text, expected] : cases)
            QCOMPARE(text, QString(expected));
    }
};

QTEST_MAIN(TestGrapher)
#include "test_grapher.moc"
