#include "MovieDrawing.h"

#include <gtest/gtest.h>

#include <filesystem>

#include "Movies.h"
#include "NSBitmapImageRep.h"
#include "NSImage.h"
#include "Platform/Toolbox/Private/CloneDecoders.h"
#include "RunProgram.h"
#include "TWUQuickTimeMovie.h"
#include "TemporaryDirectory.h"
#include "Tracks.h"

namespace TWQuickTime {
namespace {

using TWU = TWUQuickTimeMovie;

/// A movie of 20 pictures, ten a second.
class ClonesOfAMovie : public testing::Test {
  protected:
    ClonesOfAMovie() {
        test::runFfmpeg({"-f", "lavfi", "-i", "testsrc2=s=64x48:r=10:d=2", "-c:v", "libx264",
                         "-pix_fmt", "yuv420p", folder_.file("a.mov")});
        movie_ =
            TWU::createMovieFromPath(folder_.file("a.mov"), fsRdPerm, nullptr, nullptr, nullptr);
        EXPECT_NE(movie_, nullptr);
    }
    ~ClonesOfAMovie() override { DisposeMovie(movie_); }

    static std::vector<std::uint8_t> frame(Movie movie, int number) {
        const auto image = TWU::frameImageAtTime((number + 0.5) / 10, movie);
        EXPECT_NE(image, nullptr);
        if (!image)
            return {};
        const NSBitmapImageRep& rep = *image->representations().front();
        return {rep.bitmapData(), rep.bitmapData() + rep.bytesPerRow() * rep.pixelsHigh()};
    }

    test::TemporaryDirectory folder_;
    Movie movie_ = nullptr;
};

TEST_F(ClonesOfAMovie, HandTheirDecodersOnSoThatEachSampleIsDecodedOnce) {
    for (int i = 0; i < 20; ++i)
        frame(movie_, i);
    EXPECT_EQ(samplesDecodedForClonesOf(movie_), 20u);
}

TEST_F(ClonesOfAMovie, GiveTheSamePicturesAsAMovieThatWasJustOpened) {
    for (int i : {12, 3, 4, 5, 19, 0}) {
        Movie fresh =
            TWU::createMovieFromPath(folder_.file("a.mov"), fsRdPerm, nullptr, nullptr, nullptr);
        EXPECT_EQ(frame(movie_, i), frame(fresh, i)) << i;
        DisposeMovie(fresh);
    }
}

TEST_F(ClonesOfAMovie, DoNotUseDecodersOfAMovieThatLookedDifferent) {
    const auto whole = frame(movie_, 5);
    SetTrackEnabled(GetMovieIndTrack(movie_, 1), false);
    EXPECT_EQ(TWU::frameImageAtTime(0.55, movie_), nullptr);
    SetTrackEnabled(GetMovieIndTrack(movie_, 1), true);
    EXPECT_EQ(frame(movie_, 5), whole);
}

TEST_F(ClonesOfAMovie, KeepNothingOfAMovieThatWasDisposedOf) {
    const std::string path = std::filesystem::canonical(folder_.file("a.mov")).string();
    const auto isOpen = [&] {
        std::error_code gone;
        for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd"))
            if (std::filesystem::read_symlink(entry.path(), gone) == path)
                return true;
        return false;
    };
    frame(movie_, 5);
    EXPECT_TRUE(isOpen());
    DisposeMovie(movie_);
    movie_ = nullptr;
    EXPECT_FALSE(isOpen());
    EXPECT_EQ(samplesDecodedForClonesOf(movie_), 0u);
}

}  // namespace
}  // namespace TWQuickTime
