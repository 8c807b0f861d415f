#include "calibration.h"

#include <qwsmousehandler.h>
#include <qwsserver.h>

#include <QGuiApplication>
#include <QMouseEvent>
#include <QPainter>
#include <QScreen>

namespace {

constexpr int kPoints = QWSPointerCalibrationData::LastLocation + 1;

} // namespace

Calibration::Calibration()
    : QDialog(nullptr, Qt::Dialog | Qt::FramelessWindowHint)
{
    const QRect screen(QPoint(0, 0), QGuiApplication::primaryScreen()->size());
    setGeometry(screen);
    setFocusPolicy(Qt::StrongFocus);
    setFocus();
    setModal(true);
    m_data = targets(screen.size());
}

QWSPointerCalibrationData Calibration::targets(const QSize& screenSize)
{
    const int dw = screenSize.width();
    const int dh = screenSize.height();
    const int dx = dw / 10;
    const int dy = dh / 10;
    QWSPointerCalibrationData data;
    data.screenPoints[QWSPointerCalibrationData::TopLeft] = QPoint(dx, dy);
    data.screenPoints[QWSPointerCalibrationData::BottomLeft] = QPoint(dx, dh - dy);
    data.screenPoints[QWSPointerCalibrationData::BottomRight] = QPoint(dw - dx, dh - dy);
    data.screenPoints[QWSPointerCalibrationData::TopRight] = QPoint(dw - dx, dy);
    data.screenPoints[QWSPointerCalibrationData::Center] = QPoint(dw / 2, dh / 2);
    return data;
}

int Calibration::exec()
{
    // Touches are taken as the device reports them, not through an old calibration.
    QWSServer::mouseHandler()->clearCalibration();
    show();
    grabMouse();
    activateWindow();
    const int result = QDialog::exec();
    releaseMouse();
    return result;
}

void Calibration::accept()
{
    QWSServer::mouseHandler()->calibrate(&m_data);
    QDialog::accept();
}

void Calibration::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    painter.fillRect(rect(), Qt::blue);

    painter.setPen(Qt::white);
    painter.setFont(QFont(QStringLiteral("arial"), 8, QFont::Normal));
    painter.drawText(QRect(10, 50, 220, 16), Qt::AlignCenter, tr("Press each point to calibrate touchscreen."));

    painter.setPen(Qt::cyan);
    painter.setFont(QFont(QStringLiteral("arial"), 10, QFont::Bold));
    painter.drawText(QRect(10, 270, 220, 16), Qt::AlignCenter,
                     tr("%1 points remaining...").arg(kPoints - m_pressCount));

    painter.setPen(Qt::red);
    painter.drawText(QRect(10, 300, 220, 16), Qt::AlignCenter, tr("Press F2 to abort."));

    // Between the last touch and the dialog closing there is no target left.
    if (m_pressCount == kPoints)
        return;
    const QPoint target = mapFromGlobal(m_data.screenPoints[m_pressCount]);
    painter.fillRect(target.x() - 6, target.y() - 1, 13, 3, Qt::yellow);
    painter.fillRect(target.x() - 1, target.y() - 6, 3, 13, Qt::yellow);
}

void Calibration::mouseReleaseEvent(QMouseEvent* event)
{
    // A release that arrives after the last touch, before the dialog closes, has no point to fill.
    if (m_pressCount == kPoints)
        return;
    // Screen positions as the device reported them: the handler is cleared while this runs.
    m_data.devPoints[m_pressCount] = event->globalPos();
    ++m_pressCount;
    if (m_pressCount == kPoints)
        accept();
    else
        update();
}
