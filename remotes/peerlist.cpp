#include "peerlist.h"

#include "ipcinstances.h"
#include "logger.h"
#include "qtreewidgetitemipc.h"

#include <QCoreApplication>
#include <QHeaderView>
#include <QKeyEvent>

#include <algorithm>
#include <map>
#include <set>

namespace {

const char* const kIconFiles[] = {
    ":/icons/curve_arrow_lr.png",    ":/icons/curve_arrow_l.png",    ":/icons/curve_arrow_r.png",
    ":/icons/x.png",                 ":/icons/black_arrow_right.png", ":/icons/asterisk_gray.png",
    ":/icons/asterisk_green.png",    ":/icons/asterisk_red.png",     ":/icons/asterisk_yellow.png",
};

const char* const kPotsChannel = "pots";
const int kTreeColumnWidth = 635;
const int kDetailPointSize = 7;

QString text(const Params& params, const char* key)
{
    return QString::fromStdString(params.get_string(key, ""));
}

void setForegrounds(QTreeWidgetItem* row, const QColor& colour)
{
    row->setForeground(0, colour);
    for (int i = 0; i < row->childCount(); ++i) {
        row->child(i)->setForeground(0, colour);
        row->child(i)->setForeground(1, colour);
    }
}

} // namespace

PeerList::RowLabels PeerList::rowLabels()
{
    return {tr(" (Braid)"),        tr("\nBraid Retired: "), tr("\nBraid "),          tr("Phone Number\t"),
            tr("Address\t"),       tr("MAC Address\t"),     tr("Braid Enable\tYes"), tr("Braid Enable\tNo"),
            tr("Not Active"),      tr("Braid Status\t"),    tr("Profile\t"),         tr("Transmitting\t"),
            tr("Receiving\t"),     tr("No"),                tr("Remote State\t"),    tr("Product\t"),
            tr("NAT Type\t")};
}

PeerList::PeerList(QWidget* parent)
    : QWidget(parent)
    , m_labels(rowLabels())
{
    setupUi(this);
    static_assert(sizeof kIconFiles / sizeof kIconFiles[0] == StateIconCount, "one file per state icon");
    for (int i = 0; i < StateIconCount; ++i)
        m_icons[i] = QIcon(QString::fromLatin1(kIconFiles[i]));

    peerTree->header()->setStretchLastSection(false);
    peerTree->header()->setSectionResizeMode(0, QHeaderView::Fixed);
    peerTree->setColumnWidth(0, kTreeColumnWidth);
    buttonRateDrop->hide();
    buttonRetrain->hide();

    connect(&g_ipcClient, &IPCClient::recvProfileList, this, &PeerList::updateProfileList);
    connect(&g_ipcClient, &IPCClient::recvCurrentEncoder, this, &PeerList::updateCurrentEncoder);
    connect(&g_ipcClient, &IPCClient::recvPeerList, this, &PeerList::updatePeerList);
    connect(&g_ipcClient, &IPCClient::recvDirectoryServer, this, &PeerList::updateDirectoryServer);
    connect(&g_ipcClient, &IPCClient::unsoTunnelStatus, this, &PeerList::handleUnsoTunnelStatus);
    connect(&g_ipcClient, &IPCClient::recvTunnelStatus, this, &PeerList::handleRespTunnelStatus);
    connect(buttonConnect, &QPushButton::clicked, this, &PeerList::connectPeer);
    connect(buttonDisconnect, &QPushButton::clicked, this, &PeerList::disconnectPeer);
    connect(buttonRateDrop, &QPushButton::clicked, this, &PeerList::rateDrop);
    connect(buttonRetrain, &QPushButton::clicked, this, &PeerList::retrain);
    connect(peerTree, &QTreeWidget::currentItemChanged, this, &PeerList::handleSelectionChanged);
    connect(peerTree, &QTreeWidget::itemExpanded, this, &PeerList::handleItemExpansion);
}

void PeerList::updateProfileList()
{
    Message profiles;
    if (!g_ipcClient.copyResponse("profileList", profiles))
        return;
    m_profileNames.clear();
    m_profileChannels.clear();
    m_profileNames[0] = tr("(Default Profile)");
    m_profileChannels[0] = tr("(Default Profile Channel)");
    for (unsigned int i = 0; i < profiles.num_children("profile"); ++i) {
        const Message& profile = profiles.get_child("profile", i);
        const Message* settings = profile.find_child("settings");
        if (!settings)
            continue;
        const int id = profile.params().get_int("id", 0);
        m_profileNames[id] = text(settings->params(), "name");
        m_profileChannels[id] = text(settings->params(), "channel");
        if (profile.params().get_bool("default", false)) {
            m_profileNames[0] = m_profileNames[id];
            m_profileChannels[0] = m_profileChannels[id];
        }
    }
    refreshRows(RowRefresh::RecordsAndTexts);
}

void PeerList::updateCurrentEncoder()
{
    Message encoder;
    if (!g_ipcClient.copyResponse("currentEncoder", encoder))
        return;
    const QString descr = text(encoder.params(), "descr");
    if (descr == m_currentEncoder)
        return;
    m_currentEncoder = descr;
    refreshRows(RowRefresh::ActiveTexts);
}

void PeerList::updatePeerList()
{
    Message fresh;
    if (!g_ipcClient.copyResponse("peerList", fresh))
        return;

    std::map<int, const Message*> stored;
    for (unsigned int i = 0; i < m_peerList.num_children("peer"); ++i) {
        const Message& peer = m_peerList.get_child("peer", i);
        stored[peer.params().get_int("id", 0)] = &peer;
    }
    std::set<int> freshIds;
    for (unsigned int i = 0; i < fresh.num_children("peer"); ++i)
        freshIds.insert(fresh.get_child("peer", i).params().get_int("id", 0));

    for (const auto& [id, peer] : stored) {
        if (!freshIds.count(id)) {
            delete rowOf(id);
            m_rows.erase(id);
        }
    }

    // Only new rows are placed, each right after the row of the id before it in the new list;
    // known rows stay where they are whatever the new order.
    std::vector<std::pair<int, QTreeWidgetItemIPC*>> anchoredRows;
    int previousId = 0;
    for (unsigned int i = 0; i < fresh.num_children("peer"); ++i) {
        const Message& peer = fresh.get_child("peer", i);
        const int id = peer.params().get_int("id", 0);
        const auto known = stored.find(id);
        if (known == stored.end()) {
            auto* row = new QTreeWidgetItemIPC;
            updatePeerItem(row, peer);
            anchoredRows.emplace_back(previousId, row);
            m_rows.emplace(id, row);
        } else if (*known->second != peer) {
            updatePeerItem(rowOf(id), peer);
        }
        previousId = id;
    }
    insertNewRows(anchoredRows);

    m_peerList = std::move(fresh);
    updateButtons();
}

// Each new row goes right after the row of its anchor id (at the top without one). Runs of new
// rows are inserted as blocks, the lowest first, so that the positions found before stay true.
void PeerList::insertNewRows(const std::vector<std::pair<int, QTreeWidgetItemIPC*>>& anchoredRows)
{
    if (anchoredRows.empty())
        return;
    const bool wasEmpty = peerTree->topLevelItemCount() == 0;
    std::unordered_map<QTreeWidgetItem*, int> positions;
    for (int i = 0; i < peerTree->topLevelItemCount(); ++i)
        positions.emplace(peerTree->topLevelItem(i), i);

    std::vector<std::pair<int, QList<QTreeWidgetItem*>>> blocks;
    QTreeWidgetItem* previousNew = nullptr;
    for (const auto& [anchorId, row] : anchoredRows) {
        QTreeWidgetItem* anchor = rowOf(anchorId);
        if (anchor && anchor == previousNew) {
            blocks.back().second.append(row);
        } else {
            const auto known = positions.find(anchor);
            blocks.emplace_back(known == positions.end() ? 0 : known->second + 1, QList<QTreeWidgetItem*>{row});
        }
        previousNew = row;
    }
    std::stable_sort(blocks.begin(), blocks.end(), [](const auto& a, const auto& b) { return a.first > b.first; });
    for (const auto& [position, rows] : blocks)
        peerTree->insertTopLevelItems(position, rows);
    if (wasEmpty)
        peerTree->setCurrentItem(anchoredRows.front().second);
}

void PeerList::updateDirectoryServer()
{
    Message directory;
    Message sip;
    g_ipcClient.copyResponse("directoryServer", directory);
    g_ipcClient.copyResponse("sipProxy", sip);

    QString title;
    if (directory.params().get_bool("enabled", false)) {
        const Params& params = directory.params();
        const QString natType = text(params, "nat_type");
        if (!params.get_bool("connected", false))
            title = tr("Relaybook Offline");
        else if (natType.isEmpty())
            title = tr("Relaybook Online");
        else
            title = tr("Relaybook Online (%1)").arg(natType);
    }
    if (sip.params().get_bool("enabled", false)) {
        const Params& params = sip.params();
        if (!title.isEmpty())
            title += QLatin1Char('\n');
        title += params.get_bool("online", false) ? tr("SIP Online") : tr("SIP Offline");
        const QString status = text(params, "status");
        if (!status.isEmpty())
            title += QStringLiteral(" (%1)").arg(status);
    }
    if (title.isEmpty())
        title = tr("Select Remote ORVANE Unit");
    labelTitle->setText(title);
}

void PeerList::handleUnsoTunnelStatus(QString, Message msg)
{
    g_log.log(LOG_INFO, "handleUnsoTunnelStatus");
    setTunnelStatus(msg);
}

void PeerList::handleRespTunnelStatus(const Message& msg)
{
    g_log.log(LOG_INFO, "handleRespTunnelStatus");
    if (const Message* node = msg.find_child("node"))
        setTunnelStatus(*node);
}

void PeerList::setTunnelStatus(const Message& status)
{
    const unsigned int count = status.num_children("sess");
    m_sessionSids.clear();
    m_sessionSids.reserve(count);
    m_sessionsBySid.clear();
    m_sessionsBySid.reserve(count);
    for (unsigned int i = 0; i < count; ++i) {
        const Message& session = status.get_child("sess", i);
        m_sessionSids.push_back(session.params().get_string("sid", ""));
        if (!m_sessionsBySid.count(m_sessionSids.back()))
            m_sessionsBySid.emplace(m_sessionSids.back(), braidSession(session));
    }
    refreshRows(RowRefresh::Texts);
}

void PeerList::refreshRows(RowRefresh refresh)
{
    for (unsigned int i = 0; i < m_peerList.num_children("peer"); ++i) {
        const Message& peer = m_peerList.get_child("peer", i);
        if (refresh == RowRefresh::ActiveTexts && !peer.params().get_bool("active", false))
            continue;
        QTreeWidgetItemIPC* row = rowOf(peer.params().get_int("id", 0));
        if (!row)
            continue;
        if (refresh == RowRefresh::RecordsAndTexts)
            storePeer(row, peer);
        showPeer(row, peer);
    }
}

void PeerList::updatePeerItem(QTreeWidgetItemIPC* row, const Message& peer)
{
    storePeer(row, peer);
    showPeer(row, peer);
}

int PeerList::profileOf(const Params& peer) const
{
    const int profile = peer.get_int("profile", 0);
    return m_profileChannels.contains(profile) ? profile : 0;
}

void PeerList::storePeer(QTreeWidgetItemIPC* row, const Message& peer)
{
    const Params& params = peer.params();
    row->setParams(params);
    // The row keeps the channel the remote calls on, for the telephone-line buttons.
    if (!params.has_param("channel"))
        row->params().set_string("channel", m_profileChannels.value(profileOf(params)).toStdString());
}

void PeerList::showPeer(QTreeWidgetItemIPC* row, const Message& peer)
{
    const Params& params = peer.params();
    peer._dump(LOG_DEBUG, 0, 1);
    const BraidSession session = braidSessionOf(params);
    const QStringList details = detailRows(peer, text(row->params(), "channel"), m_profileNames.value(profileOf(params)), session);
    setDetailCount(row, details.size());

    peerTree->changeData([&] {
        row->setText(0, text(params, "name") + statusLine(params, session));
        for (int i = 0; i < details.size(); ++i)
            row->child(i)->setText(0, details[i]);
        row->setIcon(0, m_icons[stateIcon(peer)]);
        if (const Message* directory = peer.find_child("directory"))
            setForegrounds(row, directory->params().get_bool("online", false) ? QColor(0, 0, 0) : QColor(128, 128, 128));
    });
}

// The comparisons a walk over the sessions would make, up to the first match; only when debugging,
// since the walk costs a pass over the sessions for every row.
void PeerList::logSessionComparisons(const std::string& peerSid) const
{
    if (!g_log.enabled(LOG_DEBUG))
        return;
    for (const std::string& sessionSid : m_sessionSids) {
        g_log.log(LOG_DEBUG, "updatePeerItem.. braid sess sid=%s peer sid=%s", sessionSid.c_str(), peerSid.c_str());
        if (!peerSid.empty() && sessionSid == peerSid)
            return;
    }
}

PeerList::BraidSession PeerList::braidSessionOf(const Params& peer) const
{
    const std::string sid = peer.get_string("sid", "");
    logSessionComparisons(sid);
    if (sid.empty())
        return {};
    const auto sessionOfSid = m_sessionsBySid.find(sid);
    return sessionOfSid == m_sessionsBySid.end() ? BraidSession() : sessionOfSid->second;
}

PeerList::BraidSession PeerList::braidSession(const Message& session)
{
    BraidSession found;
    found.known = true;
    found.state = text(session.params(), "state");
    const QString upper = found.state.toUpper();
    if (upper == QLatin1String("ACTIVE")) {
        found.active = true;
    } else if (upper == QLatin1String("SEARCHING")) {
        for (unsigned int s = 0; s < session.num_children("search"); ++s)
            found.searchList += QStringLiteral("\n\t") + text(session.get_child("search", s).params(), "addr");
    } else if (upper == QLatin1String("RETIRED") && session.params().has_param("reason")) {
        found.retired = true;
        found.reason = text(session.params(), "reason");
    }
    return found;
}

// The line under the remote's name: the call's state, unless its Braid session says more.
QString PeerList::statusLine(const Params& peer, const BraidSession& session) const
{
    const QString stateUi = text(peer, "state_ui");
    const QString chanState = text(peer, "chan_state");
    QString status;
    if (peer.get_bool("active", false) || !chanState.isEmpty()) {
        status = QLatin1Char('\n') + stateUi;
        if (!chanState.isEmpty() && chanState != stateUi)
            status += QStringLiteral(" (%1)").arg(chanState);
    }
    if (!session.known || !session.searchList.isEmpty())
        return status;
    if (session.active)
        return status + m_labels.braidActive;
    if (session.retired)
        return m_labels.braidRetired + session.reason;
    return m_labels.braid + session.state;
}

QStringList PeerList::detailRows(const Message& peer, const QString& channel, const QString& profileName,
                                 const BraidSession& session) const
{
    const Params& params = peer.params();
    QStringList details;
    details << (channel == QLatin1String(kPotsChannel) ? m_labels.phoneNumber : m_labels.address) + text(params, "addr");
    if (params.get_bool("plait", false)) {
        const bool usePlait = params.get_bool("use_plait", false);
        if (usePlait)
            details << m_labels.macAddress + text(params, "unit");
        details << (usePlait ? m_labels.braidEnabled : m_labels.braidDisabled);
        if (usePlait) {
            QString braidStatus = m_labels.notActive;
            if (session.known)
                braidStatus = session.state + (session.retired ? QStringLiteral(" (%1)").arg(session.reason) : session.searchList);
            details << m_labels.braidStatus + braidStatus;
        }
    }
    if (!params.get_bool("incoming", false))
        details << m_labels.profile + profileName;
    if (params.get_bool("active", false)) {
        details << m_labels.transmitting + (params.get_bool("transmitting", false) ? m_currentEncoder : m_labels.no);
        details << m_labels.receiving + (params.get_bool("receiving", false) ? text(params, "rx_codec") : m_labels.no);
    }
    if (const Message* directory = peer.find_child("directory")) {
        details << m_labels.remoteState + text(directory->params(), "state");
        details << m_labels.product + text(directory->params(), "product");
        details << m_labels.natType + text(directory->params(), "nat_type");
    }
    return details;
}

// Detail rows are reused in place; surplus ones go.
void PeerList::setDetailCount(QTreeWidgetItem* row, int count)
{
    if (row->childCount() < count) {
        const QFont detailFont(QStringLiteral("arial"), kDetailPointSize, QFont::Normal, false);
        while (row->childCount() < count)
            (new QTreeWidgetItem(row))->setFont(0, detailFont);
    }
    while (row->childCount() > count)
        delete row->takeChild(row->childCount() - 1);
}

// A call shows which way audio flows; otherwise what the directory says about the remote.
PeerList::StateIcon PeerList::stateIcon(const Message& peer)
{
    const Params& params = peer.params();
    if (params.get_bool("active", false)) {
        const bool transmitting = params.get_bool("transmitting", false);
        const bool receiving = params.get_bool("receiving", false);
        return transmitting ? (receiving ? IconSendReceive : IconSend) : (receiving ? IconReceive : IconSilent);
    }
    const Message* directory = peer.find_child("directory");
    if (!directory)
        return IconUnlisted;
    if (!directory->params().get_bool("online", false))
        return IconOffline;
    const std::string canConnect = directory->params().get_string("can_connect", "");
    return canConnect == "busy" ? IconBusy : canConnect == "ts_fail" ? IconFailing : IconAvailable;
}

QTreeWidgetItemIPC* PeerList::rowOf(int id) const
{
    const auto row = m_rows.find(id);
    return row == m_rows.end() ? nullptr : row->second;
}

QTreeWidgetItemIPC* PeerList::selectedRow() const
{
    QTreeWidgetItem* item = peerTree->currentItem();
    if (item && item->parent())
        item = item->parent();
    return static_cast<QTreeWidgetItemIPC*>(item);
}

void PeerList::updateButtons()
{
    bool anyActive = false;
    bool potsActive = false;
    bool potsConnected = false;
    for (int i = 0; i < peerTree->topLevelItemCount(); ++i) {
        const Params& params = static_cast<QTreeWidgetItemIPC*>(peerTree->topLevelItem(i))->params();
        if (!params.get_bool("active", false))
            continue;
        anyActive = true;
        if (params.get_string("channel", "") == kPotsChannel) {
            potsActive = true;
            potsConnected = potsConnected || params.get_string("state", "") == "connected";
        }
    }
    if (anyActive != m_anyActive) {
        m_anyActive = anyActive;
        emit anyActiveChanged();
    }

    buttonRateDrop->setVisible(potsActive);
    buttonRetrain->setVisible(potsActive);
    buttonRateDrop->setEnabled(potsConnected);
    buttonRetrain->setEnabled(potsConnected);

    if (const QTreeWidgetItemIPC* row = selectedRow())
        setButtonsFor(*row);
}

void PeerList::setButtonsFor(const QTreeWidgetItemIPC& row)
{
    const bool active = row.params().get_bool("active", false);
    buttonConnect->setEnabled(!active);
    buttonDisconnect->setEnabled(active);
    if (shown)
        (active ? buttonDisconnect : buttonConnect)->setFocus();
}

void PeerList::handleSelectionChanged()
{
    const QTreeWidgetItemIPC* row = selectedRow();
    if (!row)
        return;
    setButtonsFor(*row);
    emit newPeerIDSelected(row->params().get_int("id", 0));
}

void PeerList::handleItemExpansion(QTreeWidgetItem* item)
{
    if (item->childCount() > 0)
        peerTree->scrollToItem(item->child(item->childCount() - 1));
    peerTree->setCurrentItem(item);
}

QString PeerList::getAttrOfSelected(QString attr) const
{
    const QTreeWidgetItemIPC* row = selectedRow();
    return row ? text(row->params(), attr.toStdString().c_str()) : QString();
}

void PeerList::sendForSelected(const char* request)
{
    const QTreeWidgetItemIPC* row = selectedRow();
    if (!row)
        return;
    Message msg(request);
    msg.params().set_int("id", row->params().get_int("id", 0));
    g_ipcClient.sendRequest(msg);
}

void PeerList::connectPeer()
{
    sendForSelected("connect");
}

void PeerList::disconnectPeer()
{
    sendForSelected("disconnect");
}

void PeerList::sendPotsCommand(const char* command)
{
    Message msg("channelCommand");
    msg.params().set_string("channel", kPotsChannel);
    msg.params().set_string("command", command);
    g_ipcClient.sendRequest(msg);
}

void PeerList::rateDrop()
{
    sendPotsCommand("rateDrop");
}

void PeerList::retrain()
{
    sendPotsCommand("retrain");
}

void PeerList::paneAboutToShow()
{
    PaneBase::paneAboutToShow();
    (buttonConnect->isEnabled() ? buttonConnect : buttonDisconnect)->setFocus();
}

void PeerList::handleKey(int keycode, bool pressed, bool repeat)
{
    switch (keycode) {
    case Qt::Key_Enter:
        injectKey(Qt::Key_Space, pressed, repeat);
        break;
    case Qt::Key_Left:
    case Qt::Key_Up:
    case Qt::Key_Right:
    case Qt::Key_Down:
        QCoreApplication::postEvent(peerTree, new QKeyEvent(pressed ? QEvent::KeyPress : QEvent::KeyRelease, keycode,
                                                             Qt::NoModifier, QString(), repeat));
        break;
    default:
        break;
    }
}
