#include "bigmeter.h"

#include <QPainter>

namespace {
const QColor kBackground(235, 235, 235);
const int kMarkStep = 6;
const int kScaleRange = 60;
// dBu reads 20 dB above dBFS on this unit's line level.
const int kDBUOffset = 20;
}

QString BigMeter::markLabel(int value)
{
    return value > 0 ? QStringLiteral("+%1").arg(value) : QString::number(value);
}

BigMeter::BigMeter(int width, int height, QWidget *parent)
    : QWidget(parent)
    , m_width(width)
    , m_height(height)
    , m_barLength(width - 30)
    , m_barHeight(height / 4 - 8)
{
    setFixedSize(width, height);
    setAttribute(Qt::WA_OpaquePaintEvent);
}

int BigMeter::rowY(int row) const
{
    switch (row) {
    case 0:
        return 0;
    case 1:
        return m_barHeight + 2;
    case 2:
        return m_height - 2 * m_barHeight - 2;
    default:
        return m_height - m_barHeight;
    }
}

void BigMeter::setModeFS()
{
    setMode(ModeDBFS);
}

void BigMeter::setModeDBU()
{
    setMode(ModeDBU);
}

void BigMeter::setMode(Mode mode)
{
    m_mode = mode;
    update();
}

void BigMeter::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    painter.fillRect(rect(), kBackground);

    QFont normalFont(QStringLiteral("arial"), 7, QFont::Normal);
    QFont boldFont(QStringLiteral("arial"), 7, QFont::Bold);
    const int offset = m_mode == ModeDBU ? kDBUOffset : 0;
    const int middle = m_height / 2;

    for (int t = -kScaleRange; t <= 0; t += kMarkStep) {
        const int x = barX() + m_barLength + m_barLength * t / kScaleRange;
        const int value = t + offset;
        const bool zero = value == 0;
        painter.setFont(zero ? boldFont : normalFont);
        painter.setPen(QPen(Qt::black, zero ? 2 : 1));
        painter.drawLine(x, middle - 8, x, middle - 10);
        painter.drawLine(x, middle + 8, x, middle + 10);
        painter.drawText(QRect(x - 11, middle - 8, 20, 16), Qt::AlignCenter, markLabel(value));
    }

    painter.setFont(boldFont);
    static const char *const rowLetters[] = {"L", "R", "L", "R"};
    for (int row = 0; row < 4; ++row)
        painter.drawText(QRect(0, rowY(row), 20, 16), Qt::AlignCenter, QLatin1String(rowLetters[row]));
}
