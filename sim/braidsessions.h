#ifndef SIM_BRAIDSESSIONS_H
#define SIM_BRAIDSESSIONS_H

#include "tunnelstats.h"
#include "message.h"
#include "unithooks.h"

#include <map>
#include <string>

class Reply;
class RequestRouter;
class Unit;

// The Braid tunnel's sessions as calls use them. A Braid call takes its remote's session (a
// remote without one gets a new one), which searches for the far end and then runs active over
// every usable network; when the call ends the session is retired, rests, and comes back as it
// was before the call. Every change is pushed as the tunnel's "cfgStatus". While a call runs, the
// session's statistics and connections are pushed each period; the operator sets each
// direction's maximum delay with "setMaxDelay".
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
    // Ends the remote's session: pushed as its status and as statistics without a session.
    void retire(Message& peer);
    // One period of a call in `sess` at `bitrate`: "tun_stats" and "tun_conns".
    void pushStats(const Message& sess, uint32_t bitrate);

    void addHandlers(RequestRouter& router);
    // "health green|yellow|red|phases", "drop N": the console's Braid commands; returns its answer.
    std::string command(const std::string& line);

private:
    Message* tunnelStatus();
    // The session a call is running in, the first active one; null when none.
    const Message* runningSession();
    std::vector<TunnelStats::Link> links() const;
    // The figures the statistics of a call in `sess` at `bitrate` are drawn from.
    TunnelStats::Session describe(const Message& sess, uint32_t bitrate) const;
    void setMaxDelay(const Message& request, Reply& reply);
    void comeBack(int sid);
    void push();

    Unit& m_unit;
    UnitHooks m_hooks;
    // The idle form of each session a call took over, by sid, to come back to after it.
    std::map<int, Message> m_idleSessions;
    std::map<int, unsigned int> m_restTimers;
    TunnelStats m_stats;
    // The bit rate of the call in the running session, for the console's commands.
    uint32_t m_bitrate = 0;
};

#endif
