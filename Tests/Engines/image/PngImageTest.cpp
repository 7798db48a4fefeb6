#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <lcms2.h>
#include <png.h>

#include <cstdio>
#include <cstring>
#include <functional>
#include <random>

#include "AllocationMeter.h"
#include "CollectedImage.h"
#include "Engines/image/PngWriter.h"
#include "Engines/image/RowPlacer.h"
#include "Engines/image/StillImage.h"
#include "Engines/image/WholeImage.h"
#include "TemporaryDirectory.h"

namespace TWQuickTime::image {
namespace {

using test::collect;
using test::CollectedImage;

struct Variant {
    int colorType;
    int depth;
    bool interlaced;
    bool transparent;
};

/// A picture of pseudo-random samples as the reference library writes it, all row filters in use.
std::vector<std::byte> makePNG(const Variant& v, int width, int height,
                               const std::function<void(png_structp, png_infop)>& more = {}) {
    std::vector<std::byte> bytes;
    png_structp png = png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
    png_infop info = png_create_info_struct(png);
    png_set_write_fn(
        png, &bytes,
        [](png_structp self, png_bytep data, png_size_t count) {
            auto* out = static_cast<std::vector<std::byte>*>(png_get_io_ptr(self));
            const auto* begin = reinterpret_cast<const std::byte*>(data);
            out->insert(out->end(), begin, begin + count);
        },
        nullptr);
    png_set_IHDR(png, info, png_uint_32(width), png_uint_32(height), v.depth, v.colorType,
                 v.interlaced ? PNG_INTERLACE_ADAM7 : PNG_INTERLACE_NONE,
                 PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
    png_set_filter(png, 0, PNG_ALL_FILTERS);
    std::mt19937 random(unsigned(v.colorType * 100 + v.depth));
    const int colors = 1 << std::min(v.depth, 8);
    if (v.colorType == PNG_COLOR_TYPE_PALETTE) {
        std::vector<png_color> palette;
        std::vector<png_byte> alphas;
        for (int i = 0; i < colors; ++i) {
            palette.push_back({png_byte(random()), png_byte(random()), png_byte(random())});
            alphas.push_back(png_byte(random()));
        }
        png_set_PLTE(png, info, palette.data(), colors);
        if (v.transparent)
            png_set_tRNS(png, info, alphas.data(), colors / 2, nullptr);
    } else if (v.transparent) {
        png_color_16 key{};
        key.gray = png_uint_16(v.depth == 16 ? 0x1212 : 1);
        key.red = key.green = key.blue = png_uint_16(v.depth == 16 ? 0x1212 : 0x12);
        png_set_tRNS(png, info, nullptr, 0, &key);
    }
    if (more)
        more(png, info);
    png_write_info(png, info);
    const std::size_t rowBytes = png_get_rowbytes(png, info);
    std::vector<std::vector<png_byte>> rows(static_cast<std::size_t>(height),
                                            std::vector<png_byte>(rowBytes));
    for (int y = 0; y < height; ++y)
        for (std::size_t i = 0; i < rowBytes; ++i)
            // Smooth and noisy rows in turn, some of them the transparent colour.
            rows[std::size_t(y)][i] = y % 5 == 0 ? 0x12
                                      : y % 2    ? png_byte(i + unsigned(y))
                                                 : png_byte(random());
    const int passes = v.interlaced ? png_set_interlace_handling(png) : 1;
    for (int pass = 0; pass < passes; ++pass)
        for (auto& row : rows)
            png_write_row(png, row.data());
    png_write_end(png, info);
    png_destroy_write_struct(&png, &info);
    return bytes;
}

/// What the reference library reads, as A R G B.
std::vector<std::uint8_t> readWithReference(const std::vector<std::byte>& bytes, bool applyGamma) {
    png_structp png = png_create_read_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr,
                                             [](png_structp, png_const_charp) {});
    png_infop info = png_create_info_struct(png);
    struct Place {
        const std::vector<std::byte>* bytes;
        std::size_t offset;
    } place{&bytes, 0};
    png_set_read_fn(png, &place, [](png_structp self, png_bytep data, png_size_t count) {
        auto* from = static_cast<Place*>(png_get_io_ptr(self));
        std::memcpy(data, from->bytes->data() + from->offset, count);
        from->offset += count;
    });
    png_read_info(png, info);
    png_set_expand(png);
    png_set_scale_16(png);
    png_set_gray_to_rgb(png);
    png_set_add_alpha(png, 255, PNG_FILLER_AFTER);
    double gamma = 0;
    if (applyGamma && png_get_gAMA(png, info, &gamma))
        png_set_gamma(png, 2.2, gamma);
    const int passes = png_set_interlace_handling(png);
    png_read_update_info(png, info);
    const int width = int(png_get_image_width(png, info));
    const int height = int(png_get_image_height(png, info));
    std::vector<std::uint8_t> pixels(std::size_t(width * height * 4));
    for (int pass = 0; pass < passes; ++pass)
        for (int y = 0; y < height; ++y)
            png_read_row(png, &pixels[std::size_t(y * width * 4)], nullptr);
    png_destroy_read_struct(&png, &info, nullptr);
    for (std::size_t i = 0; i < pixels.size(); i += 4) {
        const std::uint8_t alpha = pixels[i + 3];
        std::memmove(&pixels[i + 1], &pixels[i], 3);
        pixels[i] = alpha;
    }
    return pixels;
}

/// The embedded profile that the reference library finds; none when there is none.
std::vector<std::byte> profileByReference(const std::string& path) {
    std::FILE* file = std::fopen(path.c_str(), "rb");
    png_structp png = png_create_read_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
    png_infop info = png_create_info_struct(png);
    png_init_io(png, file);
    png_read_info(png, info);
    png_charp name = nullptr;
    png_bytep bytes = nullptr;
    png_uint_32 length = 0;
    int compression = 0;
    std::vector<std::byte> profile;
    if (png_get_iCCP(png, info, &name, &compression, &bytes, &length)) {
        const auto* begin = reinterpret_cast<const std::byte*>(bytes);
        profile.assign(begin, begin + length);
    }
    png_destroy_read_struct(&png, &info, nullptr);
    std::fclose(file);
    return profile;
}

std::vector<Variant> allVariants() {
    std::vector<Variant> variants;
    for (bool interlaced : {false, true})
        for (bool transparent : {false, true}) {
            for (int depth : {1, 2, 4, 8, 16})
                variants.push_back({PNG_COLOR_TYPE_GRAY, depth, interlaced, transparent});
            for (int depth : {1, 2, 4, 8})
                variants.push_back({PNG_COLOR_TYPE_PALETTE, depth, interlaced, transparent});
            for (int depth : {8, 16}) {
                variants.push_back({PNG_COLOR_TYPE_RGB, depth, interlaced, transparent});
                if (!transparent) {
                    variants.push_back({PNG_COLOR_TYPE_GRAY_ALPHA, depth, interlaced, false});
                    variants.push_back({PNG_COLOR_TYPE_RGB_ALPHA, depth, interlaced, false});
                }
            }
        }
    return variants;
}

class EveryKindOfPng : public testing::TestWithParam<Variant> {};

TEST_P(EveryKindOfPng, DecodesToTheSamePixelsAsTheReferenceLibrary) {
    // Odd sizes leave part-filled bytes and empty interlace passes.
    for (auto [width, height] : {std::pair{37, 23}, {1, 1}, {3, 9}, {8, 2}, {5, 1}}) {
        const auto bytes = makePNG(GetParam(), width, height);
        const CollectedImage image = collect(openPNG(bytes));
        EXPECT_EQ(image.pixels, readWithReference(bytes, false)) << width << "x" << height;
    }
}

INSTANTIATE_TEST_SUITE_P(Png, EveryKindOfPng, testing::ValuesIn(allVariants()),
                         [](const auto& named) {
                             return "Color" + std::to_string(named.param.colorType) + "Depth" +
                                    std::to_string(named.param.depth) +
                                    (named.param.interlaced ? "Interlaced" : "") +
                                    (named.param.transparent ? "Transparent" : "");
                         });

/// Rows of which each is best served by another filter, noise among them.
std::vector<std::uint8_t> rowsForAllFilters(int width, int height) {
    std::mt19937 random(5);
    std::vector<std::uint8_t> pixels;
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x)
            for (int c = 0; c < 4; ++c)
                pixels.push_back(std::uint8_t(y % 7 == 0   ? 9
                                              : y % 7 == 1 ? x * (3 + c)
                                              : y % 7 == 2 ? x * (3 + c) + 40
                                              : y % 7 < 6  ? x * x + y * y * (c + 1)
                                                           : random()));
    return pixels;
}

TEST(PngWriter, TheReferenceLibraryReadsWhatIsWritten) {
    TWQuickTime::test::TemporaryDirectory directory;
    const std::string path = directory.file("a.png");
    for (const auto& [width, height] : {std::pair{1, 1}, {3, 2}, {101, 67}, {700, 400}}) {
        const auto pixels = rowsForAllFilters(width, height);
        const ConstPixelView view(pixels.data(), width, height, std::ptrdiff_t{width} * 4);
        ASSERT_TRUE(writePNG(WholeImage(view, AlphaKind::straight, {}), {}, path).ok());
        EXPECT_EQ(readWithReference(test::readBytes(path), false), pixels);
        ASSERT_TRUE(writePNG(WholeImage(view, AlphaKind::skipped, {}), {}, path).ok());
        auto opaque = pixels;
        for (std::size_t i = 0; i < opaque.size(); i += 4)
            opaque[i] = 255;
        EXPECT_EQ(readWithReference(test::readBytes(path), false), opaque);
    }
}

TEST(PngWriter, MakesSmoothPicturesMuchSmaller) {
    TWQuickTime::test::TemporaryDirectory directory;
    std::vector<std::uint8_t> pixels;
    for (int i = 0; i < 300 * 300; ++i) {
        const auto level = std::uint8_t((i % 300 + i / 300) / 3);
        pixels.insert(pixels.end(), {255, level, level, std::uint8_t(255 - level)});
    }
    ASSERT_TRUE(
        writePNG(WholeImage(ConstPixelView{pixels.data(), 300, 300, 1200}, AlphaKind::skipped, {}),
                 {}, directory.file("a.png"))
            .ok());
    EXPECT_LT(test::readBytes(directory.file("a.png")).size(), 300u * 300 * 3 / 20);
}

TEST(PngWriter, EmbedsAProfileThatTheReferenceLibraryFinds) {
    TWQuickTime::test::TemporaryDirectory directory;
    cmsHPROFILE made = cmsCreate_sRGBProfile();
    cmsUInt32Number length = 0;
    cmsSaveProfileToMem(made, nullptr, &length);
    std::vector<std::byte> profile(length);
    cmsSaveProfileToMem(made, profile.data(), &length);
    cmsCloseProfile(made);
    const std::uint8_t pixel[4] = {255, 1, 2, 3};
    ASSERT_TRUE(writePNG(WholeImage(ConstPixelView{pixel, 1, 1, 4}, AlphaKind::skipped, profile),
                         profile, directory.file("a.png"))
                    .ok());
    EXPECT_EQ(profileByReference(directory.file("a.png")), profile);
}

TEST(PngImage, AppliesAGammaThatDiffersFromTheDisplays) {
    for (double gamma : {1.0, 0.6, 0.3}) {
        const auto bytes =
            makePNG({PNG_COLOR_TYPE_RGB, 8, false, false}, 40, 30,
                    [&](png_structp png, png_infop info) { png_set_gAMA(png, info, gamma); });
        const CollectedImage image = collect(openPNG(bytes));
        EXPECT_EQ(image.pixels, readWithReference(bytes, true)) << gamma;
        EXPECT_NE(image.pixels, readWithReference(bytes, false)) << gamma;
    }
}

TEST(PngImage, LeavesAPictureOfTheDisplaysGammaAlone) {
    const auto bytes =
        makePNG({PNG_COLOR_TYPE_RGB, 8, false, false}, 40, 30,
                [](png_structp png, png_infop info) { png_set_gAMA(png, info, 0.45455); });
    EXPECT_EQ(collect(openPNG(bytes)).pixels, readWithReference(bytes, false));
}

TEST(PngImage, PrefersTheSRGBChunkToGamma) {
    const auto bytes =
        makePNG({PNG_COLOR_TYPE_RGB, 8, false, false}, 16, 16, [](png_structp png, png_infop info) {
            png_set_sRGB(png, info, PNG_sRGB_INTENT_PERCEPTUAL);
            png_set_gAMA(png, info, 0.45455);
        });
    EXPECT_EQ(collect(openPNG(bytes)).pixels, readWithReference(bytes, false));
}

std::vector<std::byte> wideGamutProfile() {
    const cmsCIExyY white = {0.3127, 0.3290, 1.0};
    const cmsCIExyYTRIPLE primaries = {{0.64, 0.33, 1.0}, {0.21, 0.71, 1.0}, {0.15, 0.06, 1.0}};
    cmsToneCurve* curve = cmsBuildGamma(nullptr, 2.2);
    cmsToneCurve* curves[3] = {curve, curve, curve};
    cmsHPROFILE profile = cmsCreateRGBProfile(&white, &primaries, curves);
    cmsFreeToneCurve(curve);
    cmsUInt32Number length = 0;
    cmsSaveProfileToMem(profile, nullptr, &length);
    std::vector<std::byte> bytes(length);
    cmsSaveProfileToMem(profile, bytes.data(), &length);
    cmsCloseProfile(profile);
    return bytes;
}

std::vector<std::uint8_t> convertedByTheColorEngine(std::vector<std::uint8_t> pixels,
                                                    const std::vector<std::byte>& from) {
    cmsHPROFILE source = cmsOpenProfileFromMem(from.data(), cmsUInt32Number(from.size()));
    cmsHPROFILE display = cmsCreate_sRGBProfile();
    cmsHTRANSFORM transform = cmsCreateTransform(source, TYPE_ARGB_8, display, TYPE_ARGB_8,
                                                 INTENT_PERCEPTUAL, cmsFLAGS_COPY_ALPHA);
    cmsDoTransform(transform, pixels.data(), pixels.data(), cmsUInt32Number(pixels.size() / 4));
    cmsDeleteTransform(transform);
    cmsCloseProfile(source);
    cmsCloseProfile(display);
    return pixels;
}

TEST(PngImage, ConvertsAnEmbeddedProfileToTheDestination) {
    const std::vector<std::byte> profile = wideGamutProfile();
    const auto bytes = makePNG({PNG_COLOR_TYPE_RGB_ALPHA, 8, false, false}, 24, 18,
                               [&](png_structp png, png_infop info) {
                                   png_set_iCCP(png, info, "wide", PNG_COMPRESSION_TYPE_BASE,
                                                reinterpret_cast<png_const_bytep>(profile.data()),
                                                png_uint_32(profile.size()));
                               });
    const std::vector<std::uint8_t> stored = readWithReference(bytes, false);
    EXPECT_EQ(collect(openPNG(bytes)).pixels, convertedByTheColorEngine(stored, profile));
    // To its own profile nothing changes but rounding.
    EXPECT_GT(test::psnr(collect(openPNG(bytes), profile).pixels, stored), 50.0);
}

TEST(PngImage, RefusesADestinationProfileThatIsNone) {
    const auto bytes = makePNG({PNG_COLOR_TYPE_RGB, 8, false, false}, 4, 4);
    const std::vector<std::byte> nonsense(200, std::byte{7});
    const auto image = openPNG(bytes);
    ASSERT_TRUE(image);
    CollectedImage collected;
    EXPECT_FALSE((*image)->draw(collected, {4, 4}, nonsense).ok());
}

TEST(PngImage, RefusesAFileThatIsCutAnywhere) {
    const auto bytes = makePNG({PNG_COLOR_TYPE_RGB, 8, false, false}, 20, 20);
    for (std::size_t length = 0; length < bytes.size(); ++length)
        EXPECT_FALSE(openPNG({bytes.data(), length}).ok()) << length;
}

TEST(PngImage, NoticesAnyFlippedBitOfTheCriticalChunks) {
    auto bytes = makePNG({PNG_COLOR_TYPE_GRAY, 8, false, false}, 9, 9);
    for (std::size_t i = 0; i + 4 < bytes.size(); ++i) {
        bytes[i] ^= std::byte{0x10};
        const auto image = openPNG(bytes);
        EXPECT_FALSE(image.ok()) << i;
        bytes[i] ^= std::byte{0x10};
    }
}

/// A file with a right checksum for whatever stands in its header.
std::vector<std::byte> withHeader(std::uint32_t width, std::uint32_t height) {
    auto bytes = makePNG({PNG_COLOR_TYPE_RGB, 8, false, false}, 4, 4);
    for (int i = 0; i < 4; ++i) {
        bytes[std::size_t(16 + i)] = std::byte(width >> (24 - 8 * i));
        bytes[std::size_t(20 + i)] = std::byte(height >> (24 - 8 * i));
    }
    std::uint32_t crc = 0xFFFFFFFF;
    for (std::size_t i = 12; i < 29; ++i) {
        crc ^= std::to_integer<std::uint32_t>(bytes[i]);
        for (int bit = 0; bit < 8; ++bit)
            crc = crc & 1 ? crc >> 1 ^ 0xEDB88320 : crc >> 1;
    }
    crc = ~crc;
    for (int i = 0; i < 4; ++i)
        bytes[std::size_t(29 + i)] = std::byte(crc >> (24 - 8 * i));
    return bytes;
}

TEST(PngImage, ABombOfManyPixelsFailsWithoutTheMemoryForThem) {
    const auto bytes = withHeader(65535, 65535);
    const auto image = openPNG(bytes);
    ASSERT_TRUE(image);
    CollectedImage collected;
    const result::Status drawn = (*image)->draw(collected, {64, 64}, {});
    EXPECT_FALSE(drawn.ok());
    EXPECT_LT(collected.pixels.size(), 1u << 20);
}

TEST(PngImage, ALargePictureTakesMemoryForSomeRowsUnlessItIsInterlaced) {
    constexpr int kLargeWidth = 1500, kLargeHeight = 1000;
    constexpr std::size_t kSomeRows = 1 << 20;
    std::vector<std::uint8_t> buffer(192 * 128 * 4);
    const PixelView view{buffer.data(), 192, 128, 192 * 4};
    for (const bool interlaced : {false, true}) {
        const auto bytes =
            makePNG({PNG_COLOR_TYPE_RGB, 8, interlaced, false}, kLargeWidth, kLargeHeight);
        const TWQuickTime::test::AllocationMeter meter;
        const auto image = openPNG(bytes);
        ASSERT_TRUE(image);
        RowPlacer placer(view, {0, 0, 192, 128}, AlphaKind::skipped);
        ASSERT_TRUE((*image)->draw(placer, {192, 128}, {}).ok());
        // The first of its passes touch the whole picture, which is therefore held.
        const std::size_t held =
            interlaced ? std::size_t{kLargeWidth} * std::size_t{kLargeHeight} * 4 : 0;
        EXPECT_LT(meter.peakBytes(), held + kSomeRows) << interlaced;
    }
}

TEST(PngImage, RefusesASizeOfZero) {
    EXPECT_FALSE(openPNG(withHeader(0, 4)).ok());
    EXPECT_FALSE(openPNG(withHeader(4, 0)).ok());
}

}  // namespace
}  // namespace TWQuickTime::image
