#ifndef NETWORK_DEBUGLOG_H
#define NETWORK_DEBUGLOG_H

#include "logger.h"
#include "message.h"

// A heading and the whole message at debug level, formatted only when that level is on.
inline void debugMessage(const char* heading, const Message& msg)
{
    if (!g_log.enabled(LOG_DEBUG))
        return;
    g_log.log(LOG_DEBUG, "%s", heading);
    msg._dump(LOG_DEBUG, 0, 0);
}

#endif
