#include "scribblewidget.h"

#include <QMouseEvent>
#include <QPainter>

ScribbleWidget::ScribbleWidget(QWidget* parent)
    : QWidget(parent)
{
}

void ScribbleWidget::resizeEvent(QResizeEvent* event)
{
    m_image = QImage(event->size(), QImage::Format_RGB32);
    m_image.fill(Qt::blue);
    QWidget::resizeEvent(event);
}

void ScribbleWidget::mousePressEvent(QMouseEvent* event)
{
    if (event->button() != Qt::LeftButton)
        return;
    m_lastPoint = event->pos();
    m_scribbling = true;
}

void ScribbleWidget::mouseMoveEvent(QMouseEvent* event)
{
    if ((event->buttons() & Qt::LeftButton) && m_scribbling)
        drawLineTo(event->pos());
}

void ScribbleWidget::mouseReleaseEvent(QMouseEvent* event)
{
    if (event->button() != Qt::LeftButton || !m_scribbling)
        return;
    drawLineTo(event->pos());
    m_scribbling = false;
}

void ScribbleWidget::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    painter.drawImage(0, 0, m_image);
    const int w = width();

    painter.setPen(Qt::white);
    painter.setFont(QFont(QStringLiteral("arial"), 8, QFont::Normal));
    painter.drawText(QRect(10, 50, w - 10, 16), Qt::AlignCenter, tr("Test calibration by drawing on the screen."));

    painter.setPen(Qt::cyan);
    painter.setFont(QFont(QStringLiteral("arial"), 10, QFont::Bold));
    painter.drawText(QRect(10, 270, w - 10, 16), Qt::AlignCenter, tr("Window will close in 15 seconds..."));

    painter.setPen(Qt::red);
    painter.drawText(QRect(10, 300, w - 10, 16), Qt::AlignCenter, tr("Press F2 if done."));
}

void ScribbleWidget::drawLineTo(const QPoint& end)
{
    QPainter painter(&m_image);
    painter.setPen(QPen(Qt::yellow, 2, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    painter.drawLine(m_lastPoint, end);
    update();
    m_lastPoint = end;
}
