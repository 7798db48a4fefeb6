#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <optional>
#include <vector>

#include "Engines/codec/ByteOrder.h"
#include "Engines/codec/VideoDecoder.h"
#include "Engines/codec/VideoEncoder.h"
#include "TestPictures.h"

namespace TWQuickTime::codec {
namespace {

VideoEncoderSettings photoJpeg(int width, int height) {
    VideoEncoderSettings settings;
    settings.codec = fourCode("jpeg");
    settings.width = width;
    settings.height = height;
    settings.sourceFormat = PixelFormat::yuv420();
    return settings;
}

/// A picture coded as a decoder would hand it over.
VideoFrame decoded(PixelFormat format, int width, int height, const ColorTags& color) {
    PixelConverter converter;
    auto picture =
        converter.convert(test::makePicture(width, height, 0.3), {format, width, height, color});
    EXPECT_TRUE(picture);
    return picture ? *picture : VideoFrame();
}

struct Encoded {
    Packet packet;
    std::vector<std::byte> description;
};

std::optional<Encoded> encode(const VideoEncoderSettings& settings, const VideoFrame& picture) {
    auto encoder = VideoEncoder::open(settings);
    if (!encoder) {
        return std::nullopt;
    }
    PixelConverter converter;
    auto input = converter.convert(picture, (*encoder)->input());
    if (!input || !(*encoder)->encode(*input)) {
        return std::nullopt;
    }
    auto packet = (*encoder)->receive();
    if (!packet || !*packet) {
        return std::nullopt;
    }
    return Encoded{std::move(**packet), (*encoder)->sampleDescription(false)};
}

/// The quantisers of luma and of chroma, in the order of the file.
using Quantizers = std::array<std::array<int, 64>, 2>;

Quantizers quantizersOf(const Packet& packet) {
    constexpr std::byte kMarker{0xFF}, kTables{0xDB};
    Quantizers found{};
    for (std::size_t i = 0; i + 69 <= packet.bytes.size(); ++i) {
        if (packet.bytes[i] == kMarker && packet.bytes[i + 1] == kTables) {
            const int table = std::to_integer<int>(packet.bytes[i + 4]);
            EXPECT_LT(table, 2);
            for (std::size_t at = 0; table < 2 && at < 64; ++at) {
                found[std::size_t(table)][at] = std::to_integer<int>(packet.bytes[i + 5 + at]);
            }
        }
    }
    return found;
}

TEST(PhotoJpeg, MeasuresLumaWithTheQuantizersOfMovingPictures) {
    VideoEncoderSettings settings = photoJpeg(32, 32);
    settings.spatialQuality = 767;  // 75 of the library's 100: half the tables
    const auto encoded = encode(settings, decoded(PixelFormat::yuv420(), 32, 32, {}));
    ASSERT_TRUE(encoded);
    const Quantizers quantizers = quantizersOf(encoded->packet);
    EXPECT_EQ(quantizers[0][0], 4);
    EXPECT_EQ(quantizers[0][1], 8);
    EXPECT_EQ(quantizers[0][63], 42);
    EXPECT_EQ(quantizers[1][63], 50);
}

TEST(PhotoJpeg, NeverMeasuresMoreCoarselyAtAHigherQuality) {
    Quantizers before;
    before[0].fill(255);
    before[1].fill(255);
    for (int quality = 0; quality <= kQualityLossless; quality += 64) {
        VideoEncoderSettings settings = photoJpeg(32, 32);
        settings.spatialQuality = quality;
        const auto encoded = encode(settings, decoded(PixelFormat::yuv420(), 32, 32, {}));
        ASSERT_TRUE(encoded);
        const Quantizers now = quantizersOf(encoded->packet);
        for (std::size_t table = 0; table < 2; ++table) {
            for (std::size_t at = 0; at < 64; ++at) {
                EXPECT_GE(now[table][at], 1);
                EXPECT_LE(now[table][at], before[table][at]) << quality;
            }
        }
        before = now;
    }
    EXPECT_EQ(before[0][63], 1) << "lossless measures nothing";
}

TEST(PhotoJpeg, ShowsWhatItWasGivenWhateverItsMatrixAndRangeAre) {
    for (const PixelFormat format :
         {PixelFormat::yuv420(), PixelFormat::yuv422(), PixelFormat::yuv444()}) {
        for (const ColorTags& color :
             {ColorTags{1, 1, 1, ColorRange::video}, ColorTags{1, 1, 1, ColorRange::full},
              ColorTags{6, 6, 6, ColorRange::video}, ColorTags{6, 6, 6, ColorRange::full},
              ColorTags{2, 2, 2, ColorRange::video}}) {
            // No multiple of a block in either direction.
            VideoEncoderSettings settings = photoJpeg(54, 38);
            settings.sourceFormat = format;
            settings.color = color;
            settings.spatialQuality = kQualityLossless;
            const VideoFrame given = decoded(format, 54, 38, color);
            const auto encoded = encode(settings, given);
            ASSERT_TRUE(encoded);
            auto decoder = VideoDecoder::open(encoded->description, {.threads = 1});
            ASSERT_TRUE(decoder);
            ASSERT_TRUE((*decoder)->send(encoded->packet));
            ASSERT_TRUE((*decoder)->sendEnd());
            auto shown = (*decoder)->receive();
            ASSERT_TRUE(shown && *shown);
            EXPECT_TRUE(isFullRange(**shown));
            EXPECT_NE(matrixOf(**shown), 1);
            PixelConverter converter;
            auto mine = converter.convert(**shown, {PixelFormat::bgra32(), 54, 38, {}});
            ASSERT_TRUE(mine);
            auto wanted = converter.convert(given, {PixelFormat::bgra32(), 54, 38, {}});
            ASSERT_TRUE(wanted);
            EXPECT_GT(test::psnr(*mine, *wanted), 40)
                << format.name() << ", matrix " << color.matrix;
        }
    }
}

TEST(PhotoJpeg, GivesEachPictureItsPacketAtOnce) {
    VideoEncoderSettings settings = photoJpeg(32, 32);
    auto encoder = VideoEncoder::open(settings);
    ASSERT_TRUE(encoder);
    for (int i = 0; i < 3; ++i) {
        VideoFrame picture = decoded(PixelFormat::yuv420(), 32, 32, {});
        picture.time = 100 + 24 * i;
        picture.duration = 24;
        ASSERT_TRUE((*encoder)->encode(picture));
        const auto packet = (*encoder)->receive();
        ASSERT_TRUE(packet && *packet);
        EXPECT_EQ((*packet)->presentationTime, picture.time);
        EXPECT_EQ((*packet)->decodeTime, picture.time);
        EXPECT_EQ((*packet)->duration, 24);
        EXPECT_TRUE((*packet)->sync);
        EXPECT_FALSE(*(*encoder)->receive());
    }
    EXPECT_FALSE((*encoder)->encode(decoded(PixelFormat::yuv420(), 16, 16, {})));
}

}  // namespace
}  // namespace TWQuickTime::codec
