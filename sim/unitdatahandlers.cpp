#include "unitdatahandlers.h"

#include "logger.h"
#include "reply.h"
#include "requestrouter.h"
#include "unit.h"

#include <string>
#include <vector>

namespace {

struct DataRequest {
    const char* request;
    const char* data;
    // Data the client never asks for by name but needs: sent right after the answer.
    std::vector<const char*> alsoSent;
};

const std::vector<DataRequest> kDataRequests = {
    {"loadSettings", "loadSettings", {}},
    {"getProfileList", "profileList", {}},
    {"getCodecList", "codecList", {"currentEncoder"}},
    {"getDirectoryServer", "directoryServer", {"sipProxy"}},
    {"getPeerList", "peerList", {}},
    {"getSysOptions", "sysOptions", {}},
    {"getPowerInfo", "powerInfo", {}},
    {"getChannelList", "channelList", {}},
    {"getChannelOpts", "channelOpts", {}},
    {"getVersion", "version", {}},
};

// A unit without data of a kind answers with an empty message, as a unit with nothing to list.
Message unitData(const Unit& unit, const std::string& name)
{
    if (const Message* data = unit.data(name))
        return *data;
    g_log.log(LOG_WARNING, "the scenario has no %s", name.c_str());
    return Message(name);
}

} // namespace

void addUnitDataHandlers(RequestRouter& router, Unit& unit)
{
    for (const DataRequest& entry : kDataRequests) {
        router.add(entry.request, [&unit, entry](const Message&, Reply& reply) {
            Message answer = unitData(unit, entry.data);
            answer.name = reply.seq();
            reply.send(answer);
            for (const char* extra : entry.alsoSent) {
                if (const Message* data = unit.data(extra))
                    reply.sendAs(extra, *data);
            }
        });
    }
}
