// The distance of key frames and the temporal quality, as outside programs see them in exports.
#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <sstream>

#include "Engines/codec/ByteOrder.h"
#include "ExportedFile.h"
#include "TemporaryDirectory.h"

namespace TWQuickTime::transcode {
namespace {

using codec::fourCode;
using test::exportFile;
using test::settingsFor;
using TWQuickTime::test::runFfmpeg;
using TWQuickTime::test::runProgram;
using TWQuickTime::test::TemporaryDirectory;

struct CodedPicture {
    bool key = false;
    double bytes = 0;
};

std::string nameOf(const testing::TestParamInfo<std::uint32_t>& codec) {
    std::string text;
    for (int shift = 24; shift >= 0; shift -= 8) {
        const char c = static_cast<char>(codec.param >> shift);
        text += c == ' ' ? '_' : c;
    }
    return text;
}

/// Two seconds of moving pictures without cuts.
class TemporalSettings : public testing::TestWithParam<std::uint32_t> {
  protected:
    static void SetUpTestSuite() {
        media_ = new TemporaryDirectory();
        runFfmpeg({"-f", "lavfi", "-i", "testsrc2=s=176x144:r=25:d=2", "-c:v", "libx264", "-qp",
                   "4", "-pix_fmt", "yuv420p", media_->file("a.mov")});
    }
    static void TearDownTestSuite() {
        delete media_;
        media_ = nullptr;
    }

    std::vector<CodedPicture> exported(const std::function<void(VideoSettings&)>& change) {
        const std::uint32_t type = GetParam();
        const bool foreign =
            type == fourCode("vp08") || type == fourCode("vp09") || type == fourCode("av01");
        ExportSettings settings =
            settingsFor(foreign ? FileKind::matroska : FileKind::quickTime, type, 0);
        // These know few frame rates.
        if (type == fourCode("h261") || type == fourCode("h263")) {
            settings.video->frameRate = int(29.97 * 65536);
        }
        change(*settings.video);
        const std::string path = folder_.file(foreign ? "a.mkv" : "a.mov");
        const auto status = exportFile(media_->file("a.mov"), settings, path);
        EXPECT_TRUE(status) << (status ? "" : status.failure().message);
        const auto listed =
            runProgram({"ffprobe", "-v", "error", "-select_streams", "v", "-show_entries",
                        "packet=size,flags", "-of", "csv=p=0", path});
        std::vector<CodedPicture> pictures;
        std::istringstream lines(listed.output);
        for (std::string line; std::getline(lines, line);) {
            pictures.push_back({line.find('K') != std::string::npos, std::stod(line)});
        }
        return pictures;
    }

    static TemporaryDirectory* media_;
    TemporaryDirectory folder_;
};

TemporaryDirectory* TemporalSettings::media_ = nullptr;

class KeyFrameDistance : public TemporalSettings {};

TEST_P(KeyFrameDistance, KeyFramesAreNoFurtherApartThanAskedAndNotEveryPictureIsOne) {
    constexpr std::size_t asked = 10;
    const auto pictures = exported([](VideoSettings& video) { video.keyFrameEvery = asked; });
    ASSERT_GE(pictures.size(), 49u);
    ASSERT_TRUE(pictures.front().key);
    std::size_t keys = 0, sinceKey = 0, greatest = 0;
    for (const CodedPicture& picture : pictures) {
        keys += picture.key;
        sinceKey = picture.key ? 1 : sinceKey + 1;
        greatest = std::max(greatest, sinceKey);
    }
    EXPECT_LE(greatest, asked);
    EXPECT_LT(keys, pictures.size() / 2);
}

class KeyFramesOnly : public TemporalSettings {};

TEST_P(KeyFramesOnly, ADistanceOfOneMakesEveryPictureAKeyFrame) {
    const auto pictures = exported([](VideoSettings& video) { video.keyFrameEvery = 1; });
    ASSERT_FALSE(pictures.empty());
    EXPECT_TRUE(std::ranges::all_of(pictures, &CodedPicture::key));
}

INSTANTIATE_TEST_SUITE_P(Codecs, KeyFrameDistance,
                         testing::Values(fourCode("avc1"), fourCode("hvc1"), fourCode("mp4v"),
                                         fourCode("m1v "), fourCode("m2v1"), fourCode("h263"),
                                         fourCode("h261"), fourCode("SVQ1"), fourCode("vp08"),
                                         fourCode("vp09"), fourCode("av01")),
                         nameOf);

INSTANTIATE_TEST_SUITE_P(Codecs, KeyFramesOnly,
                         testing::Values(fourCode("avc1"), fourCode("hvc1"), fourCode("mp4v"),
                                         fourCode("m1v "), fourCode("m2v1"), fourCode("h263"),
                                         fourCode("h261"), fourCode("SVQ1"), fourCode("vp08"),
                                         fourCode("vp09"), fourCode("av01")),
                         nameOf);

class TemporalQuality : public TemporalSettings {
  protected:
    /// How large difference frames are beside key frames.
    double shareOfDifferences(int quality) {
        const auto pictures = exported([quality](VideoSettings& video) {
            video.temporalQuality = quality;
            video.keyFrameEvery = 10;
        });
        double keys = 0, keyBytes = 0, differences = 0, differenceBytes = 0;
        for (const CodedPicture& picture : pictures) {
            (picture.key ? keys : differences) += 1;
            (picture.key ? keyBytes : differenceBytes) += picture.bytes;
        }
        return differenceBytes / differences / (keyBytes / keys);
    }
};

TEST_P(TemporalQuality, DifferenceFramesComeCloserToKeyFramesWithMoreOfIt) {
    EXPECT_LT(shareOfDifferences(0), shareOfDifferences(1023));
}

INSTANTIATE_TEST_SUITE_P(Codecs, TemporalQuality,
                         testing::Values(fourCode("avc1"), fourCode("hvc1")), nameOf);

}  // namespace
}  // namespace TWQuickTime::transcode
