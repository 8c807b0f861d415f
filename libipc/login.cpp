#include "login.h"

#include <sodium.h>

#include <array>

namespace ipc {
namespace login {

namespace {

using Mac = std::array<unsigned char, crypto_auth_hmacsha256_BYTES>;

bool sodium_ready()
{
    static const bool ready = sodium_init() >= 0;
    return ready;
}

std::string to_hex(const unsigned char* data, std::size_t size)
{
    std::string hex(size * 2 + 1, '\0');
    sodium_bin2hex(&hex[0], hex.size(), data, size);
    hex.pop_back();
    return hex;
}

// Exactly `size` bytes or false.
bool from_hex(const std::string& hex, unsigned char* out, std::size_t size)
{
    std::size_t decoded = 0;
    const char* end = nullptr;
    return sodium_hex2bin(out, size, hex.data(), hex.size(), nullptr, &decoded, &end) == 0
        && decoded == size && end == hex.data() + hex.size();
}

// Marks the unit's MAC, so that the client's can never be sent back as the unit's.
const unsigned char kUnitRole[] = {'u', 'n', 'i', 't', ':'};

bool mac_of(Role role, const std::string& nonceHex, const std::string& binding, const std::string& password,
            Mac& mac)
{
    std::array<unsigned char, kNonceBytes> nonce;
    if (!sodium_ready() || !from_hex(nonceHex, nonce.data(), nonce.size()))
        return false;
    crypto_auth_hmacsha256_state state;
    crypto_auth_hmacsha256_init(&state, reinterpret_cast<const unsigned char*>(password.data()),
                                password.size());
    if (role == Role::Unit)
        crypto_auth_hmacsha256_update(&state, kUnitRole, sizeof kUnitRole);
    crypto_auth_hmacsha256_update(&state, nonce.data(), nonce.size());
    crypto_auth_hmacsha256_update(&state, reinterpret_cast<const unsigned char*>(binding.data()), binding.size());
    crypto_auth_hmacsha256_final(&state, mac.data());
    sodium_memzero(&state, sizeof state);
    return true;
}

} // namespace

std::string make_nonce()
{
    std::array<unsigned char, kNonceBytes> nonce;
    if (!sodium_ready())
        return std::string();
    randombytes_buf(nonce.data(), nonce.size());
    return to_hex(nonce.data(), nonce.size());
}

bool compute_mac(Role role, const std::string& nonceHex, const std::string& binding, const std::string& password,
                 std::string& macHex)
{
    Mac mac;
    if (!mac_of(role, nonceHex, binding, password, mac))
        return false;
    macHex = to_hex(mac.data(), mac.size());
    return true;
}

bool verify_mac(Role role, const std::string& nonceHex, const std::string& binding, const std::string& password,
                const std::string& macHex)
{
    Mac expected;
    Mac received;
    return mac_of(role, nonceHex, binding, password, expected) && from_hex(macHex, received.data(), received.size())
        && sodium_memcmp(expected.data(), received.data(), expected.size()) == 0;
}

} // namespace login
} // namespace ipc
