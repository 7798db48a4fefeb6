#include "Engines/timeline/Movie.h"

#include <gtest/gtest.h>

namespace TWQuickTime::timeline {
namespace {

using result::FailureKind;

/// A track whose media holds `samples` samples of 100 units at 2500 units per second.
Track& addVideo(Movie& movie, std::uint32_t samples) {
    Track& track = movie.addTrack({64 << 16, 48 << 16}, 0);
    track.media = makeMedia(fourCharCode("vide"), 2500);
    EXPECT_TRUE(track.media->samples.append(
        {.offset = 0, .sizeInBytes = 10, .count = samples, .duration = 100}));
    return track;
}

TEST(Movie, NewTracksHaveIdentifiersThatWereNeverInUse) {
    Movie movie;
    EXPECT_EQ(movie.addTrack({}, 0).id, 1u);
    EXPECT_EQ(movie.addTrack({}, 0).id, 2u);
    EXPECT_TRUE(movie.deleteTrack(movie.trackWithID(2)));
    EXPECT_EQ(movie.addTrack({}, 0).id, 3u);
    movie.nextTrackID = 1;
    EXPECT_EQ(movie.addTrack({}, 0).id, 2u);
}

TEST(Movie, DeletingATrackEmptiesTheSlotsThatReferToIt) {
    Movie movie;
    Track& first = movie.addTrack({}, 0);
    Track& second = movie.addTrack({}, 0);
    EXPECT_EQ(first.addReference(fourCharCode("tmcd"), second.id), 1u);
    EXPECT_EQ(first.addReference(fourCharCode("tmcd"), 77), 2u);
    EXPECT_TRUE(movie.deleteTrack(&second));
    EXPECT_EQ(first.referencesOfType(fourCharCode("tmcd"))->trackIDs,
              (std::vector<std::uint32_t>{0, 77}));
    EXPECT_FALSE(movie.deleteTrack(&second));
}

TEST(Movie, IsAsLongAsItsLongestTrack) {
    Movie movie;
    EXPECT_EQ(movie.duration(), 0);
    Track& shorter = addVideo(movie, 25);
    Track& longer = addVideo(movie, 50);
    ASSERT_TRUE(insertMedia(movie, shorter, 0, 0, 2500));
    ASSERT_TRUE(insertMedia(movie, longer, 0, 0, 5000));
    EXPECT_EQ(movie.duration(), 1200);
}

TEST(Movie, InsertingMediaWithMinusOneAppendsToTheTrack) {
    Movie movie;
    Track& track = addVideo(movie, 25);
    ASSERT_TRUE(insertMedia(movie, track, -1, 0, 1000));
    ASSERT_TRUE(insertMedia(movie, track, -1, 500, 1000));
    EXPECT_EQ(track.edits.at(1).trackStart, 240);
    EXPECT_EQ(track.edits.at(1).edit, (Edit{240, 500}));
}

TEST(Movie, InsertingMediaAtARateShortensTheEdit) {
    Movie movie;
    Track& track = addVideo(movie, 25);
    ASSERT_TRUE(insertMedia(movie, track, 0, 0, 2500, 2 * kFixedOne));
    EXPECT_EQ(track.duration(), 300);
}

TEST(Movie, InsertingMediaThatAreNotThereIsRefused) {
    Movie movie;
    Track& track = addVideo(movie, 25);
    const auto kind = [&](std::int64_t at, std::int64_t start, std::int64_t duration, Fixed rate) {
        const auto status = insertMedia(movie, track, at, start, duration, rate);
        return status.ok() ? FailureKind::cancelled : status.failure().kind;
    };
    EXPECT_EQ(kind(0, 0, 2501, kFixedOne), FailureKind::badArgument);
    EXPECT_EQ(kind(0, -1, 100, kFixedOne), FailureKind::badArgument);
    EXPECT_EQ(kind(0, 0, 0, kFixedOne), FailureKind::badArgument);
    EXPECT_EQ(kind(0, 0, 100, 0), FailureKind::badArgument);
    EXPECT_EQ(kind(-2, 0, 100, kFixedOne), FailureKind::badArgument);
    Track& bare = movie.addTrack({}, 0);
    EXPECT_FALSE(insertMedia(movie, bare, 0, 0, 100));
    EXPECT_EQ(track.duration(), 0);
}

TEST(Movie, ChangingTheTimeScaleRestatesAllTimesTogether) {
    Movie movie;
    Track& track = addVideo(movie, 50);
    ASSERT_TRUE(insertMedia(movie, track, 300, 0, 5000));
    track.preload = Preload{30, 60, 1, 0};
    movie.previewTime = 60;
    movie.previewDuration = 120;
    movie.posterTime = 300;
    movie.selectionTime = 600;
    movie.selectionDuration = 10;
    movie.currentTime = 599;
    ASSERT_TRUE(movie.setTimeScale(1000));
    EXPECT_EQ(movie.timeScale, 1000u);
    EXPECT_EQ(track.edits.at(0).edit, (Edit{500, kEmptyMediaTime}));
    EXPECT_EQ(movie.duration(), 2500);
    EXPECT_EQ(movie.previewTime, 100);
    EXPECT_EQ(movie.previewDuration, 200);
    EXPECT_EQ(movie.posterTime, 500);
    EXPECT_EQ(movie.selectionTime, 1000);
    EXPECT_EQ(movie.selectionDuration, 17);
    EXPECT_EQ(movie.currentTime, 998);
    EXPECT_EQ(track.preload->startTime, 50u);
    EXPECT_EQ(track.media->timeScale, 2500u);
    EXPECT_EQ(movie.setTimeScale(0).failure().kind, FailureKind::badArgument);
    EXPECT_EQ(movie.timeScale, 1000u);
}

TEST(Movie, FindsTracksByMediaTypeInOrder) {
    Movie movie;
    Track& bare = movie.addTrack({}, 0);
    Track& first = addVideo(movie, 1);
    Track& second = addVideo(movie, 1);
    EXPECT_EQ(movie.trackOfType(fourCharCode("vide")), &first);
    EXPECT_EQ(movie.trackOfType(fourCharCode("vide"), 2), &second);
    EXPECT_EQ(movie.trackOfType(fourCharCode("vide"), 3), nullptr);
    EXPECT_EQ(movie.trackOfType(fourCharCode("vide"), 0), nullptr);
    EXPECT_EQ(movie.trackOfType(0), &bare);
}

TEST(Movie, DeletingASegmentShortensEveryTrack) {
    Movie movie;
    Track& first = addVideo(movie, 50);
    Track& second = addVideo(movie, 25);
    ASSERT_TRUE(insertMedia(movie, first, 0, 0, 5000));
    ASSERT_TRUE(insertMedia(movie, second, 0, 0, 2500));
    ASSERT_TRUE(deleteSegment(movie, 300, 600));
    EXPECT_EQ(first.duration(), 600);
    EXPECT_EQ(second.duration(), 300);
    ASSERT_TRUE(insertEmptySegment(movie, 100, 50));
    EXPECT_EQ(first.duration(), 650);
    EXPECT_EQ(first.edits.at(1).edit, (Edit{50, kEmptyMediaTime}));
}

TEST(Track, ReferencesCountFromOneAndMoveDownWhenOneIsDeleted) {
    Track track;
    const FourCharCode type = fourCharCode("ssrc");
    EXPECT_EQ(track.addReference(type, 5), 1u);
    EXPECT_EQ(track.addReference(type, 6), 2u);
    EXPECT_TRUE(track.setReference(type, 1, 9));
    EXPECT_FALSE(track.setReference(type, 3, 9));
    EXPECT_FALSE(track.setReference(type, 0, 9));
    EXPECT_TRUE(track.deleteReference(type, 1));
    EXPECT_EQ(track.referencesOfType(type)->trackIDs, (std::vector<std::uint32_t>{6}));
    EXPECT_TRUE(track.deleteReference(type, 1));
    EXPECT_EQ(track.referencesOfType(type), nullptr);
    EXPECT_FALSE(track.deleteReference(type, 1));
}

TEST(Media, ADescriptionThatIsThereAlreadyIsNotAddedAgain) {
    Media media;
    const SampleDescription one(SharedBytes::adopt(std::vector<std::byte>(16)));
    SampleDescription two = one;
    two.setFormat(fourCharCode("jpeg"));
    EXPECT_EQ(media.addDescription(one), 1u);
    EXPECT_EQ(media.addDescription(two), 2u);
    EXPECT_EQ(media.addDescription(one), 1u);
    EXPECT_EQ(media.description(2)->format(), fourCharCode("jpeg"));
    EXPECT_EQ(media.description(3), nullptr);
    EXPECT_EQ(media.description(0), nullptr);
}

TEST(Media, ReadsASampleFromTheStoreOfItsDescription) {
    Media media;
    auto store = std::make_shared<MemorySampleStore>();
    const std::byte data[] = {std::byte{1}, std::byte{2}, std::byte{3}};
    const auto offset = store->append(data);
    ASSERT_TRUE(offset);
    SampleDescription description(SharedBytes::adopt(std::vector<std::byte>(16)));
    description.setDataReferenceIndex(1);
    media.addDescription(description);
    media.dataReferences.push_back({.type = fourCharCode("hndl"), .store = store});
    ASSERT_TRUE(media.samples.append({.offset = *offset, .sizeInBytes = 3, .duration = 1}));
    ASSERT_TRUE(media.samples.append({.offset = 2, .sizeInBytes = 2, .duration = 1}));
    EXPECT_EQ(media.readSample(*media.samples.sample(0))->at(2), std::byte{3});
    EXPECT_EQ(media.readSample(*media.samples.sample(1)).failure().kind, FailureKind::truncated);
    media.dataReferences[0].store = nullptr;
    EXPECT_EQ(media.readSample(*media.samples.sample(0)).failure().kind, FailureKind::notFound);
}

TEST(UserData, ItemsOfOneTypeAreCountedInTheirOrder) {
    UserData data;
    const auto text = [](const char* word) {
        return SharedBytes::copyOf(
            std::as_bytes(std::span(word, std::char_traits<char>::length(word))));
    };
    data.add(fourCharCode("abcd"), text("one"));
    data.add(fourCharCode("efgh"), text("two"));
    data.add(fourCharCode("abcd"), text("three"));
    EXPECT_EQ(data.count(fourCharCode("abcd")), 2u);
    EXPECT_EQ(data.find(fourCharCode("abcd"), 2)->data, text("three"));
    EXPECT_EQ(data.find(fourCharCode("abcd"), 3), nullptr);
    EXPECT_EQ(data.find(fourCharCode("abcd"), 0), nullptr);
    EXPECT_EQ(data.nextType(0), fourCharCode("abcd"));
    EXPECT_EQ(data.nextType(fourCharCode("abcd")), fourCharCode("efgh"));
    EXPECT_EQ(data.nextType(fourCharCode("efgh")), 0u);
    EXPECT_TRUE(data.remove(fourCharCode("abcd"), 1));
    EXPECT_EQ(data.find(fourCharCode("abcd"))->data, text("three"));
    EXPECT_FALSE(data.remove(fourCharCode("abcd"), 2));
}

}  // namespace
}  // namespace TWQuickTime::timeline
