// Every codec of every format that carries only some, exported and decoded elsewhere.
#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "Engines/codec/ByteOrder.h"
#include "Engines/codec/CodecTable.h"
#include "Engines/transcode/ExporterFamily.h"
#include "ExportedFile.h"
#include "TemporaryDirectory.h"

namespace TWQuickTime::transcode {
namespace {

using codec::fourCode;
using test::wordOf;
using TWQuickTime::test::runFfmpeg;
using TWQuickTime::test::TemporaryDirectory;

constexpr int kFrames = 10;

/// A format with one of its codecs; of the other kind it has its own default.
struct Carried {
    const ExporterFamily* family = nullptr;
    std::uint32_t video = 0;
    std::uint32_t sound = 0;
    std::string name = {};
};

std::vector<Carried> everythingCarried() {
    std::vector<Carried> all;
    for (const ExporterFamily& family : exporterFamilies()) {
        const std::string name = wordOf(family.subtype);
        // A sequence of images is many files, and has tests of its own.
        const bool isOneFile = family.kind != FileKind::imageSequence;
        for (const std::uint32_t type : family.videoCodecs) {
            if (isOneFile && codec::canEncodeVideo(type)) {
                all.push_back({&family, type, family.soundCodec, name + "_" + wordOf(type)});
            }
        }
        for (const std::uint32_t type : family.soundCodecs) {
            if (codec::canEncodeSound(type)) {
                all.push_back({&family, family.videoCodec, type,
                               name + "_sound_" + std::to_string(all.size()) + "_" + wordOf(type)});
            }
        }
    }
    return all;
}

class EveryFamily : public testing::TestWithParam<Carried> {
  protected:
    static void SetUpTestSuite() {
        media_ = new TemporaryDirectory();
        runFfmpeg({"-f", "lavfi", "-i", "testsrc2=s=176x144:r=25", "-f", "lavfi", "-i",
                   "aevalsrc='0.4*sin(2*PI*(300+1500*t)*t)|0.3*sin(2*PI*(200+900*t)*t)':s=48000",
                   "-t", "0.4", "-c:v", "libx264", "-pix_fmt", "yuv420p", "-c:a", "pcm_s16le",
                   media_->file("source.mov")});
    }
    static void TearDownTestSuite() {
        delete media_;
        media_ = nullptr;
    }
    static TemporaryDirectory* media_;
    TemporaryDirectory folder_;
};

TemporaryDirectory* EveryFamily::media_ = nullptr;

TEST_P(EveryFamily, WritesFilesThatOpenAndDecodeElsewhere) {
    const Carried& carried = GetParam();
    const std::string out = folder_.file("out." + wordOf(carried.family->extension).substr(0, 3));
    const auto status = test::exportFile(
        media_->file("source.mov"),
        test::settingsFor(carried.family->kind, carried.video, carried.sound), out);
    ASSERT_TRUE(status) << status.failure().message;
    if (carried.video != 0) {
        const bool isNtsc = carried.video == fourCode("dvc ");
        EXPECT_EQ(test::countFrames(out, "v:0"), isNtsc ? kFrames * 6 / 5 : kFrames);
    }
    if (carried.sound != 0) {
        const auto before = test::decodedSound(media_->file("source.mov"), folder_.file("a"));
        const auto after = test::decodedSound(out, folder_.file("b"));
        EXPECT_NEAR(double(after.size()), double(before.size()), 3000);
        const std::ptrdiff_t shift = test::bestShift(before, after, 1300);
        EXPECT_GT(test::correlation(before, after, shift), 0.97);
    }
}

INSTANTIATE_TEST_SUITE_P(Codecs, EveryFamily, testing::ValuesIn(everythingCarried()),
                         [](const auto& instance) { return instance.param.name; });

TEST(ImageSequence, IsNamedAfterItsCodec) {
    const ExporterFamily& family = *exporterFamily(fourCode("grex"));
    ExportSettings settings = defaultSettings(family);
    for (const auto& [type, extension] : {std::pair{fourCode("png "), fourCode("png ")},
                                          {fourCode("jpeg"), fourCode("jpg ")},
                                          {fourCode("tiff"), fourCode("tif ")},
                                          {fourCode("tga "), fourCode("tga ")}}) {
        settings.video->codec = type;
        EXPECT_EQ(extensionFor(family, settings), extension);
    }
    const ExporterFamily& movie = *exporterFamily(fourCode("MooV"));
    EXPECT_EQ(extensionFor(movie, defaultSettings(movie)), fourCode("mov "));
}

}  // namespace
}  // namespace TWQuickTime::transcode
