#ifndef TUNNELLOG_H
#define TUNNELLOG_H

#include "message.h"

// Debug output shared by the tunnel model's classes.
namespace tunnellog {

inline const char* text(bool value)
{
    return value ? "true" : "false";
}

} // namespace tunnellog

#endif
