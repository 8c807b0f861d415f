#include "simulator.h"

#include "callhandlers.h"
#include "chathandlers.h"
#include "controlconsole.h"
#include "logger.h"
#include "netmgrhandlers.h"
#include "networkmanager.h"
#include "optionhandlers.h"
#include "profilehandlers.h"
#include "shellhandlers.h"
#include "signaldrift.h"
#include "unitdatahandlers.h"

#include <csignal>
#include <cstdio>
#include <sys/signalfd.h>
#include <unistd.h>

namespace {
const char* const kLocalAddress = "/com/halvik/orvane";
const char* const kLocalServer = "orvane-local";
const char* const kTcpServer = "orvane-tcp";
}

Simulator::Simulator(const SimOptions& options)
    : m_options(options),
      m_unit(options.seed)
{
}

Simulator::~Simulator()
{
    if (m_signalFd >= 0) {
        m_manager.unwatch_fd(m_signalFd);
        close(m_signalFd);
    }
}

bool Simulator::start(std::string& error)
{
    if (!m_unit.loadFile(m_options.scenario, error))
        return false;
    addUnitDataHandlers(m_router, m_unit);
    addNetmgrHandlers(m_router, m_unit);
    addProfileHandlers(
        m_router, m_unit, [this](const Message& msg) { notify(IPCEndpointServer::kGenericUnso, msg); }, report);
    addChatHandlers(m_router, [](const std::string& line) { report(line); });
    addOptionHandlers(m_router, m_unit, [this](const Message& msg) { notify(IPCEndpointServer::kGenericUnso, msg); });
    addShellHandlers(m_router, [](const std::string& line) { report(line); }, [this] { factoryReset(); });
    m_calls = std::make_unique<CallHandlers>(
        m_unit,
        UnitHooks{[this](std::chrono::milliseconds delay, std::function<void()> callback) {
                                return m_manager.schedule(delay, std::move(callback));
                            },
                            [this](unsigned int timer) { m_manager.cancel(timer); },
                            [this](const std::string& id, const Message& msg) { notify(id, msg); },
                            [](const std::string& line) { report(line); }},
        std::chrono::milliseconds(m_options.statsRateMs));
    m_calls->addHandlers(m_router);
    m_network = std::make_unique<NetworkManager>(
        m_unit, NetworkManager::Hooks{[this](std::chrono::milliseconds delay, std::function<void()> callback) {
                                          return m_manager.schedule(delay, std::move(callback));
                                      },
                                      [this](const std::string& id, const Message& msg) { notify(id, msg); },
                                      [](const std::string& line) { report(line); }});
    m_network->addHandlers(m_router);
    watchStopSignals();
    if (!listen(error))
        return false;
    m_console = std::make_unique<ControlConsole>(*this, STDIN_FILENO);
    setStatsRate(std::chrono::milliseconds(m_options.statsRateMs));
    return true;
}

bool Simulator::listen(std::string& error)
{
    const SocketAddr local(kLocalAddress, 0);
    if (!addListener(kLocalServer, "compact", local)) {
        error = "cannot listen on " + local.to_string();
        return false;
    }
    std::string where = "listening local=" + local.to_string();
    if (m_options.tcp) {
        const SocketAddr tcp(m_options.listenHost, m_options.listenPort);
        if (!addListener(kTcpServer, "xmls", tcp)) {
            error = "cannot listen on " + tcp.to_string();
            return false;
        }
        where += " tcp=" + m_options.listenHost + ":" + std::to_string(tcp.effective_port());
    }
    std::printf("%s scenario=%s\n", where.c_str(), m_options.scenario.c_str());
    std::fflush(stdout);
    return true;
}

bool Simulator::addListener(const std::string& name, const std::string& encoding, const SocketAddr& address)
{
    // No request asks for the system option descriptions: the unit sends them after each login,
    // once the login's answer is on its way.
    auto pushSystemOptions = [this](IPCEndpointServer& server, unsigned int sessionId) {
        m_manager.schedule(std::chrono::milliseconds(0), [this, &server, sessionId] {
            if (const Message* options = m_unit.data("systemOpts")) {
                Message pushed = *options;
                pushed.name = "systemOpts";
                server.push_unso_to(sessionId, IPCEndpointServer::kGenericUnso, pushed);
            }
        });
    };
    auto relay = [this](const IPCEndpointServer& origin, unsigned int originSession, const Message& msg) {
        for (const auto& server : m_servers) {
            for (const IPCSessionInfo& session : server->sessions()) {
                if (server.get() != &origin || session.id != originSession)
                    server->push_unso_to(session.id, IPCEndpointServer::kGenericUnso, msg);
            }
        }
    };
    m_servers.push_back(std::make_unique<UnitServer>(m_router, m_options.password, pushSystemOptions, relay));
    return m_manager.add_server(name, m_servers.back().get())
        && m_manager.listen_server(encoding, "stream", address, name);
}

// SIGINT and SIGTERM arrive through a descriptor, so stopping runs on the loop like any event.
void Simulator::watchStopSignals()
{
    sigset_t stopSignals;
    sigemptyset(&stopSignals);
    sigaddset(&stopSignals, SIGINT);
    sigaddset(&stopSignals, SIGTERM);
    sigprocmask(SIG_BLOCK, &stopSignals, nullptr);
    m_signalFd = signalfd(-1, &stopSignals, SFD_CLOEXEC);
    if (m_signalFd < 0) {
        g_log.log(LOG_ERROR, "signalfd failed; SIGINT and SIGTERM end the process abruptly");
        sigprocmask(SIG_UNBLOCK, &stopSignals, nullptr);
        return;
    }
    m_manager.watch_fd(m_signalFd, [this] {
        signalfd_siginfo info;
        if (read(m_signalFd, &info, sizeof info) == static_cast<ssize_t>(sizeof info))
            g_log.log(LOG_INFO, "signal %u: stopping", info.ssi_signo);
        stop();
    });
}

void Simulator::run()
{
    m_manager.event_loop();
}

void Simulator::stop()
{
    m_manager.stop();
}

void Simulator::setStatsRate(std::chrono::milliseconds period)
{
    m_calls->setStatsPeriod(period);
    m_drift.reset();
    if (period.count() > 0)
        m_drift = std::make_unique<SignalDrift>(*this, period);
}

void Simulator::report(const std::string& line)
{
    std::printf("event %s\n", line.c_str());
    std::fflush(stdout);
}

// Back to the scenario's state, and every list the screens show pushed again.
void Simulator::factoryReset()
{
    m_calls->forgetCalls();
    std::string error;
    if (!m_unit.loadFile(m_options.scenario, error)) {
        g_log.log(LOG_ERROR, "reset: %s", error.c_str());
        return;
    }
    for (const char* name : {"loadSettings", "peerList", "profileList", "sysOptions", "channelList", "channelOpts"}) {
        if (const Message* data = m_unit.data(name)) {
            Message pushed = *data;
            pushed.name = name;
            notify(IPCEndpointServer::kGenericUnso, pushed);
        }
    }
}

std::size_t Simulator::notify(const std::string& id, const Message& msg)
{
    std::size_t reached = 0;
    for (const auto& server : m_servers)
        reached += server->push_unso(id, msg);
    return reached;
}

std::size_t Simulator::dropSessions()
{
    std::size_t dropped = 0;
    for (const auto& server : m_servers) {
        dropped += server->sessions().size();
        server->drop_sessions();
    }
    return dropped;
}
