#include "Engines/moviefile/Interleaver.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Engines/moviefile/MediaRuns.h"
#include "Engines/timeline/Movie.h"

namespace TWQuickTime::moviefile::test {
namespace {

using result::Expected;
using result::FailureKind;
using result::Status;
using ::testing::ElementsAre;

class ListedRuns final : public SampleRunStream {
  public:
    explicit ListedRuns(std::vector<SampleRun> runs) : runs_(std::move(runs)) {}
    void rewind() override { next_ = 0; }
    Expected<std::optional<SampleRun>> next() override {
        if (next_ == runs_.size())
            return std::optional<SampleRun>();
        return std::optional(runs_[next_++]);
    }

  private:
    std::vector<SampleRun> runs_;
    std::size_t next_ = 0;
};

SampleRun runAt(std::int64_t time, bool beginsChunk = true) {
    SampleRun run;
    run.time = time;
    run.beginsChunk = beginsChunk;
    return run;
}

std::string orderOf(Interleaver& interleaver) {
    std::string order;
    const Status visited = interleaver.forEachRun([&](std::size_t track, const SampleRun& run) {
        order += static_cast<char>('a' + track) + std::to_string(run.time) + " ";
        return Status();
    });
    EXPECT_TRUE(visited);
    return order;
}

Interleaver interleaverOf(std::vector<std::vector<SampleRun>> tracks) {
    std::vector<std::unique_ptr<SampleRunStream>> streams;
    for (std::vector<SampleRun>& track : tracks)
        streams.push_back(std::make_unique<ListedRuns>(std::move(track)));
    return Interleaver(std::move(streams));
}

TEST(Interleaver, MergesByTimeAndPrefersEarlierTracks) {
    Interleaver interleaver =
        interleaverOf({{runAt(0), runAt(10), runAt(20)}, {runAt(0), runAt(5), runAt(20)}, {}});
    EXPECT_EQ(orderOf(interleaver), "a0 b0 b5 a10 a20 b20 ");
    EXPECT_EQ(orderOf(interleaver), "a0 b0 b5 a10 a20 b20 ");
}

TEST(Interleaver, KeepsAChunkTogetherAndATracksOrder) {
    Interleaver interleaver =
        interleaverOf({{runAt(0), runAt(9, false), runAt(30), runAt(2)}, {runAt(1), runAt(8)}});
    EXPECT_EQ(orderOf(interleaver), "a0 a9 b1 b8 a30 a2 ");
}

TEST(Interleaver, StopsAtTheFirstFailure) {
    Interleaver interleaver = interleaverOf({{runAt(0), runAt(1)}});
    int visits = 0;
    const Status visited = interleaver.forEachRun([&](std::size_t, const SampleRun&) -> Status {
        ++visits;
        return result::Failure{FailureKind::cancelled, "enough"};
    });
    EXPECT_FALSE(visited);
    EXPECT_EQ(visits, 1);
}

/// A track of a movie whose media has one description and its data in memory.
struct MemoryTrack {
    std::shared_ptr<timeline::MemorySampleStore> store =
        std::make_shared<timeline::MemorySampleStore>();
    timeline::Movie movie;

    MemoryTrack() {
        movie.timeScale = 1000;
        timeline::Track& added = movie.addTrack({}, 0);
        added.media = timeline::makeMedia(timeline::fourCharCode("vide"), 100);
        timeline::DataReference reference;
        reference.type = timeline::fourCharCode("hndl");
        reference.store = store;
        added.media->dataReferences.push_back(reference);
        addDescription();
    }
    timeline::Track& track() { return *movie.tracks.front(); }
    timeline::Media& media() { return *track().media; }

    void addDescription() {
        std::vector<std::byte> bytes(16 + media().descriptions.size());
        bytes[3] = static_cast<std::byte>(bytes.size());
        bytes[15] = std::byte{1};
        media().descriptions.emplace_back(timeline::SharedBytes::adopt(std::move(bytes)));
    }
    void add(std::uint64_t offset, std::uint32_t size, std::uint32_t count, std::uint32_t duration,
             std::uint32_t description = 1) {
        timeline::NewSamples samples;
        samples.offset = offset;
        samples.sizeInBytes = size;
        samples.count = count;
        samples.duration = duration;
        samples.descriptionIndex = description;
        ASSERT_TRUE(media().samples.append(samples));
    }
    void showAll() { ASSERT_TRUE(timeline::insertMedia(movie, track(), 0, 0, media().duration())); }
    std::vector<SampleRun> runs(RunOrder order = RunOrder::byTime) {
        std::vector<SampleRun> all;
        auto stream = makeMediaRuns(track(), movie.timeScale, order);
        while (true) {
            auto run = stream->next();
            EXPECT_TRUE(run) << run.failure().message;
            if (!run || !*run)
                return all;
            all.push_back(**run);
        }
    }
};

TEST(MediaRuns, CutsALongChunkIntoHalfSeconds) {
    MemoryTrack track;
    ASSERT_TRUE(track.store->append(std::vector<std::byte>(1200)));
    track.add(0, 10, 120, 1);
    track.showAll();
    const auto runs = track.runs();
    ASSERT_EQ(runs.size(), 3u);
    EXPECT_EQ(runs[0].sampleCount, 50u);
    EXPECT_EQ(runs[1].sampleCount, 50u);
    EXPECT_EQ(runs[2].sampleCount, 20u);
    EXPECT_EQ(runs[1].offset, 500u);
    EXPECT_EQ(runs[2].sizeInBytes, 200u);
    EXPECT_EQ(runs[2].time, 1000);
    EXPECT_TRUE(runs[1].beginsChunk);
}

TEST(MediaRuns, JoinsShortChunksAndCutsAtAnotherDescription) {
    MemoryTrack track;
    track.addDescription();
    ASSERT_TRUE(track.store->append(std::vector<std::byte>(1000)));
    track.add(0, 10, 1, 10);
    track.add(100, 10, 1, 10);
    track.add(200, 10, 1, 10, 2);
    track.add(300, 10, 1, 100, 2);
    track.add(400, 10, 1, 10, 2);
    track.showAll();
    const auto runs = track.runs();
    ASSERT_EQ(runs.size(), 5u);
    std::vector<bool> begins;
    for (const SampleRun& run : runs)
        begins.push_back(run.beginsChunk);
    EXPECT_THAT(begins, ElementsAre(true, false, true, false, true));
    EXPECT_EQ(runs[2].descriptionIndex, 2u);
}

TEST(MediaRuns, SamplesLongerThanAChunkComeOneByOne) {
    MemoryTrack track;
    ASSERT_TRUE(track.store->append(std::vector<std::byte>(30)));
    track.add(0, 10, 3, 500);
    track.showAll();
    const auto runs = track.runs();
    ASSERT_EQ(runs.size(), 3u);
    EXPECT_EQ(runs[2].time, 10'000);
}

TEST(MediaRuns, TimesFollowTheEdits) {
    MemoryTrack track;
    ASSERT_TRUE(track.store->append(std::vector<std::byte>(40)));
    track.add(0, 10, 4, 100);
    // Two seconds of nothing, the third second of the media, then the first.
    track.track().edits =
        timeline::EditList({{2000, timeline::kEmptyMediaTime}, {1000, 200}, {1000, 0}});
    const auto runs = track.runs();
    ASSERT_EQ(runs.size(), 4u);
    EXPECT_EQ(runs[0].time, 3000);
    EXPECT_EQ(runs[1].time, 3000) << "a sample that is never shown goes with the one before";
    EXPECT_EQ(runs[2].time, 2000);
    for (const SampleRun& run : track.runs(RunOrder::byTrack))
        EXPECT_EQ(run.time, 0);
}

TEST(MediaRuns, DataThatEndTooEarlyOrCannotBeOpenedAreTold) {
    MemoryTrack track;
    ASSERT_TRUE(track.store->append(std::vector<std::byte>(25)));
    track.add(0, 10, 3, 1);
    track.showAll();
    auto stream = makeMediaRuns(track.track(), 1000, RunOrder::byTime);
    const auto cut = stream->next();
    ASSERT_FALSE(cut);
    EXPECT_EQ(cut.failure().kind, FailureKind::truncated);
    EXPECT_EQ(cut.failure().message, "track 1, chunk at 0: reaches past the end of its data");

    track.media().dataReferences.front().store = nullptr;
    stream = makeMediaRuns(track.track(), 1000, RunOrder::byTime);
    EXPECT_EQ(stream->next().failure().kind, FailureKind::notAvailable);
}

TEST(MediaRuns, SamplesWithoutDurationStayTogether) {
    MemoryTrack track;
    ASSERT_TRUE(track.store->append(std::vector<std::byte>(5000)));
    track.add(0, 1, 5000, 0);
    const auto runs = track.runs();
    ASSERT_EQ(runs.size(), 1u);
    EXPECT_EQ(runs[0].sampleCount, 5000u);
}

}  // namespace
}  // namespace TWQuickTime::moviefile::test
