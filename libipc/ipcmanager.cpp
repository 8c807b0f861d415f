#include "ipcmanager.h"

#include "codec.h"
#include "ipcclientlink.h"
#include "ipcendpoint.h"
#include "ipcserverlink.h"
#include "ipcsocket.h"
#include "logger.h"

#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstdint>
#include <cstring>
#include <thread>
#include <utility>
#include <vector>

namespace {

using Clock = std::chrono::steady_clock;
constexpr std::chrono::seconds kTickInterval(1);

} // namespace

class IPCManager::Impl {
public:
    struct Timer {
        Clock::time_point due;
        std::function<void()> callback;
    };
    // The serial tells a watch apart from a later one on a reused descriptor.
    struct Watch {
        unsigned int serial;
        std::function<void()> onReadable;
    };

    int wakeFd = -1;
    std::atomic<bool> stopRequested{false};
    // The thread inside event_loop(), which needs no wake-up: it polls again before it waits.
    std::atomic<std::thread::id> loopThread;
    std::map<std::string, IPCEndpointClient*> clients;
    std::map<std::string, IPCEndpointServer*> servers;
    std::map<unsigned int, std::unique_ptr<IPCSocket>> sockets;
    unsigned int lastSocketId = 0;
    std::map<unsigned int, Timer> timers;
    unsigned int lastTimerId = 0;
    std::map<int, Watch> watches;
    unsigned int lastWatchSerial = 0;
    Clock::time_point nextTick;

    int poll_timeout() const
    {
        Clock::time_point next = nextTick;
        for (const auto& entry : timers)
            next = std::min(next, entry.second.due);
        const auto wait = std::chrono::ceil<std::chrono::milliseconds>(next - Clock::now());
        return static_cast<int>(std::max<std::chrono::milliseconds::rep>(wait.count(), 0));
    }
};

IPCManager::IPCManager()
    : m_impl(std::make_unique<Impl>())
{
    m_impl->wakeFd = eventfd(0, EFD_NONBLOCK | EFD_CLOEXEC);
    if (m_impl->wakeFd < 0)
        g_log.log(LOG_CRITICAL, "IPC manager: eventfd: %s", std::strerror(errno));
}

IPCManager::~IPCManager()
{
    for (const auto& entry : m_impl->clients) {
        IPCEndpointClient* client = entry.second;
        client->m_link.reset();
        client->m_manager = nullptr;
        client->m_connected = false;
        client->m_loggedIn = false;
    }
    for (const auto& entry : m_impl->servers) {
        entry.second->m_link.reset();
        entry.second->m_manager = nullptr;
    }
    if (m_impl->wakeFd >= 0)
        close(m_impl->wakeFd);
}

void IPCManager::active_socket(IPCSocket& socket)
{
    socket.service();
}

bool IPCManager::add_client(const std::string& name, IPCEndpointClient* client)
{
    IPCLockGuard lock(get_mutex());
    if (!client || client->m_manager || m_impl->clients.count(name)) {
        g_log.log(LOG_ERROR, "IPC manager: cannot register client %s", name.c_str());
        return false;
    }
    m_impl->clients[name] = client;
    client->m_name = name;
    client->m_manager = this;
    return true;
}

void IPCManager::remove_client(const std::string& name)
{
    IPCLockGuard lock(get_mutex());
    const auto it = m_impl->clients.find(name);
    if (it == m_impl->clients.end())
        return;
    IPCEndpointClient* client = it->second;
    m_impl->clients.erase(it);
    client->m_link.reset();
    client->m_manager = nullptr;
    client->m_connected = false;
    client->m_loggedIn = false;
}

bool IPCManager::connect_client(const std::string& encoding, const std::string& transport, const SocketAddr& addr,
                                const std::string& name, int /*reserved*/, const std::string& /*options*/)
{
    IPCLockGuard lock(get_mutex());
    ipc::Encoding parsedEncoding;
    if (!ipc::parse_encoding(encoding, parsedEncoding) || transport != "stream") {
        g_log.log(LOG_ERROR, "IPC client %s: unsupported encoding %s or transport %s", name.c_str(),
                  encoding.c_str(), transport.c_str());
        return false;
    }
    const auto it = m_impl->clients.find(name);
    IPCEndpointClient* client = it != m_impl->clients.end() ? it->second : create_client_endpoint(name);
    if (!client || (client->m_manager != this && !add_client(name, client))) {
        g_log.log(LOG_ERROR, "IPC client %s: no such client", name.c_str());
        return false;
    }
    if (client->m_link) {
        g_log.log(LOG_ERROR, "IPC client %s: already connecting", name.c_str());
        return false;
    }
    client->m_link = std::make_unique<IPCClientLink>(*client, *this, parsedEncoding, addr);
    client->m_link->start();
    return true;
}

bool IPCManager::add_server(const std::string& name, IPCEndpointServer* server)
{
    IPCLockGuard lock(get_mutex());
    if (!server || server->m_manager || m_impl->servers.count(name)) {
        g_log.log(LOG_ERROR, "IPC manager: cannot register server %s", name.c_str());
        return false;
    }
    m_impl->servers[name] = server;
    server->m_name = name;
    server->m_manager = this;
    server->m_link = std::make_unique<IPCServerLink>(*server, *this);
    return true;
}

bool IPCManager::listen_server(const std::string& encoding, const std::string& transport, const SocketAddr& addr,
                               const std::string& name)
{
    IPCLockGuard lock(get_mutex());
    ipc::Encoding parsedEncoding;
    if (!ipc::parse_encoding(encoding, parsedEncoding) || transport != "stream") {
        g_log.log(LOG_ERROR, "IPC server %s: unsupported encoding %s or transport %s", name.c_str(),
                  encoding.c_str(), transport.c_str());
        return false;
    }
    const auto it = m_impl->servers.find(name);
    IPCEndpointServer* server = it != m_impl->servers.end() ? it->second : create_server_endpoint(name);
    if (!server || (server->m_manager != this && !add_server(name, server))) {
        g_log.log(LOG_ERROR, "IPC server %s: no such server", name.c_str());
        return false;
    }
    return server->m_link->listen(parsedEncoding, addr);
}

void IPCManager::event_loop()
{
    IPCMutex* mutex = get_mutex();
    IPCLockGuard lock(mutex);
    Impl& d = *m_impl;
    d.loopThread.store(std::this_thread::get_id());
    d.nextTick = Clock::now() + kTickInterval;
    std::vector<pollfd> fds;
    std::vector<unsigned int> socketIds;
    std::vector<std::pair<int, unsigned int>> watchKeys;
    while (!d.stopRequested.load()) {
        close_pending_sockets();

        fds.assign(1, pollfd{d.wakeFd, POLLIN, 0});
        socketIds.clear();
        for (const auto& entry : d.sockets) {
            if (const short events = entry.second->wanted_events()) {
                fds.push_back(pollfd{entry.second->fd(), events, 0});
                socketIds.push_back(entry.first);
            }
        }
        watchKeys.clear();
        for (const auto& entry : d.watches) {
            fds.push_back(pollfd{entry.first, POLLIN, 0});
            watchKeys.emplace_back(entry.first, entry.second.serial);
        }
        const int timeout = d.poll_timeout();

        // Other threads take the lock to send while the loop waits.
        if (mutex)
            mutex->unlock();
        const int ready = poll(fds.data(), fds.size(), timeout);
        const int pollError = errno;
        if (mutex)
            mutex->lock();

        if (ready < 0 && pollError != EINTR)
            g_log.log(LOG_ERROR, "IPC manager: poll: %s", std::strerror(pollError));
        if (ready > 0) {
            if (fds[0].revents) {
                std::uint64_t count = 0;
                const ssize_t drained = read(d.wakeFd, &count, sizeof count);
                static_cast<void>(drained);
            }
            for (std::size_t i = 0; i < socketIds.size(); ++i) {
                const pollfd& entry = fds[1 + i];
                const auto it = d.sockets.find(socketIds[i]);
                if (entry.revents && it != d.sockets.end() && !it->second->is_closed()) {
                    it->second->set_ready_events(entry.revents);
                    active_socket(*it->second);
                }
            }
            close_pending_sockets();
            for (std::size_t i = 0; i < watchKeys.size(); ++i) {
                const pollfd& entry = fds[1 + socketIds.size() + i];
                const auto it = d.watches.find(watchKeys[i].first);
                if (!entry.revents || it == d.watches.end() || it->second.serial != watchKeys[i].second)
                    continue;
                if (entry.revents & POLLNVAL) {
                    g_log.log(LOG_ERROR, "IPC manager: watched descriptor %d was closed", entry.fd);
                    d.watches.erase(it);
                    continue;
                }
                // A copy: the callback may unwatch itself.
                const std::function<void()> onReadable = it->second.onReadable;
                onReadable();
            }
        }
        run_due_timers();
        run_tick();
        user_loop();
    }
    d.stopRequested.store(false);
    d.loopThread.store(std::thread::id());
}

void IPCManager::stop()
{
    m_impl->stopRequested.store(true);
    wake();
}

void IPCManager::wake()
{
    if (m_impl->loopThread.load() == std::this_thread::get_id())
        return;
    const std::uint64_t one = 1;
    const ssize_t written = write(m_impl->wakeFd, &one, sizeof one);
    static_cast<void>(written);
}

unsigned int IPCManager::schedule(std::chrono::milliseconds delay, std::function<void()> callback)
{
    IPCLockGuard lock(get_mutex());
    unsigned int id = ++m_impl->lastTimerId;
    if (id == 0)
        id = ++m_impl->lastTimerId;
    m_impl->timers[id] = Impl::Timer{Clock::now() + delay, std::move(callback)};
    wake();
    return id;
}

void IPCManager::cancel(unsigned int timerId)
{
    IPCLockGuard lock(get_mutex());
    m_impl->timers.erase(timerId);
}

void IPCManager::watch_fd(int fd, std::function<void()> onReadable)
{
    IPCLockGuard lock(get_mutex());
    m_impl->watches[fd] = Impl::Watch{++m_impl->lastWatchSerial, std::move(onReadable)};
    wake();
}

void IPCManager::unwatch_fd(int fd)
{
    IPCLockGuard lock(get_mutex());
    m_impl->watches.erase(fd);
}

IPCSocket& IPCManager::add_socket(std::unique_ptr<IPCSocket> socket)
{
    IPCSocket& added = *socket;
    added.m_id = ++m_impl->lastSocketId;
    // Always on the loop thread, which polls it on its next turn.
    m_impl->sockets[added.m_id] = std::move(socket);
    return added;
}

void IPCManager::discard_socket(IPCSocket& socket)
{
    // Deleted by the loop, in case the socket is being serviced right now.
    socket.detach();
}

void IPCManager::forget_server(IPCEndpointServer* server)
{
    for (auto it = m_impl->servers.begin(); it != m_impl->servers.end(); ++it) {
        if (it->second == server) {
            m_impl->servers.erase(it);
            break;
        }
    }
    server->m_link.reset();
    server->m_manager = nullptr;
}

void IPCManager::close_pending_sockets()
{
    std::vector<unsigned int> ids;
    for (const auto& entry : m_impl->sockets) {
        if (entry.second->close_pending() || entry.second->is_closed())
            ids.push_back(entry.first);
    }
    for (const unsigned int id : ids) {
        const auto it = m_impl->sockets.find(id);
        if (it == m_impl->sockets.end())
            continue;
        const std::unique_ptr<IPCSocket> socket = std::move(it->second);
        m_impl->sockets.erase(it);
        socket->finish_close();
    }
}

void IPCManager::run_due_timers()
{
    const Clock::time_point now = Clock::now();
    std::vector<std::pair<Clock::time_point, unsigned int>> due;
    for (const auto& entry : m_impl->timers) {
        if (entry.second.due <= now)
            due.emplace_back(entry.second.due, entry.first);
    }
    std::sort(due.begin(), due.end());
    for (const auto& entry : due) {
        const auto it = m_impl->timers.find(entry.second);
        if (it == m_impl->timers.end())
            continue;
        const std::function<void()> callback = std::move(it->second.callback);
        m_impl->timers.erase(it);
        callback();
    }
}

void IPCManager::run_tick()
{
    const Clock::time_point now = Clock::now();
    if (now < m_impl->nextTick)
        return;
    m_impl->nextTick = now + kTickInterval;
    timer();
    // Names, not pointers: a timer_service may remove endpoints.
    std::vector<std::string> clientNames;
    for (const auto& entry : m_impl->clients)
        clientNames.push_back(entry.first);
    std::vector<std::string> serverNames;
    for (const auto& entry : m_impl->servers)
        serverNames.push_back(entry.first);
    for (const std::string& name : clientNames) {
        const auto it = m_impl->clients.find(name);
        if (it != m_impl->clients.end())
            it->second->timer_service();
    }
    for (const std::string& name : serverNames) {
        const auto it = m_impl->servers.find(name);
        if (it != m_impl->servers.end())
            it->second->timer_service();
    }
}
