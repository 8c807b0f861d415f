// The device list rebuilt from a list answer of N devices: filled from empty, and merged again
// into the same rows (every row updated in place). Both should grow linearly with N.
#include "choosenetwork.h"
#include "deviceclassicons.h"

#include <QApplication>

#include <benchmark/benchmark.h>

namespace {

Message deviceList(int count)
{
    Message answer("resp");
    Message& root = answer.add_child("node");
    root.params().set_string("name", "devices");
    root.add_child("status").params().set_uint("num_alive", 1);
    Message& group = root.add_child("group");
    for (int i = 0; i < count; ++i) {
        Message& node = group.add_child("node");
        const std::string id = "dev" + std::to_string(i * 7919 % count);
        node.params().set_string("name", id);
        node.params().set_string("display_name", "Device " + id);
        Params& status = node.add_child("status").params();
        status.set_bool("enabled", i % 3 != 0);
        status.set_bool("installed", i % 5 != 0);
        status.set_string("class", i % 2 ? "wifi" : "wired");
        status.set_uint("signal", static_cast<uint32_t>(i % 101));
        status.set_string("address", "10.0.0." + std::to_string(i % 250));
    }
    return answer;
}

void fillFromEmpty(benchmark::State& state)
{
    const Message answer = deviceList(static_cast<int>(state.range(0)));
    for (auto _ : state) {
        state.PauseTiming();
        auto screen = std::make_unique<ChooseNetwork>();
        state.ResumeTiming();
        screen->handleRecvNetworkList(answer);
        benchmark::DoNotOptimize(screen->networkList->count());
    }
    state.SetComplexityN(state.range(0));
}

void mergeInPlace(benchmark::State& state)
{
    const Message answer = deviceList(static_cast<int>(state.range(0)));
    ChooseNetwork screen;
    screen.handleRecvNetworkList(answer);
    for (auto _ : state) {
        screen.handleRecvNetworkList(answer);
        benchmark::DoNotOptimize(screen.networkList->count());
    }
    state.SetComplexityN(state.range(0));
}

BENCHMARK(fillFromEmpty)->RangeMultiplier(4)->Range(16, 1024)->Complexity();
BENCHMARK(mergeInPlace)->RangeMultiplier(4)->Range(16, 1024)->Complexity();

} // namespace

int main(int argc, char** argv)
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    deviceclassicons::fill();
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
