// The Qt adapters: the library's lock is the recursive Qt mutex, and the loop runs on the thread.

#include "ipcmanagerqt.h"

#include <QtTest>

#include <atomic>
#include <thread>

namespace {

bool lockableFromAnotherThread(QMutex* mutex)
{
    bool locked = false;
    std::thread other([&] {
        locked = mutex->tryLock();
        if (locked)
            mutex->unlock();
    });
    other.join();
    return locked;
}

} // namespace

class TestIPCManagerQt : public QObject {
    Q_OBJECT

private slots:
    void libraryLockIsTheQtMutex();
    void lockIsRecursive();
    void loopRunsOnTheManagerThread();
    void destroyedWhileRunning();
};

void TestIPCManagerQt::libraryLockIsTheQtMutex()
{
    IPCManagerQt manager;
    IPCMutex* libraryLock = manager.get_mutex();

    libraryLock->lock();
    QVERIFY(!lockableFromAnotherThread(manager.mutex()));
    libraryLock->unlock();
    QVERIFY(lockableFromAnotherThread(manager.mutex()));
}

void TestIPCManagerQt::lockIsRecursive()
{
    IPCManagerQt manager;
    manager.get_mutex()->lock();
    QVERIFY(manager.mutex()->tryLock());
    manager.mutex()->unlock();
    QVERIFY(!lockableFromAnotherThread(manager.mutex()));
    manager.get_mutex()->unlock();
    QVERIFY(lockableFromAnotherThread(manager.mutex()));
}

void TestIPCManagerQt::loopRunsOnTheManagerThread()
{
    IPCManagerQt manager;
    std::atomic<QThread*> ranOn{nullptr};
    {
        QMutexLocker lock(manager.mutex());
        manager.schedule(std::chrono::milliseconds(0), [&] { ranOn = QThread::currentThread(); });
    }
    manager.start(QThread::InheritPriority);
    QTRY_COMPARE(ranOn.load(), static_cast<QThread*>(&manager));
}

void TestIPCManagerQt::destroyedWhileRunning()
{
    auto manager = std::make_unique<IPCManagerQt>();
    manager->start();
    QTRY_VERIFY(manager->isRunning());
    manager.reset();

    // Also when the loop has not been entered yet.
    manager = std::make_unique<IPCManagerQt>();
    manager->start();
    manager.reset();
}

QTEST_GUILESS_MAIN(TestIPCManagerQt)
#include "test_ipcmanagerqt.moc"
