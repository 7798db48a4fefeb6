#include "Engines/capture/Recording.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <filesystem>
#include <fstream>
#include <latch>
#include <thread>

#include "Engines/capture/CaptureClock.h"
#include "Engines/capture/RecordedFormat.h"
#include "Engines/capture/TestPattern.h"
#include "ManualCaptureClock.h"
#include "RecordedMovie.h"
#include "TemporaryDirectory.h"

namespace TWQuickTime::capture {
namespace {

using result::Expected;
using result::Failure;
using result::FailureKind;
using result::Status;
using test::openRecorded;
using timeline::fourCharCode;

/// Delivers so many units as fast as they are taken, then none or a failure. No device of a
/// recording is ahead of the others by more than its first unit: real ones keep real time.
class PlayedSource : public DeviceSource {
  public:
    PlayedSource(StreamFormat format, int units, std::int64_t unitDuration)
        : format_(std::move(format)), units_(units), unitDuration_(unitDuration) {}

    const StreamFormat& format() const override { return format_; }
    Status start() override {
        start_ = CaptureClock::system().nanoseconds();
        if (startFails)
            return Failure{FailureKind::notAvailable, "in use"};
        ++running;
        return {};
    }
    Expected<std::optional<CapturedUnit>> next() override {
        takenOver = given.load();
        if (given == 1 && firstUnits) {
            if (!std::exchange(isFirstTakenOver_, true))
                firstUnits->count_down();
            if (!firstUnits->try_wait())
                return std::optional<CapturedUnit>();
        }
        if (given < units_) {
            const std::size_t size =
                std::holds_alternative<SoundFormat>(format_) ? 8000 / 25 * 2 : 16 * 8 * 3;
            return std::optional(CapturedUnit{std::vector<std::byte>(size, std::byte{1}),
                                              start_ + given++ * unitDuration_});
        }
        if (goesAway)
            return Failure{FailureKind::notFound, "went away"};
        std::this_thread::yield();
        return std::optional<CapturedUnit>();
    }
    void stop() override { running = 0; }

    std::atomic<int> given = 0;
    /// Units that the recording has, because it came for the next one.
    std::atomic<int> takenOver = 0;
    std::atomic<int> running = 0;
    bool startFails = false;
    bool goesAway = false;
    std::shared_ptr<std::latch> firstUnits = nullptr;  ///< of all devices of a recording

  private:
    StreamFormat format_;
    int units_;
    std::int64_t unitDuration_;
    std::int64_t start_ = 0;
    bool isFirstTakenOver_ = false;
};

constexpr std::int64_t kFrameDuration = 40'000'000;

std::unique_ptr<PlayedSource> pictures(int count) {
    return std::make_unique<PlayedSource>(VideoFormat{fourCharCode("raw "), 16, 8, 25}, count,
                                          kFrameDuration);
}
std::unique_ptr<PlayedSource> sound(int count) {
    return std::make_unique<PlayedSource>(SoundFormat{fourCharCode("sowt"), 8000, 1}, count,
                                          kFrameDuration);
}

template <class... Sources>
std::vector<std::unique_ptr<DeviceSource>> listOf(Sources... sources) {
    std::vector<std::unique_ptr<DeviceSource>> list;
    (list.push_back(std::move(sources)), ...);
    return list;
}

void waitUntilTakenOver(const PlayedSource& source, int count) {
    while (source.takenOver < count)
        std::this_thread::yield();
}

class RecordingTest : public testing::Test {
  protected:
    test::TemporaryDirectory folder;
    const std::string path = folder.file("recorded.mov");
    GrowingMovie file{path};
};

TEST_F(RecordingTest, WhatSeveralDevicesDeliverIsInTheMovie) {
    auto camera = pictures(200);
    auto microphone = sound(200);
    camera->firstUnits = microphone->firstUnits = std::make_shared<std::latch>(2);
    const PlayedSource& shown = *camera;
    const PlayedSource& heard = *microphone;
    auto recording = Recording::start(file, listOf(std::move(camera), std::move(microphone)));
    ASSERT_TRUE(recording);
    waitUntilTakenOver(shown, 200);
    waitUntilTakenOver(heard, 200);
    EXPECT_TRUE((*recording)->health());
    EXPECT_TRUE((*recording)->stop());
    EXPECT_EQ(shown.running + heard.running, 0);
    const auto opened = openRecorded(path);
    ASSERT_EQ(opened.movie->tracks.size(), 2u);
    EXPECT_EQ(opened.movie->tracks[0]->media->samples.sampleCount(), 200u);
    EXPECT_EQ(opened.movie->tracks[1]->media->samples.sampleCount(), 200u * 320);
    EXPECT_TRUE((*recording)->stop());
}

TEST_F(RecordingTest, GoesOnWithTheOthersWhenADeviceGoesAway) {
    auto camera = pictures(50);
    camera->goesAway = true;
    auto microphone = sound(100);
    camera->firstUnits = microphone->firstUnits = std::make_shared<std::latch>(2);
    const PlayedSource& heard = *microphone;
    auto recording = Recording::start(file, listOf(std::move(camera), std::move(microphone)));
    ASSERT_TRUE(recording);
    waitUntilTakenOver(heard, 100);
    while ((*recording)->health())
        std::this_thread::yield();
    EXPECT_EQ((*recording)->health().failure().kind, FailureKind::notFound);
    EXPECT_TRUE((*recording)->stop());
    const auto opened = openRecorded(path);
    EXPECT_EQ(opened.movie->tracks[0]->media->samples.sampleCount(), 50u);
    EXPECT_EQ(opened.movie->tracks[1]->media->samples.sampleCount(), 100u * 320);
}

TEST_F(RecordingTest, ASourceThatCannotStartLeavesTheOthersStoppedAndAnEarlierFileAlone) {
    const std::string earlier = "what was there before";
    std::ofstream(path) << earlier;
    auto camera = pictures(10);
    camera->startFails = true;
    const auto recording = Recording::start(file, listOf(sound(10), std::move(camera)));
    ASSERT_FALSE(recording);
    EXPECT_EQ(recording.failure().kind, FailureKind::notAvailable);
    EXPECT_EQ(std::filesystem::file_size(path), earlier.size());
}

TEST_F(RecordingTest, IsStoppedWhenItGoes) {
    {
        auto camera = pictures(30);
        const PlayedSource& shown = *camera;
        auto recording = Recording::start(file, listOf(std::move(camera)));
        ASSERT_TRUE(recording);
        waitUntilTakenOver(shown, 30);
    }
    EXPECT_FALSE(openRecorded(path).fragmented);
    EXPECT_EQ(openRecorded(path).movie->tracks[0]->media->samples.sampleCount(), 30u);
}

class TestPatternTest : public RecordingTest {
  protected:
    std::unique_ptr<DeviceSource> open(MediaKind kind, std::size_t input = 0) {
        const auto backEnd = makeTestPattern(kind, clock);
        auto source = backEnd->open(backEnd->devices(false)[0].identity, input);
        EXPECT_TRUE(source);
        return *std::move(source);
    }
    std::vector<CapturedUnit> take(DeviceSource& source, std::size_t count) {
        std::vector<CapturedUnit> units;
        EXPECT_TRUE(source.start());
        while (units.size() < count) {
            if (auto unit = source.next(); *unit)
                units.push_back(**std::move(unit));
        }
        return units;
    }
    test::ManualCaptureClock clock;
};

TEST_F(TestPatternTest, HasOneDeviceOfEachKindUnderOneName) {
    for (const MediaKind kind : {MediaKind::video, MediaKind::sound}) {
        const auto devices = makeTestPattern(kind, clock)->devices(true);
        ASSERT_EQ(devices.size(), 1u);
        EXPECT_EQ(devices[0].name, kTestPatternName);
        EXPECT_EQ(devices[0].kind, kind);
        EXPECT_FALSE(makeTestPattern(kind, clock)->open("other", 0));
        EXPECT_FALSE(makeTestPattern(kind, clock)->open(devices[0].identity, 9));
    }
}

TEST_F(TestPatternTest, PicturesAndSoundComeAtEqualDistancesFromTheStart) {
    const std::int64_t start = clock.nanoseconds();
    const auto source = open(MediaKind::video);
    const auto units = take(*source, 5);
    for (std::size_t i = 0; i < units.size(); ++i)
        EXPECT_EQ(units[i].timeInNanoseconds, start + std::int64_t(i) * 40'000'000);
}

TEST_F(TestPatternTest, EveryPictureIsAnotherOne) {
    const auto source = open(MediaKind::video, 1);
    const auto units = take(*source, 30);
    for (std::size_t i = 1; i < units.size(); ++i)
        EXPECT_NE(units[i].bytes, units[i - 1].bytes);
    EXPECT_EQ(units[0].bytes.size(), 640u * 480 * 2);
}

TEST_F(TestPatternTest, TheToneHasAThousandPeriodsASecond) {
    const auto source = open(MediaKind::sound);
    std::vector<std::int16_t> left;
    for (const CapturedUnit& unit : take(*source, 50)) {
        for (std::size_t i = 0; i + 3 < unit.bytes.size(); i += 4)
            left.push_back(static_cast<std::int16_t>(std::to_integer<int>(unit.bytes[i]) |
                                                     std::to_integer<int>(unit.bytes[i + 1]) << 8));
    }
    ASSERT_EQ(left.size(), std::size_t{kTestToneSampleRate});
    int rising = 0;
    for (std::size_t i = 1; i < left.size(); ++i)
        rising += left[i - 1] < 0 && left[i] >= 0;
    EXPECT_NEAR(rising, 1000, 1);
    EXPECT_EQ(*std::max_element(left.begin(), left.end()), 8192);
}

TEST_F(TestPatternTest, IsRecordedAsMotionJPEGThatOthersDecode) {
    const auto source = open(MediaKind::video);
    ASSERT_TRUE(file.beginSegment({trackFormatOf(source->format())}));
    for (const CapturedUnit& unit : take(*source, 10))
        ASSERT_TRUE(file.add(0, {0, kVideoTimeScale / 25}, unit.bytes));
    ASSERT_TRUE(file.endSegment());
    EXPECT_EQ(test::probe(path, {"-count_frames", "-show_entries",
                                 "stream=codec_name,width,height,r_frame_rate,nb_read_frames"}),
              "mjpeg,640,480,25/1,10");
}

}  // namespace
}  // namespace TWQuickTime::capture
