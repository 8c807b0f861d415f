#ifndef CHANNELSTATS_H
#define CHANNELSTATS_H

#include "statsscreen.h"
#include "ui_stats.h"

#include <QWidget>

#include <map>
#include <string>

class ChannelGrapher;
class Message;

// The traffic of one audio transport channel of the unit: total rates (plain or averaged) and
// totals transferred, and the receive and transmit bit-rate graphs. Every channel ever seen keeps
// its graph key and its history, also while it is absent from the notifications.
class ChannelStats : public QWidget, public Ui::Stats, public StatsScreen {
    Q_OBJECT
    Q_DISABLE_COPY(ChannelStats)

public:
    explicit ChannelStats(QWidget* parent = nullptr);

    ChannelGrapher& receiveGraph() const { return *m_receiveGraph; }
    ChannelGrapher& transmitGraph() const { return *m_transmitGraph; }
    // The graph key of a channel, handed out in order of first sight.
    int keyOf(const std::string& channelId);

public slots:
    void updateChannelStats();
    void channelChanged(int index);
    void avgChanged(bool checked);

private:
    void rebuildChannelList(const Message& stats);
    // Both graphs show the selected channel's history.
    void followSelection();
    void refresh(const Message& stats, bool withSamples);
    std::string selectedChannel() const;

    ChannelGrapher* m_receiveGraph;
    ChannelGrapher* m_transmitGraph;
    std::map<std::string, int> m_keys;
};

#endif
