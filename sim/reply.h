#ifndef SIM_REPLY_H
#define SIM_REPLY_H

#include "message.h"

#include <functional>
#include <string>

// Answers one request to the session it came from.
class Reply {
public:
    using Sender = std::function<void(const Message& answer)>;

    // `others` reaches every other logged-in user interface of the unit.
    Reply(Sender sender, const Message& request, Sender others = Sender());

    // The answer name the client asked for in the request's "seq".
    const std::string& seq() const { return m_seq; }

    // Sends `answer` under the request's seq; an answer without a name is named after it.
    void send(Message answer);
    // Sends a further answer under a name of the unit's choosing: how the unit delivers data
    // that no request asks for by name.
    void sendAs(const std::string& seq, Message answer);
    // Pushes `msg` to every other logged-in user interface, as a generic notification.
    void sendToOthers(const Message& msg);

private:
    Sender m_sender;
    Sender m_others;
    std::string m_seq;
};

// The answer of a request that was carried out.
Message answer();
// The answer of a request the unit refuses, and a warning in the log.
Message failure(const std::string& request, const std::string& why);

#endif
