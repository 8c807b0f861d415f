#ifndef TUNNELLOG_H
#define TUNNELLOG_H

#include "message.h"

// Debug output shared by the tunnel model's classes.
namespace tunnellog {

inline const char* text(bool value)
{
    return value ? "true" : "false";
}

// The whole message at debug level, formatted only when that level is on.
inline void dump(const Message& msg)
{
    if (g_log.enabled(LOG_DEBUG))
        msg._dump(LOG_DEBUG, 0, 1);
}

} // namespace tunnellog

#endif
