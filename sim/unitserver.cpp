#include "unitserver.h"

#include "logger.h"
#include "reply.h"
#include "requestrouter.h"

#include <utility>

namespace {
const char* const kUser = "user";
}

UnitServer::UnitServer(const RequestRouter& router, std::string password, LoggedIn loggedIn, Relay relay)
    : m_router(router), m_password(std::move(password)), m_loggedIn(std::move(loggedIn)), m_relay(std::move(relay))
{
}

bool UnitServer::password_for(const std::string& user, std::string& password) const
{
    if (user != kUser)
        return false;
    password = m_password;
    return true;
}

void UnitServer::session_opened(const IPCSessionInfo& session)
{
    g_log.log(LOG_INFO, "session %u opened", session.id);
    m_loggedIn(*this, session.id);
}

void UnitServer::session_closed(const IPCSessionInfo& session)
{
    g_log.log(LOG_INFO, "session %u closed", session.id);
}

void UnitServer::process_command(const IPCSessionInfo& session, const Message& msg)
{
    if (g_log.enabled(LOG_DEBUG)) {
        g_log.log(LOG_DEBUG, "session %u request:", session.id);
        msg._dump(LOG_DEBUG, 0, 1);
    }
    const unsigned int sessionId = session.id;
    Reply reply([this, sessionId](const Message& answer) { send_response(sessionId, answer); }, msg,
                [this, sessionId](const Message& relayed) { m_relay(*this, sessionId, relayed); });
    if (!m_router.dispatch(msg, reply))
        g_log.log(LOG_WARNING, "unknown request %s (seq=%s) from session %u", msg.name.c_str(),
                  reply.seq().c_str(), session.id);
}
