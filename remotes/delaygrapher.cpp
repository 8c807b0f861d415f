#include "delaygrapher.h"

#include "statsformat.h"

#include <QPainter>

namespace {
constexpr unsigned kHistory = 120;
// [maximum, minimum, desired, valid]
constexpr unsigned kSeries = 4;
enum Value { MaxDelay, MinDelay, DesiredDelay, Valid };
enum Rects { BelowMinimum, MinimumToMaximum, Missing };
enum Lines { Desired };

QString delayLabel(int tenths)
{
    return StatsFormat::decimal(tenths, 10) + QStringLiteral("ms");
}
} // namespace

DelayGrapher::DelayGrapher(QWidget* placeholder)
    : GraphWidget(placeholder, kHistory, kSeries,
                  {{QColor(10, 100, 240), QColor(10, 75, 200)},
                   {QColor(50, 150, 180), QColor(50, 100, 155)},
                   {QColor(240, 10, 10), QColor(200, 10, 10)}},
                  {QPen(QColor(10, 255, 75), 2)})
{
}

void DelayGrapher::addSample(uint32_t key, int max, int desired, int spread, bool valid)
{
    add(key, {max, max - spread, desired, valid ? 1 : 0});
}

void DelayGrapher::drawSample(unsigned index, int min, int max, const Sample& sample, PointList* points,
                              RectList* rects) const
{
    if (!valueAt(sample, Valid)) {
        addColumn(rects[Missing], index, 0, plotHeight() - 1);
        return;
    }
    const int zeroY = scaledY(0, min, max);
    const int minimumY = scaledY(valueAt(sample, MinDelay), min, max);
    const int maximumY = scaledY(valueAt(sample, MaxDelay), min, max);
    if (valueAt(sample, MinDelay) != 0)
        addColumn(rects[BelowMinimum], index, minimumY, zeroY - 1);
    if (minimumY != maximumY)
        addColumn(rects[MinimumToMaximum], index, maximumY, minimumY - 1);
    points[Desired].append(QPoint(columnLeft(index), scaledY(valueAt(sample, DesiredDelay), min, max)));
}

GraphWidget::Labels DelayGrapher::labels(int min, int max) const
{
    return {delayLabel(max), QStringLiteral("Delay"), delayLabel(min)};
}

// Negative delays need the zero line to be read.
void DelayGrapher::paintOverlay(QPainter& painter, int min, int max) const
{
    if (min == 0)
        return;
    const int zeroY = scaledY(0, min, max);
    painter.setPen(framePen());
    painter.drawLine(0, zeroY, plotWidth(), zeroY);
}
