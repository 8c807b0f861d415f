#include "smallmeter.h"

SmallMeter::SmallMeter(int width, int height, QWidget *parent)
    : QWidget(parent)
{
    setFixedSize(width, height);
    setAttribute(Qt::WA_OpaquePaintEvent);
}

int SmallMeter::rowY(int row) const
{
    static constexpr int kRowOffsets[4] = {1, 4, 8, 11};
    return kRowOffsets[row];
}

// Overriding the handler is enough to keep the press from the parent: it arrives accepted.
void SmallMeter::mousePressEvent(QMouseEvent *)
{
    emit meterClicked();
}
