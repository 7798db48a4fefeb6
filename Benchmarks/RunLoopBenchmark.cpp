// How late a method with a delay of 1 ms is called: this library's run loop against GLib's, in one
// run. Times of an iteration mean nothing here; the counters do: median and 99th percentile of the
// lateness, in microseconds.
#include <benchmark/benchmark.h>
#include <glib.h>

#include <algorithm>
#include <cstdint>
#include <memory>
#include <vector>

#include "NSRunLoop.h"

namespace {

using namespace TWQuickTime;

constexpr std::int64_t delayInNanoseconds = 1'000'000;

std::int64_t now() {
    return RunLoopClock::steadyClock()->nowInNanoseconds();
}

void report(benchmark::State& state, std::vector<double> latenessInMicroseconds) {
    std::ranges::sort(latenessInMicroseconds);
    const auto percentile = [&](std::size_t percent) {
        return latenessInMicroseconds[(latenessInMicroseconds.size() - 1) * percent / 100];
    };
    if (latenessInMicroseconds.front() < 0)
        state.SkipWithError("called too early");
    state.counters["p50_us"] = percentile(50);
    state.counters["p99_us"] = percentile(99);
}

struct Call {
    void method() { calledAt = now(); }
    std::int64_t calledAt = 0;
};

void oneShotOfTWQuickTime(benchmark::State& state) {
    const auto loop = NSRunLoop::currentRunLoop();
    const auto call = std::make_shared<Call>();
    std::vector<double> lateness;
    for (auto _ : state) {
        const std::int64_t start = now();
        loop->performSelector(call, "method", &Call::method, delayInNanoseconds * 1e-9);
        while (loop->runOnce(NSRunLoop::forever) == 0) {
        }
        lateness.push_back(static_cast<double>(call->calledAt - start - delayInNanoseconds) * 1e-3);
    }
    report(state, std::move(lateness));
}

void oneShotOfGLib(benchmark::State& state) {
    Call call;
    std::vector<double> lateness;
    for (auto _ : state) {
        call.calledAt = 0;
        const std::int64_t start = now();
        g_timeout_add(
            delayInNanoseconds / 1'000'000,
            [](gpointer data) -> gboolean {
                static_cast<Call*>(data)->method();
                return G_SOURCE_REMOVE;
            },
            &call);
        while (call.calledAt == 0)
            g_main_context_iteration(nullptr, TRUE);
        lateness.push_back(static_cast<double>(call.calledAt - start - delayInNanoseconds) * 1e-3);
    }
    report(state, std::move(lateness));
}

void idlePoll(benchmark::State& state) {
    const auto loop = NSRunLoop::currentRunLoop();
    for (auto _ : state)
        benchmark::DoNotOptimize(loop->runOnce());
}

BENCHMARK(oneShotOfTWQuickTime)->Iterations(2000);
BENCHMARK(oneShotOfGLib)->Iterations(2000);
BENCHMARK(oneShotOfTWQuickTime)->Iterations(2000);
BENCHMARK(oneShotOfGLib)->Iterations(2000);
BENCHMARK(idlePoll);

}  // namespace

BENCHMARK_MAIN();
