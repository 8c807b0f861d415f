#ifndef TESTS_SUPPORT_DELAYSAMPLES_H
#define TESTS_SUPPORT_DELAYSAMPLES_H

#include "delaygrapher.h"

// The samples of a key that came with new data: each draws one point of the desired-delay line.
inline int validDelaySamples(const DelayGrapher& graph, uint32_t key)
{
    Grapher::PointList points[1];
    Grapher::RectList rects[3];
    int min = 0;
    int max = 0;
    graph.draw(key, points, rects, &min, &max);
    return points[0].size();
}

#endif
