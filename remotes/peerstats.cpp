#include "peerstats.h"

#include "delaygrapher.h"
#include "ipcinstances.h"
#include "percentgrapher.h"
#include "statsformat.h"

#include <QSignalBlocker>

#include <vector>

namespace {

enum class Format { Duration, Milliseconds, Percent, Kbps, ReceiveOverhead, TransmitOverhead };

struct Row {
    const char* label;
    // The parameter; an overhead sums several.
    const char* key;
    Format format;
    bool advanced;
};

const Row kRows[] = {
    {QT_TRANSLATE_NOOP("PeerStats", "Call Duration"), "callTime", Format::Duration, false},
    {QT_TRANSLATE_NOOP("PeerStats", "Transmit Delay"), "delayOut", Format::Milliseconds, false},
    {QT_TRANSLATE_NOOP("PeerStats", "Receive Delay"), "delayIn", Format::Milliseconds, false},
    {QT_TRANSLATE_NOOP("PeerStats", "Frame Loss Rate"), "frameLossRate", Format::Percent, false},
    {QT_TRANSLATE_NOOP("PeerStats", "Remote Loss Rate"), "remoteLoss", Format::Percent, false},
    {QT_TRANSLATE_NOOP("PeerStats", "Receive Rate"), "rxPayload", Format::Kbps, false},
    {QT_TRANSLATE_NOOP("PeerStats", "Receive Overhead"), "", Format::ReceiveOverhead, false},
    {QT_TRANSLATE_NOOP("PeerStats", "Transmit Rate"), "txPayload", Format::Kbps, false},
    {QT_TRANSLATE_NOOP("PeerStats", "Transmit Overhead"), "", Format::TransmitOverhead, false},
    {QT_TRANSLATE_NOOP("PeerStats", "Network RTT"), "rtt", Format::Milliseconds, true},
    {QT_TRANSLATE_NOOP("PeerStats", "Buffer Delay"), "bufferDelay", Format::Milliseconds, true},
    {QT_TRANSLATE_NOOP("PeerStats", "Desired Delay"), "bufferDesiredDelay", Format::Milliseconds, true},
    {QT_TRANSLATE_NOOP("PeerStats", "Packet Jitter"), "packetJitter", Format::Milliseconds, true},
    {QT_TRANSLATE_NOOP("PeerStats", "Delay Max Deviation"), "bufferMaxDev", Format::Milliseconds, true},
    {QT_TRANSLATE_NOOP("PeerStats", "Packet Outlier Rate"), "pktOutlierRate", Format::Percent, true},
    {QT_TRANSLATE_NOOP("PeerStats", "Packet Duplication Rate"), "pktDupRate", Format::Percent, true},
    {QT_TRANSLATE_NOOP("PeerStats", "Packet Out-of-Order Rate"), "pktOOORate", Format::Percent, true},
    {QT_TRANSLATE_NOOP("PeerStats", "Packet Recovery Rate"), "pktRtxRate", Format::Percent, true},
    {QT_TRANSLATE_NOOP("PeerStats", "Frame Late Rate"), "frameLateRate", Format::Percent, true},
    {QT_TRANSLATE_NOOP("PeerStats", "Insert Rate"), "insertRate", Format::Percent, true},
    {QT_TRANSLATE_NOOP("PeerStats", "Correction Rate (up)"), "corrUpRate", Format::Percent, true},
    {QT_TRANSLATE_NOOP("PeerStats", "Correction Rate (down)"), "corrDownRate", Format::Percent, true},
    {QT_TRANSLATE_NOOP("PeerStats", "Effective Bitrate (TX)"), "effTxBitrate", Format::Kbps, true},
    {QT_TRANSLATE_NOOP("PeerStats", "Effective Bitrate (RX)"), "effRxBitrate", Format::Kbps, true},
};
constexpr int kRowCount = sizeof kRows / sizeof kRows[0];

QString overhead(const Params& peer, StatsFormat::Direction direction)
{
    return StatsFormat::kbps(StatsFormat::bitrateSum(peer, direction, false, StatsFormat::Overhead | StatsFormat::Rtcp));
}

QString valueText(const Params& peer, const Row& row)
{
    switch (row.format) {
    case Format::Duration:
        return StatsFormat::duration(peer.get_uint(row.key, 0));
    case Format::Milliseconds:
        return StatsFormat::milliseconds(peer.get_int(row.key, 0));
    case Format::Percent:
        return StatsFormat::percent(peer.get_uint(row.key, 0));
    case Format::Kbps:
        return StatsFormat::kbps(peer.get_uint(row.key, 0));
    case Format::ReceiveOverhead:
        return overhead(peer, StatsFormat::Direction::Receive);
    case Format::TransmitOverhead:
        return overhead(peer, StatsFormat::Direction::Transmit);
    }
    return QString();
}

int rateSum(const Params& peer, std::initializer_list<const char*> keys)
{
    int64_t sum = 0;
    for (const char* key : keys)
        sum += peer.get_uint(key, 0);
    return static_cast<int>(sum);
}

} // namespace

PeerStats::PeerStats(QWidget* parent)
    : QWidget(parent)
{
    setupUi(this);
    attachControls(comboMode, checkAdvanced, statsTab);
    QStringList labels;
    for (const Row& row : kRows)
        labels << tr(row.label);
    setUpTable(treeStats, labels);
    for (int i = 0; i < kRowCount; ++i)
        treeStats->topLevelItem(i)->setHidden(kRows[i].advanced);
    m_delayGraph = new DelayGrapher(graphTop);
    m_percentGraph = new PercentGrapher(graphBottom);

    connect(&g_ipcClient, &IPCClient::recvPeerStats, this, &PeerStats::updatePeerStats);
    connect(&g_ipcClient, &IPCClient::recvPeerList, this, &PeerStats::updatePeers);
    connect(comboMode, QOverload<int>::of(&QComboBox::currentIndexChanged), this, &PeerStats::peerChanged);
    connect(checkAdvanced, &QCheckBox::toggled, this, &PeerStats::advancedChanged);
}

int PeerStats::selectedPeer() const
{
    return comboMode->currentIndex() < 0 ? 0 : comboMode->currentData().toInt();
}

void PeerStats::updatePeerStats()
{
    refresh(true);
}

void PeerStats::peerChanged(int)
{
    m_delayGraph->setKey(selectedPeer());
    m_percentGraph->setKey(selectedPeer());
    refresh(false);
}

void PeerStats::advancedChanged(bool checked)
{
    for (int i = 0; i < kRowCount; ++i) {
        if (kRows[i].advanced)
            treeStats->topLevelItem(i)->setHidden(!checked);
    }
    refresh(false);
}

void PeerStats::refresh(bool withSamples)
{
    const int selected = selectedPeer();
    treeStats->setUpdatesEnabled(false);
    bool filled = false;
    Message stats;
    if (g_ipcClient.copyResponse("peerStats", stats)) {
        for (unsigned int i = 0; i < stats.num_children("peer"); ++i) {
            const Params& peer = stats.get_child("peer", i).params();
            if (peer.get_int("id", 0) != selected)
                continue;
            for (int row = 0; row < kRowCount; ++row)
                treeStats->topLevelItem(row)->setText(1, valueText(peer, kRows[row]));
            filled = true;
        }
        if (withSamples)
            addSamples(stats);
    }
    m_delayGraph->update();
    m_percentGraph->update();
    if (!filled) {
        for (int row = 0; row < kRowCount; ++row)
            treeStats->topLevelItem(row)->setText(1, QString());
    }
    treeStats->setUpdatesEnabled(true);
}

void PeerStats::addSamples(const Message& stats)
{
    for (unsigned int i = 0; i < stats.num_children("peer"); ++i) {
        const Params& peer = stats.get_child("peer", i).params();
        const auto key = static_cast<uint32_t>(peer.get_int("id", 0));
        const int maxDelay = peer.get_int("bufferMaxDelay", 0);
        m_delayGraph->addSample(key, maxDelay, peer.get_int("bufferDesiredDelay", 0),
                                maxDelay - peer.get_int("bufferMinDelay", 0), peer.get_bool("newData", false));
        m_percentGraph->addSample(key, rateSum(peer, {"frameLossRate"}), rateSum(peer, {"remoteLoss"}),
                                  rateSum(peer, {"corrUpRate", "corrDownRate", "insertRate"}));
    }
}

void PeerStats::updatePeers()
{
    Message peers;
    if (!g_ipcClient.copyResponse("peerList", peers))
        return;
    std::set<int> active;
    std::vector<std::pair<int, QString>> entries;
    for (unsigned int i = 0; i < peers.num_children("peer"); ++i) {
        const Params& peer = peers.get_child("peer", i).params();
        if (!peer.get_bool("active", false))
            continue;
        const int id = peer.get_int("id", 0);
        active.insert(id);
        entries.emplace_back(id, QString::fromStdString(peer.get_string("name", "")));
    }
    if (active == m_activePeers)
        return;
    const std::set<uint32_t> keys(active.begin(), active.end());
    m_delayGraph->prune(keys);
    m_percentGraph->prune(keys);

    const int remembered = selectedPeer();
    comboMode->setUpdatesEnabled(false);
    {
        // One selection change at the end, not one per entry.
        const QSignalBlocker blocker(comboMode);
        comboMode->clear();
        for (const auto& entry : entries)
            comboMode->addItem(entry.second, entry.first);
        comboMode->setCurrentIndex(std::max(0, comboMode->findData(remembered)));
    }
    comboMode->setUpdatesEnabled(true);
    m_activePeers = std::move(active);
    peerChanged(comboMode->currentIndex());
}
