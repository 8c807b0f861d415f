#ifndef SIM_CALLHANDLERS_H
#define SIM_CALLHANDLERS_H

#include "braidsessions.h"
#include "callstats.h"
#include "peerbook.h"
#include "unithooks.h"

#include <chrono>
#include <map>
#include <optional>
#include <string>
#include <vector>

class Reply;
class RequestRouter;
class Unit;

// The unit's calls to its remotes. "connect" walks a remote through its call states to
// connected, "disconnect" ends the call and a ring brings one in; a Braid call also brings its
// tunnel session up, and a telephone-line call follows rate drops and retrains. While calls run,
// their statistics are pushed every period. Every step of a call is pushed as a "peerList" and
// reported as one event line.
class CallHandlers {
public:
    // A zero period pushes no statistics and keeps the directory still.
    CallHandlers(Unit& unit, UnitHooks hooks, std::chrono::milliseconds statsPeriod);
    CallHandlers(const CallHandlers&) = delete;
    CallHandlers& operator=(const CallHandlers&) = delete;
    ~CallHandlers();

    void addHandlers(RequestRouter& router);
    // How often statistics are pushed; zero pushes none and keeps the directory still.
    void setStatsPeriod(std::chrono::milliseconds period);
    // Ends every call at once, without a word to anyone: the unit's state is being replaced.
    void forgetCalls();

    // "ring ID": that remote calls in; "ring" alone: a caller the unit does not know. Returns the
    // console's answer line.
    std::string ring(const std::string& argument);
    // "burst ID [PERIODS]": the connected call with remote ID loses packets for a few statistics
    // periods, starting with one that brings no data.
    std::string burst(const std::string& argument);
    BraidSessions& braid() { return m_braid; }

    // Where the directory's answer about each listed remote changes.
    static constexpr std::chrono::seconds kDirectoryPeriod{15};

private:
    enum class Kind { Ip, Braid, Pots };
    enum class Tunnel { Keep, Searching, Active };

    // One state of a call, held for `holdMs` before the next; the last state of a script holds.
    struct Step {
        const char* state;
        const char* stateUi;
        // Null: the telephone line's rate.
        const char* chanState;
        bool transmitting;
        bool receiving;
        Tunnel tunnel;
        int holdMs;
    };

    struct Call {
        Kind kind = Kind::Ip;
        std::vector<Step> script;
        std::size_t step = 0;
        unsigned int timer = 0;
        bool ending = false;
        // An unknown caller's entry leaves the list with its call.
        bool caller = false;
        std::size_t lineRate = 0;
        uint64_t elapsedMs = 0;
    };

    void connect(const Message& request, Reply& reply);
    void disconnect(const Message& request, Reply& reply);
    void channelCommand(const Message& request, Reply& reply);

    static std::vector<Step> script(Kind kind, bool incoming);
    void start(int id, std::vector<Step> steps, bool caller);
    void enterStep(int id);
    void hangUp(int id);
    // Ends the call at once, its remote idle again.
    void finish(int id);

    Kind kindOf(const Message& peer) const;
    std::string currentEncoder() const;
    std::string profileCodec(const Message& peer, const char* side) const;
    std::string sentCodec(const Message& peer, Kind kind) const;
    std::string receivedCodec(const Message& peer, Kind kind) const;
    void setCurrentEncoder(const std::string& descr);

    void scheduleStats();
    void statsTick();
    void directoryTick();

    Unit& m_unit;
    UnitHooks m_hooks;
    std::chrono::milliseconds m_statsPeriod;
    PeerBook m_peers;
    BraidSessions m_braid;
    CallStats m_stats;
    std::map<int, Call> m_calls;
    // The unit's encoder before its calls changed it.
    std::optional<std::string> m_idleEncoder;
    unsigned int m_statsTimer = 0;
    unsigned int m_directoryTimer = 0;
    unsigned int m_directoryTurn = 0;
};

#endif
