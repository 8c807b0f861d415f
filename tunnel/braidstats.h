#ifndef BRAIDSTATS_H
#define BRAIDSTATS_H

#include "keypadhandler.h"
#include "panebase.h"
#include "tunnelinfo.h"
#include "ui_braidstats.h"

#include <QWidget>

class DelaySlider;
class LossLateRecoveryGrapher;
class QCheckBox;
class UtilizationGrapher;
struct TunnelDirectionStats;

// The current tunnel session, one direction at a time: link utilization and loss history, the
// delay slider with its automatic mode, and one button per network connection.
class BraidStats : public QWidget, public Ui::BraidStats, public KeypadHandler, public PaneBase {
    Q_OBJECT
    Q_DISABLE_COPY(BraidStats)

public:
    explicit BraidStats(QWidget* parent = nullptr);
    ~BraidStats() override;

    void handleKey(int keycode, bool pressed, bool repeat) override;

    TunnelInfo& tunnelInfo() { return m_tunnel; }
    DelaySlider* txSlider() const { return m_tx.slider; }
    DelaySlider* rxSlider() const { return m_rx.slider; }
    UtilizationGrapher* utilizationGraph(bool receive) const { return (receive ? m_rx : m_tx).utilization; }
    LossLateRecoveryGrapher* lossGraph(bool receive) const { return (receive ? m_rx : m_tx).loss; }
    QCheckBox* txAuto() const { return m_tx.automatic; }
    QCheckBox* rxAuto() const { return m_rx.automatic; }

private slots:
    void tunnelSessionCreate(int sid);
    void tunnelSessionDestroy(int sid);
    void tunnelSessionStatsUpdate(int sid);
    void tunnelSessionDelayUpdate(int sid);
    void radioTxClicked(bool checked);
    void radioRxClicked(bool checked);
    void checkTxDelayAutoChanged(int state);
    void checkRxDelayAutoChanged(int state);
    void sliderTxDelayReleased();
    void sliderRxDelayReleased();

private:
    // The widgets of one direction; only those of the chosen direction are on show.
    struct Direction {
        bool remote = false;
        DelaySlider* slider = nullptr;
        QCheckBox* automatic = nullptr;
        UtilizationGrapher* utilization = nullptr;
        LossLateRecoveryGrapher* loss = nullptr;
    };

    void createDirection(Direction& direction, bool remote);
    // The graphs are made once, with the first session, and show each session's own history.
    void showGraphs(Direction& direction, TunnelDirectionStats& stats, int sid);
    static void showDirection(Direction& shown, Direction& hidden);
    static void applyDelays(Direction& direction, const TunnelDirectionStats& stats);
    // "setMaxDelay" for the direction, with the slider's delay unless the backend chooses it.
    void sendMaxDelay(const Direction& direction);

    TunnelInfo m_tunnel;
    Direction m_tx;
    Direction m_rx;
};

#endif
