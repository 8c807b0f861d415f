#ifndef GRAPHER_H
#define GRAPHER_H

#include <QPoint>
#include <QRect>
#include <QVector>

#include <cstdint>
#include <map>
#include <set>
#include <vector>

// The history and drawing engine of every statistics graph: a ring of the last samples per key
// (a peer id, a channel key...), the range they span, and a walk over them oldest first that
// lets the subclass turn each sample into rectangles and polyline points. Free of widgets, so that
// any graph can build on it.
class Grapher {
public:
    using Sample = std::vector<int>;
    using PointList = QVector<QPoint>;
    using RectList = QVector<QRect>;

    Grapher(unsigned historyLength, unsigned seriesCount);
    virtual ~Grapher() = default;

    // Stores the sample in the key's oldest slot, creating the key's history (zero-filled) first.
    virtual void add(uint32_t key, const Sample& values);
    // Sets the range, then calls drawSample once per slot, oldest first; nothing for an unknown key.
    // points and rects are arrays of as many lists as the subclass fills.
    virtual void draw(uint32_t key, PointList* points, RectList* rects, int* min, int* max) const;
    // The span of the first seriesCount values of the key's samples, always including 0.
    virtual void range(uint32_t key, int* min, int* max) const;

    // Drops every history whose key is not in keys.
    void prune(const std::set<uint32_t>& keys);
    void erase(uint32_t key);
    bool hasHistory(uint32_t key) const { return m_histories.count(key) != 0; }

    unsigned historyLength() const { return m_historyLength; }
    unsigned seriesCount() const { return m_seriesCount; }

protected:
    // Appends the shapes of sample number index (0 = oldest) to the lists.
    virtual void drawSample(unsigned index, int min, int max, const Sample& sample, PointList* points,
                            RectList* rects) const = 0;

private:
    struct History {
        std::vector<Sample> samples;
        unsigned next = 0;
    };

    std::map<uint32_t, History> m_histories;
    const unsigned m_historyLength;
    const unsigned m_seriesCount;
};

#endif
