#ifndef LIBIPC_NETUTIL_H
#define LIBIPC_NETUTIL_H

#include "socketaddr.h"

#include <netdb.h>

#include <memory>
#include <string>

// Opening stream sockets for the transport: a "/..." address is a Unix socket in the abstract
// namespace, any other a TCP host. Every descriptor returned is non-blocking and close-on-exec.
namespace ipc {
namespace net {

// The address actually used: LIBIPC_LOCAL_ADDR, when set, replaces a local address.
SocketAddr effective_address(const SocketAddr& addr);

using AddrInfoList = std::unique_ptr<addrinfo, decltype(&freeaddrinfo)>;

// Connects to a local address, which completes or fails at once. -1 with `error` on failure.
int connect_local(const SocketAddr& addr, std::string& error);
// Starts connecting to the first of `addresses` (HostLookup's answer) that takes the attempt.
// On success `pending` tells whether the connection is still being made (wait for
// writability, then check connect_result). -1 with `error` on failure.
int connect_tcp(const addrinfo* addresses, bool& pending, std::string& error);
// Empty when the pending connect of `fd` succeeded, else why it failed.
std::string connect_result(int fd);

// Binds (TCP with SO_REUSEADDR) and listens. -1 with `error` on failure.
int listen_stream(const SocketAddr& addr, std::string& error);
// One waiting connection, or -1 when there is none (or it failed, then `error` is set).
int accept_stream(int listenFd, std::string& peer, std::string& error);

} // namespace net
} // namespace ipc

#endif
