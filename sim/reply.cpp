#include "reply.h"

#include "logger.h"

#include <utility>

Reply::Reply(Sender sender, const Message& request, Sender others)
    : m_sender(std::move(sender)), m_others(std::move(others)), m_seq(request.params().get_string("seq", ""))
{
}

void Reply::send(Message answer)
{
    sendAs(m_seq, std::move(answer));
}

void Reply::sendAs(const std::string& seq, Message answer)
{
    if (answer.name.empty())
        answer.name = seq;
    answer.params().set_string("seq", seq);
    m_sender(answer);
}

void Reply::sendToOthers(const Message& msg)
{
    if (m_others)
        m_others(msg);
}

Message answer()
{
    Message ok;
    ok.params().set_bool("fail", false);
    return ok;
}

Message failure(const std::string& request, const std::string& why)
{
    g_log.log(LOG_WARNING, "%s refused: %s", request.c_str(), why.c_str());
    Message failed;
    failed.params().set_bool("fail", true);
    failed.params().set_string("error", why);
    return failed;
}
