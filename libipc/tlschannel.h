#ifndef LIBIPC_TLSCHANNEL_H
#define LIBIPC_TLSCHANNEL_H

#include <cstddef>
#include <memory>
#include <string>

typedef struct ssl_st SSL;
typedef struct ssl_ctx_st SSL_CTX;

// TLS 1.3 for the TCP transport, on OpenSSL, over a non-blocking socket driven by the
// manager's poll loop. The unit proves its identity with a self-signed certificate that the
// client pins; there is no certificate authority.
namespace ipc {
namespace tls {

using Context = std::shared_ptr<SSL_CTX>;

// The client side: TLS 1.3 only; the peer's certificate is checked against a pin afterwards.
Context client_context(std::string& error);
// The unit's side, with its key and self-signed certificate in `directory`: made there on
// first use (the key readable by its owner only) and kept. `fingerprint` receives the
// certificate's fingerprint. Null with `error` when the files cannot be read or made.
Context server_context(const std::string& directory, std::string& fingerprint, std::string& error);

// Fingerprints are the SHA-256 of the certificate (DER) in lower-case hex. Accepts upper case
// and ':' separators; empty when `text` is not 32 bytes of hex.
std::string normalise_fingerprint(const std::string& text);

// One TLS session over a connected socket.
class Channel {
public:
    enum class Status { Done, WantRead, WantWrite, Closed, Failed };

    // Null with `error` when OpenSSL cannot make the session.
    static std::unique_ptr<Channel> create(const Context& context, int fd, bool server, std::string& error);
    Channel(const Channel&) = delete;
    Channel& operator=(const Channel&) = delete;
    ~Channel();

    Status handshake();
    Status read(char* buffer, std::size_t size, std::size_t& got);
    Status write(const char* data, std::size_t size, std::size_t& written);
    // The last call could go on only once the socket is writable.
    bool wants_write() const { return m_wantWrite; }
    // Decrypted input waiting inside the session, which poll() cannot see.
    bool has_buffered_input() const;
    // Why the last call failed.
    const std::string& error() const { return m_error; }

    // Once the handshake is done: the peer certificate's fingerprint (empty when none).
    std::string peer_fingerprint() const;
    // Once the handshake is done: keying material exported from this session, the same on
    // both ends and different for every session, so a login bound to it cannot be relayed.
    std::string channel_binding() const;

private:
    explicit Channel(SSL* ssl) : m_ssl(ssl) {}
    Status result(int rc, const char* what);

    SSL* m_ssl;
    bool m_wantWrite = false;
    std::string m_error;
};

} // namespace tls
} // namespace ipc

#endif
