#include "ipcmanagerqt.h"

IPCManagerQt::~IPCManagerQt()
{
    stop();
    wait();
}

IPCMutex* IPCManagerQt::get_mutex()
{
    return &m_mutex;
}

QMutex* IPCManagerQt::mutex()
{
    return &m_mutex;
}

void IPCManagerQt::run()
{
    event_loop();
}
