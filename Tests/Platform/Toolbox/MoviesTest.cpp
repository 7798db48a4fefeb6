#include "Movies.h"

#include <gtest/gtest.h>

#include <limits>

#include "TestMovies.h"
#include "ToolboxTrace.h"

namespace TWQuickTime {
namespace {

using test::ScopedHandle;
using test::ScopedMovie;

TEST(Movies, BeginEmptyWith600UnitsASecond) {
    const ScopedMovie movie;
    EXPECT_EQ(GetMovieTimeScale(movie), 600);
    EXPECT_EQ(GetMovieDuration(movie), 0);
    EXPECT_EQ(GetMovieTrackCount(movie), 0);
    EXPECT_EQ(GetMoviesError(), noErr);
}

TEST(Movies, AreNoneWhenNullForeignOrDisposedOf) {
    int foreign = 0;
    const Movie disposed = NewMovie(newMovieActive);
    DisposeMovie(disposed);
    for (const Movie movie : {Movie{nullptr}, reinterpret_cast<Movie>(&foreign), disposed}) {
        EXPECT_EQ(GetMovieDuration(movie), 0);
        EXPECT_EQ(GetMoviesError(), invalidMovie);
        EXPECT_EQ(GetMovieTimeScale(movie), 0);
        EXPECT_EQ(GetMoviesError(), invalidMovie);
        EXPECT_EQ(NewMovieTrack(movie, 0, 0, 0), nullptr);
        EXPECT_EQ(GetMoviesError(), invalidMovie);
        DisposeMovie(movie);
        EXPECT_EQ(GetMoviesError(), invalidMovie);
        const ScopedHandle handle;
        EXPECT_EQ(PutMovieIntoHandle(movie, handle), invalidMovie);
    }
}

TEST(Movies, RefuseATimeScaleOf0OrBelow) {
    const ScopedMovie movie;
    for (const TimeScale scale : {0, -1, std::numeric_limits<TimeScale>::min()}) {
        SetMovieTimeScale(movie, scale);
        EXPECT_EQ(GetMoviesError(), paramErr);
        EXPECT_EQ(GetMovieTimeScale(movie), 600);
    }
}

TEST(Movies, RescaleAllTimesWithTheTimeScale) {
    const ScopedMovie movie;
    test::addSoundTrack(movie, 8000, 16000);
    SetMovieTimeValue(movie, 600);
    SetMoviePosterTime(movie, 300);
    SetMovieTimeScale(movie, 1000);
    EXPECT_EQ(GetMovieDuration(movie), 2000);
    EXPECT_EQ(GetMovieTime(movie, nullptr), 1000);
    EXPECT_EQ(GetMoviePosterTime(movie), 500);
}

TEST(Movies, KeepTheCurrentTimeInsideTheirExtent) {
    const ScopedMovie movie;
    test::addSoundTrack(movie, 8000, 8000);
    TimeRecord record;
    SetMovieTimeValue(movie, 700);
    EXPECT_EQ(GetMovieTime(movie, &record), 600);
    EXPECT_EQ(record.value, 600);
    EXPECT_EQ(record.scale, 600);
    SetMovieTimeValue(movie, -5);
    EXPECT_EQ(GetMovieTime(movie, nullptr), 0);
}

OSErr anyProgress(Movie, std::int16_t, std::int16_t, Fixed, RefCon) {
    return noErr;
}

TEST(Movies, RememberTheirProgressProcedure) {
    const ScopedMovie movie;
    MovieProgressUPP procedure = nullptr;
    RefCon refCon = 0;
    SetMovieProgressProc(movie, anyProgress, 77);
    GetMovieProgressProc(movie, &procedure, &refCon);
    EXPECT_EQ(procedure, &anyProgress);
    EXPECT_EQ(refCon, 77);
    SetMovieProgressProc(movie, nullptr, 77);
    GetMovieProgressProc(movie, &procedure, &refCon);
    EXPECT_EQ(procedure, nullptr);
    EXPECT_EQ(refCon, 0);
}

TEST(MovieBox, SurroundsAllEnabledVisualTracks) {
    const ScopedMovie movie;
    Rect box{1, 2, 3, 4};
    GetMovieBox(movie, &box);
    EXPECT_EQ(box, (Rect{0, 0, 0, 0}));
    const Track first = test::addVideoTrack(movie, 25, 25);
    const Track second = test::addVideoTrack(movie, 25, 25);
    MatrixRecord moved;
    moved.matrix[2][0] = 100 << 16;
    moved.matrix[2][1] = 50 << 16;
    SetTrackMatrix(second, &moved);
    GetMovieBox(movie, &box);
    EXPECT_EQ(box, (Rect{0, 0, 66, 116}));
    SetTrackEnabled(second, false);
    GetMovieBox(movie, &box);
    EXPECT_EQ(box, (Rect{0, 0, 16, 16}));
    SetTrackEnabled(first, false);
    GetMovieBox(movie, &box);
    EXPECT_EQ(box, Rect{});
}

TEST(MovieBox, FollowsATurnedTrack) {
    const ScopedMovie movie;
    const Track track = test::addVideoTrack(movie, 25, 25);
    SetTrackDimensions(track, 64 << 16, 48 << 16);
    // A quarter turn clockwise: x' = -y + 48, y' = x.
    MatrixRecord turned;
    turned.matrix[0][0] = 0;
    turned.matrix[0][1] = kFixedOne;
    turned.matrix[1][0] = -kFixedOne;
    turned.matrix[1][1] = 0;
    turned.matrix[2][0] = 48 << 16;
    SetTrackMatrix(track, &turned);
    Rect box;
    GetMovieBox(movie, &box);
    EXPECT_EQ(box, (Rect{0, 0, 64, 48}));
}

TEST(MovieBox, MovesAndScalesTheMovieWhenSet) {
    const ScopedMovie movie;
    test::addVideoTrack(movie, 25, 25);
    const Rect wanted{10, 20, 42, 84};
    SetMovieBox(movie, &wanted);
    Rect box;
    GetMovieBox(movie, &box);
    EXPECT_EQ(box, wanted);
    MatrixRecord matrix;
    GetMovieMatrix(movie, &matrix);
    EXPECT_EQ(matrix.matrix[0][0], 4 * kFixedOne);
    EXPECT_EQ(matrix.matrix[1][1], 2 * kFixedOne);
    SetMovieMatrix(movie, nullptr);
    GetMovieBox(movie, &box);
    EXPECT_EQ(box, (Rect{0, 0, 16, 16}));
}

TEST(MovieBox, IsLimitedTo16Bits) {
    const ScopedMovie movie;
    const Track track = test::addVideoTrack(movie, 25, 25);
    SetTrackDimensions(track, std::numeric_limits<Fixed>::max(), std::numeric_limits<Fixed>::max());
    MatrixRecord large;
    large.matrix[0][0] = 4 * kFixedOne;
    SetTrackMatrix(track, &large);
    Rect box;
    GetMovieBox(movie, &box);
    EXPECT_EQ(box.right, std::numeric_limits<std::int16_t>::max());
}

TEST(MoviesInHandles, ComeBackWithTheirMediaInMemory) {
    const ScopedMovie movie;
    const Track track = test::addVideoTrack(movie, 25, 50);
    SetTrackLayer(track, -3);
    const ScopedHandle handle;
    ASSERT_EQ(PutMovieIntoHandle(movie, handle), noErr);
    Movie second = nullptr;
    Boolean changed = true;
    ASSERT_EQ(NewMovieFromHandle(&second, handle, newMovieActive, &changed), noErr);
    const ScopedMovie copy(second);
    EXPECT_FALSE(changed);
    EXPECT_EQ(GetMovieDuration(copy), 1200);
    const Track copied = GetMovieIndTrack(copy, 1);
    EXPECT_EQ(GetTrackLayer(copied), -3);
    EXPECT_EQ(GetTrackID(copied), GetTrackID(track));
    const ScopedHandle data;
    ASSERT_EQ(GetMediaSample(GetTrackMedia(copied), data, 0, nullptr, 49, nullptr, nullptr, nullptr,
                             nullptr, 0, nullptr, nullptr),
              noErr);
    EXPECT_EQ(data.bytes(), std::vector<std::uint8_t>(16 * 16 * 3, 0x80));
}

TEST(MoviesInHandles, RefuseBytesThatAreNoMovie) {
    Movie movie = reinterpret_cast<Movie>(this);
    for (const std::vector<std::uint8_t>& bytes :
         {std::vector<std::uint8_t>{}, std::vector<std::uint8_t>{0, 0, 0, 8, 'm', 'o', 'o'},
          std::vector<std::uint8_t>(4096, 0xFF)}) {
        const ScopedHandle handle(bytes);
        EXPECT_EQ(NewMovieFromHandle(&movie, handle, newMovieActive, nullptr), noMovieFound);
        EXPECT_EQ(movie, nullptr);
    }
    EXPECT_EQ(NewMovieFromHandle(&movie, nullptr, newMovieActive, nullptr), nilHandleErr);
    const ScopedHandle handle;
    EXPECT_EQ(NewMovieFromHandle(nullptr, handle, newMovieActive, nullptr), paramErr);
}

TEST(ToolboxCalls, TakePlannedFailuresAndDoNothingElse) {
    const ScopedMovie movie;
    ToolboxTrace::failCall("SetMovieTimeScale", 1, -108);
    SetMovieTimeScale(movie, 25);
    EXPECT_EQ(GetMoviesError(), -108);
    EXPECT_EQ(GetMovieTimeScale(movie), 600);
    EXPECT_EQ(GetMoviesError(), noErr);
    ToolboxTrace::reset();
}

}  // namespace
}  // namespace TWQuickTime
