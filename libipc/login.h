#ifndef LIBIPC_LOGIN_H
#define LIBIPC_LOGIN_H

#include <cstddef>
#include <string>

// The login exchange: the server sends a fresh random nonce, the client answers with an
// HMAC-SHA256 of the nonce bytes keyed by the password, so the password never crosses the link.
// Nonces and MACs travel as lower-case hex.
namespace ipc {
namespace login {

constexpr std::size_t kNonceBytes = 32;

std::string make_nonce();
// False when `nonceHex` is not the hex of exactly kNonceBytes bytes.
bool compute_mac(const std::string& nonceHex, const std::string& password, std::string& macHex);
// Constant-time comparison against the MAC the password gives.
bool verify_mac(const std::string& nonceHex, const std::string& password, const std::string& macHex);

} // namespace login
} // namespace ipc

#endif
