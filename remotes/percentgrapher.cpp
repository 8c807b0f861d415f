#include "percentgrapher.h"

namespace {
constexpr unsigned kHistory = 120;
constexpr unsigned kSeries = 3;
constexpr int kFullScale = 1000;
enum Value { FrameLoss, RemoteLoss, Corrections };
enum Rects { FrameLossBars };
enum Lines { RemoteLossLine, CorrectionsLine };
} // namespace

PercentGrapher::PercentGrapher(QWidget* placeholder)
    : GraphWidget(placeholder, kHistory, kSeries, {{QColor(240, 10, 10), QColor(200, 10, 10)}},
                  {QPen(QColor(200, 175, 30), 2), QPen(QColor(100, 175, 240), 1)})
{
}

void PercentGrapher::addSample(uint32_t key, int frameLoss, int remoteLoss, int corrections)
{
    add(key, {frameLoss, remoteLoss, corrections});
}

void PercentGrapher::drawSample(unsigned index, int, int, const Sample& sample, PointList* points,
                                RectList* rects) const
{
    addColumn(rects[FrameLossBars], index, fixedY(valueAt(sample, FrameLoss), kFullScale), plotHeight() - 1);
    const int x = columnLeft(index);
    points[RemoteLossLine].append(QPoint(x, fixedY(valueAt(sample, RemoteLoss), kFullScale)));
    points[CorrectionsLine].append(QPoint(x, fixedY(valueAt(sample, Corrections), kFullScale)));
}

GraphWidget::Labels PercentGrapher::labels(int, int) const
{
    return {QStringLiteral("100%"), QStringLiteral("Misc"), QStringLiteral("0%")};
}
