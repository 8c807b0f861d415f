#include "delayslider.h"

#include <QLabel>
#include <QPainter>
#include <QStyleOptionSlider>
#include <QStylePainter>

namespace {
constexpr int kMargin = 5;
constexpr int kBarTop = 35;
constexpr int kBarHeight = 10;
constexpr int kMarkerRadius = 5;
constexpr int kRightLabelWidth = 60;
constexpr int kCentreLabelWidth = 40;
const std::array<QColor, DelaySlider::kZones> kZoneColours = {QColor(255, 0, 0), QColor(255, 187, 0),
                                                              QColor(255, 255, 0), QColor(0, 255, 0),
                                                              QColor(238, 238, 238)};
} // namespace

DelaySlider::DelaySlider(QWidget* placeholder)
    : QSlider(Qt::Horizontal, placeholder)
    , m_left(new QLabel(QStringLiteral("0ms"), this))
    , m_right(new QLabel(QStringLiteral("100ms"), this))
    , m_centre(new QLabel(QStringLiteral("Delay"), this))
{
    resize(placeholder->size());
    m_right->setGeometry(width() - kRightLabelWidth, 0, kRightLabelWidth, m_right->sizeHint().height());
    m_right->setAlignment(Qt::AlignRight | Qt::AlignTop);
    m_centre->setGeometry(width() / 2 - kCentreLabelWidth / 2, 0, kCentreLabelWidth, m_centre->sizeHint().height());
    m_centre->setAlignment(Qt::AlignHCenter | Qt::AlignTop);
}

void DelaySlider::setRange(int range)
{
    setMaximum(range);
    m_right->setText(QStringLiteral("%1ms").arg(range));
}

void DelaySlider::setMarker(int maxPacketDelay, int range)
{
    if (range <= 0)
        return;
    m_marker = maxPacketDelay * 100 / range;
    setRange(range);
}

void DelaySlider::setZones(const std::array<int, kZones>& points, int range)
{
    if (range <= 0)
        return;
    m_zones[0] = points[0] * 100 / range;
    int used = m_zones[0];
    for (int zone = 1; zone < kZones - 1; ++zone) {
        m_zones[std::size_t(zone)] = (points[std::size_t(zone)] - points[std::size_t(zone - 1)]) * 100 / range;
        used += m_zones[std::size_t(zone)];
    }
    m_zones[kZones - 1] = 100 - used;
    setRange(range);
}

void DelaySlider::setAuto(bool automatic)
{
    m_auto = automatic;
    update();
}

void DelaySlider::paintEvent(QPaintEvent* event)
{
    {
        QPainter painter(this);
        const int span = width() - 2 * kMargin + 1;
        int x = kMargin;
        auto colour = kZoneColours.begin();
        for (int zone : m_zones) {
            const int w = zone * span / 100;
            painter.fillRect(x, kBarTop, w, kBarHeight, *colour++);
            x += w;
        }
        painter.setRenderHint(QPainter::Antialiasing);
        painter.setBrush(Qt::black);
        painter.drawEllipse(QPoint(kMargin + m_marker * span / 100, kBarTop + kBarHeight / 2), kMarkerRadius,
                            kMarkerRadius);
    }
    if (!m_auto)
        QSlider::paintEvent(event);
}
