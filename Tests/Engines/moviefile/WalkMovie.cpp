#include "WalkMovie.h"

#include <algorithm>
#include <cstdlib>

#include "Engines/moviefile/Descriptions.h"
#include "Engines/moviefile/MovieReader.h"
#include "Engines/moviefile/MovieWriter.h"
#include "Engines/timeline/InterestingTimes.h"

namespace TWQuickTime::moviefile::test {
namespace {

using timeline::Media;
using timeline::Movie;
using timeline::Sample;
using timeline::SearchDirection;
using timeline::Track;

constexpr int kSamplesWalked = 2000;
constexpr std::uint32_t kChunksWalked = 2000;
constexpr std::int64_t kOddTimes[] = {-1, 0, 1, 599, 0x7FFFFFFF, 0x7FFFFFFFFFFFFFFF};

void require(bool holds) {
    if (!holds)
        std::abort();
}

void walkMedia(const Media& media) {
    const timeline::SampleTable& samples = media.samples;
    Sample sample;
    auto cursor = samples.cursor(0);
    for (int i = 0; i < kSamplesWalked && cursor.next(sample); ++i) {
        const auto found = samples.sample(sample.index);
        require(found.ok());
        require(found->offset == sample.offset && found->sizeInBytes == sample.sizeInBytes &&
                found->decodeTime == sample.decodeTime);
    }
    for (const std::uint32_t index : {0u, 1u, samples.sampleCount() - 1, 0xFFFFFFFFu}) {
        const auto found = samples.sample(index);
        samples.syncSampleAtOrBefore(index);
        samples.syncSampleAtOrAfter(index);
        auto from = samples.cursor(index);
        require(from.next(sample) == found.ok());
    }
    for (std::uint32_t chunk = 0; chunk < std::min(samples.chunkCount(), kChunksWalked); ++chunk) {
        const auto run = samples.chunk(chunk);
        require(!run || run->sampleCount <= samples.sampleCount());
    }
    for (const std::int64_t time : kOddTimes) {
        samples.sampleAtDecodeTime(time);
        samples.sampleAtDisplayTime(time);
        samples.sampleDisplayedAfter(time);
    }
    for (const timeline::SampleDescription& description : media.descriptions) {
        if (const auto video = readVideoDescription(description))
            require(buildDescription(*video).bytes().size() == description.bytes().size());
        if (const auto sound = readSoundDescription(description))
            require(buildDescription(*sound).bytes().size() == description.bytes().size());
        if (const auto timecode = readTimecodeDescription(description))
            require(buildDescription(*timecode).bytes().size() == description.bytes().size());
    }
}

void walkTrack(const Movie& movie, const Track& track) {
    if (!track.media)
        return;
    walkMedia(*track.media);
    for (const std::int64_t time : kOddTimes) {
        track.edits.mediaTimeAt(time, movie.timeScale, track.media->timeScale);
        track.edits.trackTimeOf(time, movie.timeScale, track.media->timeScale);
        for (const auto direction : {SearchDirection::forward, SearchDirection::backward}) {
            for (const bool included : {false, true})
                nextInterestingTime(track, movie.timeScale, timeline::kMediaSamples, time,
                                    direction, included);
        }
    }
}

}  // namespace

void walkMovie(Movie& movie) {
    movie.duration();
    for (const auto& track : movie.tracks)
        walkTrack(movie, *track);
    WriteOptions keep;
    keep.fragments = Fragments::keep;
    const auto unchanged = writeMovieAtom(movie, keep);
    require(unchanged.ok());
    require(readMovieAtom(SharedBytes::adopt(*unchanged)).ok());

    const bool rescaled = movie.setTimeScale(1000).ok();
    require(rescaled);
    movie.userData.add(fourCharCode("note"), SharedBytes());
    for (const auto& track : movie.tracks) {
        if (!track->media)
            continue;
        const auto appended =
            track->media->samples.append({.offset = 1u << 31, .sizeInBytes = 7, .duration = 3});
        if (appended) {
            const auto last = track->media->samples.sample(track->media->samples.sampleCount() - 1);
            require(last.ok() && last->sizeInBytes == 7);
        }
    }
    WriteOptions plain;
    plain.compression = Compression::never;
    const auto changed = writeMovieAtom(movie, plain);
    if (!changed)
        return;
    const auto measured = measureMovieAtom(movie, plain);
    require(measured && *measured == changed->size());
    const auto again = readMovieAtom(SharedBytes::adopt(*changed));
    require(again.ok());
    const auto rewritten = writeMovieAtom(**again);
    require(rewritten && *rewritten == *changed);
}

}  // namespace TWQuickTime::moviefile::test
