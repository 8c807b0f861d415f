#include "braidsessions.h"

#include "netmgrhandlers.h"
#include "records.h"
#include "reply.h"
#include "requestrouter.h"
#include "unit.h"

#include <cstdlib>

namespace {

const char* const kTunnelPath = "netmgr.tunnel";
const char* const kMaxDelayOption = "netmgr.tunnel.max_delay";
const char* const kDevicesPath = "netmgr.devices";
const char* const kSession = "sess";
// A retired session rests this long before it searches for its far end again.
const std::chrono::milliseconds kRestTime{3000};
const int kTunnelPort = 9010;

} // namespace

BraidSessions::BraidSessions(Unit& unit, UnitHooks hooks)
    : m_unit(unit), m_hooks(std::move(hooks)), m_stats(unit.random())
{
}

BraidSessions::~BraidSessions()
{
    forget();
}

void BraidSessions::forget()
{
    for (const auto& [sid, timer] : m_restTimers)
        m_hooks.cancel(timer);
    m_restTimers.clear();
    m_idleSessions.clear();
}

Message* BraidSessions::tunnelStatus()
{
    Message* tunnel = m_unit.config().findNode(kTunnelPath);
    return tunnel ? &firstChild(*tunnel, "status") : nullptr;
}

Message* BraidSessions::sessionOf(Message& peer)
{
    Message* status = tunnelStatus();
    if (!status)
        return nullptr;
    const int known = peer.params().get_int("sid", 0);
    if (Message* sess = known ? findChild(*status, kSession, "sid", known) : nullptr)
        return sess;
    const int sid = nextId(*status, kSession, "sid");
    const std::string addr = peer.params().get_string("addr", "");
    peer.params().set_string("sid", std::to_string(sid));
    Message& sess = status->add_child(kSession);
    Params& params = sess.params();
    params.set_int("sid", sid);
    params.set_int("active_conns", 0);
    params.set_string("addr", addr);
    params.set_bool("active", false);
    params.set_bool("protected", true);
    params.set_bool("encrypted", true);
    params.set_string("state", "SEARCHING");
    sess.add_child("search").params().set_string("addr", addr + ":" + std::to_string(kTunnelPort));
    return &sess;
}

std::vector<TunnelStats::Link> BraidSessions::links() const
{
    std::vector<TunnelStats::Link> links;
    const Message* devices = m_unit.config().findNode(kDevicesPath);
    if (!devices)
        return links;
    for (unsigned int g = 0; g < devices->num_children("group"); ++g) {
        const Message& group = devices->get_child("group", g);
        for (unsigned int i = 0; i < group.num_children("node"); ++i) {
            const Message& device = group.get_child("node", i);
            const Message* status = device.find_child("status");
            // A view-only device (the telephone line) carries no IP traffic.
            if (!status || device.params().get_bool("view_only", false) || !status->params().get_bool("enabled", false)
                || !status->params().get_bool("installed", false))
                continue;
            TunnelStats::Link link;
            link.id = static_cast<int>(links.size()) + 1;
            link.name = device.params().get_string("name", "");
            link.description = device.params().get_string("display_name", link.name);
            links.push_back(link);
        }
    }
    return links;
}

TunnelStats::Session BraidSessions::describe(const Message& sess, uint32_t bitrate) const
{
    TunnelStats::Session session;
    session.sid = sess.params().get_int("sid", 0);
    session.addr = sess.params().get_string("addr", "");
    const Message* maxDelay = m_unit.config().findOption(kMaxDelayOption);
    session.maxDelayMs = maxDelay ? maxDelay->params().get_int("value", 0) : 0;
    session.bitrate = bitrate;
    session.links = links();
    return session;
}

void BraidSessions::enter(Message& peer, State state)
{
    Message* sess = sessionOf(peer);
    if (!sess)
        return;
    const int sid = sess->params().get_int("sid", 0);
    const auto resting = m_restTimers.find(sid);
    if (resting != m_restTimers.end()) {
        m_hooks.cancel(resting->second);
        m_restTimers.erase(resting);
    }
    m_idleSessions.emplace(sid, *sess);

    // Searching starts from the idle session, with the far end's addresses it tries.
    *sess = m_idleSessions[sid];
    Params& params = sess->params();
    params.remove("reason");
    params.set_bool("active", state == State::Active);
    if (state == State::Active) {
        // Only the connections are described here: no bitrate.
        const TunnelStats::Session session = describe(*sess, 0);
        params.set_string("state", "ACTIVE");
        sess->remove_children("search");
        m_stats.describeConnections(session, *sess);
        params.set_int("active_conns", static_cast<int>(sess->num_children("conn")));
    } else {
        params.set_string("state", "SEARCHING");
        params.set_int("active_conns", 0);
    }
    refreshOverallStatus(m_unit);
    push();
}

void BraidSessions::retire(Message& peer)
{
    Message* sess = sessionOf(peer);
    if (!sess)
        return;
    const int sid = sess->params().get_int("sid", 0);
    sess->remove_children("conn");
    sess->remove_children("search");
    sess->params().set_string("state", "RETIRED");
    sess->params().set_string("reason", "Call ended");
    sess->params().set_bool("active", false);
    sess->params().set_int("active_conns", 0);
    refreshOverallStatus(m_unit);
    push();
    m_hooks.notify("tun_stats", Message("tun_stats"));
    m_restTimers[sid] = m_hooks.schedule(kRestTime, [this, sid] { comeBack(sid); });
}

void BraidSessions::comeBack(int sid)
{
    m_restTimers.erase(sid);
    const auto idle = m_idleSessions.find(sid);
    Message* status = tunnelStatus();
    if (idle == m_idleSessions.end() || !status)
        return;
    if (Message* sess = findChild(*status, kSession, "sid", sid))
        *sess = idle->second;
    m_idleSessions.erase(idle);
    refreshOverallStatus(m_unit);
    push();
}

void BraidSessions::push()
{
    const Message* status = tunnelStatus();
    if (!status)
        return;
    Message pushed = *status;
    pushed.name = "status";
    m_hooks.notify(std::string("cfgStatus:") + kTunnelPath, pushed);
}

void BraidSessions::pushStats(const Message& sess, uint32_t bitrate)
{
    m_bitrate = bitrate;
    const TunnelStats::Session session = describe(sess, bitrate);
    m_hooks.notify("tun_stats", m_stats.tunStats(session));
    m_hooks.notify("tun_conns", m_stats.tunConns(session, sess));
}

const Message* BraidSessions::runningSession()
{
    const Message* status = tunnelStatus();
    if (!status)
        return nullptr;
    for (unsigned int i = 0; i < status->num_children(kSession); ++i) {
        if (status->get_child(kSession, i).params().get_bool("active", false))
            return &status->get_child(kSession, i);
    }
    return nullptr;
}

void BraidSessions::addHandlers(RequestRouter& router)
{
    router.add("setMaxDelay", [this](const Message& request, Reply& reply) { setMaxDelay(request, reply); });
}

// Applied at once; the next statistics carry the new delay.
void BraidSessions::setMaxDelay(const Message& request, Reply& reply)
{
    const Params& params = request.params();
    const Message* sess = runningSession();
    const int sid = params.get_int("sid", 0);
    std::string error = "no running tunnel session " + std::to_string(sid);
    if (!sess || sess->params().get_int("sid", 0) != sid
        || !m_stats.setMaxDelay(describe(*sess, m_bitrate), params.get_bool("remote", false),
                                params.get_bool("auto", false), params, error)) {
        reply.send(failure("setMaxDelay", error));
        return;
    }
    m_hooks.report("setMaxDelay " + std::string(params.get_bool("remote", false) ? "rx" : "tx") + " "
                   + (params.get_bool("auto", false) ? "auto" : std::to_string(params.get_int("delay", 0))));
    reply.send(answer());
}

std::string BraidSessions::command(const std::string& line)
{
    const std::string::size_type blank = line.find(' ');
    const std::string verb = line.substr(0, blank);
    const std::string argument = blank == std::string::npos ? std::string() : line.substr(blank + 1);
    if (verb == "health") {
        const std::map<std::string, TunnelStats::Health> healths = {{"phases", TunnelStats::Health::Phases},
                                                                     {"green", TunnelStats::Health::Green},
                                                                     {"yellow", TunnelStats::Health::Yellow},
                                                                     {"red", TunnelStats::Health::Red}};
        const auto health = healths.find(argument);
        if (health == healths.end())
            return "error: braid health green|yellow|red|phases";
        m_stats.setHealth(health->second);
        return "ok braid health " + argument;
    }
    if (verb == "drop") {
        const Message* sess = runningSession();
        const int position = std::atoi(argument.c_str());
        std::string uid;
        if (!sess)
            return "error: no Braid call is running";
        if (position < 1 || !m_stats.dropConnection(describe(*sess, m_bitrate), std::size_t(position - 1), uid))
            return "error: braid drop N, N from 1 to the number of connections up";
        return "ok braid connection " + uid + " dropped";
    }
    return "error: braid health green|yellow|red|phases | braid drop N";
}
