#include "metering.h"

#include "bigmeter.h"
#include "ipcinstances.h"
#include "message.h"
#include "smallmeter.h"

#include <QLayout>

namespace {
const int kSmallMeterWidth = 78;
const int kSmallMeterHeight = 14;

// Summed positions rather than mapToGlobal: the bars are placed before the windows are shown.
// The window's layout is settled first, as it moves the forms (under the menu bar, say).
QPoint screenOrigin(const QWidget *widget)
{
    if (QLayout *layout = widget->window()->layout())
        layout->activate();
    QPoint origin;
    for (; widget; widget = widget->parentWidget())
        origin += widget->pos();
    return origin;
}

// Rows 0 and 1 show the input signal, rows 2 and 3 the playback signal; each pair is L, R.
void addBar(Message &request, int row, int x, int y, int width, int height)
{
    Params &bar = request.add_child("meter").params();
    bar.set_uint("x", static_cast<uint32_t>(x));
    bar.set_uint("y", static_cast<uint32_t>(y));
    bar.set_uint("width", static_cast<uint32_t>(width));
    bar.set_uint("height", static_cast<uint32_t>(height));
    bar.set_uint("channel", static_cast<uint32_t>(row % 2));
    bar.set_bool("playback", row >= 2);
}
}

Metering::Metering(QWidget *parent)
    : QWidget(parent)
{
    setupUi(this);
    m_bigMeter = new BigMeter(200, 100, meterWidget);

    connect(radioDBFS, &QRadioButton::clicked, m_bigMeter, &BigMeter::setModeFS);
    connect(radioDBU, &QRadioButton::clicked, m_bigMeter, &BigMeter::setModeDBU);
    connect(&g_ipcClient, &IPCClient::changedState, this, &Metering::ipcChangedState);
    connect(&g_ipcClient, &IPCClient::recvSetMetering, this, &Metering::handleMeterChange);
}

void Metering::createSmallMeter(QWidget *parent)
{
    m_smallMeter = new SmallMeter(kSmallMeterWidth, kSmallMeterHeight, parent);
    connect(m_smallMeter, &SmallMeter::meterClicked, this, &Metering::smallMeterClicked);
}

void Metering::setBigMeterEnabled(bool enabled)
{
    if (enabled == m_bigEnabled)
        return;
    m_bigEnabled = enabled;
    sendMetering();
}

void Metering::setSuspended(bool suspended, bool bigPaused)
{
    if (suspended == m_suspended && bigPaused == m_bigPaused)
        return;
    m_suspended = suspended;
    m_bigPaused = bigPaused;
    sendMetering();
    if (m_suspended)
        emit metersSuspended();
    else
        emit metersActive();
}

void Metering::ipcChangedState(IPCClient::IPC_STATE state, bool)
{
    const bool ready = state == IPCClient::IPC_READY;
    if (ready == m_smallEnabled)
        return;
    m_smallEnabled = ready;
    sendMetering();
}

void Metering::handleMeterChange()
{
    if (m_suspended)
        emit metersSuspended();
    else
        emit metersActive();
}

void Metering::menuAboutToShow()
{
    setSuspended(false, true);
}

void Metering::menuAboutToHide()
{
    setSuspended(false, false);
}

void Metering::sendMetering()
{
    // A request without bars stops them all, so every change sends the complete set.
    Message request("setMetering");
    if (m_smallMeter && m_smallEnabled && !m_suspended) {
        const QPoint origin = screenOrigin(m_smallMeter);
        for (int row = 0; row < 4; ++row)
            addBar(request, row, origin.x(), origin.y() + m_smallMeter->rowY(row), m_smallMeter->minimumWidth(),
                   SmallMeter::kBarHeight);
    }
    if (m_bigEnabled && !m_bigPaused) {
        const QPoint origin = screenOrigin(m_bigMeter);
        for (int row = 0; row < 4; ++row)
            addBar(request, row, origin.x() + m_bigMeter->barX(), origin.y() + m_bigMeter->rowY(row),
                   m_bigMeter->barLength(), m_bigMeter->barHeight());
    }
    g_ipcClient.sendRequest(request);
}
