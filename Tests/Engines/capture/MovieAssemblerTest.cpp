#include "Engines/capture/MovieAssembler.h"

#include <gtest/gtest.h>

#include <fstream>

#include "Engines/capture/RecordedFormat.h"
#include "RecordedMovie.h"
#include "TemporaryDirectory.h"

namespace TWQuickTime::capture {
namespace {

using test::openRecorded;
using timeline::fourCharCode;

constexpr std::int64_t kMillisecond = 1'000'000;
constexpr std::int64_t kOrigin = 5'000 * kMillisecond;
constexpr int kRate = 8000;

class MovieAssemblerTest : public testing::Test {
  protected:
    static CapturedUnit picture(std::int64_t milliseconds) {
        return {std::vector<std::byte>(16 * 8 * 3), kOrigin + milliseconds * kMillisecond};
    }
    static CapturedUnit sound(std::int64_t milliseconds, int lasting) {
        return {std::vector<std::byte>(std::size_t(lasting) * kRate / 1000 * 2, std::byte{1}),
                kOrigin + milliseconds * kMillisecond};
    }
    static StreamFormat videoFormat() { return VideoFormat{fourCharCode("raw "), 16, 8, 25}; }
    static StreamFormat soundFormat() { return SoundFormat{fourCharCode("sowt"), kRate, 1}; }

    moviefile::OpenedMovie finish(MovieAssembler& assembler) {
        EXPECT_TRUE(assembler.finish());
        EXPECT_TRUE(file.endSegment());
        return openRecorded(path);
    }
    static std::vector<std::uint32_t> durations(const timeline::Track& track) {
        std::vector<std::uint32_t> all;
        for (std::uint32_t i = 0; i < track.media->samples.sampleCount(); ++i)
            all.push_back(track.media->samples.durationOf(i));
        return all;
    }

    test::TemporaryDirectory folder;
    const std::string path = folder.file("assembled.mov");
    GrowingMovie file{path};
};

TEST_F(MovieAssemblerTest, APictureLastsUntilTheNextOne) {
    MovieAssembler assembler(file, {videoFormat()}, kOrigin);
    ASSERT_TRUE(assembler.begin());
    for (const int time : {0, 40, 120, 160})
        ASSERT_TRUE(assembler.take(0, picture(time)));
    const auto opened = finish(assembler);
    EXPECT_EQ(durations(*opened.movie->tracks[0]),
              (std::vector<std::uint32_t>{3600, 7200, 3600, 3600}));
}

TEST_F(MovieAssemblerTest, TheOnlyPictureLastsAsLongAsTheDeviceSays) {
    MovieAssembler assembler(file, {videoFormat()}, kOrigin);
    ASSERT_TRUE(assembler.begin());
    ASSERT_TRUE(assembler.take(0, picture(0)));
    EXPECT_EQ(durations(*finish(assembler).movie->tracks[0]), std::vector<std::uint32_t>{3600});
}

TEST_F(MovieAssemblerTest, TimesThatStandStillOrGoBackDoNotStopIt) {
    MovieAssembler assembler(file, {videoFormat()}, kOrigin);
    ASSERT_TRUE(assembler.begin());
    for (const int time : {0, 40, 40, 20, 80})
        ASSERT_TRUE(assembler.take(0, picture(time)));
    const auto opened = finish(assembler);
    EXPECT_EQ(opened.movie->tracks[0]->media->samples.sampleCount(), 5u);
    EXPECT_EQ(durations(*opened.movie->tracks[0])[1], 1u);
}

TEST_F(MovieAssemblerTest, BeginsWithTheFirstUnitAfterTheStartAndLeavesOlderOnesOut) {
    MovieAssembler assembler(file, {videoFormat(), soundFormat()}, kOrigin);
    ASSERT_TRUE(assembler.begin());
    ASSERT_TRUE(assembler.take(0, picture(-1)));
    ASSERT_TRUE(assembler.take(1, sound(-20, 20)));
    ASSERT_TRUE(assembler.take(1, sound(500, 20)));
    ASSERT_TRUE(assembler.take(0, picture(540)));
    ASSERT_TRUE(assembler.take(1, sound(520, 20)));
    const auto opened = finish(assembler);
    EXPECT_EQ(opened.movie->tracks[0]->media->samples.sampleCount(), 1u);
    EXPECT_EQ(opened.movie->tracks[1]->media->samples.sampleCount(), kRate / 25u);
    EXPECT_EQ(opened.movie->tracks[0]->edits.edits()[0],
              (timeline::Edit{opened.movie->timeScale / 25, timeline::kEmptyMediaTime}));
    EXPECT_EQ(opened.movie->tracks[1]->edits.size(), 1u);
}

TEST_F(MovieAssemblerTest, BeginsWithTheEarliestUnitEvenIfItWasDeliveredLater) {
    MovieAssembler assembler(file, {videoFormat(), soundFormat()}, kOrigin);
    ASSERT_TRUE(assembler.begin());
    for (const int time : {500, 520})
        ASSERT_TRUE(assembler.take(1, sound(time, 20)));
    for (const int time : {480, 540})
        ASSERT_TRUE(assembler.take(0, picture(time)));
    const auto opened = finish(assembler);
    EXPECT_EQ(opened.movie->tracks[0]->media->samples.sampleCount(), 2u);
    EXPECT_EQ(opened.movie->tracks[0]->edits.size(), 1u);
    EXPECT_EQ(opened.movie->tracks[1]->edits.edits()[0],
              (timeline::Edit{opened.movie->timeScale / 50, timeline::kEmptyMediaTime}));
}

TEST_F(MovieAssemblerTest, DoesNotWaitForEverForADeviceThatDeliversNothing) {
    MovieAssembler assembler(file, {videoFormat(), soundFormat()}, kOrigin);
    ASSERT_TRUE(assembler.begin());
    for (int time = 0; time < 2000; time += 20)
        ASSERT_TRUE(assembler.take(1, sound(time, 20)));
    // Only what is in the file would be left after a crash.
    const auto soFar = openRecorded(path);
    EXPECT_TRUE(soFar.fragmented);
    EXPECT_GE(soFar.movie->tracks[1]->media->duration(), kRate * 3 / 2);
    ASSERT_TRUE(assembler.take(0, picture(1990)));
    const auto opened = finish(assembler);
    EXPECT_EQ(opened.movie->tracks[0]->media->samples.sampleCount(), 1u);
    EXPECT_EQ(opened.movie->tracks[1]->media->samples.sampleCount(), kRate * 2u);
}

TEST_F(MovieAssemblerTest, WhatWaitedForASilentDeviceIsInTheMovieWhenItEnds) {
    MovieAssembler assembler(file, {videoFormat(), soundFormat()}, kOrigin);
    ASSERT_TRUE(assembler.begin());
    ASSERT_TRUE(assembler.take(1, sound(0, 20)));
    ASSERT_TRUE(assembler.take(1, sound(20, 20)));
    const auto opened = finish(assembler);
    EXPECT_EQ(opened.movie->tracks[1]->media->samples.sampleCount(), kRate / 25u);
}

TEST_F(MovieAssemblerTest, LostSoundBecomesSilenceSoThatTheRestStaysInItsPlace) {
    MovieAssembler assembler(file, {soundFormat()}, kOrigin);
    ASSERT_TRUE(assembler.begin());
    ASSERT_TRUE(assembler.take(0, sound(0, 500)));
    ASSERT_TRUE(assembler.take(0, sound(1000, 500)));
    const auto opened = finish(assembler);
    const timeline::Media& media = *opened.movie->tracks[0]->media;
    ASSERT_EQ(media.samples.sampleCount(), 1.5 * kRate);
    EXPECT_EQ((*media.readSample(*media.samples.sample(kRate / 2 - 1)))[0], std::byte{1});
    EXPECT_EQ((*media.readSample(*media.samples.sample(kRate / 2)))[0], std::byte{0});
    EXPECT_EQ((*media.readSample(*media.samples.sample(kRate - 1)))[0], std::byte{0});
    EXPECT_EQ((*media.readSample(*media.samples.sample(kRate)))[0], std::byte{1});
}

TEST_F(MovieAssemblerTest, PicturesStayInStepWithSoundWhoseClockRunsSlow) {
    MovieAssembler assembler(file, {videoFormat(), soundFormat()}, kOrigin);
    ASSERT_TRUE(assembler.begin());
    // 600 seconds of a device of which a second lasts 1.0005: without correction the picture that
    // was taken with the last sound would come 300 ms after it.
    constexpr int kSeconds = 600;
    for (int i = 0; i < kSeconds * 5; ++i) {
        CapturedUnit piece = sound(0, 200);
        piece.timeInNanoseconds = kOrigin + std::int64_t{i} * 200'100'000;
        CapturedUnit shot = picture(0);
        shot.timeInNanoseconds = piece.timeInNanoseconds;
        ASSERT_TRUE(assembler.take(1, std::move(piece)));
        ASSERT_TRUE(assembler.take(0, std::move(shot)));
    }
    const auto opened = finish(assembler);
    const double pictures =
        static_cast<double>(opened.movie->tracks[0]->media->duration()) / kVideoTimeScale;
    const double heard = static_cast<double>(opened.movie->tracks[1]->media->duration()) / kRate;
    EXPECT_EQ(heard, kSeconds);
    EXPECT_NEAR(pictures, heard, 0.01);
}

TEST_F(MovieAssemblerTest, StartCodesOfH264BecomeLengthsAndItsParametersADescription) {
    const std::string stream = folder.file("camera.h264");
    test::runFfmpeg({"-f", "lavfi", "-i", "testsrc=size=64x48:rate=25", "-frames:v", "20", "-c:v",
                     "libx264", "-x264-params", "keyint=10:bframes=0:slices=1:aud=1", "-f", "h264",
                     stream});
    std::ifstream input(stream, std::ios::binary);
    const std::string all((std::istreambuf_iterator<char>(input)), {});
    // Access units begin with their delimiters.
    const std::string delimiter("\0\0\0\1\x09", 5);
    std::vector<CapturedUnit> units;
    for (std::size_t at = all.find(delimiter); at != std::string::npos;) {
        const std::size_t next = all.find(delimiter, at + 1);
        const std::string unit = all.substr(at, next - at);
        CapturedUnit captured;
        const auto* bytes = reinterpret_cast<const std::byte*>(unit.data());
        captured.bytes.assign(bytes, bytes + unit.size());
        captured.timeInNanoseconds =
            kOrigin + static_cast<std::int64_t>(units.size()) * 40 * kMillisecond;
        units.push_back(std::move(captured));
        at = next;
    }
    ASSERT_EQ(units.size(), 20u);
    MovieAssembler assembler(file, {VideoFormat{fourCharCode("avc1"), 64, 48, 25}, soundFormat()},
                             kOrigin);
    ASSERT_TRUE(assembler.begin());
    EXPECT_FALSE(file.isInSegment());
    // A camera may be in the middle of a group of pictures; sound does not wait.
    ASSERT_TRUE(assembler.take(1, sound(0, 200)));
    for (std::size_t i = 5; i < units.size(); ++i)
        ASSERT_TRUE(assembler.take(0, std::move(units[i])));
    const auto opened = finish(assembler);
    EXPECT_EQ(opened.movie->tracks[0]->media->samples.sampleCount(), 10u);
    EXPECT_EQ(opened.movie->tracks[1]->media->samples.sampleCount(), kRate / 5u);
    EXPECT_EQ(test::probe(path, {"-select_streams", "v:0", "-count_frames", "-show_entries",
                                 "stream=codec_name,width,height,nb_read_frames"}),
              "h264,64,48,10");
}

TEST_F(MovieAssemblerTest, H264WithoutParametersMakesNoMovieAndTouchesNoFile) {
    MovieAssembler assembler(file, {VideoFormat{fourCharCode("avc1"), 64, 48, 25}}, kOrigin);
    ASSERT_TRUE(assembler.begin());
    ASSERT_TRUE(assembler.take(0, picture(0)));
    EXPECT_FALSE(assembler.finish());
    EXPECT_FALSE(std::ifstream(path).good());
}

}  // namespace
}  // namespace TWQuickTime::capture
