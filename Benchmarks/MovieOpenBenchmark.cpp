// Opening a movie of a million samples and finding one of them: this library against libavformat,
// in one run. "heap" is what the open movie holds.
#include <benchmark/benchmark.h>
#include <malloc.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <string>

#include "Engines/moviefile/Descriptions.h"
#include "Engines/moviefile/MovieReader.h"
#include "Engines/moviefile/MovieWriter.h"

extern "C" {
#include <libavformat/avformat.h>
}

namespace {

using namespace TWQuickTime;
using timeline::fourCharCode;

constexpr std::uint32_t kSamples = 1'000'000;

/// A movie file of a video track whose samples differ in size, duration and order of display.
class MillionSamples {
  public:
    MillionSamples() : path_("/tmp/twqt-million-" + std::to_string(getpid()) + ".mov") {
        timeline::Movie movie;
        timeline::Track& track = movie.addTrack({64 << 16, 48 << 16}, 0);
        track.media = timeline::makeMedia(fourCharCode("vide"), 30000);
        moviefile::VideoDescription description;
        description.head.format = fourCharCode("jpeg");
        description.width = 64;
        description.height = 48;
        track.media->addDescription(buildDescription(description));
        std::uint64_t offset = 1000;
        bool added = true;
        for (std::uint32_t i = 0; i < kSamples && added; ++i) {
            offset += i % 10 == 0 ? 4096 : 0;
            const std::uint32_t size = 100 + i * 7919 % 1000;
            added = track.media->samples
                        .append({.offset = offset,
                                 .sizeInBytes = size,
                                 .duration = 1000 + i % 3,
                                 .compositionOffset = static_cast<std::int32_t>(i % 4 * 1000),
                                 .sync = i % 12 == 0})
                        .ok();
            offset += size;
        }
        const auto shown = insertMedia(movie, track, 0, 0, track.media->duration());
        const auto bytes = moviefile::writeMovieAtom(movie);
        if (!added || !shown || !bytes)
            std::abort();
        std::ofstream file(path_, std::ios::binary);
        file.write(
            "\0\0\0\x14"
            "ftypqt  \0\0\2\0qt  ",
            20);
        file.write(reinterpret_cast<const char*>(bytes->data()),
                   static_cast<std::streamsize>(bytes->size()));
    }
    ~MillionSamples() { unlink(path_.c_str()); }

    const std::string& path() const { return path_; }

  private:
    std::string path_;
};

const MillionSamples movieFile;

double heapInBytes() {
    const struct mallinfo2 info = mallinfo2();
    return static_cast<double>(info.uordblks + info.hblkhd);
}

void openWithTWQuickTime(benchmark::State& state) {
    double heap = 0;
    for (auto _ : state) {
        const double before = heapInBytes();
        const auto opened = moviefile::openMovieFile(movieFile.path());
        if (!opened || opened->movie->tracks[0]->media->samples.sampleCount() != kSamples)
            state.SkipWithError("not all samples are there");
        heap = std::max(heap, heapInBytes() - before);
    }
    state.counters["heap"] = heap;
}
BENCHMARK(openWithTWQuickTime)->Unit(benchmark::kMillisecond);

void openAndFindASampleWithTWQuickTime(benchmark::State& state) {
    double heap = 0;
    for (auto _ : state) {
        const double before = heapInBytes();
        const auto opened = moviefile::openMovieFile(movieFile.path());
        const auto& samples = opened->movie->tracks[0]->media->samples;
        const auto index = samples.sampleAtDisplayTime(500'000'000);
        if (!index || !samples.sample(*index))
            state.SkipWithError("the sample is not there");
        heap = std::max(heap, heapInBytes() - before);
    }
    state.counters["heap"] = heap;
}
BENCHMARK(openAndFindASampleWithTWQuickTime)->Unit(benchmark::kMillisecond);

void findASampleInAnOpenMovie(benchmark::State& state) {
    const auto opened = moviefile::openMovieFile(movieFile.path());
    const auto& samples = opened->movie->tracks[0]->media->samples;
    std::int64_t time = 0;
    for (auto _ : state) {
        time = (time + 123'456'789) % samples.duration();
        const auto index = samples.sampleAtDisplayTime(time);
        benchmark::DoNotOptimize(samples.sample(*index));
    }
}
BENCHMARK(findASampleInAnOpenMovie)->Unit(benchmark::kMicrosecond);

void walkAllSamples(benchmark::State& state) {
    const auto opened = moviefile::openMovieFile(movieFile.path());
    for (auto _ : state) {
        auto cursor = opened->movie->tracks[0]->media->samples.cursor(0);
        timeline::Sample sample;
        std::uint64_t size = 0;
        while (cursor.next(sample))
            size += sample.sizeInBytes;
        benchmark::DoNotOptimize(size);
    }
}
BENCHMARK(walkAllSamples)->Unit(benchmark::kMillisecond);

void openWithLibavformat(benchmark::State& state) {
    double heap = 0;
    for (auto _ : state) {
        const double before = heapInBytes();
        AVFormatContext* format = nullptr;
        if (avformat_open_input(&format, movieFile.path().c_str(), nullptr, nullptr) < 0 ||
            format->streams[0]->nb_frames != kSamples)
            state.SkipWithError("not all samples are there");
        heap = std::max(heap, heapInBytes() - before);
        avformat_close_input(&format);
    }
    state.counters["heap"] = heap;
}
BENCHMARK(openWithLibavformat)->Unit(benchmark::kMillisecond);

}  // namespace
