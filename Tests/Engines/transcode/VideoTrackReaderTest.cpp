#include "Engines/transcode/VideoTrackReader.h"

#include <gtest/gtest.h>

#include <fstream>
#include <iterator>

#include "Engines/moviefile/MovieReader.h"
#include "RunProgram.h"
#include "TemporaryDirectory.h"

namespace TWQuickTime::transcode {
namespace {

using TWQuickTime::test::runFfmpeg;
using TWQuickTime::test::TemporaryDirectory;

constexpr int kWidth = 64, kHeight = 48, kFrames = 60, kRate = 10;

/// A movie of 60 pictures in planes of 4:2:0 as ffmpeg encodes it, and its pictures as ffmpeg
/// decodes them one after the other.
class MadeMovie {
  public:
    explicit MadeMovie(const std::vector<std::string>& codec) {
        const std::string path = folder_.file("a.mov"), raw = folder_.file("a.yuv");
        std::vector<std::string> arguments = {
            "-f", "lavfi", "-i", "testsrc2=s=64x48:r=10:d=6", "-pix_fmt", "yuv420p"};
        arguments.insert(arguments.end(), codec.begin(), codec.end());
        arguments.push_back(path);
        runFfmpeg(arguments);
        runFfmpeg(
            {"-i", path, "-fps_mode", "passthrough", "-f", "rawvideo", "-pix_fmt", "yuv420p", raw});
        std::ifstream file(raw, std::ios::binary);
        decoded_.assign(std::istreambuf_iterator<char>(file), {});
        auto opened = moviefile::openMovieFile(path);
        EXPECT_TRUE(opened);
        movie_ = std::move(opened->movie);
    }

    std::unique_ptr<VideoTrackReader> reader(std::size_t keptBytes = 0,
                                             bool singlePictures = false) const {
        auto reader = VideoTrackReader::open(*movie_, *movie_->tracks.front(),
                                             {{}, keptBytes, singlePictures});
        EXPECT_TRUE(reader);
        return *std::move(reader);
    }
    std::size_t frameCount() const { return decoded_.size() / kFrameBytes; }

    /// Whether a frame's luma is, byte for byte, that of ffmpeg's n-th picture.
    bool isFrame(const codec::VideoFrame& frame, int n) const {
        const char* expected = decoded_.data() + std::size_t(n) * kFrameBytes;
        for (int y = 0; y < kHeight; ++y) {
            if (!std::equal(frame.row(0, y), frame.row(0, y) + kWidth,
                            reinterpret_cast<const std::uint8_t*>(expected) + y * kWidth)) {
                return false;
            }
        }
        return true;
    }

  private:
    static constexpr std::size_t kFrameBytes = kWidth * kHeight * 3 / 2;
    TemporaryDirectory folder_;
    std::unique_ptr<timeline::Movie> movie_;
    std::vector<char> decoded_;
};

const std::vector<std::string> kClosedGroups = {"-c:v", "libx264", "-bf", "3", "-g", "12"};

/// The n-th picture, asked for in the middle of its time.
codec::VideoFrame frame(VideoTrackReader& reader, int n) {
    auto found = reader.frameAt({2 * n + 1, 2 * kRate});
    EXPECT_TRUE(found && *found) << n;
    return found && *found ? **found : codec::VideoFrame();
}

struct Coding {
    const char* name;
    std::vector<std::string> arguments;
};

class EveryCoding : public testing::TestWithParam<Coding> {};

TEST_P(EveryCoding, GivesFfmpegsPicturesInAnyOrder) {
    const MadeMovie movie(GetParam().arguments);
    ASSERT_EQ(movie.frameCount(), std::size_t(kFrames));
    for (const std::size_t keptBytes : {std::size_t(0), std::size_t(1) << 20}) {
        const auto reader = movie.reader(keptBytes, keptBytes > 0);
        for (int i = 0; i < 150; ++i) {
            // Jumps with runs of steps in both directions among them.
            const int n = i % 10 < 5    ? (i * 37 + 11) % kFrames
                          : i % 20 < 10 ? std::min(kFrames - 1, i / 4 + i % 5)
                                        : std::max(0, i / 4 - i % 5);
            ASSERT_TRUE(movie.isFrame(frame(*reader, n), n)) << n << ", asked for as no. " << i;
        }
    }
}

INSTANTIATE_TEST_SUITE_P(
    VideoTrackReader, EveryCoding,
    testing::Values(Coding{"closedGroups", kClosedGroups},
                    Coding{"openGroups",
                           {"-c:v", "libx264", "-bf", "3", "-x264-params",
                            "open-gop=1:keyint=12:min-keyint=12:scenecut=0"}},
                    Coding{"oneSyncSample", {"-c:v", "libx264", "-g", "600", "-sc_threshold", "0"}},
                    Coding{"mpeg4", {"-c:v", "mpeg4", "-bf", "2", "-g", "15"}},
                    Coding{"mpeg2", {"-c:v", "mpeg2video", "-bf", "2", "-g", "12"}},
                    Coding{"hevc",
                           {"-c:v", "libx265", "-x265-params", "log-level=none:keyint=12", "-tag:v",
                            "hvc1"}},
                    Coding{"syncSamplesOnly", {"-c:v", "mpeg4", "-g", "1"}}),
    [](const auto& named) { return std::string(named.param.name); });

TEST(VideoTrackReader, GivesTheRightFirstPictureNearAndFarFromASyncSample) {
    const MadeMovie movie({"-c:v", "libx264", "-bf", "3", "-g", "600", "-sc_threshold", "0"});
    for (const int n : {0, 1, 22, 23, 24, 25, 59}) {
        const auto reader = movie.reader(0, true);
        EXPECT_TRUE(movie.isFrame(frame(*reader, n), n)) << n;
        EXPECT_TRUE(movie.isFrame(frame(*reader, 7), 7)) << "after " << n;
    }
}

TEST(VideoTrackReader, SteppingForwardDecodesEachSampleOnce) {
    const MadeMovie movie(kClosedGroups);
    const auto reader = movie.reader();
    for (int n = 0; n < kFrames; ++n) {
        frame(*reader, n);
    }
    EXPECT_EQ(reader->decodedSamples(), std::uint64_t(kFrames));
}

TEST(VideoTrackReader, TurnsToASyncSampleNearTheAskedPicture) {
    const MadeMovie movie({"-c:v", "libx264", "-bf", "0", "-g", "12", "-sc_threshold", "0"});
    const auto reader = movie.reader();
    frame(*reader, 0);
    const std::uint64_t before = reader->decodedSamples();
    EXPECT_TRUE(movie.isFrame(frame(*reader, 50), 50));
    EXPECT_LE(reader->decodedSamples() - before, 12u);
}

TEST(VideoTrackReader, GoesNoFurtherThanThePictureWhenItIsAskedForHereAndThere) {
    const MadeMovie movie({"-c:v", "libx264", "-bf", "0", "-g", "12", "-sc_threshold", "0"});
    const auto reader = movie.reader();
    frame(*reader, 50);
    for (const int n : {5, 41, 2, 30}) {
        const std::uint64_t before = reader->decodedSamples();
        EXPECT_TRUE(movie.isFrame(frame(*reader, n), n));
        EXPECT_EQ(reader->decodedSamples() - before, std::uint64_t(n % 12 + 1)) << n;
    }
    // Steps afterwards start over once.
    const std::uint64_t before = reader->decodedSamples();
    for (int n = 31; n < 36; ++n) {
        EXPECT_TRUE(movie.isFrame(frame(*reader, n), n));
    }
    EXPECT_LE(reader->decodedSamples() - before, 30u);
}

TEST(VideoTrackReader, KeepsAsManyPicturesAsItMay) {
    const MadeMovie movie(kClosedGroups);
    constexpr std::size_t kEstimatedFrameBytes = kWidth * kHeight * 4;
    const auto reader = movie.reader(5 * kEstimatedFrameBytes);
    for (int n = 0; n <= 20; ++n) {
        frame(*reader, n);
    }
    const std::uint64_t before = reader->decodedSamples();
    for (int n = 20; n >= 15; --n) {
        EXPECT_TRUE(movie.isFrame(frame(*reader, n), n));
    }
    EXPECT_EQ(reader->decodedSamples(), before);
    EXPECT_TRUE(movie.isFrame(frame(*reader, 14), 14));
    EXPECT_GT(reader->decodedSamples(), before);
}

}  // namespace
}  // namespace TWQuickTime::transcode
