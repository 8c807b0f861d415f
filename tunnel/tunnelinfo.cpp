#include "tunnelinfo.h"

#include "ipcinstances.h"
#include "tunnellog.h"
#include "tunnelsession.h"

TunnelInfo::TunnelInfo(QObject* parent)
    : QObject(parent)
{
    g_log.log(LOG_INFO, "TunnelInfo constructor");
    connect(&g_ipcClient, &IPCClient::unsoTunConns, this, &TunnelInfo::handleUnsoTunConns);
    connect(&g_ipcClient, &IPCClient::unsoTunStats, this, &TunnelInfo::handleUnsoTunStats);
    connect(&g_ipcClient, &IPCClient::recvTunnelStatus, this, &TunnelInfo::handleRecvTunnelStatus);
    connect(&g_ipcClient, &IPCClient::unsoTunnelStatus, this, &TunnelInfo::handleUnsoTunnelStatus);
}

TunnelInfo::~TunnelInfo() = default;

void TunnelInfo::handleRecvTunnelStatus(const Message& msg)
{
    g_log.log(LOG_DEBUG, "TunnelInfo::handleRecvTunnelStatus");
    const Message* node = msg.find_child("node");
    if (!node) {
        if (msg.params().get_bool("fail", false)) {
            g_log.log(LOG_ERROR, "TunnelInfo::handleRecvTunnelStatus response failure");
            msg._dump(LOG_DEBUG, 0, 1);
        }
        return;
    }
    applyStatus(*node);
}

void TunnelInfo::handleUnsoTunnelStatus(QString id, Message msg)
{
    g_log.log(LOG_DEBUG, "TunnelInfo::handleUnsoTunnelStatus id=%s", qPrintable(id));
    applyStatus(msg);
}

void TunnelInfo::applyStatus(const Message& status)
{
    const unsigned int count = status.num_children("sess");
    for (unsigned int i = 0; i < count; ++i) {
        const Message& sess = status.get_child("sess", i);
        const Params& params = sess.params();
        const int sid = params.get_int("sid", 0);
        const int activeConns = params.get_int("active_conns", 0);
        const std::string addr = params.get_string("addr", "");
        g_log.log(LOG_DEBUG, "sessid=%d  active_conns=%d", sid, activeConns);
        // Several idle sessions: wait until one of them has connections before choosing.
        if (!m_session && (activeConns > 0 || count == 1) && params.get_bool("active", false)) {
            g_log.log(LOG_DEBUG, "creating new tunnel session sid=%d addr=%s", sid, addr.c_str());
            createSession(sid, addr);
        }
        if (m_session && m_session->sid() == sid)
            m_session->updateSessionStatus(sess);
    }
}

void TunnelInfo::handleUnsoTunConns(Message msg)
{
    g_log.log(LOG_DEBUG, "handleUnsoTunConns:");
    m_connsSessions = int(msg.num_children("sess"));
    for (int i = 0; i < m_connsSessions; ++i) {
        const Message& sess = msg.get_child("sess", unsigned(i));
        g_log.log(LOG_DEBUG, "handleUnsoTunConns, parsing session sid=%d", sess.params().get_int("sid", 0));
        if (m_session)
            m_session->updateSessionStatus(sess);
    }
}

void TunnelInfo::handleUnsoTunStats(Message msg)
{
    g_log.log(LOG_DEBUG, "handleUnsoTunStats");
    msg._dump(LOG_DEBUG, 0, 1);
    if (m_session) {
        if (const Message* codec = msg.find_child("codec"))
            m_session->updateTxCodec(*codec);
    }

    const unsigned int count = msg.num_children("sess");
    g_log.log(LOG_DEBUG, "stats node has %u session child nodes", count);
    for (unsigned int i = 0; i < count; ++i) {
        const Message& sess = msg.get_child("sess", i);
        const int sid = sess.params().get_int("sid", 0);
        if (m_session && m_session->sid() != sid) {
            g_log.log(LOG_DEBUG, "TunnelInfo destroying session id=%d", m_session->sid());
            destroySession();
        }
        if (!m_session) {
            g_log.log(LOG_DEBUG, "TunnelInfo creating session id=%d", sid);
            createSession(sid, sess.params().get_string("addr", ""));
        }
        if (m_session->updateDelays(sess))
            emit sessionDelayUpdate(sid);
        if (m_session->updateStats(sess))
            emit sessionStatsUpdate(sid);
    }
    if (count == 0 && m_session)
        destroySession();
    emitHealth();
}

void TunnelInfo::createSession(int sid, const std::string& addr)
{
    m_session = std::make_unique<TunnelSession>(sid, addr);
    emit sessionCreate(sid);
}

void TunnelInfo::destroySession()
{
    const int sid = m_session->sid();
    m_session->clear();
    emit sessionDestroy(sid);
    m_session.reset();
}

void TunnelInfo::emitHealth()
{
    if (!m_session) {
        g_log.log(LOG_DEBUG, "braid status: gray - no session");
        emit braidStatus(QStringLiteral("gray"));
    } else if (m_session->tx().lossy() || m_session->rx().lossy()) {
        g_log.log(LOG_DEBUG, "braid status: red - loss/late exceeds threshold");
        emit braidStatus(QStringLiteral("red"));
    } else if (m_session->tx().throttled || m_session->rx().throttled) {
        g_log.log(LOG_DEBUG, "braid status: yellow - throttled");
        emit braidStatus(QStringLiteral("yellow"));
    } else {
        g_log.log(LOG_DEBUG, "braid status: green - OK");
        emit braidStatus(QStringLiteral("green"));
    }
}
