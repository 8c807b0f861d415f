#ifndef DELAYGRAPHER_H
#define DELAYGRAPHER_H

#include "graphwidget.h"

// A peer's jitter-buffer delay in tenths of a millisecond: the bar up to the minimum delay, the
// band up to the maximum, the desired delay as a line, and a red column where no new data came.
class DelayGrapher : public GraphWidget {
    Q_OBJECT
    Q_DISABLE_COPY(DelayGrapher)

public:
    explicit DelayGrapher(QWidget* placeholder);

    // spread = maximum minus minimum delay.
    void addSample(uint32_t key, int max, int desired, int spread, bool valid);

    Labels labels(int min, int max) const override;

protected:
    void drawSample(unsigned index, int min, int max, const Sample& sample, PointList* points,
                    RectList* rects) const override;
    void paintOverlay(QPainter& painter, int min, int max) const override;
};

#endif
