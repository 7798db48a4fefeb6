// Movies that come back empty and are loaded by MoviesTask.
#include <gmock/gmock.h>

#include <fstream>

#include "DataReferences.h"
#include "MovieDrawing.h"
#include "Movies.h"
#include "RunProgram.h"
#include "TemporaryDirectory.h"
#include "TestMovies.h"
#include "UserData.h"

namespace TWQuickTime {
namespace {

OSErr openLater(const std::string& path, Movie* movie) {
    Handle reference = nullptr;
    OSType type = 0;
    test::require(QTNewDataReferenceFromFullPathCFString(NSString(path), kQTNativeDefaultPathStyle,
                                                         0, &reference, &type),
                  "QTNewDataReferenceFromFullPathCFString");
    const OSErr status =
        NewMovieFromDataRef(movie, newMovieActive | newMovieAsyncOK, nullptr, reference, type);
    DisposeHandle(reference);
    return status;
}

std::vector<std::int32_t> statesOf(Movie movie) {
    std::vector<std::int32_t> states = {GetMovieLoadState(movie)};
    for (int turns = 0; turns < 10000 && states.back() > 0 && states.back() < 100000; ++turns) {
        MoviesTask(movie, 0);
        states.push_back(GetMovieLoadState(movie));
    }
    return states;
}

TEST(MovieLoading, ReadsAMovieFileInOneTurn) {
    const test::TemporaryDirectory folder;
    const std::string path = folder.file("a.mov");
    test::runFfmpeg({"-f", "lavfi", "-i", "sine=d=1:r=8000", "-c:a", "pcm_s16be", path});
    Movie movie = nullptr;
    ASSERT_EQ(openLater(path, &movie), noErr);
    const test::ScopedMovie owned(movie);
    EXPECT_EQ(GetMovieTrackCount(movie), 0);
    const UserData userData = GetMovieUserData(movie);
    EXPECT_THAT(statesOf(movie), testing::ElementsAre(1000, 2000, 10000, 20000, 100000));
    EXPECT_EQ(GetMovieTrackCount(movie), 1);
    EXPECT_EQ(GetMovieUserData(movie), userData);
    EXPECT_GE(CountUserDataType(userData, fourCC("none")), 0);
    MoviesTask(movie, 0);
    EXPECT_EQ(GetMovieLoadState(movie), 100000);
}

TEST(MovieLoading, ReadsAForeignFileInManyTurns) {
    const test::TemporaryDirectory folder;
    const std::string path = folder.file("a.mp3");
    test::runFfmpeg({"-f", "lavfi", "-i", "sine=d=300:r=8000", "-c:a", "libmp3lame", path});
    Movie movie = nullptr;
    ASSERT_EQ(openLater(path, &movie), noErr);
    const test::ScopedMovie owned(movie);
    const auto states = statesOf(movie);
    EXPECT_GT(std::ranges::count(states, 1000), 2);
    EXPECT_EQ(states.back(), 100000);
    EXPECT_NEAR(double(GetMovieDuration(movie)) / GetMovieTimeScale(movie), 300, 0.2);
}

TEST(MovieLoading, FailsAtOnceWithoutAFileAndLaterForWhatIsNoMovie) {
    const test::TemporaryDirectory folder;
    Movie movie = nullptr;
    EXPECT_EQ(openLater(folder.file("missing.mov"), &movie), fnfErr);
    EXPECT_EQ(movie, nullptr);
    const std::string path = folder.file("notes.txt");
    std::ofstream(path) << "No movie at all.\n";
    ASSERT_EQ(openLater(path, &movie), noErr);
    const test::ScopedMovie owned(movie);
    EXPECT_THAT(statesOf(movie), testing::ElementsAre(1000, -1));
}

TEST(MovieLoading, IsCompleteForEveryOtherMovieAndAnErrorForNone) {
    const test::ScopedMovie movie;
    EXPECT_EQ(GetMovieLoadState(movie), 100000);
    EXPECT_EQ(GetMovieLoadState(nullptr), -1);
    EXPECT_EQ(GetMoviesError(), invalidMovie);
}

}  // namespace
}  // namespace TWQuickTime
