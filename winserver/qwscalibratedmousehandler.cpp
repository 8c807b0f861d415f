#include "qwscalibratedmousehandler.h"

#include "qwspointercalibrationdata.h"

#include <logger.h>

#include <QCoreApplication>
#include <QFile>
#include <QMouseEvent>
#include <QSaveFile>
#include <QStringList>
#include <QTextStream>
#include <QWindow>

#include <algorithm>
#include <optional>

namespace {

constexpr int kScale = 65536;

// Least-squares fit of screen = A * device + t over the touches, as the six coefficients
// a b c d e f in floating point. Sums are kept in integers, scaled by the touch count, so that
// collinear touches give a determinant of exactly zero; screen-pixel coordinates keep them well
// inside 64 bits.
std::optional<std::array<double, 6>> fitAffine(const QWSPointerCalibrationData& data)
{
    constexpr qint64 n = QWSPointerCalibrationData::LastLocation + 1;
    qint64 sx = 0, sy = 0, sxx = 0, syy = 0, sxy = 0;
    for (const QPoint& d : data.devPoints) {
        sx += d.x();
        sy += d.y();
        sxx += qint64(d.x()) * d.x();
        syy += qint64(d.y()) * d.y();
        sxy += qint64(d.x()) * d.y();
    }
    const qint64 cxx = n * sxx - sx * sx;
    const qint64 cyy = n * syy - sy * sy;
    const qint64 cxy = n * sxy - sx * sy;
    const qint64 det = cxx * cyy - cxy * cxy;
    if (det == 0)
        return std::nullopt;

    std::array<double, 6> fitted{};
    for (int axis = 0; axis < 2; ++axis) {
        qint64 su = 0, sxu = 0, syu = 0;
        for (int i = 0; i < n; ++i) {
            const QPoint& d = data.devPoints[i];
            const qint64 u = axis == 0 ? data.screenPoints[i].x() : data.screenPoints[i].y();
            su += u;
            sxu += d.x() * u;
            syu += d.y() * u;
        }
        const double cxu = double(n * sxu - sx * su);
        const double cyu = double(n * syu - sy * su);
        const double a = (double(cyy) * cxu - double(cxy) * cyu) / double(det);
        const double b = (double(cxx) * cyu - double(cxy) * cxu) / double(det);
        fitted[3 * axis] = a;
        fitted[3 * axis + 1] = b;
        fitted[3 * axis + 2] = (double(su) - a * double(sx) - b * double(sy)) / double(n);
    }
    return fitted;
}

} // namespace

QWSCalibratedMouseHandler::QWSCalibratedMouseHandler(const QString& pointercalFile, QObject* parent)
    : QWSMouseHandler(parent)
    , m_pointercalFile(pointercalFile)
{
    if (QFile::exists(m_pointercalFile))
        readCalibration();
    QCoreApplication::instance()->installEventFilter(this);
}

void QWSCalibratedMouseHandler::calibrate(const QWSPointerCalibrationData* data)
{
    clearCalibration();
    const std::optional<std::array<double, 6>> fitted = fitAffine(*data);
    if (!fitted) {
        g_log.log(LOG_ERROR, "touch-screen calibration failed: the touches lie on one line");
        return;
    }
    std::transform(fitted->begin(), fitted->end(), m_coefficients.begin(), [](double k) { return qRound(k * kScale); });
    m_coefficients[6] = kScale;
    writeCalibration();
}

void QWSCalibratedMouseHandler::clearCalibration()
{
    m_coefficients = kIdentity;
}

QPoint QWSCalibratedMouseHandler::transform(const QPoint& position) const
{
    const Coefficients& k = m_coefficients;
    const double x = position.x();
    const double y = position.y();
    return QPoint(qRound((k[0] * x + k[1] * y + k[2]) / k[6]), qRound((k[3] * x + k[4] * y + k[5]) / k[6]));
}

bool QWSCalibratedMouseHandler::readCalibration()
{
    QFile file(m_pointercalFile);
    if (!file.open(QIODevice::ReadOnly | QIODevice::Text)) {
        g_log.log(LOG_ERROR, "cannot read %s: %s", qPrintable(m_pointercalFile), qPrintable(file.errorString()));
        return false;
    }
    QTextStream in(&file);
    Coefficients read{};
    for (int& k : read)
        in >> k;
    if (in.status() != QTextStream::Ok || read[6] == 0) {
        g_log.log(LOG_ERROR, "%s does not hold a calibration", qPrintable(m_pointercalFile));
        return false;
    }
    m_coefficients = read;
    return true;
}

void QWSCalibratedMouseHandler::writeCalibration() const
{
    QSaveFile file(m_pointercalFile);
    if (file.open(QIODevice::WriteOnly | QIODevice::Text)) {
        QStringList fields;
        for (int k : m_coefficients)
            fields << QString::number(k);
        file.write(fields.join(QLatin1Char(' ')).toLatin1() + '\n');
        if (file.commit())
            return;
    }
    g_log.log(LOG_ERROR, "cannot write %s: %s", qPrintable(m_pointercalFile), qPrintable(file.errorString()));
}

bool QWSCalibratedMouseHandler::eventFilter(QObject* watched, QEvent* event)
{
    // The platform delivers to windows, spontaneously; our calibrated copies are neither.
    if (!event->spontaneous() || !watched->isWindowType() || !isCalibrated())
        return false;
    auto* window = static_cast<QWindow*>(watched);
    switch (event->type()) {
    case QEvent::MouseButtonPress:
    case QEvent::MouseButtonRelease:
    case QEvent::MouseButtonDblClick:
    case QEvent::MouseMove:
        sendCalibrated(window, static_cast<QMouseEvent*>(event));
        return true;
    case QEvent::TouchBegin:
    case QEvent::TouchUpdate:
    case QEvent::TouchEnd:
        sendCalibrated(window, static_cast<QTouchEvent*>(event));
        return true;
    default:
        return false;
    }
}

void QWSCalibratedMouseHandler::sendCalibrated(QWindow* window, QMouseEvent* event) const
{
    const QPoint screenPos = transform(event->screenPos().toPoint());
    const QPointF localPos = window->mapFromGlobal(screenPos);
    QMouseEvent copy(event->type(), localPos, localPos, screenPos, event->button(), event->buttons(),
                     event->modifiers(), event->source());
    copy.setTimestamp(event->timestamp());
    QCoreApplication::sendEvent(window, &copy);
}

void QWSCalibratedMouseHandler::sendCalibrated(QWindow* window, QTouchEvent* event) const
{
    QList<QTouchEvent::TouchPoint> points;
    for (const QTouchEvent::TouchPoint& point : event->touchPoints())
        points.append(calibrated(window, point));
    QTouchEvent copy(event->type(), event->device(), event->modifiers(), event->touchPointStates(), points);
    copy.setTimestamp(event->timestamp());
    QCoreApplication::sendEvent(window, &copy);
    event->setAccepted(copy.isAccepted());
}

QTouchEvent::TouchPoint QWSCalibratedMouseHandler::calibrated(const QWindow* window,
                                                             const QTouchEvent::TouchPoint& point) const
{
    QTouchEvent::TouchPoint result(point);
    const QPoint screenPos = transform(point.screenPos().toPoint());
    const QPoint startScreenPos = transform(point.startScreenPos().toPoint());
    const QPoint lastScreenPos = transform(point.lastScreenPos().toPoint());
    result.setScreenPos(screenPos);
    result.setStartScreenPos(startScreenPos);
    result.setLastScreenPos(lastScreenPos);
    // A widget takes its own positions from the screen positions; the scene is the window.
    result.setScenePos(window->mapFromGlobal(screenPos));
    result.setStartScenePos(window->mapFromGlobal(startScreenPos));
    result.setLastScenePos(window->mapFromGlobal(lastScreenPos));
    return result;
}
