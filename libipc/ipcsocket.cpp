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

bool IPCSocket::send(const Message& msg)
{
    std::string frame;
    return is_open() && encode_frame(m_encoding, msg, frame) && send_frame(frame);
}

bool IPCSocket::encode_frame(ipc::Encoding encoding, const Message& msg, std::string& frame)
{
    const std::string payload = ipc::encode(encoding, msg);
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

void IPCSocket::close_when_flushed(const std::string& reason)
{
    if (!is_open())
        return;
    if (m_outputSent == m_output.size()) {
        abort(reason, LOG_INFO);
        return;
    }
    m_state = State::Flushing;
    m_closeReason = reason;
}

short IPCSocket::wanted_events() const
{
    const bool pendingOutput = m_outputSent < m_output.size();
    switch (m_state) {
    case State::Connecting:
        return POLLOUT;
    case State::Open:
        return pendingOutput ? POLLIN | POLLOUT : POLLIN;
    case State::Flushing:
        return POLLOUT;
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
    if ((events & POLLOUT) && (m_state == State::Open || m_state == State::Flushing))
        flush();
    if ((events & (POLLIN | POLLHUP | POLLERR)) && m_state == State::Open)
        read_input();
    if ((events & (POLLHUP | POLLERR)) && m_state == State::Flushing)
        abort("closed by peer", LOG_INFO);
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
    m_state = State::Open;
    m_owner->socket_connected(*this);
}

void IPCSocket::flush()
{
    while (m_outputSent < m_output.size()) {
        const ssize_t n = ::send(m_fd, m_output.data() + m_outputSent, m_output.size() - m_outputSent,
                                 MSG_NOSIGNAL | MSG_DONTWAIT);
        if (n > 0) {
            m_outputSent += static_cast<std::size_t>(n);
        } else if (n < 0 && errno == EINTR) {
            continue;
        } else if (n < 0 && (errno == EAGAIN || errno == EWOULDBLOCK)) {
            break;
        } else {
            abort(std::string("write failed: ") + std::strerror(errno), LOG_INFO);
            return;
        }
    }
    if (m_outputSent == m_output.size()) {
        m_output.clear();
        m_outputSent = 0;
        if (m_state == State::Flushing)
            abort(m_closeReason, LOG_INFO);
    } else if (m_outputSent > m_output.size() / 2) {
        m_output.erase(0, m_outputSent);
        m_outputSent = 0;
    }
}

void IPCSocket::read_input()
{
    char chunk[kReadChunk];
    std::size_t budget = kReadBudget;
    while (m_state == State::Open && budget > 0) {
        const ssize_t n = ::recv(m_fd, chunk, sizeof chunk, MSG_DONTWAIT);
        if (n > 0) {
            m_input.append(chunk, static_cast<std::size_t>(n));
            budget -= std::min(budget, static_cast<std::size_t>(n));
            if (!dispatch_frames())
                return;
        } else if (n == 0) {
            if (m_input.empty())
                abort("closed by peer", LOG_INFO);
            else
                abort("closed by peer inside a frame", LOG_ERROR);
            return;
        } else if (errno == EINTR) {
            continue;
        } else if (errno == EAGAIN || errno == EWOULDBLOCK) {
            return;
        } else {
            abort(std::string("read failed: ") + std::strerror(errno), LOG_INFO);
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
                                                        payloadSize);
        if (status == ipc::FrameStatus::Incomplete)
            break;
        if (status == ipc::FrameStatus::TooLarge) {
            abort("frame larger than " + std::to_string(ipc::Limits::kMaxFrameBytes) + " bytes", LOG_ERROR);
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
