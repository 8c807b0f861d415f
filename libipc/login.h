#ifndef LIBIPC_LOGIN_H
#define LIBIPC_LOGIN_H

#include <cstddef>
#include <string>

// The login exchange: the server sends a fresh random nonce, the client answers with an
// HMAC-SHA256 keyed by the password over the nonce bytes and the channel binding (keying
// material of the TLS session; empty on a local socket), so the password never crosses the link
// and a login relayed into another session does not verify. The unit's answer carries the same
// MAC made for the unit's role, so the client knows the unit holds the password too. Nonces and
// MACs travel as lower-case hex.
namespace ipc {
namespace login {

constexpr std::size_t kNonceBytes = 32;

enum class Role { Client, Unit };

std::string make_nonce();
// False when `nonceHex` is not the hex of exactly kNonceBytes bytes.
bool compute_mac(Role role, const std::string& nonceHex, const std::string& binding, const std::string& password,
                 std::string& macHex);
// Constant-time comparison against the MAC the password gives.
bool verify_mac(Role role, const std::string& nonceHex, const std::string& binding, const std::string& password,
                const std::string& macHex);

} // namespace login
} // namespace ipc

#endif
