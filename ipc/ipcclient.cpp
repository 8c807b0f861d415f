#include "ipcclient.h"

#include "ipcmanagerqt.h"
#include "logger.h"

#include <QMutexLocker>
#include <QtGlobal>

#include <cctype>
#include <cstring>
#include <utility>

namespace {

const char* const kDefaultPassword = "velkor";
// Answer and notification names without a handler kept in the cache; the backend uses about twenty.
constexpr std::size_t kMaxUnhandledNames = 256;

const char* const kSubscriptions[] = {
    "peer_stats",
    "channel_stats",
    "tun_conns",
    "tun_stats",
    "power",
    "cfgData:netmgr.devices.*",
    "cfgStatus:netmgr.devices",
    "cfgStatus:netmgr.devices.*",
    "cfgStatus:netmgr.tunnel",
    "wifi:*",
};

bool startsWith(const std::string& text, const char* prefix)
{
    return text.compare(0, std::strlen(prefix), prefix) == 0;
}

QString toQString(const std::string& text)
{
    return QString::fromLatin1(text.data(), static_cast<int>(text.size()));
}

// The backend answers "getPeerList" as "peerList" and "setMetering" as "metering"; any other
// name is answered under itself.
std::string answerName(const std::string& request)
{
    if (!startsWith(request, "get") && !startsWith(request, "set"))
        return request;
    std::string name = request.substr(3);
    if (!name.empty())
        name[0] = static_cast<char>(std::tolower(static_cast<unsigned char>(name[0])));
    return name;
}

Message describeRequest(const std::string& path, const std::string& seq)
{
    Message msg("cfgDescribe");
    msg.params().set_string("path", path);
    msg.params().set_string("seq", seq);
    return msg;
}

Message rawDescribeRequest(const std::string& path, const std::string& seq, unsigned int depth)
{
    Message msg = describeRequest(path, seq);
    msg.params().set_string("status", "raw");
    msg.params().set_uint("depth", depth);
    return msg;
}

} // namespace

template <void (IPCClient::*Signal)()>
void IPCClient::announce(const Message&)
{
    emit (this->*Signal)();
}

template <void (IPCClient::*Signal)(Message)>
void IPCClient::forward(const Message& msg)
{
    emit (this->*Signal)(msg);
}

IPCClient::IPCClient(IPCManagerQt& manager)
    : password(qEnvironmentVariableIsSet("REMOTE_UI_PASS") ? qgetenv("REMOTE_UI_PASS").toStdString()
                                                            : kDefaultPassword)
    , m_manager(manager)
{
    qRegisterMetaType<IPCClient::IPC_STATE>("IPCClient::IPC_STATE");
    qRegisterMetaType<Message>("Message");

    handlers = {
        {"peerList", &IPCClient::announce<&IPCClient::recvPeerList>},
        {"profileList", &IPCClient::announce<&IPCClient::recvProfileList>},
        {"addProfile", &IPCClient::announce<&IPCClient::recvAddProfile>},
        {"networkList", &IPCClient::forward<&IPCClient::recvNetworkList>},
        {"networkDevice", &IPCClient::forward<&IPCClient::recvNetworkDevice>},
        {"networkDeviceLocation", &IPCClient::forward<&IPCClient::recvNetworkDeviceLocation>},
        {"configSetting", &IPCClient::forward<&IPCClient::recvConfigSetting>},
        {"braidSettings", &IPCClient::forward<&IPCClient::recvBraidSettings>},
        {"saveOption", &IPCClient::forward<&IPCClient::recvSaveOption>},
        {"codecList", &IPCClient::announce<&IPCClient::recvCodecList>},
        {"currentEncoder", &IPCClient::announce<&IPCClient::recvCurrentEncoder>},
        {"channelOpts", &IPCClient::announce<&IPCClient::recvChannelOpts>},
        {"channelList", &IPCClient::announce<&IPCClient::recvChannelList>},
        {"sysOptions", &IPCClient::announce<&IPCClient::recvSysOptions>},
        {"addPeer", &IPCClient::announce<&IPCClient::recvAddPeer>},
        {"chat", &IPCClient::handleChat},
        {"version", &IPCClient::announce<&IPCClient::recvVersion>},
        {"setMetering", &IPCClient::announce<&IPCClient::recvSetMetering>},
        {"powerInfo", &IPCClient::announce<&IPCClient::recvPowerInfo>},
        {"loadSettings", &IPCClient::announce<&IPCClient::recvSettings>},
        {"codeUpdateStatus", &IPCClient::handleCodeUpdateStatus},
        {"directoryServer", &IPCClient::announce<&IPCClient::recvDirectoryServer>},
        {"sipProxy", &IPCClient::announce<&IPCClient::recvDirectoryServer>},
        {"statusTunnel", &IPCClient::forward<&IPCClient::recvTunnelStatus>},
        {"pwd", &IPCClient::handlePasswordStatus},
    };

    for (const char* pattern : kSubscriptions)
        subscribe_unso(pattern, 0);

    setState(IPC_DISCONNECTED);
}

IPCClient::~IPCClient()
{
    // Detach while this object is still whole: the IPC thread may be about to call into it.
    if (IPCManager* owner = manager())
        owner->remove_client(endpoint_name());
}

QMutex* IPCClient::mutex() const
{
    return m_manager.mutex();
}

const Message* IPCClient::getResponse(const std::string& name) const
{
    const auto entry = cache.find(name);
    return entry == cache.end() ? nullptr : &entry->second;
}

bool IPCClient::copyResponse(const std::string& name, Message& copy) const
{
    QMutexLocker lock(mutex());
    const Message* cached = getResponse(name);
    if (!cached)
        return false;
    copy = *cached;
    return true;
}

bool IPCClient::sendRequest(Message& msg)
{
    QMutexLocker lock(mutex());
    msg.params().set_string("seq", answerName(msg.name));
    // A remote screen must not drive the unit's own meters.
    if (msg.name == "setMetering" && qEnvironmentVariableIsSet("REMOTE_UI"))
        return true;
    transmit(msg);
    return true;
}

bool IPCClient::sendRaw(const Message& msg)
{
    QMutexLocker lock(mutex());
    transmit(msg);
    return true;
}

void IPCClient::setRequestTap(RequestTap tap)
{
    QMutexLocker lock(mutex());
    m_requestTap = std::move(tap);
}

void IPCClient::transmit(const Message& msg)
{
    if (m_requestTap)
        m_requestTap(msg);
    send_command(msg);
}

void IPCClient::requestSettings()
{
    sendNamedRequest("loadSettings");
}

void IPCClient::requestNetworkList(unsigned int depth)
{
    sendLogged(rawDescribeRequest("netmgr.devices", "networkList", depth));
}

void IPCClient::requestProfileList()
{
    sendNamedRequest("getProfileList");
}

void IPCClient::requestCodecList()
{
    sendNamedRequest("getCodecList");
}

void IPCClient::requestDirectoryServer()
{
    sendNamedRequest("getDirectoryServer");
}

void IPCClient::requestPeerList()
{
    sendNamedRequest("getPeerList");
}

void IPCClient::requestSysOptions()
{
    sendNamedRequest("getSysOptions");
}

void IPCClient::requestPowerInfo()
{
    sendNamedRequest("getPowerInfo");
}

void IPCClient::requestChannelInfo()
{
    sendNamedRequest("getChannelList");
    sendNamedRequest("getChannelOpts");
}

void IPCClient::requestTunnelStatus()
{
    Message msg("cfgGetStatus");
    msg.params().set_string("path", "netmgr.tunnel");
    msg.params().set_string("seq", "statusTunnel");
    sendLogged(msg);
}

void IPCClient::requestVersion()
{
    sendNamedRequest("getVersion");
}

void IPCClient::requestPasswordStatus()
{
    sendRaw(describeRequest("netmgr.remote.password", "pwd"));
}

void IPCClient::requestNetworkDevice(const std::string& dev, unsigned int depth)
{
    sendLogged(rawDescribeRequest("netmgr.devices." + dev, "networkDevice", depth));
}

void IPCClient::requestNetworkPath(const std::string& path, unsigned int depth)
{
    sendLogged(rawDescribeRequest(path, "networkDeviceLocation", depth));
}

void IPCClient::requestNetworkDeviceLocation(const std::string& dev, const std::string& loc)
{
    requestNetworkPath("netmgr.devices." + dev + "." + loc, 0);
}

void IPCClient::requestConfigSetting(const std::string& path)
{
    sendLogged(describeRequest(path, "configSetting"));
}

void IPCClient::requestBraidSettings()
{
    sendLogged(describeRequest("netmgr.tunnel", "braidSettings"));
}

void IPCClient::connection_changed()
{
    IPCEndpointClient::connection_changed();
    // Coming up changes nothing yet: the state moves on at logged_in().
    if (!is_connected())
        setState(IPC_DISCONNECTED);
}

void IPCClient::logged_in()
{
    IPCEndpointClient::logged_in();
    setState(IPC_LOGGED_IN);

    requestSettings();
    requestNetworkList(2);
    requestProfileList();
    requestCodecList();
    requestDirectoryServer();
    requestPeerList();
    requestSysOptions();
    requestPowerInfo();
    requestChannelInfo();
    requestTunnelStatus();
    requestVersion();
    // Last, so that IPC_READY is announced only after every earlier answer is on its way.
    requestPasswordStatus();
}

std::string IPCClient::get_password()
{
    return password;
}

void IPCClient::process_response(const Message& msg)
{
    storeAndHandle(msg.params().get_string("seq", ""), msg);
}

void IPCClient::process_unso_id(const std::string& id, const Message& msg)
{
    if (id == "unso") {
        if (storeAndHandle(msg.name, msg))
            g_log.log(LOG_DEBUG, "dispatched unso name=%s", msg.name.c_str());
        else
            g_log.log(LOG_WARNING, "no handler for unso name=%s", msg.name.c_str());
    } else if (startsWith(id, "peer_stats")) {
        cache["peerStats"] = msg;
        emit recvPeerStats();
    } else if (startsWith(id, "channel_stats")) {
        cache["channelStats"] = msg;
        emit recvChannelStats();
    } else if (startsWith(id, "tun_conns")) {
        cache["tunConns"] = msg;
        emit unsoTunConns(msg);
    } else if (startsWith(id, "tun_stats")) {
        cache["tunStats"] = msg;
        emit unsoTunStats(msg);
    } else if (id == "cfgStatus:netmgr.devices") {
        emit unsoNetmgrOverallStatus(toQString(id), msg);
    } else if (startsWith(id, "cfgStatus:netmgr.devices.")) {
        emit unsoNetmgrStatus(toQString(id), msg);
    } else if (startsWith(id, "cfgData:netmgr.devices")) {
        emit unsoNetmgrData(toQString(id), msg);
    } else if (id == "cfgStatus:netmgr.tunnel") {
        emit unsoTunnelStatus(toQString(id), msg);
    } else if (startsWith(id, "wifi:")) {
        emit unsoNetmgrWifi(toQString(id), msg);
    } else {
        g_log.log(LOG_DEBUG, "unknown unso received, id=%s", id.c_str());
        msg._dump(LOG_DEBUG, 0, 0);
    }
}

void IPCClient::handleCodeUpdateStatus(const Message& msg)
{
    const bool updating = msg.params().get_bool("updating", false);
    setState(updating ? IPC_UPDATING : IPC_READY);
    emit recvCodeUpdateStatus(toQString(msg.params().get_string("text", "")));
}

void IPCClient::handlePasswordStatus(const Message& msg)
{
    if (const Message* option = msg.find_child("option"))
        def_pwd = option->params().get_bool("defaulted", false);
    setState(IPC_READY);
}

void IPCClient::handleChat(const Message& msg)
{
    emit recvChat();
    emit recvChatRecord(msg);
}

bool IPCClient::storeAndHandle(const std::string& name, const Message& msg)
{
    const auto handler = handlers.find(name);
    if (handler == handlers.end()) {
        storeUnhandled(name, msg);
        return false;
    }
    cache[name] = msg;
    (this->*handler->second)(msg);
    return true;
}

// A backend that sends ever new names must not grow the cache without end.
void IPCClient::storeUnhandled(const std::string& name, const Message& msg)
{
    const auto cached = cache.find(name);
    if (cached != cache.end()) {
        cached->second = msg;
        return;
    }
    if (m_unhandledNames >= kMaxUnhandledNames) {
        g_log.log(LOG_ERROR, "IPC client: %zu names without a handler cached, dropped \"%.64s\"",
                  m_unhandledNames, name.c_str());
        return;
    }
    ++m_unhandledNames;
    cache.emplace(name, msg);
}

void IPCClient::sendNamedRequest(const std::string& name)
{
    Message msg(name);
    sendRequest(msg);
}

void IPCClient::sendLogged(const Message& msg)
{
    sendRaw(msg);
    msg._dump(LOG_DEBUG, 0, 0);
}

void IPCClient::setState(IPC_STATE s)
{
    if (s == state)
        return;
    state = s;
    emit changedState(s, def_pwd);
}
