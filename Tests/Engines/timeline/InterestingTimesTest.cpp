#include "Engines/timeline/InterestingTimes.h"

#include <gtest/gtest.h>

namespace TWQuickTime::timeline {
namespace {

constexpr auto kForward = SearchDirection::forward;
constexpr auto kBackward = SearchDirection::backward;

/// 25 frames per second on a movie time scale of 600: frames begin every 24 units.
class InterestingTimes : public testing::Test {
  protected:
    InterestingTimes() : track(movie.addTrack({}, 0)) {
        track.media = makeMedia(fourCharCode("vide"), 25);
        for (std::uint32_t i = 0; i < 50; ++i) {
            const NewSamples frame{
                .offset = i * 10, .sizeInBytes = 10, .duration = 1, .sync = i % 10 == 0};
            EXPECT_TRUE(track.media->samples.append(frame));
        }
        EXPECT_TRUE(insertMedia(movie, track, 0, 0, 50));
    }

    std::int64_t find(std::uint32_t kinds, std::int64_t time, SearchDirection direction,
                      bool included = false) {
        const auto found = nextInterestingTime(movie, kinds, {}, time, direction, included);
        return found ? found->time : -1;
    }

    Movie movie;
    Track& track;
};

TEST_F(InterestingTimes, TheNextSampleForwardIsNeverTheOneThatBeginsNow) {
    EXPECT_EQ(find(kMediaSamples, 0, kForward), 24);
    EXPECT_EQ(find(kMediaSamples, 23, kForward), 24);
    EXPECT_EQ(find(kMediaSamples, 24, kForward), 48);
    EXPECT_EQ(find(kMediaSamples, 1176, kForward), -1);
}

TEST_F(InterestingTimes, TheSampleThatBeginsNowCountsWhenAskedFor) {
    EXPECT_EQ(find(kMediaSamples, 0, kForward, true), 0);
    EXPECT_EQ(find(kMediaSamples, 1, kForward, true), 24);
    EXPECT_EQ(find(kMediaSamples, 25, kBackward, true), 24);
}

TEST_F(InterestingTimes, BackwardPassesOverTheSampleThatIsShown) {
    EXPECT_EQ(find(kMediaSamples, 48, kBackward), 24);
    EXPECT_EQ(find(kMediaSamples, 30, kBackward), 0);
    EXPECT_EQ(find(kMediaSamples, 0, kBackward), -1);
    EXPECT_EQ(find(kMediaSamples, 1200, kBackward), 1176);
}

TEST_F(InterestingTimes, WalkingForwardAndBackwardMeetsEverySampleOnce) {
    std::vector<std::int64_t> forward{0};
    for (std::int64_t time = find(kMediaSamples, 0, kForward); time >= 0;
         time = find(kMediaSamples, time, kForward))
        forward.push_back(time);
    EXPECT_EQ(forward.size(), 50u);
    std::vector<std::int64_t> backward;
    for (std::int64_t time = find(kMediaSamples, 1200, kBackward); time >= 0;
         time = find(kMediaSamples, time, kBackward))
        backward.insert(backward.begin(), time);
    EXPECT_EQ(backward, forward);
}

TEST_F(InterestingTimes, SyncSamplesAreFoundOnBothSides) {
    EXPECT_EQ(find(kSyncSamples, 0, kForward), 240);
    EXPECT_EQ(find(kSyncSamples, 0, kForward, true), 0);
    EXPECT_EQ(find(kSyncSamples, 500, kBackward), 240);
    EXPECT_EQ(find(kSyncSamples, 960, kForward), -1);
}

TEST_F(InterestingTimes, TheDurationReachesToTheNextOne) {
    const auto found = nextInterestingTime(movie, kMediaSamples, {}, 0, kForward, true);
    ASSERT_TRUE(found);
    EXPECT_EQ(found->duration, 24);
    const auto last = nextInterestingTime(movie, kMediaSamples, {}, 1176, kForward, true);
    ASSERT_TRUE(last);
    EXPECT_EQ(last->duration, 24);
}

TEST_F(InterestingTimes, EditsAreFoundAtTheirEdges) {
    track.edits = EditList({{100, kEmptyMediaTime}, {240, 0}, {60, 30, 0}});
    EXPECT_EQ(find(kTrackEdits, 0, kForward), 100);
    EXPECT_EQ(find(kTrackEdits, 100, kForward), 340);
    EXPECT_EQ(find(kMediaEdits, 0, kForward), 100);
    EXPECT_EQ(find(kTrackEdits, 350, kBackward), 100);
    EXPECT_EQ(find(kMediaEdits, 350, kBackward), 100);
    EXPECT_EQ(find(kMediaEdits, 100, kBackward), -1);
    EXPECT_EQ(find(kTrackEdits, 100, kBackward), 0);
}

TEST_F(InterestingTimes, AnEditThatBeginsWithinASampleBeginsASample) {
    track.media->timeScale = 250;  // a frame lasts one unit, 2.4 movie units
    track.edits = EditList({{24, 0}, {24, 20}});
    EXPECT_EQ(find(kMediaSamples, 22, kForward), 24);
    EXPECT_EQ(find(kMediaSamples, 0, kForward), 3);
}

TEST_F(InterestingTimes, ManySamplesWithinOneUnitOfTheMovieAreOneTime) {
    track.media->timeScale = 48000;
    ASSERT_TRUE(track.media->samples.append(
        {.offset = 500, .sizeInBytes = 10, .count = 10000, .duration = 1}));
    track.edits = EditList({{100, 0}});
    EXPECT_EQ(find(kMediaSamples, 10, kForward), 11);
    EXPECT_EQ(find(kMediaSamples, 11, kBackward), 10);
}

TEST_F(InterestingTimes, FramesAreFoundInTheOrderInWhichTheyAreShown) {
    Track& reordered = movie.addTrack({}, 0);
    reordered.media = makeMedia(fourCharCode("vide"), 25);
    // Decoded I P B B, shown I B B P.
    for (const std::int32_t offset : {1, 3, 0, 0})
        ASSERT_TRUE(reordered.media->samples.append(
            {.sizeInBytes = 1, .duration = 1, .compositionOffset = offset}));
    ASSERT_TRUE(insertMedia(movie, reordered, 0, 1, 3));
    track.setEnabled(false);
    EXPECT_EQ(find(kMediaSamples, 0, kForward), 24);
    EXPECT_EQ(find(kMediaSamples, 24, kForward), 48);
    EXPECT_EQ(find(kMediaSamples, 48, kForward), -1);
}

TEST_F(InterestingTimes, DisabledTracksAndOtherMediaTypesDoNotCount) {
    const FourCharCode sound[] = {fourCharCode("soun")};
    EXPECT_FALSE(nextInterestingTime(movie, kMediaSamples, sound, 0, kForward, true));
    track.setEnabled(false);
    EXPECT_EQ(find(kMediaSamples, 0, kForward), -1);
}

TEST_F(InterestingTimes, ATrackWithoutMediaHasOnlyEdits) {
    Track bare;
    bare.edits = EditList({{100, kEmptyMediaTime}, {50, 0}});
    EXPECT_TRUE(nextInterestingTime(bare, 600, kTrackEdits, 0, kForward, false));
    EXPECT_EQ(nextInterestingTime(bare, 600, kMediaSamples, 0, kForward, false)->time, 100);
    EXPECT_FALSE(nextInterestingTime(bare, 600, kMediaSamples, 100, kForward, false));
}

}  // namespace
}  // namespace TWQuickTime::timeline
