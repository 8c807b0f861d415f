#ifndef LIBIPC_IPCSOCKET_H
#define LIBIPC_IPCSOCKET_H

#include "codec.h"
#include "logger.h"
#include "tlschannel.h"

#include <cstddef>
#include <memory>
#include <string>

class IPCManager;
class Message;

// One non-blocking stream connection carrying frames of one encoding, in the clear or inside
// TLS. The manager owns every socket and polls it; the link that opened it (its owner) hears of
// the connection (once the TLS handshake is done, for TLS), of each decoded message and of the
// close.
//
// A close never happens in the middle of a call: abort() only records why, and the manager's
// loop closes the socket afterwards, tells the owner and deletes it. So an owner may abort from
// any thread holding the manager's lock, and from inside its own callbacks.
class IPCSocket {
public:
    // Called on the loop thread with the manager's lock held.
    class Owner {
    public:
        virtual void socket_connected(IPCSocket& socket) = 0;
        virtual void socket_message(IPCSocket& socket, const Message& msg) = 0;
        // The socket is closed and is deleted right after this returns.
        virtual void socket_closed(IPCSocket& socket) = 0;

    protected:
        ~Owner() = default;
    };

    // Output waiting for a slow peer beyond this closes the connection.
    static constexpr std::size_t kMaxQueuedBytes = 32u << 20;

    // Takes `fd`; `connecting` while a non-blocking connect is still under way.
    IPCSocket(IPCManager& manager, Owner& owner, int fd, bool connecting, ipc::Encoding encoding,
              const std::string& peer);
    IPCSocket(const IPCSocket&) = delete;
    IPCSocket& operator=(const IPCSocket&) = delete;
    ~IPCSocket();

    unsigned int id() const { return m_id; }
    const std::string& peer() const { return m_peer; }
    ipc::Encoding encoding() const { return m_encoding; }
    // Connected, or still connecting, and no close asked for.
    bool is_open() const { return m_state == State::Connecting || m_state == State::Handshaking || m_state == State::Open; }

    // Runs TLS on this socket: as the client once connected, as the server at once. Call
    // right after construction; false (the socket aborts) when OpenSSL cannot start.
    bool start_tls(const ipc::tls::Context& context, bool server);
    // The TLS session once connected; null on a socket in the clear.
    const ipc::tls::Channel* tls() const { return m_tls.get(); }
    // Frames larger than this close the connection before they are read whole; the default is
    // ipc::Limits::kMaxFrameBytes.
    void set_frame_limit(std::size_t bytes) { m_frameLimit = bytes; }

    // Encodes, frames and queues one message (with `onlyChild`, an envelope around it, see
    // ipc::encode); writes at once when nothing is waiting. Never blocks. False when the socket
    // is closing or the output queue is full (then it aborts).
    bool send(const Message& msg, const Message* onlyChild = nullptr);
    // The same for a frame already encoded in this socket's encoding.
    bool send_frame(const std::string& frame);
    // False (logged) when the message is too large for one frame.
    static bool encode_frame(ipc::Encoding encoding, const Message& msg, const Message* onlyChild,
                             std::string& frame);
    // Closes soon, logging `reason` at `level`; the first reason wins.
    void abort(const std::string& reason, LOG_LEVEL level);

    // Loop side.
    int fd() const { return m_fd; }
    short wanted_events() const;
    bool close_pending() const { return m_state == State::Aborted; }
    bool is_closed() const { return m_state == State::Closed; }
    void set_ready_events(short revents) { m_readyEvents = revents; }
    // Handles the events set by set_ready_events: finishes a connect, writes, reads and
    // dispatches whole frames.
    void service();
    // Closes an aborted socket, logs why and tells the owner.
    void finish_close();
    // Closes without telling the owner, which is going away.
    void detach();

private:
    friend class IPCManager;
    enum class State { Connecting, Handshaking, Open, Aborted, Closed };
    enum class Io { Progress, WouldBlock, End, Failed };

    void finish_connect();
    void continue_handshake();
    // The socket is usable: tells the owner and sends what was queued meanwhile.
    void become_open();
    static Io io_of(ipc::tls::Channel::Status status);
    // One read or write of the stream, in the clear or through TLS; `error` on Failed.
    Io read_some(char* buffer, std::size_t size, std::size_t& got, std::string& error);
    Io write_some(const char* data, std::size_t size, std::size_t& written, std::string& error);
    void flush();
    void read_input();
    // Dispatches every whole frame in the input buffer; false once the socket stops reading.
    bool dispatch_frames();
    void close_fd();

    IPCManager& m_manager;
    Owner* m_owner;
    int m_fd;
    unsigned int m_id = 0;
    State m_state;
    ipc::Encoding m_encoding;
    std::string m_peer;
    std::unique_ptr<ipc::tls::Channel> m_tls;
    std::size_t m_frameLimit = ipc::Limits::kMaxFrameBytes;
    short m_readyEvents = 0;
    std::string m_input;
    std::string m_output;
    std::size_t m_outputSent = 0;
    std::string m_closeReason;
    LOG_LEVEL m_closeLevel = LOG_INFO;
};

#endif
