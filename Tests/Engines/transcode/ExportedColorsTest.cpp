// Colours through an export: by the tags of the source, whatever its size.
#include <gtest/gtest.h>

#include <array>
#include <cstdlib>
#include <fstream>
#include <string>

#include "Engines/codec/ByteOrder.h"
#include "ExportedFile.h"
#include "TemporaryDirectory.h"

namespace TWQuickTime::transcode {
namespace {

using codec::fourCode;
using TWQuickTime::test::runFfmpeg;
using TWQuickTime::test::TemporaryDirectory;

using Rgb = std::array<int, 3>;

/// Where stripes, which grow from black on the left, are looked at, and how bright they are there.
constexpr std::size_t kColumn = 60;
constexpr int kBright = 240;

struct Tags {
    const char* name;
    const char* matrix;
    const char* range;
    const char* size;
};

/// Stripes of red, green and blue, coded by a matrix and a range and tagged as such.
void makeStripes(const Tags& tags, const std::string& path) {
    const std::string matrix = tags.matrix;
    runFfmpeg({"-f",
               "lavfi",
               "-i",
               std::string("rgbtestsrc=r=5:s=") + tags.size,
               "-frames:v",
               "2",
               "-vf",
               "scale=out_color_matrix=" + matrix + ":out_range=" + tags.range + ",format=yuv420p",
               "-c:v",
               "libx264",
               "-qp",
               "1",
               "-colorspace",
               matrix,
               "-color_primaries",
               "bt709",
               "-color_trc",
               "bt709",
               "-color_range",
               tags.range,
               path});
}

/// The three stripes of the first picture, as ffmpeg shows it.
std::array<Rgb, 3> stripesOf(const std::string& path, const std::string& scratchFile) {
    runFfmpeg({"-i", path, "-frames:v", "1", "-vf", "scale=64:48:flags=neighbor", "-pix_fmt",
               "rgb24", "-f", "rawvideo", scratchFile});
    std::ifstream file(scratchFile, std::ios::binary);
    const std::string pixels((std::istreambuf_iterator<char>(file)), {});
    EXPECT_EQ(pixels.size(), 64u * 48 * 3);
    std::array<Rgb, 3> stripes{};
    for (std::size_t stripe = 0; stripe < 3; ++stripe) {
        const std::size_t row = 8 + stripe * 16;
        for (std::size_t channel = 0; channel < 3; ++channel) {
            stripes[stripe][channel] =
                static_cast<unsigned char>(pixels.at((row * 64 + kColumn) * 3 + channel));
        }
    }
    return stripes;
}

void expectPlainStripes(const std::array<Rgb, 3>& stripes, int tolerance) {
    for (std::size_t stripe = 0; stripe < 3; ++stripe) {
        for (std::size_t channel = 0; channel < 3; ++channel) {
            EXPECT_NEAR(stripes[stripe][channel], stripe == channel ? kBright : 0, tolerance)
                << "stripe " << stripe << ", channel " << channel;
        }
    }
}

class ExportedColors : public testing::TestWithParam<Tags> {
  protected:
    void SetUp() override { makeStripes(GetParam(), folder_.file("source.mov")); }
    std::string exportTo(std::uint32_t codec, int width) {
        std::string out = folder_.file("out.mov");
        ExportSettings settings = test::settingsFor(FileKind::quickTime, codec, 0);
        settings.video->width = width;
        settings.video->height = width * 3 / 4;
        const auto status = test::exportFile(folder_.file("source.mov"), settings, out);
        EXPECT_TRUE(status);
        return out;
    }
    TemporaryDirectory folder_;
};

TEST_P(ExportedColors, BecomeTheRgbThatTheyStandFor) {
    expectPlainStripes(stripesOf(exportTo(fourCode("png "), 0), folder_.file("raw")), 5);
}

TEST_P(ExportedColors, SurviveCodecsThatHaveAMatrixAndARangeOfTheirOwn) {
    expectPlainStripes(stripesOf(exportTo(fourCode("jpeg"), 0), folder_.file("raw")), 12);
}

TEST_P(ExportedColors, KeepTheirMatrixInVideoRangeWhenThePictureIsScaled) {
    const std::string out = exportTo(fourCode("avc1"), 96);
    EXPECT_EQ(test::probe(out, "v:0", "color_space"), GetParam().matrix);
    EXPECT_EQ(test::probe(out, "v:0", "color_range"), "tv");
    expectPlainStripes(stripesOf(out, folder_.file("raw")), 8);
}

INSTANTIATE_TEST_SUITE_P(Tagged, ExportedColors,
                         testing::Values(Tags{"SmallBt709", "bt709", "tv", "64x48"},
                                         Tags{"SmallBt709Full", "bt709", "pc", "64x48"},
                                         Tags{"SmallBt601", "smpte170m", "tv", "64x48"},
                                         Tags{"SmallBt601Full", "smpte170m", "pc", "64x48"},
                                         Tags{"LargeBt601", "smpte170m", "tv", "1280x720"}),
                         [](const auto& instance) { return std::string(instance.param.name); });

}  // namespace
}  // namespace TWQuickTime::transcode
