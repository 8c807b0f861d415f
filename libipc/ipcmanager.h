#ifndef LIBIPC_IPCMANAGER_H
#define LIBIPC_IPCMANAGER_H

#include "ipcmutex.h"
#include "socketaddr.h"

#include <chrono>
#include <functional>
#include <map>
#include <memory>
#include <string>

class IPCEndpointClient;
class IPCEndpointServer;
class IPCSocket;

// Owns the sockets and timers of all endpoints of a process and runs them in event_loop().
//
// The loop waits in poll() without the lock and holds get_mutex() while it reads, decodes,
// calls endpoint virtuals, timer callbacks and fd watchers. Other threads hold get_mutex()
// while they call send_command, push_unso and the like; those only queue bytes and wake the
// loop.
//
// For tests, the environment variable LIBIPC_LOCAL_ADDR replaces every local ("/...")
// address this library connects to or listens on.
class IPCManager {
public:
    IPCManager();
    IPCManager(const IPCManager&) = delete;
    IPCManager& operator=(const IPCManager&) = delete;

    // A socket has input or room for output; the default reads, decodes and dispatches.
    virtual void active_socket(IPCSocket& socket);
    virtual ~IPCManager();
    // Called once per loop iteration.
    virtual void user_loop() {}
    // Asked by connect_client / listen_server for a name nobody registered; null refuses.
    virtual IPCEndpointClient* create_client_endpoint(const std::string&) { return nullptr; }
    virtual IPCEndpointServer* create_server_endpoint(const std::string&) { return nullptr; }
    virtual void client_destroyed(const std::string&) {}
    virtual IPCMutex* get_mutex() { return &m_defaultMutex; }
    virtual IPCMutex* get_deferred_mutex() const { return nullptr; }
    // Called about once a second from the loop, before the endpoints' timer_service().
    virtual void timer() {}

    // The manager does not own registered endpoints.
    bool add_client(const std::string& name, IPCEndpointClient* client);
    void remove_client(const std::string& name);
    // Starts connecting and keeps retrying while down. `encoding` is "compact" or "xmls",
    // `transport` must be "stream". The int and the last string are reserved (pass 0 and "").
    bool connect_client(const std::string& encoding, const std::string& transport, const SocketAddr& addr,
                        const std::string& name, int reserved, const std::string& options);

    bool add_server(const std::string& name, IPCEndpointServer* server);
    // Binds and listens; false (logged) when the address cannot be bound.
    bool listen_server(const std::string& encoding, const std::string& transport, const SocketAddr& addr,
                       const std::string& name);

    // Runs until stop(); call it without holding the lock. Any thread may call stop(); a stop()
    // that comes first ends the next event_loop() at once. The loop must have returned before
    // the manager is destroyed.
    void event_loop();
    void stop();
    // Wakes a waiting loop so it picks up queued output; send paths call it themselves. From
    // the loop's own thread it does nothing: the loop looks again before it waits.
    void wake();

    // One-shot timer run on the loop thread with the lock held. Returns an id for cancel().
    unsigned int schedule(std::chrono::milliseconds delay, std::function<void()> callback);
    void cancel(unsigned int timerId);
    // Calls `onReadable` on the loop thread, lock held, whenever `fd` is readable or hung up.
    void watch_fd(int fd, std::function<void()> onReadable);
    void unwatch_fd(int fd);

private:
    class Impl;
    friend class IPCEndpointServer;
    friend class IPCClientLink;
    friend class IPCServerLink;

    // Takes ownership; the socket lives until it has closed and told its owner.
    IPCSocket& add_socket(std::unique_ptr<IPCSocket> socket);
    // Closes at once without telling the owner, which is going away.
    void discard_socket(IPCSocket& socket);
    void forget_server(IPCEndpointServer* server);
    void close_pending_sockets();
    void run_due_timers();
    void run_tick();

    std::unique_ptr<Impl> m_impl;
    IPCMutex m_defaultMutex;
};

#endif
