#include "ipcsocket.h"

#include "ipcmanager.h"
#include "message.h"
#include "netutil.h"

#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

namespace {

constexpr std::size_t kReadChunk = 64 * 1024;
// Input taken from one socket per loop pass, so one busy peer cannot starve the others.
constexpr std::size_t kReadBudget = 1024 * 1024;

} // namespace

IPCSocket::IPCSocket(IPCManager& manager, Owner& owner, int fd, bool connecting, ipc::Encoding encoding,
                     const std::string& peer)
    : m_manager(manager)
    , m_owner(&owner)
    , m_fd(fd)
    , m_state(connecting ? State::Connecting : State::Open)
    , m_encoding(encoding)
    , m_peer(peer)
{
}

IPCSocket::~IPCSocket()
{
    close_fd();
}

bool IPCSocket::start_tls(const ipc::tls::Context& context, bool server)
{
    std::string error;
    m_tls = ipc::tls::Channel::create(context, m_fd, server, error);
    if (!m_tls) {
        abort(error, LOG_ERROR);
        return false;
    }
    if (m_state == State::Open) {
        m_state = State::Handshaking;
        continue_handshake();
    }
    return true;
}

bool IPCSocket::send(const Message& msg, const Message* onlyChild)
{
    std::string frame;
    return is_open() && encode_frame(m_encoding, msg, onlyChild, frame) && send_frame(frame);
}

bool IPCSocket::encode_frame(ipc::Encoding encoding, const Message& msg, const Message* onlyChild,
                             std::string& frame)
{
    std::string refusal;
    if (!ipc::within_limits(msg, onlyChild, refusal)) {
        g_log.log(LOG_ERROR, "IPC: message \"%s\" not sent: %s", (onlyChild ? onlyChild : &msg)->name.c_str(),
                  refusal.c_str());
        return false;
    }
    const std::string payload = ipc::encode(encoding, msg, onlyChild);
    if (payload.size() > ipc::Limits::kMaxFrameBytes) {
        g_log.log(LOG_ERROR, "IPC: message \"%s\" of %zu bytes is too large to send", msg.name.c_str(),
                  payload.size());
        return false;
    }
    frame = ipc::frame(payload);
    return true;
}

bool IPCSocket::send_frame(const std::string& frame)
{
    if (!is_open())
        return false;
    const std::size_t queued = m_output.size() - m_outputSent;
    if (queued + frame.size() > kMaxQueuedBytes) {
        abort("more than " + std::to_string(kMaxQueuedBytes) + " bytes of output waiting", LOG_ERROR);
        return false;
    }
    m_output.append(frame);
    if (queued == 0 && m_state == State::Open) {
        flush();
        // The loop may be waiting without asking for writability.
        if (m_state == State::Open && m_outputSent < m_output.size())
            m_manager.wake();
    }
    return is_open();
}

void IPCSocket::abort(const std::string& reason, LOG_LEVEL level)
{
    if (m_state == State::Aborted || m_state == State::Closed)
        return;
    m_state = State::Aborted;
    m_closeReason = reason;
    m_closeLevel = level;
    m_manager.wake();
}

short IPCSocket::wanted_events() const
{
    const bool pendingOutput = m_outputSent < m_output.size();
    switch (m_state) {
    case State::Connecting:
        return POLLOUT;
    case State::Handshaking:
        return m_tls->wants_write() ? POLLOUT : POLLIN;
    case State::Open:
        return pendingOutput || (m_tls && m_tls->wants_write()) ? POLLIN | POLLOUT : POLLIN;
    case State::Aborted:
    case State::Closed:
        break;
    }
    return 0;
}

void IPCSocket::service()
{
    const short events = m_readyEvents;
    m_readyEvents = 0;
    if (m_state == State::Connecting) {
        if (events & (POLLOUT | POLLERR | POLLHUP))
            finish_connect();
        return;
    }
    if (m_state == State::Handshaking) {
        continue_handshake();
        return;
    }
    // A TLS read may have stopped for want of room to write (a key update, say).
    const bool readWaitsForRoom = m_tls && m_tls->wants_write() && m_outputSent == m_output.size();
    if ((events & POLLOUT) && m_state == State::Open)
        flush();
    if ((events & (POLLIN | POLLHUP | POLLERR) || (readWaitsForRoom && (events & POLLOUT))) && m_state == State::Open)
        read_input();
}

void IPCSocket::finish_close()
{
    if (m_state != State::Aborted)
        return;
    g_log.log(m_closeLevel, "IPC %s: %s; connection closed", m_peer.c_str(), m_closeReason.c_str());
    close_fd();
    m_state = State::Closed;
    Owner* owner = m_owner;
    m_owner = nullptr;
    if (owner)
        owner->socket_closed(*this);
}

void IPCSocket::detach()
{
    close_fd();
    m_state = State::Closed;
    m_owner = nullptr;
}

void IPCSocket::finish_connect()
{
    const std::string error = ipc::net::connect_result(m_fd);
    if (!error.empty()) {
        abort(error, LOG_INFO);
        return;
    }
    if (m_tls) {
        m_state = State::Handshaking;
        continue_handshake();
    } else {
        become_open();
    }
}

void IPCSocket::continue_handshake()
{
    switch (m_tls->handshake()) {
    case ipc::tls::Channel::Status::Done:
        become_open();
        break;
    case ipc::tls::Channel::Status::WantRead:
    case ipc::tls::Channel::Status::WantWrite:
        break;
    case ipc::tls::Channel::Status::Closed:
        abort("closed by peer during the TLS handshake", LOG_INFO);
        break;
    case ipc::tls::Channel::Status::Failed:
        abort(m_tls->error(), LOG_ERROR);
        break;
    }
}

void IPCSocket::become_open()
{
    m_state = State::Open;
    m_owner->socket_connected(*this);
    if (m_state == State::Open && m_outputSent < m_output.size())
        flush();
}

IPCSocket::Io IPCSocket::io_of(ipc::tls::Channel::Status status)
{
    switch (status) {
    case ipc::tls::Channel::Status::Done:
        return Io::Progress;
    case ipc::tls::Channel::Status::WantRead:
    case ipc::tls::Channel::Status::WantWrite:
        return Io::WouldBlock;
    case ipc::tls::Channel::Status::Closed:
        return Io::End;
    case ipc::tls::Channel::Status::Failed:
        break;
    }
    return Io::Failed;
}

IPCSocket::Io IPCSocket::read_some(char* buffer, std::size_t size, std::size_t& got, std::string& error)
{
    if (m_tls) {
        const Io io = io_of(m_tls->read(buffer, size, got));
        if (io == Io::Failed)
            error = m_tls->error();
        return io;
    }
    for (;;) {
        const ssize_t n = ::recv(m_fd, buffer, size, MSG_DONTWAIT);
        if (n > 0) {
            got = static_cast<std::size_t>(n);
            return Io::Progress;
        }
        if (n == 0)
            return Io::End;
        if (errno == EAGAIN || errno == EWOULDBLOCK)
            return Io::WouldBlock;
        if (errno != EINTR) {
            error = std::string("read failed: ") + std::strerror(errno);
            return Io::Failed;
        }
    }
}

IPCSocket::Io IPCSocket::write_some(const char* data, std::size_t size, std::size_t& written, std::string& error)
{
    if (m_tls) {
        const Io io = io_of(m_tls->write(data, size, written));
        if (io == Io::End || io == Io::Failed) {
            error = io == Io::End ? std::string("write failed: closed by peer") : m_tls->error();
            return Io::Failed;
        }
        return io;
    }
    for (;;) {
        const ssize_t n = ::send(m_fd, data, size, MSG_NOSIGNAL | MSG_DONTWAIT);
        if (n >= 0) {
            written = static_cast<std::size_t>(n);
            return Io::Progress;
        }
        if (errno == EAGAIN || errno == EWOULDBLOCK)
            return Io::WouldBlock;
        if (errno != EINTR) {
            error = std::string("write failed: ") + std::strerror(errno);
            return Io::Failed;
        }
    }
}

void IPCSocket::flush()
{
    while (m_outputSent < m_output.size()) {
        std::size_t written = 0;
        std::string error;
        const Io io = write_some(m_output.data() + m_outputSent, m_output.size() - m_outputSent, written, error);
        if (io == Io::Failed) {
            abort(error, LOG_INFO);
            return;
        }
        if (io != Io::Progress || written == 0)
            break;
        m_outputSent += written;
    }
    if (m_outputSent == m_output.size()) {
        m_output.clear();
        m_outputSent = 0;
    } else if (m_outputSent > m_output.size() / 2) {
        m_output.erase(0, m_outputSent);
        m_outputSent = 0;
    }
}

void IPCSocket::read_input()
{
    char chunk[kReadChunk];
    std::size_t budget = kReadBudget;
    // Input that TLS has already decrypted is invisible to poll(), so it is taken whatever the budget.
    while (m_state == State::Open && (budget > 0 || (m_tls && m_tls->has_buffered_input()))) {
        std::size_t got = 0;
        std::string error;
        switch (read_some(chunk, sizeof chunk, got, error)) {
        case Io::Progress:
            m_input.append(chunk, got);
            budget -= std::min(budget, got);
            if (!dispatch_frames())
                return;
            // A short read in the clear has emptied the socket: no second call only to hear so.
            if (!m_tls && got < sizeof chunk)
                return;
            break;
        case Io::WouldBlock:
            return;
        case Io::End:
            if (m_input.empty())
                abort("closed by peer", LOG_INFO);
            else
                abort("closed by peer inside a frame", LOG_ERROR);
            return;
        case Io::Failed:
            abort(error, LOG_INFO);
            return;
        }
    }
}

bool IPCSocket::dispatch_frames()
{
    std::size_t offset = 0;
    while (m_state == State::Open) {
        std::size_t payloadSize = 0;
        const ipc::FrameStatus status = ipc::peek_frame(m_input.data() + offset, m_input.size() - offset,
                                                        payloadSize, m_frameLimit);
        if (status == ipc::FrameStatus::Incomplete)
            break;
        if (status == ipc::FrameStatus::TooLarge) {
            abort("frame larger than " + std::to_string(m_frameLimit) + " bytes", LOG_ERROR);
            break;
        }
        Message msg;
        std::string error;
        const bool decoded = ipc::decode(m_encoding, m_input.data() + offset + ipc::kFrameHeaderBytes,
                                         payloadSize, msg, error);
        offset += ipc::kFrameHeaderBytes + payloadSize;
        if (!decoded) {
            abort("undecodable frame (" + error + ")", LOG_ERROR);
            break;
        }
        m_owner->socket_message(*this, msg);
    }
    m_input.erase(0, offset);
    return m_state == State::Open;
}

void IPCSocket::close_fd()
{
    if (m_fd >= 0) {
        ::close(m_fd);
        m_fd = -1;
    }
}
