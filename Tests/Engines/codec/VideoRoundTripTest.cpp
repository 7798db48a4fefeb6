#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <string>

#include "Engines/codec/CodecTable.h"
#include "Engines/codec/VideoDecoder.h"
#include "Engines/codec/VideoEncoder.h"
#include "TestPictures.h"

namespace TWQuickTime::codec {
namespace {

struct Coded {
    std::vector<Packet> packets;
    std::vector<std::byte> description;
};

constexpr int kFrames = 7;

/// A size that the codec can have.
std::pair<int, int> sizeFor(std::uint32_t type) {
    switch (type) {
        case fourCode("dvc "):
        case fourCode("dv5n"):
            return {720, 480};
        case fourCode("dvcp"):
        case fourCode("dvpp"):
        case fourCode("dv5p"):
            return {720, 576};
        case fourCode("h261"):
        case fourCode("h263"):
            return {176, 144};
        case fourCode("AVdn"):
        case fourCode("AVdh"):
            return {256, 128};
        case fourCode("av01"):
            return {128, 96};
        default:
            return {64, 48};
    }
}

Rational rateFor(std::uint32_t type) {
    return type == fourCode("dvc ") || type == fourCode("dv5n") || type == fourCode("h261") ||
                   type == fourCode("h263")
               ? Rational{30000, 1001}
               : Rational{25, 1};
}

Coded encodePictures(const VideoEncoderSettings& settings, std::vector<VideoFrame>& pictures) {
    Coded coded;
    auto encoder = VideoEncoder::open(settings);
    EXPECT_TRUE(encoder) << encoder.failure().message;
    if (!encoder) {
        return coded;
    }
    PixelConverter converter;
    const auto collect = [&] {
        for (;;) {
            auto packet = (*encoder)->receive();
            ASSERT_TRUE(packet) << packet.failure().message;
            if (!*packet) {
                return;
            }
            coded.packets.push_back(std::move(**packet));
        }
    };
    for (int i = 0; i < kFrames; ++i) {
        VideoFrame picture = test::makePicture(settings.width, settings.height, 0.25 * i);
        picture.time = 100 + 24 * i;
        picture.duration = 24;
        pictures.push_back(picture);
        auto input = converter.convert(picture, (*encoder)->input());
        EXPECT_TRUE(input) << input.failure().message;
        auto status = (*encoder)->encode(*input);
        EXPECT_TRUE(status) << status.failure().message;
        collect();
    }
    EXPECT_TRUE((*encoder)->finish());
    collect();
    coded.description = (*encoder)->sampleDescription(false);
    return coded;
}

std::vector<VideoFrame> decodeAll(const Coded& coded) {
    std::vector<VideoFrame> frames;
    auto decoder = VideoDecoder::open(coded.description, {});
    EXPECT_TRUE(decoder) << decoder.failure().message;
    if (!decoder) {
        return frames;
    }
    const auto collect = [&] {
        for (auto frame = (*decoder)->receive(); frame && *frame; frame = (*decoder)->receive()) {
            frames.push_back(**frame);
        }
    };
    for (const Packet& packet : coded.packets) {
        auto status = (*decoder)->send(packet);
        EXPECT_TRUE(status) << status.failure().message;
        collect();
    }
    EXPECT_TRUE((*decoder)->sendEnd());
    collect();
    return frames;
}

std::string nameOf(std::uint32_t type) {
    std::string text;
    for (int shift = 24; shift >= 0; shift -= 8) {
        const char c = static_cast<char>(type >> shift);
        text += std::isalnum(static_cast<unsigned char>(c)) ? c : '_';
    }
    return text;
}

class EveryVideoCodec : public testing::TestWithParam<std::uint32_t> {};

TEST_P(EveryVideoCodec, GivesBackItsPicturesInOrderWithTheirTimes) {
    const std::uint32_t type = GetParam();
    ASSERT_TRUE(canEncodeVideo(type));
    const auto [width, height] = sizeFor(type);
    VideoEncoderSettings settings;
    settings.codec = type;
    settings.width = width;
    settings.height = height;
    settings.frameRate = rateFor(type);
    settings.timeScale = 600;
    settings.spatialQuality = 900;
    settings.sourceFormat = PixelFormat::bgra32();
    settings.threads = 1;
    std::vector<VideoFrame> pictures;
    const Coded coded = encodePictures(settings, pictures);
    ASSERT_EQ(coded.packets.size(), std::size_t(kFrames));
    EXPECT_TRUE(coded.packets.front().sync);
    const std::vector<VideoFrame> frames = decodeAll(coded);
    ASSERT_EQ(frames.size(), std::size_t(kFrames));
    // A code of 16 bits or 256 colours cannot come closer.
    const bool coarse = type == fourCode("smc ") || type == fourCode("gif ") ||
                        type == fourCode("cvid") || type == fourCode("msvc") ||
                        type == fourCode("rpza") || type == fourCode("SVQ1");
    const bool grey = type == fourCode("b16g");
    PixelConverter converter;
    for (int i = 0; i < kFrames; ++i) {
        EXPECT_EQ(frames[std::size_t(i)].time, 100 + 24 * i);
        ASSERT_EQ(frames[std::size_t(i)].width(), width);
        ASSERT_EQ(frames[std::size_t(i)].height(), height);
        auto picture =
            converter.convert(frames[std::size_t(i)], {PixelFormat::bgra32(), width, height, {}});
        ASSERT_TRUE(picture) << picture.failure().message;
        const double distance = test::psnr(*picture, pictures[std::size_t(i)]);
        EXPECT_GT(distance, grey ? 8 : coarse ? 19 : 30) << "frame " << i;
    }
}

TEST(VideoDecoder, LargePicturesOfAnySizeOutliveTheirDecoder) {
    PixelConverter converter;
    for (const std::uint32_t type : {fourCode("avc1"), fourCode("apch"), fourCode("mp4v")}) {
        VideoEncoderSettings settings;
        settings.codec = type;
        settings.width = 1282;
        settings.height = 726;
        settings.frameRate = {25, 1};
        settings.timeScale = 600;
        settings.spatialQuality = 900;
        settings.sourceFormat = PixelFormat::bgra32();
        std::vector<VideoFrame> pictures;
        const std::vector<VideoFrame> frames = decodeAll(encodePictures(settings, pictures));
        ASSERT_EQ(frames.size(), pictures.size());
        for (std::size_t i = 0; i < frames.size(); ++i) {
            auto picture = converter.convert(frames[i], {PixelFormat::bgra32(), 1282, 726, {}});
            ASSERT_TRUE(picture) << picture.failure().message;
            EXPECT_GT(test::psnr(*picture, pictures[i]), 30) << nameOf(type) << ", frame " << i;
        }
    }
}

std::vector<std::uint32_t> installedTypes() {
    std::vector<std::uint32_t> types = videoEncoderTypes();
    std::erase_if(types, [](std::uint32_t type) { return !canEncodeVideo(type); });
    return types;
}

INSTANTIATE_TEST_SUITE_P(Installed, EveryVideoCodec, testing::ValuesIn(installedTypes()),
                         [](const auto& instance) {
                             return std::to_string(instance.index) + "_" + nameOf(instance.param);
                         });

std::size_t codedSize(std::uint32_t type, int quality) {
    VideoEncoderSettings settings;
    settings.codec = type;
    settings.width = 64;
    settings.height = 48;
    settings.spatialQuality = quality;
    settings.sourceFormat = PixelFormat::bgra32();
    settings.threads = 1;
    std::vector<VideoFrame> pictures;
    std::size_t size = 0;
    for (const Packet& packet : encodePictures(settings, pictures).packets) {
        size += packet.bytes.size();
    }
    return size;
}

TEST(VideoEncoder, MakesLargerSamplesForHigherSpatialQuality) {
    for (const std::uint32_t type : {fourCode("jpeg"), fourCode("avc1"), fourCode("mp4v")}) {
        EXPECT_LT(codedSize(type, 100), codedSize(type, 600)) << nameOf(type);
        EXPECT_LT(codedSize(type, 600), codedSize(type, 1023)) << nameOf(type);
    }
}

TEST(VideoEncoder, SetsKeyFramesAtTheAskedDistance) {
    VideoEncoderSettings settings;
    settings.codec = fourCode("avc1");
    settings.width = 64;
    settings.height = 48;
    settings.keyFrameEvery = 3;
    std::vector<VideoFrame> pictures;
    const Coded coded = encodePictures(settings, pictures);
    const auto keys = std::ranges::count_if(coded.packets, [](const Packet& p) { return p.sync; });
    EXPECT_EQ(keys, 3);
}

TEST(VideoEncoder, RefusesATypeThatNobodyEncodes) {
    VideoEncoderSettings settings;
    settings.codec = fourCode("SVQ3");
    settings.width = 64;
    settings.height = 48;
    auto encoder = VideoEncoder::open(settings);
    ASSERT_FALSE(encoder);
    EXPECT_EQ(encoder.failure().kind, result::FailureKind::notAvailable);
}

TEST(VideoEncoder, RefusesASizeThatTheCodecCannotHave) {
    VideoEncoderSettings settings;
    settings.codec = fourCode("dvcp");
    settings.width = 64;
    settings.height = 48;
    auto encoder = VideoEncoder::open(settings);
    ASSERT_FALSE(encoder);
    EXPECT_EQ(encoder.failure().kind, result::FailureKind::unsupported);
}

TEST(VideoEncoder, KeepsAlphaAtDepth32) {
    VideoEncoderSettings settings;
    settings.codec = fourCode("rle ");
    settings.width = 16;
    settings.height = 16;
    settings.depth = 32;
    settings.sourceFormat = PixelFormat::bgra32();
    std::vector<VideoFrame> pictures;
    const Coded coded = encodePictures(settings, pictures);
    const auto description = readVideoDescription(coded.description);
    ASSERT_TRUE(description);
    EXPECT_EQ(description->depth, 32);
    const auto frames = decodeAll(coded);
    ASSERT_FALSE(frames.empty());
    EXPECT_TRUE(frames.front().format().hasAlpha());
}

TEST(PhotoJpeg, KeepsTheSubsamplingOfItsSource) {
    for (const PixelFormat format : {PixelFormat::yuv420(), PixelFormat::yuv422()}) {
        VideoEncoderSettings settings;
        settings.codec = fourCode("jpeg");
        settings.width = 50;
        settings.height = 38;
        settings.sourceFormat = format;
        auto encoder = VideoEncoder::open(settings);
        ASSERT_TRUE(encoder);
        EXPECT_EQ((*encoder)->input().format, format);
    }
}

TEST(PhotoJpeg, CodesPicturesWhoseSizeIsNoMultipleOfABlock) {
    VideoEncoderSettings settings;
    settings.codec = fourCode("jpeg");
    settings.width = 37;
    settings.height = 21;
    settings.spatialQuality = 1000;
    settings.sourceFormat = PixelFormat::yuv420();
    std::vector<VideoFrame> pictures;
    const Coded coded = encodePictures(settings, pictures);
    const auto frames = decodeAll(coded);
    ASSERT_EQ(frames.size(), std::size_t(kFrames));
    PixelConverter converter;
    for (std::size_t i = 0; i < frames.size(); ++i) {
        EXPECT_EQ(frames[i].width(), 37);
        auto picture = converter.convert(frames[i], {PixelFormat::bgra32(), 37, 21, {}});
        ASSERT_TRUE(picture);
        EXPECT_GT(test::psnr(*picture, pictures[i]), 30);
    }
}

TEST(VideoDecoder, AnswersADamagedSampleWithAFailureOrAPictureAndGoesOn) {
    VideoEncoderSettings settings;
    settings.codec = fourCode("png ");
    settings.width = 32;
    settings.height = 32;
    std::vector<VideoFrame> pictures;
    Coded coded = encodePictures(settings, pictures);
    ASSERT_EQ(coded.packets.size(), std::size_t(kFrames));
    coded.packets[2] = Packet::owning(std::vector<std::byte>(40, std::byte{0x5A}));
    auto decoder = VideoDecoder::open(coded.description, {.threads = 1});
    ASSERT_TRUE(decoder);
    int frames = 0;
    for (const Packet& packet : coded.packets) {
        static_cast<void>((*decoder)->send(packet).ok());
        for (auto frame = (*decoder)->receive(); frame && *frame; frame = (*decoder)->receive()) {
            ++frames;
        }
    }
    EXPECT_GE(frames, kFrames - 2);
}

}  // namespace
}  // namespace TWQuickTime::codec
