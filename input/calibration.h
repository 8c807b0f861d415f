#ifndef CALIBRATION_H
#define CALIBRATION_H

#include <qwspointercalibrationdata.h>

#include <QDialog>

class QSize;

// The full-screen dialog that collects one touch at each of five targets and hands them to the
// pointer handler as its new calibration. Rejecting it (the abort) leaves the handler cleared.
class Calibration : public QDialog {
    Q_OBJECT
    Q_DISABLE_COPY(Calibration)

public:
    Calibration();

    // The five targets on a screen of the given size, in calibration order.
    static QWSPointerCalibrationData targets(const QSize& screenSize);

    int exec() override;
    void accept() override;

protected:
    void paintEvent(QPaintEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;

private:
    QWSPointerCalibrationData m_data;
    int m_pressCount = 0;
};

#endif
