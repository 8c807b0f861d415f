#include "roundtrip.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, std::size_t size)
{
    check_round_trip(ipc::Encoding::Xmls, data, size);
    return 0;
}
