#ifndef LIBIPC_CODEC_H
#define LIBIPC_CODEC_H

#include "message.h"

#include <cstddef>
#include <cstdint>
#include <string>

namespace ipc {

// Hard limits of one frame; a frame that breaks one is refused and its connection closed.
struct Limits {
    static constexpr std::size_t kMaxFrameBytes = 8u << 20;
    static constexpr unsigned int kMaxDepth = 64;          // nesting of messages, root is 1
    static constexpr std::size_t kMaxNodes = 200000;       // messages in one frame
    static constexpr std::size_t kMaxParamsPerNode = 4096;
    static constexpr std::size_t kMaxKeyBytes = 256;
};

enum class Encoding { Compact, Xmls };

// "compact" or "xmls"; false for anything else.
bool parse_encoding(const std::string& text, Encoding& out);
const char* encoding_name(Encoding encoding);

// One message tree as the payload of a frame (no length prefix). With `onlyChild`, that is
// encoded as the only child of `message`, whose own children are ignored: an envelope is
// written around its content without copying it.
std::string encode(Encoding encoding, const Message& message, const Message* onlyChild = nullptr);
// False, with a reason in `error`, when the tree (with `onlyChild` as in encode) breaks a limit
// that the decoder at the other end enforces, so that nothing is sent that would close the link.
bool within_limits(const Message& message, const Message* onlyChild, std::string& error);
// False, with a reason in `error`, for input that does not decode or breaks a limit.
bool decode(Encoding encoding, const char* data, std::size_t size, Message& out, std::string& error);

// Frames on the stream: a 4-byte big-endian payload length, then the payload.
constexpr std::size_t kFrameHeaderBytes = 4;
std::string frame(const std::string& payload);
enum class FrameStatus { Incomplete, Complete, TooLarge };
// Looks at the start of `buffer`; on Complete, `payloadSize` is the length after the header.
// TooLarge as soon as the header announces more than `maxPayload` bytes.
FrameStatus peek_frame(const char* buffer, std::size_t size, std::size_t& payloadSize,
                       std::size_t maxPayload = Limits::kMaxFrameBytes);

// Envelope: every frame carries one Message whose name is the kind. Fields per kind:
//   "challenge"    nonce (hex string), protocol (string)
//   "login"        user (string), mac (the client's login MAC, see login.h)
//   "login_result" ok (bool), mac (the unit's MAC, when ok)
//   "subscribe"    pattern (string), flags (uint)
//   "command"      one child: the request
//   "response"     one child: the answer
//   "unso"         id (string), one child: the notification
namespace envelope {
constexpr const char* kChallenge = "challenge";
constexpr const char* kLogin = "login";
constexpr const char* kLoginResult = "login_result";
constexpr const char* kSubscribe = "subscribe";
constexpr const char* kCommand = "command";
constexpr const char* kResponse = "response";
constexpr const char* kUnso = "unso";
} // namespace envelope

// "prefix*" matches every identifier that begins with "prefix"; any other pattern matches exactly.
bool pattern_matches(const std::string& pattern, const std::string& identifier);

} // namespace ipc

#endif
