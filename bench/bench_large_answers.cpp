// GUI thread's CPU time to apply large answers: every screen that follows an answer rebuilds from it, on the
// GUI thread, as the client hands it over. Each answer is given with 1,000 and 10,000 entries to
// fresh screens; the ratio of the two figures shows how the cost grows (10 for linear). Also the
// chat lines a hostile far end could send.
//
//   QT_QPA_PLATFORM=offscreen bench_large_answers [answer]   (only the answers starting so)
#include "chat.h"
#include "editsetting.h"
#include "ipcinstances.h"
#include "peerlist.h"
#include "profilelist.h"
#include "systemsettings.h"
#include "tunnelinfo.h"

#include <QApplication>
#include <QMutexLocker>

#include <algorithm>
#include <cstdio>
#include <ctime>
#include <functional>
#include <memory>
#include <string>
#include <thread>

namespace {

Message answer(const char* seq)
{
    Message msg(seq);
    msg.params().set_string("seq", seq);
    return msg;
}

Message peerList(int count)
{
    Message msg = answer("peerList");
    for (int id = 1; id <= count; ++id) {
        Params& peer = msg.add_child("peer").params();
        peer.set_int("id", id);
        peer.set_string("name", "Remote " + std::to_string(id));
        peer.set_string("addr", "10.0." + std::to_string(id / 250) + "." + std::to_string(id % 250));
        peer.set_bool("plait", true);
        peer.set_bool("use_plait", true);
        peer.set_string("sid", "s" + std::to_string(id));
        peer.set_bool("active", id % 10 == 0);
    }
    return msg;
}

Message tunnelStatus(int count)
{
    Message msg = answer("statusTunnel");
    Message& node = msg.add_child("node");
    for (int id = 1; id <= count; ++id) {
        Message& sess = node.add_child("sess");
        sess.params().set_string("sid", "s" + std::to_string(id));
        sess.params().set_string("state", id % 2 ? "ACTIVE" : "SEARCHING");
        sess.add_child("search").params().set_string("addr", "10.1.0." + std::to_string(id % 250));
    }
    return msg;
}

Message profileList(int count)
{
    Message msg = answer("profileList");
    for (int id = 1; id <= count; ++id) {
        Message& profile = msg.add_child("profile");
        profile.params().set_string("id", std::to_string(id));
        profile.params().set_bool("default", id == 1);
        Params& settings = profile.add_child("settings").params();
        settings.set_string("name", "Profile " + std::to_string(id));
        settings.set_string("channel", "ch" + std::to_string(id % 50));
    }
    return msg;
}

Message channelList(int count)
{
    Message msg = answer("channelList");
    for (int id = 0; id < count; ++id) {
        Params& channel = msg.add_child("channel").params();
        channel.set_string("id", "ch" + std::to_string(id));
        channel.set_string("descr", "Channel " + std::to_string(id));
        channel.set_string("opt", std::to_string(id));
    }
    return msg;
}

Message channelOpts(int count)
{
    Message msg = answer("channelOpts");
    for (int id = 0; id < count; ++id) {
        Params& option = msg.add_child("option").params();
        option.set_string("name", "opt");
        option.set_string("display_name", "Option " + std::to_string(id));
        option.set_string("channel", "ch" + std::to_string(id));
        option.set_string("type", "int");
        option.set_string("default", "0");
    }
    return msg;
}

Message loadSettings(int count)
{
    Message msg = answer("loadSettings");
    for (int id = 0; id < count; ++id)
        msg.add_child("group").params().set_string("name", id == count / 2 ? "p_keypad" : "g" + std::to_string(id));
    return msg;
}

// Every screen that follows these answers, fresh for each size.
struct Screens {
    PeerList peers;
    ProfileList profiles;
    EditSetting editor;
    SystemSettings system{&editor};
    TunnelInfo tunnel;
    Chat chat;
};

// CPU time of the GUI thread: the figure other work on a shared machine disturbs least.
double threadCpuMs()
{
    timespec now{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    return now.tv_sec * 1e3 + now.tv_nsec / 1e6;
}

// As in the program, a thread of the link takes the answer in (the cache's copy is made there) and
// the GUI thread applies what the queued signals hand over; only the GUI thread's time counts.
double applyMs(const Message& msg)
{
    std::thread([&msg] {
        QMutexLocker lock(g_ipcClient.mutex());
        g_ipcClient.process_response(msg);
    }).join();
    const double start = threadCpuMs();
    QCoreApplication::processEvents();
    return threadCpuMs() - start;
}

struct Case {
    const char* what;
    // Answers given before the timed one, then the timed one.
    std::function<void(int)> prepare;
    std::function<Message(int)> timed;
};

// The least of seven runs: the machine may be busy with other work, and the allocator with its own.
double run(const Case& c, int count)
{
    double least = 0;
    for (int repeat = 0; repeat < 7; ++repeat) {
        Screens screens;
        c.prepare(count);
        const double ms = applyMs(c.timed(count));
        least = repeat == 0 ? ms : std::min(least, ms);
    }
    return least;
}

double chatLineMs(const std::string& text)
{
    Chat chat;
    Message record = answer("chat");
    record.params().set_string("type", "message");
    record.params().set_string("from", "Far end");
    record.params().set_string("text", text);
    return applyMs(record);
}

} // namespace

int main(int argc, char** argv)
{
    QApplication app(argc, argv);
    g_log.set_log_level(LOG_LEVEL(1));
    const auto none = [](int) {};
    const Case cases[] = {
        {"peerList (remote list)", none, peerList},
        {"statusTunnel (remote list, tunnel)", [](int n) { applyMs(peerList(n)); }, tunnelStatus},
        {"profileList (profiles, remote list)", [](int n) { applyMs(peerList(n / 10)); }, profileList},
        {"channelList + channelOpts (system)", [](int n) { applyMs(channelList(n)); }, channelOpts},
        {"loadSettings", none, loadSettings},
    };
    std::printf("%-38s %12s %12s %8s\n", "answer", "1,000 (ms)", "10,000 (ms)", "ratio");
    const QString only = argc > 1 ? QString::fromLocal8Bit(argv[1]) : QString();
    for (const Case& c : cases) {
        if (!QString::fromLatin1(c.what).startsWith(only))
            continue;
        const double small = run(c, 1000);
        const double large = run(c, 10000);
        std::printf("%-38s %12.1f %12.1f %8.1f\n", c.what, small, large, large / small);
    }

    std::string tables;
    for (int level = 0; level < 25; ++level)
        tables = "<table><tr><td>" + tables + "x</td></tr></table>";
    std::printf("\nchat line, 25 nested tables (%zu bytes): %.1f ms\n", tables.size(), chatLineMs(tables));
    std::printf("chat line, 1 MB without spaces: %.1f ms\n", chatLineMs(std::string(1 << 20, 'w')));
    return 0;
}
