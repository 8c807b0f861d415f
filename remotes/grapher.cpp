#include "grapher.h"

#include <algorithm>

Grapher::Grapher(unsigned historyLength, unsigned seriesCount)
    : m_historyLength(std::max(1u, historyLength)), m_seriesCount(seriesCount)
{
}

void Grapher::add(uint32_t key, const Sample& values)
{
    auto found = m_histories.find(key);
    if (found == m_histories.end()) {
        History fresh;
        fresh.samples.assign(m_historyLength, Sample(m_seriesCount, 0));
        found = m_histories.emplace(key, std::move(fresh)).first;
    }
    History& history = found->second;
    history.samples[history.next] = values;
    history.next = (history.next + 1) % m_historyLength;
}

void Grapher::draw(uint32_t key, PointList* points, RectList* rects, int* min, int* max) const
{
    range(key, min, max);
    const auto found = m_histories.find(key);
    if (found == m_histories.end())
        return;
    const History& history = found->second;
    for (unsigned i = 0; i < m_historyLength; ++i)
        drawSample(i, *min, *max, history.samples[(history.next + i) % m_historyLength], points, rects);
}

void Grapher::range(uint32_t key, int* min, int* max) const
{
    *min = 0;
    *max = 0;
    const auto found = m_histories.find(key);
    if (found == m_histories.end())
        return;
    for (const Sample& sample : found->second.samples) {
        const auto end = sample.begin() + std::min<size_t>(m_seriesCount, sample.size());
        for (auto value = sample.begin(); value != end; ++value) {
            *min = std::min(*min, *value);
            *max = std::max(*max, *value);
        }
    }
}

void Grapher::prune(const std::set<uint32_t>& keys)
{
    for (auto history = m_histories.begin(); history != m_histories.end();) {
        if (keys.count(history->first))
            ++history;
        else
            history = m_histories.erase(history);
    }
}

void Grapher::erase(uint32_t key)
{
    m_histories.erase(key);
}
