#ifndef PEERSTATS_H
#define PEERSTATS_H

#include "statsscreen.h"
#include "ui_peerstats.h"

#include <QWidget>

#include <set>

class DelayGrapher;
class Message;
class PercentGrapher;

// The live statistics of one connected remote, chosen among the active ones: a table of values
// and the graphs of its jitter-buffer delay and its loss and correction rates. Every statistics
// notification adds a graph sample for every active remote, so switching remotes shows a full
// history at once.
class PeerStats : public QWidget, public Ui::PeerStats, public StatsScreen {
    Q_OBJECT
    Q_DISABLE_COPY(PeerStats)

public:
    explicit PeerStats(QWidget* parent = nullptr);

    DelayGrapher& delayGraph() const { return *m_delayGraph; }
    PercentGrapher& percentGraph() const { return *m_percentGraph; }

public slots:
    void updatePeerStats();
    void updatePeers();
    void peerChanged(int index);
    void advancedChanged(bool checked);

private:
    void refresh(bool withSamples);
    void addSamples(const Message& stats);
    int selectedPeer() const;

    DelayGrapher* m_delayGraph;
    PercentGrapher* m_percentGraph;
    std::set<int> m_activePeers;
};

#endif
