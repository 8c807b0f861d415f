#ifndef IPCCLIENT_H
#define IPCCLIENT_H

#include "ipcendpoint.h"
#include "message.h"

#include <QMetaType>
#include <QObject>
#include <QString>

#include <functional>
#include <map>
#include <string>

class IPCManagerQt;
class QMutex;

// The one client of the backend that the whole user interface shares: login, link state,
// requests, the answer cache and the dispatch of notifications.
//
// The library calls every override on the IPC thread with the manager's lock held, so the
// handlers write the cache and the state without locking and their signals reach GUI receivers
// queued. GUI code holds mutex() while it reads getResponse() and copies what it keeps.
class IPCClient : public QObject, public IPCEndpointClient {
    Q_OBJECT
    Q_DISABLE_COPY(IPCClient)

public:
    // A fixed underlying type lets the state hold -1 before the first setState().
    enum IPC_STATE : int {
        IPC_DISCONNECTED = 0,
        IPC_LOGGED_IN = 1,
        IPC_READY = 2,
        IPC_UPDATING = 3,
    };
    Q_ENUM(IPC_STATE)

    explicit IPCClient(IPCManagerQt& manager);
    ~IPCClient() override;

    QMutex* mutex() const;
    // Null until the first message of that name; valid while mutex() is held.
    const Message* getResponse(const std::string& name) const;
    // Copies the cached message of that name under the lock; false when none has arrived yet.
    // For readers that keep the whole message, so nothing points into the cache afterwards.
    bool copyResponse(const std::string& name, Message& copy) const;
    // Stamps the answer name into "seq" (overwriting the caller's) and sends.
    bool sendRequest(Message& msg);
    // Sends as built; the caller chose "seq".
    bool sendRaw(const Message& msg);
    // Sees every request that actually leaves, as sent, with the lock held; for tests and tools.
    using RequestTap = std::function<void(const Message&)>;
    void setRequestTap(RequestTap tap);

    void requestSettings();
    void requestNetworkList(unsigned int depth);
    void requestProfileList();
    void requestCodecList();
    void requestDirectoryServer();
    void requestPeerList();
    void requestSysOptions();
    void requestPowerInfo();
    void requestChannelInfo();
    void requestTunnelStatus();
    void requestVersion();
    void requestPasswordStatus();
    void requestNetworkDevice(const std::string& dev, unsigned int depth);
    void requestNetworkPath(const std::string& path, unsigned int depth);
    void requestNetworkDeviceLocation(const std::string& dev, const std::string& loc);
    void requestConfigSetting(const std::string& path);
    void requestBraidSettings();

    void connection_changed() override;
    void logged_in() override;
    std::string get_password() override;
    void process_response(const Message& msg) override;
    void process_unso_id(const std::string& id, const Message& msg) override;

signals:
    void recvDirectoryServer();
    void recvPeerList();
    void recvChannelStats();
    void recvPeerStats();
    void recvProfileList();
    void recvAddProfile();
    void recvCodecList();
    void recvCurrentEncoder();
    void recvSysOptions();
    void recvAddPeer();
    void recvChat();
    void recvPowerInfo();
    void recvSettings();
    void recvChannelOpts();
    void recvChannelList();
    void recvVersion();
    void recvSetMetering();
    void recvCodeUpdateStatus(QString status);
    void changedState(IPCClient::IPC_STATE state, bool def_pwd);
    void recvNetworkList(Message msg);
    void recvNetworkDevice(Message msg);
    void recvNetworkDeviceLocation(Message msg);
    void recvConfigSetting(Message msg);
    void recvBraidSettings(Message msg);
    void recvSaveOption(Message msg);
    void recvTunnelStatus(Message msg);
    void unsoNetmgrData(QString id, Message msg);
    void unsoNetmgrStatus(QString id, Message msg);
    void unsoNetmgrOverallStatus(QString id, Message msg);
    void unsoNetmgrWifi(QString id, Message msg);
    void unsoTunnelStatus(QString id, Message msg);
    void unsoTunConns(Message msg);
    void unsoTunStats(Message msg);
    // Each relayed chat record, beside recvChat(): records may come faster than the cache is read.
    void recvChatRecord(Message msg);

private:
    using Handler = void (IPCClient::*)(const Message&);

    // Handlers for answers whose receivers re-read the cache, and for those that carry a copy.
    template <void (IPCClient::*Signal)()>
    void announce(const Message& msg);
    template <void (IPCClient::*Signal)(Message)>
    void forward(const Message& msg);
    void handleCodeUpdateStatus(const Message& msg);
    void handlePasswordStatus(const Message& msg);
    void handleChat(const Message& msg);

    // Caches msg under name and runs its handler; false when name has none.
    bool storeAndHandle(const std::string& name, const Message& msg);
    // Caches an answer without a handler while fewer than a bounded number of such names are held.
    void storeUnhandled(const std::string& name, const Message& msg);
    void sendNamedRequest(const std::string& name);
    // The one way out for every request: the tap, then the library.
    void transmit(const Message& msg);
    // sendRaw, then the whole request to the debug log.
    void sendLogged(const Message& msg);
    void setState(IPC_STATE s);

    IPC_STATE state = static_cast<IPC_STATE>(-1);
    std::string password;
    std::map<std::string, Handler> handlers;
    std::map<std::string, Message> cache;
    std::size_t m_unhandledNames = 0;
    bool def_pwd = false;
    IPCManagerQt& m_manager;
    RequestTap m_requestTap;
};

Q_DECLARE_METATYPE(Message)

#endif
