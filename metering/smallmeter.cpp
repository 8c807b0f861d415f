#include "smallmeter.h"

#include <QMouseEvent>

SmallMeter::SmallMeter(int width, int height, QWidget *parent)
    : QWidget(parent)
{
    setFixedSize(width, height);
    setAttribute(Qt::WA_OpaquePaintEvent);
}

void SmallMeter::mousePressEvent(QMouseEvent *event)
{
    event->accept();
    emit meterClicked();
}
