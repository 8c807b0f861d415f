#include "chathandlers.h"

#include "reply.h"
#include "requestrouter.h"
#include "unit.h"

namespace {

const char* const kFarEnd = "Far End";

Message chatRecord(const std::string& type, const std::string& from, const std::string& when,
                   const std::string& text, bool portable)
{
    Message record("chat");
    record.params().set_string("type", type);
    record.params().set_string("from", from);
    record.params().set_string("when", when);
    record.params().set_string("text", text);
    record.params().set_bool("portable", portable);
    return record;
}

// The remote of the call in progress speaks for the far end; without a call nobody in particular.
std::string farEndName(const Unit& unit)
{
    if (const Message* peers = unit.data("peerList")) {
        for (unsigned int i = 0; i < peers->num_children("peer"); ++i) {
            const Params& peer = peers->get_child("peer", i).params();
            if (peer.get_bool("active", false))
                return peer.get_string("name", kFarEnd);
        }
    }
    return kFarEnd;
}

} // namespace

void addChatHandlers(RequestRouter& router, std::function<void(const std::string&)> report)
{
    router.add("chat", [report](const Message& request, Reply& reply) {
        const Params& line = request.params();
        const std::string type = line.get_string("type", "");
        const std::string from = line.get_string("from", "");
        const std::string text = line.get_string("text", "");
        report("chat " + type + " from " + from + ": " + text);
        // Whatever the sender claims, a line that came over the unit's own link is a portable one.
        const Message record = chatRecord(type, from, line.get_string("when", ""), text, true);
        reply.send(record);
        reply.sendToOthers(record);
    });
}

Message farEndChatLine(const Unit& unit, const std::string& type, const std::string& text)
{
    return chatRecord(type, farEndName(unit), "", text, false);
}
