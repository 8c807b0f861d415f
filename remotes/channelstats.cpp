#include "channelstats.h"

#include "channelgrapher.h"
#include "ipcinstances.h"
#include "statsformat.h"

#include <QAbstractItemView>
#include <QSignalBlocker>

namespace {

enum TableRow { TotalReceiveRate, TotalTransmitRate, TotalReceive, TotalTransmit };
const char* const kDefaultChannel = "rtp_udp_mux";

int bitrate(const Params& channel, StatsFormat::Direction direction, unsigned parts)
{
    return static_cast<int>(StatsFormat::bitrateSum(channel, direction, false, parts));
}

} // namespace

ChannelStats::ChannelStats(QWidget* parent)
    : QWidget(parent)
{
    setupUi(this);
    attachControls(comboMode, checkAvg, statsTab);
    setUpTable(treeStats, {tr("Total Receive Rate"), tr("Total Transmit Rate"), tr("Total Receive"),
                           tr("Total Transmit")});
    m_receiveGraph = new ChannelGrapher(graphTop, tr("RX"));
    m_transmitGraph = new ChannelGrapher(graphBottom, tr("TX"));

    connect(&g_ipcClient, &IPCClient::recvChannelStats, this, &ChannelStats::updateChannelStats);
    connect(comboMode, QOverload<int>::of(&QComboBox::currentIndexChanged), this, &ChannelStats::channelChanged);
    connect(checkAvg, &QCheckBox::toggled, this, &ChannelStats::avgChanged);
}

int ChannelStats::keyOf(const std::string& channelId)
{
    const int next = static_cast<int>(m_keys.size());
    return m_keys.emplace(channelId, next).first->second;
}

std::string ChannelStats::selectedChannel() const
{
    return comboMode->currentData().toString().toStdString();
}

void ChannelStats::updateChannelStats()
{
    Message stats;
    g_ipcClient.copyResponse("channelStats", stats);
    rebuildChannelList(stats);
    refresh(stats, true);
}

void ChannelStats::rebuildChannelList(const Message& stats)
{
    const std::string remembered = selectedChannel();
    const int popupRow = comboMode->view()->currentIndex().row();
    {
        // The selection is settled once the list is whole.
        const QSignalBlocker blocker(comboMode);
        comboMode->clear();
        for (unsigned int i = 0; i < stats.num_children("channel"); ++i) {
            const Params& channel = stats.get_child("channel", i).params();
            const std::string id = channel.get_string("id", "");
            comboMode->addItem(QString::fromStdString(channel.get_string("name", "")), QString::fromStdString(id));
            keyOf(id);
        }
        int index = comboMode->findData(QString::fromStdString(remembered));
        if (index < 0)
            index = comboMode->findData(QString::fromLatin1(kDefaultChannel));
        comboMode->setCurrentIndex(std::max(0, index));
        if (popupRow >= 0)
            comboMode->view()->setCurrentIndex(comboMode->model()->index(popupRow, 0));
    }
    if (selectedChannel() != remembered)
        followSelection();
}

void ChannelStats::followSelection()
{
    if (comboMode->currentIndex() < 0)
        return;
    const int key = keyOf(selectedChannel());
    m_receiveGraph->setKey(key);
    m_transmitGraph->setKey(key);
}

void ChannelStats::channelChanged(int)
{
    followSelection();
    Message stats;
    g_ipcClient.copyResponse("channelStats", stats);
    refresh(stats, false);
}

void ChannelStats::avgChanged(bool)
{
    Message stats;
    g_ipcClient.copyResponse("channelStats", stats);
    refresh(stats, false);
}

void ChannelStats::refresh(const Message& stats, bool withSamples)
{
    using StatsFormat::Direction;
    const bool averaged = checkAvg->isChecked();
    const std::string selected = selectedChannel();
    treeStats->setUpdatesEnabled(false);
    for (unsigned int i = 0; i < stats.num_children("channel"); ++i) {
        const Params& channel = stats.get_child("channel", i).params();
        const std::string id = channel.get_string("id", "");
        if (id == selected) {
            treeStats->topLevelItem(TotalReceiveRate)
                ->setText(1, StatsFormat::kbps(StatsFormat::bitrateSum(channel, Direction::Receive, averaged,
                                                                       StatsFormat::AllParts)));
            treeStats->topLevelItem(TotalTransmitRate)
                ->setText(1, StatsFormat::kbps(StatsFormat::bitrateSum(channel, Direction::Transmit, averaged,
                                                                       StatsFormat::AllParts)));
            treeStats->topLevelItem(TotalReceive)->setText(1, StatsFormat::dataTotal(channel.get_uint("rxTotal", 0)));
            treeStats->topLevelItem(TotalTransmit)->setText(1, StatsFormat::dataTotal(channel.get_uint("txTotal", 0)));
        }
        if (withSamples) {
            const auto key = static_cast<uint32_t>(keyOf(id));
            m_receiveGraph->addSample(key, bitrate(channel, Direction::Receive, StatsFormat::Payload),
                                      bitrate(channel, Direction::Receive, StatsFormat::Overhead | StatsFormat::Rtcp));
            m_transmitGraph->addSample(key, bitrate(channel, Direction::Transmit, StatsFormat::Payload),
                                       bitrate(channel, Direction::Transmit, StatsFormat::Overhead | StatsFormat::Rtcp));
        }
    }
    treeStats->setUpdatesEnabled(true);
    m_receiveGraph->update();
    m_transmitGraph->update();
}
