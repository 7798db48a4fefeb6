#include <gtest/gtest.h>

#include <filesystem>

#include "CollectedImage.h"
#include "Engines/image/PngWriter.h"
#include "Engines/image/RowPlacer.h"
#include "Engines/image/StillImage.h"
#include "Engines/image/WholeImage.h"
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

class EveryOtherFormat : public testing::TestWithParam<const char*> {};

TEST_P(EveryOtherFormat, ShowsWhatFfmpegWrote) {
    TemporaryDirectory directory;
    const std::string extension = GetParam();
    const std::string original = directory.file("original.png");
    const std::string file = directory.file("picture." + extension);
    runFfmpeg({"-f", "lavfi", "-i", "testsrc2=s=96x64:d=0.04", "-frames:v", "1", "-pix_fmt",
               "rgb24", original});
    runFfmpeg({"-i", original, "-frames:v", "1", file});
    const auto pngBytes = test::readBytes(original);
    const auto bytes = test::readBytes(file);
    const CollectedImage image = collect(openAny(bytes, file));
    ASSERT_EQ(image.width, 96);
    ASSERT_EQ(image.height, 64);
    // GIF and JPEG 2000 lose colours; the others are exact.
    const double floor = extension == "gif" ? 18.0 : extension == "jp2" ? 25.0 : 99.0;
    EXPECT_GE(test::psnr(image.pixels, collect(openPNG(pngBytes)).pixels), floor);
}

INSTANTIATE_TEST_SUITE_P(Image, EveryOtherFormat,
                         testing::Values("tiff", "gif", "bmp", "tga", "jp2", "sgi", "ppm", "pcx"),
                         [](const auto& named) { return std::string(named.param); });

TEST(OtherImage, ShowsWhatTheReferenceEncoderOfHEIFWrote) {
    TemporaryDirectory directory;
    const std::string original = directory.file("original.png");
    runFfmpeg({"-f", "lavfi", "-i", "testsrc2=s=96x64:d=0.04", "-frames:v", "1", "-pix_fmt",
               "rgb24", original});
    for (const bool av1 : {false, true}) {
        const std::string file = directory.file(av1 ? "a.avif" : "a.heic");
        std::vector<std::string> command = {"heif-enc", "-q", "95", "-o", file, original};
        if (av1)
            command.insert(command.begin() + 1, "-A");
        const auto encoded = TWQuickTime::test::runProgram(command);
        ASSERT_EQ(encoded.exitStatus, 0) << encoded.errors;
        const auto bytes = test::readBytes(file);
        const CollectedImage image = collect(openAny(bytes, file));
        ASSERT_EQ(image.width, 96);
        ASSERT_EQ(image.height, 64);
        EXPECT_GE(test::psnr(image.pixels, collect(openPNG(test::readBytes(original))).pixels),
                  25.0)
            << file;
        for (std::size_t length = 0; length < bytes.size(); length += 1 + bytes.size() / 50)
            EXPECT_FALSE(openAny({bytes.data(), length}, file).ok()) << file << ' ' << length;
    }
}

struct Bomb {
    const char* fileName;
    std::string start;  ///< a header that states 65535 × 65535 pixels or more
};

std::string binary(const char* text, std::size_t length) {
    return std::string(text, length);
}

TEST(OtherImage, BombsOfManyPixelsFailWithoutTheMemoryForThem) {
    const Bomb bombs[] = {
        {"a.ppm", "P6 65535 65535 255\n"},
        {"a.pgm", "P5 65535 65535 255\n"},
        {"a.tga", binary("\0\0\2\0\0\0\0\0\0\0\0\0\xFF\xFF\xFF\xFF\x18\0", 18)},
        {"a.tga", binary("\0\0\12\0\0\0\0\0\0\0\0\0\xFF\xFF\xFF\xFF\x18\0", 18)},
        {"a.psd", binary("8BPS\0\1\0\0\0\0\0\0\0\3\0\0\xFF\xFF\0\0\xFF\xFF\0\10\0\3", 26)},
        {"a.bmp", binary("BM\0\0\0\0\0\0\0\0\66\0\0\0\50\0\0\0\xFF\xFF\0\0\xFF\xFF\0\0\1\0"
                         "\30\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0",
                         54)},
        {"a.gif",
         binary("GIF89a\xFF\xFF\xFF\xFF\0\0\0,\0\0\0\0\xFF\xFF\xFF\xFF\0\2\2\114\1\0;", 29)},
        {"a.sgi", binary("\1\332\0\1\0\3\xFF\xFF\xFF\xFF\0\3\0\0\0\0\0\0\0\377", 20)},
        {"a.pcx", binary("\12\5\1\10\0\0\0\0\xFE\xFF\xFE\xFF\0\0\0\0", 16)},
    };
    // Nor does any library print what it thinks of them.
    testing::internal::CaptureStderr();
    for (const Bomb& bomb : bombs) {
        for (const std::size_t length : {std::size_t(0), std::size_t(4000)}) {
            const std::string text = bomb.start + std::string(length, '\0');
            const PeakMemory memory;
            EXPECT_FALSE(openAny(std::as_bytes(std::span(text)), bomb.fileName).ok())
                << bomb.fileName << ' ' << length;
            EXPECT_LT(memory.grownBytes(), std::size_t(64) << 20) << bomb.fileName;
        }
    }
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

/// A TIFF file of one strip with the given facts.
std::vector<std::byte> makeTIFF(std::uint32_t width, std::uint32_t height, std::uint32_t samples,
                                std::uint32_t stripBytes, std::size_t bytesThere) {
    std::vector<std::byte> file;
    const auto put = [&](std::uint32_t value, int bytes) {
        for (int i = 0; i < bytes; ++i, value >>= 8)
            file.push_back(std::byte(value & 255));
    };
    put(0x2A4949, 4);  // little-endian, 42
    put(8, 4);
    const std::uint32_t entries[][2] = {{256, width},   {257, height}, {258, 8},
                                        {259, 1},       {262, 1},      {273, 8 + 2 + 9 * 12 + 4},
                                        {277, samples}, {278, height}, {279, stripBytes}};
    put(9, 2);
    for (const auto& [tag, value] : entries) {
        put(tag, 2);
        put(4, 2);
        put(1, 4);
        put(value, 4);
    }
    put(0, 4);
    file.resize(file.size() + bytesThere, std::byte{77});
    return file;
}

TEST(OtherImage, RefusesTIFFFilesThatAreCutEmptyOrStateTooMuch) {
    const CollectedImage whole = collect(openAny(makeTIFF(20, 10, 1, 200, 200), "a.tif"));
    EXPECT_EQ(whole.width, 20);
    EXPECT_EQ(whole.height, 10);
    const PeakMemory memory;
    EXPECT_FALSE(openAny(makeTIFF(65535, 65535, 1, 200, 200), "a.tif").ok());
    EXPECT_FALSE(openAny(makeTIFF(65535, 65535, 1, 0xFFFFFFFF, 200), "a.tif").ok());
    EXPECT_FALSE(openAny(makeTIFF(0, 10, 1, 200, 200), "a.tif").ok());
    EXPECT_FALSE(openAny(makeTIFF(20, 0, 1, 200, 200), "a.tif").ok());
    EXPECT_FALSE(openAny(makeTIFF(20, 10, 200, 200, 200), "a.tif").ok());
    EXPECT_FALSE(openAny(makeTIFF(20, 10, 1, 200, 0), "a.tif").ok());
    EXPECT_LT(memory.grownBytes(), std::size_t(64) << 20);
}

TEST(OtherImage, RefusesWhatIsNoPicture) {
    const std::vector<std::byte> nonsense(5000, std::byte{0x5A});
    EXPECT_FALSE(openAny(nonsense, "a.tif").ok());
    EXPECT_FALSE(openAny(nonsense, "a.tga").ok());
    EXPECT_FALSE(openAny({}, "a.bmp").ok());
}

TEST(OtherImage, OpensEveryPictureOfTheSamples) {
    const std::string folder = TWQuickTime::test::sampleMediaFolder();
    if (folder.empty())
        GTEST_SKIP() << "left out: TWQT_MEDIA names no folder of sample media";
    int count = 0;
    for (const auto& entry : std::filesystem::directory_iterator(folder)) {
        const std::string extension = entry.path().extension().string();
        if (std::string(".jpg.png.tif.bmp.TGA.gif.webp.psd").find(extension) == std::string::npos ||
            extension.empty())
            continue;
        const auto bytes = test::readBytes(entry.path().string());
        const auto image = openAny(bytes, entry.path().string());
        ASSERT_TRUE(image.ok()) << entry.path() << ": " << image.failure().message;
        CollectedImage collected;
        EXPECT_TRUE((*image)->draw(collected, (*image)->size(), {}).ok()) << entry.path();
        ++count;
    }
    EXPECT_EQ(count, 11);
}

TEST(PngWriter, WritesWhatTheReaderReads) {
    TemporaryDirectory directory;
    std::vector<std::uint8_t> pixels;
    for (int i = 0; i < 20 * 10; ++i)
        pixels.insert(pixels.end(), {std::uint8_t(i), std::uint8_t(255 - i), std::uint8_t(i * 3),
                                     std::uint8_t(i * 7)});
    const ConstPixelView view(pixels.data(), 20, 10, 80);
    ASSERT_TRUE(
        writePNG(WholeImage(view, AlphaKind::straight, {}), {}, directory.file("a.png")).ok());
    EXPECT_EQ(collect(openPNG(test::readBytes(directory.file("a.png")))).pixels, pixels);
    ASSERT_TRUE(
        writePNG(WholeImage(view, AlphaKind::skipped, {}), {}, directory.file("x.png")).ok());
    const CollectedImage opaque = collect(openPNG(test::readBytes(directory.file("x.png"))));
    EXPECT_EQ(opaque.alpha, AlphaKind::skipped);
    EXPECT_EQ(test::psnr(opaque.pixels, pixels), 100.0);
}

TEST(PngWriter, AFailureLeavesTheOldFileAndNothingBeside) {
    TemporaryDirectory directory;
    std::filesystem::create_directory(directory.file("taken.png"));
    const std::uint8_t pixel[4] = {255, 1, 2, 3};
    EXPECT_FALSE(writePNG(WholeImage(ConstPixelView{pixel, 1, 1, 4}, AlphaKind::skipped, {}), {},
                          directory.file("taken.png"))
                     .ok());
    EXPECT_FALSE(writePNG(WholeImage(ConstPixelView{pixel, 1, 1, 4}, AlphaKind::skipped, {}), {},
                          directory.file("missing/a.png"))
                     .ok());
    int entries = 0;
    for ([[maybe_unused]] const auto& entry : std::filesystem::directory_iterator(directory.path()))
        ++entries;
    EXPECT_EQ(entries, 1);
}

TEST(RowPlacer, LaysStraightAlphaOverTheBufferAndKeepsItsFirstByte) {
    std::vector<std::uint8_t> buffer = {9, 100, 100, 100, 8, 100, 100, 100};
    RowPlacer placer({buffer.data(), 2, 1, 8}, {0, 0, 2, 1}, AlphaKind::skipped);
    ASSERT_TRUE(placer.begin(2, 1, AlphaKind::straight).ok());
    std::uint8_t row[8] = {0, 255, 255, 255, 128, 200, 0, 100};
    ASSERT_TRUE(placer.row(row).ok());
    EXPECT_EQ(buffer, (std::vector<std::uint8_t>{9, 100, 100, 100, 8, 150, 50, 100}));
}

TEST(RowPlacer, ColorsOfTransparentPixelsDoNotBleedWhenShrinking) {
    std::vector<std::uint8_t> buffer(4, 0);
    RowPlacer placer({buffer.data(), 1, 1, 4}, {0, 0, 1, 1}, AlphaKind::premultiplied);
    ASSERT_TRUE(placer.begin(2, 1, AlphaKind::straight).ok());
    std::uint8_t row[8] = {0, 255, 255, 255, 255, 0, 0, 200};
    ASSERT_TRUE(placer.row(row).ok());
    EXPECT_NEAR(buffer[0], 128, 1);
    EXPECT_EQ(buffer[1], 0);
    EXPECT_NEAR(buffer[3], 100, 1);
}

}  // namespace
}  // namespace TWQuickTime::image
