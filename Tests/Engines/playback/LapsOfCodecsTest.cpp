// Laps of files that ffmpeg made, through the device that writes a file.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <fstream>

#include "Engines/moviefile/MovieReader.h"
#include "Engines/playback/SoundPlayer.h"
#include "Engines/transcode/MovieImport.h"
#include "HandClock.h"
#include "RunProgram.h"
#include "TemporaryDirectory.h"

namespace TWQuickTime::playback {
namespace {

using TWQuickTime::test::runFfmpeg;
using TWQuickTime::test::runProgram;
using TWQuickTime::test::TemporaryDirectory;

constexpr int kRate = 44100;
/// Over six seconds: more than a player keeps of a lap.
constexpr int kLongFrames = 300'000;
constexpr int kShortFrames = 20'000;

std::vector<float> floatsOf(const std::string& bytes) {
    std::vector<float> samples(bytes.size() / sizeof(float));
    std::memcpy(samples.data(), bytes.data(), samples.size() * sizeof(float));
    return samples;
}

/// What ffmpeg decodes, as floats.
std::vector<float> decoded(const std::string& path) {
    const auto result = runProgram({"ffmpeg", "-v", "error", "-i", path, "-f", "f32le", "-"});
    EXPECT_EQ(result.exitStatus, 0) << result.errors;
    return floatsOf(result.output);
}

struct Codec {
    const char* name;
    const char* extension;
    std::vector<std::string> options;
};

void PrintTo(const Codec& codec, std::ostream* out) {
    *out << codec.name;
}

class LapsOfCodecs : public testing::TestWithParam<Codec> {
  protected:
    /// A file of one channel: 1, 2, 3 … or a tone with noise, for codecs that do not keep samples.
    std::string make(int frames) {
        std::ofstream raw(folder_.file("raw"), std::ios::binary);
        std::uint32_t seed = 1;
        for (int i = 0; i < frames; ++i) {
            seed = seed * 1664525 + 1013904223;
            const double tone = 9000 * std::sin(0.05 * i) + 3000 * std::sin(0.31 * i);
            const auto level = std::int16_t(isExact() ? i % 60000 - 30000 : tone + (seed >> 20));
            raw.write(reinterpret_cast<const char*>(&level), sizeof(level));
        }
        raw.close();
        const std::string path = folder_.file(std::string("sound.") + GetParam().extension);
        std::vector<std::string> arguments{"-f",  "s16le", "-ar", std::to_string(kRate),
                                           "-ac", "1",     "-i",  folder_.file("raw")};
        arguments.insert(arguments.end(), GetParam().options.begin(), GetParam().options.end());
        arguments.push_back(path);
        runFfmpeg(arguments);
        return path;
    }
    bool isExact() const {
        const std::string name = GetParam().name;
        return name != "AAC" && name != "MP3";
    }

    void open(const std::string& path) {
        if (auto opened = moviefile::openMovieFile(path)) {
            movie_ = std::move(opened->movie);
        } else {
            auto imported = transcode::importMovie(path);
            ASSERT_TRUE(imported) << imported.failure().message;
            movie_ = std::move(*imported);
        }
    }

    /// Frames [in, out) of the movie in a loop, from `start` on.
    std::vector<float> played(std::int64_t in, std::int64_t out, std::int64_t start,
                              std::int64_t frames) {
        const std::string path = folder_.file("played.wav");
        auto player = SoundPlayer::open(*movie_, {.devices = DeviceChoice::file(path, clock_),
                                                  .clock = clock_,
                                                  .pumping = Pumping::byTheOwner});
        EXPECT_TRUE(player);
        EXPECT_EQ((*player)->framesPerSecond(), kRate);
        (*player)->setRange({in, kRate}, {out, kRate});
        (*player)->setLoops(true);
        (*player)->seek({start, kRate});
        (*player)->play();
        clock_->advance(timeline::rescaleUp(frames, kRate, 1'000'000'000));
        (*player)->stop();
        const std::vector<float> samples = decoded(path);
        EXPECT_EQ(samples.size(), std::size_t(frames));
        return samples;
    }

    void expectLaps(std::int64_t in, std::int64_t out, std::int64_t start, std::int64_t laps,
                    const std::vector<float>& whole) {
        const std::int64_t lap = out - in;
        const auto samples = played(in, out, start, laps * lap);
        for (std::size_t i = 0; i < samples.size(); ++i) {
            const std::int64_t frame = in + (start - in + std::int64_t(i)) % lap;
            ASSERT_EQ(samples[i], whole[std::size_t(frame)]) << "frame " << frame << " at " << i;
        }
    }

    TemporaryDirectory folder_;
    std::shared_ptr<test::HandClock> clock_ = std::make_shared<test::HandClock>();
    std::unique_ptr<timeline::Movie> movie_;
};

TEST_P(LapsOfCodecs, TheWholeFileLastsAsLongAsItsSound) {
    open(make(kShortFrames));
    auto player = SoundPlayer::open(*movie_, {.clock = clock_, .pumping = Pumping::byTheOwner});
    ASSERT_TRUE(player);
    EXPECT_EQ((*player)->duration().value, kShortFrames);
}

TEST_P(LapsOfCodecs, LapsOfTheWholeFileAreItsSamplesAgainAndAgain) {
    for (const int frames : {kShortFrames, kLongFrames}) {
        const std::string path = make(frames);
        open(path);
        expectLaps(0, frames, 0, 3, decoded(path));
    }
}

TEST(LapsOfNoise, NoiseThatADecoderPutsInIsTheSameInEveryLap) {
    TemporaryDirectory folder;
    const std::string path = folder.file("noise.m4a"), played = folder.file("played.wav");
    runFfmpeg({"-f", "lavfi", "-i", "anoisesrc=d=7:r=44100:seed=3:a=0.3", "-ac", "1", "-c:a", "aac",
               "-b:a", "48k", "-aac_pns", "1", path});
    auto opened = moviefile::openMovieFile(path);
    ASSERT_TRUE(opened);
    const auto clock = std::make_shared<test::HandClock>();
    auto player = SoundPlayer::open(*opened->movie, {.devices = DeviceChoice::file(played, clock),
                                                     .clock = clock,
                                                     .pumping = Pumping::byTheOwner});
    ASSERT_TRUE(player);
    const std::int64_t lap = (*player)->duration().value;
    (*player)->setLoops(true);
    (*player)->play();
    clock->advance(timeline::rescaleUp(2 * lap, kRate, 1'000'000'000));
    (*player)->stop();
    const auto samples = decoded(played);
    ASSERT_EQ(samples.size(), std::size_t(2 * lap));
    for (std::size_t i = 0; i < std::size_t(lap); ++i) {
        ASSERT_EQ(samples[i], samples[i + std::size_t(lap)]) << i;
    }
}

TEST_P(LapsOfCodecs, LapsBetweenAnyInAndOutPointAreTheSamplesThere) {
    const std::string path = make(kLongFrames);
    open(path);
    const auto whole = decoded(path);
    expectLaps(12'345, 12'346, 12'345, 3000, whole);
    expectLaps(77'777, 81'234, 80'000, 4, whole);
    expectLaps(1, kLongFrames - 1, 123'456, 2, whole);
}

INSTANTIATE_TEST_SUITE_P(
    Files, LapsOfCodecs,
    testing::Values(Codec{"PCM", "mov", {"-c:a", "pcm_s16be"}}, Codec{"WAV", "wav", {}},
                    Codec{"FLAC", "flac", {}}, Codec{"ALAC", "m4a", {"-c:a", "alac"}},
                    Codec{"AAC", "m4a", {"-c:a", "aac", "-b:a", "96k", "-aac_pns", "0"}},
                    Codec{"MP3", "mp3", {"-c:a", "libmp3lame", "-b:a", "128k"}}),
    [](const auto& test) { return std::string(test.param.name); });

}  // namespace
}  // namespace TWQuickTime::playback
