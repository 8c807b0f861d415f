#include "ipcinstances.h"

// One translation unit fixes the order: the client refers to the manager's lock.
IPCManagerQt g_ipcManager;
IPCClient g_ipcClient(g_ipcManager);
