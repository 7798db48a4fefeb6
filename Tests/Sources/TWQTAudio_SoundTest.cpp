// What the player sends to a device, sample by sample.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <fstream>
#include <iterator>

#include "AudioPlayer.h"
#include "RunProgram.h"

namespace TWQuickTime {
namespace {

using test::AudioPlayer;
using test::envelope;
using test::OpenAudio;
using test::readFloatWave;
using test::runFfmpeg;
using test::Wave;

class AudioSound : public AudioPlayer {
  protected:
    /// A second or more of one sample after another at full scale.
    std::string constant(const std::string& name, std::uint32_t sampleRate, std::size_t frames) {
        const std::string path = folder_.file(name);
        test::writeWave(path, sampleRate, 1, std::vector<std::int16_t>(frames, 16384));
        return path;
    }

    std::shared_ptr<OpenAudio> rendering(const std::string& path) {
        auto audio = loaded(path);
        audio->setAttribute(NSString(output_), QTMovieSoundFileAttribute);
        return audio;
    }

    /// Plays so long, or to the end, and gives what a device would have got.
    Wave played(std::shared_ptr<OpenAudio>& audio, double seconds) {
        audio->play();
        clock_->advance(seconds);
        audio->stop();
        audio.reset();
        return readFloatWave(output_);
    }

    const std::string output_ = folder_.file("output.wav");
};

/// As ffmpeg decodes the file, which honours delay and padding of the encoder.
std::vector<float> decodedByFfmpeg(const std::string& path, const std::string& raw) {
    runFfmpeg({"-i", path, "-f", "f32le", raw});
    std::ifstream file(raw, std::ios::binary);
    const std::string bytes((std::istreambuf_iterator<char>(file)),
                            std::istreambuf_iterator<char>());
    std::vector<float> samples(bytes.size() / 4);
    std::memcpy(samples.data(), bytes.data(), samples.size() * 4);
    return samples;
}

struct Coding {
    const char* file;
    std::vector<std::string> arguments;
    /// The greatest difference between two decodings of the same packets.
    float tolerance;
};

class LapsOfEveryCoding : public AudioSound, public testing::WithParamInterface<Coding> {};

TEST_P(LapsOfEveryCoding, GiveTheExactSamplesOfTheRangeAgainAndAgain) {
    constexpr std::int64_t kFrames = 44100 + 317;
    const std::string source = file("source.wav", 44100, kFrames);
    // Noise, so that each sample tells its place.
    runFfmpeg({"-f", "lavfi", "-i", "anoisesrc=r=44100:a=0.4:seed=7", "-af",
               "atrim=end_sample=" + std::to_string(kFrames), "-c:a", "pcm_s16le", source});
    const std::string path = folder_.file(GetParam().file);
    std::vector<std::string> arguments = {"-i", source};
    arguments.insert(arguments.end(), GetParam().arguments.begin(), GetParam().arguments.end());
    arguments.push_back(path);
    runFfmpeg(arguments);
    const std::vector<float> expected = decodedByFfmpeg(path, folder_.file("expected.raw"));
    ASSERT_GE(expected.size(), 44100u);

    constexpr std::pair<std::int64_t, std::int64_t> kRanges[] = {
        {0, 5000}, {1, 12346}, {1153, 1155}, {20001, 44099}};
    for (const auto& [in, out] : kRanges) {
        auto audio = rendering(path);
        audio->setInPoint(QTMakeTime(in, 44100));
        audio->setOutPoint(QTMakeTime(out, 44100));
        audio->setAudioLoops(true);
        const std::int64_t length = out - in;
        const Wave wave = played(audio, 3.2 * static_cast<double>(length) / 44100);
        ASSERT_EQ(wave.sampleRate, 44100);
        ASSERT_EQ(wave.channels, 1);
        ASSERT_GE(wave.frames(), static_cast<std::size_t>(3 * length));
        for (std::size_t i = 0; i < static_cast<std::size_t>(3 * length); ++i) {
            const auto place = static_cast<std::size_t>(in) + i % static_cast<std::size_t>(length);
            ASSERT_NEAR(wave.samples[i], expected[place], GetParam().tolerance)
                << "frame " << i << " of the range " << in << " to " << out;
        }
    }
}

TEST_P(LapsOfEveryCoding, OfTheWholeFileAreAsLongAsTheSoundThatWasCoded) {
    constexpr std::size_t kFrames = 44100 + 317;
    const std::string source = file("source.wav", 44100, kFrames);
    const std::string path = folder_.file(GetParam().file);
    std::vector<std::string> arguments = {"-i", source};
    arguments.insert(arguments.end(), GetParam().arguments.begin(), GetParam().arguments.end());
    arguments.push_back(path);
    runFfmpeg(arguments);
    auto audio = rendering(path);
    const Wave wave = played(audio, 5);
    // Movie files count in thousandths of a second.
    EXPECT_NEAR(static_cast<double>(wave.frames()), static_cast<double>(kFrames), 45);
}

INSTANTIATE_TEST_SUITE_P(
    Codings, LapsOfEveryCoding,
    testing::Values(Coding{"a.wav", {"-c:a", "pcm_s16le"}, 0},
                    Coding{"b.mov", {"-c:a", "pcm_s16be"}, 0},
                    Coding{"c.flac", {"-c:a", "flac"}, 0}, Coding{"d.m4a", {"-c:a", "alac"}, 0},
                    // Without noise that the decoder would make up anew each time.
                    Coding{"e.m4a", {"-c:a", "aac", "-b:a", "128k", "-aac_pns", "0"}, 1e-5f},
                    Coding{"f.mp3", {"-c:a", "libmp3lame", "-b:a", "160k"}, 1e-5f}),
    [](const auto& instance) {
        std::string name = instance.param.file;
        std::ranges::replace(name, '.', '_');
        return name;
    });

/// The gain of the user volume that an envelope or fade-out gives.
double gainOf(double volume) {
    return std::pow(std::clamp(volume, 0.0, 1.0), 2.2);
}

/// Steps between neighbouring samples are no larger than a ramp of 5 ms over the full scale makes.
void expectNoClick(const Wave& wave) {
    const float largest = 0.5f / (0.005f * static_cast<float>(wave.sampleRate)) + 1e-5f;
    for (std::size_t i = 1; i < wave.samples.size(); ++i)
        ASSERT_LE(std::abs(wave.samples[i] - wave.samples[i - 1]), largest) << "frame " << i;
}

TEST_F(AudioSound, PassesUntouchedAtFullVolume) {
    auto audio = rendering(file("count.wav", 44100, 20000));
    const Wave wave = played(audio, 1);
    ASSERT_EQ(wave.frames(), 20000u);
    for (std::size_t i = 0; i < wave.frames(); ++i)
        ASSERT_EQ(wave.samples[i], static_cast<float>(i) / 32768.0f);
}

TEST_F(AudioSound, FollowsAnEnvelopeThroughTheGamma) {
    auto audio = rendering(constant("steady.wav", 8000, 16000));
    audio->setVolumeEnvelope(envelope({{0, 1}, {1, 0.25}, {2, 1}}));
    const Wave wave = played(audio, 3);
    ASSERT_EQ(wave.frames(), 16000u);
    expectNoClick(wave);
    for (std::size_t i = 400; i < 15600; ++i) {
        const double seconds = static_cast<double>(i) / 8000;
        const double volume = seconds < 1 ? 1 - 0.75 * seconds : 0.25 + 0.75 * (seconds - 1);
        // A step every 0.02 s and a ramp of 5 ms: what is heard is as old as that.
        const double slack = gainOf(volume + 0.75 * 0.021) - gainOf(volume - 0.75 * 0.021);
        ASSERT_NEAR(wave.samples[i], 0.5 * gainOf(volume), 0.5 * slack) << seconds << " s";
    }
}

TEST_F(AudioSound, FadesOutAndStops) {
    auto audio = rendering(constant("steady.wav", 8000, 32000));
    audio->setVolumeEnvelope(envelope({}));
    audio->setVolume(1.0f);
    audio->play();
    clock_->advance(1);
    audio->fadeoutWithDuration(1.0, true);
    clock_->advance(3);
    EXPECT_TRUE(audio->isStopped());
    audio.reset();
    const Wave wave = readFloatWave(output_);
    EXPECT_NEAR(static_cast<double>(wave.frames()), 16000, 400);
    expectNoClick(wave);
    for (std::size_t i = 0; i < 7900; ++i)
        ASSERT_EQ(wave.samples[i], 0.5f);
    for (std::size_t i = 8400; i < wave.frames(); ++i) {
        const double volume = 2 - static_cast<double>(i) / 8000;
        const double slack = gainOf(volume + 0.026) - gainOf(volume - 0.026);
        ASSERT_NEAR(wave.samples[i], 0.5 * gainOf(volume), 0.5 * slack + 1e-4) << i;
    }
}

TEST_F(AudioSound, ChangesItsVolumeWithoutAClick) {
    auto audio = rendering(constant("steady.wav", 44100, 44100));
    audio->play();
    for (int i = 0; i < 40; ++i) {
        clock_->advance(0.0231);
        audio->setVolume(i % 2 ? 1.0f : 0.0f);
    }
    audio.reset();
    const Wave wave = readFloatWave(output_);
    expectNoClick(wave);
    EXPECT_NE(std::ranges::find(wave.samples, 0.0f), wave.samples.end());
    EXPECT_EQ(*std::ranges::max_element(wave.samples), 0.5f);
}

TEST_F(AudioSound, DropsNoFrameWhenItIsPausedAndPlayedAgain) {
    auto audio = rendering(file("count.wav", 44100, 30000));
    audio->play();
    clock_->advance(0.1);
    audio->pause();
    const QTTime at = audio->currentTime();
    clock_->advance(1);
    audio->pause();
    EXPECT_EQ(QTTimeCompare(audio->currentTime(), at), NSOrderedSame);
    clock_->advance(2);
    EXPECT_EQ(audio->currentTime(), audio->duration());
}

TEST_F(AudioSound, GoesOnAtExactlyTheTimeThatWasSet) {
    auto audio = rendering(file("count.wav", 44100, 30000));
    audio->setCurrentTime(QTMakeTime(12345, 44100));
    EXPECT_EQ(audio->currentTime(), QTMakeTime(12345, 44100));
    const Wave wave = played(audio, 2);
    ASSERT_EQ(wave.frames(), 30000u - 12345u);
    EXPECT_EQ(wave.samples[0], 12345 / 32768.0f);
}

TEST_F(AudioSound, IsHeardWithTheTweenTracksOfItsMovie) {
    const std::string path = folder_.file("tween.mov");
    runFfmpeg({"-f", "lavfi", "-i", "aevalsrc=0.5:s=48000:d=2", "-c:a", "pcm_s16be", path});
    ASSERT_EQ(
        test::runProgram({TWQT_PROGRAM, "tween", path, "--envelope", "0:1,1:0.25,2:1"}).exitStatus,
        0);
    auto audio = rendering(path);
    const Wave wave = played(audio, 3);
    ASSERT_GE(wave.frames(), 95000u);
    const auto channels = static_cast<std::size_t>(wave.channels);
    const float atStart = wave.samples[0];
    for (std::size_t i = 0; i < 95000; i += 100) {
        const double seconds = static_cast<double>(i) / 48000;
        const double gain = seconds < 1 ? 1 - 0.75 * seconds : 0.25 + 0.75 * (seconds - 1);
        ASSERT_NEAR(wave.samples[i * channels], atStart * gain, 0.01) << seconds << " s";
    }
}

}  // namespace
}  // namespace TWQuickTime
