// What a change of a movie does to its atom: what it must, and nothing else.
#include "Engines/moviefile/MovieWriter.h"

#include <gtest/gtest.h>

#include "AtomDifference.h"
#include "Engines/moviefile/AtomWalker.h"
#include "Engines/moviefile/DataReferences.h"
#include "Engines/moviefile/Descriptions.h"
#include "Engines/moviefile/MovieReader.h"
#include "MovieBytes.h"

namespace TWQuickTime::moviefile {
namespace {

using namespace test;
using timeline::fourCharCode;
using timeline::makeMedia;
using timeline::Movie;
using timeline::SampleDescription;
using timeline::Track;

std::unique_ptr<Movie> read(const Bytes& movieAtom) {
    auto movie = readMovieAtom(shared(movieAtom));
    EXPECT_TRUE(movie) << movie.failure().message;
    return movie ? std::move(*movie) : nullptr;
}

Bytes write(const Movie& movie, const WriteOptions& options = {}) {
    const auto written = writeMovieAtom(movie, options);
    EXPECT_TRUE(written) << written.failure().message;
    const auto measured = measureMovieAtom(movie, options);
    EXPECT_TRUE(measured);
    if (!written || !measured)
        return {};
    EXPECT_EQ(*measured, written->size());
    return *written;
}

/// A movie with strange atoms everywhere.
Bytes strangeMovie() {
    const Bytes odd = atom("odd!", bytesOf("kept"));
    const Bytes table = sampleTable(joined({odd, zeros(4)}));
    const Bytes mediaAtom =
        atom("mdia", joined({odd, mediaHeader(), odd, handler("vide"),
                             atom("minf", joined({odd, atom("vmhd", joined({u32(1), zeros(8)})),
                                                  dataInformation(), odd, table})),
                             zeros(5)}));
    const Bytes one = atom("trak", joined({odd, trackHeader(1), odd, mediaAtom, odd}));
    const Bytes two = atom("trak", joined({trackHeader(2), media()}));
    return atom("moov",
                joined({odd, movieHeader(), odd, one, odd, two,
                        atom("udta", joined({atom("abcd", u32(1)), odd, u32(0)})), odd, zeros(3)}));
}

TEST(MovieWriter, StrangeAtomsAndStrayBytesStayWhereTheyAre) {
    EXPECT_TRUE(write(*read(strangeMovie())) == strangeMovie());
}

TEST(MovieWriter, OnlyTheFirstMediaInformationHeaderIsTheMediasOwn) {
    const auto soundHeader = [](std::uint16_t balance) {
        return atom("smhd", joined({u32(0), u16(balance), u16(balance)}));
    };
    const Bytes information =
        atom("minf", joined({soundHeader(7), atom("vmhd", joined({u32(1), u16(36), zeros(6)})),
                             soundHeader(9), dataInformation(), sampleTable()}));
    const Bytes doubled =
        movie(track({}, {}, atom("mdia", joined({mediaHeader(), handler("soun"), information}))));
    const auto opened = read(doubled);
    EXPECT_EQ(opened->tracks[0]->media->balance, 7);
    EXPECT_TRUE(write(*opened) == doubled);
}

TEST(MovieWriter, ApertureDimensionsThatCannotBeReadStayAsTheyAre) {
    const Bytes whole = atom("clef", joined({u32(0), u32(64 << 16), u32(48 << 16)}));
    const Bytes cut = atom("enof", joined({u32(0), u32(64 << 16)}));
    const Bytes damaged = movie(track(atom("tapt", joined({whole, cut, whole}))));
    EXPECT_TRUE(write(*read(damaged)) == damaged);
}

TEST(MovieWriter, AnEmptyListOfReferencesKeepsTheBytesBehindIt) {
    const Bytes references =
        atom("dref", joined({u32(0), u32(0), atom("url ", u32(1)), bytesOf("tail")}));
    const Bytes information =
        atom("minf", joined({atom("vmhd", joined({u32(1), zeros(8)})), atom("dinf", references),
                             atom("stbl", zeros(0))}));
    const Bytes bare =
        movie(track({}, {}, atom("mdia", joined({mediaHeader(), handler("vide"), information}))));
    EXPECT_TRUE(write(*read(bare)) == bare);
}

TEST(MovieWriter, AChangedHeaderFieldChangesOnlyThatHeader) {
    const auto movie = read(strangeMovie());
    movie->posterTime = 7;
    EXPECT_EQ(differenceBetween(strangeMovie(), write(*movie)), Paths{"moov/mvhd"});
    movie->posterTime = 0;
    movie->tracks[1]->setEnabled(false);
    EXPECT_EQ(differenceBetween(strangeMovie(), write(*movie)), Paths{"moov/trak/tkhd"});
    movie->tracks[1]->setEnabled(true);
    EXPECT_TRUE(write(*movie) == strangeMovie());
}

TEST(MovieWriter, UserDataChangesOnlyTheUserData) {
    const auto movie = read(strangeMovie());
    movie->userData.add(fourCharCode("name"), shared(bytesOf("text")));
    EXPECT_EQ(differenceBetween(strangeMovie(), write(*movie)), Paths{"+moov/udta/name"});
    movie->userData.remove(fourCharCode("name"));
    EXPECT_TRUE(write(*movie) == strangeMovie());
    movie->userData.items.clear();
    EXPECT_EQ(differenceBetween(strangeMovie(), write(*movie)), Paths{"-moov/udta"});
    const auto without = read(test::movie());
    without->userData.add(fourCharCode("name"), shared(bytesOf("text")));
    EXPECT_EQ(differenceBetween(test::movie(), write(*without)), Paths{"+moov/udta"});
}

TEST(MovieWriter, AnEditWritesTheEditListAndTheDurations) {
    const auto movie = read(strangeMovie());
    Track& track = *movie->tracks[0];
    ASSERT_TRUE(insertMedia(*movie, track, -1, 0, 300));
    const Bytes changed = write(*movie);
    EXPECT_EQ(differenceBetween(strangeMovie(), changed),
              (Paths{"moov/mvhd", "moov/trak/tkhd", "+moov/trak/edts"}));
    const auto again = read(changed);
    EXPECT_EQ(again->duration(), 900);
    EXPECT_TRUE(again->tracks[0]->edits == track.edits);
}

TEST(MovieWriter, ADeletedTrackGoesAndOthersStayAsTheyWere) {
    const auto movie = read(strangeMovie());
    ASSERT_TRUE(movie->deleteTrack(movie->trackWithID(1)));
    const auto again = read(write(*movie));
    ASSERT_EQ(again->tracks.size(), 1u);
    EXPECT_EQ(again->tracks[0]->id, 2u);
    const Bytes before = strangeMovie();
    const auto goneAtom = findChild(*wholeAtom(shared(before), 0), fourCharCode("trak"));
    EXPECT_EQ(write(*movie).size(), before.size() - goneAtom->bytes.size());
}

TEST(MovieWriter, ANewTrackStandsBehindTheOthers) {
    const auto movie = read(strangeMovie());
    Track& track = movie->addTrack({10 << 16, 20 << 16}, 0x100);
    track.media = makeMedia(fourCharCode("soun"), 8000);
    const Bytes changed = write(*movie);
    EXPECT_EQ(differenceBetween(strangeMovie(), changed), (Paths{"moov/mvhd", "+moov/trak"}));
    const auto again = read(changed);
    EXPECT_EQ(again->tracks[2]->id, 3u);
    EXPECT_EQ(again->tracks[2]->dimensions.height, 20 << 16);
    EXPECT_TRUE(again->tracks[2]->media->dataReferences[0].isSelf());
}

TEST(MovieWriter, AppendedSamplesChangeTheTablesTheyAreIn) {
    const auto movie = read(strangeMovie());
    timeline::Media& media = *movie->tracks[0]->media;
    ASSERT_TRUE(media.samples.append({.offset = 5000, .sizeInBytes = 40, .duration = 100}));
    const Bytes changed = write(*movie);
    EXPECT_EQ(differenceBetween(strangeMovie(), changed),
              (Paths{"moov/trak/mdia/mdhd", "moov/trak/mdia/minf/stbl/stts",
                     "moov/trak/mdia/minf/stbl/stsc", "moov/trak/mdia/minf/stbl/stsz",
                     "moov/trak/mdia/minf/stbl/stco"}));
    const auto again = read(changed);
    const auto& samples = again->tracks[0]->media->samples;
    ASSERT_EQ(samples.sampleCount(), 4u);
    EXPECT_EQ(samples.sample(3)->offset, 5000u);
    EXPECT_EQ(samples.sample(3)->decodeTime, 600);
    EXPECT_EQ(again->tracks[0]->media->duration(), 700);
}

TEST(MovieWriter, PlacedChunksChangeOnlyWhereSamplesLie) {
    const auto movie = read(strangeMovie());
    ASSERT_TRUE(movie->tracks[0]->media->samples.placeChunks({{1u << 20, 3, 1}}));
    EXPECT_EQ(differenceBetween(strangeMovie(), write(*movie)),
              (Paths{"moov/trak/mdia/minf/stbl/stco"}));
    ASSERT_TRUE(movie->tracks[0]->media->samples.placeChunks(
        {{0x1'0000'0000, 2, 1}, {0x1'0000'1000, 1, 1}}));
    EXPECT_EQ(differenceBetween(strangeMovie(), write(*movie)),
              (Paths{"moov/trak/mdia/minf/stbl/stsc", "-moov/trak/mdia/minf/stbl/stco",
                     "+moov/trak/mdia/minf/stbl/co64"}));
}

TEST(MovieWriter, WideOffsetsAreWrittenWhenAskedFor) {
    const auto movie = read(strangeMovie());
    WriteOptions options;
    options.wideOffsets = true;
    const auto again = read(write(*movie, options));
    for (const auto& track : again->tracks) {
        EXPECT_TRUE(track->media->samples.columns().chunks.wide());
        EXPECT_EQ(track->media->samples.sample(0)->offset, 1000u);
    }
}

TEST(MovieWriter, ChangingTheTimeScaleWritesHeadersAndEdits) {
    const Bytes edits =
        atom("edts", atom("elst", joined({u32(0), u32(1), u32(300), u32(0), u32(0x10000)})));
    const Bytes before = test::movie(track(edits));
    const auto movie = read(before);
    movie->posterTime = 60;
    ASSERT_TRUE(movie->setTimeScale(1000));
    const Bytes changed = write(*movie);
    EXPECT_EQ(differenceBetween(before, changed),
              (Paths{"moov/mvhd", "moov/trak/tkhd", "moov/trak/edts/elst"}));
    const auto again = read(changed);
    EXPECT_EQ(again->timeScale, 1000u);
    EXPECT_EQ(again->duration(), 500);
    EXPECT_EQ(again->posterTime, 100);
}

TEST(MovieWriter, AnImpliedEditListStaysImpliedInAnotherTimeScale) {
    const auto movie = read(test::movie());
    ASSERT_TRUE(movie->setTimeScale(90000));
    EXPECT_EQ(differenceBetween(test::movie(), write(*movie)),
              (Paths{"moov/mvhd", "moov/trak/tkhd"}));
}

TEST(MovieWriter, DataReferencesThatAreMappedElsewhereAreWrittenAnew) {
    const auto movie = read(strangeMovie());
    WriteOptions options;
    options.mapDataReference = [](const timeline::DataReference& reference) {
        return reference.isSelf() ? makeFileReference("/films/a movie.mov") : reference;
    };
    const Bytes changed = write(*movie, options);
    const auto again = read(changed);
    EXPECT_EQ(*pathOfReference(again->tracks[0]->media->dataReferences[0], ""),
              "/films/a movie.mov");
    EXPECT_EQ(differenceBetween(strangeMovie(), changed),
              (Paths{"moov/trak/mdia/minf/dinf/dref", "moov/trak/mdia/minf/dinf/dref"}));
}

TEST(MovieWriter, HeadersWidenWhenTheirValuesNeedIt) {
    const auto movie = read(test::movie());
    movie->creationTime = 0x1'0000'0000;
    const auto again = read(write(*movie));
    EXPECT_EQ(again->creationTime, 0x1'0000'0000u);
    EXPECT_EQ(again->duration(), 600);
    Track& track = *movie->tracks[0];
    track.edits = timeline::EditList({{0x2'0000'0000, 0, 0}});
    const auto longMovie = read(write(*movie));
    EXPECT_EQ(longMovie->duration(), 0x2'0000'0000);
}

TEST(MovieWriter, TimesThatNoFileCanHoldAreRefused) {
    const auto movie = read(test::movie());
    movie->posterTime = 0x1'0000'0000;
    const auto written = writeMovieAtom(*movie);
    ASSERT_FALSE(written);
    EXPECT_EQ(written.failure().kind, result::FailureKind::limit);
    movie->posterTime = -1;
    EXPECT_FALSE(measureMovieAtom(*movie));
    movie->posterTime = 0;
    movie->timeScale = 0;
    EXPECT_EQ(writeMovieAtom(*movie).failure().kind, result::FailureKind::badArgument);
}

TEST(MovieWriter, ReferencesPreloadApertureAndInputMapGoOutAndComeBack) {
    const auto movie = read(test::movie());
    Track& track = *movie->tracks[0];
    track.addReference(fourCharCode("ssrc"), 9);
    track.preload = timeline::Preload{1, 2, 3, 4};
    track.aperture.production = timeline::Dimensions{5 << 16, 6 << 16};
    track.media->inputMap =
        shared(joined({zeros(12), u32(20), bytesOf("sean"), u32(1), u32(0), u32(0)}));
    const Bytes changed = write(*movie);
    EXPECT_EQ(
        differenceBetween(test::movie(), changed),
        (Paths{"+moov/trak/tapt", "+moov/trak/tref", "+moov/trak/load", "+moov/trak/mdia/imap"}));
    const auto again = read(changed);
    EXPECT_EQ(again->tracks[0]->references, track.references);
    EXPECT_EQ(again->tracks[0]->preload, track.preload);
    EXPECT_EQ(again->tracks[0]->aperture, track.aperture);
    EXPECT_EQ(again->tracks[0]->media->inputMap, track.media->inputMap);
    again->tracks[0]->references.clear();
    again->tracks[0]->preload.reset();
    again->tracks[0]->aperture = {};
    again->tracks[0]->media->inputMap = {};
    EXPECT_TRUE(write(*again) == test::movie());
}

TEST(MovieWriter, ADescriptionThatWasMadeInMemoryGetsWhatOnlyFilesNeed) {
    Movie movie;
    Track& track = movie.addTrack({}, 0);
    track.media = makeMedia(fourCharCode("twen"), 600);
    // As the toolbox makes them: zeros with only the size.
    track.media->addDescription(SampleDescription(shared(joined({u32(16), zeros(12)}))));
    ASSERT_TRUE(track.media->samples.append({.offset = 8, .sizeInBytes = 100, .duration = 600}));
    ASSERT_TRUE(insertMedia(movie, track, 0, 0, 600));
    const auto again = read(write(movie));
    const SampleDescription& description = again->tracks[0]->media->descriptions[0];
    EXPECT_EQ(description.format(), fourCharCode("twen"));
    EXPECT_EQ(description.dataReferenceIndex(), 1);
}

TEST(MovieWriter, AMovieMadeInMemoryComesBackAsItWas) {
    Movie movie;
    movie.userData.add(fourCharCode("name"), shared(bytesOf("new")));
    for (const char* type : {"vide", "soun", "tmcd", "text"}) {
        Track& track = movie.addTrack({64 << 16, 48 << 16}, 0x80);
        FourCharCode code = 0;
        for (int i = 0; i < 4; ++i)
            code = code << 8 | static_cast<unsigned char>(type[i]);
        track.media = makeMedia(code, 2500);
        VideoDescription description;
        description.head.format = code;
        track.media->addDescription(buildDescription(description));
        track.media->dataReferences.push_back(makeSelfReference());
        for (std::uint32_t i = 0; i < 10; ++i)
            ASSERT_TRUE(track.media->samples.append({.offset = 100 + i * 7,
                                                     .sizeInBytes = 7 - i % 2,
                                                     .duration = 100 + i % 3,
                                                     .compositionOffset = i % 2 ? -50 : 50,
                                                     .sync = i % 4 == 0}));
        track.layer = -3;
        track.matrix[6] = 17;
        ASSERT_TRUE(insertMedia(movie, track, 50, 100, 500));
    }
    const Bytes bytes = write(movie);
    const auto again = read(bytes);
    EXPECT_TRUE(write(*again) == bytes);
    ASSERT_EQ(again->tracks.size(), 4u);
    EXPECT_EQ(again->userData, movie.userData);
    for (std::size_t i = 0; i < 4; ++i) {
        const Track& before = *movie.tracks[i];
        const Track& after = *again->tracks[i];
        EXPECT_TRUE(after.edits == before.edits);
        EXPECT_EQ(after.matrix, before.matrix);
        EXPECT_EQ(after.layer, -3);
        EXPECT_EQ(after.volume, 0x80);
        EXPECT_EQ(after.media->handler, before.media->handler);
        EXPECT_EQ(after.media->descriptions, before.media->descriptions);
        EXPECT_EQ(after.media->duration(), before.media->duration());
        for (std::uint32_t sample = 0; sample < 10; ++sample) {
            const auto old = before.media->samples.sample(sample);
            const auto now = after.media->samples.sample(sample);
            ASSERT_TRUE(old && now);
            EXPECT_EQ(now->offset, old->offset);
            EXPECT_EQ(now->displayTime(), old->displayTime());
            EXPECT_EQ(now->sync, old->sync);
        }
    }
}

TEST(MovieWriter, ATrackWithoutMediaIsATrackAllTheSame) {
    Movie movie;
    movie.addTrack({1 << 16, 2 << 16}, 0);
    const auto again = read(write(movie));
    ASSERT_EQ(again->tracks.size(), 1u);
    EXPECT_EQ(again->tracks[0]->media, nullptr);
}

TEST(MovieWriter, LongHeadersOfSixteenBytesStayLong) {
    const Bytes longMedia = largeAtom(
        "mdia", joined({mediaHeader(), handler("vide"), mediaInformation(sampleTable())}));
    const Bytes before = test::movie(track({}, {}, longMedia));
    const auto movie = read(before);
    EXPECT_TRUE(write(*movie) == before);
    movie->tracks[0]->media->language = 5;
    EXPECT_EQ(write(*movie).size(), before.size());
}

TEST(DataReference, AFileReferenceSurvivesAnyCharacterOfAPath) {
    for (const std::string path :
         {"/a/b.mov", "/with space/ü%41#?.mov", "/\x01\xFF/\"<>", "/%2F"}) {
        EXPECT_EQ(*pathOfReference(makeFileReference(path), ""), path);
    }
}

TEST(DataReference, RelativeAddressesStartFromTheMoviesFolder) {
    timeline::DataReference reference;
    const char relative[] = "media/my%20clip.mov";
    reference.data = timeline::SharedBytes::copyOf(std::as_bytes(std::span(relative)));
    EXPECT_EQ(*pathOfReference(reference, "/films/"), "/films/media/my clip.mov");
    EXPECT_EQ(pathOfReference(reference, "").failure().kind, result::FailureKind::notFound);
    const char upward[] = "../other.mov";
    reference.data = timeline::SharedBytes::copyOf(std::as_bytes(std::span(upward)));
    EXPECT_EQ(*pathOfReference(reference, "/films/"), "/other.mov");
}

TEST(DataReference, WhatIsNotHereIsUnsupported) {
    timeline::DataReference reference;
    const char remote[] = "http://example.com/a.mov";
    reference.data = timeline::SharedBytes::copyOf(std::as_bytes(std::span(remote)));
    EXPECT_EQ(pathOfReference(reference, "/").failure().kind, result::FailureKind::unsupported);
    reference.type = fourCharCode("rsrc");
    EXPECT_EQ(pathOfReference(reference, "/").failure().kind, result::FailureKind::unsupported);
    reference.type = fourCharCode("alis");
    reference.data = shared(zeros(149));
    EXPECT_EQ(pathOfReference(reference, "/").failure().kind, result::FailureKind::unsupported);
}

TEST(DataReference, AnAliasRecordMayHoldAPathOfThisSystem) {
    timeline::DataReference reference;
    reference.type = fourCharCode("alis");
    reference.data =
        shared(joined({zeros(150), u16(2), u16(3), bytesOf("abc"), zeros(1), u16(18), u16(11),
                       bytesOf("films/a.mov"), zeros(1), u16(0xFFFF), u16(0)}));
    EXPECT_EQ(*pathOfReference(reference, ""), "/films/a.mov");
}

}  // namespace
}  // namespace TWQuickTime::moviefile
