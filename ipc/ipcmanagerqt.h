#ifndef IPCMANAGERQT_H
#define IPCMANAGERQT_H

#include "ipcmanager.h"
#include "ipcmutexqt.h"

#include <QThread>

// Runs the library's event loop on a thread of its own, under a lock the GUI thread can share.
class IPCManagerQt : public QThread, public IPCManager {
    Q_OBJECT
    Q_DISABLE_COPY(IPCManagerQt)

public:
    IPCManagerQt() = default;
    // Ends the loop and joins the thread: destroying a running QThread aborts the process.
    ~IPCManagerQt() override;

    IPCMutex* get_mutex() override;
    QMutex* mutex();

protected:
    void run() override;

private:
    IPCMutexQt m_mutex;
};

#endif
