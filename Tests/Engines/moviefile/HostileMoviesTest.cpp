// Bytes that are no good movie: any of them may fail, none may crash, hang or ask for more memory
// than they justify.
#include <gtest/gtest.h>

#include <random>

#include "Engines/moviefile/CompressedMovie.h"
#include "Engines/moviefile/MemoryStorage.h"
#include "Engines/moviefile/MovieReader.h"
#include "Engines/moviefile/MovieWriter.h"
#include "MovieBytes.h"
#include "WalkMovie.h"

namespace TWQuickTime::moviefile {
namespace {

using namespace test;

/// A movie with one of everything.
Bytes richMovie() {
    const Bytes tables = joined(
        {atom("ctts", joined({u32(0), u32(1), u32(3), u32(0xFFFFFFFF)})),
         atom("stss", joined({u32(0), u32(2), u32(1), u32(3)})),
         atom("stps", joined({u32(0), u32(1), u32(2)})), atom("sdtp", joined({u32(0), zeros(3)})),
         atom("cslg", joined({u32(0), zeros(20)})), atom("sgpd", zeros(12))});
    const Bytes before =
        joined({atom("tapt", atom("clef", joined({u32(0), u32(64 << 16), u32(48 << 16)}))),
                atom("edts", atom("elst", joined({u32(0), u32(2), u32(100), u32(0xFFFFFFFF),
                                                  u32(0x10000), u32(500), u32(0), u32(0x10000)}))),
                atom("tref", atom("tmcd", u32(2))), atom("load", zeros(16))});
    const Bytes leaf = joined({u32(24), u32(0x00007479), u32(1), u32(0), u32(0), u32(3)});
    const Bytes input = joined({u32(44), u32(0x0000696E), u32(1), u16(0), u16(1), u32(0), leaf});
    const Bytes video = track(before, atom("udta", atom("name", bytesOf("a"))),
                              media(sampleTable(tables), atom("imap", input)));
    const Bytes timecodeHeader =
        atom("gmhd", joined({atom("gmin", joined({u32(0), u16(0x40), zeros(10)})),
                             atom("tmcd", atom("tcmi", joined({u32(0), zeros(22)})))}));
    const Bytes timecode = atom(
        "trak", joined({trackHeader(2),
                        atom("mdia", joined({mediaHeader(), handler("tmcd"),
                                             atom("minf", joined({timecodeHeader, dataInformation(),
                                                                  sampleTable()}))}))}));
    return movie(joined({video, timecode}),
                 joined({atom("udta", joined({atom("LOOP", u32(0)), u32(0)})),
                         atom("meta", zeros(30)), atom("mvex", atom("trex", zeros(24)))}));
}

/// A file of that movie and one fragment of its first track.
Bytes fragmentedFile() {
    const Bytes run =
        atom("trun", joined({u32(0x301), u32(2), u32(100), u32(200), u32(10), u32(200), u32(20)}));
    const Bytes fragment = atom(
        "moof", joined({atom("mfhd", joined({u32(0), u32(1)})),
                        atom("traf", joined({atom("tfhd", joined({u32(0x20000), u32(1)})),
                                             atom("tfdt", joined({u32(0), u32(600)})), run}))}));
    const Bytes extends =
        atom("mvex", atom("trex", joined({u32(0), u32(1), u32(1), u32(200), u32(5), u32(0)})));
    return joined({fileType(), movie(track(), extends), fragment, atom("mdat", zeros(30))});
}

void readAndWalk(const Bytes& movieAtom) {
    const auto movie = readMovieAtom(shared(movieAtom));
    if (movie)
        walkMovie(**movie);
    else
        EXPECT_FALSE(movie.failure().message.empty());
}

TEST(HostileMovies, CutShortAtEveryByteNothingWorseThanAFailureHappens) {
    const Bytes whole = richMovie();
    readAndWalk(whole);
    for (std::size_t length = 0; length < whole.size(); ++length) {
        Bytes cut(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(length));
        readAndWalk(cut);
        if (length < 8)
            continue;
        // Also with a movie atom that says it ends there.
        const Bytes size = u32(static_cast<std::uint32_t>(length));
        std::copy(size.begin(), size.end(), cut.begin());
        readAndWalk(cut);
    }
}

TEST(HostileMovies, AnyByteMayHaveAnyExtremeValue) {
    const Bytes whole = richMovie();
    for (std::size_t at = 0; at < whole.size(); ++at) {
        for (const unsigned value : {0u, 1u, 0x7Fu, 0x80u, 0xFFu}) {
            Bytes changed = whole;
            changed[at] = static_cast<std::byte>(value);
            readAndWalk(changed);
        }
    }
}

TEST(HostileMovies, AnyWordMayBeHuge) {
    const Bytes whole = richMovie();
    for (std::size_t at = 0; at + 4 <= whole.size(); ++at) {
        for (const std::uint32_t value : {0xFFFFFFFFu, 0x80000000u, 0x7FFFFFFFu, 0xFFFFFFF0u}) {
            Bytes changed = whole;
            const Bytes word = u32(value);
            std::copy(word.begin(), word.end(), changed.begin() + static_cast<std::ptrdiff_t>(at));
            readAndWalk(changed);
        }
    }
}

TEST(HostileMovies, RandomDamageInSeveralPlaces) {
    const Bytes whole = richMovie();
    std::mt19937 random(1);
    for (int round = 0; round < 20000; ++round) {
        Bytes changed = whole;
        for (unsigned i = 0; i < 1 + random() % 4; ++i)
            changed[random() % changed.size()] = static_cast<std::byte>(random());
        readAndWalk(changed);
    }
}

TEST(HostileMovies, FragmentsMayBeDamagedAnywhere) {
    const Bytes whole = fragmentedFile();
    const auto open = [](const Bytes& bytes) {
        const auto opened = openMovie(std::make_shared<MemoryStorage>(bytes), "");
        if (opened)
            walkMovie(*opened->movie);
        return opened.ok();
    };
    ASSERT_TRUE(open(whole));
    for (std::size_t at = 0; at + 4 <= whole.size(); ++at) {
        for (const std::uint32_t value : {0u, 0xFFFFFFFFu, 0x7FFFFFFFu, 0x00FFFFFFu}) {
            Bytes changed = whole;
            const Bytes word = u32(value);
            std::copy(word.begin(), word.end(), changed.begin() + static_cast<std::ptrdiff_t>(at));
            open(changed);
        }
        open(Bytes(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(at)));
    }
}

TEST(HostileMovies, ARunOfFragmentSamplesThatTakesNoBytesIsBounded) {
    const auto fileWith = [](std::uint32_t count, std::uint32_t secondSize) {
        const Bytes first = atom("trun", joined({u32(0), u32(count)}));
        const Bytes second = atom("trun", joined({u32(0x200), u32(1), u32(secondSize)}));
        const Bytes fragment = atom(
            "moof",
            atom("traf", joined({atom("tfhd", joined({u32(0x20000), u32(1)})), first, second})));
        const Bytes extends =
            atom("mvex", atom("trex", joined({u32(0), u32(1), u32(1), u32(1), u32(4), u32(0)})));
        const Bytes empty = atom("stbl", joined({atom("stts", zeros(8)), atom("stsc", zeros(8)),
                                                 atom("stsz", zeros(12)), atom("stco", zeros(8))}));
        return joined({movie(track({}, {}, media(empty)), extends), fragment});
    };
    const auto alike = openMovie(std::make_shared<MemoryStorage>(fileWith(100'000'000, 4)), "");
    ASSERT_TRUE(alike) << alike.failure().message;
    EXPECT_EQ(alike->movie->tracks[0]->media->samples.sampleCount(), 100'000'001u);
    const auto mixed = openMovie(std::make_shared<MemoryStorage>(fileWith(100'000'000, 5)), "");
    ASSERT_FALSE(mixed);
    EXPECT_EQ(mixed.failure().kind, result::FailureKind::limit);
}

TEST(HostileMovies, ADeeplyNestedMovieIsReadWithoutDescending) {
    Bytes nested = atom("udta");
    for (int depth = 0; depth < 5000; ++depth)
        nested = atom("udta", nested);
    readAndWalk(movie(track(), nested));
    Bytes packed = *compressMovie(movie());
    for (int depth = 0; depth < 3; ++depth)
        packed = *compressMovie(packed);
    readAndWalk(packed);
}

TEST(HostileMovies, ManyTinyAtomsAreWalkedInATimeInProportion) {
    Bytes junk;
    const Bytes tiny = atom("free");
    for (int i = 0; i < 500'000; ++i)
        junk.insert(junk.end(), tiny.begin(), tiny.end());
    const Bytes bytes = movie(track(junk, {}, media()), junk);
    const auto movie = readMovieAtom(shared(bytes));
    ASSERT_TRUE(movie);
    EXPECT_TRUE(*writeMovieAtom(**movie) == bytes);
}

}  // namespace
}  // namespace TWQuickTime::moviefile
