#ifndef SIM_BRAIDSESSIONS_H
#define SIM_BRAIDSESSIONS_H

#include "callstats.h"
#include "message.h"
#include "unithooks.h"

#include <map>

class Unit;

// The Braid tunnel's sessions as calls use them. A Braid call takes its remote's session (a
// remote without one gets a new one), which searches for the far end and then runs active over
// every usable network; when the call ends the session is retired, rests, and comes back as it
// was before the call. Every change is pushed as the tunnel's "cfgStatus".
class BraidSessions {
public:
    enum class State { Searching, Active };

    BraidSessions(Unit& unit, UnitHooks hooks);
    BraidSessions(const BraidSessions&) = delete;
    BraidSessions& operator=(const BraidSessions&) = delete;
    ~BraidSessions();

    // Drops every session's pending return, without a word: the unit's state is being replaced.
    void forget();

    // The remote's session; null when the unit has no tunnel.
    Message* sessionOf(Message& peer);
    void enter(Message& peer, State state);
    void retire(Message& peer);
    // The figures the statistics of a call in `sess` at `bitrate` are drawn from.
    CallStats::Session describe(const Message& sess, uint32_t bitrate) const;

private:
    Message* tunnelStatus();
    std::vector<CallStats::Link> links() const;
    void comeBack(int sid);
    void push();

    Unit& m_unit;
    UnitHooks m_hooks;
    // The idle form of each session a call took over, by sid, to come back to after it.
    std::map<int, Message> m_idleSessions;
    std::map<int, unsigned int> m_restTimers;
};

#endif
