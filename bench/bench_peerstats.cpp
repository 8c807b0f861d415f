// The GUI's cost of one "peer_stats" notification with 8 remotes in a call, the peer statistics
// screen on its Graph page: the slot (table refresh from a copy of the cached notification, one
// sample per remote into both graphs) and one paint of each graph. Handing the notification to the
// client (the IPC thread's part) is left out of the figures.
//
//   bench_peerstats                      times it with Google Benchmark
//   bench/peerstats-instructions         counts its instructions under callgrind
#include "callstats.h"
#include "delaygrapher.h"
#include "ipcinstances.h"
#include "peerstats.h"
#include "percentgrapher.h"

#include <QApplication>
#include <QImage>
#include <QMutexLocker>

#include <benchmark/benchmark.h>
#include <valgrind/callgrind.h>

#include <cstdio>
#include <random>
#include <vector>

namespace {

constexpr int kRemotes = 8;
// Notifications counted under callgrind, after a full ring of samples so that every column draws.
constexpr int kCountedNotifications = 100;
constexpr int kWarmUpNotifications = 130;

class Screen {
public:
    Screen()
    {
        Message peers("peerList");
        peers.params().set_string("seq", "peerList");
        for (int id = 1; id <= kRemotes; ++id) {
            Params& peer = peers.add_child("peer").params();
            peer.set_int("id", id);
            peer.set_string("name", "Remote " + std::to_string(id));
            peer.set_bool("active", true);
        }
        {
            QMutexLocker lock(g_ipcClient.mutex());
            g_ipcClient.process_response(peers);
        }
        m_screen.statsTab->setCurrentIndex(1);
        m_delayImage = QImage(m_screen.delayGraph().size(), QImage::Format_RGB32);
        m_percentImage = QImage(m_screen.percentGraph().size(), QImage::Format_RGB32);
        for (int id = 1; id <= kRemotes; ++id) {
            CallStats::Flow flow;
            flow.peerId = id;
            flow.channel = "rtp_udp_mux";
            flow.callSeconds = 3600;
            flow.txBitrate = 256000;
            flow.rxBitrate = 128000;
            m_flows.push_back(flow);
        }
    }

    // What the IPC thread does: the next notification into the cache, its signal disconnected
    // so that the slot runs only when measured.
    void arrive()
    {
        const Message stats = m_stats.peerStats(m_flows);
        const QSignalBlocker blocker(&g_ipcClient);
        QMutexLocker lock(g_ipcClient.mutex());
        g_ipcClient.process_unso_id("peer_stats", stats);
    }

    void handle()
    {
        m_screen.updatePeerStats();
        m_screen.delayGraph().render(&m_delayImage);
        m_screen.percentGraph().render(&m_percentImage);
    }

private:
    PeerStats m_screen;
    QImage m_delayImage;
    QImage m_percentImage;
    std::mt19937 m_random{1};
    CallStats m_stats{m_random};
    std::vector<CallStats::Flow> m_flows;
};

Screen* g_screen = nullptr;

void BM_PeerStatsNotification(benchmark::State& state)
{
    for (int i = 0; i < kWarmUpNotifications; ++i) {
        g_screen->arrive();
        g_screen->handle();
    }
    for (auto _ : state) {
        state.PauseTiming();
        g_screen->arrive();
        state.ResumeTiming();
        g_screen->handle();
    }
}
BENCHMARK(BM_PeerStatsNotification)->Unit(benchmark::kMicrosecond);

} // namespace

int main(int argc, char* argv[])
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    Screen screen;
    g_screen = &screen;
    if (RUNNING_ON_VALGRIND) {
        for (int i = 0; i < kWarmUpNotifications; ++i) {
            screen.arrive();
            screen.handle();
        }
        for (int i = 0; i < kCountedNotifications; ++i) {
            screen.arrive();
            CALLGRIND_TOGGLE_COLLECT;
            screen.handle();
            CALLGRIND_TOGGLE_COLLECT;
        }
        std::printf("notifications counted: %d\n", kCountedNotifications);
        return 0;
    }
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
