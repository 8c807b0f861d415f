#ifndef SIM_UNITSERVER_H
#define SIM_UNITSERVER_H

#include "ipcendpoint.h"

#include <functional>
#include <string>

class RequestRouter;

// One listener of the simulated unit: logs clients in with the unit's password and hands
// every request to the router.
class UnitServer : public IPCEndpointServer {
public:
    // Runs for every client whose login the unit accepted.
    using LoggedIn = std::function<void(IPCEndpointServer& server, unsigned int sessionId)>;
    // Pushes a generic notification to every logged-in session of the unit but the one given.
    using Relay = std::function<void(const IPCEndpointServer& origin, unsigned int sessionId, const Message& msg)>;

    UnitServer(const RequestRouter& router, std::string password, LoggedIn loggedIn, Relay relay);

    bool password_for(const std::string& user, std::string& password) const override;
    void session_opened(const IPCSessionInfo& session) override;
    void session_closed(const IPCSessionInfo& session) override;
    void process_command(const IPCSessionInfo& session, const Message& msg) override;

private:
    const RequestRouter& m_router;
    std::string m_password;
    LoggedIn m_loggedIn;
    Relay m_relay;
};

#endif
