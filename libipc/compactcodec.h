#ifndef LIBIPC_COMPACTCODEC_H
#define LIBIPC_COMPACTCODEC_H

#include "message.h"

#include <cstddef>
#include <string>

// The "compact" encoding: the message tree in CBOR.
namespace ipc::compact {

// With `onlyChild`, that is encoded as the only child of `message`, whose own are ignored.
std::string encode(const Message& message, const Message* onlyChild = nullptr);
// Fills `out` (which the caller passes empty) or gives the reason in `error`.
bool decode(const char* data, std::size_t size, Message& out, std::string& error);

} // namespace ipc::compact

#endif
