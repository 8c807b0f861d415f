#include "tunnelconnection.h"

#include "message.h"

namespace {
constexpr int kBitsPerKilobit = 1000;
}

void TunnelLinkStats::read(const Params& conn, const std::string& prefix)
{
    const auto kbps = [&](const char* key) { return conn.get_int(prefix + key, 0) / kBitsPerKilobit; };
    // The throttle rate means something only alongside td.
    throttle_present = conn.has_param(prefix + "td") && conn.has_param(prefix + "th");
    throttle = throttle_present ? kbps("th") : 0;
    td = kbps("td");
    tp = kbps("tp");
    tf = kbps("tf");
    tr = kbps("tr");
    d = conn.get_int(prefix + "d", 0);
    dm = conn.get_int(prefix + "dm", 0);
    dq = conn.get_int(prefix + "dq", 0);
    pl = conn.get_int(prefix + "pl", 0);
}

std::string TunnelConnection::uidOf(const Message& conn)
{
    const Params& params = conn.params();
    if (!params.has_param("li") || !params.has_param("ri"))
        return std::string();
    return std::to_string(params.get_int("li", 0)) + ":" + std::to_string(params.get_int("ri", 0));
}

void TunnelConnection::parseConnNode(const Message& conn)
{
    const Params& params = conn.params();
    m_li = params.get_int("li", 0);
    m_ri = params.get_int("ri", 0);
    m_uid = uidOf(conn);
    m_tx.read(params, "");
    m_rx.read(params, "r");
    g_log.log(LOG_DEBUG, "TunnelConnection::parseConnNode: %d:%d", m_li, m_ri);
}

void TunnelConnection::updateConnectionStatus(const Message& conn)
{
    const Params& params = conn.params();
    m_ldesc = params.get_string("ldesc", "");
    m_rdesc = params.get_string("rdesc", "");
    m_name = params.get_string("name", "");
    g_log.log(LOG_DEBUG, "TunnelConnection::updateConnectionStatus: %d:%d ldesc=%s rdesc=%s name=%s", m_li, m_ri,
              m_ldesc.c_str(), m_rdesc.c_str(), m_name.c_str());
}
