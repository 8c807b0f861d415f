#include "hostlookup.h"

#include <sys/eventfd.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <cstring>
#include <mutex>
#include <thread>

namespace ipc {
namespace net {

// Owned jointly by the lookup and its thread, so either may go first.
struct HostLookup::Shared {
    Shared() : doneFd(eventfd(0, EFD_NONBLOCK | EFD_CLOEXEC)), addresses(nullptr, &freeaddrinfo) {}
    ~Shared() { close(doneFd); }

    const int doneFd;
    std::mutex mutex;
    AddrInfoList addresses;
    std::string error;
};

HostLookup::HostLookup(const SocketAddr& addr)
    : m_shared(std::make_shared<Shared>())
{
    if (m_shared->doneFd == -1) {
        m_shared->error = std::string("eventfd: ") + std::strerror(errno);
        return;
    }
    std::thread([shared = m_shared, host = addr.host(), port = std::to_string(addr.effective_port())] {
        addrinfo hints{};
        hints.ai_family = AF_UNSPEC;
        hints.ai_socktype = SOCK_STREAM;
        addrinfo* list = nullptr;
        const int rc = getaddrinfo(host.c_str(), port.c_str(), &hints, &list);
        {
            std::lock_guard<std::mutex> lock(shared->mutex);
            if (rc == 0)
                shared->addresses.reset(list);
            else
                shared->error = "cannot resolve " + host + ": " + gai_strerror(rc);
        }
        const std::uint64_t one = 1;
        const ssize_t written = write(shared->doneFd, &one, sizeof one);
        static_cast<void>(written);
    }).detach();
}

HostLookup::~HostLookup() = default;

int HostLookup::fd() const
{
    return m_shared->doneFd;
}

AddrInfoList HostLookup::take_result(std::string& error)
{
    std::lock_guard<std::mutex> lock(m_shared->mutex);
    error = m_shared->error;
    return std::move(m_shared->addresses);
}

} // namespace net
} // namespace ipc
