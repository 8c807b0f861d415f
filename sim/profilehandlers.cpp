#include "profilehandlers.h"

#include "message.h"
#include "records.h"
#include "reply.h"
#include "requestrouter.h"
#include "unit.h"

#include <string>
#include <utility>

namespace {

// Where a handler's effects go besides its answer.
struct Outlets {
    std::function<void(const Message&)> pushToAll;
    std::function<void(const std::string&)> report;
};

using DataHandler = void (*)(Message& data, const Message& request, Reply& reply, const Outlets& outlets);

std::string text(const ParamValue& value)
{
    if (const auto* flag = std::get_if<bool>(&value))
        return *flag ? "true" : "false";
    if (const auto* number = std::get_if<int32_t>(&value))
        return std::to_string(*number);
    if (const auto* number = std::get_if<uint32_t>(&value))
        return std::to_string(*number);
    return std::get<std::string>(value);
}

// A profile the operator made: never a factory profile and not the default until made so.
void nameAsNew(Message& profile, int id, const std::string& name)
{
    profile.params().set_int("id", id);
    profile.params().set_string("name", name);
    profile.params().set_bool("factory", false);
    profile.params().set_bool("default", false);
    firstChild(profile, "settings").params().set_string("name", name);
}

// Answers the new profile's id and pushes the grown list.
void addToList(Message& profiles, Message profile, const std::string& event, Reply& reply, const Outlets& outlets)
{
    const int id = profile.params().get_int("id", 0);
    profiles.add_child(profile);
    outlets.report(event + " id=" + std::to_string(id) + " name=" + profile.params().get_string("name", ""));
    Message added = answer();
    added.params().set_int("id", id);
    reply.send(added);
    outlets.pushToAll(profiles);
}

void addProfile(Message& profiles, const Message& request, Reply& reply, const Outlets& outlets)
{
    Message profile("profile");
    nameAsNew(profile, nextId(profiles, "profile", "id"), request.params().get_string("name", "New Profile"));
    Params& settings = firstChild(profile, "settings").params();
    settings.set_string("channel", request.params().get_string("channel", "rtp_udp_mux"));
    settings.set_string("visible", "true");
    profile.add_child("local");
    profile.add_child("remote");
    addToList(profiles, std::move(profile), "addProfile", reply, outlets);
}

void copyProfile(Message& profiles, const Message& request, Reply& reply, const Outlets& outlets)
{
    const int sourceId = request.params().get_int("id", 0);
    const Message* source = findChild(profiles, "profile", "id", sourceId);
    if (!source) {
        reply.send(failure("copyProfile", "no profile " + std::to_string(sourceId)));
        return;
    }
    Message copy = *source;
    nameAsNew(copy, nextId(profiles, "profile", "id"),
              request.params().get_string("name", "Copy of " + source->params().get_string("name", "")));
    addToList(profiles, std::move(copy), "copyProfile from=" + std::to_string(sourceId), reply, outlets);
}

void deleteProfile(Message& profiles, const Message& request, Reply& reply, const Outlets& outlets)
{
    const int id = request.params().get_int("id", 0);
    const Message* doomed = findChild(profiles, "profile", "id", id);
    if (!doomed) {
        reply.send(failure("deleteProfile", "no profile " + std::to_string(id)));
        return;
    }
    if (doomed->params().get_bool("factory", false)) {
        reply.send(failure("deleteProfile", "profile " + std::to_string(id) + " is a factory profile"));
        return;
    }
    removeChildren(profiles, "profile", "id", id);
    outlets.report("deleteProfile id=" + std::to_string(id));
    reply.send(answer());
    outlets.pushToAll(profiles);
}

// The request's parameters, but for the group's name and the answer name, replace those of the
// stored group of that name.
void storeSettings(Message& settings, const Message& request, Reply& reply, const Outlets& outlets)
{
    const std::string groupName = request.params().get_string("group", "");
    if (groupName.empty()) {
        reply.send(failure("storeSettings", "no group"));
        return;
    }
    Message* group = nullptr;
    for (unsigned int i = 0; i < settings.num_children("group") && !group; ++i) {
        Message& candidate = settings.get_child("group", i);
        if (candidate.params().get_string("name", "") == groupName)
            group = &candidate;
    }
    if (!group) {
        group = &settings.add_child("group");
        group->params().set_string("name", groupName);
    }
    std::string event = "storeSettings group=" + groupName;
    for (const auto& [key, value] : request.params().values()) {
        if (key == "group" || key == "seq")
            continue;
        group->params().set(key, value);
        event += " " + key + "=" + text(value);
    }
    outlets.report(event);
    reply.send(answer());
}

struct DataRequest {
    const char* request;
    const char* data;
    DataHandler handler;
};

const DataRequest kDataRequests[] = {
    {"addProfile", "profileList", addProfile},
    {"copyProfile", "profileList", copyProfile},
    {"deleteProfile", "profileList", deleteProfile},
    {"storeSettings", "loadSettings", storeSettings},
};

} // namespace

void addProfileHandlers(RequestRouter& router, Unit& unit, std::function<void(const Message&)> pushToAll,
                        std::function<void(const std::string&)> report)
{
    const Outlets outlets{std::move(pushToAll), std::move(report)};
    for (const DataRequest& entry : kDataRequests) {
        router.add(entry.request, [&unit, entry, outlets](const Message& request, Reply& reply) {
            Message* data = unit.data(entry.data);
            if (!data) {
                reply.send(failure(entry.request, std::string("the scenario has no ") + entry.data));
                return;
            }
            entry.handler(*data, request, reply, outlets);
        });
    }
}
