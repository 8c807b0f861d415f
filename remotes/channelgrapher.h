#ifndef CHANNELGRAPHER_H
#define CHANNELGRAPHER_H

#include "graphwidget.h"

// One direction of a channel's bit rate in bits per second: the payload as a bar with the
// overhead stacked on it in a second colour.
class ChannelGrapher : public GraphWidget {
    Q_OBJECT
    Q_DISABLE_COPY(ChannelGrapher)

public:
    ChannelGrapher(QWidget* placeholder, const QString& label);

    void addSample(uint32_t key, int payload, int overhead);

    Labels labels(int min, int max) const override;

protected:
    void drawSample(unsigned index, int min, int max, const Sample& sample, PointList* points,
                    RectList* rects) const override;

private:
    const QString m_label;
};

#endif
