#include "optionhandlers.h"

#include "message.h"
#include "records.h"
#include "reply.h"
#include "requestrouter.h"
#include "unit.h"

#include <cctype>
#include <set>
#include <string>
#include <utility>

namespace {

using PushToAll = std::function<void(const Message&)>;

const char* const kReset = "reset";
const char* const kProfileSections[] = {"settings", "local", "remote"};

// The request's values onto the stored ones: parameters replace, a "reset" child drops the
// parameter it names (the backend's default applies again), other children merge into the
// stored child of their name.
void merge(Message& stored, const Message& changes)
{
    for (const auto& [key, value] : changes.params().values()) {
        if (key != "seq")
            stored.params().set(key, value);
    }
    for (std::size_t i = 0; i < changes.child_count(); ++i) {
        const Message& child = changes.child(i);
        if (child.name == kReset)
            stored.params().remove(child.params().get_string("name", ""));
        else
            merge(firstChild(stored, child.name), child);
    }
}

Message* findById(Message& list, const std::string& childName, const std::string& id)
{
    for (unsigned int i = 0; i < list.num_children(childName); ++i) {
        Message& child = list.get_child(childName, i);
        if (child.params().get_string("id", "") == id)
            return &child;
    }
    return nullptr;
}

// The groups the system options keep their values in, each written by "set" + its name.
std::set<std::string> systemGroups(const Unit& unit)
{
    std::set<std::string> groups;
    if (const Message* options = unit.data("systemOpts")) {
        for (unsigned int i = 0; i < options->num_children("option"); ++i) {
            const std::string group = options->get_child("option", i).params().get_string("group", "");
            if (!group.empty())
                groups.insert(group);
        }
    }
    return groups;
}

// The answer is the group's new state, under the name the client caches it by.
void addGroupWrite(RequestRouter& router, Unit& unit, const std::string& group, const PushToAll& pushToAll)
{
    std::string requestName = "set" + group;
    requestName[3] = static_cast<char>(std::toupper(static_cast<unsigned char>(requestName[3])));
    router.add(requestName, [&unit, group, requestName, pushToAll](const Message& request, Reply& reply) {
        Message* values = unit.data(group);
        if (!values) {
            reply.send(failure(requestName, "the scenario has no " + group));
            return;
        }
        merge(*values, request);
        reply.send(*values);
        pushToAll(*values);
    });
}

void setChannelSettings(Unit& unit, const Message& request, Reply& reply, const PushToAll& pushToAll)
{
    Message* channels = unit.data("channelList");
    const std::string id = request.params().get_string("id", "");
    Message* channel = channels ? findById(*channels, "channel", id) : nullptr;
    if (!channel) {
        reply.send(failure(request.name, "no channel " + id));
        return;
    }
    for (unsigned int i = 0; i < request.num_children("channel"); ++i)
        merge(*channel, request.get_child("channel", i));
    reply.send(answer());
    pushToAll(*channels);
}

// The profile's own name and its settings' name are one setting.
void setProfile(Unit& unit, const Message& request, Reply& reply, const PushToAll& pushToAll)
{
    Message* profiles = unit.data("profileList");
    const std::string id = request.params().get_string("id", "");
    Message* profile = profiles ? findById(*profiles, "profile", id) : nullptr;
    if (!profile) {
        reply.send(failure(request.name, "no profile " + id));
        return;
    }
    if (request.params().get_bool("default", false)) {
        for (unsigned int i = 0; i < profiles->num_children("profile"); ++i) {
            Message& other = profiles->get_child("profile", i);
            other.params().set_bool("default", &other == profile);
        }
    }
    for (const char* section : kProfileSections) {
        for (unsigned int i = 0; i < request.num_children(section); ++i)
            merge(firstChild(*profile, section), request.get_child(section, i));
    }
    const Message* settings = profile->find_child("settings");
    if (settings && settings->params().has_param("name"))
        profile->params().set_string("name", settings->params().get_string("name", ""));
    reply.send(answer());
    pushToAll(*profiles);
}

} // namespace

void addOptionHandlers(RequestRouter& router, Unit& unit, std::function<void(const Message&)> pushToAll)
{
    for (const std::string& group : systemGroups(unit))
        addGroupWrite(router, unit, group, pushToAll);
    router.add("setChannelSettings", [&unit, pushToAll](const Message& request, Reply& reply) {
        setChannelSettings(unit, request, reply, pushToAll);
    });
    router.add("setProfile", [&unit, pushToAll](const Message& request, Reply& reply) {
        setProfile(unit, request, reply, pushToAll);
    });
}
