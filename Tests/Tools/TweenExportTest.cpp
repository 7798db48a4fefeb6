// Fades that are written into a movie are heard in what is exported from it.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <fstream>
#include <iterator>

#include "TemporaryDirectory.h"
#include "TwqtProgram.h"

namespace twqt {
namespace {

using TWQuickTime::test::runFfmpeg;
using TWQuickTime::test::TemporaryDirectory;

constexpr int kRate = 48000;
constexpr int kWindow = kRate / 100;  // 10 ms: ten whole periods of the 1 kHz tone

/// Levels of a mono file, one for every 10 ms.
std::vector<double> levelsOf(const TemporaryDirectory& folder, const std::string& file) {
    const std::string raw = folder.file("levels.raw");
    runFfmpeg({"-i", file, "-f", "s16le", "-ac", "1", "-ar", std::to_string(kRate), raw});
    std::ifstream stream(raw, std::ios::binary);
    const std::string bytes((std::istreambuf_iterator<char>(stream)),
                            std::istreambuf_iterator<char>());
    std::vector<std::int16_t> samples(bytes.size() / 2);
    std::memcpy(samples.data(), bytes.data(), samples.size() * 2);
    std::vector<double> levels;
    for (std::size_t at = 0; at + kWindow <= samples.size(); at += kWindow) {
        double squares = 0;
        for (std::size_t i = at; i < at + kWindow; ++i)
            squares += double(samples[i]) * samples[i];
        levels.push_back(std::sqrt(squares / kWindow));
    }
    return levels;
}

/// Root mean square of the envelope over a window: 1 at 0 s, 0.25 at 1 s, 1 at 2 s.
double gainIn(std::size_t window) {
    double squares = 0;
    for (int i = 0; i < kWindow; ++i) {
        const double seconds = (double(window) * kWindow + i) / kRate;
        const double gain =
            (seconds < 1 ? 1 - 0.75 * seconds : 0.25 + 0.75 * (seconds - 1)) * 255 / 256;
        squares += gain * gain;
    }
    return std::sqrt(squares / kWindow);
}

TEST(TweenExport, AnEnvelopeIsHeardInTheExportedSoundWithinATenthOfADecibel) {
    TemporaryDirectory folder;
    const std::string movie = folder.file("a.mov");
    runFfmpeg({"-f", "lavfi", "-i", "sine=f=1000:r=48000:d=2,volume=6", "-ac", "2", "-c:a",
               "pcm_s16be", movie});
    const std::vector<double> before = levelsOf(folder, movie);
    ASSERT_EQ(runTwqt({"tween", movie, "--envelope", "0:1,1:0.25,2:1"}).exitStatus, 0);
    const std::string wave = folder.file("a.wav");
    const auto exported =
        runTwqt({"export", "--presets", TWQT_EXAMPLES "/Presets.qecs", "--id", "4", movie, wave});
    ASSERT_EQ(exported.exitStatus, 0) << exported.errors;
    const std::vector<double> after = levelsOf(folder, wave);
    ASSERT_EQ(after.size(), 200u);
    ASSERT_EQ(before.size(), 200u);
    for (std::size_t i = 0; i < after.size(); ++i)
        EXPECT_NEAR(20 * std::log10(after[i] / before[i]), 20 * std::log10(gainIn(i)), 0.1)
            << i * 10 << " ms";
}

}  // namespace
}  // namespace twqt
