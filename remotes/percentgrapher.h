#ifndef PERCENTGRAPHER_H
#define PERCENTGRAPHER_H

#include "graphwidget.h"

// A peer's loss and correction rates on a fixed scale of 0 to 100 % (values in tenths of a
// percent): frame loss as red bars, remote loss and the corrections as two lines.
class PercentGrapher : public GraphWidget {
    Q_OBJECT
    Q_DISABLE_COPY(PercentGrapher)

public:
    explicit PercentGrapher(QWidget* placeholder);

    void addSample(uint32_t key, int frameLoss, int remoteLoss, int corrections);

    Labels labels(int min, int max) const override;

protected:
    void drawSample(unsigned index, int min, int max, const Sample& sample, PointList* points,
                    RectList* rects) const override;
};

#endif
