#include "tlschannel.h"

#include "knownunits.h"

#include <openssl/bn.h>
#include <openssl/err.h>
#include <openssl/evp.h>
#include <openssl/pem.h>
#include <openssl/rand.h>
#include <openssl/ssl.h>
#include <openssl/x509.h>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cctype>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <functional>

namespace ipc {
namespace tls {

namespace {

constexpr const char* kKeyFile = "unit.key";
constexpr const char* kCertificateFile = "unit.crt";
constexpr const char* kBindingLabel = "EXPORTER-orvane-login";
constexpr std::size_t kBindingBytes = 32;
constexpr long kCertificateDays = 20 * 365;

template <typename T, void (*Free)(T*)>
struct Deleter {
    void operator()(T* p) const { Free(p); }
};
using KeyPtr = std::unique_ptr<EVP_PKEY, Deleter<EVP_PKEY, EVP_PKEY_free>>;
using CertificatePtr = std::unique_ptr<X509, Deleter<X509, X509_free>>;
using BignumPtr = std::unique_ptr<BIGNUM, Deleter<BIGNUM, BN_free>>;

// The oldest queued OpenSSL error, as text; the queue is left empty.
std::string openssl_error(const char* what)
{
    const unsigned long code = ERR_get_error();
    ERR_clear_error();
    char text[256] = "unknown error";
    if (code)
        ERR_error_string_n(code, text, sizeof text);
    return std::string(what) + ": " + text;
}

std::string to_hex(const unsigned char* data, std::size_t size)
{
    static const char digits[] = "0123456789abcdef";
    std::string hex;
    hex.reserve(size * 2);
    for (std::size_t i = 0; i < size; ++i) {
        hex += digits[data[i] >> 4];
        hex += digits[data[i] & 0xf];
    }
    return hex;
}

std::string fingerprint_of(X509* certificate)
{
    unsigned char digest[EVP_MAX_MD_SIZE];
    unsigned int length = 0;
    if (!X509_digest(certificate, EVP_sha256(), digest, &length))
        return std::string();
    return to_hex(digest, length);
}

Context new_context(bool server, std::string& error)
{
    Context context(SSL_CTX_new(server ? TLS_server_method() : TLS_client_method()), SSL_CTX_free);
    if (!context) {
        error = openssl_error("SSL_CTX_new");
        return nullptr;
    }
    SSL_CTX* ctx = context.get();
    SSL_CTX_set_min_proto_version(ctx, TLS1_3_VERSION);
    SSL_CTX_set_max_proto_version(ctx, TLS1_3_VERSION);
    // The output queue may move between a partial write and its retry.
    SSL_CTX_set_mode(ctx, SSL_MODE_ENABLE_PARTIAL_WRITE | SSL_MODE_ACCEPT_MOVING_WRITE_BUFFER);
    // Frames carry their own length, so a cut stream shows as a cut frame.
    SSL_CTX_set_options(ctx, SSL_OP_IGNORE_UNEXPECTED_EOF);
    SSL_CTX_set_session_cache_mode(ctx, SSL_SESS_CACHE_OFF);
    if (server)
        SSL_CTX_set_num_tickets(ctx, 0);
    else
        SSL_CTX_set_verify(ctx, SSL_VERIFY_NONE, nullptr);
    return context;
}

// Written next to `path`, then renamed, so a crash never leaves half a file.
bool write_pem(const std::string& path, mode_t mode, const std::function<int(FILE*)>& write, std::string& error)
{
    const std::string temporary = path + ".new";
    const int fd = open(temporary.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, mode);
    FILE* file = fd >= 0 ? fdopen(fd, "w") : nullptr;
    if (!file) {
        error = "cannot write " + temporary + ": " + std::strerror(errno);
        if (fd >= 0)
            close(fd);
        return false;
    }
    const bool written = write(file) == 1;
    if (std::fclose(file) != 0 || !written || std::rename(temporary.c_str(), path.c_str()) != 0) {
        error = "cannot write " + path;
        unlink(temporary.c_str());
        return false;
    }
    return true;
}

bool make_identity(const std::string& keyPath, const std::string& certificatePath, std::string& error)
{
    KeyPtr key(EVP_EC_gen("P-256"));
    CertificatePtr certificate(X509_new());
    BignumPtr serial(BN_new());
    if (!key || !certificate || !serial || !BN_rand(serial.get(), 64, BN_RAND_TOP_ANY, BN_RAND_BOTTOM_ANY)) {
        error = openssl_error("key generation");
        return false;
    }
    X509* cert = certificate.get();
    X509_set_version(cert, 2);
    BN_to_ASN1_INTEGER(serial.get(), X509_get_serialNumber(cert));
    X509_gmtime_adj(X509_getm_notBefore(cert), -3600);
    X509_gmtime_adj(X509_getm_notAfter(cert), kCertificateDays * 24 * 3600);
    X509_set_pubkey(cert, key.get());
    X509_NAME* name = X509_get_subject_name(cert);
    X509_NAME_add_entry_by_txt(name, "CN", MBSTRING_ASC, reinterpret_cast<const unsigned char*>("orvane unit"), -1,
                               -1, 0);
    X509_set_issuer_name(cert, name);
    if (!X509_sign(cert, key.get(), EVP_sha256())) {
        error = openssl_error("certificate signing");
        return false;
    }
    return write_pem(keyPath, S_IRUSR | S_IWUSR,
                     [&key](FILE* file) {
                         return PEM_write_PrivateKey(file, key.get(), nullptr, nullptr, 0, nullptr, nullptr);
                     },
                     error)
        && write_pem(certificatePath, S_IRUSR | S_IWUSR | S_IRGRP | S_IROTH,
                     [cert](FILE* file) { return PEM_write_X509(file, cert); }, error);
}

template <typename T>
T* read_pem(const std::string& path, T* (*read)(FILE*, T**, pem_password_cb*, void*), std::string& error)
{
    FILE* file = std::fopen(path.c_str(), "re");
    if (!file) {
        error = "cannot read " + path + ": " + std::strerror(errno);
        return nullptr;
    }
    T* object = read(file, nullptr, nullptr, nullptr);
    std::fclose(file);
    if (!object)
        error = openssl_error(path.c_str());
    return object;
}

} // namespace

Context client_context(std::string& error)
{
    return new_context(false, error);
}

Context server_context(const std::string& directory, std::string& fingerprint, std::string& error)
{
    const std::string keyPath = directory + "/" + kKeyFile;
    const std::string certificatePath = directory + "/" + kCertificateFile;
    // Both files or neither: a unit whose key is lost must not quietly get a new identity.
    const bool haveKey = access(keyPath.c_str(), F_OK) == 0;
    const bool haveCertificate = access(certificatePath.c_str(), F_OK) == 0;
    if (haveKey != haveCertificate) {
        error = "only one of " + keyPath + " and " + certificatePath + " exists";
        return nullptr;
    }
    if (!haveKey && !(make_private_directory(directory, error) && make_identity(keyPath, certificatePath, error)))
        return nullptr;
    const KeyPtr key(read_pem<EVP_PKEY>(keyPath, PEM_read_PrivateKey, error));
    const CertificatePtr certificate(key ? read_pem<X509>(certificatePath, PEM_read_X509, error) : nullptr);
    if (!certificate)
        return nullptr;
    Context context = new_context(true, error);
    if (!context)
        return nullptr;
    if (SSL_CTX_use_certificate(context.get(), certificate.get()) != 1
        || SSL_CTX_use_PrivateKey(context.get(), key.get()) != 1 || SSL_CTX_check_private_key(context.get()) != 1) {
        error = openssl_error(("identity in " + directory).c_str());
        return nullptr;
    }
    fingerprint = fingerprint_of(certificate.get());
    return context;
}

std::string normalise_fingerprint(const std::string& text)
{
    std::string hex;
    for (const char c : text) {
        if (std::isxdigit(static_cast<unsigned char>(c)))
            hex += static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
        else if (c != ':')
            return std::string();
    }
    return hex.size() == 64 ? hex : std::string();
}

std::unique_ptr<Channel> Channel::create(const Context& context, int fd, bool server, std::string& error)
{
    SSL* ssl = context ? SSL_new(context.get()) : nullptr;
    if (!ssl || SSL_set_fd(ssl, fd) != 1) {
        error = openssl_error("SSL_new");
        SSL_free(ssl);
        return nullptr;
    }
    if (server)
        SSL_set_accept_state(ssl);
    else
        SSL_set_connect_state(ssl);
    return std::unique_ptr<Channel>(new Channel(ssl));
}

Channel::~Channel()
{
    SSL_free(m_ssl);
}

Channel::Status Channel::handshake()
{
    ERR_clear_error();
    return result(SSL_do_handshake(m_ssl), "TLS handshake");
}

Channel::Status Channel::read(char* buffer, std::size_t size, std::size_t& got)
{
    ERR_clear_error();
    return result(SSL_read_ex(m_ssl, buffer, size, &got), "TLS read");
}

Channel::Status Channel::write(const char* data, std::size_t size, std::size_t& written)
{
    ERR_clear_error();
    return result(SSL_write_ex(m_ssl, data, size, &written), "TLS write");
}

bool Channel::has_buffered_input() const
{
    return SSL_pending(m_ssl) > 0;
}

std::string Channel::peer_fingerprint() const
{
    X509* certificate = SSL_get0_peer_certificate(m_ssl);
    return certificate ? fingerprint_of(certificate) : std::string();
}

std::string Channel::channel_binding() const
{
    unsigned char material[kBindingBytes];
    if (SSL_export_keying_material(m_ssl, material, sizeof material, kBindingLabel, std::strlen(kBindingLabel),
                                   nullptr, 0, 0)
        != 1)
        return std::string();
    return std::string(reinterpret_cast<const char*>(material), sizeof material);
}

Channel::Status Channel::result(int rc, const char* what)
{
    m_wantWrite = false;
    if (rc == 1)
        return Status::Done;
    switch (SSL_get_error(m_ssl, rc)) {
    case SSL_ERROR_WANT_READ:
        return Status::WantRead;
    case SSL_ERROR_WANT_WRITE:
        m_wantWrite = true;
        return Status::WantWrite;
    case SSL_ERROR_ZERO_RETURN:
        return Status::Closed;
    case SSL_ERROR_SYSCALL:
        if (ERR_peek_error() == 0) {
            m_error = std::string(what) + ": " + (errno ? std::strerror(errno) : "connection reset");
            return errno ? Status::Failed : Status::Closed;
        }
        break;
    default:
        break;
    }
    m_error = openssl_error(what);
    return Status::Failed;
}

} // namespace tls
} // namespace ipc
