// Timecode of every frame of an hour, as numbers and as text.
#include <benchmark/benchmark.h>

#include <cstdint>

#include "TWUQuickTimeMovie.h"

namespace {

using TWQuickTime::NSString;
using TWQuickTime::TimeCodeTime;
using TWQuickTime::TWUQuickTimeMovie;

constexpr std::int32_t kFrames = 3600 * 25;

void framesToTimeCodes(benchmark::State& state) {
    std::int32_t rate = 25;
    benchmark::DoNotOptimize(rate);
    for (auto _ : state)
        for (std::int32_t frame = 0; frame < kFrames; ++frame) {
            TimeCodeTime timeCode = TWUQuickTimeMovie::frameToTimeCode(frame, rate);
            benchmark::DoNotOptimize(timeCode);
        }
    state.SetItemsProcessed(state.iterations() * kFrames);
}
BENCHMARK(framesToTimeCodes);

void timeCodesToFrames(benchmark::State& state) {
    std::int32_t rate = 25;
    benchmark::DoNotOptimize(rate);
    for (auto _ : state)
        for (std::int32_t i = 0; i < kFrames; ++i) {
            const TimeCodeTime timeCode{1, static_cast<std::uint8_t>(i >> 8),
                                        static_cast<std::uint8_t>(i), 4};
            benchmark::DoNotOptimize(TWUQuickTimeMovie::timeCodeToFrame(timeCode, rate));
        }
    state.SetItemsProcessed(state.iterations() * kFrames);
}
BENCHMARK(timeCodesToFrames);

void framesToStrings(benchmark::State& state) {
    for (auto _ : state)
        for (std::int32_t frame = 0; frame < kFrames; ++frame) {
            NSString text = TWUQuickTimeMovie::timeCodeStringForFrame(frame, 25, true, true);
            benchmark::DoNotOptimize(text);
        }
    state.SetItemsProcessed(state.iterations() * kFrames);
}
BENCHMARK(framesToStrings);

void stringsToFrames(benchmark::State& state) {
    const NSString text = "01:02:03:04";
    for (auto _ : state) {
        std::int32_t frame = 0;
        benchmark::DoNotOptimize(TWUQuickTimeMovie::timeCodeStringToTCT(text, 25, nullptr, &frame));
        benchmark::DoNotOptimize(frame);
    }
    state.SetItemsProcessed(state.iterations());
}
BENCHMARK(stringsToFrames);

}  // namespace
