#include "graphwidget.h"

#include <QPainter>

namespace {
constexpr int kLabelWidth = 40;
constexpr int kLabelGap = 2;
constexpr int kTopBaseline = 10;
constexpr int kMiddleBaselineBelowCentre = 5;
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
    painter.setRenderHint(QPainter::Antialiasing, false);
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

    for (int i = 0; i < m_rects.size(); ++i) {
        painter.setPen(m_rectStyles[i].outline);
        painter.setBrush(m_rectStyles[i].fill);
        painter.drawRects(m_rects[i]);
    }
    painter.setBrush(Qt::NoBrush);
    for (int i = 0; i < m_points.size(); ++i) {
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
