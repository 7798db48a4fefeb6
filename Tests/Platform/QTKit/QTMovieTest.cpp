#include "QTMovie.h"

#include <gtest/gtest.h>

#include "Apertures.h"
#include "QTTrack.h"
#include "RunProgram.h"
#include "TemporaryDirectory.h"
#include "TestMovies.h"

namespace TWQuickTime {
namespace {

TEST(QTMovie, OpensAFileAndDisposesOfItsMovie) {
    const test::TemporaryDirectory directory;
    const std::string path = directory.file("a.mov");
    test::runFfmpeg(
        {"-f", "lavfi", "-i", "testsrc=duration=2:size=64x48:rate=25", "-c:v", "mjpeg", path});
    NSError error = NSError::errorWithDomain("domain", 5);
    auto movie = QTMovie::movieWithFile(NSString(path), &error);
    ASSERT_NE(movie, nullptr);
    EXPECT_TRUE(error.isNil());
    EXPECT_EQ(QTTimeCompare(movie->duration(), QTMakeTime(2, 1)), NSOrderedSame);
    EXPECT_EQ(movie->attributeForKey(QTMovieFileNameAttribute).stringValue().utf8(), path);
    EXPECT_EQ(movie->attributeForKey(QTMovieLoadStateAttribute).intValue(), 100000);
    EXPECT_TRUE(movie->attributeForKey(QTMovieHasVideoAttribute).boolValue());
    EXPECT_FALSE(movie->attributeForKey(QTMovieHasAudioAttribute).boolValue());
    const Movie inner = movie->quickTimeMovie();
    movie.reset();
    EXPECT_EQ(GetMovieTimeScale(inner), 0);
    EXPECT_EQ(GetMoviesError(), invalidMovie);
}

TEST(QTMovie, HandsOutTheStatusOfAFileThatCannotBeOpened) {
    NSError error;
    EXPECT_EQ(QTMovie::movieWithFile("/no/such/file.mov", &error), nullptr);
    EXPECT_EQ(error.domain().utf8(), NSOSStatusErrorDomain);
    EXPECT_EQ(error.code(), fnfErr);
    EXPECT_EQ(QTMovie::initWithFile(nullptr, &error), nullptr);
    EXPECT_EQ(error.code(), paramErr);
    EXPECT_EQ(QTMovie::movieWithFile("/no/such/file.mov", nullptr), nullptr);
}

TEST(QTMovie, WrapsAMovieOfTheToolbox) {
    const test::ScopedMovie movie;
    NSError error;
    {
        const auto object = QTMovie::movieWithQuickTimeMovie(movie, false, &error);
        ASSERT_NE(object, nullptr);
        EXPECT_EQ(object->quickTimeMovie(), static_cast<Movie>(movie));
        EXPECT_EQ(object->attributeForKey(QTMovieTimeScaleAttribute).doubleValue(), 600);
    }
    EXPECT_EQ(GetMovieTimeScale(movie), 600);
    EXPECT_EQ(QTMovie::movieWithQuickTimeMovie(nullptr, true, &error), nullptr);
    EXPECT_EQ(error.code(), invalidMovie);
}

class QTMovieOfTwoSeconds : public testing::Test {
  protected:
    QTMovieOfTwoSeconds() {
        const Movie movie = NewMovie(newMovieActive);
        test::addVideoTrack(movie, 25, 50);
        test::addSoundTrack(movie, 8000, 16000);
        movie_ = QTMovie::movieWithQuickTimeMovie(movie, true, nullptr);
    }

    std::shared_ptr<QTMovie> movie_;
};

TEST_F(QTMovieOfTwoSeconds, KeepsItsTimeInsideItsExtent) {
    movie_->setCurrentTime(QTMakeTimeWithTimeInterval(1.5));
    EXPECT_EQ(movie_->currentTime(), QTMakeTime(900, 600));
    movie_->setCurrentTime(QTIndefiniteTime);
    EXPECT_EQ(movie_->currentTime(), QTMakeTime(1200, 600));
    movie_->setCurrentTime(QTMakeTime(-5, 1));
    EXPECT_EQ(movie_->currentTime(), QTMakeTime(0, 600));
}

TEST_F(QTMovieOfTwoSeconds, KeepsAttributesThatItDoesNotKnow) {
    EXPECT_TRUE(movie_->attributeForKey(QTMovieLoopsAttribute).isNil());
    movie_->setAttribute(true, QTMovieLoopsAttribute);
    EXPECT_TRUE(movie_->attributeForKey(QTMovieLoopsAttribute).boolValue());
    const QTTimeRange range = QTMakeTimeRange(QTMakeTime(1, 2), QTMakeTime(3, 4));
    movie_->setAttribute(range, QTMovieSelectionAttribute);
    EXPECT_EQ(movie_->attributeForKey(QTMovieSelectionAttribute).timeRangeValue(), range);
    EXPECT_EQ(movie_->attributeForKey(QTMovieSelectionAttribute).doubleValue(), 0);
}

TEST_F(QTMovieOfTwoSeconds, ChangesItsTimeScale) {
    movie_->setAttribute(1000, QTMovieTimeScaleAttribute);
    EXPECT_EQ(movie_->duration(), QTMakeTime(2000, 1000));
}

TEST_F(QTMovieOfTwoSeconds, HasItsTracksAsObjects) {
    ASSERT_EQ(movie_->tracks().size(), 2u);
    const auto sound = movie_->tracksOfMediaType(fourCC("soun"));
    ASSERT_EQ(sound.size(), 1u);
    EXPECT_EQ(sound[0]->movie(), movie_);
    EXPECT_EQ(sound[0]->attributeForKey(QTTrackMediaTypeAttribute).stringValue().utf8(), "soun");
    EXPECT_EQ(sound[0]->attributeForKey(QTTrackTimeScaleAttribute).intValue(), 8000);
    EXPECT_EQ(sound[0]->volume(), 1);
    sound[0]->setVolume(0.5F);
    EXPECT_EQ(GetTrackVolume(sound[0]->quickTimeTrack()), 128);
    sound[0]->setAttribute(false, QTTrackEnabledAttribute);
    EXPECT_FALSE(sound[0]->isEnabled());
    movie_.reset();
    EXPECT_EQ(sound[0]->quickTimeTrack(), nullptr);
    EXPECT_TRUE(sound[0]->attributeForKey(QTTrackIDAttribute).isNil());
}

TEST(QTMovieApertures, AreGeneratedFromPixelAspectAndCleanAperture) {
    const test::ScopedMovie movie;
    const Track track = NewMovieTrack(movie, 720 << 16, 576 << 16, 0);
    const Media media = NewTrackMedia(track, fourCC("vide"), 25, nullptr, 0);
    using test::bigEndian32;
    const auto description = test::rawVideoDescription(720, 576,
                                                       test::joined({bigEndian32(16),
                                                                     {'p', 'a', 's', 'p'},
                                                                     bigEndian32(16),
                                                                     bigEndian32(15),
                                                                     bigEndian32(40),
                                                                     {'c', 'l', 'a', 'p'},
                                                                     bigEndian32(704),
                                                                     bigEndian32(1),
                                                                     bigEndian32(576),
                                                                     bigEndian32(1),
                                                                     bigEndian32(0),
                                                                     bigEndian32(1),
                                                                     bigEndian32(0),
                                                                     bigEndian32(1)}));
    test::fillMedia(track, media, {1, 2, 3}, description, 1);
    const auto object = QTMovie::movieWithQuickTimeMovie(movie, false, nullptr);
    EXPECT_FALSE(object->attributeForKey(QTMovieHasApertureModeDimensionsAttribute).boolValue());
    object->generateApertureModeDimensions();
    EXPECT_TRUE(object->attributeForKey(QTMovieHasApertureModeDimensionsAttribute).boolValue());
    const auto widthIn = [&](OSType mode) {
        Fixed width = 0, height = 0;
        GetTrackApertureModeDimensions(track, mode, &width, &height);
        EXPECT_EQ(height, 576 << 16);
        return width / 65536.0;
    };
    EXPECT_NEAR(widthIn(kQTApertureMode_CleanAperture), 704 * 16 / 15.0, 1e-4);
    EXPECT_NEAR(widthIn(kQTApertureMode_ProductionAperture), 768, 1e-4);
    EXPECT_EQ(widthIn(kQTApertureMode_EncodedPixels), 720);
    EXPECT_EQ(widthIn(kQTApertureMode_Classic), 720);
    Rect box;
    GetMovieBox(movie, &box);
    EXPECT_EQ(box.right, 720);
    object->setAttribute(QTMovieApertureModeProduction, QTMovieApertureModeAttribute);
    GetMovieBox(movie, &box);
    EXPECT_EQ(box.right, 768);
    object->setAttribute("no such mode", QTMovieApertureModeAttribute);
    EXPECT_EQ(object->attributeForKey(QTMovieApertureModeAttribute).stringValue().utf8(),
              QTMovieApertureModeProduction);
}

}  // namespace
}  // namespace TWQuickTime
