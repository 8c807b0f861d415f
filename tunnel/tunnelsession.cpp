#include "tunnelsession.h"

#include "ifcbutton.h"
#include "losslaterecoverygrapher.h"
#include "message.h"
#include "tunnelconnection.h"
#include "tunnellog.h"
#include "utilizationgrapher.h"

#include <QWidget>

namespace {
// Erases the entries `gone` picks; true when any went.
template <typename Map, typename Gone>
bool eraseWhere(Map& map, Gone gone)
{
    bool erased = false;
    for (auto entry = map.begin(); entry != map.end();) {
        if (gone(*entry)) {
            entry = map.erase(entry);
            erased = true;
        } else {
            ++entry;
        }
    }
    return erased;
}
} // namespace

TunnelSession::TunnelSession(int sid, const std::string& addr, QObject* parent)
    : QObject(parent)
    , m_sid(sid)
    , m_addr(addr)
{
}

TunnelSession::~TunnelSession()
{
    clear();
}

void TunnelSession::updateSessionStatus(const Message& sess)
{
    const Params& params = sess.params();
    if (params.get_int("sid", 0) != m_sid)
        return;
    m_active = params.get_bool("active", false);
    m_protected = params.get_bool("protected", false);
    m_encrypted = params.get_bool("encrypted", false);
    m_state = params.get_string("state", "");
    g_log.log(LOG_DEBUG, "TunnelSession::updateSessionStatus: active=%s protected=%s encrypted=%s state=%s",
              tunnellog::text(m_active), tunnellog::text(m_protected), tunnellog::text(m_encrypted), m_state.c_str());
    for (unsigned int i = 0; i < sess.num_children("conn"); ++i) {
        const Message& conn = sess.get_child("conn", i);
        g_log.log(LOG_DEBUG, "update session status.. update connection...");
        if (TunnelConnection* connection = findOrCreateConnection(conn))
            connection->updateConnectionStatus(conn);
    }
}

bool TunnelSession::updateDelays(const Message& sess)
{
    const Params& params = sess.params();
    bool changed = false;
    const auto limit = [&](const char* key, int& field) {
        if (!params.has_param(key))
            return;
        const int value = params.get_int(key, 0);
        changed |= value != field;
        field = value;
    };
    limit("dm", max_allowed_delay_tx);
    limit("rdm", max_allowed_delay_rx);
    changed |= m_tx.readDelays(params, "");
    changed |= m_rx.readDelays(params, "r");
    return changed;
}

bool TunnelSession::updateStats(const Message& sess)
{
    m_tx.readRates(sess.params(), "");
    m_rx.readRates(sess.params(), "r");
    for (TunnelDirectionStats* direction : {&m_tx, &m_rx}) {
        if (LossLateRecoveryGrapher* graph = direction->loss_graph) {
            graph->addSample(uint32_t(m_sid), direction->packet_loss_rate, direction->packet_late_rate,
                             direction->packet_recovery_rate);
            graph->update();
        }
    }

    if (const Message* codec = sess.find_child("codec")) {
        g_log.log(LOG_DEBUG, "update rx codec stats:");
        m_rx.readCodec(*codec);
    }

    bool changed = false;
    for (auto& entry : m_connections)
        entry.second->setPresent(false);
    m_txGraph.clear();
    m_rxGraph.clear();
    std::set<std::string> seen;
    for (unsigned int i = 0; i < sess.num_children("conn"); ++i) {
        TunnelConnection* connection = findOrCreateConnection(sess.get_child("conn", i));
        if (!connection) {
            g_log.log(LOG_ERROR, "error updating connections: sess dump below");
            sess._dump(LOG_DEBUG, 0, 1);
            continue;
        }
        const int position = int(i);
        seen.insert(connection->uid());
        m_txGraph.push_back(connection->tx().tp);
        m_rxGraph.push_back(connection->rx().tp);
        bool created = false;
        if (m_ifc_widget) {
            created |= placeButton(m_txButtons, *connection, connection->ldesc(), connection->rdesc(), position);
            created |= placeButton(m_rxButtons, *connection, connection->rdesc(), connection->ldesc(), position);
        } else {
            g_log.log(LOG_ERROR, "TunnelSession::updateConnections: m_ifc_widget is null");
        }
        if (connection->isNew() || connection->position() != position || created) {
            changed = true;
            connection->setPosition(position);
        }
    }
    changed |= pruneButtons(m_txButtons, seen);
    changed |= pruneButtons(m_rxButtons, seen);
    changed |= pruneConnections();

    for (auto [direction, rates] : {std::make_pair(&m_tx, &m_txGraph), std::make_pair(&m_rx, &m_rxGraph)}) {
        if (UtilizationGrapher* graph = direction->utilization_graph) {
            graph->addSample(uint32_t(m_sid), *rates, changed);
            graph->update();
        }
    }
    return changed;
}

void TunnelSession::updateTxCodec(const Message& codec)
{
    g_log.log(LOG_DEBUG, "update tx codec stats:");
    m_tx.readCodec(codec);
}

TunnelConnection* TunnelSession::findOrCreateConnection(const Message& conn)
{
    const std::string uid = TunnelConnection::uidOf(conn);
    if (uid.empty())
        return nullptr;
    g_log.log(LOG_DEBUG, "updateConnection uid=%s", uid.c_str());
    conn._dump(LOG_DEBUG, 0, 1);
    std::unique_ptr<TunnelConnection>& slot = m_connections[uid];
    if (slot) {
        slot->setNew(false);
    } else {
        slot = std::make_unique<TunnelConnection>();
        slot->setNew(true);
    }
    slot->setPresent(true);
    slot->parseConnNode(conn);
    return slot.get();
}

bool TunnelSession::placeButton(Buttons& buttons, const TunnelConnection& connection, const std::string& first,
                                const std::string& second, int position)
{
    const QString firstLabel = QString::fromStdString(first);
    const QString secondLabel = QString::fromStdString(second);
    QPointer<IFCButton>& button = buttons[connection.uid()];
    if (button) {
        button->setLabels(firstLabel, secondLabel, false);
        button->setPosition(position);
        return false;
    }
    button = new IFCButton(m_ifc_widget, position, QString::fromStdString(connection.name()), firstLabel, secondLabel);
    button->hide();
    return true;
}

bool TunnelSession::pruneButtons(Buttons& buttons, const std::set<std::string>& seen)
{
    return eraseWhere(buttons, [&](const Buttons::value_type& entry) {
        if (seen.count(entry.first))
            return false;
        delete entry.second;
        return true;
    });
}

bool TunnelSession::pruneConnections()
{
    return eraseWhere(m_connections, [](const Connections::value_type& entry) { return !entry.second->isPresent(); });
}

void TunnelSession::clear()
{
    for (Buttons* buttons : {&m_txButtons, &m_rxButtons}) {
        for (auto& entry : *buttons)
            delete entry.second;
        buttons->clear();
    }
    m_connections.clear();
}

void TunnelSession::showTx()
{
    showButtons(m_txButtons, m_rxButtons);
}

void TunnelSession::showRx()
{
    showButtons(m_rxButtons, m_txButtons);
}

void TunnelSession::showButtons(const Buttons& shown, const Buttons& hidden)
{
    for (const auto& entry : hidden) {
        if (entry.second)
            entry.second->hide();
    }
    for (const auto& entry : shown) {
        if (entry.second)
            entry.second->show();
    }
}

void TunnelSession::log() const
{
    g_log.log(LOG_DEBUG, "TunnelSession id=%d addr=%s", m_sid, m_addr.c_str());
    g_log.log(LOG_DEBUG, "max_allowed_delay_tx = %d", max_allowed_delay_tx);
    g_log.log(LOG_DEBUG, "max_allowed_delay_rx = %d", max_allowed_delay_rx);
    m_tx.log();
    m_rx.log();
}
