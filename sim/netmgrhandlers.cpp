#include "netmgrhandlers.h"

#include "logger.h"
#include "records.h"
#include "reply.h"
#include "requestrouter.h"
#include "unit.h"

#include <string>

namespace {

const char* const kRoot = "netmgr";
const char* const kDevices = "netmgr.devices";
const char* const kTunnel = "netmgr.tunnel";

const Message* statusOf(const Message& node)
{
    return node.find_child("status");
}

// A view-only device (the telephone line) carries no IP traffic, so it never counts as alive.
unsigned int countAliveDevices(const Message& devices)
{
    unsigned int alive = 0;
    for (unsigned int g = 0; g < devices.num_children("group"); ++g) {
        const Message& group = devices.get_child("group", g);
        for (unsigned int i = 0; i < group.num_children("node"); ++i) {
            const Message& device = group.get_child("node", i);
            const Message* status = statusOf(device);
            if (status && !device.params().get_bool("view_only", false) && status->params().get_bool("enabled", false)
                && status->params().get_bool("installed", false))
                ++alive;
        }
    }
    return alive;
}

bool anySessionActive(const Message* tunnel)
{
    const Message* status = tunnel ? statusOf(*tunnel) : nullptr;
    if (!status)
        return false;
    for (unsigned int i = 0; i < status->num_children("sess"); ++i) {
        if (status->get_child("sess", i).params().get_bool("active", false))
            return true;
    }
    return false;
}

Message noSuchPath(const Message& request, const std::string& path)
{
    return failure(request.name, "no such path: " + path);
}

void describe(const Unit& unit, const Message& request, Reply& reply)
{
    const std::string path = request.params().get_string("path", "");
    Message answer("resp");
    if (!unit.config().describe(path, request.params().get_uint("depth", 0), answer))
        answer = noSuchPath(request, path);
    reply.send(answer);
}

// The status of a node, as a "node" carrying the node's name and its status fields.
void getStatus(const Unit& unit, const Message& request, Reply& reply)
{
    const std::string path = request.params().get_string("path", "");
    const Message* node = unit.config().findNode(path);
    if (!node) {
        reply.send(noSuchPath(request, path));
        return;
    }
    Message answer("resp");
    answer.params().set_bool("fail", false);
    Message& out = answer.add_child("node");
    if (const Message* status = statusOf(*node))
        out = *status;
    out.name = "node";
    out.params().set_string("name", node->params().get_string("name", ""));
    reply.send(answer);
}

} // namespace

void refreshOverallStatus(Unit& unit)
{
    Message* devices = unit.config().findNode(kDevices);
    if (!devices)
        return;
    Params& status = firstChild(*devices, "status").params();
    status.set_uint("num_alive", countAliveDevices(*devices));
    status.set_bool("tunnel_alive", anySessionActive(unit.config().findNode(kTunnel)));
}

void addNetmgrHandlers(RequestRouter& router, Unit& unit)
{
    refreshOverallStatus(unit);
    router.addPath("cfgDescribe", kRoot, [&unit](const Message& request, Reply& reply) {
        describe(unit, request, reply);
    });
    router.addPath("cfgGetStatus", kRoot, [&unit](const Message& request, Reply& reply) {
        getStatus(unit, request, reply);
    });
}
