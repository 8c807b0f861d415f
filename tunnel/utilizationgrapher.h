#ifndef UTILIZATIONGRAPHER_H
#define UTILIZATIONGRAPHER_H

#include "graphwidget.h"

#include <map>
#include <vector>

// The rates (kbit/s) of a tunnel direction's first three connections, stacked in their
// connections' colours. When the set or the order of the connections changes, the columns
// before the change are drawn grey, as they belong to other connections.
class UtilizationGrapher : public GraphWidget {
    Q_OBJECT
    Q_DISABLE_COPY(UtilizationGrapher)

public:
    static constexpr unsigned kSeries = 3;

    explicit UtilizationGrapher(QWidget* placeholder);

    // The first three rates of `rates`, missing ones 0; `boundary` greys every earlier column.
    void addSample(uint32_t key, const std::vector<int>& rates, bool boundary);

    Labels labels(int min, int max) const override;

protected:
    void drawSample(unsigned index, int min, int max, const Sample& sample, PointList* points,
                    RectList* rects) const override;

private:
    // The sample's column is drawn grey.
    bool marked(uint32_t key, const Sample& sample) const;

    // Each sample carries the number of the connection set it belongs to; a boundary starts a new
    // set, and columns of earlier sets are the marked ones.
    std::map<uint32_t, int> m_connectionSets;
};

#endif
