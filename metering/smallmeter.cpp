#include "smallmeter.h"

#include <QMouseEvent>

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

void SmallMeter::mousePressEvent(QMouseEvent *event)
{
    event->accept();
    emit meterClicked();
}
