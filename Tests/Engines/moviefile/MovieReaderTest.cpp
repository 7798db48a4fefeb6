// What the reader makes of the structures of a movie atom, byte by byte.
#include "Engines/moviefile/MovieReader.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Engines/moviefile/CompressedMovie.h"
#include "Engines/moviefile/MovieWriter.h"
#include "MovieBytes.h"

namespace TWQuickTime::moviefile {
namespace {

using namespace test;
using result::FailureKind;
using testing::HasSubstr;
using timeline::Edit;
using timeline::fourCharCode;
using timeline::kEmptyMediaTime;
using timeline::Movie;
using timeline::Sample;

std::unique_ptr<Movie> read(const Bytes& movieAtom) {
    auto movie = readMovieAtom(shared(movieAtom));
    EXPECT_TRUE(movie) << movie.failure().message;
    return movie ? std::move(*movie) : nullptr;
}

result::Failure failureOf(const Bytes& movieAtom) {
    const auto movie = readMovieAtom(shared(movieAtom));
    EXPECT_FALSE(movie);
    return movie ? result::Failure{} : movie.failure();
}

/// A movie whose one table replaces that of the usual sample table.
Bytes movieWithTable(const Bytes& table) {
    return movie(track({}, {}, media(atom("stbl", table))));
}

TEST(MovieReader, ReadsHeadersTracksAndSamples) {
    const auto movie = read(test::movie());
    ASSERT_TRUE(movie);
    EXPECT_EQ(movie->timeScale, 600u);
    EXPECT_EQ(movie->nextTrackID, 2u);
    ASSERT_EQ(movie->tracks.size(), 1u);
    const timeline::Track& track = *movie->tracks[0];
    EXPECT_EQ(track.id, 1u);
    EXPECT_EQ(track.flags, 15u);
    EXPECT_EQ(track.dimensions.width, 64 << 16);
    EXPECT_EQ(track.media->type(), fourCharCode("vide"));
    EXPECT_EQ(track.media->descriptions.size(), 1u);
    EXPECT_TRUE(track.media->dataReferences[0].isSelf());
    const auto last = track.media->samples.sample(2);
    ASSERT_TRUE(last);
    EXPECT_EQ(last->offset, 1030u);
    EXPECT_EQ(last->sizeInBytes, 30u);
    EXPECT_EQ(last->decodeTime, 400);
}

TEST(MovieReader, WithoutAnEditListTheWholeMediaPlaysFromTheStart) {
    const auto movie = read(test::movie());
    ASSERT_EQ(movie->tracks[0]->edits.size(), 1u);
    EXPECT_EQ(movie->tracks[0]->edits.at(0).edit, (Edit{600, 0}));
}

/// Three samples of 200 units each, shown 100 units after they are decoded.
Bytes mediaShownLate(std::uint32_t duration) {
    const Bytes offsets = atom("ctts", joined({u32(0), u32(1), u32(3), u32(100)}));
    return atom("mdia", joined({mediaHeader(600, duration), handler("vide"),
                                mediaInformation(sampleTable(offsets))}));
}

TEST(MovieReader, WithoutAnEditListWhatIsShownLaterThanDecodedIsShownToItsEnd) {
    const auto movie = read(test::movie(track({}, {}, mediaShownLate(600))));
    EXPECT_EQ(movie->tracks[0]->edits.at(0).edit, (Edit{700, 0}));
    EXPECT_EQ(movie->tracks[0]->media->duration(), 600);
}

TEST(MovieReader, WithoutAnEditListAHeaderThatCutsTheMediaShortIsBelieved) {
    const Bytes cut = atom("trak", joined({trackHeader(1, 550), mediaShownLate(600)}));
    EXPECT_EQ(read(test::movie(cut))->tracks[0]->edits.at(0).edit, (Edit{550, 0}));
}

TEST(MovieReader, AnEditListWithoutEntriesIsNone) {
    const Bytes edits = atom("edts", atom("elst", joined({u32(0), u32(0)})));
    const auto movie = read(test::movie(track(edits)));
    EXPECT_EQ(movie->duration(), 600);
}

TEST(MovieReader, ReadsEmptyEditsRatesAndDwells) {
    const Bytes edits =
        atom("edts", atom("elst", joined({u32(0), u32(3),                           // three edits
                                          u32(100), u32(0xFFFFFFFF), u32(0x10000),  // empty
                                          u32(50), u32(0), u32(0x20000),            // twice as fast
                                          u32(25), u32(300), u32(0)})));            // dwell
    const auto movie = read(test::movie(track(edits)));
    const auto& list = movie->tracks[0]->edits;
    ASSERT_EQ(list.size(), 3u);
    EXPECT_EQ(list.at(0).edit, (Edit{100, kEmptyMediaTime}));
    EXPECT_EQ(list.at(1).edit, (Edit{50, 0, 0x20000}));
    EXPECT_EQ(list.at(2).edit, (Edit{25, 300, 0}));
    EXPECT_EQ(movie->duration(), 175);
}

TEST(MovieReader, ReadsVersionOneEditsOf64Bits) {
    const Bytes edits =
        atom("edts", atom("elst", joined({u32(0x01000000), u32(2), u64(5), u64(~0ull), u32(0x10000),
                                          u64(0x1'0000'0000), u64(0x2'0000'0000), u32(0x10000)})));
    const auto movie = read(test::movie(track(edits)));
    EXPECT_EQ(movie->tracks[0]->edits.at(0).edit, (Edit{5, kEmptyMediaTime}));
    EXPECT_EQ(movie->tracks[0]->edits.at(1).edit, (Edit{0x1'0000'0000, 0x2'0000'0000}));
}

TEST(MovieReader, ReadsVersionOneHeaders) {
    const Bytes header =
        atom("mvhd", joined({u32(0x01000000), u64(3'000'000'000), u64(0x1'2345'6789), u32(1000),
                             u64(0x1'0000'0000), u32(0x10000), u16(0x100), zeros(10),
                             identityMatrix(), zeros(24), u32(7)}));
    const auto movie = read(atom("moov", header));
    EXPECT_EQ(movie->creationTime, 3'000'000'000u);
    EXPECT_EQ(movie->modificationTime, 0x1'2345'6789u);
    EXPECT_EQ(movie->timeScale, 1000u);
    EXPECT_EQ(movie->nextTrackID, 7u);
}

TEST(MovieReader, ReadsTheTimesThatOnlyClassicMoviesUse) {
    const Bytes header = atom(
        "mvhd", joined({u32(0), zeros(8), u32(600), u32(0), u32(0x10000), u16(0x100), zeros(10),
                        identityMatrix(), u32(1), u32(2), u32(3), u32(4), u32(5), u32(6), u32(1)}));
    const auto movie = read(atom("moov", header));
    EXPECT_EQ(movie->previewTime, 1);
    EXPECT_EQ(movie->previewDuration, 2);
    EXPECT_EQ(movie->posterTime, 3);
    EXPECT_EQ(movie->selectionTime, 4);
    EXPECT_EQ(movie->selectionDuration, 5);
    EXPECT_EQ(movie->currentTime, 6);
}

TEST(MovieReader, ReadsReferencesPreloadAndAperture) {
    const Bytes small = joined(
        {atom("tref", joined({atom("tmcd", u32(3)), atom("ssrc", joined({u32(0), u32(4)}))})),
         atom("load", joined({u32(0), u32(600), u32(1), u32(0x100)})),
         atom("tapt", joined({atom("clef", joined({u32(0), u32(68 << 16), u32(48 << 16)})),
                              atom("enof", joined({u32(0), u32(64 << 16), u32(48 << 16)}))}))});
    const auto movie = read(test::movie(track(small)));
    const timeline::Track& track = *movie->tracks[0];
    ASSERT_EQ(track.references.size(), 2u);
    EXPECT_EQ(track.referencesOfType(fourCharCode("ssrc"))->trackIDs,
              (std::vector<std::uint32_t>{0, 4}));
    EXPECT_EQ(track.preload->duration, 600u);
    EXPECT_EQ(track.aperture.cleanAperture->width, 68 << 16);
    EXPECT_FALSE(track.aperture.production);
    EXPECT_EQ(track.aperture.encodedPixels->height, 48 << 16);
}

TEST(MovieReader, UserDataMayEndInAZeroOrNot) {
    for (const Bytes& end : {Bytes(), u32(0), zeros(3)}) {
        const Bytes list =
            joined({atom("name", bytesOf("first")), atom("name", bytesOf("2nd")), end});
        const auto movie = read(test::movie(track(), atom("udta", list)));
        ASSERT_EQ(movie->userData.items.size(), 2u);
        EXPECT_EQ(movie->userData.find(fourCharCode("name"), 2)->data, shared(bytesOf("2nd")));
    }
}

TEST(MovieReader, ADamagedUserDataItemCostsOnlyWhatFollowsIt) {
    Bytes list = joined({atom("good", bytesOf("one")), u32(1000), bytesOf("bad text")});
    const auto movie = read(test::movie(track(), atom("udta", list)));
    ASSERT_TRUE(movie);
    EXPECT_EQ(movie->userData.items.size(), 1u);
    const auto written = writeMovieAtom(*movie);
    ASSERT_TRUE(written);
    EXPECT_TRUE(*written == test::movie(track(), atom("udta", list)));
}

TEST(MovieReader, SizesOfFourEightAndSixteenBitsAreSizes) {
    const auto sizes = [](std::uint8_t bits, const Bytes& rows) {
        return joined(
            {atom("stts", joined({u32(0), u32(1), u32(3), u32(1)})),
             atom("stsc", joined({u32(0), u32(1), u32(1), u32(3), u32(1)})),
             atom("stz2", joined({u32(0), zeros(3), Bytes(1, std::byte{bits}), u32(3), rows})),
             atom("stco", joined({u32(0), u32(1), u32(100)}))});
    };
    const auto offsets = [](const std::unique_ptr<Movie>& movie) {
        return movie->tracks[0]->media->samples.sample(2)->offset;
    };
    EXPECT_EQ(offsets(read(movieWithTable(sizes(4, u16(0x1230))))), 103u);
    EXPECT_EQ(offsets(read(movieWithTable(sizes(8, joined({u16(0x1020), Bytes(1)}))))),
              0x30u + 100);
    EXPECT_EQ(offsets(read(movieWithTable(sizes(16, joined({u32(0x01000200), u16(5)}))))),
              0x300u + 100);
    EXPECT_THAT(failureOf(movieWithTable(sizes(5, zeros(8)))).message,
                HasSubstr("moov/trak[1]/mdia/minf/stbl/stz2 @ "));
}

TEST(MovieReader, PartialSyncSamplesAndDependenciesAreKept) {
    const Bytes more =
        joined({atom("stss", joined({u32(0), u32(1), u32(1)})),
                atom("stps", joined({u32(0), u32(1), u32(3)})),
                atom("sdtp", joined({u32(0), u16(0x2010), Bytes(1)})),
                atom("ctts", joined({u32(0), u32(2), u32(1), u32(0xFFFFFF38), u32(2), u32(200)}))});
    const auto movie = read(test::movie(track({}, {}, media(sampleTable(more)))));
    const auto& samples = movie->tracks[0]->media->samples;
    EXPECT_TRUE(samples.sample(0)->sync);
    EXPECT_FALSE(samples.sample(1)->sync);
    EXPECT_TRUE(samples.sample(2)->partialSync);
    EXPECT_EQ(samples.sample(0)->compositionOffset, -200);
    EXPECT_TRUE(samples.columns().dependencies.present);
}

TEST(MovieReader, WideChunkOffsetsReachPastFourGigabytes) {
    const Bytes table = joined({atom("stts", joined({u32(0), u32(1), u32(1), u32(1)})),
                                atom("stsc", joined({u32(0), u32(1), u32(1), u32(1), u32(1)})),
                                atom("stsz", joined({u32(0), u32(5), u32(1)})),
                                atom("co64", joined({u32(0), u32(1), u64(0x1'0000'0010)}))});
    const auto movie = read(movieWithTable(table));
    EXPECT_EQ(movie->tracks[0]->media->samples.sample(0)->offset, 0x1'0000'0010u);
}

TEST(MovieReader, ReadsACompressedMovieAndWritesItBackToTheByte) {
    const auto packed = compressMovie(test::movie());
    ASSERT_TRUE(packed);
    const auto movie = read(*packed);
    ASSERT_TRUE(movie);
    EXPECT_EQ(movie->tracks.size(), 1u);
    const auto again = writeMovieAtom(*movie);
    ASSERT_TRUE(again);
    EXPECT_TRUE(*again == *packed);
    WriteOptions plain;
    plain.compression = Compression::never;
    EXPECT_TRUE(*writeMovieAtom(*movie, plain) == test::movie());
    movie->currentTime = 5;
    const auto changed = writeMovieAtom(*movie);
    ASSERT_TRUE(changed);
    EXPECT_EQ(read(*changed)->currentTime, 5);
    EXPECT_EQ(*measureMovieAtom(*movie), changed->size());
}

TEST(MovieReader, ACompressedMovieThatClaimsTooMuchAsksForNoMemory) {
    const auto claimed = [](std::uint32_t size, const Bytes& data) {
        return atom("moov", atom("cmov", joined({atom("dcom", bytesOf("zlib")),
                                                 atom("cmvd", joined({u32(size), data}))})));
    };
    EXPECT_EQ(failureOf(claimed(0x7FFFFFFF, zeros(100))).kind, FailureKind::damaged);
    EXPECT_EQ(failureOf(claimed(1000, zeros(100))).kind, FailureKind::damaged);
    EXPECT_EQ(failureOf(atom("moov", atom("cmov", joined({atom("dcom", bytesOf("lzma")),
                                                          atom("cmvd", zeros(20))}))))
                  .kind,
              FailureKind::unsupported);
}

TEST(MovieReader, AllThreeFormsOfAnInputMapGiveTheContainer) {
    // '\0\0in' (ID 1) { '\0\0ty' (ID 1): 3 } in a container of one root.
    const auto leaf = joined({u32(24), u32(0x00007479), u32(1), u32(0), u32(0), u32(3)});
    const auto input = joined({u32(44), u32(0x0000696E), u32(1), u16(0), u16(1), u32(0), leaf});
    const auto root = joined({u32(64), bytesOf("sean"), u32(1), u16(0), u16(1), u32(0), input});
    const auto container = joined({zeros(12), root});
    const auto shortInput = joined({u32(32), u32(0x0000696E), u32(1), u16(0), u16(1), u32(0),
                                    u32(12), u32(0x00007479), u32(3)});
    for (const Bytes& payload : {container, root, input, shortInput}) {
        const Bytes inMedia =
            test::movie(track({}, {}, media(sampleTable(), atom("imap", payload))));
        const Bytes inTrack = test::movie(track({}, atom("imap", payload)));
        for (const Bytes& bytes : {inMedia, inTrack}) {
            const auto movie = read(bytes);
            EXPECT_EQ(movie->tracks[0]->media->inputMap, shared(container));
            EXPECT_TRUE(*writeMovieAtom(*movie) == bytes);
        }
    }
}

TEST(MovieReader, SaysWhereAndWhatIsMissing) {
    const Bytes table = joined({atom("stts", joined({u32(0), u32(4), u32(3), u32(200)}))});
    const Bytes bytes = movieWithTable(table);
    const auto failure = failureOf(bytes);
    EXPECT_EQ(failure.kind, FailureKind::damaged);
    EXPECT_THAT(failure.message, HasSubstr("moov/trak[1]/mdia/minf/stbl/stts @ 0x"));
    EXPECT_THAT(failure.message, HasSubstr(": 24 bytes missing (rows)"));
}

TEST(MovieReader, TimeScalesOfZeroAreDamage) {
    EXPECT_THAT(failureOf(atom("moov", movieHeader(0))).message,
                HasSubstr("moov/mvhd @ 0x8: a time scale of 0"));
    const Bytes badMedia =
        atom("mdia", joined({mediaHeader(0), handler("vide"), mediaInformation(sampleTable())}));
    EXPECT_THAT(failureOf(test::movie(track({}, {}, badMedia))).message,
                HasSubstr("moov/trak[1]/mdia/mdhd"));
}

TEST(MovieReader, MissingHeadersAreDamage) {
    EXPECT_EQ(failureOf(atom("moov", track())).message, "moov @ 0x0: no header ('mvhd')");
    EXPECT_THAT(failureOf(test::movie(atom("trak", media()))).message,
                HasSubstr("moov/trak[1] @ 0x74: no header ('tkhd')"));
    EXPECT_THAT(failureOf(test::movie(track({}, {}, atom("mdia", mediaHeader())))).message,
                HasSubstr("no handler ('hdlr')"));
    EXPECT_EQ(failureOf(atom("mdat", zeros(4))).message, "moov @ 0x0: not a movie atom");
}

TEST(MovieReader, AnAtomThatPassesItsParentIsDamage) {
    Bytes bytes = test::movie(track(), atom("junk", zeros(8)));
    bytes[bytes.size() - 13] = std::byte{200};  // 'junk' claims 200 bytes
    EXPECT_THAT(failureOf(bytes).message, HasSubstr("moov/junk @ "));
    EXPECT_THAT(failureOf(bytes).message, HasSubstr("184 bytes missing"));
}

TEST(MovieReader, StrayBytesBehindTheAtomsAreNoDamage) {
    const Bytes bytes = test::movie(track({}, zeros(4)), zeros(7));
    const auto movie = read(bytes);
    ASSERT_TRUE(movie);
    EXPECT_TRUE(*writeMovieAtom(*movie) == bytes);
}

TEST(MovieReader, TooManyTracksOrEditsAreALimit) {
    Bytes tracks;
    const Bytes one = atom("trak", trackHeader());
    for (int i = 0; i < 2049; ++i)
        tracks.insert(tracks.end(), one.begin(), one.end());
    EXPECT_EQ(failureOf(test::movie(tracks)).kind, FailureKind::limit);
    const Bytes edits =
        atom("edts", atom("elst", joined({u32(0), u32(600'000), zeros(600'000 * 12)})));
    EXPECT_EQ(failureOf(test::movie(track(edits))).kind, FailureKind::limit);
}

TEST(MovieReader, UserDataOfAHundredThousandItemsIsKeptUnread) {
    Bytes list;
    const Bytes item = atom("abcd");
    for (int i = 0; i < 100'001; ++i)
        list.insert(list.end(), item.begin(), item.end());
    const Bytes bytes = test::movie(track(), atom("udta", list));
    const auto movie = read(bytes);
    ASSERT_TRUE(movie);
    EXPECT_TRUE(movie->userData.empty());
    EXPECT_TRUE(*writeMovieAtom(*movie) == bytes);
    movie->userData.add(fourCharCode("more"), shared(bytesOf("!")));
    EXPECT_EQ(writeMovieAtom(*movie)->size(), bytes.size() + 9);
}

TEST(MovieReader, ClassicSoundOfOneByteAFrameHasTheSizeOfItsFrames) {
    const auto movieWith = [](std::string_view format, std::uint16_t channels, std::uint16_t bits) {
        const Bytes description = joined({u32(36), bytesOf(format), zeros(6), u16(1), zeros(8),
                                          u16(channels), u16(bits), zeros(4), u32(22050u << 16)});
        const Bytes table =
            atom("stbl", joined({atom("stsd", joined({u32(0), u32(1), description})),
                                 atom("stts", joined({u32(0), u32(1), u32(128), u32(1)})),
                                 atom("stsc", joined({u32(0), u32(1), u32(1), u32(128), u32(1)})),
                                 atom("stsz", joined({u32(0), u32(1), u32(128)})),
                                 atom("stco", joined({u32(0), u32(1), u32(100)}))}));
        return test::movie(
            track({}, {},
                  atom("mdia", joined({mediaHeader(), handler("soun"),
                                       atom("minf", joined({dataInformation(), table}))}))));
    };
    const auto sizeOf = [&](const Bytes& bytes) {
        const auto movie = read(bytes);
        EXPECT_TRUE(*writeMovieAtom(*movie) == bytes);
        return movie->tracks[0]->media->samples.chunk(0)->sizeInBytes;
    };
    EXPECT_EQ(sizeOf(movieWith("twos", 2, 16)), 512u);
    EXPECT_EQ(sizeOf(movieWith("raw ", 1, 8)), 128u);
    EXPECT_EQ(sizeOf(movieWith("ulaw", 2, 16)), 256u);
    EXPECT_EQ(sizeOf(movieWith("ima4", 2, 16)), 136u);
    EXPECT_EQ(sizeOf(movieWith("MAC3", 1, 8)), 44u);
}

}  // namespace
}  // namespace TWQuickTime::moviefile
