#include "Engines/transcode/MovieImport.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>

#include "Engines/codec/ByteOrder.h"
#include "Engines/transcode/MovieExport.h"
#include "Engines/transcode/ScatteredStore.h"
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
    /// False for WebM: its times are whole milliseconds, and ffmpeg decodes Opus behind the silence
    /// that the encoder had put in front.
    bool soundToTheSample = true;
};

class EveryForeignFile : public testing::TestWithParam<Foreign> {
  protected:
    /// Pictures that all differ, and a tone that rises, so that no two places are alike.
    void SetUp() override {
        const Foreign& foreign = GetParam();
        std::vector<std::string> arguments;
        if (foreign.pictures) {
            arguments.insert(arguments.end(), {"-f", "lavfi", "-i", "testsrc2=s=64x48:r=25:d=0.8"});
        }
        if (foreign.sound) {
            arguments.insert(
                arguments.end(),
                {"-f", "lavfi", "-i", "aevalsrc=0.5*sin(2*PI*(300+900*t)*t):s=48000:d=0.8"});
        }
        arguments.insert(arguments.end(), foreign.coding.begin(), foreign.coding.end());
        arguments.push_back(source_);
        runFfmpeg(arguments);
    }

    /// Without loss.
    void exportPart(const std::string& path, test::Range range) {
        const std::uint32_t pictures = GetParam().pictures ? fourCode("FFV1") : 0;
        const std::uint32_t sound = GetParam().sound ? fourCode("sowt") : 0;
        const auto status = test::exportFile(
            source_, test::settingsFor(FileKind::quickTime, pictures, sound), path, range);
        ASSERT_TRUE(status) << status.failure().message;
    }

    TemporaryDirectory folder_;
    std::string source_ = folder_.file(GetParam().file);
};

TEST_P(EveryForeignFile, BecomesAMovieThatExportsAsFfmpegDecodesTheOriginal) {
    const Foreign& foreign = GetParam();
    const std::string exported = folder_.file("out.mov");
    exportPart(exported, {});
    if (foreign.pictures) {
        EXPECT_EQ(test::countFrames(exported, "v:0"), test::countFrames(source_, "v:0"));
        EXPECT_GT(test::psnr(source_, exported), 45);
    }
    if (foreign.sound) {
        const auto before = test::decodedSound(source_, folder_.file("a.f32"));
        const auto after = test::decodedSound(exported, folder_.file("b.f32"));
        EXPECT_NEAR(double(before.size()), double(after.size()), 2400);
    }
}

TEST_P(EveryForeignFile, IsReadFromTheMiddleToTheSample) {
    const Foreign& foreign = GetParam();
    const std::string exported = folder_.file("part.mov");
    exportPart(exported, {.start = 0.4, .duration = 0.2});
    if (foreign.pictures) {
        EXPECT_EQ(test::countFrames(exported, "v:0"), 5);
        EXPECT_GT(
            test::psnr(exported, source_, "trim=start_frame=10:end_frame=15,setpts=PTS-STARTPTS"),
            45);
    }
    if (foreign.sound && foreign.soundToTheSample) {
        constexpr std::size_t start = 19'200;
        const auto whole = test::decodedSound(source_, folder_.file("a.f32"));
        const auto part = test::decodedSound(exported, folder_.file("b.f32"));
        ASSERT_NEAR(double(part.size()), 9'600, 1);
        ASSERT_GT(whole.size(), start + part.size());
        const std::vector<float> expected(whole.begin() + start,
                                          whole.begin() + std::ptrdiff_t(start + part.size()));
        EXPECT_EQ(test::bestShift(expected, part, 100), 0);
        EXPECT_GT(test::correlation(expected, part, 0), 0.999);
    }
}

TEST_P(EveryForeignFile, IsReadWhereItIs) {
    const auto movie = importMovie(source_);
    ASSERT_TRUE(movie) << movie.failure().message;
    for (const auto& track : (*movie)->tracks) {
        const timeline::Media& media = *track->media;
        for (const timeline::DataReference& reference : media.dataReferences) {
            const auto* store = dynamic_cast<const ScatteredStore*>(reference.store.get());
            if (store) {
                // Lengths of units instead of start codes, and ends of pieces; small as these
                // pictures are, that is a tenth.
                EXPECT_LT(double(store->keptBytes()), 0.1 * double(store->size()));
            } else {
                EXPECT_EQ(reference.store->path(), source_);
            }
        }
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
        Foreign{"a.webm",
                {"-c:v", "libvpx", "-pix_fmt", "yuv420p", "-c:a", "libopus"},
                true,
                true,
                false},
        Foreign{"a.mpg", {"-c:v", "mpeg2video", "-c:a", "mp2"}, true, true},
        Foreign{"a.ts", {"-c:v", "mpeg2video", "-c:a", "mp2"}, true, true},
        Foreign{"b.ts", {"-c:v", "libx264", "-pix_fmt", "yuv420p", "-c:a", "aac"}, true, true},
        Foreign{"a.caf", {"-c:a", "pcm_s16be"}, false, true},
        Foreign{"a.ogg", {"-c:a", "flac"}, false, true},
        Foreign{"b.ogg", {"-c:a", "libvorbis"}, false, true}),
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
