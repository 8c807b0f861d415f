#include "peerbook.h"

#include "ipcendpoint.h"
#include "records.h"
#include "reply.h"
#include "requestrouter.h"
#include "unit.h"

namespace {

const char* const kPeer = "peer";

// What the remote editor sends; without a usable MAC address the remote has no Braid.
void applyRequest(const Params& request, Params& peer)
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

} // namespace

PeerBook::PeerBook(Unit& unit, UnitHooks hooks) : m_unit(unit), m_hooks(std::move(hooks))
{
}

void PeerBook::addHandlers(RequestRouter& router, std::function<void(int id)> removing)
{
    router.add("addPeer", [this](const Message& request, Reply& reply) { addPeer(request, reply); });
    router.add("setPeerSettings", [this](const Message& request, Reply& reply) { setPeerSettings(request, reply); });
    router.add("removePeer", [this, removing = std::move(removing)](const Message& request, Reply& reply) {
        removePeer(request, reply, removing);
    });
}

void PeerBook::setIdle(Params& peer)
{
    peer.set_bool("active", false);
    peer.set_string("state", "idle");
    peer.set_string("state_ui", "Idle");
    peer.set_string("chan_state", "");
    peer.set_bool("transmitting", false);
    peer.set_bool("receiving", false);
    peer.set_string("rx_codec", "");
}

Message* PeerBook::list()
{
    return m_unit.data("peerList");
}

Message* PeerBook::find(int id)
{
    Message* peers = list();
    return peers ? findChild(*peers, kPeer, "id", id) : nullptr;
}

Message* PeerBook::addCaller()
{
    Message* peers = list();
    if (!peers)
        return nullptr;
    const int id = nextId(*peers, kPeer, "id");
    Message& caller = peers->add_child(kPeer);
    Params& params = caller.params();
    params.set_int("id", id);
    params.set_string("name", "Incoming Call");
    params.set_string("addr", "203.0.113.99");
    params.set_bool("incoming", true);
    setIdle(params);
    return &caller;
}

void PeerBook::remove(int id)
{
    Message* peers = list();
    if (!peers)
        return;
    removeChildren(*peers, kPeer, "id", id);
    for (unsigned int i = 0; i < peers->num_children(kPeer); ++i) {
        Params& peer = peers->get_child(kPeer, i).params();
        if (peer.get_int("backup_id", 0) == id)
            peer.set_int("backup_id", 0);
    }
}

void PeerBook::push()
{
    const Message* peers = list();
    if (!peers)
        return;
    Message pushed = *peers;
    pushed.name = "peerList";
    m_hooks.notify(IPCEndpointServer::kGenericUnso, pushed);
}

const Message* PeerBook::profileOf(const Message& peer) const
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

std::string PeerBook::channelOf(const Message& peer) const
{
    if (peer.params().has_param("channel"))
        return peer.params().get_string("channel", "");
    const Message* profile = profileOf(peer);
    const Message* settings = profile ? profile->find_child("settings") : nullptr;
    return settings ? settings->params().get_string("channel", "") : std::string();
}

// The remote calls over its profile's channel: editing it onto another profile moves it.
void PeerBook::applySettings(const Params& request, Message& peer) const
{
    applyRequest(request, peer.params());
    peer.params().remove("channel");
    const std::string channel = channelOf(peer);
    if (!channel.empty())
        peer.params().set_string("channel", channel);
}

void PeerBook::addPeer(const Message& request, Reply& reply)
{
    Message* peers = list();
    if (!peers) {
        reply.send(failure(request.name, "the unit keeps no remotes"));
        return;
    }
    const int id = nextId(*peers, kPeer, "id");
    Message& added = peers->add_child(kPeer);
    Params& peer = added.params();
    peer.set_int("id", id);
    applySettings(request.params(), added);
    peer.set_bool("incoming", false);
    setIdle(peer);

    Message done = answer();
    done.params().set_int("id", id);
    reply.send(done);
    push();
    m_hooks.report("peer added " + std::to_string(id) + " " + peer.get_string("name", ""));
}

void PeerBook::setPeerSettings(const Message& request, Reply& reply)
{
    const int id = request.params().get_int("id", 0);
    Message* peer = find(id);
    if (!peer) {
        reply.send(failure(request.name, "no remote " + std::to_string(id)));
        return;
    }
    applySettings(request.params(), *peer);
    reply.send(answer());
    push();
    m_hooks.report("peer changed " + std::to_string(id));
}

void PeerBook::removePeer(const Message& request, Reply& reply, const std::function<void(int)>& removing)
{
    const int id = request.params().get_int("id", 0);
    if (!find(id)) {
        reply.send(failure(request.name, "no remote " + std::to_string(id)));
        return;
    }
    reply.send(answer());
    removing(id);
    remove(id);
    push();
    m_hooks.report("peer removed " + std::to_string(id));
}
