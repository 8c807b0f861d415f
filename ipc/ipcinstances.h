#ifndef IPCINSTANCES_H
#define IPCINSTANCES_H

#include "ipcclient.h"
#include "ipcmanagerqt.h"

// The process-wide link, alive from before main until exit; every screen reaches it directly.
extern IPCManagerQt g_ipcManager;
extern IPCClient g_ipcClient;

#endif
