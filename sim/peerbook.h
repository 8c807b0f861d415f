#ifndef SIM_PEERBOOK_H
#define SIM_PEERBOOK_H

#include "message.h"
#include "unithooks.h"

#include <functional>
#include <string>

class Reply;
class RequestRouter;
class Unit;

// The unit's remotes, the "peerList" the screens show, and the requests that edit it:
// "addPeer", "setPeerSettings" and "removePeer". Every change of the list is pushed to every
// session as a "peerList".
class PeerBook {
public:
    PeerBook(Unit& unit, UnitHooks hooks);

    // `removing` runs before a remote leaves the list, so that its call ends first.
    void addHandlers(RequestRouter& router, std::function<void(int id)> removing);

    // Null when the scenario keeps no remotes.
    Message* list();
    Message* find(int id);
    // An unknown caller's entry, idle; null when the scenario keeps no remotes.
    Message* addCaller();
    // Drops the remote; those that fell back on it fall back on nothing.
    void remove(int id);
    void push();

    // The profile the remote calls with; profile 0 stands for the unit's default profile.
    const Message* profileOf(const Message& peer) const;
    // The channel the remote's calls go over: its own, else its profile's.
    std::string channelOf(const Message& peer) const;

    static void setIdle(Params& peer);

private:
    void applySettings(const Params& request, Message& peer) const;
    void addPeer(const Message& request, Reply& reply);
    void setPeerSettings(const Message& request, Reply& reply);
    void removePeer(const Message& request, Reply& reply, const std::function<void(int)>& removing);

    Unit& m_unit;
    UnitHooks m_hooks;
};

#endif
