#include "Media.h"

#include <gtest/gtest.h>

#include "InterestingTimes.h"
#include "TestMovies.h"

namespace TWQuickTime {
namespace {

using test::ScopedHandle;
using test::ScopedMovie;

TEST(Media, IsOneForEachTrack) {
    const ScopedMovie movie;
    const Track track = NewMovieTrack(movie, 0, 0, 0);
    EXPECT_EQ(GetTrackMedia(track), nullptr);
    EXPECT_EQ(GetMoviesError(), noErr);
    const Media media = NewTrackMedia(track, SoundMediaType, 8000, nullptr, 0);
    ASSERT_NE(media, nullptr);
    EXPECT_EQ(GetTrackMedia(track), media);
    EXPECT_EQ(GetMediaTrack(media), track);
    EXPECT_EQ(NewTrackMedia(track, SoundMediaType, 8000, nullptr, 0), nullptr);
    EXPECT_EQ(GetMoviesError(), paramErr);
}

TEST(Media, TakesTheMoviesTimeScaleForNone) {
    const ScopedMovie movie;
    const Track track = NewMovieTrack(movie, 0, 0, 0);
    EXPECT_EQ(NewTrackMedia(track, SoundMediaType, -1, nullptr, 0), nullptr);
    EXPECT_EQ(GetMoviesError(), paramErr);
    const Media media = NewTrackMedia(track, SoundMediaType, 0, nullptr, 0);
    EXPECT_EQ(GetMediaTimeScale(media), 600);
}

TEST(Media, HasAHandlerOfItsType) {
    const ScopedMovie movie;
    const Track track = NewMovieTrack(movie, 0, 0, 0);
    EXPECT_EQ(NewTrackMedia(track, fourCC("zzzz"), 25, nullptr, 0), nullptr);
    EXPECT_EQ(GetMoviesError(), noMediaHandler);
    const Media media = NewTrackMedia(track, VideoMediaType, 25, nullptr, 0);
    OSType type = 0, manufacturer = 0;
    unsigned char name[256] = {77};
    GetMediaHandlerDescription(media, &type, name, &manufacturer);
    EXPECT_EQ(type, VideoMediaType);
    EXPECT_EQ(manufacturer, fourCC("appl"));
    EXPECT_NE(name[0], 77);
    const MediaHandler handler = GetMediaHandler(media);
    EXPECT_NE(handler, nullptr);
    EXPECT_EQ(GetMediaHandler(media), handler);
}

TEST(Media, IsNoneWhenNullOrForeign) {
    int foreign = 0;
    const ScopedHandle handle({0, 0, 0, 16});
    for (const Media media : {Media{nullptr}, reinterpret_cast<Media>(&foreign)}) {
        EXPECT_EQ(BeginMediaEdits(media), invalidMedia);
        EXPECT_EQ(EndMediaEdits(media), invalidMedia);
        EXPECT_EQ(AddMediaSample(media, handle, 0, 4, 1, handle, 1, 0, nullptr), invalidMedia);
        EXPECT_EQ(GetMediaHandler(media), nullptr);
        EXPECT_EQ(GetMoviesError(), invalidMedia);
        GetMediaSampleDescription(media, 1, handle);
        EXPECT_EQ(GetMoviesError(), invalidMedia);
    }
}

TEST(MediaSamples, AreAddedBetweenEditsOnly) {
    const ScopedMovie movie;
    const Track track = NewMovieTrack(movie, 0, 0, 0);
    const Media media = NewTrackMedia(track, SoundMediaType, 8000, nullptr, 0);
    const ScopedHandle data({1, 2, 3, 4}), description(test::soundDescription(8000));
    EXPECT_EQ(AddMediaSample(media, data, 0, 4, 1, description, 2, 0, nullptr),
              dataNotOpenForWrite);
    EXPECT_EQ(EndMediaEdits(media), paramErr);
    ASSERT_EQ(BeginMediaEdits(media), noErr);
    TimeValue time = -1;
    EXPECT_EQ(AddMediaSample(media, data, 0, 4, 1, description, 2, 0, &time), noErr);
    EXPECT_EQ(time, 0);
    EXPECT_EQ(AddMediaSample(media, data, 2, 2, 5, description, 1, mediaSampleNotSync, &time),
              noErr);
    EXPECT_EQ(time, 2);
    EXPECT_EQ(EndMediaEdits(media), noErr);
    EXPECT_EQ(GetMediaDuration(media), 7);
    EXPECT_EQ(GetMediaSampleCount(media), 3);
    EXPECT_EQ(GetMediaSampleDescriptionCount(media), 1);
}

TEST(MediaSamples, AreRefusedWithoutTheirDataOrDescription) {
    const ScopedMovie movie;
    const Track track = NewMovieTrack(movie, 0, 0, 0);
    const Media media = NewTrackMedia(track, SoundMediaType, 8000, nullptr, 0);
    const ScopedHandle data({1, 2, 3, 4}), description(test::soundDescription(8000));
    const ScopedHandle tooShort({0, 0, 0, 40, 't', 'w', 'o', 's', 0, 0, 0, 0, 0, 0, 0, 1});
    ASSERT_EQ(BeginMediaEdits(media), noErr);
    EXPECT_EQ(AddMediaSample(media, data, 1, 4, 1, description, 1, 0, nullptr), paramErr);
    EXPECT_EQ(AddMediaSample(media, data, -1, 4, 1, description, 1, 0, nullptr), paramErr);
    EXPECT_EQ(AddMediaSample(media, data, 0, 4, 1, description, 3, 0, nullptr), paramErr);
    EXPECT_EQ(AddMediaSample(media, data, 0, 4, 1, description, 0, 0, nullptr), paramErr);
    EXPECT_EQ(AddMediaSample(media, nullptr, 0, 4, 1, description, 1, 0, nullptr), paramErr);
    EXPECT_EQ(AddMediaSample(media, data, 0, 4, -1, description, 1, 0, nullptr), invalidDuration);
    EXPECT_EQ(AddMediaSample(media, data, 0, 4, 1, nullptr, 1, 0, nullptr),
              invalidSampleDescription);
    EXPECT_EQ(AddMediaSample(media, data, 0, 4, 1, tooShort, 1, 0, nullptr),
              invalidSampleDescription);
    EXPECT_EQ(GetMediaSampleCount(media), 0);
}

TEST(MediaSamples, ComeBackWithAllThatIsKnownOfThem) {
    const ScopedMovie movie;
    const Media media = GetTrackMedia(test::addVideoTrack(movie, 25, 3));
    const ScopedHandle data, description;
    std::int32_t size = 0, count = 0;
    TimeValue time = -1, duration = -1;
    ToolboxIndex index = 0;
    std::int16_t flags = -1;
    ASSERT_EQ(GetMediaSample(media, data, 0, &size, 2, &time, &duration, description, &index, 0,
                             &count, &flags),
              noErr);
    EXPECT_EQ(size, 768);
    EXPECT_EQ(time, 2);
    EXPECT_EQ(duration, 1);
    EXPECT_EQ(index, 1);
    EXPECT_EQ(count, 1);
    EXPECT_EQ(flags, 0);
    EXPECT_EQ(description.bytes(), test::rawVideoDescription(16, 16));
    EXPECT_EQ(GetMediaSample(media, data, 100, &size, 2, nullptr, nullptr, nullptr, nullptr, 0,
                             nullptr, nullptr),
              paramErr);
    EXPECT_EQ(GetMediaSample(media, data, 0, nullptr, 3, nullptr, nullptr, nullptr, nullptr, 0,
                             nullptr, nullptr),
              invalidTime);
}

TEST(MediaSamples, CannotBePlacedBeyondTheirMedia) {
    const ScopedMovie movie;
    const Track track = test::addSoundTrack(movie, 8000, 8000);
    EXPECT_EQ(InsertMediaIntoTrack(track, 0, -1, 1, kFixedOne), invalidTime);
    EXPECT_EQ(InsertMediaIntoTrack(track, 0, 8001, 1, kFixedOne), invalidTime);
    EXPECT_EQ(InsertMediaIntoTrack(track, 0, 4000, 4001, kFixedOne), invalidDuration);
    EXPECT_EQ(InsertMediaIntoTrack(track, 0, 0, 8000, 0), paramErr);
    EXPECT_EQ(InsertMediaIntoTrack(track, -2, 0, 8000, kFixedOne), paramErr);
    EXPECT_EQ(InsertMediaIntoTrack(NewMovieTrack(movie, 0, 0, 0), 0, 0, 1, kFixedOne),
              invalidMedia);
    EXPECT_EQ(GetTrackDuration(track), 600);
}

TEST(SampleDescriptions, KeepTheirDataReferenceWhenReplaced) {
    const ScopedMovie movie;
    const Media media = GetTrackMedia(test::addSoundTrack(movie, 8000, 8000));
    auto changed = test::soundDescription(8000);
    changed[14] = 0;
    changed[15] = 9;  // data reference
    changed[17] = 1;  // version
    const ScopedHandle replacement(changed);
    ASSERT_EQ(SetMediaSampleDescription(media, 1, replacement), noErr);
    const ScopedHandle description;
    GetMediaSampleDescription(media, 1, description);
    changed[15] = 1;
    EXPECT_EQ(description.bytes(), changed);
    EXPECT_EQ(SetMediaSampleDescription(media, 2, replacement), invalidSampleDescription);
    GetMediaSampleDescription(media, 0, description);
    EXPECT_EQ(GetMoviesError(), invalidSampleDescription);
}

TimeValue nextVideo(Movie movie, TimeValue from, Fixed rate, std::int16_t flags) {
    const OSType video = VideoMediaType;
    TimeValue time = -2;
    GetMovieNextInterestingTime(movie, flags, 1, &video, from, rate, &time, nullptr);
    return time;
}

TEST(InterestingTimes, AreTheStartsOfSamples) {
    const ScopedMovie movie;
    test::addVideoTrack(movie, 25, 3);
    EXPECT_EQ(nextVideo(movie, 0, kFixedOne, nextTimeMediaSample), 24);
    EXPECT_EQ(nextVideo(movie, 0, kFixedOne, nextTimeMediaSample | nextTimeEdgeOK), 0);
    EXPECT_EQ(nextVideo(movie, 30, kFixedOne, nextTimeMediaSample), 48);
    EXPECT_EQ(nextVideo(movie, 48, kFixedOne, nextTimeMediaSample), -1);
    EXPECT_EQ(nextVideo(movie, 48, -kFixedOne, nextTimeMediaSample), 24);
    EXPECT_EQ(nextVideo(movie, 0, -kFixedOne, nextTimeMediaSample), -1);
}

TEST(InterestingTimes, AreOfTheWantedTypesOnly) {
    const ScopedMovie movie;
    test::addSoundTrack(movie, 8000, 8000);
    EXPECT_EQ(nextVideo(movie, 0, kFixedOne, nextTimeMediaSample), -1);
    TimeValue time = -2;
    GetMovieNextInterestingTime(movie, nextTimeMediaSample, 1, nullptr, 0, kFixedOne, &time,
                                nullptr);
    EXPECT_EQ(GetMoviesError(), paramErr);
    EXPECT_EQ(time, -1);
}

}  // namespace
}  // namespace TWQuickTime
