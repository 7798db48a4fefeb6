#include "Tracks.h"

#include <gtest/gtest.h>

#include "AtomContainers.h"
#include "TestMovies.h"
#include "TrackReferences.h"

namespace TWQuickTime {
namespace {

using test::ScopedMovie;

TEST(Tracks, AreNumberedFrom1AndMoveDownWhenOneGoes) {
    const ScopedMovie movie;
    const Track first = NewMovieTrack(movie, 0, 0, 0);
    const Track second = NewMovieTrack(movie, 0, 0, 0);
    EXPECT_EQ(GetMovieIndTrack(movie, 1), first);
    EXPECT_EQ(GetMovieIndTrack(movie, 2), second);
    EXPECT_EQ(GetTrackMovie(second), static_cast<Movie>(movie));
    EXPECT_NE(GetTrackID(first), GetTrackID(second));
    DisposeMovieTrack(first);
    EXPECT_EQ(GetMovieTrackCount(movie), 1);
    EXPECT_EQ(GetMovieIndTrack(movie, 1), second);
}

TEST(Tracks, AreNoneBeyondTheirNumber) {
    const ScopedMovie movie;
    NewMovieTrack(movie, 0, 0, 0);
    for (const int index : {0, -1, 2}) {
        EXPECT_EQ(GetMovieIndTrack(movie, index), nullptr);
        EXPECT_EQ(GetMoviesError(), badTrackIndex);
    }
    EXPECT_EQ(GetMovieTrack(movie, 99), nullptr);
    EXPECT_EQ(GetMoviesError(), trackIDNotFound);
}

TEST(Tracks, AreNoneWhenNullForeignOrDisposedOf) {
    const ScopedMovie movie;
    const Track disposed = NewMovieTrack(movie, 0, 0, 0);
    DisposeMovieTrack(disposed);
    int foreign = 0;
    for (const Track track : {Track{nullptr}, reinterpret_cast<Track>(&foreign), disposed}) {
        EXPECT_EQ(GetTrackID(track), 0);
        EXPECT_EQ(GetMoviesError(), invalidTrack);
        EXPECT_EQ(NewTrackMedia(track, VideoMediaType, 25, nullptr, 0), nullptr);
        EXPECT_EQ(GetMoviesError(), invalidTrack);
        EXPECT_EQ(GetTrackMedia(track), nullptr);
        EXPECT_EQ(GetMoviesError(), invalidTrack);
        DisposeMovieTrack(track);
        EXPECT_EQ(GetMoviesError(), invalidTrack);
    }
}

TEST(Tracks, GoWithTheirMovie) {
    const Movie movie = NewMovie(newMovieActive);
    const Track track = test::addVideoTrack(movie, 25, 25);
    const Media media = GetTrackMedia(track);
    const MediaHandler handler = GetMediaHandler(media);
    DisposeMovie(movie);
    EXPECT_EQ(GetTrackID(track), 0);
    EXPECT_EQ(GetMoviesError(), invalidTrack);
    EXPECT_EQ(GetMediaDuration(media), 0);
    EXPECT_EQ(GetMoviesError(), invalidMedia);
    EXPECT_NE(handler, nullptr);
}

TEST(Tracks, KeepTheirProperties) {
    const ScopedMovie movie;
    const Track track = NewMovieTrack(movie, 64 << 16, 48 << 16, 0x0080);
    EXPECT_TRUE(GetTrackEnabled(track));
    EXPECT_EQ(GetTrackVolume(track), 0x0080);
    EXPECT_EQ(GetTrackLayer(track), 0);
    SetTrackEnabled(track, false);
    SetTrackVolume(track, -1);
    SetTrackLayer(track, -2);
    EXPECT_FALSE(GetTrackEnabled(track));
    EXPECT_EQ(GetTrackVolume(track), -1);
    EXPECT_EQ(GetTrackLayer(track), -2);
    Fixed width = 0, height = 0;
    GetTrackDimensions(track, &width, &height);
    EXPECT_EQ(width, 64 << 16);
    EXPECT_EQ(height, 48 << 16);
}

TEST(Tracks, AreFoundByTypeAndCharacteristic) {
    const ScopedMovie movie;
    const Track sound = test::addSoundTrack(movie, 8000, 8000);
    const Track video = test::addVideoTrack(movie, 25, 25);
    const Track second = test::addSoundTrack(movie, 8000, 8000);
    EXPECT_EQ(GetMovieIndTrackType(movie, 1, VideoMediaType, movieTrackMediaType), video);
    EXPECT_EQ(GetMovieIndTrackType(movie, 2, SoundMediaType, movieTrackMediaType), second);
    EXPECT_EQ(GetMovieIndTrackType(movie, 3, SoundMediaType, movieTrackMediaType), nullptr);
    EXPECT_EQ(GetMoviesError(), noErr);
    EXPECT_EQ(GetMovieIndTrackType(movie, 1, VisualMediaCharacteristic, movieTrackCharacteristic),
              video);
    SetTrackEnabled(sound, false);
    EXPECT_EQ(GetMovieIndTrackType(movie, 1, AudioMediaCharacteristic,
                                   movieTrackCharacteristic | movieTrackEnabledOnly),
              second);
}

TEST(TrackEdits, ShowTheMediaInMovieTime) {
    const ScopedMovie movie;
    const Track track = test::addSoundTrack(movie, 8000, 8000);
    ASSERT_EQ(InsertMediaIntoTrack(track, 1200, 4000, 4000, 2 * kFixedOne), noErr);
    EXPECT_EQ(GetTrackDuration(track), 1350);
    ASSERT_EQ(GetTrackEditCount(track), 3);
    TrackEdit edit;
    ASSERT_EQ(GetTrackIndEdit(track, 2, &edit), noErr);
    EXPECT_EQ(edit.trackTime, 600);
    EXPECT_EQ(edit.mediaTime, -1);
    ASSERT_EQ(GetTrackIndEdit(track, 3, &edit), noErr);
    EXPECT_EQ(edit.trackTime, 1200);
    EXPECT_EQ(edit.trackDuration, 150);
    EXPECT_EQ(edit.mediaTime, 4000);
    EXPECT_EQ(edit.mediaRate, 2 * kFixedOne);
    EXPECT_EQ(TrackTimeToMediaTime(300, track), 4000);
    EXPECT_EQ(TrackTimeToMediaTime(900, track), -1);
    EXPECT_EQ(GetTrackIndEdit(track, 4, &edit), paramErr);
    EXPECT_EQ(GetTrackIndEdit(track, 0, &edit), paramErr);
}

TEST(TrackReferences, KeepTheirIndexesWhenATrackGoes) {
    const ScopedMovie movie;
    const Track from = NewMovieTrack(movie, 0, 0, 0);
    const Track first = NewMovieTrack(movie, 0, 0, 0);
    const Track second = NewMovieTrack(movie, 0, 0, 0);
    std::int32_t index = 0;
    ASSERT_EQ(AddTrackReference(from, first, kTrackModifierReference, &index), noErr);
    EXPECT_EQ(index, 1);
    ASSERT_EQ(AddTrackReference(from, second, kTrackModifierReference, &index), noErr);
    EXPECT_EQ(index, 2);
    DisposeMovieTrack(first);
    EXPECT_EQ(GetTrackReferenceCount(from, kTrackModifierReference), 2);
    EXPECT_EQ(GetTrackReference(from, kTrackModifierReference, 1), nullptr);
    EXPECT_EQ(GetMoviesError(), noErr);
    EXPECT_EQ(GetTrackReference(from, kTrackModifierReference, 2), second);
    EXPECT_EQ(GetTrackReference(from, kTrackModifierReference, 3), nullptr);
    EXPECT_EQ(GetMoviesError(), paramErr);
    EXPECT_EQ(GetNextTrackReferenceType(from, 0), kTrackModifierReference);
    EXPECT_EQ(GetNextTrackReferenceType(from, kTrackModifierReference), 0u);
}

TEST(TrackReferences, StayInsideOneMovie) {
    const ScopedMovie movie, other;
    const Track from = NewMovieTrack(movie, 0, 0, 0);
    const Track foreign = NewMovieTrack(other, 0, 0, 0);
    EXPECT_EQ(AddTrackReference(from, foreign, kTrackModifierReference, nullptr), invalidTrack);
    EXPECT_EQ(AddTrackReference(from, nullptr, kTrackModifierReference, nullptr), invalidTrack);
    EXPECT_EQ(GetTrackReferenceCount(from, kTrackModifierReference), 0);
}

TEST(MediaInputMap, ComesBackAsItWasSet) {
    const ScopedMovie movie;
    const Media media = GetTrackMedia(test::addSoundTrack(movie, 8000, 8000));
    QTAtomContainer map = nullptr;
    ASSERT_EQ(GetMediaInputMap(media, &map), noErr);
    EXPECT_EQ(QTCountChildrenOfType(map, kParentAtomIsContainer, 0), 0);
    QTInsertChild(map, kParentAtomIsContainer, 26990, 1, 0, 0, nullptr, nullptr);
    ASSERT_EQ(SetMediaInputMap(media, map), noErr);
    QTDisposeAtomContainer(map);
    ASSERT_EQ(GetMediaInputMap(media, &map), noErr);
    EXPECT_NE(QTFindChildByID(map, kParentAtomIsContainer, 26990, 1, nullptr), 0);
    QTDisposeAtomContainer(map);
    EXPECT_EQ(SetMediaInputMap(nullptr, nullptr), invalidMedia);
    const test::ScopedHandle noContainer({1, 2, 3});
    EXPECT_EQ(SetMediaInputMap(media, noContainer), invalidAtomContainerErr);
}

}  // namespace
}  // namespace TWQuickTime
