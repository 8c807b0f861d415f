#ifndef QWSCALIBRATEDMOUSEHANDLER_H
#define QWSCALIBRATEDMOUSEHANDLER_H

#include "qwsmousehandler.h"

#include <QPoint>
#include <QString>
#include <QTouchEvent>

#include <array>

class QMouseEvent;
class QWindow;

// A touch screen whose reported positions are off by an affine distortion. calibrate() fits
// the transform to five touches by least squares and stores it in the pointercal file as
// tslib's seven integers "a b c d e f s":
//     x' = (a x + b y + c) / s,   y' = (d x + e y + f) / s.
// The transform is applied through an application event filter: every mouse and touch event
// the platform delivers to a window is replaced by a copy with calibrated positions, sent to
// the same window as a non-spontaneous event, so the filter lets the copy pass and widgets
// only ever see calibrated positions.
class QWSCalibratedMouseHandler : public QWSMouseHandler {
    Q_OBJECT
    Q_DISABLE_COPY(QWSCalibratedMouseHandler)

public:
    // Where the unit keeps its touch-screen calibration.
    static constexpr const char* kDefaultFile = "/etc/pointercal";

    // Reads the calibration from pointercalFile if it holds one; the program uses the default.
    explicit QWSCalibratedMouseHandler(const QString& pointercalFile = QLatin1String(kDefaultFile),
                                       QObject* parent = nullptr);

    // Fits and applies the transform, then writes it to the pointercal file. Touches that do not
    // span an area (all on one line) cannot be fitted and leave the calibration cleared.
    void calibrate(const QWSPointerCalibrationData* data) override;
    // Back to the identity: positions are used as reported. The pointercal file is kept.
    void clearCalibration() override;

    QPoint transform(const QPoint& position) const;

    bool readCalibration();
    void writeCalibration() const;

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    using Coefficients = std::array<int, 7>;
    static constexpr Coefficients kIdentity{{1, 0, 0, 0, 1, 0, 1}};

    bool isCalibrated() const { return m_coefficients != kIdentity; }
    void sendCalibrated(QWindow* window, QMouseEvent* event) const;
    void sendCalibrated(QWindow* window, QTouchEvent* event) const;
    QTouchEvent::TouchPoint calibrated(const QWindow* window, const QTouchEvent::TouchPoint& point) const;

    QString m_pointercalFile;
    Coefficients m_coefficients = kIdentity;
};

#endif
