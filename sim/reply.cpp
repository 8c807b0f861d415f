#include "reply.h"

#include <utility>

Reply::Reply(Sender sender, const Message& request)
    : m_sender(std::move(sender)), m_seq(request.params().get_string("seq", ""))
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
