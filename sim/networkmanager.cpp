#include "networkmanager.h"

#include "configtree.h"
#include "netmgrhandlers.h"
#include "reply.h"
#include "requestrouter.h"
#include "strutil.h"
#include "unit.h"

#include <algorithm>
#include <cctype>
#include <random>

namespace {

using std::chrono::milliseconds;

const char* const kRoot = "netmgr";
const char* const kDevices = "netmgr.devices";
const char* const kLocationGroup = "loc";
const char* const kScannerGroup = "scan";
const int kScanMs = 1500;
const int kApplyMs = 1500;
const int kScanWander = 6;

Message answer(bool ok, const std::string& error = std::string())
{
    Message resp("resp");
    resp.params().set_bool("fail", !ok);
    if (!ok)
        resp.params().set_string("error", error);
    return resp;
}

std::string parentPath(const std::string& path)
{
    const std::string::size_type dot = path.rfind('.');
    return dot == std::string::npos ? std::string() : path.substr(0, dot);
}

std::string lastName(const std::string& path)
{
    return path.substr(path.rfind('.') + 1);
}

Message* group(Message& node, const std::string& name)
{
    for (unsigned int i = 0; i < node.num_children("group"); ++i) {
        if (node.get_child("group", i).params().get_string("name", "") == name)
            return &node.get_child("group", i);
    }
    return nullptr;
}

bool hasCommand(const Message& node, const std::string& name)
{
    for (unsigned int i = 0; i < node.num_children("command"); ++i) {
        if (node.get_child("command", i).params().get_string("name", "") == name)
            return true;
    }
    return false;
}

// Rebuilds the group without the member of that kind and name; false when there was none.
bool removeMember(Message& container, const std::string& kind, const std::string& name)
{
    Message kept(container.name, container.params());
    bool removed = false;
    for (std::size_t i = 0; i < container.child_count(); ++i) {
        const Message& child = container.child(i);
        if (!removed && child.name == kind && child.params().get_string("name", "") == name)
            removed = true;
        else
            kept.add_child(child);
    }
    if (removed)
        container = std::move(kept);
    return removed;
}

Message& addCommand(Message& parent, const char* name)
{
    Message& command = parent.add_child("command");
    command.params().set_string("name", name);
    return command;
}

Message& addOption(Message& group, const char* name, const char* displayName, const char* type,
                   const std::string& value, const char* defaultValue, const char* descr)
{
    Message& option = group.add_child("option");
    Params& params = option.params();
    params.set_string("name", name);
    params.set_string("display_name", displayName);
    params.set_string("type", type);
    params.set_string("value", value);
    params.set_string("default_value", defaultValue);
    params.set_string("descr", descr);
    return option;
}

void addChoice(Message& option, const char* label, const char* value)
{
    Message& choice = option.add_child("select");
    choice.params().set_string("name", label);
    choice.params().set_string("value", value);
}

// A saved wireless network with the settings every location of the unit has.
Message makeLocation(const std::string& name, const std::string& essid, const std::string& security)
{
    Message location("node");
    location.params().set_string("name", name);
    location.params().set_string("display_name", essid.empty() ? "New Location" : essid);
    addCommand(location, "_del");
    Message& options = location.add_child("group");
    options.params().set_string("name", "");
    addOption(options, "essid", "Network Name", "string", essid, "", "Name of the wireless network.");
    Message& sec = addOption(options, "security", "Security", "select", security, "wpa2", "Encryption of the network.");
    addChoice(sec, "None", "none");
    addChoice(sec, "WPA2 Personal", "wpa2");
    addChoice(sec, "WPA3 Personal", "wpa3");
    addOption(options, "key", "Passphrase", "string", "", "", "Network passphrase.");
    Message& dhcp = addOption(options, "dhcp", "Address Mode", "bool", "true", "true",
                              "How the device gets its address on this network.");
    dhcp.params().set_string("label_true", "DHCP");
    dhcp.params().set_string("label_false", "Static");
    for (unsigned int i = 0; i < options.num_children("option"); ++i)
        ConfigTree::normaliseOption(options.get_child("option", i));
    return location;
}

// A location name from a network name: lower-case letters and digits, never empty.
std::string locationName(const std::string& essid)
{
    std::string name;
    for (const char c : essid) {
        if (std::isalnum(static_cast<unsigned char>(c)))
            name += static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    }
    return name.empty() ? "location" : name;
}

std::string uniqueMemberName(const Message& container, const std::string& base)
{
    auto taken = [&container](const std::string& name) {
        for (unsigned int i = 0; i < container.num_children("node"); ++i) {
            if (container.get_child("node", i).params().get_string("name", "") == name)
                return true;
        }
        return false;
    };
    std::string name = base;
    for (int n = 2; taken(name); ++n)
        name = base + std::to_string(n);
    return name;
}

} // namespace

NetworkManager::NetworkManager(Unit& unit, Hooks hooks)
    : m_unit(unit), m_hooks(std::move(hooks))
{
}

void NetworkManager::addHandlers(RequestRouter& router)
{
    router.addPath("cfgSetOption", kRoot, [this](const Message& request, Reply& reply) {
        reply.send(setOptions(request));
    });
    router.addPath("cfgCmd", kRoot, [this](const Message& request, Reply& reply) {
        reply.send(command(request));
    });
}

Message* NetworkManager::device(const std::string& id)
{
    return m_unit.config().findNode(std::string(kDevices) + "." + id);
}

Message NetworkManager::setOptions(const Message& request)
{
    const std::string path = request.params().get_string("path", "");
    if (!m_unit.config().findNode(path))
        return answer(false, "no such object: " + path);
    for (unsigned int i = 0; i < request.num_children("option"); ++i) {
        std::string error;
        if (!setOption(path, request.get_child("option", i).params(), error))
            return answer(false, error);
    }
    return answer(true);
}

// A device's "enabled" lives in its status; every other option in the object's groups. Without
// a value the option returns to its default.
bool NetworkManager::setOption(const std::string& ownerPath, const Params& change, std::string& error)
{
    const std::string name = change.get_string("name", "");
    const std::string path = ownerPath + "." + name;
    Message* option = m_unit.config().findOption(path);
    Message* owner = m_unit.config().findNode(ownerPath);
    if (!option && name == "enabled" && owner->find_child("status") && parentPath(ownerPath) == kDevices) {
        setDeviceEnabled(*owner, change.get_bool("value", true));
        return true;
    }
    if (!option) {
        error = "no such option: " + path;
        return false;
    }
    Params& params = option->params();
    const std::string value = change.has_param("value") ? change.get_string("value", "")
                                                        : params.get_string("default_value", "");
    params.set_string("value", value);
    params.set_bool("defaulted", !change.has_param("value") || value == params.get_string("default_value", ""));
    params.set_string("display_value", ConfigTree::displayText(*option, value));
    m_hooks.report("option " + path + (change.has_param("value") ? "=" + value : " default"));
    pushData(path, "value", option);
    return true;
}

void NetworkManager::setDeviceEnabled(Message& node, bool enabled)
{
    const std::string id = node.params().get_string("name", "");
    Params& status = node.get_child("status", 0).params();
    if (status.get_bool("enabled", false) == enabled)
        return;
    status.set_bool("enabled", enabled);
    if (enabled) {
        const auto parked = m_parked.find(id);
        if (parked != m_parked.end()) {
            status.set_string("address", parked->second.first);
            status.set_string("status", parked->second.second);
            m_parked.erase(parked);
        }
    } else {
        m_parked[id] = {status.get_string("address", ""), status.get_string("status", "")};
        status.set_string("address", "");
        status.set_string("status", "Disabled by the operator");
    }
    m_hooks.report(std::string(enabled ? "enable " : "disable ") + id);
    pushStatus(node);
    pushOverallStatus();
}

Message NetworkManager::command(const Message& request)
{
    const Params& params = request.params();
    const std::string path = params.get_string("path", "");
    const std::string name = params.get_string("name", "");
    if (!m_unit.config().findNode(path))
        return answer(false, "no such object: " + path);
    if (name == "apply")
        return applySettings(path);
    if (name == "_add" && params.get_string("group", "") == kLocationGroup)
        return addLocation(path, makeLocation(std::string(), std::string(), "wpa2"));
    if (name == "_del")
        return deleteObject(path);
    if (name == "scan")
        return startScan(path);
    if (name == "pick")
        return pickNetwork(path, params.get_string("sel", ""));
    return answer(false, "unknown command " + name + " on " + path);
}

// The device goes through a short reconfiguration, then reports its usual state again.
Message NetworkManager::applySettings(const std::string& path)
{
    Message* node = m_unit.config().findNode(path);
    m_hooks.report("apply " + path);
    Message* status = node->find_child("status") ? &node->get_child("status", 0) : nullptr;
    if (!status)
        return answer(true);
    const std::string text = status->params().get_string("status", "");
    status->params().set_string("status", "Applying settings...");
    pushStatus(*node);
    m_hooks.schedule(milliseconds(kApplyMs), [this, path, text] {
        Message* again = m_unit.config().findNode(path);
        if (!again || !again->find_child("status"))
            return;
        again->get_child("status", 0).params().set_string("status", text);
        pushStatus(*again);
    });
    return answer(true);
}

Message NetworkManager::addLocation(const std::string& devicePath, const Message& location)
{
    Message* node = m_unit.config().findNode(devicePath);
    Message* locations = group(*node, kLocationGroup);
    if (!locations || !hasCommand(*locations, "_add"))
        return answer(false, devicePath + " takes no locations");
    Message added = location;
    const std::string base = location.params().get_string("name", "");
    added.params().set_string("name", uniqueMemberName(*locations, base.empty() ? "location" + std::to_string(++m_locationsAdded) : base));
    const std::string path = devicePath + "." + added.params().get_string("name", "");
    locations->add_child(added);
    m_hooks.report("add location " + path);
    pushData(path, "add");
    return answer(true);
}

Message NetworkManager::deleteObject(const std::string& path)
{
    Message* node = m_unit.config().findNode(path);
    if (!hasCommand(*node, "_del"))
        return answer(false, path + " cannot be deleted");
    Message* parent = m_unit.config().findNode(parentPath(path));
    const std::string name = lastName(path);
    for (unsigned int i = 0; parent && i < parent->num_children("group"); ++i) {
        if (!removeMember(parent->get_child("group", i), "node", name))
            continue;
        m_parked.erase(name);
        m_hooks.report("delete " + path);
        pushData(path, "delete");
        if (parentPath(path) == kDevices)
            pushOverallStatus();
        return answer(true);
    }
    return answer(false, path + " cannot be deleted");
}

// The nearby networks answer a little later, each a few percent stronger or weaker than last time.
Message NetworkManager::startScan(const std::string& devicePath)
{
    Message* node = m_unit.config().findNode(devicePath);
    Message* locations = group(*node, kLocationGroup);
    if (!locations || !hasCommand(*locations, "scan"))
        return answer(false, devicePath + " cannot scan");
    m_hooks.report("scan " + devicePath);
    m_hooks.schedule(milliseconds(kScanMs), [this, devicePath] {
        Message* scanner = m_unit.config().findNode(devicePath + ".scanner");
        Message* found = scanner && scanner->find_child("status") ? &scanner->get_child("status", 0) : nullptr;
        Message results("wifi");
        std::uniform_int_distribution<int> wander(-kScanWander, kScanWander);
        for (unsigned int i = 0; found && i < found->num_children("net"); ++i) {
            Params& net = found->get_child("net", i).params();
            const int signal = static_cast<int>(net.get_uint("signal", 0)) + wander(m_unit.random());
            net.set_uint("signal", static_cast<uint32_t>(std::clamp(signal, 1, 100)));
            results.add_child(found->get_child("net", i));
        }
        m_hooks.notify("wifi:" + lastName(devicePath), results);
    });
    return answer(true);
}

Message NetworkManager::pickNetwork(const std::string& scannerPath, const std::string& bssid)
{
    const Message* scanner = m_unit.config().findNode(scannerPath);
    const Message* found = scanner->find_child("status");
    for (unsigned int i = 0; found && i < found->num_children("net"); ++i) {
        const Params& net = found->get_child("net", i).params();
        if (net.get_string("bssid", "") != bssid)
            continue;
        const std::string essid = net.get_string("essid", "");
        const std::string sec = net.get_string("sec", "");
        return addLocation(parentPath(scannerPath),
                           makeLocation(locationName(essid), essid, sec == "none" || sec == "wpa3" ? sec : "wpa2"));
    }
    return answer(false, "no scanned network " + bssid);
}

std::string NetworkManager::plug(const std::string& id, bool installed)
{
    Message* node = device(id);
    if (!node || !node->find_child("status"))
        return "error: no device " + id;
    Params& status = node->get_child("status", 0).params();
    status.set_bool("installed", installed);
    status.set_string("status", installed ? "Adapter present" : "Adapter not present");
    if (!installed)
        status.set_string("address", "");
    pushStatus(*node);
    pushOverallStatus();
    return std::string("ok ") + (installed ? "plugged " : "unplugged ") + id;
}

std::string NetworkManager::addDevice(const std::string& id, const std::string& deviceClass)
{
    static const std::map<std::string, std::string> kNames = {
        {"wired", "USB Ethernet"}, {"wifi", "USB Wireless"}, {"3g", "USB Modem"}};
    const auto displayName = kNames.find(deviceClass);
    Message* devices = m_unit.config().findNode(kDevices);
    if (displayName == kNames.end())
        return "error: device add ID wired|wifi|3g";
    if (!devices || !devices->find_child("group") || device(id) || id.find('.') != std::string::npos)
        return "error: cannot add device " + id;
    Message node("node");
    node.params().set_string("name", id);
    node.params().set_string("display_name", displayName->second);
    node.params().set_string("type", deviceClass);
    Params& status = node.add_child("status").params();
    status.set_bool("enabled", true);
    status.set_bool("installed", true);
    status.set_string("class", deviceClass);
    status.set_string("address", "");
    status.set_string("status", "Waiting for a link");
    if (deviceClass != "wired")
        status.set_uint("signal", 30);
    addCommand(node, "apply");
    addCommand(node, "_del");
    Message& settings = node.add_child("group");
    settings.params().set_string("name", "");
    Message& dhcp = addOption(settings, "dhcp", "Address Mode", "bool", "true", "true", "Get the address from DHCP.");
    dhcp.params().set_string("label_true", "DHCP");
    dhcp.params().set_string("label_false", "Static");
    ConfigTree::normaliseOption(dhcp);
    if (deviceClass == "wifi") {
        Message& locations = node.add_child("group");
        locations.params().set_string("name", kLocationGroup);
        addCommand(locations, "_add");
        addCommand(locations, "scan");
    }
    devices->get_child("group", 0).add_child(node);
    pushData(std::string(kDevices) + "." + id, "add");
    pushOverallStatus();
    return "ok added " + id;
}

std::string NetworkManager::removeDevice(const std::string& id)
{
    Message* devices = m_unit.config().findNode(kDevices);
    for (unsigned int i = 0; devices && i < devices->num_children("group"); ++i) {
        if (!removeMember(devices->get_child("group", i), "node", id))
            continue;
        m_parked.erase(id);
        pushData(std::string(kDevices) + "." + id, "delete");
        pushOverallStatus();
        return "ok removed " + id;
    }
    return "error: no device " + id;
}

void NetworkManager::pushStatus(const Message& node)
{
    const std::string id = node.params().get_string("name", "");
    Message update("status", node.get_child("status", 0).params());
    update.params().set_string("name", id);
    m_hooks.notify("cfgStatus:" + std::string(kDevices) + "." + id, update);
}

void NetworkManager::pushOverallStatus()
{
    refreshOverallStatus(m_unit);
    const Message* devices = m_unit.config().findNode(kDevices);
    Message update("node", devices->get_child("status", 0).params());
    m_hooks.notify("cfgStatus:" + std::string(kDevices), update);
}

void NetworkManager::pushData(const std::string& path, const std::string& type, const Message* option)
{
    Message data("data");
    data.params().set_string("name", path);
    data.params().set_string("type", type);
    if (option) {
        Message& descr = data.add_child(*option);
        descr.name = "descr";
    }
    m_hooks.notify("cfgData:" + path, data);
}
