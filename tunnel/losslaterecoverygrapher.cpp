#include "losslaterecoverygrapher.h"

namespace {
constexpr unsigned kHistory = 120;
constexpr unsigned kSeries = 3;
constexpr int kFullScale = 1000;
const QColor kOutline(51, 51, 51);
} // namespace

LossLateRecoveryGrapher::LossLateRecoveryGrapher(QWidget* placeholder)
    : GraphWidget(placeholder, kHistory, kSeries,
                  {{QColor(119, 0, 0), QPen(kOutline, 1)},
                   {QColor(221, 0, 0), QPen(kOutline, 1)},
                   {QColor(68, 204, 0), QPen(kOutline, 1)}},
                  {})
{
}

void LossLateRecoveryGrapher::addSample(uint32_t key, int loss, int late, int recovery)
{
    add(key, {loss, late, recovery});
}

// Loss from the bottom, late on top of it, recovery on top of that; a rate's column is as high
// as the rate on the fixed scale.
void LossLateRecoveryGrapher::drawSample(unsigned index, int, int, const Sample& sample, PointList*,
                                         RectList* rects) const
{
    int bottom = plotHeight();
    RectList* list = rects;
    for (int rate : sample) {
        const int top = bottom - (plotHeight() - fixedY(rate, kFullScale));
        addColumn(*list++, index, top, bottom - 1);
        bottom = top;
    }
}

GraphWidget::Labels LossLateRecoveryGrapher::labels(int, int) const
{
    return {QStringLiteral("100%"), QString(), QStringLiteral("0%")};
}
