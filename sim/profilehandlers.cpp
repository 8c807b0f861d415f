#include "profilehandlers.h"

#include "logger.h"
#include "message.h"
#include "reply.h"
#include "requestrouter.h"
#include "unit.h"

#include <algorithm>
#include <string>
#include <utility>

namespace {

// Where a handler's effects go besides its answer.
struct Outlets {
    std::function<void(const Message&)> pushToAll;
    std::function<void(const std::string&)> report;
};

using DataHandler = void (*)(Message& data, const Message& request, Reply& reply, const Outlets& outlets);

Message success()
{
    Message answer;
    answer.params().set_bool("fail", false);
    return answer;
}

Message failure(const std::string& error)
{
    g_log.log(LOG_WARNING, "%s", error.c_str());
    Message answer;
    answer.params().set_bool("fail", true);
    answer.params().set_string("error", error);
    return answer;
}

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

int idOf(const Message& profile)
{
    return profile.params().get_int("id", 0);
}

Message* findProfile(Message& profiles, int id)
{
    for (unsigned int i = 0; i < profiles.num_children("profile"); ++i) {
        Message& profile = profiles.get_child("profile", i);
        if (idOf(profile) == id)
            return &profile;
    }
    return nullptr;
}

int nextProfileId(const Message& profiles)
{
    int highest = 0;
    for (unsigned int i = 0; i < profiles.num_children("profile"); ++i)
        highest = std::max(highest, idOf(profiles.get_child("profile", i)));
    return highest + 1;
}

Message& settingsOf(Message& profile)
{
    return profile.num_children("settings") ? profile.get_child("settings", 0) : profile.add_child("settings");
}

// A profile the operator made: never a factory profile and not the default until made so.
void nameAsNew(Message& profile, int id, const std::string& name)
{
    profile.params().set_int("id", id);
    profile.params().set_string("name", name);
    profile.params().set_bool("factory", false);
    profile.params().set_bool("default", false);
    settingsOf(profile).params().set_string("name", name);
}

// Answers the new profile's id and pushes the grown list.
void addToList(Message& profiles, Message profile, const std::string& event, Reply& reply, const Outlets& outlets)
{
    const int id = idOf(profile);
    profiles.add_child(profile);
    outlets.report(event + " id=" + std::to_string(id) + " name=" + profile.params().get_string("name", ""));
    Message answer = success();
    answer.params().set_int("id", id);
    reply.send(answer);
    outlets.pushToAll(profiles);
}

void addProfile(Message& profiles, const Message& request, Reply& reply, const Outlets& outlets)
{
    Message profile("profile");
    nameAsNew(profile, nextProfileId(profiles), request.params().get_string("name", "New Profile"));
    Params& settings = settingsOf(profile).params();
    settings.set_string("channel", request.params().get_string("channel", "rtp_udp_mux"));
    settings.set_string("visible", "true");
    profile.add_child("local");
    profile.add_child("remote");
    addToList(profiles, std::move(profile), "addProfile", reply, outlets);
}

void copyProfile(Message& profiles, const Message& request, Reply& reply, const Outlets& outlets)
{
    const int sourceId = request.params().get_int("id", 0);
    const Message* source = findProfile(profiles, sourceId);
    if (!source) {
        reply.send(failure("copyProfile: no profile " + std::to_string(sourceId)));
        return;
    }
    Message copy = *source;
    nameAsNew(copy, nextProfileId(profiles),
              request.params().get_string("name", "Copy of " + source->params().get_string("name", "")));
    addToList(profiles, std::move(copy), "copyProfile from=" + std::to_string(sourceId), reply, outlets);
}

void deleteProfile(Message& profiles, const Message& request, Reply& reply, const Outlets& outlets)
{
    const int id = request.params().get_int("id", 0);
    const Message* doomed = findProfile(profiles, id);
    if (!doomed) {
        reply.send(failure("deleteProfile: no profile " + std::to_string(id)));
        return;
    }
    if (doomed->params().get_bool("factory", false)) {
        reply.send(failure("deleteProfile: profile " + std::to_string(id) + " is a factory profile"));
        return;
    }
    Message kept(profiles.name, profiles.params());
    for (std::size_t i = 0; i < profiles.child_count(); ++i) {
        const Message& child = profiles.child(i);
        if (child.name != "profile" || idOf(child) != id)
            kept.add_child(child);
    }
    profiles = std::move(kept);
    outlets.report("deleteProfile id=" + std::to_string(id));
    reply.send(success());
    outlets.pushToAll(profiles);
}

// The request's parameters, but for the group's name and the answer name, replace those of the
// stored group of that name.
void storeSettings(Message& settings, const Message& request, Reply& reply, const Outlets& outlets)
{
    const std::string groupName = request.params().get_string("group", "");
    if (groupName.empty()) {
        reply.send(failure("storeSettings: no group"));
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
    reply.send(success());
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
                reply.send(failure(std::string(entry.request) + ": the scenario has no " + entry.data));
                return;
            }
            entry.handler(*data, request, reply, outlets);
        });
    }
}
