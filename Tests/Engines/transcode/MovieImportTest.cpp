#include "Engines/transcode/MovieImport.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>

#include "Engines/codec/ByteOrder.h"
#include "Engines/transcode/MovieExport.h"
#include "ExportedFile.h"
#include "TemporaryDirectory.h"

namespace TWQuickTime::transcode {
namespace {

using codec::fourCode;
using TWQuickTime::test::runFfmpeg;
using TWQuickTime::test::TemporaryDirectory;

struct Foreign {
    const char* file;
    std::vector<std::string> coding;
    bool pictures;
    bool sound;
};

class EveryForeignFile : public testing::TestWithParam<Foreign> {
  protected:
    TemporaryDirectory folder_;
};

TEST_P(EveryForeignFile, BecomesAMovieThatExportsAsFfmpegDecodesTheOriginal) {
    const Foreign& foreign = GetParam();
    const std::string source = folder_.file(foreign.file);
    std::vector<std::string> arguments;
    if (foreign.pictures) {
        arguments.insert(arguments.end(), {"-f", "lavfi", "-i", "testsrc2=s=64x48:r=25:d=0.8"});
    }
    if (foreign.sound) {
        arguments.insert(arguments.end(), {"-f", "lavfi", "-i", "sine=440:r=48000:d=0.8"});
    }
    arguments.insert(arguments.end(), foreign.coding.begin(), foreign.coding.end());
    arguments.push_back(source);
    runFfmpeg(arguments);
    auto movie = importMovie(source);
    ASSERT_TRUE(movie) << movie.failure().message;
    ExportRequest request;
    request.movie = movie->get();
    request.duration = (*movie)->duration();
    request.settings.kind = FileKind::quickTime;
    if (foreign.pictures) {
        request.settings.video = VideoSettings{};
        request.settings.video->codec = fourCode("FFV1");
    }
    if (foreign.sound) {
        request.settings.sound = SoundSettings{};
        request.settings.sound->codec = fourCode("sowt");
    }
    request.path = folder_.file("out.mov");
    const auto status = exportMovie(request);
    ASSERT_TRUE(status) << status.failure().message;
    if (foreign.pictures) {
        EXPECT_EQ(test::countFrames(request.path, "v:0"), test::countFrames(source, "v:0"));
        EXPECT_GT(test::psnr(source, request.path), 45);
    }
    if (foreign.sound) {
        const auto before = test::decodedSound(source, folder_.file("a.f32"));
        const auto after = test::decodedSound(request.path, folder_.file("b.f32"));
        EXPECT_NEAR(double(before.size()), double(after.size()), 2400);
    }
}

INSTANTIATE_TEST_SUITE_P(
    Formats, EveryForeignFile,
    testing::Values(
        Foreign{"a.wav", {"-c:a", "pcm_s16le"}, false, true},
        Foreign{"b.wav", {"-c:a", "pcm_s24le"}, false, true},
        Foreign{"a.aiff", {"-c:a", "pcm_s16be"}, false, true},
        Foreign{"a.mp3", {"-c:a", "libmp3lame"}, false, true},
        Foreign{"a.flac", {"-c:a", "flac"}, false, true},
        Foreign{"a.avi", {"-c:v", "mjpeg", "-c:a", "pcm_s16le"}, true, true},
        Foreign{"b.avi", {"-c:v", "mpeg4", "-bf", "0", "-c:a", "libmp3lame"}, true, true},
        Foreign{"a.mkv", {"-c:v", "libx264", "-pix_fmt", "yuv420p", "-c:a", "flac"}, true, true},
        Foreign{"a.webm", {"-c:v", "libvpx", "-pix_fmt", "yuv420p", "-c:a", "libopus"}, true, true},
        Foreign{"a.mpg", {"-c:v", "mpeg2video", "-c:a", "mp2"}, true, true}),
    [](const auto& instance) {
        std::string name = instance.param.file;
        std::ranges::replace(name, '.', '_');
        return name;
    });

TEST(MovieImport, ReadsSamplesOfAWaveFileWhereTheyAre) {
    TemporaryDirectory folder;
    const std::string source = folder.file("tone.wav");
    runFfmpeg({"-f", "lavfi", "-i", "sine=440:r=48000:d=0.5", "-c:a", "pcm_s16le", source});
    auto movie = importMovie(source);
    ASSERT_TRUE(movie) << movie.failure().message;
    ASSERT_EQ((*movie)->tracks.size(), 1u);
    const timeline::Media& media = *(*movie)->tracks.front()->media;
    EXPECT_EQ(media.samples.sampleCount(), 24000u);
    EXPECT_EQ(media.samples.chunkCount(), 1u);
    EXPECT_EQ(media.storeOfDescription(1)->path(), source);
}

TEST(MovieImport, RefusesWhatIsNoMovie) {
    TemporaryDirectory folder;
    const std::string path = folder.file("notes.txt");
    std::ofstream(path) << "Nothing to see here, nothing to hear.\n";
    EXPECT_FALSE(importMovie(path));
    EXPECT_FALSE(importMovie(folder.file("missing.avi")));
}

TEST(MovieImport, OpensNoOtherFileThanTheOneThatItIsGiven) {
    TemporaryDirectory folder;
    runFfmpeg({"-f", "lavfi", "-i", "sine=440:r=48000:d=0.1", folder.file("tone.wav")});
    const std::string list = folder.file("list.m3u8");
    std::ofstream(list) << "#EXTM3U\n#EXT-X-TARGETDURATION:1\n#EXTINF:0.1,\ntone.wav\n"
                           "#EXT-X-ENDLIST\n";
    EXPECT_FALSE(importMovie(list));
}

}  // namespace
}  // namespace TWQuickTime::transcode
