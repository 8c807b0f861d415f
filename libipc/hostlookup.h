#ifndef LIBIPC_HOSTLOOKUP_H
#define LIBIPC_HOSTLOOKUP_H

#include "netutil.h"

#include <memory>
#include <string>

namespace ipc {
namespace net {

// Looks a TCP host up on a thread of its own. getaddrinfo() blocks for as long as the name
// server takes and cannot be interrupted, so it must never run on the loop thread, which holds
// the lock the user interface needs.
class HostLookup {
public:
    explicit HostLookup(const SocketAddr& addr);
    HostLookup(const HostLookup&) = delete;
    HostLookup& operator=(const HostLookup&) = delete;
    // A lookup still running finishes on its own; its answer is dropped.
    ~HostLookup();

    // Becomes readable once the answer is in.
    int fd() const;
    // The addresses, or an empty list with `error`; call once fd() is readable.
    AddrInfoList take_result(std::string& error);

private:
    struct Shared;
    std::shared_ptr<Shared> m_shared;
};

} // namespace net
} // namespace ipc

#endif
