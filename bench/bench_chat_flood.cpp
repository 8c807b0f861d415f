// Resident memory of the client and the chat screen under a broken or hostile backend: a flood of
// relayed chat lines, then a flood of notifications each with a name nothing handles. Each is
// measured before, right after and after a pause; the growth must stop at the transcript's bound
// and at the bound on names cached without a handler, whatever the length of the flood.
//
//   QT_QPA_PLATFORM=offscreen bench_chat_flood [records]   (20,000 unless given)
#include "chat.h"
#include "ipcinstances.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QFile>
#include <QMutexLocker>
#include <QTextDocument>

#include <cstdio>
#include <cstdlib>
#include <functional>
#include <string>

namespace {

constexpr int kPauseMs = 2000;
// Events are let through this often, as the IPC thread's queued signals would be.
constexpr int kRecordsPerBatch = 100;

long residentKiB()
{
    QFile status(QStringLiteral("/proc/self/status"));
    if (!status.open(QIODevice::ReadOnly))
        return -1;
    for (const QByteArray& line : status.readAll().split('\n')) {
        if (line.startsWith("VmRSS:"))
            return line.mid(6).trimmed().split(' ').value(0).toLong();
    }
    return -1;
}

void pause()
{
    QElapsedTimer timer;
    timer.start();
    while (timer.elapsed() < kPauseMs)
        QCoreApplication::processEvents(QEventLoop::AllEvents, 50);
}

void notify(const Message& msg)
{
    QMutexLocker lock(g_ipcClient.mutex());
    g_ipcClient.process_unso_id("unso", msg);
}

Message chatRecord(int n)
{
    Message record("chat");
    record.params().set_string("type", "message");
    record.params().set_string("from", "Far end");
    record.params().set_string("text", "<b>line " + std::to_string(n) + "</b> " + std::string(200, 'x'));
    return record;
}

Message unknownNotification(int n)
{
    Message msg("bogus_" + std::to_string(n));
    msg.params().set_string("payload", std::string(1000, 'y'));
    return msg;
}

// Feeds `count` messages and prints resident memory before, after and after a pause.
void flood(const char* what, int count, const std::function<Message(int)>& make)
{
    const long before = residentKiB();
    for (int n = 0; n < count; ++n) {
        notify(make(n));
        if (n % kRecordsPerBatch == 0)
            QCoreApplication::processEvents();
    }
    QCoreApplication::processEvents();
    const long after = residentKiB();
    pause();
    const long settled = residentKiB();
    std::printf("%-34s %9ld %9ld %9ld %+9ld\n", what, before, after, settled, settled - before);
}

} // namespace

int main(int argc, char** argv)
{
    QApplication app(argc, argv);
    // Every dropped name is logged as an error: 20,000 lines would only measure the terminal.
    g_log.set_log_level(LOG_CRITICAL);
    const int records = argc > 1 ? std::atoi(argv[1]) : 20000;
    Chat chat;

    // One bounded transcript's worth first, so that the figures leave out the fonts, the
    // document's first blocks and the allocator's first arenas.
    std::printf("%-34s %9s %9s %9s %9s\n", "flood (KiB resident)", "before", "after", "paused", "growth");
    flood("warm-up chat lines (1,000)", 1000, chatRecord);
    flood(("chat lines (" + std::to_string(records) + ")").c_str(), records, chatRecord);
    flood(("unknown names (" + std::to_string(records) + ")").c_str(), records, unknownNotification);
    flood(("chat lines again (" + std::to_string(records) + ")").c_str(), records, chatRecord);
    std::printf("\ntranscript blocks kept: %d\n", chat.textChat->document()->blockCount());
    return 0;
}
