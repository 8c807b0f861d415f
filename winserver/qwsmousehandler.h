#ifndef QWSMOUSEHANDLER_H
#define QWSMOUSEHANDLER_H

#include <QObject>

struct QWSPointerCalibrationData;

// The pointer as the application sees it. A plain mouse reports screen positions already, so
// it has nothing to calibrate; QWSCalibratedMouseHandler is the touch-screen variant.
class QWSMouseHandler : public QObject {
    Q_OBJECT
    Q_DISABLE_COPY(QWSMouseHandler)

public:
    explicit QWSMouseHandler(QObject* parent = nullptr);

    virtual void calibrate(const QWSPointerCalibrationData* data);
    virtual void clearCalibration();
};

#endif
