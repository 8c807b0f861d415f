#ifndef FUZZ_ROUNDTRIP_H
#define FUZZ_ROUNDTRIP_H

#include "codec.h"

#include <cstdint>
#include <cstdio>

// Decodes hostile input. Whatever decodes is a tree within the limits, so both encodings must
// carry it back unchanged; anything else is a finding.
inline void check_round_trip(ipc::Encoding encoding, const uint8_t* data, std::size_t size)
{
    Message decoded;
    std::string error;
    if (!ipc::decode(encoding, reinterpret_cast<const char*>(data), size, decoded, error)) {
        if (error.empty()) {
            std::fprintf(stderr, "refused without a reason\n");
            __builtin_trap();
        }
        return;
    }
    for (const ipc::Encoding target : {ipc::Encoding::Compact, ipc::Encoding::Xmls}) {
        const std::string encoded = ipc::encode(target, decoded);
        if (encoded.size() > ipc::Limits::kMaxFrameBytes)
            continue;
        Message again;
        if (!ipc::decode(target, encoded.data(), encoded.size(), again, error) || again != decoded) {
            std::fprintf(stderr, "%s round trip failed: %s\n", ipc::encoding_name(target), error.c_str());
            __builtin_trap();
        }
    }
}

#endif
