// Movies that other people's programs made, exported and compared with ffmpeg's own decoding.
#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <cmath>

#include "Engines/codec/ByteOrder.h"
#include "ExportedFile.h"
#include "TemporaryDirectory.h"

namespace TWQuickTime::transcode {
namespace {

using codec::fourCode;
using TWQuickTime::test::TemporaryDirectory;

struct SampleMovie {
    const char* name;
    /// The track of pictures begins with a gap, for which ffmpeg gives no picture.
    bool gap = false;
    /// ffmpeg decodes the first frame of each packet only.
    bool packedSpeech = false;
    /// The sound track's volume, which ffmpeg does not look at.
    double volume = 1;
};

class EverySampleMovie : public testing::TestWithParam<SampleMovie> {
  protected:
    void SetUp() override {
        if (TWQuickTime::test::sampleMediaFolder().empty()) {
            GTEST_SKIP() << "TWQT_MEDIA names no folder of sample media";
        }
        source_ = TWQuickTime::test::sampleMediaFolder() + "/" + GetParam().name;
    }
    bool has(const char* stream) const {
        return !test::probe(source_, stream, "codec_name").empty();
    }
    TemporaryDirectory folder_;
    std::string source_;
};

TEST_P(EverySampleMovie, ExportsPicturesAndSoundAsTheyAreDecodedElsewhere) {
    const std::string out = folder_.file("out.mov");
    const bool pictures = has("v:0"), sound = has("a:0");
    ExportSettings settings =
        test::settingsFor(FileKind::quickTime, fourCode("FFV1"), fourCode("fl32"));
    if (pictures) {
        settings.video->width = 160;
        settings.video->height = 120;
    }
    const auto status = test::exportFile(source_, settings, out);
    ASSERT_TRUE(status) << status.failure().message;
    if (pictures) {
        const std::vector<double> quality =
            test::lumaPsnrs(source_, out, "scale=160:120:flags=area",
                            GetParam().gap ? "select='gte(n,1)'" : "null", folder_.file("psnr"));
        const std::vector<double> before = test::frameTimes(source_), after = test::frameTimes(out);
        const std::size_t blank = GetParam().gap ? 1 : 0;
        ASSERT_EQ(after.size(), before.size() + blank);
        ASSERT_EQ(quality.size(), before.size());
        for (std::size_t i = 0; i < before.size(); ++i) {
            EXPECT_NEAR(after[i + blank], before[i], 0.002);
        }
        EXPECT_GT(*std::ranges::min_element(quality), 30) << testing::PrintToString(quality);
    }
    if (sound && !GetParam().packedSpeech) {
        auto before = test::decodedSound(source_, folder_.file("a"));
        auto after = test::decodedSound(out, folder_.file("b"));
        // Coded sound may stop within a packet before its time is over.
        EXPECT_NEAR(double(after.size()), double(before.size()), 2048);
        const std::size_t common = std::min(before.size(), after.size());
        before.resize(common);
        after.resize(common);
        const double expected = test::level(before) * GetParam().volume;
        EXPECT_NEAR(test::level(after), expected, 0.02 * expected + 1e-4);
        if (test::level(before) > 1e-4) {
            EXPECT_LE(std::abs(test::bestShift(before, after, 20)), 1);
            EXPECT_GT(test::correlation(before, after, 0), 0.98);
        }
    }
}

INSTANTIATE_TEST_SUITE_P(
    Movies, EverySampleMovie,
    testing::Values(
        SampleMovie{"opencast--audiovideo.mov"}, SampleMovie{"opf--photo-jpeg.mov"},
        SampleMovie{"opf--apple-prores-422-proxy.mov"}, SampleMovie{"opf--xdcam-ex-720p30.mov"},
        SampleMovie{"c2pa--c.mov"}, SampleMovie{"androidx--sample_fragmented_seekable.mp4", true},
        SampleMovie{"androidx--edit_list_positive_shift.mp4", true},
        SampleMovie{"gopro--karma.mp4", false, false, 100 / 256.0},
        SampleMovie{"androidx--sample_with_chapters.mp4"},
        SampleMovie{"androidx--sample_twos_pcm.mp4"}, SampleMovie{"androidx--sowt-with-video.mov"},
        SampleMovie{"jcodec--orientation.mp4"},
        SampleMovie{"mp4parser--Tiny_Sample_-_NEW_-_Untouched.mp4"},
        SampleMovie{"mp4parse--minimal.mp4"}, SampleMovie{"filetype--fixture2.3gp", false, true},
        SampleMovie{"mutagen--alac.m4a"}, SampleMovie{"androidx--bbb_2ch_44kHz.wav"},
        SampleMovie{"filetype--fixture.aif"}, SampleMovie{"mediafile--full.mp3"}),
    [](const auto& instance) {
        std::string name = instance.param.name;
        std::ranges::replace_if(
            name, [](unsigned char c) { return std::isalnum(c) == 0; }, '_');
        return name;
    });

}  // namespace
}  // namespace TWQuickTime::transcode
