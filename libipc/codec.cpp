#include "codec.h"

#include "compactcodec.h"
#include "xmlscodec.h"

#include <utility>
#include <vector>

namespace ipc {

bool parse_encoding(const std::string& text, Encoding& out)
{
    if (text == "compact") {
        out = Encoding::Compact;
        return true;
    }
    if (text == "xmls") {
        out = Encoding::Xmls;
        return true;
    }
    return false;
}

const char* encoding_name(Encoding encoding)
{
    return encoding == Encoding::Compact ? "compact" : "xmls";
}

std::string encode(Encoding encoding, const Message& message, const Message* onlyChild)
{
    return encoding == Encoding::Compact ? compact::encode(message, onlyChild) : xmls::encode(message, onlyChild);
}

// Walks without recursion: the tree being checked may be deeper than the stack allows.
bool within_limits(const Message& message, const Message* onlyChild, std::string& error)
{
    std::vector<std::pair<const Message*, unsigned int>> pending = {{&message, 1}};
    std::size_t nodes = 0;
    while (!pending.empty()) {
        const auto [node, depth] = pending.back();
        pending.pop_back();
        if (depth > Limits::kMaxDepth) {
            error = "messages nested deeper than " + std::to_string(Limits::kMaxDepth);
            return false;
        }
        if (++nodes > Limits::kMaxNodes) {
            error = "more than " + std::to_string(Limits::kMaxNodes) + " messages";
            return false;
        }
        if (node->params().values().size() > Limits::kMaxParamsPerNode) {
            error = "more than " + std::to_string(Limits::kMaxParamsPerNode) + " parameters in one message";
            return false;
        }
        for (const auto& entry : node->params().values()) {
            if (entry.first.size() > Limits::kMaxKeyBytes) {
                error = "parameter key longer than " + std::to_string(Limits::kMaxKeyBytes) + " bytes";
                return false;
            }
        }
        if (node == &message && onlyChild) {
            pending.emplace_back(onlyChild, depth + 1);
            continue;
        }
        for (std::size_t i = 0; i < node->child_count(); ++i)
            pending.emplace_back(&node->child(i), depth + 1);
    }
    return true;
}

bool decode(Encoding encoding, const char* data, std::size_t size, Message& out, std::string& error)
{
    if (size > Limits::kMaxFrameBytes) {
        error = "payload of " + std::to_string(size) + " bytes exceeds the frame limit";
        return false;
    }
    // Decoded into a fresh tree, so that `out` is untouched by a failure.
    Message decoded;
    const bool ok = encoding == Encoding::Compact ? compact::decode(data, size, decoded, error)
                                                  : xmls::decode(data, size, decoded, error);
    if (ok)
        out = std::move(decoded);
    return ok;
}

std::string frame(const std::string& payload)
{
    const auto size = static_cast<uint32_t>(payload.size());
    std::string framed;
    framed.reserve(kFrameHeaderBytes + payload.size());
    framed += static_cast<char>(size >> 24);
    framed += static_cast<char>(size >> 16);
    framed += static_cast<char>(size >> 8);
    framed += static_cast<char>(size);
    framed += payload;
    return framed;
}

FrameStatus peek_frame(const char* buffer, std::size_t size, std::size_t& payloadSize, std::size_t maxPayload)
{
    if (size < kFrameHeaderBytes)
        return FrameStatus::Incomplete;
    const auto* header = reinterpret_cast<const unsigned char*>(buffer);
    const std::size_t length = (std::size_t{header[0]} << 24) | (std::size_t{header[1]} << 16)
        | (std::size_t{header[2]} << 8) | std::size_t{header[3]};
    if (length > maxPayload)
        return FrameStatus::TooLarge;
    if (size - kFrameHeaderBytes < length)
        return FrameStatus::Incomplete;
    payloadSize = length;
    return FrameStatus::Complete;
}

bool pattern_matches(const std::string& pattern, const std::string& identifier)
{
    if (!pattern.empty() && pattern.back() == '*') {
        const std::size_t prefixLength = pattern.size() - 1;
        return identifier.compare(0, prefixLength, pattern, 0, prefixLength) == 0;
    }
    return pattern == identifier;
}

} // namespace ipc
