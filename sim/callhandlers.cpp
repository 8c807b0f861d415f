#include "callhandlers.h"

#include "ipcendpoint.h"
#include "reply.h"
#include "requestrouter.h"
#include "unit.h"

#include <algorithm>
#include <cstdlib>

namespace {

using std::chrono::milliseconds;

const char* const kPotsChannel = "pots";
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
// What the directory says in turn: about each listed remote (whether it can be called, whether
// it is online) and about the unit's own link to it. The first turn is the scenario's.
struct DirectoryTurn {
    const char* canConnect;
    bool online;
    bool serverConnected;
};
const DirectoryTurn kDirectoryTurns[] = {
    {"yes", true, true}, {"busy", true, true}, {"yes", false, true}, {"ts_fail", true, false}};

const char* text(bool value)
{
    return value ? "true" : "false";
}

} // namespace

CallHandlers::CallHandlers(Unit& unit, UnitHooks hooks, milliseconds statsPeriod)
    : m_unit(unit),
      m_hooks(std::move(hooks)),
      m_statsPeriod(statsPeriod),
      m_peers(unit, m_hooks),
      m_braid(unit, m_hooks),
      m_stats(unit.random())
{
    setStatsPeriod(statsPeriod);
}

void CallHandlers::setStatsPeriod(milliseconds period)
{
    for (unsigned int* timer : {&m_statsTimer, &m_directoryTimer}) {
        if (*timer)
            m_hooks.cancel(*timer);
        *timer = 0;
    }
    m_statsPeriod = period;
    if (m_statsPeriod.count() > 0)
        m_directoryTimer = m_hooks.schedule(kDirectoryPeriod, [this] { directoryTick(); });
    scheduleStats();
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
    if (m_statsTimer)
        m_hooks.cancel(m_statsTimer);
    m_calls.clear();
    m_statsTimer = 0;
    m_idleEncoder.reset();
    m_braid.forget();
}

void CallHandlers::addHandlers(RequestRouter& router)
{
    const std::pair<const char*, void (CallHandlers::*)(const Message&, Reply&)> handlers[] = {
        {"connect", &CallHandlers::connect},
        {"disconnect", &CallHandlers::disconnect},
        {"channelCommand", &CallHandlers::channelCommand},
    };
    for (const auto& [name, handler] : handlers) {
        router.add(name, [this, handler = handler](const Message& request, Reply& reply) {
            (this->*handler)(request, reply);
        });
    }
    m_braid.addHandlers(router);
    m_peers.addHandlers(router, [this](int id) {
        const auto call = m_calls.find(id);
        if (call == m_calls.end())
            return;
        if (call->second.timer)
            m_hooks.cancel(call->second.timer);
        finish(id);
    });
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
    if (!m_peers.list())
        return "error: the scenario has no peerList";
    if (argument.empty()) {
        const int id = m_peers.addCaller()->params().get_int("id", 0);
        start(id, script(Kind::Ip, true), true);
        return "ok ring " + std::to_string(id);
    }
    char* end = nullptr;
    const long id = std::strtol(argument.c_str(), &end, 10);
    if (*end || !m_peers.find(static_cast<int>(id)))
        return "error: no remote '" + argument + "'";
    if (m_calls.count(static_cast<int>(id)))
        return "error: remote " + argument + " is in a call";
    start(static_cast<int>(id), script(kindOf(*m_peers.find(static_cast<int>(id))), true), false);
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
    const bool connected = call != m_calls.end() && call->second.script[call->second.step].state == std::string("connected");
    if (*end || periods < 1 || !connected)
        return "error: burst ID [PERIODS] needs a connected call";
    m_stats.startBurst(static_cast<int>(id), static_cast<int>(periods));
    return "ok burst " + std::to_string(id) + " " + std::to_string(periods);
}

void CallHandlers::connect(const Message& request, Reply& reply)
{
    const int id = request.params().get_int("id", 0);
    const Message* peer = m_peers.find(id);
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

void CallHandlers::start(int id, std::vector<Step> steps, bool caller)
{
    Call call;
    call.kind = kindOf(*m_peers.find(id));
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
    Message* peer = m_peers.find(id);
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
    if (step.transmitting)
        setCurrentEncoder(sentCodec(*peer, call.kind));
    if (step.tunnel != Tunnel::Keep)
        m_braid.enter(*peer, step.tunnel == Tunnel::Active ? BraidSessions::State::Active : BraidSessions::State::Searching);
    m_peers.push();
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
    if (m_calls.empty() && m_idleEncoder) {
        setCurrentEncoder(*m_idleEncoder);
        m_idleEncoder.reset();
    }

    if (Message* peer = m_peers.find(id)) {
        if (call.kind == Kind::Braid) {
            m_braid.retire(*peer);
        }
        PeerBook::setIdle(peer->params());
        if (call.caller)
            m_peers.remove(id);
    }
    m_peers.push();
    m_hooks.report("call " + std::to_string(id) + " idle");
}

CallHandlers::Kind CallHandlers::kindOf(const Message& peer) const
{
    if (m_peers.channelOf(peer) == kPotsChannel)
        return Kind::Pots;
    return peer.params().get_bool("use_plait", false) ? Kind::Braid : Kind::Ip;
}

std::string CallHandlers::currentEncoder() const
{
    const Message* current = m_unit.data("currentEncoder");
    return current ? current->params().get_string("descr", "") : std::string();
}

// The codec the remote's profile names for `side` ("local": what the unit sends, "remote": what
// the far end sends), described; empty when it names none the unit knows.
std::string CallHandlers::profileCodec(const Message& peer, const char* side) const
{
    const Message* profile = m_peers.profileOf(peer);
    const Message* settings = profile ? profile->find_child(side) : nullptr;
    const std::string wanted = settings ? settings->params().get_string("encoder", kFollowLocal) : kFollowLocal;
    if (const Message* codecs = m_unit.data("codecList")) {
        for (unsigned int i = 0; i < codecs->num_children("codec"); ++i) {
            const Params& codec = codecs->get_child("codec", i).params();
            if (codec.get_string("id", "") == wanted)
                return codec.get_string("descr", "");
        }
    }
    return std::string();
}

// What the unit sends in a call: the telephone line's audio, else its profile's encoder.
std::string CallHandlers::sentCodec(const Message& peer, Kind kind) const
{
    if (kind == Kind::Pots)
        return kLineAudio;
    const std::string local = profileCodec(peer, "local");
    return local.empty() ? m_idleEncoder.value_or(currentEncoder()) : local;
}

// What the far end sends: the encoder its profile names, else the same as the unit's own.
std::string CallHandlers::receivedCodec(const Message& peer, Kind kind) const
{
    if (kind == Kind::Pots)
        return kLineAudio;
    const std::string remote = profileCodec(peer, "remote");
    return remote.empty() ? currentEncoder() : remote;
}

// The unit's encoder follows its calls; the one it had before comes back when they are over.
void CallHandlers::setCurrentEncoder(const std::string& descr)
{
    Message* current = m_unit.data("currentEncoder");
    if (!current || current->params().get_string("descr", "") == descr)
        return;
    if (!m_idleEncoder)
        m_idleEncoder = current->params().get_string("descr", "");
    current->params().set_string("descr", descr);
    Message pushed = *current;
    pushed.name = "currentEncoder";
    m_hooks.notify(IPCEndpointServer::kGenericUnso, pushed);
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
        Message* peer = m_peers.find(id);
        if (!peer || call.script[call.step].state != std::string("connected"))
            continue;
        call.elapsedMs += static_cast<uint64_t>(m_statsPeriod.count());
        CallStats::Flow flow;
        flow.peerId = id;
        flow.channel = m_peers.channelOf(*peer);
        flow.callSeconds = static_cast<uint32_t>(call.elapsedMs / 1000);
        if (call.kind == Kind::Pots) {
            flow.txBitrate = flow.rxBitrate = kLineRates[call.lineRate];
        } else {
            const auto rates = CallStats::profileBitrates(m_peers.profileOf(*peer), m_unit.data("codecList"), kIpBitrate);
            flow.txBitrate = rates.tx;
            flow.rxBitrate = rates.rx;
        }
        flows.push_back(flow);
        if (call.kind == Kind::Braid && !braidSession)
            braidSession = m_braid.sessionOf(*peer);
    }
    if (!flows.empty())
        m_hooks.notify("peer_stats", m_stats.peerStats(flows));
    if (const Message* channels = m_unit.data("channelList"))
        m_hooks.notify("channel_stats", m_stats.channelStats(*channels, flows, m_statsPeriod));
    if (braidSession)
        m_braid.pushStats(*braidSession, kIpBitrate);
    scheduleStats();
}

void CallHandlers::directoryTick()
{
    m_directoryTimer = m_hooks.schedule(kDirectoryPeriod, [this] { directoryTick(); });
    m_directoryTurn = (m_directoryTurn + 1) % (sizeof kDirectoryTurns / sizeof kDirectoryTurns[0]);
    const DirectoryTurn& turn = kDirectoryTurns[m_directoryTurn];

    if (Message* server = m_unit.data("directoryServer")) {
        if (server->params().get_bool("connected", false) != turn.serverConnected) {
            server->params().set_string("connected", text(turn.serverConnected));
            Message pushed = *server;
            pushed.name = "directoryServer";
            m_hooks.notify(IPCEndpointServer::kGenericUnso, pushed);
        }
    }
    Message* list = m_peers.list();
    if (!list)
        return;
    bool changed = false;
    for (unsigned int i = 0; i < list->num_children("peer"); ++i) {
        Message& peer = list->get_child("peer", i);
        if (!peer.num_children("directory") || m_calls.count(peer.params().get_int("id", 0)))
            continue;
        Params& directory = peer.get_child("directory", 0).params();
        if (directory.get_bool("online", false) == turn.online && directory.get_string("can_connect", "") == turn.canConnect)
            continue;
        directory.set_bool("online", turn.online);
        directory.set_string("can_connect", turn.canConnect);
        changed = true;
    }
    if (changed)
        m_peers.push();
}
