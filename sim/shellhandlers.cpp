#include "shellhandlers.h"

#include "message.h"
#include "reply.h"
#include "requestrouter.h"

#include <utility>

namespace {

std::string describeBar(const Message& bar)
{
    const Params& p = bar.params();
    return std::to_string(p.get_uint("x", 0)) + "," + std::to_string(p.get_uint("y", 0)) + ","
        + std::to_string(p.get_uint("width", 0)) + "x" + std::to_string(p.get_uint("height", 0)) + ":"
        + (p.get_bool("playback", false) ? "play" : "in") + std::to_string(p.get_uint("channel", 0));
}

} // namespace

void addShellHandlers(RequestRouter& router, std::function<void(const std::string&)> report,
                      std::function<void()> factoryReset)
{
    router.add("setMetering", [report](const Message& request, Reply& reply) {
        std::string line = "metering bars=" + std::to_string(request.num_children("meter"));
        for (unsigned int i = 0; i < request.num_children("meter"); ++i)
            line += " " + describeBar(request.get_child("meter", i));
        report(line);
        reply.send(Message());
    });

    router.add("setRemoteCC", [report](const Message& request, Reply& reply) {
        report("remoteCC id=" + std::to_string(request.params().get_int("id", 0))
               + " state=" + (request.params().get_bool("state", false) ? "closed" : "open"));
        reply.send(Message());
    });

    router.add("reset", [report, factoryReset = std::move(factoryReset)](const Message& request, Reply& reply) {
        const std::string what = request.params().get_string("what", "");
        report("reset what=" + what);
        if (what == "cfg")
            factoryReset();
        reply.send(Message());
    });
}
