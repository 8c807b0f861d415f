#ifndef QWSPOINTERCALIBRATIONDATA_H
#define QWSPOINTERCALIBRATIONDATA_H

#include <QPoint>

// Five touches at known targets: what the pointer reported (devPoints) and where the targets
// are on the screen (screenPoints), both indexed by Location.
struct QWSPointerCalibrationData {
    enum Location { TopLeft = 0, BottomLeft = 1, BottomRight = 2, TopRight = 3, Center = 4, LastLocation = Center };

    QPoint devPoints[5];
    QPoint screenPoints[5];
};

#endif
