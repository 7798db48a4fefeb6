// Every codec with an encoder here, exported and looked at by outside programs.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <map>

#include "Engines/codec/ByteOrder.h"
#include "Engines/codec/CodecTable.h"
#include "ExportedFile.h"
#include "TemporaryDirectory.h"

namespace TWQuickTime::transcode {
namespace {

using codec::fourCode;
using test::probe;
using test::wordOf;
using TWQuickTime::test::runFfmpeg;
using TWQuickTime::test::TemporaryDirectory;

constexpr int kFrames = 8;

struct Form {
    const char* size;
    const char* rate;
};

/// A size and rate that the codec can have.
Form formFor(std::uint32_t type) {
    switch (type) {
        case fourCode("dvc "):
        case fourCode("dv5n"):
            return {"720x480", "30000/1001"};
        case fourCode("dvcp"):
        case fourCode("dvpp"):
        case fourCode("dv5p"):
            return {"720x576", "25"};
        case fourCode("h261"):
        case fourCode("h263"):
            return {"176x144", "30000/1001"};
        case fourCode("AVdn"):
        case fourCode("AVdh"):
            return {"256x128", "25"};
        default:
            return {"128x96", "25"};
    }
}

/// Codes that the demuxers of movies know by no name.
FileKind kindFor(std::uint32_t type) {
    return type == fourCode("vp08") || type == fourCode("av01") ? FileKind::matroska
                                                                : FileKind::quickTime;
}

/// What codecs of few colours or coarse blocks reach.
double leastPsnr(std::uint32_t type) {
    switch (type) {
        case fourCode("smc "):
        case fourCode("msvc"):
        case fourCode("rpza"):
        case fourCode("cvid"):
            return 18;
        case fourCode("gif "):
        case fourCode("SVQ1"):
            return 24;
        case fourCode("apco"):  // its rate is its quality, and 128x96 is all edges
            return 27;
        default:
            return 32;
    }
}

class EveryVideoCodecExport : public testing::TestWithParam<std::uint32_t> {
  protected:
    static void SetUpTestSuite() { media_ = new TemporaryDirectory(); }
    static void TearDownTestSuite() {
        delete media_;
        media_ = nullptr;
        sources_.clear();
    }

    static const std::string& source(const Form& form) {
        std::string& path = sources_[form.size];
        if (path.empty()) {
            path = media_->file(std::string(form.size) + ".mov");
            runFfmpeg({"-f", "lavfi", "-i",
                       "testsrc2=s=" + std::string(form.size) + ":r=" + form.rate, "-frames:v",
                       std::to_string(kFrames), "-c:v", "libx264", "-crf", "4", "-pix_fmt",
                       "yuv420p", path});
        }
        return path;
    }

    static TemporaryDirectory* media_;
    static std::map<std::string, std::string> sources_;
    TemporaryDirectory folder_;
};

TemporaryDirectory* EveryVideoCodecExport::media_ = nullptr;
std::map<std::string, std::string> EveryVideoCodecExport::sources_;

TEST_P(EveryVideoCodecExport, OpensAndDecodesElsewhereWithTheSamePicturesAtTheSameTimes) {
    const std::uint32_t type = GetParam();
    const Form form = formFor(type);
    const FileKind kind = kindFor(type);
    const std::string out = folder_.file(kind == FileKind::matroska ? "out.mkv" : "out.mov");
    const auto status = test::exportFile(source(form), test::settingsFor(kind, type, 0), out);
    ASSERT_TRUE(status) << status.failure().message;
    const std::vector<double> times = test::frameTimes(out);
    ASSERT_EQ(times.size(), std::size_t(kFrames));
    const double frame = std::string(form.rate) == "25" ? 0.04 : 1.001 / 30;
    for (std::size_t i = 0; i < times.size(); ++i) {
        EXPECT_NEAR(times[i], double(i) * frame, 0.0006);
    }
    EXPECT_NEAR(std::atof(test::probeFormat(out, "duration").c_str()), kFrames * frame, frame);
    // Its decoders take BT.709 for granted; so small a source is BT.601.
    const bool converted = type == fourCode("AVdn") || type == fourCode("AVdh");
    const std::vector<double> quality =
        test::lumaPsnrs(source(form), out, type == fourCode("b16g") ? "format=gray" : "null",
                        converted ? "scale=in_color_matrix=bt709:out_color_matrix=bt601" : "null",
                        folder_.file("psnr"));
    ASSERT_EQ(quality.size(), std::size_t(kFrames));
    for (const double value : quality) {
        EXPECT_GT(value, leastPsnr(type));
    }
}

std::vector<std::uint32_t> installedVideo() {
    std::vector<std::uint32_t> types = codec::videoEncoderTypes();
    std::erase_if(types, [](std::uint32_t type) { return !codec::canEncodeVideo(type); });
    return types;
}

INSTANTIATE_TEST_SUITE_P(Installed, EveryVideoCodecExport, testing::ValuesIn(installedVideo()),
                         [](const auto& instance) {
                             return std::to_string(instance.index) + "_" + wordOf(instance.param);
                         });

class EverySoundCodecExport : public testing::TestWithParam<std::uint32_t> {
  protected:
    /// Two thirds of a second of a sweep, which matches itself at one place only, beside pictures.
    static void SetUpTestSuite() {
        media_ = new TemporaryDirectory();
        runFfmpeg({"-f", "lavfi", "-i", "testsrc2=s=64x48:r=25:d=0.64", "-f", "lavfi", "-i",
                   "aevalsrc='0.4*sin(2*PI*(300+1500*t)*t)|0.3*sin(2*PI*(200+900*t)*t)':s=48000:"
                   "d=0.64",
                   "-c:v", "libx264", "-pix_fmt", "yuv420p", "-c:a", "pcm_s24le",
                   media_->file("source.mov")});
    }
    static void TearDownTestSuite() {
        delete media_;
        media_ = nullptr;
    }

    static TemporaryDirectory* media_;
    TemporaryDirectory folder_;
};

TemporaryDirectory* EverySoundCodecExport::media_ = nullptr;

/// How alike what comes back must be.
double leastCorrelation(std::uint32_t type) {
    switch (type) {
        case fourCode("ima4"):
        case 0x6D730002:
        case 0x6D730011:
            return 0.99;
        case fourCode("agsm"):
            return 0.9;  // telephones
        default:
            return 0.995;
    }
}

TEST_P(EverySoundCodecExport, SoundsTheSameAtTheSameTimeBesideItsPictures) {
    const std::uint32_t type = GetParam();
    // Movies have no place for Vorbis headers that other programs would look at.
    const bool movie = type != fourCode("vrbs");
    const std::string source = media_->file("source.mov");
    const std::string out = folder_.file(movie ? "out.mov" : "out.mkv");
    const auto status = test::exportFile(
        source,
        test::settingsFor(movie ? FileKind::quickTime : FileKind::matroska, fourCode("jpeg"), type),
        out);
    ASSERT_TRUE(status) << status.failure().message;
    const auto before = test::decodedSound(source, folder_.file("a"));
    const auto after = test::decodedSound(out, folder_.file("b"));
    ASSERT_EQ(before.size(), 30720u);
    // Within one packet of the longest kind.
    EXPECT_NEAR(double(after.size()), 30720, 2048);
    // Matroska has milliseconds, and begins both streams later rather than one before zero.
    const double begin = std::atof(probe(out, "v:0", "start_time").c_str());
    const std::ptrdiff_t shift = test::bestShift(before, after, 400);
    EXPECT_NEAR(double(shift), begin * 48000, movie ? 1 : 48);
    EXPECT_EQ(begin == 0, movie);
    EXPECT_GT(test::correlation(before, after, shift), leastCorrelation(type));
    EXPECT_NEAR(test::level(after) / test::level(before), 1, type == fourCode("agsm") ? 0.2 : 0.05);
}

std::vector<std::uint32_t> installedSound() {
    std::vector<std::uint32_t> types = codec::soundEncoderTypes();
    std::erase_if(types, [](std::uint32_t type) { return !codec::canEncodeSound(type); });
    return types;
}

INSTANTIATE_TEST_SUITE_P(Installed, EverySoundCodecExport, testing::ValuesIn(installedSound()),
                         [](const auto& instance) {
                             return std::to_string(instance.index) + "_" + wordOf(instance.param);
                         });

}  // namespace
}  // namespace TWQuickTime::transcode
