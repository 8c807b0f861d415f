#include "callhandlers.h"

#include "ipcendpoint.h"
#include "logger.h"
#include "netmgrhandlers.h"
#include "reply.h"
#include "requestrouter.h"
#include "unit.h"

#include <algorithm>
#include <cstdlib>

namespace {

using std::chrono::milliseconds;

const char* const kPotsChannel = "pots";
const char* const kTunnelPath = "netmgr.tunnel";
const char* const kMaxDelayOption = "netmgr.tunnel.max_delay";
const char* const kDevicesPath = "netmgr.devices";
const char* const kFollowLocal = "!follow";
const char* const kLineAudio = "Telephone line audio";
const uint32_t kIpBitrate = 128000;
// V.34 rates, best first; a rate drop steps one down.
const std::vector<uint32_t> kLineRates = {33600, 31200, 28800, 26400, 24000, 21600, 19200,
                                          16800, 14400, 12000, 9600,  7200,  4800,  2400};
const int kRingMs = 3000;
const long kBurstPeriods = 6;
const int kHangUpMs = 500;
const int kRetrainMs = 2000;
// A retired tunnel session rests this long before it searches for its far end again.
const int kTunnelRestMs = 3000;
const int kTunnelPort = 9010;
// The directory's answers about a listed remote, in turn.
const std::vector<std::string> kDirectoryAnswers = {"yes", "busy", "yes", "ts_fail"};

Message answer()
{
    Message ok;
    ok.params().set_bool("fail", false);
    return ok;
}

Message failure(const std::string& request, const std::string& why)
{
    g_log.log(LOG_WARNING, "%s refused: %s", request.c_str(), why.c_str());
    Message failed;
    failed.params().set_bool("fail", true);
    failed.params().set_string("error", why);
    return failed;
}

void setIdle(Params& peer)
{
    peer.set_bool("active", false);
    peer.set_string("state", "idle");
    peer.set_string("state_ui", "Idle");
    peer.set_string("chan_state", "");
    peer.set_bool("transmitting", false);
    peer.set_bool("receiving", false);
    peer.set_string("rx_codec", "");
}

// What the remote editor sends; without a usable MAC address the remote has no Braid.
void applySettings(const Params& request, Params& peer)
{
    for (const char* key : {"name", "addr", "password"})
        peer.set_string(key, request.get_string(key, ""));
    peer.set_int("profile", request.get_int("profile", 0));
    peer.set_int("backup_id", request.get_int("backup_id", 0));
    peer.set_bool("retry_primary", request.get_bool("retry_primary", false));
    peer.set_bool("plait", request.get_bool("plait", false));
    peer.set_string("unit", request.get_string("unit", ""));
    peer.set_bool("use_plait", request.has_param("unit") && request.get_bool("use_plait", false));
}

Message& statusOf(Message& node)
{
    return node.num_children("status") ? node.get_child("status", 0) : node.add_child("status");
}

} // namespace

CallHandlers::CallHandlers(Unit& unit, Hooks hooks, milliseconds statsPeriod)
    : m_unit(unit),
      m_hooks(std::move(hooks)),
      m_statsPeriod(statsPeriod),
      m_stats(unit.random())
{
    if (m_statsPeriod.count() > 0)
        m_directoryTimer = m_hooks.schedule(kDirectoryPeriod, [this] { directoryTick(); });
}

CallHandlers::~CallHandlers()
{
    forgetCalls();
    if (m_directoryTimer)
        m_hooks.cancel(m_directoryTimer);
}

void CallHandlers::forgetCalls()
{
    for (const auto& [id, call] : m_calls) {
        if (call.timer)
            m_hooks.cancel(call.timer);
    }
    for (const auto& [sid, timer] : m_tunnelTimers)
        m_hooks.cancel(timer);
    if (m_statsTimer)
        m_hooks.cancel(m_statsTimer);
    m_calls.clear();
    m_tunnelTimers.clear();
    m_idleSessions.clear();
    m_statsTimer = 0;
}

void CallHandlers::addHandlers(RequestRouter& router)
{
    const std::pair<const char*, void (CallHandlers::*)(const Message&, Reply&)> handlers[] = {
        {"connect", &CallHandlers::connect},
        {"disconnect", &CallHandlers::disconnect},
        {"channelCommand", &CallHandlers::channelCommand},
        {"addPeer", &CallHandlers::addPeer},
        {"setPeerSettings", &CallHandlers::setPeerSettings},
        {"removePeer", &CallHandlers::removePeer},
    };
    for (const auto& [name, handler] : handlers) {
        router.add(name, [this, handler = handler](const Message& request, Reply& reply) {
            (this->*handler)(request, reply);
        });
    }
}

std::vector<CallHandlers::Step> CallHandlers::script(Kind kind, bool incoming)
{
    std::vector<Step> steps;
    switch (kind) {
    case Kind::Pots:
        steps = {{"dialing", "Dialing", "Off hook", false, false, Tunnel::Keep, 1000},
                 {"training", "Connecting", "Training", false, false, Tunnel::Keep, 1500},
                 {"connected", "Connected", nullptr, true, true, Tunnel::Keep, 0}};
        break;
    case Kind::Braid:
        steps = {{"connecting", "Connecting", "Waiting for Braid", false, false, Tunnel::Searching, 1500},
                 {"connecting", "Connecting", "Negotiating", false, false, Tunnel::Active, 800},
                 {"connected", "Connected", "Connected", true, false, Tunnel::Keep, 600},
                 {"connected", "Connected", "Connected", true, true, Tunnel::Keep, 0}};
        break;
    case Kind::Ip:
        steps = {{"connecting", "Connecting", "Negotiating", false, false, Tunnel::Keep, 800},
                 {"connected", "Connected", "Connected", true, false, Tunnel::Keep, 600},
                 {"connected", "Connected", "Connected", true, true, Tunnel::Keep, 0}};
        break;
    }
    // The far end dialled: ringing takes the place of dialling.
    if (incoming)
        steps.front() = {"ringing", "Incoming Call", "Ringing", false, false, Tunnel::Keep, kRingMs};
    return steps;
}

std::string CallHandlers::ring(const std::string& argument)
{
    Message* list = peerList();
    if (!list)
        return "error: the scenario has no peerList";
    if (argument.empty()) {
        int id = 1;
        for (unsigned int i = 0; i < list->num_children("peer"); ++i)
            id = std::max(id, list->get_child("peer", i).params().get_int("id", 0) + 1);
        Params& caller = list->add_child("peer").params();
        caller.set_int("id", id);
        caller.set_string("name", "Incoming Call");
        caller.set_string("addr", "203.0.113.99");
        caller.set_bool("incoming", true);
        setIdle(caller);
        start(id, script(Kind::Ip, true), true);
        return "ok ring " + std::to_string(id);
    }
    char* end = nullptr;
    const long id = std::strtol(argument.c_str(), &end, 10);
    if (*end || !findPeer(static_cast<int>(id)))
        return "error: no remote '" + argument + "'";
    if (m_calls.count(static_cast<int>(id)))
        return "error: remote " + argument + " is in a call";
    start(static_cast<int>(id), script(kindOf(*findPeer(static_cast<int>(id))), true), false);
    return "ok ring " + argument;
}

std::string CallHandlers::burst(const std::string& argument)
{
    char* end = nullptr;
    const long id = std::strtol(argument.c_str(), &end, 10);
    long periods = kBurstPeriods;
    if (*end == ' ')
        periods = std::strtol(end, &end, 10);
    const auto call = m_calls.find(static_cast<int>(id));
    if (*end || periods < 1 || call == m_calls.end() || call->second.script[call->second.step].state != std::string("connected"))
        return "error: burst ID [PERIODS] needs a connected call";
    m_stats.startBurst(static_cast<int>(id), static_cast<int>(periods));
    return "ok burst " + std::to_string(id) + " " + std::to_string(periods);
}

void CallHandlers::connect(const Message& request, Reply& reply)
{
    const int id = request.params().get_int("id", 0);
    const Message* peer = findPeer(id);
    if (!peer) {
        reply.send(failure(request.name, "no remote " + std::to_string(id)));
        return;
    }
    if (m_calls.count(id)) {
        reply.send(failure(request.name, "remote " + std::to_string(id) + " is in a call"));
        return;
    }
    reply.send(answer());
    start(id, script(kindOf(*peer), false), false);
}

void CallHandlers::disconnect(const Message& request, Reply& reply)
{
    const int id = request.params().get_int("id", 0);
    const auto call = m_calls.find(id);
    if (call == m_calls.end() || call->second.ending) {
        reply.send(failure(request.name, "no call with remote " + std::to_string(id)));
        return;
    }
    reply.send(answer());
    hangUp(id);
}

void CallHandlers::channelCommand(const Message& request, Reply& reply)
{
    const std::string command = request.params().get_string("command", "");
    auto line = std::find_if(m_calls.begin(), m_calls.end(), [](const auto& entry) {
        const Call& call = entry.second;
        return call.kind == Kind::Pots && !call.ending && call.step + 1 == call.script.size();
    });
    if (request.params().get_string("channel", "") != kPotsChannel || line == m_calls.end()) {
        reply.send(failure(request.name, "no telephone call is up"));
        return;
    }
    Call& call = line->second;
    if (command == "rateDrop") {
        call.lineRate = std::min(call.lineRate + 1, kLineRates.size() - 1);
    } else if (command == "retrain") {
        // The modems train again and settle on the best rate the line gives.
        call.lineRate = 0;
        call.script = {{"training", "Connecting", "Retraining", false, false, Tunnel::Keep, kRetrainMs},
                       script(Kind::Pots, false).back()};
        call.step = 0;
    } else {
        reply.send(failure(request.name, "unknown command '" + command + "'"));
        return;
    }
    reply.send(answer());
    enterStep(line->first);
}

void CallHandlers::addPeer(const Message& request, Reply& reply)
{
    Message* list = peerList();
    if (!list) {
        reply.send(failure(request.name, "the unit keeps no remotes"));
        return;
    }
    int id = 1;
    for (unsigned int i = 0; i < list->num_children("peer"); ++i)
        id = std::max(id, list->get_child("peer", i).params().get_int("id", 0) + 1);
    Params& peer = list->add_child("peer").params();
    peer.set_int("id", id);
    applySettings(request.params(), peer);
    peer.set_bool("incoming", false);
    setIdle(peer);

    Message added = answer();
    added.params().set_int("id", id);
    reply.send(added);
    pushPeerList();
    m_hooks.report("peer added " + std::to_string(id) + " " + peer.get_string("name", ""));
}

void CallHandlers::setPeerSettings(const Message& request, Reply& reply)
{
    const int id = request.params().get_int("id", 0);
    Message* peer = findPeer(id);
    if (!peer) {
        reply.send(failure(request.name, "no remote " + std::to_string(id)));
        return;
    }
    applySettings(request.params(), peer->params());
    reply.send(answer());
    pushPeerList();
    m_hooks.report("peer changed " + std::to_string(id));
}

void CallHandlers::removePeer(const Message& request, Reply& reply)
{
    const int id = request.params().get_int("id", 0);
    if (!findPeer(id)) {
        reply.send(failure(request.name, "no remote " + std::to_string(id)));
        return;
    }
    reply.send(answer());
    const auto call = m_calls.find(id);
    if (call != m_calls.end()) {
        if (call->second.timer)
            m_hooks.cancel(call->second.timer);
        finish(id);
    }
    Message* list = peerList();
    Message kept(list->name, list->params());
    for (unsigned int i = 0; i < list->num_children("peer"); ++i) {
        const Message& peer = list->get_child("peer", i);
        if (peer.params().get_int("id", 0) == id)
            continue;
        Message& copy = kept.add_child(peer);
        if (copy.params().get_int("backup_id", 0) == id)
            copy.params().set_int("backup_id", 0);
    }
    *list = std::move(kept);
    pushPeerList();
    m_hooks.report("peer removed " + std::to_string(id));
}

void CallHandlers::start(int id, std::vector<Step> steps, bool caller)
{
    Call call;
    call.kind = kindOf(*findPeer(id));
    call.script = std::move(steps);
    call.caller = caller;
    m_calls[id] = std::move(call);
    enterStep(id);
}

void CallHandlers::enterStep(int id)
{
    const auto found = m_calls.find(id);
    if (found == m_calls.end())
        return;
    Message* peer = findPeer(id);
    if (!peer) {
        // The list changed under the call (a factory reset): nothing left to call.
        m_calls.erase(found);
        return;
    }
    Call& call = found->second;
    call.timer = 0;
    const Step& step = call.script[call.step];
    Params& params = peer->params();
    params.set_bool("active", true);
    params.set_string("state", step.state);
    params.set_string("state_ui", step.stateUi);
    params.set_string("chan_state",
                      step.chanState ? std::string(step.chanState) : std::to_string(kLineRates[call.lineRate]) + " bps");
    params.set_bool("transmitting", step.transmitting);
    params.set_bool("receiving", step.receiving);
    params.set_string("rx_codec", step.receiving ? receivedCodec(*peer, call.kind) : std::string());
    if (step.tunnel != Tunnel::Keep)
        setTunnel(*peer, step.tunnel);
    pushPeerList();
    m_hooks.report("call " + std::to_string(id) + " " + step.state);

    if (call.step + 1 < call.script.size()) {
        call.timer = m_hooks.schedule(milliseconds(step.holdMs), [this, id] {
            const auto next = m_calls.find(id);
            if (next != m_calls.end()) {
                ++next->second.step;
                enterStep(id);
            }
        });
    } else if (call.ending) {
        call.timer = m_hooks.schedule(milliseconds(step.holdMs), [this, id] { finish(id); });
    }
    scheduleStats();
}

void CallHandlers::hangUp(int id)
{
    Call& call = m_calls.at(id);
    if (call.timer)
        m_hooks.cancel(call.timer);
    call.script = {{"disconnecting", "Disconnecting", "Hanging up", false, false, Tunnel::Keep, kHangUpMs}};
    call.step = 0;
    call.ending = true;
    enterStep(id);
}

void CallHandlers::finish(int id)
{
    const auto found = m_calls.find(id);
    if (found == m_calls.end())
        return;
    const Call call = found->second;
    m_calls.erase(found);

    if (Message* peer = findPeer(id)) {
        if (call.kind == Kind::Braid) {
            if (const Message* sess = tunnelSession(*peer))
                retireTunnel(sess->params().get_int("sid", 0));
            m_hooks.notify("tun_stats", m_stats.tunStats(nullptr));
        }
        setIdle(peer->params());
        if (call.caller) {
            Message* list = peerList();
            Message kept(list->name, list->params());
            for (unsigned int i = 0; i < list->num_children("peer"); ++i) {
                if (list->get_child("peer", i).params().get_int("id", 0) != id)
                    kept.add_child(list->get_child("peer", i));
            }
            *list = std::move(kept);
        }
    }
    pushPeerList();
    m_hooks.report("call " + std::to_string(id) + " idle");
}

Message* CallHandlers::peerList()
{
    return m_unit.data("peerList");
}

Message* CallHandlers::findPeer(int id)
{
    Message* list = peerList();
    if (!list)
        return nullptr;
    for (unsigned int i = 0; i < list->num_children("peer"); ++i) {
        Message& peer = list->get_child("peer", i);
        if (peer.params().get_int("id", 0) == id)
            return &peer;
    }
    return nullptr;
}

// Profile 0 stands for the unit's default profile.
const Message* CallHandlers::profileOf(const Message& peer) const
{
    const Message* profiles = m_unit.data("profileList");
    if (!profiles)
        return nullptr;
    const int id = peer.params().get_int("profile", 0);
    for (unsigned int i = 0; i < profiles->num_children("profile"); ++i) {
        const Message& profile = profiles->get_child("profile", i);
        const Params& params = profile.params();
        if (id == 0 ? params.get_bool("default", false) : params.get_int("id", 0) == id)
            return &profile;
    }
    return nullptr;
}

std::string CallHandlers::channelOf(const Message& peer) const
{
    if (peer.params().has_param("channel"))
        return peer.params().get_string("channel", "");
    const Message* profile = profileOf(peer);
    const Message* settings = profile ? profile->find_child("settings") : nullptr;
    return settings ? settings->params().get_string("channel", "") : std::string();
}

CallHandlers::Kind CallHandlers::kindOf(const Message& peer) const
{
    if (channelOf(peer) == kPotsChannel)
        return Kind::Pots;
    return peer.params().get_bool("use_plait", false) ? Kind::Braid : Kind::Ip;
}

// What the far end sends: the encoder its profile names, else the same as the unit's own.
std::string CallHandlers::receivedCodec(const Message& peer, Kind kind) const
{
    if (kind == Kind::Pots)
        return kLineAudio;
    const Message* profile = profileOf(peer);
    const Message* remote = profile ? profile->find_child("remote") : nullptr;
    const std::string wanted = remote ? remote->params().get_string("encoder", kFollowLocal) : kFollowLocal;
    if (const Message* codecs = m_unit.data("codecList")) {
        for (unsigned int i = 0; i < codecs->num_children("codec"); ++i) {
            const Params& codec = codecs->get_child("codec", i).params();
            if (codec.get_string("id", "") == wanted)
                return codec.get_string("descr", "");
        }
    }
    const Message* current = m_unit.data("currentEncoder");
    return current ? current->params().get_string("descr", "") : std::string();
}

void CallHandlers::pushPeerList()
{
    const Message* list = peerList();
    if (!list)
        return;
    Message pushed = *list;
    pushed.name = "peerList";
    m_hooks.notify(IPCEndpointServer::kGenericUnso, pushed);
}

// The session that carries this remote's Braid calls; a remote without one gets a new one.
Message* CallHandlers::tunnelSession(Message& peer)
{
    Message* tunnel = m_unit.config().findNode(kTunnelPath);
    if (!tunnel)
        return nullptr;
    Message& status = statusOf(*tunnel);
    int sid = peer.params().get_int("sid", 0);
    int nextSid = 1;
    for (unsigned int i = 0; i < status.num_children("sess"); ++i) {
        Message& sess = status.get_child("sess", i);
        const int existing = sess.params().get_int("sid", 0);
        if (sid && existing == sid)
            return &sess;
        nextSid = std::max(nextSid, existing + 1);
    }
    sid = nextSid;
    peer.params().set_string("sid", std::to_string(sid));
    Message& sess = status.add_child("sess");
    Params& params = sess.params();
    params.set_int("sid", sid);
    params.set_int("active_conns", 0);
    params.set_string("addr", peer.params().get_string("addr", ""));
    params.set_bool("active", false);
    params.set_bool("protected", true);
    params.set_bool("encrypted", true);
    params.set_string("state", "SEARCHING");
    sess.add_child("search").params().set_string(
        "addr", peer.params().get_string("addr", "") + ":" + std::to_string(kTunnelPort));
    return &sess;
}

std::vector<CallStats::Link> CallHandlers::braidLinks() const
{
    std::vector<CallStats::Link> links;
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
            CallStats::Link link;
            link.id = static_cast<int>(links.size()) + 1;
            link.name = device.params().get_string("name", "");
            link.description = device.params().get_string("display_name", link.name);
            links.push_back(link);
        }
    }
    return links;
}

CallStats::Session CallHandlers::sessionStats(const Message& sess) const
{
    CallStats::Session session;
    session.sid = sess.params().get_int("sid", 0);
    session.addr = sess.params().get_string("addr", "");
    const Message* maxDelay = m_unit.config().findOption(kMaxDelayOption);
    session.maxDelayMs = maxDelay ? maxDelay->params().get_int("value", 0) : 0;
    session.bitrate = kIpBitrate;
    session.links = braidLinks();
    return session;
}

void CallHandlers::setTunnel(Message& peer, Tunnel state)
{
    Message* sess = tunnelSession(peer);
    if (!sess)
        return;
    const int sid = sess->params().get_int("sid", 0);
    const auto resting = m_tunnelTimers.find(sid);
    if (resting != m_tunnelTimers.end()) {
        m_hooks.cancel(resting->second);
        m_tunnelTimers.erase(resting);
    }
    m_idleSessions.emplace(sid, *sess);

    // Searching starts from the idle session, with the far end's addresses it tries.
    *sess = m_idleSessions[sid];
    Params& params = sess->params();
    params.remove("reason");
    params.set_bool("active", state == Tunnel::Active);
    if (state == Tunnel::Active) {
        const CallStats::Session session = sessionStats(*sess);
        params.set_string("state", "ACTIVE");
        params.set_int("active_conns", static_cast<int>(session.links.size()));
        sess->remove_children("search");
        CallStats::describeConnections(session, *sess);
    } else {
        params.set_string("state", "SEARCHING");
        params.set_int("active_conns", 0);
    }
    refreshOverallStatus(m_unit);
    pushTunnelStatus();
}

void CallHandlers::retireTunnel(int sid)
{
    Message* tunnel = m_unit.config().findNode(kTunnelPath);
    if (!tunnel)
        return;
    Message& status = statusOf(*tunnel);
    for (unsigned int i = 0; i < status.num_children("sess"); ++i) {
        Message& sess = status.get_child("sess", i);
        if (sess.params().get_int("sid", 0) != sid)
            continue;
        sess.remove_children("conn");
        sess.remove_children("search");
        sess.params().set_string("state", "RETIRED");
        sess.params().set_string("reason", "Call ended");
        sess.params().set_bool("active", false);
        sess.params().set_int("active_conns", 0);
    }
    refreshOverallStatus(m_unit);
    pushTunnelStatus();

    m_tunnelTimers[sid] = m_hooks.schedule(milliseconds(kTunnelRestMs), [this, sid] {
        m_tunnelTimers.erase(sid);
        const auto idle = m_idleSessions.find(sid);
        Message* node = m_unit.config().findNode(kTunnelPath);
        if (idle == m_idleSessions.end() || !node)
            return;
        Message& current = statusOf(*node);
        for (unsigned int i = 0; i < current.num_children("sess"); ++i) {
            if (current.get_child("sess", i).params().get_int("sid", 0) == sid)
                current.get_child("sess", i) = idle->second;
        }
        m_idleSessions.erase(idle);
        refreshOverallStatus(m_unit);
        pushTunnelStatus();
    });
}

void CallHandlers::pushTunnelStatus()
{
    Message* tunnel = m_unit.config().findNode(kTunnelPath);
    if (!tunnel)
        return;
    Message status = statusOf(*tunnel);
    status.name = "status";
    m_hooks.notify(std::string("cfgStatus:") + kTunnelPath, status);
}

void CallHandlers::scheduleStats()
{
    if (m_statsPeriod.count() > 0 && !m_calls.empty() && !m_statsTimer)
        m_statsTimer = m_hooks.schedule(m_statsPeriod, [this] { statsTick(); });
}

void CallHandlers::statsTick()
{
    m_statsTimer = 0;
    std::vector<CallStats::Flow> flows;
    const Message* braidSession = nullptr;
    for (auto& [id, call] : m_calls) {
        Message* peer = findPeer(id);
        if (!peer || call.script[call.step].state != std::string("connected"))
            continue;
        call.elapsedMs += static_cast<uint64_t>(m_statsPeriod.count());
        CallStats::Flow flow;
        flow.peerId = id;
        flow.channel = channelOf(*peer);
        flow.callSeconds = static_cast<uint32_t>(call.elapsedMs / 1000);
        if (call.kind == Kind::Pots) {
            flow.txBitrate = flow.rxBitrate = kLineRates[call.lineRate];
        } else {
            const auto rates = CallStats::profileBitrates(profileOf(*peer), m_unit.data("codecList"), kIpBitrate);
            flow.txBitrate = rates.tx;
            flow.rxBitrate = rates.rx;
        }
        flows.push_back(flow);
        if (call.kind == Kind::Braid && !braidSession)
            braidSession = tunnelSession(*peer);
    }
    if (!flows.empty())
        m_hooks.notify("peer_stats", m_stats.peerStats(flows));
    if (const Message* channels = m_unit.data("channelList"))
        m_hooks.notify("channel_stats", m_stats.channelStats(*channels, flows, m_statsPeriod));
    if (braidSession) {
        const CallStats::Session session = sessionStats(*braidSession);
        m_hooks.notify("tun_stats", m_stats.tunStats(&session));
        Message conns("tun_conns");
        conns.add_child(*braidSession);
        m_hooks.notify("tun_conns", conns);
    }
    scheduleStats();
}

void CallHandlers::directoryTick()
{
    m_directoryTimer = m_hooks.schedule(kDirectoryPeriod, [this] { directoryTick(); });
    m_directoryTurn = (m_directoryTurn + 1) % kDirectoryAnswers.size();
    const std::string& canConnect = kDirectoryAnswers[m_directoryTurn];
    Message* list = peerList();
    if (!list)
        return;
    bool changed = false;
    for (unsigned int i = 0; i < list->num_children("peer"); ++i) {
        Message& peer = list->get_child("peer", i);
        if (!peer.num_children("directory") || m_calls.count(peer.params().get_int("id", 0)))
            continue;
        Params& directory = peer.get_child("directory", 0).params();
        if (!directory.get_bool("online", false) || directory.get_string("can_connect", "") == canConnect)
            continue;
        directory.set_string("can_connect", canConnect);
        changed = true;
    }
    if (changed)
        pushPeerList();
}
