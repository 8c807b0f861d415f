#include "braidstats.h"

#include "delayslider.h"
#include "losslaterecoverygrapher.h"
#include "ipcinstances.h"
#include "tunnellog.h"
#include "tunnelsession.h"
#include "utilizationgrapher.h"

#include <QCheckBox>

#include <algorithm>
#include <array>

namespace {
// Below this the tunnel cannot reorder anything.
constexpr int kMinDelayMs = 10;
constexpr int kKeyStepMs = 10;
} // namespace

BraidStats::BraidStats(QWidget* parent)
    : QWidget(parent)
{
    setupUi(this);
    createDirection(m_tx, false);
    createDirection(m_rx, true);
    showDirection(m_tx, m_rx);

    connect(&m_tunnel, &TunnelInfo::sessionCreate, this, &BraidStats::tunnelSessionCreate);
    connect(&m_tunnel, &TunnelInfo::sessionDestroy, this, &BraidStats::tunnelSessionDestroy);
    connect(&m_tunnel, &TunnelInfo::sessionStatsUpdate, this, &BraidStats::tunnelSessionStatsUpdate);
    connect(&m_tunnel, &TunnelInfo::sessionDelayUpdate, this, &BraidStats::tunnelSessionDelayUpdate);
    connect(radioTx, &QRadioButton::clicked, this, &BraidStats::radioTxClicked);
    connect(radioRx, &QRadioButton::clicked, this, &BraidStats::radioRxClicked);
    connect(m_tx.slider, &QSlider::sliderReleased, this, &BraidStats::sliderTxDelayReleased);
    connect(m_rx.slider, &QSlider::sliderReleased, this, &BraidStats::sliderRxDelayReleased);
    connect(m_tx.automatic, &QCheckBox::stateChanged, this, &BraidStats::checkTxDelayAutoChanged);
    connect(m_rx.automatic, &QCheckBox::stateChanged, this, &BraidStats::checkRxDelayAutoChanged);
}

BraidStats::~BraidStats() = default;

void BraidStats::createDirection(Direction& direction, bool remote)
{
    direction.remote = remote;
    direction.slider = new DelaySlider(delayWidget);
    direction.slider->setSingleStep(kKeyStepMs);
    direction.automatic = new QCheckBox(QStringLiteral("Automatic Delay Mode"), delayAutoWidget);
    direction.automatic->resize(delayAutoWidget->size());
}

void BraidStats::tunnelSessionCreate(int sid)
{
    TunnelSession* session = m_tunnel.session();
    showGraphs(m_tx, session->tx(), sid);
    showGraphs(m_rx, session->rx(), sid);
    session->setIfcWidget(ifcWidget);
    radioTx->setChecked(true);
    radioTxClicked(true);
}

void BraidStats::showGraphs(Direction& direction, TunnelDirectionStats& stats, int sid)
{
    if (!direction.utilization) {
        direction.utilization = new UtilizationGrapher(utilizationWidget);
        direction.loss = new LossLateRecoveryGrapher(lossWidget);
    }
    for (GraphWidget* graph : {static_cast<GraphWidget*>(direction.utilization), static_cast<GraphWidget*>(direction.loss)}) {
        graph->setKey(sid);
        graph->update();
    }
    stats.utilization_graph = direction.utilization;
    stats.loss_graph = direction.loss;
}

// The model has taken the session's buttons; its history in the graphs goes too.
void BraidStats::tunnelSessionDestroy(int sid)
{
    for (Direction* direction : {&m_tx, &m_rx}) {
        direction->utilization->erase(uint32_t(sid));
        direction->loss->erase(uint32_t(sid));
    }
}

void BraidStats::tunnelSessionStatsUpdate(int)
{
    g_log.log(LOG_DEBUG, "Tunnel Session Stats Update");
    radioTxClicked(radioTx->isChecked());
    radioRxClicked(radioRx->isChecked());
}

void BraidStats::tunnelSessionDelayUpdate(int)
{
    g_log.log(LOG_DEBUG, "Tunnel Session Delay Update");
    if (g_log.enabled(LOG_DEBUG))
        m_tunnel.session()->log();
    applyDelays(m_tx, m_tunnel.session()->tx());
    applyDelays(m_rx, m_tunnel.session()->rx());
}

void BraidStats::applyDelays(Direction& direction, const TunnelDirectionStats& stats)
{
    const int range = stats.delay_points[TunnelDirectionStats::kDelayPoints - 1];
    direction.slider->setMarker(stats.max_packet_delay, range);
    direction.slider->setZones(stats.delay_points, range);
    direction.slider->setValue(stats.max_allowed_delay);
    direction.slider->setEnabled(!stats.delay_mode_auto);
    direction.automatic->setChecked(stats.delay_mode_auto);
    direction.slider->setAuto(stats.delay_mode_auto);
}

void BraidStats::radioTxClicked(bool checked)
{
    if (!checked)
        return;
    showDirection(m_tx, m_rx);
    if (TunnelSession* session = m_tunnel.session())
        session->showTx();
}

void BraidStats::radioRxClicked(bool checked)
{
    if (!checked)
        return;
    showDirection(m_rx, m_tx);
    if (TunnelSession* session = m_tunnel.session())
        session->showRx();
}

void BraidStats::showDirection(Direction& shown, Direction& hidden)
{
    const auto widgets = [](Direction& direction) {
        return std::array<QWidget*, 4>{direction.slider, direction.automatic, direction.utilization, direction.loss};
    };
    for (QWidget* widget : widgets(hidden)) {
        if (widget)
            widget->hide();
    }
    for (QWidget* widget : widgets(shown)) {
        if (widget)
            widget->show();
    }
}

void BraidStats::checkTxDelayAutoChanged(int)
{
    sendMaxDelay(m_tx);
}

void BraidStats::checkRxDelayAutoChanged(int)
{
    sendMaxDelay(m_rx);
}

void BraidStats::sliderTxDelayReleased()
{
    sendMaxDelay(m_tx);
}

void BraidStats::sliderRxDelayReleased()
{
    sendMaxDelay(m_rx);
}

void BraidStats::sendMaxDelay(const Direction& direction)
{
    const TunnelSession* session = m_tunnel.session();
    if (!session)
        return;
    direction.slider->setValue(std::max(direction.slider->value(), kMinDelayMs));
    const bool automatic = direction.automatic->isChecked();
    Message request("setMaxDelay");
    request.params().set_bool("remote", direction.remote);
    request.params().set_int("sid", session->sid());
    if (!automatic)
        request.params().set_int("delay", direction.slider->value());
    request.params().set_bool("auto", automatic);
    request._dump(LOG_DEBUG, 0, 1);
    g_ipcClient.sendRequest(request);
}

void BraidStats::handleKey(int keycode, bool pressed, bool repeat)
{
    switch (keycode) {
    case Qt::Key_Enter:
        injectKey(Qt::Key_Space, pressed, repeat);
        break;
    // The sliders and check boxes are for the touch screen; the keypad only picks the direction.
    case Qt::Key_Left:
    case Qt::Key_Right:
        if (!pressed)
            break;
        if (radioTx->hasFocus())
            radioRx->setFocus();
        else if (radioRx->hasFocus())
            radioTx->setFocus();
        break;
    default:
        break;
    }
}
