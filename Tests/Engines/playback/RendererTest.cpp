#include "Engines/playback/Renderer.h"

#include <gtest/gtest.h>

#include <vector>

namespace TWQuickTime::playback {
namespace {

/// A take of one channel that holds first, first + 1, first + 2 …
std::unique_ptr<Take> counting(float first, int frames, std::int64_t length,
                               std::int64_t joinFrame = Take::kAtOnce) {
    auto take = std::make_unique<Take>(PlayPlan{0, {0, length}, false, {1, 1}}, 64, 1);
    take->joinFrame = joinFrame;
    std::vector<float> samples;
    for (int i = 0; i < frames; ++i) {
        samples.push_back(first + float(i));
    }
    take->ring.write(samples);
    return take;
}

class RendererTest : public testing::Test {
  protected:
    RendererTest() { renderer_.prepare({1, 1000}, nullptr); }

    std::vector<float> supplied(std::size_t frames) {
        std::vector<float> samples(frames, -1.0f);
        renderer_.supply(samples);
        return samples;
    }

    Renderer renderer_;
};

TEST_F(RendererTest, GivesSilenceWhenThereIsNothing) {
    EXPECT_EQ(supplied(3), (std::vector<float>{0, 0, 0}));
    EXPECT_FALSE(renderer_.log().at(2));
}

TEST_F(RendererTest, GivesSilenceAfterTheEndAndNotesThat) {
    renderer_.publish(counting(1, 3, 3));
    EXPECT_EQ(supplied(5), (std::vector<float>{1, 2, 3, 0, 0}));
    EXPECT_EQ(renderer_.log().at(2)->takeFrameAt(2), 2);
    EXPECT_EQ(renderer_.log().at(4)->takeFrameAt(4), 3);
    EXPECT_FALSE(renderer_.log().at(4)->moves);
}

TEST_F(RendererTest, StandsStillWhileSoundIsLateAndLosesNothing) {
    auto take = counting(1, 2, 10);
    Take& late = *take;
    renderer_.publish(std::move(take));
    EXPECT_EQ(supplied(4), (std::vector<float>{1, 2, 0, 0}));
    late.ring.write(std::vector<float>{3, 4});
    EXPECT_EQ(supplied(2), (std::vector<float>{3, 4}));
    EXPECT_EQ(renderer_.log().at(3)->takeFrameAt(3), 2);
    EXPECT_EQ(renderer_.log().at(5)->takeFrameAt(5), 3);
}

TEST_F(RendererTest, GoesOverToANewTakeAtTheFrameItJoins) {
    renderer_.publish(counting(1, 10, 10));
    EXPECT_EQ(supplied(2), (std::vector<float>{1, 2}));
    renderer_.publish(counting(50, 5, 5, 4));
    EXPECT_EQ(supplied(4), (std::vector<float>{3, 4, 50, 51}));
}

TEST_F(RendererTest, LeavesOutWhatATakeIsTooLateFor) {
    renderer_.publish(counting(1, 10, 10));
    supplied(6);
    renderer_.publish(counting(50, 5, 5, 4));
    EXPECT_EQ(supplied(2), (std::vector<float>{52, 53}));
}

TEST_F(RendererTest, LeavesOutEvenWhatHasNotComeYet) {
    renderer_.publish(counting(1, 10, 10));
    supplied(6);
    auto take = counting(50, 1, 9, 4);
    Take& slow = *take;
    renderer_.publish(std::move(take));
    EXPECT_EQ(supplied(1), (std::vector<float>{0}));
    slow.ring.write(std::vector<float>{51, 52, 53});
    EXPECT_EQ(supplied(2), (std::vector<float>{52, 53}));
}

TEST_F(RendererTest, DoesNotWaitForAJoinThatTheOldTakeCannotReach) {
    renderer_.publish(counting(1, 3, 10));
    supplied(1);
    renderer_.publish(counting(50, 5, 5, 8));
    EXPECT_EQ(supplied(4), (std::vector<float>{2, 3, 50, 51}));
}

TEST_F(RendererTest, GoesOverAtOnceAfterASeek) {
    renderer_.publish(counting(1, 10, 10));
    supplied(2);
    renderer_.publish(counting(50, 5, 5));
    EXPECT_EQ(supplied(2), (std::vector<float>{50, 51}));
}

TEST_F(RendererTest, GivesBackATakeThatNobodyHasSeen) {
    renderer_.publish(counting(1, 3, 3));
    EXPECT_NE(renderer_.withdraw(), nullptr);
    EXPECT_EQ(renderer_.withdraw(), nullptr);
    EXPECT_EQ(supplied(1), (std::vector<float>{0}));
}

TEST_F(RendererTest, AsksForMoreWhereItMay) {
    auto take = counting(1, 1, 3);
    Take& refilled = *take;
    float next = 2;
    renderer_.prepare({1, 1000}, [&] {
        refilled.ring.write(std::vector<float>{next});
        next += 1;
    });
    renderer_.publish(std::move(take));
    EXPECT_EQ(supplied(4), (std::vector<float>{1, 2, 3, 0}));
}

TEST_F(RendererTest, CountsWithoutSoundWhenNobodyListens) {
    auto take = std::make_unique<Take>(PlayPlan{5, {5, 1'000'000}, false, {1, 1}}, 0, 1);
    renderer_.publish(std::move(take));
    renderer_.skip(900'000);
    const auto entry = renderer_.log().at(900'000);
    ASSERT_TRUE(entry);
    EXPECT_EQ(entry->plan.positionAt(entry->takeFrameAt(900'000)), 900'005);
}

TEST_F(RendererTest, RampsTheVolumeOverFiveMilliseconds) {
    renderer_.publish(counting(1, 0, 50));
    supplied(1);
    auto take = std::make_unique<Take>(PlayPlan{0, {0, 50}, false, {1, 1}}, 64, 1);
    take->ring.write(std::vector<float>(20, 1.0f));
    renderer_.publish(std::move(take));
    supplied(2);
    renderer_.setGain(0.0f);
    const auto ramped = supplied(6);
    for (std::size_t i = 0; i < 6; ++i) {
        EXPECT_NEAR(ramped[i], i < 5 ? 0.8f - 0.2f * float(i) : 0.0f, 1e-6f) << i;
    }
}

TEST_F(RendererTest, TellsTheGreatestSampleOnce) {
    renderer_.publish(counting(1, 3, 3));
    supplied(3);
    EXPECT_EQ(renderer_.takePeak(), 3.0f);
    EXPECT_EQ(renderer_.takePeak(), 0.0f);
}

TEST_F(RendererTest, FreesTakesThatWerePlayed) {
    for (int i = 0; i < 5; ++i) {
        renderer_.publish(counting(float(i), 5, 5));
        supplied(1);
    }
    renderer_.collectRetired();
    renderer_.reset();
    EXPECT_EQ(supplied(1), (std::vector<float>{0}));
}

}  // namespace
}  // namespace TWQuickTime::playback
