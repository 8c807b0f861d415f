#ifndef LOSSLATERECOVERYGRAPHER_H
#define LOSSLATERECOVERYGRAPHER_H

#include "graphwidget.h"

// One tunnel direction's packet loss, late and recovery rates (tenths of a percent) as columns
// stacked from the bottom of a fixed 0 to 100 % scale.
class LossLateRecoveryGrapher : public GraphWidget {
    Q_OBJECT
    Q_DISABLE_COPY(LossLateRecoveryGrapher)

public:
    explicit LossLateRecoveryGrapher(QWidget* placeholder);

    void addSample(uint32_t key, int loss, int late, int recovery);

    Labels labels(int min, int max) const override;

protected:
    void drawSample(unsigned index, int min, int max, const Sample& sample, PointList* points,
                    RectList* rects) const override;
};

#endif
