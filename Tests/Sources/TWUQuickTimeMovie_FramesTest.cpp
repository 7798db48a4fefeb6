#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <fstream>
#include <iterator>
#include <vector>

#include "CGContext.h"
#include "Handles.h"
#include "ImageDescription.h"
#include "LogCapture.h"
#include "Movies.h"
#include "NSBitmapImageRep.h"
#include "NSImage.h"
#include "QTMovie.h"
#include "QTMovie_TWAdditions.h"
#include "RunProgram.h"
#include "TWUQuickTimeMovie.h"
#include "TemporaryDirectory.h"
#include "TestMovies.h"
#include "ToolboxTrace.h"
#include "Tracks.h"

namespace TWQuickTime {
namespace {

using TWU = TWUQuickTimeMovie;
using test::LogCapture;
using testing::ElementsAre;
using testing::IsEmpty;

using Pixels = std::vector<std::uint8_t>;

double psnrOfColors(const Pixels& rgba, const Pixels& reference) {
    EXPECT_EQ(rgba.size(), reference.size());
    double squares = 0;
    std::size_t count = 0;
    for (std::size_t i = 0; i < std::min(rgba.size(), reference.size()); ++i) {
        if (i % 4 == 3)
            continue;
        const double difference = double(rgba[i]) - double(reference[i]);
        squares += difference * difference;
        ++count;
    }
    return squares == 0 ? 100 : 10 * std::log10(255.0 * 255.0 * double(count) / squares);
}

class Frames : public testing::Test {
  protected:
    ~Frames() override { ToolboxTrace::reset(); }

    std::string makeMovie(const std::string& name, const std::vector<std::string>& output,
                          const std::string& source = "testsrc2=s=64x48:r=10:d=2") {
        std::vector<std::string> arguments = {"-f", "lavfi", "-i", source};
        arguments.insert(arguments.end(), output.begin(), output.end());
        arguments.push_back(folder_.file(name));
        test::runFfmpeg(arguments);
        return folder_.file(name);
    }

    /// Every frame as ffmpeg decodes it, R G B A.
    std::vector<Pixels> decodedByFfmpeg(const std::string& movie, std::size_t frameBytes) {
        const std::string raw = folder_.file("frames.rgba");
        test::runFfmpeg({"-i", movie, "-fps_mode", "passthrough", "-sws_flags",
                         "accurate_rnd+full_chroma_int+bilinear", "-f", "rawvideo", "-pix_fmt",
                         "rgba", raw});
        std::ifstream file(raw, std::ios::binary);
        const Pixels all((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
        std::vector<Pixels> frames;
        for (std::size_t at = 0; at + frameBytes <= all.size(); at += frameBytes)
            frames.emplace_back(all.begin() + std::ptrdiff_t(at),
                                all.begin() + std::ptrdiff_t(at + frameBytes));
        return frames;
    }

    static Pixels pixelsOf(const std::shared_ptr<NSImage>& image) {
        EXPECT_NE(image, nullptr);
        if (!image)
            return {};
        const NSBitmapImageRep& rep = *image->representations().front();
        return Pixels(rep.bitmapData(), rep.bitmapData() + rep.bytesPerRow() * rep.pixelsHigh());
    }

    test::TemporaryDirectory folder_;
    LogCapture log_;
};

TEST_F(Frames, AreThoseThatFfmpegDecodesAtEveryTimeAlsoWithReorderedFrames) {
    const std::string movie =
        makeMovie("a.mov", {"-c:v", "libx264", "-g", "7", "-bf", "2", "-pix_fmt", "yuv444p"});
    const auto reference = decodedByFfmpeg(movie, 64 * 48 * 4);
    ASSERT_EQ(reference.size(), 20u);
    for (int i : {0, 19, 7, 6, 13, 1}) {
        const auto image = TWU::frameImageAtTime((i + 0.5) / 10, NSString(movie));
        const Pixels pixels = pixelsOf(image);
        EXPECT_GT(psnrOfColors(pixels, reference[std::size_t(i)]), 32.0) << i;
        for (std::size_t other : {std::size_t(0), std::size_t(10)}) {
            if (std::size_t(i) != other) {
                EXPECT_LT(psnrOfColors(pixels, reference[other]), 32.0) << i;
            }
        }
    }
    EXPECT_THAT(log_.lines(), IsEmpty());
}

TEST_F(Frames, ComeAtTheRequestedSizeOrTheMoviesOwn) {
    const std::string path = makeMovie("a.mov", {"-c:v", "mjpeg"});
    Movie movie = TWU::createMovieFromPath(path, fsRdPerm, nullptr, nullptr, nullptr);
    EXPECT_EQ(TWU::frameImageAtTime(1, nullptr, movie, false, NSMakeSize(32, 24))->size(),
              NSMakeSize(32, 24));
    EXPECT_EQ(TWU::frameImageAtTime(1, nullptr, movie, false, NSZeroSize)->size(),
              NSMakeSize(64, 48));
    EXPECT_EQ(TWU::frameImageAtTime(1, nullptr, movie, false, NSMakeSize(64, 48))->size(),
              NSMakeSize(64, 48));
    EXPECT_EQ(TWU::frameImageAtTime(1, nullptr, movie, false, NSMakeSize(100, 0))->size(),
              NSMakeSize(64, 48));
    DisposeMovie(movie);
}

TEST_F(Frames, AnEmptyEditIsTransparentWithAlphaAndBlackWithout) {
    const std::string path = makeMovie("a.mov", {"-c:v", "mjpeg"}, "color=white:s=64x48:r=10:d=1");
    const std::string later = folder_.file("later.mov");
    test::runFfmpeg({"-itsoffset", "1", "-i", path, "-c", "copy", later});
    Movie movie = TWU::createMovieFromPath(later, fsRdPerm, nullptr, nullptr, nullptr);
    EXPECT_THAT(pixelsOf(TWU::frameImageAtTime(0.5, nullptr, movie, true, NSZeroSize)),
                testing::Each(0));
    const Pixels black = pixelsOf(TWU::frameImageAtTime(0.5, nullptr, movie, false, NSZeroSize));
    EXPECT_THAT(Pixels(black.begin(), black.begin() + 4), ElementsAre(0, 0, 0, 255));
    const Pixels white = pixelsOf(TWU::frameImageAtTime(1.5, movie));
    EXPECT_GT(white[0], 250);
    EXPECT_EQ(white[3], 255);
    DisposeMovie(movie);
}

TEST_F(Frames, PlacesOfTheBoxThatNoTrackCoversAreTransparentWithAlpha) {
    const std::string tall = makeMovie("a.mov", {"-c:v", "mjpeg"}, "color=red:s=64x48:r=10:d=1");
    const std::string low = makeMovie("b.mov", {"-c:v", "mjpeg"}, "color=blue:s=64x24:r=10:d=1");
    const std::string both = folder_.file("both.mov");
    test::runFfmpeg({"-i", tall, "-i", low, "-map", "0:v", "-map", "1:v", "-c", "copy", both});
    Movie movie = TWU::createMovieFromPath(both, fsRdPerm, nullptr, nullptr, nullptr);
    // The low track to the right of the tall one: the lower right of the box stays uncovered.
    Track right = GetMovieIndTrack(movie, 2);
    SetTrackEnabled(right, true);
    MatrixRecord moved;
    moved.matrix[2][0] = 64 * kFixedOne;
    SetTrackMatrix(right, &moved);
    const auto at = [](const Pixels& pixels, int x, int y) {
        const auto first = pixels.begin() + (y * 128 + x) * 4;
        return Pixels(first, first + 4);
    };
    const Pixels clear = pixelsOf(TWU::frameImageAtTime(0.5, nullptr, movie, true, NSZeroSize));
    ASSERT_EQ(clear.size(), 128u * 48 * 4);
    EXPECT_THAT(at(clear, 100, 40), ElementsAre(0, 0, 0, 0));
    EXPECT_GT(at(clear, 10, 40)[0], 245);
    EXPECT_EQ(at(clear, 10, 40)[3], 255);
    EXPECT_GT(at(clear, 100, 10)[2], 245);
    const Pixels filled = pixelsOf(TWU::frameImageAtTime(0.5, nullptr, movie, false, NSZeroSize));
    EXPECT_THAT(at(filled, 100, 40), ElementsAre(0, 0, 0, 255));
    DisposeMovie(movie);
}

TEST_F(Frames, ATrackWithoutAMovieIsDrawnAloneFromItsOwnMovie) {
    const std::string first = makeMovie("a.mov", {"-c:v", "mjpeg"}, "color=red:s=64x48:r=10:d=1");
    const std::string both = folder_.file("both.mov");
    const std::string second = makeMovie("b.mov", {"-c:v", "mjpeg"}, "color=blue:s=64x48:r=10:d=1");
    test::runFfmpeg({"-i", first, "-i", second, "-map", "0:v", "-map", "1:v", "-c", "copy", both});
    Movie movie = TWU::createMovieFromPath(both, fsRdPerm, nullptr, nullptr, nullptr);
    for (int index : {1, 2}) {
        const Pixels pixels =
            pixelsOf(TWU::frameImageAtTime(0.5, GetMovieIndTrack(movie, index), nullptr));
        ASSERT_FALSE(pixels.empty());
        EXPECT_NEAR(pixels[0], index == 1 ? 254 : 0, 6) << index;
        EXPECT_NEAR(pixels[2], index == 1 ? 0 : 254, 6) << index;
    }
    // The caller's movie keeps its tracks as they were.
    EXPECT_TRUE(GetTrackEnabled(GetMovieIndTrack(movie, 1)));
    DisposeMovie(movie);
}

TEST_F(Frames, ARotatedMovieIsShownUpright) {
    const std::string path = makeMovie("a.mov", {"-c:v", "mjpeg"});
    const std::string rotated = folder_.file("rotated.mov");
    test::runFfmpeg({"-i", path, "-c", "copy", "-metadata:s:v", "rotate=90", rotated});
    const auto image = TWU::frameImageAtTime(0.5, NSString(rotated));
    ASSERT_NE(image, nullptr);
    EXPECT_EQ(image->size(), NSMakeSize(48, 64));
}

TEST_F(Frames, AFailingMovieBoxIsLoggedAndGivesNothing) {
    const std::string path = makeMovie("a.mov", {"-c:v", "mjpeg"});
    Movie movie = TWU::createMovieFromPath(path, fsRdPerm, nullptr, nullptr, nullptr);
    ToolboxTrace::failCall("GetMovieBox", 1, -2010);
    EXPECT_EQ(TWU::frameImageAtTime(0, movie), nullptr);
    EXPECT_THAT(
        log_.lines(),
        ElementsAre("+[TWUQuickTimeMovie frameImageAtTime:ofTrack:ofMovie:withAlpha:withSize:] - "
                    "GetMovieBox returned in error : -2010"));
    DisposeMovie(movie);
}

TEST_F(Frames, OfNothingAreNothing) {
    EXPECT_EQ(TWU::frameImageAtTime(0, nullptr, nullptr), nullptr);
    EXPECT_EQ(TWU::frameImageAtTime(0, NSString(folder_.file("none.mov"))), nullptr);
    EXPECT_EQ(TWU::posterImageOfMovieAtPath(nullptr), nullptr);
    EXPECT_EQ(TWU::posterImageOfMovieAtPath(folder_.file("none.mov")), nullptr);
    EXPECT_EQ(TWU::imageFromPicHandle(nullptr), nullptr);
}

TEST_F(Frames, PosterTimesAreCutToWholeSeconds) {
    Movie movie = NewMovie(newMovieActive);
    SetMoviePosterTime(movie, 1500);  // 2.5 s of 600 units
    EXPECT_EQ(TWU::getMoviePosterTimeInSeconds(movie), 2.0);
    EXPECT_EQ(TWU::getMoviePosterTimeInSeconds(nullptr), 0.0);
    DisposeMovie(movie);
}

TEST_F(Frames, APosterIsTheMiddleOfAShortMovieAndThreeSecondsIntoALongOne) {
    for (const auto& [length, frame] : {std::pair{5, 25}, std::pair{30, 30}}) {
        const std::string path =
            makeMovie("p.mov", {"-c:v", "mjpeg", "-q:v", "2", "-pix_fmt", "yuvj444p"},
                      "testsrc2=s=64x48:r=10:d=" + std::to_string(length));
        const auto reference = decodedByFfmpeg(path, 64 * 48 * 4);
        EXPECT_GT(psnrOfColors(pixelsOf(TWU::posterImageOfMovieAtPath(path)),
                               reference[std::size_t(frame)]),
                  30.0)
            << length;
    }
}

class AspectRatios : public testing::Test {
  protected:
    AspectRatios() : description_(reinterpret_cast<ImageDescriptionHandle>(NewHandleClear(86))) {
        (*description_)->idSize = 86;
    }
    ~AspectRatios() override {
        ToolboxTrace::reset();
        DisposeHandle(reinterpret_cast<Handle>(description_));
    }
    ImageDescriptionHandle description_;
};

TEST_F(AspectRatios, OneAddsNothingAndReadsAsOne) {
    TWU::addPixelAspectRatio(1.0, description_);
    EXPECT_EQ(GetHandleSize(reinterpret_cast<Handle>(description_)), 86);
    EXPECT_EQ(TWU::getPixelAspectRatioOfImageDescription(description_), 1.0);
    EXPECT_EQ(TWU::getPixelAspectRatioOfImageDescription(nullptr), 1.0);
}

TEST_F(AspectRatios, AreStoredInThousandthsCutToWholeNumbers) {
    TWU::addPixelAspectRatio(1.0926, description_);
    const unsigned char expected[] = {0, 0, 0, 16,   'p', 'a', 's', 'p',
                                      0, 0, 4, 0x44, 0,   0,   3,   0xE8};
    EXPECT_EQ(std::memcmp(*reinterpret_cast<Handle>(description_) + 86, expected, 16), 0);
    EXPECT_DOUBLE_EQ(TWU::getPixelAspectRatioOfImageDescription(description_), 1.092);
}

TEST_F(AspectRatios, AreReadTheOlderWayBeforeVersionSeven) {
    TWU::addPixelAspectRatio(0.9, description_);
    ToolboxTrace::failCall("Gestalt", 1, -5550);
    ToolboxTrace::startRecording();
    EXPECT_DOUBLE_EQ(TWU::getPixelAspectRatioOfImageDescription(description_), 0.9);
    EXPECT_THAT(ToolboxTrace::recordedCalls(), testing::Contains("GetImageDescriptionExtension"));
}

TEST_F(AspectRatios, ASpacingOfZeroReadsAsOne) {
    Handle zero = NewHandleClear(8);
    AddImageDescriptionExtension(description_, zero, fourCC("pasp"));
    DisposeHandle(zero);
    EXPECT_EQ(TWU::getPixelAspectRatioOfImageDescription(description_), 1.0);
}

TEST_F(Frames, OfAMovieObjectKeepTimeMatrixAndWorld) {
    const std::string path =
        makeMovie("a.mov", {"-c:v", "libx264", "-g", "10", "-bf", "2", "-pix_fmt", "yuv444p"});
    NSError error;
    const auto movie = QTMovie_TWAdditions::movieWithFile(path, QTMovieApertureModeClean, &error);
    ASSERT_NE(movie, nullptr);
    EXPECT_FALSE(error);
    SetMovieTimeValue(movie->quickTimeMovie(), 7);
    const auto reference = decodedByFfmpeg(path, 64 * 48 * 4);
    for (int i = 0; i < 20; ++i) {
        CGImageRef frame =
            QTMovie_TWAdditions::imageAtTime(*movie, (i + 0.5) / 10, NSZeroSize, &error);
        ASSERT_NE(frame, nullptr) << i;
        const auto rep = NSBitmapImageRep::initWithCGImage(frame);
        CGImageRelease(frame);
        EXPECT_GT(psnrOfColors(Pixels(rep->bitmapData(), rep->bitmapData() + 64 * 48 * 4),
                               reference[std::size_t(i)]),
                  32.0)
            << i;
    }
    EXPECT_EQ(GetMovieTime(movie->quickTimeMovie(), nullptr), 7);
    CGImageRef small = QTMovie_TWAdditions::imageAtTime(*movie, 1, NSMakeSize(30, 20), nullptr);
    EXPECT_EQ(CGImageGetWidth(small), 30u);
    EXPECT_EQ(CGImageGetHeight(small), 20u);
    CGImageRelease(small);
    Rect box;
    GetMovieBox(movie->quickTimeMovie(), &box);
    EXPECT_EQ(box.right, 64);
}

TEST_F(Frames, AMissingFileGivesItsErrorThroughThePlace) {
    NSError error;
    EXPECT_EQ(QTMovie_TWAdditions::movieWithFile(folder_.file("none.mov"), QTMovieApertureModeClean,
                                                 &error),
              nullptr);
    EXPECT_TRUE(error);
    EXPECT_EQ(QTMovie_TWAdditions::movieWithFile(nullptr, QTMovieApertureModeClean, nullptr),
              nullptr);
    EXPECT_FALSE(QTMovie_TWAdditions::isMovieFile(folder_.file("none.mov")));
}

}  // namespace
}  // namespace TWQuickTime
