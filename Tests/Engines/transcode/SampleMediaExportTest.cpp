// Movies that other people's programs made, exported and compared with ffmpeg's own decoding.
#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <cmath>
#include <cstdlib>
#include <utility>
#include <vector>

#include "Engines/codec/ByteOrder.h"
#include "ExportedFile.h"
#include "TemporaryDirectory.h"

namespace TWQuickTime::transcode {
namespace {

using codec::fourCode;
using TWQuickTime::test::TemporaryDirectory;

struct SampleMovie {
    const char* name = "";
    /// The track of pictures begins with a gap, for which ffmpeg gives no picture.
    bool gap = false;
    /// ffmpeg decodes the first frame of each packet only, unless they come from a file of speech.
    bool packedSpeech = false;
    /// The sound track's volume, which ffmpeg does not look at.
    double volume = 1;
    /// Samples at 48 kHz in front of the first edit, which a file of speech cannot leave out.
    int soundBegins = 0;
    /// So quiet that lossy codecs leave little of it.
    bool faint = false;
    /// Of pictures that take long to decode.
    bool large = false;
};

constexpr double kLossless = 0.98;

const SampleMovie kSamples[] = {
    SampleMovie{"opencast--audiovideo.mov"},
    SampleMovie{"opf--photo-jpeg.mov"},
    SampleMovie{"opf--apple-prores-422-proxy.mov"},
    SampleMovie{"opf--xdcam-ex-720p30.mov"},
    SampleMovie{.name = "c2pa--c.mov", .large = true},
    SampleMovie{"androidx--sample_fragmented_seekable.mp4", true},
    SampleMovie{.name = "androidx--edit_list_positive_shift.mp4", .gap = true, .large = true},
    SampleMovie{.name = "gopro--karma.mp4", .volume = 100 / 256.0},
    SampleMovie{"androidx--sample_with_chapters.mp4"},
    SampleMovie{"androidx--sample_twos_pcm.mp4"},
    SampleMovie{.name = "androidx--sowt-with-video.mov", .large = true},
    SampleMovie{"jcodec--orientation.mp4"},
    SampleMovie{"mp4parser--Tiny_Sample_-_NEW_-_Untouched.mp4"},
    SampleMovie{"mp4parse--minimal.mp4"},
    SampleMovie{.name = "filetype--fixture2.3gp", .packedSpeech = true, .soundBegins = 240},
    SampleMovie{"mutagen--alac.m4a"},
    SampleMovie{"androidx--bbb_2ch_44kHz.wav"},
    SampleMovie{"filetype--fixture.aif"},
    SampleMovie{.name = "mediafile--full.mp3", .faint = true}};

std::string wordsOf(std::string name) {
    std::ranges::replace_if(
        name, [](unsigned char c) { return std::isalnum(c) == 0; }, '_');
    return name;
}

/// One sample, and what an export of it is compared with.
class SampleExport : public testing::Test {
  protected:
    void begin(const SampleMovie& sample) {
        sample_ = sample;
        source_ = TWQuickTime::test::sampleMediaFolder() + "/" + sample.name;
        pictures_ = has("v:0");
        sound_ = has("a:0");
    }
    bool has(const char* stream) const {
        return !test::probe(source_, stream, "codec_name").empty();
    }

    /// One sample of the source in samples at 48 kHz.
    int oneSample() const {
        const int rate = std::atoi(test::probe(source_, "a:0", "sample_rate").c_str());
        return std::max(1, 48000 / std::max(rate, 1));
    }

    /// The export's pictures are of 160x120 and begin at a time.
    void comparePictures(const std::string& out, double begin, double tolerance, double leastPsnr) {
        const std::vector<double> quality =
            test::lumaPsnrs(source_, out, "scale=160:120:flags=area",
                            sample_.gap ? "select='gte(n,1)'" : "null", folder_.file("psnr"));
        const std::vector<double> before = test::frameTimes(source_), after = test::frameTimes(out);
        const std::size_t blank = sample_.gap ? 1 : 0;
        ASSERT_EQ(after.size(), before.size() + blank);
        ASSERT_EQ(quality.size(), before.size());
        for (std::size_t i = 0; i < before.size(); ++i) {
            EXPECT_NEAR(after[i + blank] - begin, before[i], tolerance);
        }
        EXPECT_GT(*std::ranges::min_element(quality), leastPsnr) << testing::PrintToString(quality);
    }

    /// @param begin      seconds, when the export's pictures begin
    /// @param tolerance  samples at 48 kHz between where sound is and where it should be
    void compareSound(const std::string& out, double begin, int tolerance,
                      double leastCorrelation) {
        std::string heard = source_;
        if (sample_.packedSpeech) {
            heard = folder_.file("speech.amr");
            TWQuickTime::test::runFfmpeg({"-i", source_, "-map", "a:0", "-c", "copy", heard});
        }
        auto before = test::decodedSound(heard, folder_.file("a"));
        before.erase(before.begin(), before.begin() + sample_.soundBegins);
        auto after = test::decodedSound(out, folder_.file("b"));
        const auto late = std::ptrdiff_t(std::llround(begin * 48000));
        ASSERT_GE(after.size(), std::size_t(late));
        after.erase(after.begin(), after.begin() + late);
        // Coded sound may stop within a packet before its time is over.
        EXPECT_NEAR(double(after.size()), double(before.size()), 2048);
        if (sample_.faint && leastCorrelation < kLossless) {
            return;
        }
        const std::size_t common = std::min(before.size(), after.size());
        before.resize(common);
        after.resize(common);
        const double expected = test::level(before) * sample_.volume;
        const double share = leastCorrelation < kLossless ? 0.06 : 0.02;
        EXPECT_NEAR(test::level(after), expected, share * expected + 1e-4);
        if (test::level(before) > 1e-4) {
            const std::ptrdiff_t shift = test::bestShift(before, after, tolerance + 20);
            EXPECT_LE(std::abs(shift), tolerance);
            EXPECT_GT(test::correlation(before, after, shift), leastCorrelation);
        }
    }

    SampleMovie sample_;
    TemporaryDirectory folder_;
    std::string source_;
    bool pictures_ = false;
    bool sound_ = false;
};

class EverySampleMovie : public SampleExport, public testing::WithParamInterface<SampleMovie> {
  protected:
    void SetUp() override {
        if (TWQuickTime::test::sampleMediaFolder().empty()) {
            GTEST_SKIP() << "TWQT_MEDIA names no folder of sample media";
        }
        begin(GetParam());
    }
};

TEST_P(EverySampleMovie, ExportsPicturesAndSoundAsTheyAreDecodedElsewhere) {
    const std::string out = folder_.file("out.mov");
    ExportSettings settings =
        test::settingsFor(FileKind::quickTime, fourCode("FFV1"), fourCode("fl32"));
    if (pictures_) {
        settings.video->width = 160;
        settings.video->height = 120;
    }
    const auto status = test::exportFile(source_, settings, out);
    ASSERT_TRUE(status) << status.failure().message;
    if (pictures_) {
        comparePictures(out, 0, 0.002, 30);
    }
    if (sound_) {
        compareSound(out, 0, oneSample(), kLossless);
    }
}

INSTANTIATE_TEST_SUITE_P(Movies, EverySampleMovie, testing::ValuesIn(kSamples),
                         [](const auto& instance) { return wordsOf(instance.param.name); });

/// A format and codecs with delays and reordered pictures, as people use them.
struct Delivery {
    const char* extension;
    FileKind kind;
    std::uint32_t video, sound;
};

const Delivery kDeliveries[] = {
    {"mov", FileKind::quickTime, fourCode("avc1"), fourCode("mp4a")},
    {"mp4", FileKind::mpeg4, fourCode("avc1"), fourCode("Opus")},
    {"mkv", FileKind::matroska, fourCode("avc1"), fourCode(".mp3")},
    {"webm", FileKind::webm, fourCode("vp08"), fourCode("vrbs")},
};

/// All of both, but large samples into one format only.
std::vector<std::pair<SampleMovie, Delivery>> deliveriesOfSamples() {
    std::vector<std::pair<SampleMovie, Delivery>> all;
    for (const SampleMovie& sample : kSamples) {
        for (const Delivery& delivery : kDeliveries) {
            if (!sample.large || delivery.kind == FileKind::matroska) {
                all.emplace_back(sample, delivery);
            }
        }
    }
    return all;
}

class EveryDeliveryOfSampleMovies
    : public SampleExport,
      public testing::WithParamInterface<std::pair<SampleMovie, Delivery>> {
  protected:
    void SetUp() override {
        if (TWQuickTime::test::sampleMediaFolder().empty()) {
            GTEST_SKIP() << "TWQT_MEDIA names no folder of sample media";
        }
        begin(GetParam().first);
    }
};

TEST_P(EveryDeliveryOfSampleMovies, KeepsTheFramesTheirTimesAndSoundBesideThem) {
    const Delivery& delivery = GetParam().second;
    const bool inMilliseconds =
        delivery.kind == FileKind::matroska || delivery.kind == FileKind::webm;
    const std::string out = folder_.file(std::string("out.") + delivery.extension);
    ExportSettings settings = test::settingsFor(delivery.kind, delivery.video, delivery.sound);
    if (pictures_) {
        settings.video->width = 160;
        settings.video->height = 120;
    }
    const auto status = test::exportFile(source_, settings, out);
    ASSERT_TRUE(status) << status.failure().message;
    // Formats that cannot begin before zero begin a little later, with both streams.
    const double begin = pictures_ ? test::frameTimes(out).front() : 0;
    EXPECT_LT(begin, inMilliseconds ? 0.2 : 1e-9);
    if (pictures_) {
        comparePictures(out, begin, 0.002, 26);
    }
    // Alone, sound in Matroska begins with its encoder's delay: there is nothing to be late for.
    if (sound_ && (pictures_ || !inMilliseconds)) {
        compareSound(out, begin, inMilliseconds ? 48 : oneSample(), 0.94);
    }
}

INSTANTIATE_TEST_SUITE_P(Movies, EveryDeliveryOfSampleMovies,
                         testing::ValuesIn(deliveriesOfSamples()), [](const auto& instance) {
                             return wordsOf(instance.param.first.name) + "_" +
                                    instance.param.second.extension;
                         });

}  // namespace
}  // namespace TWQuickTime::transcode
