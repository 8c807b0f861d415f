#include "utilizationgrapher.h"

#include "ifcbutton.h"

namespace {
constexpr unsigned kHistory = 120;
constexpr size_t kSetValue = UtilizationGrapher::kSeries;
const QColor kOutline(51, 51, 51);
const QColor kMarkedOutline(34, 34, 34);
} // namespace

UtilizationGrapher::UtilizationGrapher(QWidget* placeholder)
    : GraphWidget(placeholder, kHistory, kSeries,
                  {{IFCButton::kPalette[0], QPen(kOutline, 1)},
                   {IFCButton::kPalette[1], QPen(kOutline, 1)},
                   {IFCButton::kPalette[2], QPen(kOutline, 1)},
                   {QColor(68, 68, 68), QPen(kMarkedOutline, 1)},
                   {QColor(102, 102, 102), QPen(kMarkedOutline, 1)},
                   {QColor(136, 136, 136), QPen(kMarkedOutline, 1)}},
                  {})
{
}

void UtilizationGrapher::addSample(uint32_t key, const std::vector<int>& rates, bool boundary)
{
    int& set = m_connectionSets[key];
    if (boundary)
        ++set;
    Sample sample(kSeries + 1, 0);
    for (size_t series = 0; series < kSeries && series < rates.size(); ++series)
        sample[series] = rates[series];
    sample[kSetValue] = set;
    add(key, sample);
}

bool UtilizationGrapher::marked(uint32_t key, const Sample& sample) const
{
    const auto set = m_connectionSets.find(key);
    return set != m_connectionSets.end() && valueAt(sample, kSetValue) < set->second;
}

void UtilizationGrapher::drawSample(unsigned index, int min, int max, const Sample& sample, PointList*,
                                    RectList* rects) const
{
    RectList* lists = marked(uint32_t(key()), sample) ? rects + kSeries : rects;
    int bottom = plotHeight();
    for (size_t series = 0; series < kSeries; ++series) {
        const int value = valueAt(sample, series);
        if (value == 0)
            continue;
        const int height = max == min ? 0 : int(int64_t(plotHeight()) * (value - min) / (max - min));
        addColumn(lists[series], index, bottom - height, bottom - 1);
        bottom -= height;
    }
}

GraphWidget::Labels UtilizationGrapher::labels(int min, int max) const
{
    return {QString::number(max), QStringLiteral("Kbps"), QString::number(min)};
}
