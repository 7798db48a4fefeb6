#include "Engines/transcode/MovieExport.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <filesystem>
#include <fstream>
#include <thread>

#include "Engines/codec/ByteOrder.h"
#include "Engines/moviefile/MovieReader.h"
#include "ExportedFile.h"
#include "TemporaryDirectory.h"

namespace TWQuickTime::transcode {
namespace {

using codec::fourCode;
using test::correlation;
using test::countFrames;
using test::frameTimes;
using test::probe;
using test::psnr;
using TWQuickTime::test::runFfmpeg;
using TWQuickTime::test::TemporaryDirectory;

/// A moving picture of 64x48 with 20 frames at 25 a second, H.264 with B-frames, and a tone.
class MovieExport : public testing::Test {
  protected:
    static void SetUpTestSuite() {
        media_ = new TemporaryDirectory();
        source_ = media_->file("source.mov");
        runFfmpeg({"-f",
                   "lavfi",
                   "-i",
                   "testsrc2=s=64x48:r=25:d=0.8",
                   "-f",
                   "lavfi",
                   "-i",
                   "aevalsrc='0.4*sin(2*PI*(300+1500*t)*t)':s=48000:d=0.8",
                   "-c:v",
                   "libx264",
                   "-pix_fmt",
                   "yuv420p",
                   "-bf",
                   "2",
                   "-g",
                   "8",
                   "-c:a",
                   "aac",
                   "-metadata",
                   "title=Waves",
                   "-timecode",
                   "01:00:00:10",
                   "-colorspace",
                   "smpte170m",
                   "-color_primaries",
                   "smpte170m",
                   "-color_trc",
                   "bt709",
                   source_});
    }
    static void TearDownTestSuite() {
        delete media_;
        media_ = nullptr;
    }

    static moviefile::OpenedMovie open(const std::string& path) {
        auto opened = moviefile::openMovieFile(path);
        EXPECT_TRUE(opened) << opened.failure().message;
        return std::move(*opened);
    }

    static ExportSettings settings(FileKind kind, std::uint32_t video, std::uint32_t sound) {
        ExportSettings settings;
        settings.kind = kind;
        if (video) {
            settings.video = VideoSettings{};
            settings.video->codec = video;
            settings.video->spatialQuality = 900;
        }
        if (sound) {
            settings.sound = SoundSettings{};
            settings.sound->codec = sound;
        }
        return settings;
    }

    result::Status run(const ExportSettings& exportSettings, const std::string& path,
                       const std::string& source = source_) {
        const moviefile::OpenedMovie opened = open(source);
        ExportRequest request;
        request.movie = opened.movie.get();
        request.duration = opened.movie->duration();
        request.settings = exportSettings;
        request.path = path;
        request.progress = progress_;
        return exportMovie(request);
    }

    std::size_t filesIn(const std::filesystem::path& folder) {
        std::size_t count = 0;
        for ([[maybe_unused]] const auto& entry : std::filesystem::directory_iterator(folder)) {
            ++count;
        }
        return count;
    }

    static TemporaryDirectory* media_;
    static std::string source_;
    TemporaryDirectory folder_;
    std::function<bool(double)> progress_;
};

TemporaryDirectory* MovieExport::media_ = nullptr;
std::string MovieExport::source_;

TEST_F(MovieExport, WritesPhotoJpegAndPcmThatMatchTheSourceFrameByFrame) {
    const std::string out = folder_.file("out.mov");
    const auto status = run(settings(FileKind::quickTime, fourCode("jpeg"), fourCode("sowt")), out);
    ASSERT_TRUE(status) << status.failure().message;
    EXPECT_EQ(probe(out, "v:0", "codec_name"), "mjpeg");
    EXPECT_EQ(probe(out, "v:0", "codec_tag_string"), "jpeg");
    EXPECT_EQ(probe(out, "a:0", "codec_name"), "pcm_s16le");
    EXPECT_EQ(countFrames(out, "v:0"), 20);
    EXPECT_EQ(probe(out, "v:0", "r_frame_rate"), "25/1");
    EXPECT_EQ(probe(out, "a:0", "duration_ts"), "38400");
    EXPECT_GT(psnr(source_, out), 35);
}

TEST_F(MovieExport, WritesH264AndAacIntoMpeg4) {
    const std::string out = folder_.file("out.mp4");
    const auto status = run(settings(FileKind::mpeg4, fourCode("avc1"), fourCode("mp4a")), out);
    ASSERT_TRUE(status) << status.failure().message;
    EXPECT_EQ(probe(out, "v:0", "codec_name"), "h264");
    EXPECT_EQ(probe(out, "a:0", "codec_name"), "aac");
    EXPECT_EQ(countFrames(out, "v:0"), 20);
    EXPECT_GT(psnr(source_, out), 32);
    const std::vector<double> times = frameTimes(out);
    ASSERT_EQ(times.size(), 20u);
    for (std::size_t i = 0; i < times.size(); ++i) {
        EXPECT_NEAR(times[i], double(i) / 25, 1e-5);
    }
}

TEST_F(MovieExport, KeepsSoundInItsPlace) {
    const std::string out = folder_.file("out.mov");
    ASSERT_TRUE(run(settings(FileKind::quickTime, fourCode("jpeg"), fourCode("sowt")), out));
    const auto before = test::decodedSound(source_, folder_.file("a.f32"));
    const auto after = test::decodedSound(out, folder_.file("b.f32"));
    EXPECT_EQ(after.size(), 38400u);
    EXPECT_GT(correlation(before, after, 0), 0.9999);
}

TEST_F(MovieExport, CarriesTimecodeTitleAndColoursAlong) {
    const std::string out = folder_.file("out.mov");
    ASSERT_TRUE(run(settings(FileKind::quickTime, fourCode("avc1"), fourCode("twos")), out));
    const auto shown = TWQuickTime::test::runProgram(
        {"ffprobe", "-v", "error", "-show_format", "-show_streams", out});
    EXPECT_THAT(shown.output, testing::HasSubstr("TAG:timecode=01:00:00:10"));
    EXPECT_THAT(shown.output, testing::HasSubstr("TAG:title=Waves"));
    EXPECT_EQ(probe(out, "v:0", "color_space"), "smpte170m");
}

TEST_F(MovieExport, StartsAndEndsARangeAtExactFramesAndMovesTheTimecode) {
    const moviefile::OpenedMovie opened = open(source_);
    ExportRequest request;
    request.movie = opened.movie.get();
    const auto scale = std::int64_t(opened.movie->timeScale);
    request.start = 5 * scale / 25;
    request.duration = 7 * scale / 25;
    request.settings = settings(FileKind::quickTime, fourCode("FFV1"), fourCode("sowt"));
    request.path = folder_.file("out.mov");
    const auto status = exportMovie(request);
    ASSERT_TRUE(status) << status.failure().message;
    EXPECT_EQ(countFrames(request.path, "v:0"), 7);
    EXPECT_EQ(probe(request.path, "a:0", "duration_ts"), "13440");
    const std::string range = folder_.file("range.mov");
    runFfmpeg({"-i", source_, "-vf", "trim=start_frame=5:end_frame=12,setpts=PTS-STARTPTS", "-an",
               "-c:v", "ffv1", "-level", "3", range});
    EXPECT_EQ(psnr(range, request.path), 99);
    const auto shown =
        TWQuickTime::test::runProgram({"ffprobe", "-v", "error", "-show_streams", request.path});
    EXPECT_THAT(shown.output, testing::HasSubstr("TAG:timecode=01:00:00:15"));
}

TEST_F(MovieExport, ConvertsTheFrameRateBySeeingWhatIsShownThen) {
    ExportSettings wanted = settings(FileKind::quickTime, fourCode("png "), 0);
    wanted.video->frameRate = 50 << 16;
    const std::string out = folder_.file("out.mov");
    ASSERT_TRUE(run(wanted, out));
    EXPECT_EQ(countFrames(out, "v:0"), 40);
    EXPECT_EQ(probe(out, "v:0", "r_frame_rate"), "50/1");
}

TEST_F(MovieExport, ScalesToTheAskedSize) {
    ExportSettings wanted = settings(FileKind::quickTime, fourCode("jpeg"), 0);
    wanted.video->width = 32;
    wanted.video->height = 24;
    const std::string out = folder_.file("out.mov");
    ASSERT_TRUE(run(wanted, out));
    EXPECT_EQ(probe(out, "v:0", "width"), "32");
    EXPECT_EQ(probe(out, "v:0", "height"), "24");
    EXPECT_GT(psnr(out, source_, "scale=32:24:flags=area"), 28);
}

TEST_F(MovieExport, TellsProgressOnTheCallersThreadForEveryPictureInGrowingFractions) {
    std::vector<double> told;
    const auto caller = std::this_thread::get_id();
    progress_ = [&](double fraction) {
        EXPECT_EQ(std::this_thread::get_id(), caller);
        told.push_back(fraction);
        return true;
    };
    ASSERT_TRUE(run(settings(FileKind::quickTime, fourCode("jpeg"), fourCode("sowt")),
                    folder_.file("out.mov")));
    ASSERT_EQ(told.size(), 20u);
    EXPECT_TRUE(std::ranges::is_sorted(told));
    EXPECT_DOUBLE_EQ(told.back(), 1.0);
}

TEST_F(MovieExport, StopsAtThePictureAtWhichItIsToldToAndLeavesTheDestinationAlone) {
    const std::string out = folder_.file("out.mov");
    std::ofstream(out) << "precious";
    int calls = 0;
    progress_ = [&](double) { return ++calls < 3; };
    const auto status = run(settings(FileKind::quickTime, fourCode("jpeg"), fourCode("sowt")), out);
    ASSERT_FALSE(status);
    EXPECT_EQ(status.failure().kind, result::FailureKind::cancelled);
    EXPECT_EQ(calls, 3);
    EXPECT_EQ(filesIn(folder_.path()), 1u);
    EXPECT_EQ(std::filesystem::file_size(out), 8u);
}

TEST_F(MovieExport, LeavesNothingBehindWhenTheEncoderRefuses) {
    ExportSettings wanted = settings(FileKind::quickTime, fourCode("dvcp"), 0);
    const auto status = run(wanted, folder_.file("out.mov"));
    ASSERT_FALSE(status);
    EXPECT_EQ(filesIn(folder_.path()), 0u);
}

TEST_F(MovieExport, PutsTheMovieAtomInFrontWhereTheSettingsSaySo) {
    struct Case {
        FileKind kind;
        const char* brand;
    };
    for (const Case& c : {Case{FileKind::quickTime, "qt  "}, Case{FileKind::mpeg4, "mp42"}}) {
        for (const bool inFront : {false, true}) {
            ExportSettings wanted = settings(c.kind, fourCode("avc1"), fourCode("mp4a"));
            wanted.movieInFront = inFront;
            const std::string path = folder_.file("a.mov");
            const auto status = run(wanted, path);
            ASSERT_TRUE(status) << status.failure().message;
            std::ifstream file(path, std::ios::binary);
            const std::string bytes((std::istreambuf_iterator<char>(file)), {});
            EXPECT_EQ(bytes.substr(4, 8), std::string("ftyp") + c.brand);
            ASSERT_NE(bytes.find("moov"), std::string::npos);
            EXPECT_EQ(bytes.find("moov") < bytes.find("mdat"), inFront) << c.brand;
            EXPECT_EQ(countFrames(path, "v:0"), 20);
            EXPECT_GT(psnr(source_, path), 30);
        }
    }
}

/// 40 pictures whose distance changes between 1/60 and 5/60 of a second, reordered.
std::string unevenMovie(const TemporaryDirectory& folder) {
    std::string path = folder.file("uneven.mov");
    runFfmpeg({"-f", "lavfi", "-i", "testsrc2=s=64x48:r=60:d=2", "-vf",
               "select='not(between(mod(n,30),5,8))*lt(n,60)',setpts=PTS", "-vsync", "vfr", "-c:v",
               "libx264", "-pix_fmt", "yuv420p", "-bf", "3", "-video_track_timescale", "600",
               path});
    return path;
}

TEST_F(MovieExport, PicturesOfUnevenDistanceKeepTheirTimesInEveryFormatThatHasTimes) {
    const std::string source = unevenMovie(folder_);
    const std::vector<double> before = frameTimes(source);
    for (const FileKind kind : {FileKind::quickTime, FileKind::mpeg4, FileKind::matroska}) {
        const std::string out = folder_.file(kind == FileKind::matroska ? "out.mkv" : "out.mov");
        const auto status = run(settings(kind, fourCode("avc1"), 0), out, source);
        ASSERT_TRUE(status) << status.failure().message;
        const std::vector<double> after = frameTimes(out);
        ASSERT_EQ(after.size(), before.size());
        for (std::size_t i = 0; i < after.size(); ++i) {
            EXPECT_NEAR(after[i] - after[0], before[i], 0.0011);
        }
        EXPECT_EQ(probe(out, "v:0", "r_frame_rate"), "60/1");
    }
}

TEST_F(MovieExport, AnimatedPicturesComeNoFasterThanViewersShowThem) {
    const std::string source = unevenMovie(folder_), out = folder_.file("out.gif");
    ASSERT_TRUE(run(settings(FileKind::gif, fourCode("gif "), 0), out, source));
    const std::vector<double> times = frameTimes(out);
    ASSERT_GT(times.size(), 20u);
    for (std::size_t i = 1; i < times.size(); ++i) {
        EXPECT_GE(times[i] - times[i - 1], 0.0199);
    }
    EXPECT_NEAR(std::atof(test::probeFormat(out, "duration").c_str()), 1, 0.03);
    ExportSettings fast = settings(FileKind::gif, fourCode("gif "), 0);
    fast.video->frameRate = 60 << 16;
    ASSERT_TRUE(run(fast, out, source));
    EXPECT_EQ(countFrames(out, "v:0"), 50);
}

TEST_F(MovieExport, ADvStreamHasAsMuchSoundAsPicturesWhicheverOfThemEndsFirst) {
    const std::string shortSound = folder_.file("sound.mov"),
                      shortPicture = folder_.file("pic.mov");
    runFfmpeg({"-i", source_, "-c", "copy", "-map", "0:v", "-map", "0:a", "-af", "atrim=0:0.3",
               "-c:a", "pcm_s16le", shortSound});
    runFfmpeg({"-i", source_, "-map", "0:v", "-map", "0:a", "-vf", "trim=end_frame=8", "-c:v",
               "png", "-c:a", "copy", shortPicture});
    for (const std::string& source : {shortSound, shortPicture}) {
        const std::string out = folder_.file("a.dv");
        const auto status =
            run(settings(FileKind::dv, fourCode("dvcp"), fourCode("sowt")), out, source);
        ASSERT_TRUE(status) << status.failure().message;
        EXPECT_EQ(countFrames(out, "v:0"), 20);
        EXPECT_EQ(test::decodedSound(out, folder_.file("a.f32")).size(), 38400u);
    }
}

TEST_F(MovieExport, ADvStreamOfSoundAloneIsRefused) {
    const std::string sound = folder_.file("sound.mov");
    runFfmpeg({"-i", source_, "-map", "0:a", "-c", "copy", sound});
    const auto status = run(settings(FileKind::dv, fourCode("dvcp"), fourCode("sowt")),
                            folder_.file("a.dv"), sound);
    ASSERT_FALSE(status);
    EXPECT_EQ(status.failure().kind, result::FailureKind::notFound);
}

TEST_F(MovieExport, RefusesAnEmptyRange) {
    const moviefile::OpenedMovie opened = open(source_);
    ExportRequest request;
    request.movie = opened.movie.get();
    request.settings = settings(FileKind::quickTime, fourCode("jpeg"), 0);
    request.path = folder_.file("out.mov");
    const auto status = exportMovie(request);
    ASSERT_FALSE(status);
    EXPECT_EQ(status.failure().kind, result::FailureKind::badArgument);
}

struct Target {
    const char* name;
    FileKind kind;
    const char* video;
    const char* sound;
    const char* expectedVideo;
    const char* expectedSound;
    /// Samples by which sound comes late because the format has no place for its encoder's delay.
    int soundDelay = 0;
};

class EveryKindOfFile : public MovieExport, public testing::WithParamInterface<Target> {};

TEST_P(EveryKindOfFile, OpensAndDecodesWithTheRightLength) {
    const Target& target = GetParam();
    const auto code = [](const char* text) {
        std::uint32_t value = 0;
        for (int i = 0; i < 4 && *text; ++i) {
            value = value << 8 | static_cast<unsigned char>(text[i]);
        }
        return value;
    };
    const std::string out = folder_.file(std::string("out.") + target.name);
    const auto status = run(settings(target.kind, code(target.video), code(target.sound)), out);
    ASSERT_TRUE(status) << status.failure().message;
    if (*target.video) {
        EXPECT_EQ(probe(out, "v:0", "codec_name"), target.expectedVideo);
        EXPECT_EQ(countFrames(out, "v:0"), 20);
    }
    if (*target.sound) {
        EXPECT_EQ(probe(out, "a:0", "codec_name"), target.expectedSound);
        const auto before = test::decodedSound(source_, folder_.file("a.f32"));
        const auto after = test::decodedSound(out, folder_.file("b.f32"));
        EXPECT_NEAR(double(after.size()), 38400, target.soundDelay + 1152);
        // Beside pictures, sound begins when they do; some formats cannot begin at zero.
        const double begin = *target.video ? std::atof(probe(out, "v:0", "start_time").c_str()) : 0;
        const std::ptrdiff_t shift = test::bestShift(before, after, 1300);
        EXPECT_NEAR(double(shift), begin * 48000 + target.soundDelay, begin > 0 ? 48 : 1);
        EXPECT_GT(correlation(before, after, shift), 0.98);
    }
    EXPECT_NEAR(std::atof(test::probeFormat(out, "duration").c_str()), 0.8, 0.08);
}

INSTANTIATE_TEST_SUITE_P(
    Kinds, EveryKindOfFile,
    testing::Values(Target{"mov", FileKind::quickTime, "apcn", "in24", "prores", "pcm_s24be"},
                    Target{"m4v", FileKind::m4v, "avc1", "mp4a", "h264", "aac"},
                    Target{"mp4", FileKind::mpeg4, "hvc1", "ac-3", "hevc", "ac3"},
                    Target{"3gp", FileKind::threeGpp, "mp4v", "mp4a", "mpeg4", "aac"},
                    Target{"avi", FileKind::avi, "jpeg", "sowt", "mjpeg", "pcm_s16le"},
                    Target{"h264.avi", FileKind::avi, "avc1", ".mp3", "h264", "mp3", 1105},
                    Target{"mkv", FileKind::matroska, "avc1", "fLaC", "h264", "flac"},
                    Target{"webm", FileKind::webm, "vp09", "Opus", "vp9", "opus"},
                    Target{"gif", FileKind::gif, "gif ", "", "gif", ""},
                    Target{"dv", FileKind::dv, "dvcp", "sowt", "dvvideo", "pcm_s16le"},
                    Target{"wav", FileKind::wave, "", "sowt", "", "pcm_s16le"},
                    Target{"aiff", FileKind::aiff, "", "twos", "", "pcm_s16be"},
                    Target{"m4a", FileKind::m4a, "", "mp4a", "", "aac"},
                    Target{"flac", FileKind::flac, "", "fLaC", "", "flac"},
                    Target{"mp3", FileKind::mp3, "", ".mp3", "", "mp3"}),
    [](const auto& instance) {
        std::string name = instance.param.name;
        std::ranges::replace(name, '.', '_');
        return name;
    });

}  // namespace
}  // namespace TWQuickTime::transcode
