// Movies and tracks that are clipped, seen through the renderer and in exports.
#include "Engines/transcode/ClipMask.h"

#include <gtest/gtest.h>

#include <cstring>
#include <fstream>
#include <string>

#include "Engines/codec/ByteOrder.h"
#include "Engines/moviefile/MovieReader.h"
#include "Engines/transcode/MovieRenderer.h"
#include "ExportedFile.h"
#include "TemporaryDirectory.h"

namespace TWQuickTime::transcode {
namespace {

using codec::fourCode;
using TWQuickTime::test::runFfmpeg;
using TWQuickTime::test::TemporaryDirectory;

std::string text(const codec::ByteWriter& writer) {
    return {reinterpret_cast<const char*>(writer.data().data()), writer.data().size()};
}

/// A clip to a region given by its words.
std::string clipAtom(const std::vector<int>& words) {
    codec::ByteWriter writer;
    const std::size_t clip = writer.openAtom(fourCode("clip"));
    const std::size_t region = writer.openAtom(fourCode("crgn"));
    writer.u16(std::uint32_t(words.size() * 2 + 2));
    for (const int word : words) {
        writer.u16(std::uint32_t(word) & 0xFFFF);
    }
    writer.closeAtom(region).closeAtom(clip);
    return text(writer);
}

/// Top, left, bottom, right.
const std::vector<int> kMiddle = {16, 16, 32, 48};

class Clipped : public testing::Test {
  protected:
    static void SetUpTestSuite() {
        media_ = new TemporaryDirectory();
        runFfmpeg({"-f", "lavfi", "-i", "color=white:s=64x48:r=25", "-frames:v", "5", "-c:v", "png",
                   media_->file("plain.mov")});
    }
    static void TearDownTestSuite() {
        delete media_;
        media_ = nullptr;
    }

    static std::uint32_t numberAt(const std::string& bytes, std::size_t at) {
        return codec::u32At(std::as_bytes(std::span(bytes)), at);
    }

    /// The movie with an atom at the end of 'moov', or of the 'trak' in it.
    std::string withAtom(const std::string& atom, bool inTrack) {
        std::ifstream file(media_->file("plain.mov"), std::ios::binary);
        std::string bytes((std::istreambuf_iterator<char>(file)), {});
        std::size_t movie = 0;
        while (bytes.compare(movie + 4, 4, "moov") != 0) {
            movie += numberAt(bytes, movie);
        }
        std::vector<std::size_t> parents = {movie};
        if (inTrack) {
            std::size_t track = movie + 8;
            while (bytes.compare(track + 4, 4, "trak") != 0) {
                track += numberAt(bytes, track);
            }
            parents.push_back(track);
        }
        bytes.insert(parents.back() + numberAt(bytes, parents.back()), atom);
        for (const std::size_t parent : parents) {
            codec::ByteWriter size;
            size.u32(numberAt(bytes, parent) + std::uint32_t(atom.size()));
            bytes.replace(parent, 4, text(size));
        }
        std::string path = folder_.file("clipped.mov");
        std::ofstream(path, std::ios::binary) << bytes;
        return path;
    }

    /// 255 where the first picture is white, 0 where it is black.
    static int brightness(const std::string& path, int x, int y, const RenderOptions& options) {
        auto opened = moviefile::openMovieFile(path);
        EXPECT_TRUE(opened);
        auto renderer = MovieRenderer::open(*opened->movie, options);
        EXPECT_TRUE(renderer);
        auto picture = (*renderer)->renderFrame({0, 1}, codec::PixelFormat::bgra32());
        EXPECT_TRUE(picture);
        return picture->row(0, y)[x * 4 + 1];
    }

    static TemporaryDirectory* media_;
    TemporaryDirectory folder_;
};

TemporaryDirectory* Clipped::media_ = nullptr;

TEST_F(Clipped, ATrackIsDrawnWhereItsClipLetsItAndNowhereElse) {
    const std::string path = withAtom(clipAtom(kMiddle), true);
    EXPECT_EQ(brightness(path, 16, 16, {}), 255);
    EXPECT_EQ(brightness(path, 47, 31, {}), 255);
    EXPECT_EQ(brightness(path, 15, 16, {}), 0);
    EXPECT_EQ(brightness(path, 48, 31, {}), 0);
    EXPECT_EQ(brightness(path, 16, 15, {}), 0);
    EXPECT_EQ(brightness(path, 47, 32, {}), 0);
}

TEST_F(Clipped, TheMoviesClipHoldsForItsTracks) {
    const std::string path = withAtom(clipAtom(kMiddle), false);
    EXPECT_EQ(brightness(path, 20, 20, {}), 255);
    EXPECT_EQ(brightness(path, 2, 20, {}), 0);
}

TEST_F(Clipped, TheClipGrowsWithThePicture) {
    const std::string path = withAtom(clipAtom(kMiddle), true);
    const RenderOptions twice{.width = 128, .height = 96};
    EXPECT_EQ(brightness(path, 34, 34, twice), 255);
    EXPECT_EQ(brightness(path, 94, 62, twice), 255);
    EXPECT_EQ(brightness(path, 20, 20, twice), 0);
    EXPECT_EQ(brightness(path, 98, 34, twice), 0);
}

TEST_F(Clipped, AClipMayHaveAnyShape) {
    // The left half above, all of it below.
    const std::string path = withAtom(
        clipAtom({0, 0, 48, 64, 0, 0, 32, 0x7FFF, 24, 32, 64, 0x7FFF, 48, 0, 64, 0x7FFF, 0x7FFF}),
        true);
    EXPECT_EQ(brightness(path, 10, 10, {}), 255);
    EXPECT_EQ(brightness(path, 40, 10, {}), 0);
    EXPECT_EQ(brightness(path, 10, 40, {}), 255);
    EXPECT_EQ(brightness(path, 40, 40, {}), 255);
}

TEST_F(Clipped, AClipAroundEverythingOrADamagedOneChangesNothing) {
    for (const std::vector<int>& words :
         {std::vector<int>{0, 0, 48, 64}, {-5, -5, 100, 100}, {16, 16}}) {
        const std::string path = withAtom(clipAtom(words), true);
        EXPECT_EQ(brightness(path, 0, 0, {}), 255);
        auto opened = moviefile::openMovieFile(path);
        ASSERT_TRUE(opened);
        EXPECT_FALSE(ClipMask::isNeeded(*opened->movie, *opened->movie->tracks.front()));
    }
}

TEST_F(Clipped, ExportsHaveTheClippedPictures) {
    const std::string path = withAtom(clipAtom(kMiddle), true), out = folder_.file("out.mov");
    ASSERT_TRUE(
        test::exportFile(path, test::settingsFor(FileKind::quickTime, fourCode("rle "), 0), out));
    EXPECT_EQ(test::probe(out, "v:0", "width"), "64");
    const auto quality =
        test::lumaPsnrs(media_->file("plain.mov"), out,
                        "drawbox=0:0:64:16:black:fill,drawbox=0:32:64:16:black:fill,"
                        "drawbox=0:0:16:48:black:fill,drawbox=48:0:16:48:black:fill",
                        "null", folder_.file("psnr"));
    ASSERT_EQ(quality.size(), 5u);
    EXPECT_GT(*std::ranges::min_element(quality), 45);
}

}  // namespace
}  // namespace TWQuickTime::transcode
