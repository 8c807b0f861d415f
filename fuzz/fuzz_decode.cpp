// Decodes hostile input in the encoding FUZZ_ENCODING names. Whatever decodes is a tree within the
// limits, so both encodings must carry it back unchanged; anything else is a finding.
#include "codec.h"

#include <cstdint>
#include <cstdio>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, std::size_t size)
{
    Message decoded;
    std::string error;
    if (!ipc::decode(ipc::Encoding::FUZZ_ENCODING, reinterpret_cast<const char*>(data), size, decoded, error)) {
        if (error.empty()) {
            std::fprintf(stderr, "refused without a reason\n");
            __builtin_trap();
        }
        return 0;
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
    return 0;
}
