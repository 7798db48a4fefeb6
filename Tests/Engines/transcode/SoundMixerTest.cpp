#include "Engines/transcode/SoundMixer.h"

#include <gtest/gtest.h>

#include <cmath>

#include "TestMovie.h"

namespace TWQuickTime::transcode {
namespace {

using test::addLevels;

constexpr std::uint32_t kRate = 48000;

/// 0, 1, 2 … as sixteen-bit levels.
std::vector<std::int16_t> counting(int count, int first = 0) {
    std::vector<std::int16_t> levels;
    for (int i = 0; i < count; ++i) {
        levels.push_back(static_cast<std::int16_t>(first + i));
    }
    return levels;
}

/// The mixed levels as sixteen-bit numbers.
std::vector<int> mixed(const timeline::Movie& movie, Time start, std::size_t frames) {
    auto mixer = SoundMixer::open(movie, {1, double(kRate)}, start, nullptr);
    EXPECT_TRUE(mixer);
    std::vector<float> samples;
    std::vector<int> levels;
    // In odd blocks, as an export asks.
    for (std::size_t done = 0; done < frames; done += samples.size()) {
        EXPECT_TRUE((*mixer)->mix(std::min<std::size_t>(77, frames - done), samples));
        for (const float sample : samples) {
            levels.push_back(int(std::lround(sample * 32768)));
        }
    }
    return levels;
}

TEST(SoundMixer, GivesEverySampleOfATrackInItsPlace) {
    timeline::Movie movie;
    movie.timeScale = kRate;
    addLevels(movie, counting(1000), kRate);
    const std::vector<int> levels = mixed(movie, {0, kRate}, 1200);
    for (int i = 0; i < 1200; ++i) {
        ASSERT_EQ(levels[std::size_t(i)], i < 1000 ? i : 0);
    }
}

TEST(SoundMixer, StartsAnywhereToTheSample) {
    timeline::Movie movie;
    movie.timeScale = kRate;
    addLevels(movie, counting(1000), kRate);
    EXPECT_EQ(mixed(movie, {333, kRate}, 3), (std::vector<int>{333, 334, 335}));
}

TEST(SoundMixer, GoesToAnyPlaceOfTheMovieWhereverItBegan) {
    timeline::Movie movie;
    movie.timeScale = kRate;
    addLevels(movie, counting(1000), kRate);
    auto mixer = SoundMixer::open(movie, {1, double(kRate)}, {500, kRate}, nullptr);
    ASSERT_TRUE(mixer);
    std::vector<float> samples;
    for (const int place : {500, 700, 3, 4, 999, 0}) {
        (*mixer)->seek(place);
        ASSERT_TRUE((*mixer)->mix(1, samples).ok());
        EXPECT_EQ(std::lround(samples[0] * 32768), place);
    }
}

TEST(SoundMixer, AddsTracksByTheirVolumes) {
    timeline::Movie movie;
    movie.timeScale = kRate;
    addLevels(movie, std::vector<std::int16_t>(100, 1000), kRate);
    addLevels(movie, std::vector<std::int16_t>(100, 400), kRate).volume = 0x80;
    addLevels(movie, std::vector<std::int16_t>(100, 5000), kRate).setEnabled(false);
    EXPECT_EQ(mixed(movie, {0, kRate}, 1), std::vector<int>{1200});
}

TEST(SoundMixer, HonoursGapsAndPartsOfTheMediaToTheSample) {
    timeline::Movie movie;
    movie.timeScale = kRate;
    timeline::Track& track = addLevels(movie, counting(1000), kRate, false);
    track.edits = timeline::EditList({{10, timeline::kEmptyMediaTime, timeline::kFixedOne},
                                      {20, 500, timeline::kFixedOne},
                                      {5, timeline::kEmptyMediaTime, timeline::kFixedOne},
                                      {20, 100, timeline::kFixedOne}});
    const std::vector<int> levels = mixed(movie, {0, kRate}, 60);
    for (int i = 0; i < 60; ++i) {
        const int expected = i < 10 ? 0 : i < 30 ? 490 + i : i < 35 ? 0 : i < 55 ? 65 + i : 0;
        ASSERT_EQ(levels[std::size_t(i)], expected) << i;
    }
}

TEST(SoundMixer, IsSilentWhileATrackDwells) {
    timeline::Movie movie;
    movie.timeScale = kRate;
    timeline::Track& track = addLevels(movie, counting(1000, 500), kRate, false);
    track.edits = timeline::EditList({{100, 50, 0}});
    EXPECT_EQ(mixed(movie, {0, kRate}, 1), std::vector<int>{0});
}

TEST(SoundMixer, ResamplesATrackOfAnotherRateWithoutMovingIt) {
    timeline::Movie movie;
    movie.timeScale = 600;
    std::vector<std::int16_t> tone;
    for (int i = 0; i < 22050; ++i) {
        tone.push_back(static_cast<std::int16_t>(8000 * std::sin(2 * M_PI * 441 * i / 44100.0)));
    }
    addLevels(movie, tone, 44100);
    for (const std::int64_t start : {0, 120}) {
        const std::vector<int> levels = mixed(movie, {start, 600}, 4800);
        double worst = 0;
        for (int i = 200; i < 4600; ++i) {
            const double seconds = double(start) / 600 + double(i) / kRate;
            const double expected = 8000 * std::sin(2 * M_PI * 441 * seconds);
            worst = std::max(worst, std::abs(expected - levels[std::size_t(i)]));
        }
        EXPECT_LT(worst, 30) << start;
    }
}

TEST(SoundMixer, NeverPassesFullScaleAndTouchesNothingBelowIt) {
    timeline::Movie movie;
    movie.timeScale = kRate;
    addLevels(movie, std::vector<std::int16_t>(100, 30000), kRate);
    addLevels(movie, std::vector<std::int16_t>(100, 30000), kRate);
    const int loud = mixed(movie, {0, kRate}, 1).front();
    EXPECT_GT(loud, 32000);
    EXPECT_LE(loud, 32768);
}

TEST(SoundMixer, FailsForAMovieWithoutSound) {
    timeline::Movie movie;
    const auto mixer = SoundMixer::open(movie, {2, 48000}, {0, 600}, nullptr);
    ASSERT_FALSE(mixer);
    EXPECT_EQ(mixer.failure().kind, result::FailureKind::notFound);
}

}  // namespace
}  // namespace TWQuickTime::transcode
