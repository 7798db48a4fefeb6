#include "Engines/transcode/PcmCopy.h"

#include <gtest/gtest.h>

#include <numeric>

#include "TestMovie.h"

namespace TWQuickTime::transcode {
namespace {

using codec::fourCode;

std::unique_ptr<codec::SoundEncoder> encoderFor(const char (&type)[5], int rate = 8000,
                                                int channels = 1) {
    codec::SoundEncoderSettings settings;
    settings.codec = fourCode(type);
    settings.sampleRate = rate;
    settings.channels = channels;
    auto encoder = codec::SoundEncoder::open(settings);
    EXPECT_TRUE(encoder);
    return std::move(*encoder);
}

std::vector<std::int16_t> countTo(int count) {
    std::vector<std::int16_t> levels(static_cast<std::size_t>(count));
    std::iota(levels.begin(), levels.end(), std::int16_t{1});
    return levels;
}

/// All samples as they lie in little-endian packets.
std::vector<std::int16_t> littleEndian(PcmCopy& copy) {
    std::vector<std::int16_t> levels;
    while (const auto packet = copy.next()) {
        EXPECT_EQ(packet->presentationTime, std::int64_t(levels.size()));
        EXPECT_EQ(packet->duration * 2, std::int64_t(packet->bytes.size()));
        for (std::size_t i = 0; i < packet->bytes.size(); i += 2) {
            levels.push_back(
                static_cast<std::int16_t>(std::to_integer<unsigned>(packet->bytes[i]) |
                                          std::to_integer<unsigned>(packet->bytes[i + 1]) << 8));
        }
    }
    return levels;
}

TEST(PcmCopy, TurnsTheBytesOfSamplesAroundAndChangesNothingElse) {
    timeline::Movie movie;
    movie.timeScale = 8000;
    test::addLevels(movie, countTo(20000), 8000);
    const auto encoder = encoderFor("sowt");
    const auto copy = PcmCopy::open(movie, nullptr, *encoder, {0, 8000}, 20000);
    ASSERT_TRUE(copy);
    EXPECT_EQ(littleEndian(*copy), countTo(20000));
}

TEST(PcmCopy, BeginsAndEndsARangeAtExactFrames) {
    timeline::Movie movie;
    movie.timeScale = 8000;
    test::addLevels(movie, countTo(100), 8000);
    const auto encoder = encoderFor("sowt");
    const auto copy = PcmCopy::open(movie, nullptr, *encoder, {10, 8000}, 5);
    ASSERT_TRUE(copy);
    EXPECT_EQ(littleEndian(*copy), (std::vector<std::int16_t>{11, 12, 13, 14, 15}));
}

TEST(PcmCopy, IsSilentInGapsAndHonoursEdits) {
    timeline::Movie movie;
    movie.timeScale = 8000;
    timeline::Track& track = test::addLevels(movie, countTo(10), 8000, false);
    ASSERT_TRUE(timeline::insertMedia(movie, track, 0, 5, 2));
    ASSERT_TRUE(timeline::insertEmptySegment(movie, 1, 2));
    ASSERT_TRUE(timeline::insertMedia(movie, track, -1, 0, 2));
    const auto encoder = encoderFor("sowt");
    const auto copy = PcmCopy::open(movie, nullptr, *encoder, {0, 8000}, 7);
    ASSERT_TRUE(copy);
    EXPECT_EQ(littleEndian(*copy), (std::vector<std::int16_t>{6, 0, 0, 7, 1, 2, 0}));
}

TEST(PcmCopy, LeavesToTheMixerWhatMustBeComputed) {
    timeline::Movie movie;
    movie.timeScale = 8000;
    timeline::Track& track = test::addLevels(movie, countTo(10), 8000);
    const Time start{0, 8000};
    EXPECT_TRUE(PcmCopy::open(movie, nullptr, *encoderFor("sowt"), start, 10));
    EXPECT_FALSE(PcmCopy::open(movie, nullptr, *encoderFor("sowt", 16000), start, 10));
    EXPECT_FALSE(PcmCopy::open(movie, nullptr, *encoderFor("sowt", 8000, 2), start, 10));
    EXPECT_FALSE(PcmCopy::open(movie, nullptr, *encoderFor("in24"), start, 10));
    EXPECT_FALSE(PcmCopy::open(movie, nullptr, *encoderFor("ulaw"), start, 10));
    track.volume = 0x80;
    EXPECT_FALSE(PcmCopy::open(movie, nullptr, *encoderFor("sowt"), start, 10));
    track.volume = 0x100;
    timeline::Track& second = test::addLevels(movie, countTo(10), 8000);
    EXPECT_FALSE(PcmCopy::open(movie, nullptr, *encoderFor("sowt"), start, 10));
    EXPECT_TRUE(PcmCopy::open(movie, &second, *encoderFor("sowt"), start, 10));
}

}  // namespace
}  // namespace TWQuickTime::transcode
