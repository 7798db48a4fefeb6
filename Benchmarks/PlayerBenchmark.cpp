// How late markers fire and how true a player's time is, in real time, on the output that the
// machine plays on (TWQT_OUTPUT names another one, "silent" needs no hardware). Times of an
// iteration mean nothing here; the counters do:
//
//   marker_lateness   p50_us, p99_us: from a marker's time to its firing, as the player counts it
//   position          slope: player's seconds per second of the steady clock; rms_us: distance from
//                     the straight line; backward: how often the time went back
#include <benchmark/benchmark.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <fstream>
#include <memory>
#include <string>
#include <vector>

#include "NSRunLoop.h"
#include "TWQTAudio.h"

namespace {

using namespace TWQuickTime;

constexpr std::uint32_t kRate = 48000;
constexpr double kSeconds = 12;
constexpr double kMarkerDistance = 0.013;

/// Silence as a sound file, gone with the object.
class SilentFile {
  public:
    SilentFile() {
        const auto bytes = static_cast<std::uint32_t>(kRate * kSeconds) * 2;
        std::ofstream file(path_, std::ios::binary);
        const auto put = [&](std::uint32_t value, int size) {
            file.write(reinterpret_cast<const char*>(&value), size);
        };
        file << "RIFF";
        put(36 + bytes, 4);
        file << "WAVEfmt ";
        put(16, 4);
        put(1, 2);
        put(1, 2);
        put(kRate, 4);
        put(kRate * 2, 4);
        put(2, 2);
        put(16, 2);
        file << "data";
        put(bytes, 4);
        file << std::string(bytes, '\0');
    }
    ~SilentFile() { std::remove(path_.c_str()); }
    SilentFile(const SilentFile&) = delete;
    SilentFile& operator=(const SilentFile&) = delete;

    const std::string& path() const { return path_; }

  private:
    std::string path_ = "/tmp/twqt-player-benchmark.wav";
};

std::shared_ptr<TWQTAudio> loadedPlayer(const std::string& path) {
    auto player = TWQTAudio::audioWithFile(NSString(path), nullptr, nullptr);
    if (const char* output = std::getenv("TWQT_OUTPUT"))
        player->setAttribute(NSString(output), QTMovieSoundOutputAttribute);
    NSRunLoop::currentRunLoop()->runUntil(
        [&] { return player->attributeForKey(QTMovieLoadStateAttribute).intValue() == 100000; });
    return player;
}

void markerLateness(benchmark::State& state) {
    const SilentFile file;
    std::vector<double> lateness;
    for (auto _ : state) {
        const auto player = loadedPlayer(file.path());
        std::vector<std::shared_ptr<NSObject>> markers;
        for (double time = 0.5; time < kSeconds - 0.5; time += kMarkerDistance)
            markers.push_back(std::make_shared<TWQTAudioMarker>(time));
        const auto delegate = std::make_shared<TWQTAudioDelegate>();
        delegate->didFireMarkerForAudio = [&](TWQTAudio& audio, std::uint32_t) {
            lateness.push_back(audio.lastMarkerDelay() * 1e6);
        };
        player->setDelegate(delegate);
        const std::size_t count = markers.size();
        player->setMarkers(TWQTAudio::list(std::move(markers)));
        player->play();
        NSRunLoop::currentRunLoop()->runUntil([&] { return player->isStopped(); });
        if (lateness.size() != count)
            state.SkipWithError("markers were skipped");
    }
    std::ranges::sort(lateness);
    if (lateness.empty())
        return;
    state.counters["p50_us"] = lateness[lateness.size() / 2];
    state.counters["p99_us"] = lateness[(lateness.size() - 1) * 99 / 100];
}

void position(benchmark::State& state) {
    const SilentFile file;
    for (auto _ : state) {
        const auto player = loadedPlayer(file.path());
        player->play();
        const auto loop = NSRunLoop::currentRunLoop();
        std::vector<std::pair<double, double>> readings;  // clock, player
        double last = 0;
        int backward = 0;
        loop->runUntil([&] {
            const double heard = player->currentTimeInSeconds();
            backward += heard < last;
            last = heard;
            if (heard > 1 && heard < kSeconds - 1)
                readings.emplace_back(loop->clock()->nowInSeconds(), heard);
            loop->clock()->sleepForSeconds(0.0017);
            loop->runOnce(0);
            return player->isStopped();
        });
        double meanX = 0;
        double meanY = 0;
        for (const auto& [x, y] : readings) {
            meanX += x / static_cast<double>(readings.size());
            meanY += y / static_cast<double>(readings.size());
        }
        double xx = 0;
        double xy = 0;
        for (const auto& [x, y] : readings) {
            xx += (x - meanX) * (x - meanX);
            xy += (x - meanX) * (y - meanY);
        }
        const double slope = xy / xx;
        double squares = 0;
        for (const auto& [x, y] : readings) {
            const double off = y - meanY - slope * (x - meanX);
            squares += off * off;
        }
        state.counters["slope"] = slope;
        state.counters["rms_us"] = std::sqrt(squares / static_cast<double>(readings.size())) * 1e6;
        state.counters["backward"] = backward;
    }
}

BENCHMARK(markerLateness)->Iterations(1)->Unit(benchmark::kSecond);
BENCHMARK(position)->Iterations(1)->Unit(benchmark::kSecond);

}  // namespace
