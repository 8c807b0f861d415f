#include "graphwidget.h"

#include <QPainter>

namespace {
constexpr int kLabelWidth = 40;
constexpr int kLabelGap = 2;
constexpr int kTopBaseline = 10;
constexpr int kMiddleBaselineBelowCentre = 5;
// Small enough for "1234.5kb" to fit beside the plot.
constexpr int kLabelPointSize = 7;
const QColor kBackground(30, 30, 30);
} // namespace

GraphWidget::GraphWidget(QWidget* placeholder, unsigned historyLength, unsigned seriesCount,
                         QVector<RectStyle> rectStyles, QVector<QPen> lineStyles)
    : QWidget(placeholder),
      Grapher(historyLength, seriesCount),
      m_rectStyles(std::move(rectStyles)),
      m_lineStyles(std::move(lineStyles)),
      m_rects(m_rectStyles.size()),
      m_points(m_lineStyles.size())
{
    const QSize size = placeholder ? placeholder->size() : QSize();
    setFixedSize(size);
    m_plotWidth = size.width() - kLabelWidth;
    m_plotHeight = size.height();
    QFont labelFont = font();
    labelFont.setPointSize(kLabelPointSize);
    setFont(labelFont);
}

void GraphWidget::dropLevelRuns(PointList& points)
{
    int kept = 0;
    for (int i = 0; i < points.size(); ++i) {
        const bool inner = kept >= 1 && i + 1 < points.size() && points[kept - 1].y() == points[i].y() &&
                           points[i + 1].y() == points[i].y();
        if (!inner)
            points[kept++] = points[i];
    }
    points.resize(kept);
}

QPen GraphWidget::framePen()
{
    return QPen(QColor(128, 128, 128), 1.5, Qt::SolidLine, Qt::SquareCap, Qt::BevelJoin);
}

void GraphWidget::addColumn(RectList& list, unsigned index, int top, int bottom) const
{
    const int left = columnLeft(index);
    const QRect rows = QRect(QPoint(left, top), QPoint(left + columnWidth() - 1, bottom)).normalized();
    if (!rows.isEmpty())
        list.append(rows);
}

int GraphWidget::scaledY(int v, int min, int max) const
{
    if (max == min)
        return 0;
    return static_cast<int>(m_plotHeight - int64_t(m_plotHeight) * (int64_t(v) - min) / (int64_t(max) - min));
}

int GraphWidget::fixedY(int v, int full) const
{
    return static_cast<int>(m_plotHeight - int64_t(m_plotHeight) * v / full);
}

void GraphWidget::paintOverlay(QPainter&, int, int) const
{
}

void GraphWidget::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    painter.setPen(framePen());
    painter.setBrush(kBackground);
    painter.drawRect(0, 0, m_plotWidth, m_plotHeight);

    for (RectList& list : m_rects)
        list.clear();
    for (PointList& list : m_points)
        list.clear();
    int min = 0;
    int max = 0;
    draw(static_cast<uint32_t>(m_key), m_points.data(), m_rects.data(), &min, &max);

    // A one-pixel outline covers the rectangle grown by a pixel to the right and down, around the
    // fill: painted as two fills, it costs a fraction of stroking every column's edges.
    painter.setPen(Qt::NoPen);
    for (int i = 0; i < m_rects.size(); ++i) {
        RectList& list = m_rects[i];
        for (QRect& rect : list)
            rect.adjust(0, 0, 1, 1);
        painter.setBrush(m_rectStyles[i].outline.color());
        painter.drawRects(list);
        for (QRect& rect : list)
            rect.adjust(1, 1, -1, -1);
        painter.setBrush(m_rectStyles[i].fill);
        painter.drawRects(list);
    }
    painter.setBrush(Qt::NoBrush);
    for (int i = 0; i < m_points.size(); ++i) {
        dropLevelRuns(m_points[i]);
        painter.setPen(m_lineStyles[i]);
        painter.drawPolyline(m_points[i].constData(), m_points[i].size());
    }
    paintOverlay(painter, min, max);

    const Labels text = labels(min, max);
    const int left = m_plotWidth + kLabelGap;
    painter.setPen(framePen());
    painter.drawText(left, kTopBaseline, text.top);
    painter.drawText(left, m_plotHeight / 2 + kMiddleBaselineBelowCentre, text.middle);
    painter.drawText(left, m_plotHeight, text.bottom);
}
