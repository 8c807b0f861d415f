#include "channelgrapher.h"

#include "statsformat.h"

namespace {
constexpr unsigned kHistory = 120;
// [payload, payload + overhead]
constexpr unsigned kSeries = 2;
enum Value { PayloadRate, TotalRate };
enum Rects { TotalBars, OverheadBands };

QString rateLabel(int bitsPerSecond)
{
    return StatsFormat::decimal(bitsPerSecond, 1000) + QStringLiteral("kb");
}
} // namespace

ChannelGrapher::ChannelGrapher(QWidget* placeholder, const QString& label)
    : GraphWidget(placeholder, kHistory, kSeries,
                  {{QColor(10, 100, 240), QColor(10, 75, 200)},
                   {QColor(50, 150, 180), QColor(50, 100, 155)}},
                  {}),
      m_label(label)
{
}

void ChannelGrapher::addSample(uint32_t key, int payload, int overhead)
{
    add(key, {payload, payload + overhead});
}

void ChannelGrapher::drawSample(unsigned index, int min, int max, const Sample& sample, PointList*,
                                RectList* rects) const
{
    const int totalY = scaledY(valueAt(sample, TotalRate), min, max);
    const int payloadY = scaledY(valueAt(sample, PayloadRate), min, max);
    addColumn(rects[TotalBars], index, totalY, scaledY(0, min, max) - 1);
    if (totalY != payloadY)
        addColumn(rects[OverheadBands], index, totalY, payloadY - 1);
}

GraphWidget::Labels ChannelGrapher::labels(int min, int max) const
{
    return {rateLabel(max), m_label, rateLabel(min)};
}
