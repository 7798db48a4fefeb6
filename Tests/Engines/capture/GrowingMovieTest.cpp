#include "Engines/capture/GrowingMovie.h"

#include <gtest/gtest.h>
#include <signal.h>
#include <sys/resource.h>

#include <filesystem>
#include <fstream>

#include "Engines/capture/RecordedFormat.h"
#include "RecordedMovie.h"
#include "TemporaryDirectory.h"

namespace TWQuickTime::capture {
namespace {

using test::openRecorded;
using test::probeStream;
using timeline::fourCharCode;

constexpr int kWidth = 16, kHeight = 8;
constexpr std::uint32_t kFrame = kVideoTimeScale / 25;
constexpr int kRate = 8000;

std::vector<TrackFormat> pictureAndSound() {
    return {trackFormatOf(VideoFormat{fourCharCode("raw "), kWidth, kHeight, 25}),
            trackFormatOf(SoundFormat{fourCharCode("sowt"), kRate, 1})};
}

std::vector<std::byte> picture(int value) {
    return std::vector<std::byte>(kWidth * kHeight * 3, static_cast<std::byte>(value));
}

/// So many frames at 25 a second, each with its 40 ms of sound.
void addFrames(GrowingMovie& file, int count, std::int64_t soundStart = 0) {
    const std::vector<std::byte> sound(kRate / 25 * 2, std::byte{1});
    for (int i = 0; i < count; ++i) {
        ASSERT_TRUE(file.add(0, {std::int64_t{i} * kFrame, kFrame}, picture(i)));
        ASSERT_TRUE(file.add(1, {soundStart, kRate / 25}, sound));
    }
}

class GrowingMovieTest : public testing::Test {
  protected:
    test::TemporaryDirectory folder;
    const std::string path = folder.file("recorded.mov");
    GrowingMovie file{path};
};

TEST_F(GrowingMovieTest, IsAMovieWithoutSamplesFromTheFirstMomentOn) {
    ASSERT_TRUE(file.beginSegment(pictureAndSound()));
    const auto opened = openRecorded(path);
    ASSERT_EQ(opened.movie->tracks.size(), 2u);
    EXPECT_TRUE(opened.fragmented);
    EXPECT_EQ(opened.movie->duration(), 0);
}

TEST_F(GrowingMovieTest, HoldsWhatWasWrittenWhileItGrows) {
    ASSERT_TRUE(file.beginSegment(pictureAndSound()));
    addFrames(file, 60);
    const auto opened = openRecorded(path);
    EXPECT_GE(opened.movie->tracks[0]->media->samples.sampleCount(), 48u);
    EXPECT_GE(opened.movie->duration(), 48 * std::int64_t{kFrame});
    EXPECT_EQ(probeStream(path, "v:0", "codec_name,width,height"), "rawvideo,16,8");
}

TEST_F(GrowingMovieTest, IsAnOrdinaryMovieAfterTheEnd) {
    ASSERT_TRUE(file.beginSegment(pictureAndSound()));
    addFrames(file, 60);
    ASSERT_TRUE(file.endSegment());
    const auto opened = openRecorded(path);
    EXPECT_FALSE(opened.fragmented);
    ASSERT_EQ(opened.movie->tracks.size(), 2u);
    EXPECT_EQ(opened.movie->duration(), 60 * std::int64_t{kFrame});
    const timeline::Media& pictures = *opened.movie->tracks[0]->media;
    ASSERT_EQ(pictures.samples.sampleCount(), 60u);
    for (std::uint32_t i = 0; i < 60; ++i)
        EXPECT_EQ(*pictures.readSample(*pictures.samples.sample(i)), picture(static_cast<int>(i)));
    const timeline::Media& sound = *opened.movie->tracks[1]->media;
    EXPECT_EQ(sound.samples.sampleCount(), 60u * kRate / 25);
    EXPECT_EQ(sound.samples.sample(5)->sizeInBytes, 2u);
    EXPECT_EQ(probeStream(path, "v:0", "nb_frames,nb_read_packets"), "60,60");
    EXPECT_EQ(probeStream(path, "a:0", "codec_name,sample_rate,duration"),
              "pcm_s16le,8000,2.400000");
}

TEST_F(GrowingMovieTest, OpensWhereverItIsCutOff) {
    ASSERT_TRUE(file.beginSegment(pictureAndSound()));
    const auto header = std::filesystem::file_size(path);
    addFrames(file, 60);
    std::ifstream stream(path, std::ios::binary);
    const std::string whole((std::istreambuf_iterator<char>(stream)), {});
    const std::string cut = folder.file("cut.mov");
    std::uint32_t most = 0;
    for (std::size_t size = header; size < whole.size() + 97; size += 97) {
        std::ofstream(cut, std::ios::binary) << whole.substr(0, size);
        const auto opened = openRecorded(cut);
        ASSERT_EQ(opened.movie->tracks.size(), 2u) << size;
        const timeline::Media& media = *opened.movie->tracks[0]->media;
        const std::uint32_t count = media.samples.sampleCount();
        EXPECT_GE(count, most) << size;
        most = std::max(most, count);
        if (count > 0) {
            EXPECT_EQ(*media.readSample(*media.samples.sample(count - 1)),
                      picture(static_cast<int>(count - 1)));
        }
    }
    EXPECT_GE(most, 48u);
}

TEST_F(GrowingMovieTest, ATrackThatBeginsLateIsEmptyUntilThen) {
    ASSERT_TRUE(file.beginSegment(pictureAndSound()));
    addFrames(file, 30, kRate / 4);
    const auto growing = openRecorded(path);
    const timeline::Track& whileGrowing = *growing.movie->tracks[1];
    ASSERT_GE(whileGrowing.edits.size(), 2u);
    EXPECT_TRUE(whileGrowing.edits.edits()[0].isEmpty());
    EXPECT_EQ(whileGrowing.edits.edits()[0].duration, growing.movie->timeScale / 4);
    ASSERT_TRUE(file.endSegment());
    const auto ended = openRecorded(path);
    EXPECT_EQ(ended.movie->tracks[1]->edits.edits()[0].duration, ended.movie->timeScale / 4);
    EXPECT_EQ(probeStream(path, "a:0", "start_time"), "0.250000");
}

TEST_F(GrowingMovieTest, ASecondSegmentGoesOnBehindTheFirst) {
    ASSERT_TRUE(file.beginSegment(pictureAndSound()));
    addFrames(file, 25);
    ASSERT_TRUE(file.endSegment());
    ASSERT_TRUE(file.isAsItWasLeft());
    ASSERT_TRUE(file.beginSegment(pictureAndSound()));
    // Nothing was added yet: the file is the first segment, in ordinary form.
    EXPECT_FALSE(openRecorded(path).fragmented);
    addFrames(file, 30);
    const auto growing = openRecorded(path);
    EXPECT_TRUE(growing.fragmented);
    ASSERT_EQ(growing.movie->tracks.size(), 2u);
    EXPECT_GE(growing.movie->duration(), (25 + 13) * std::int64_t{kFrame});
    EXPECT_EQ(probeStream(path, "v:0", "codec_name"), "rawvideo");
    ASSERT_TRUE(file.endSegment());
    const auto ended = openRecorded(path);
    EXPECT_FALSE(ended.fragmented);
    EXPECT_EQ(ended.movie->duration(), 55 * std::int64_t{kFrame});
    EXPECT_EQ(probeStream(path, "v:0", "nb_frames"), "55");
    const timeline::Media& pictures = *ended.movie->tracks[0]->media;
    EXPECT_EQ(*pictures.readSample(*pictures.samples.sample(25)), picture(0));
}

TEST_F(GrowingMovieTest, ASecondSegmentOfAnotherSizeHasATrackOfItsOwn) {
    ASSERT_TRUE(file.beginSegment(pictureAndSound()));
    addFrames(file, 25);
    ASSERT_TRUE(file.endSegment());
    ASSERT_TRUE(file.beginSegment(
        {trackFormatOf(VideoFormat{fourCharCode("raw "), kWidth * 2, kHeight, 25})}));
    ASSERT_TRUE(file.add(0, {0, kFrame}, std::vector<std::byte>(kWidth * 2 * kHeight * 3)));
    ASSERT_TRUE(file.endSegment());
    const auto opened = openRecorded(path);
    ASSERT_EQ(opened.movie->tracks.size(), 3u);
    EXPECT_EQ(opened.movie->tracks[2]->edits.edits()[0].duration, 25 * std::int64_t{kFrame});
    EXPECT_EQ(opened.movie->duration(), 26 * std::int64_t{kFrame});
}

TEST_F(GrowingMovieTest, OnAFullDiskItStaysWhatItWasAndGoesOnWhenThereIsRoomAgain) {
    ASSERT_TRUE(file.beginSegment(pictureAndSound()));
    addFrames(file, 13);
    const auto size = std::filesystem::file_size(path);
    // A limit on the size of files stands in for the disk.
    struct rlimit usual {};
    ASSERT_EQ(getrlimit(RLIMIT_FSIZE, &usual), 0);
    const auto previous = signal(SIGXFSZ, SIG_IGN);
    struct rlimit full = usual;
    full.rlim_cur = size + 1000;
    ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &full), 0);
    result::Status added;
    for (int i = 13; i < 60 && added; ++i)
        added = file.add(0, {0, kFrame}, picture(i));
    ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &usual), 0);
    signal(SIGXFSZ, previous);
    ASSERT_FALSE(added);
    EXPECT_EQ(std::filesystem::file_size(path), size);
    EXPECT_EQ(openRecorded(path).movie->tracks[0]->media->samples.sampleCount(), 13u);
    EXPECT_TRUE(file.endSegment());
    const auto ended = openRecorded(path);
    EXPECT_GE(ended.movie->tracks[0]->media->samples.sampleCount(), 26u);
    EXPECT_FALSE(ended.fragmented);
}

TEST_F(GrowingMovieTest, NoticesThatSomebodyElseChangedTheFile) {
    EXPECT_FALSE(file.isAsItWasLeft());
    ASSERT_TRUE(file.beginSegment(pictureAndSound()));
    ASSERT_TRUE(file.endSegment());
    EXPECT_TRUE(file.isAsItWasLeft());
    std::ofstream(path, std::ios::app | std::ios::binary) << "more";
    EXPECT_FALSE(file.isAsItWasLeft());
    std::filesystem::remove(path);
    EXPECT_FALSE(file.isAsItWasLeft());
}

TEST_F(GrowingMovieTest, WideSoundIsDescribedSoThatOthersReadIt) {
    ASSERT_TRUE(file.beginSegment({trackFormatOf(SoundFormat{fourCharCode("in24"), 48000, 2})}));
    ASSERT_TRUE(file.add(0, {0, 48000}, std::vector<std::byte>(48000 * 6)));
    ASSERT_TRUE(file.endSegment());
    EXPECT_EQ(probeStream(path, "a:0", "codec_name,sample_rate,channels,duration"),
              "pcm_s24be,48000,2,1.000000");
}

TEST_F(GrowingMovieTest, RefusesAFileThatCannotBeMade) {
    GrowingMovie nowhere(folder.file("missing/recorded.mov"));
    const result::Status begun = nowhere.beginSegment(pictureAndSound());
    ASSERT_FALSE(begun);
    EXPECT_EQ(begun.failure().kind, result::FailureKind::notFound);
}

TEST_F(GrowingMovieTest, RefusesATrackThatItDoesNotHaveAndASegmentWithinASegment) {
    EXPECT_FALSE(file.add(0, {}, {}));
    ASSERT_TRUE(file.beginSegment(pictureAndSound()));
    EXPECT_FALSE(file.add(2, {}, {}));
    EXPECT_FALSE(file.beginSegment(pictureAndSound()));
}

}  // namespace
}  // namespace TWQuickTime::capture
