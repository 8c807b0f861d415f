#ifndef SIM_NETWORKMANAGER_H
#define SIM_NETWORKMANAGER_H

#include "message.h"

#include <chrono>
#include <functional>
#include <map>
#include <string>
#include <utility>

class RequestRouter;
class Reply;
class Unit;

// The network manager's writes on its configuration tree: "cfgSetOption" (values and returns to
// default, enabling and disabling devices) and "cfgCmd" ("apply", "_add", "_del", "scan",
// "pick"), each followed by the notifications a real unit pushes. Also plugs, unplugs, adds and
// removes devices for the control console.
class NetworkManager {
public:
    struct Hooks {
        std::function<unsigned int(std::chrono::milliseconds, std::function<void()>)> schedule;
        std::function<void(const std::string& id, const Message& msg)> notify;
        std::function<void(const std::string& line)> report;
    };

    NetworkManager(Unit& unit, Hooks hooks);
    NetworkManager(const NetworkManager&) = delete;
    NetworkManager& operator=(const NetworkManager&) = delete;

    void addHandlers(RequestRouter& router);

    // Console commands; each returns the console's answer line.
    std::string plug(const std::string& id, bool installed);
    std::string addDevice(const std::string& id, const std::string& deviceClass);
    std::string removeDevice(const std::string& id);

private:
    Message setOptions(const Message& request);
    Message command(const Message& request);
    bool setOption(const std::string& ownerPath, const Params& change, std::string& error);
    void setDeviceEnabled(Message& device, bool enabled);
    Message applySettings(const std::string& path);
    Message addLocation(const std::string& devicePath, const Message& location);
    Message deleteObject(const std::string& path);
    Message startScan(const std::string& devicePath);
    Message pickNetwork(const std::string& scannerPath, const std::string& bssid);

    Message* device(const std::string& id);
    void pushStatus(const Message& device);
    void pushOverallStatus();
    void pushData(const std::string& path, const std::string& type, const Message* option = nullptr);

    Unit& m_unit;
    Hooks m_hooks;
    // Address and status text of a disabled device, given back when it is enabled again.
    std::map<std::string, std::pair<std::string, std::string>> m_parked;
    unsigned int m_locationsAdded = 0;
};

#endif
