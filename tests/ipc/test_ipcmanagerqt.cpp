// The Qt adapters: the library's lock is the recursive Qt mutex, and the loop runs on the thread.

#include "ipcmanagerqt.h"

#include <QtTest>

#include <atomic>
#include <thread>

namespace {

bool lockableFromAnotherThread(QMutex* mutex)
{
    bool locked = false;
    std::thread([&] {
        if ((locked = mutex->tryLock()))
            mutex->unlock();
    }).join();
    return locked;
}

} // namespace

class TestIPCManagerQt : public QObject {
    Q_OBJECT

private slots:
    void lockIsTheRecursiveQtMutexAndTheLoopRunsOnTheManagerThread()
    {
        IPCManagerQt manager;
        manager.get_mutex()->lock();
        QVERIFY(manager.mutex()->tryLock());
        manager.mutex()->unlock();
        QVERIFY(!lockableFromAnotherThread(manager.mutex()));
        std::atomic<QThread*> ranOn{nullptr};
        manager.schedule(std::chrono::milliseconds(0), [&] { ranOn = QThread::currentThread(); });
        manager.get_mutex()->unlock();
        QVERIFY(lockableFromAnotherThread(manager.mutex()));
        manager.start(QThread::InheritPriority);
        QTRY_COMPARE(ranOn.load(), static_cast<QThread*>(&manager));
    }
    void destroyedWhileRunning()
    {
        // Once running, and before the loop has been entered.
        for (const bool waitForLoop : {true, false}) {
            IPCManagerQt manager;
            manager.start();
            if (waitForLoop)
                QTRY_VERIFY(manager.isRunning());
        }
    }
};

QTEST_GUILESS_MAIN(TestIPCManagerQt)
#include "test_ipcmanagerqt.moc"
