#ifndef SIM_SIMULATOR_H
#define SIM_SIMULATOR_H

#include "ipcmanager.h"
#include "requestrouter.h"
#include "simoptions.h"
#include "unit.h"
#include "unitserver.h"

#include <memory>
#include <string>
#include <vector>

class CallHandlers;
class ControlConsole;
class NetworkManager;
class SignalDrift;

// The simulated unit's backend process: its state, its request handlers, a local listener
// ("compact") and a TCP listener ("xmls"), the control console and the periodic notifications.
class Simulator {
public:
    explicit Simulator(const SimOptions& options);
    Simulator(const Simulator&) = delete;
    Simulator& operator=(const Simulator&) = delete;
    ~Simulator();

    // Loads the scenario and opens the listeners; false with a reason.
    bool start(std::string& error);
    // Runs until stop(), "quit", SIGINT or SIGTERM.
    void run();
    void stop();

    Unit& unit() { return m_unit; }
    IPCManager& manager() { return m_manager; }
    CallHandlers& calls() { return *m_calls; }
    NetworkManager& network() { return *m_network; }

    // To the sessions of both listeners that subscribed to `id`; returns how many got it.
    std::size_t notify(const std::string& id, const Message& msg);
    // Returns how many sessions were dropped.
    std::size_t dropSessions();
    // The period of the statistics and the other periodic notifications; zero stops them.
    void setStatsRate(std::chrono::milliseconds period);
    // One "event ..." line on standard output: what the unit was asked to do.
    static void report(const std::string& line);

private:
    bool listen(std::string& error);
    bool addListener(const std::string& name, const std::string& encoding, const SocketAddr& address);
    void watchStopSignals();
    void factoryReset();

    SimOptions m_options;
    Unit m_unit;
    RequestRouter m_router;
    IPCManager m_manager;
    std::vector<std::unique_ptr<UnitServer>> m_servers;
    std::unique_ptr<ControlConsole> m_console;
    std::unique_ptr<SignalDrift> m_drift;
    int m_signalFd = -1;
    std::unique_ptr<CallHandlers> m_calls;
    std::unique_ptr<NetworkManager> m_network;
};

#endif
