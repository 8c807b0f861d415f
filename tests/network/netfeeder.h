#ifndef NETFEEDER_H
#define NETFEEDER_H

#include "cachefeeder.h"

#include <QString>

// The network manager's messages as the unit sends them, into the shared client.
namespace netfeeder {

// A notification under its subscription id ("cfgStatus:netmgr.devices.eth0", "wifi:wlan0").
inline void notify(const std::string& id, const Message& msg)
{
    QMutexLocker lock(g_ipcClient.mutex());
    g_ipcClient.process_unso_id(id, msg);
}

inline void notify(const std::string& id, const std::string& xmls)
{
    notify(id, cachefeeder::parse(xmls));
}

// A device node: "id class enabled installed [signal] [viewonly]" in the text syntax of Params
// for its status, e.g. device("eth0", "class=wired enabled:b=true installed:b=true").
inline Message device(const std::string& id, const std::string& status, bool viewOnly = false)
{
    Message node("node");
    node.params().set_string("name", id);
    node.params().set_string("display_name", "Device " + id);
    if (viewOnly)
        node.params().set_bool("view_only", true);
    Message& fields = node.add_child("status");
    fields.params() = Params(status.c_str());
    return node;
}

// The device-list answer: a devices node with its overall status and one group of devices.
inline Message deviceList(const std::vector<Message>& devices, int numAlive = -1)
{
    Message answer("resp");
    Message& root = answer.add_child("node");
    root.params().set_string("name", "devices");
    if (numAlive >= 0)
        root.add_child("status").params().set_uint("num_alive", unsigned(numAlive));
    Message& group = root.add_child("group");
    for (const Message& node : devices)
        group.add_child(node);
    return answer;
}

} // namespace netfeeder

#endif
