#include <gtest/gtest.h>
#include <malloc.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <functional>
#include <vector>

extern "C" {
#include <jpeglib.h>
}

#include "CollectedImage.h"
#include "Engines/image/StillImage.h"
#include "PeakMemory.h"
#include "RunProgram.h"
#include "TemporaryDirectory.h"

namespace TWQuickTime::image {
namespace {

using test::collect;
using test::CollectedImage;
using TWQuickTime::test::PeakMemory;
using TWQuickTime::test::runFfmpeg;
using TWQuickTime::test::TemporaryDirectory;

/// Smooth colours, so that the codec's losses stay small.
std::vector<std::uint8_t> smooth(int width, int height, int components) {
    std::vector<std::uint8_t> samples;
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x)
            for (int c = 0; c < components; ++c)
                samples.push_back(
                    static_cast<std::uint8_t>(128 + 100 * std::sin((x * (c + 1) + y * 2) * 0.03)));
    return samples;
}

std::vector<std::byte> makeJPEG(const std::vector<std::uint8_t>& samples, int width, int height,
                                int components, J_COLOR_SPACE space,
                                const std::function<void(jpeg_compress_struct&)>& settings = {}) {
    jpeg_compress_struct info{};
    jpeg_error_mgr errors{};
    info.err = jpeg_std_error(&errors);
    jpeg_create_compress(&info);
    unsigned char* out = nullptr;
    unsigned long length = 0;
    jpeg_mem_dest(&info, &out, &length);
    info.image_width = JDIMENSION(width);
    info.image_height = JDIMENSION(height);
    info.input_components = components;
    info.in_color_space = space;
    jpeg_set_defaults(&info);
    jpeg_set_quality(&info, 98, TRUE);
    if (settings)
        settings(info);
    jpeg_start_compress(&info, TRUE);
    for (int y = 0; y < height; ++y) {
        auto* row = const_cast<JSAMPLE*>(&samples[std::size_t(y * width * components)]);
        jpeg_write_scanlines(&info, &row, 1);
    }
    jpeg_finish_compress(&info);
    jpeg_destroy_compress(&info);
    const auto* begin = reinterpret_cast<const std::byte*>(out);
    std::vector<std::byte> bytes(begin, begin + length);
    std::free(out);
    return bytes;
}

/// RGB samples as A R G B pixels.
std::vector<std::uint8_t> asPixels(const std::vector<std::uint8_t>& rgb) {
    std::vector<std::uint8_t> pixels;
    for (std::size_t i = 0; i < rgb.size(); i += 3)
        pixels.insert(pixels.end(), {255, rgb[i], rgb[i + 1], rgb[i + 2]});
    return pixels;
}

TEST(JpegImage, DecodesBaselineProgressiveAndRestartedPictures) {
    const auto rgb = smooth(101, 67, 3);
    for (int kind = 0; kind < 3; ++kind) {
        const auto bytes = makeJPEG(rgb, 101, 67, 3, JCS_RGB, [&](jpeg_compress_struct& info) {
            if (kind == 1)
                jpeg_simple_progression(&info);
            if (kind == 2)
                info.restart_interval = 3;
        });
        const CollectedImage image = collect(openJPEG(bytes));
        EXPECT_EQ(image.width, 101);
        EXPECT_EQ(image.height, 67);
        EXPECT_EQ(image.alpha, AlphaKind::skipped);
        EXPECT_GT(test::psnr(image.pixels, asPixels(rgb)), 40.0) << kind;
    }
}

struct JpegKind {
    const char* name;
    int components;
    J_COLOR_SPACE space;
    std::function<void(jpeg_compress_struct&)> settings;
    int tolerance = 6;  ///< halved chroma is interpolated in different ways
};

void sampleAllAlike(jpeg_compress_struct& info) {
    for (int c = 0; c < info.num_components; ++c)
        info.comp_info[c].h_samp_factor = info.comp_info[c].v_samp_factor = 1;
}

class EveryKindOfJpeg : public testing::TestWithParam<JpegKind> {};

TEST_P(EveryKindOfJpeg, DecodesAsAnIndependentDecoderDoes) {
    const JpegKind& kind = GetParam();
    TemporaryDirectory directory;
    const std::string jpeg = directory.file("a.jpg"), raw = directory.file("a.argb");
    const auto bytes = makeJPEG(smooth(160, 120, kind.components), 160, 120, kind.components,
                                kind.space, kind.settings);
    std::ofstream(jpeg, std::ios::binary)
        .write(reinterpret_cast<const char*>(bytes.data()), std::streamsize(bytes.size()));
    runFfmpeg({"-i", jpeg, "-sws_flags", "accurate_rnd+full_chroma_int+full_chroma_inp+bilinear",
               "-f", "rawvideo", "-pix_fmt", "argb", raw});
    const auto reference = test::readBytes(raw);
    const CollectedImage image = collect(openJPEG(bytes));
    ASSERT_EQ(image.pixels.size(), reference.size());
    for (std::size_t i = 0; i < reference.size(); ++i) {
        if (i % 4 != 0) {
            ASSERT_NEAR(int(image.pixels[i]), std::to_integer<int>(reference[i]), kind.tolerance)
                << "byte " << i % 4 << " of pixel " << i / 4 % 160 << ", " << i / 640;
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Jpeg, EveryKindOfJpeg,
                         testing::Values(JpegKind{"baseline", 3, JCS_RGB, sampleAllAlike},
                                         JpegKind{"halvedChroma", 3, JCS_RGB, {}, 12},
                                         JpegKind{"progressive", 3, JCS_RGB,
                                                  [](jpeg_compress_struct& settings) {
                                                      sampleAllAlike(settings);
                                                      jpeg_simple_progression(&settings);
                                                  }},
                                         JpegKind{"restartMarkers", 3, JCS_RGB,
                                                  [](jpeg_compress_struct& settings) {
                                                      sampleAllAlike(settings);
                                                      settings.restart_interval = 3;
                                                  }},
                                         JpegKind{"grey", 1, JCS_GRAYSCALE, {}},
                                         JpegKind{"inks", 4, JCS_CMYK,
                                                  [](jpeg_compress_struct& settings) {
                                                      jpeg_set_colorspace(&settings, JCS_CMYK);
                                                  }},
                                         JpegKind{"transformedInks", 4, JCS_CMYK,
                                                  [](jpeg_compress_struct& settings) {
                                                      jpeg_set_colorspace(&settings, JCS_YCCK);
                                                      sampleAllAlike(settings);
                                                  }}),
                         [](const auto& named) { return std::string(named.param.name); });

TEST(JpegImage, DecodesGreyToEqualColors) {
    const auto grey = smooth(33, 21, 1);
    const CollectedImage image = collect(openJPEG(makeJPEG(grey, 33, 21, 1, JCS_GRAYSCALE)));
    for (std::size_t i = 0; i < grey.size(); ++i) {
        EXPECT_NEAR(image.pixels[i * 4 + 1], grey[i], 4);
        EXPECT_EQ(image.pixels[i * 4 + 1], image.pixels[i * 4 + 2]);
        EXPECT_EQ(image.pixels[i * 4 + 2], image.pixels[i * 4 + 3]);
    }
}

TEST(JpegImage, TakesInksOfAdobeFilesAsInvertedAndMultipliesByBlack) {
    const auto inks = smooth(40, 30, 4);
    for (bool ycck : {false, true}) {
        // The encoder writes the Adobe marker with both.
        const auto bytes = makeJPEG(inks, 40, 30, 4, JCS_CMYK, [&](jpeg_compress_struct& info) {
            jpeg_set_colorspace(&info, ycck ? JCS_YCCK : JCS_CMYK);
            for (int c = 0; c < 4; ++c)
                info.comp_info[c].h_samp_factor = info.comp_info[c].v_samp_factor = 1;
        });
        const CollectedImage image = collect(openJPEG(bytes));
        for (std::size_t i = 0; i < inks.size(); i += 4)
            for (std::size_t c = 0; c < 3; ++c)
                ASSERT_NEAR(image.pixels[i + 1 + c], inks[i + c] * inks[i + 3] / 255.0, 6)
                    << i << (ycck ? " YCCK" : " CMYK");
    }
}

TEST(JpegImage, TakesInksWithoutTheAdobeMarkerAsTheyAre) {
    const auto inks = smooth(24, 24, 4);
    const auto bytes = makeJPEG(inks, 24, 24, 4, JCS_CMYK, [](jpeg_compress_struct& info) {
        info.write_Adobe_marker = FALSE;
    });
    const CollectedImage image = collect(openJPEG(bytes));
    for (std::size_t i = 0; i < inks.size(); i += 4)
        for (std::size_t c = 0; c < 3; ++c)
            ASSERT_NEAR(image.pixels[i + 1 + c], (255 - inks[i + c]) * (255 - inks[i + 3]) / 255.0,
                        6);
}

TEST(JpegImage, DecodesToASmallerSizeThatIsStillLargeEnough) {
    const auto rgb = smooth(400, 300, 3);
    const auto bytes = makeJPEG(rgb, 400, 300, 3, JCS_RGB);
    const auto image = openJPEG(bytes);
    ASSERT_TRUE(image);
    struct {
        SizeInPixels wanted, given;
    } cases[] = {{{400, 300}, {400, 300}},
                 {{201, 150}, {400, 300}},
                 {{200, 150}, {200, 150}},
                 {{60, 70}, {100, 75}},
                 {{10, 10}, {50, 38}}};
    for (const auto& c : cases) {
        CollectedImage collected;
        ASSERT_TRUE((*image)->draw(collected, c.wanted, {}).ok());
        EXPECT_EQ(collected.width, c.given.width);
        EXPECT_EQ(collected.height, c.given.height);
    }
}

TEST(JpegImage, RefusesAFileThatIsCutAnywhere) {
    const auto bytes = makeJPEG(smooth(32, 32, 3), 32, 32, 3, JCS_RGB);
    for (std::size_t length = 0; length < bytes.size(); ++length)
        EXPECT_FALSE(openJPEG({bytes.data(), length}).ok()) << length;
}

TEST(JpegImage, SurvivesAnyDamagedByte) {
    auto bytes = makeJPEG(smooth(32, 32, 3), 32, 32, 3, JCS_RGB);
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        const std::byte kept = bytes[i];
        bytes[i] = ~kept;
        const auto image = openJPEG(bytes);
        if (image && std::int64_t{(*image)->size().width} * (*image)->size().height < 1000000) {
            CollectedImage collected;
            const result::Status drawn = (*image)->draw(collected, {32, 32}, {});
            EXPECT_TRUE(drawn.ok() || !drawn.failure().message.empty());
        }
        bytes[i] = kept;
    }
}

/// The offset of the frame header's payload: precision, height, width, number of components.
std::size_t frameHeaderOf(const std::vector<std::byte>& jpeg) {
    for (std::size_t i = 2; i + 10 < jpeg.size();) {
        const int marker = std::to_integer<int>(jpeg[i + 1]);
        if (marker == 0xC0 || marker == 0xC2)
            return i + 4;
        i += 2 + (std::to_integer<std::size_t>(jpeg[i + 2]) << 8 |
                  std::to_integer<std::size_t>(jpeg[i + 3]));
    }
    ADD_FAILURE() << "no frame header";
    return 0;
}

std::vector<std::byte> withStatedSize(std::vector<std::byte> jpeg, unsigned width,
                                      unsigned height) {
    const std::size_t header = frameHeaderOf(jpeg);
    jpeg[header + 1] = std::byte(height >> 8);
    jpeg[header + 2] = std::byte(height & 255);
    jpeg[header + 3] = std::byte(width >> 8);
    jpeg[header + 4] = std::byte(width & 255);
    return jpeg;
}

/// Counts rows and keeps none.
class CountedRows : public RowConsumer {
  public:
    result::Status begin(int, int, AlphaKind) override { return {}; }
    result::Status row(std::uint8_t*) override {
        ++count;
        return {};
    }
    int count = 0;
};

TEST(JpegImage, ABombOfManyPixelsFailsWithoutTheMemoryForThem) {
    for (const bool progressive : {false, true}) {
        const auto small =
            makeJPEG(smooth(64, 64, 3), 64, 64, 3, JCS_RGB, [&](jpeg_compress_struct& info) {
                if (progressive)
                    jpeg_simple_progression(&info);
            });
        const auto bomb = withStatedSize(small, 65500, 65500);
        const PeakMemory memory;
        const auto image = openJPEG(bomb);
        ASSERT_TRUE(image);
        CountedRows rows;
        EXPECT_FALSE((*image)->draw(rows, {64, 64}, {}).ok()) << progressive;
        EXPECT_LT(rows.count, 100) << progressive;
        // Some rows of 65500 pixels with their coefficients.
        EXPECT_LT(memory.grownBytes(), std::size_t(64) << 20) << progressive;
    }
}

// The thread sanitizer keeps several times the memory that a program writes to.
#ifndef __SANITIZE_THREAD__
TEST(JpegImage, ALargePictureTakesMemoryForSomeRowsUnlessItIsProgressive) {
    constexpr int kLargeWidth = 2400, kLargeHeight = 1800;
    constexpr std::size_t kSomeRows = 4 << 20;
    const std::vector<std::uint8_t> samples = smooth(kLargeWidth, kLargeHeight, 3);
    for (const bool progressive : {false, true}) {
        const auto bytes = makeJPEG(samples, kLargeWidth, kLargeHeight, 3, JCS_RGB,
                                    [&](jpeg_compress_struct& info) {
                                        if (progressive)
                                            jpeg_simple_progression(&info);
                                    });
        // What is free already must not serve unseen.
        malloc_trim(0);
        const PeakMemory memory;
        const auto image = openJPEG(bytes);
        ASSERT_TRUE(image);
        CountedRows rows;
        ASSERT_TRUE((*image)->draw(rows, {kLargeWidth, kLargeHeight}, {}).ok());
        EXPECT_EQ(rows.count, kLargeHeight);
        // Two bytes for each coefficient, half as many for colour as for luma.
        const std::size_t held =
            progressive ? std::size_t{kLargeWidth} * std::size_t{kLargeHeight} * 3 : 0;
        EXPECT_LT(memory.grownBytes(), held + kSomeRows) << progressive;
    }
}
#endif

TEST(JpegImage, RefusesSizesOfZeroAndCountsThatContradictTheScans) {
    const auto jpeg = makeJPEG(smooth(32, 32, 3), 32, 32, 3, JCS_RGB);
    EXPECT_FALSE(openJPEG(withStatedSize(jpeg, 0, 32)).ok());
    EXPECT_FALSE(openJPEG(withStatedSize(jpeg, 65535, 65535)).ok());
    for (int components : {0, 1, 2, 4, 255}) {
        auto damaged = jpeg;
        damaged[frameHeaderOf(jpeg) + 5] = std::byte(components);
        EXPECT_FALSE(openJPEG(damaged).ok()) << components;
    }
}

}  // namespace
}  // namespace TWQuickTime::image
