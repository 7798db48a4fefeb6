// Every kind of change, in movies of other programs and in movies of random structure: it touches
// the atoms that it must and no other, and taken back, it leaves the old movie to the byte.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <functional>
#include <random>

#include "AtomDifference.h"
#include "Engines/moviefile/MovieReader.h"
#include "Engines/moviefile/MovieWriter.h"
#include "MovieBytes.h"
#include "RunProgram.h"

namespace TWQuickTime::moviefile {
namespace {

using namespace test;
using timeline::fourCharCode;
using timeline::Movie;
using timeline::Track;

Bytes write(const Movie& movie) {
    WriteOptions options;
    options.fragments = Fragments::keep;
    const auto written = writeMovieAtom(movie, options);
    EXPECT_TRUE(written) << written.failure().message;
    return written ? *written : Bytes();
}

using Undo = std::function<void()>;

struct Change {
    const char* name;
    /// Makes the change; what it returns takes it back.
    std::function<Undo(Movie&)> make;
    Paths mayTouch;
};

std::ostream& operator<<(std::ostream& stream, const Change& change) {
    return stream << change.name;
}

Undo addItem(timeline::UserData& userData, timeline::FourCharCode type) {
    userData.add(type, shared(bytesOf("some text")));
    const std::size_t added = userData.items.size() - 1;
    return [&userData, added] {
        userData.items.erase(userData.items.begin() + static_cast<std::ptrdiff_t>(added));
    };
}

Undo addUserData(Movie& movie) {
    return addItem(movie.userData, fourCharCode("Xtra"));
}

Undo addTrackName(Movie& movie) {
    return addItem(movie.tracks.front()->userData, fourCharCode("name"));
}

template <class Value>
Undo set(Value& place, Value value) {
    return [&place, old = std::exchange(place, value)] { place = old; };
}

Undo setPoster(Movie& movie) {
    return set(movie.posterTime, movie.posterTime + 5);
}

Undo setPreview(Movie& movie) {
    const Undo time = set(movie.previewTime, movie.previewTime + 5);
    const Undo duration = set(movie.previewDuration, movie.previewDuration + 7);
    return [=] {
        time();
        duration();
    };
}

Undo enableTrack(Movie& movie) {
    Track& track = *movie.tracks.front();
    const bool enabled = (track.flags & 1) != 0;
    track.setEnabled(!enabled);
    return [&track, enabled] { track.setEnabled(enabled); };
}

Undo setVolume(Movie& movie) {
    Track& track = *movie.tracks.front();
    return set(track.volume, static_cast<decltype(track.volume)>(track.volume + 3));
}

Undo setLanguage(Movie& movie) {
    timeline::Media& media = *movie.tracks.front()->media;
    return set(media.language, static_cast<decltype(media.language)>(media.language + 1));
}

Undo insertEdit(Movie& movie) {
    Track& track = *movie.tracks.front();
    const timeline::EditList before = track.edits;
    EXPECT_TRUE(insertMedia(movie, track, -1, 0, track.media->duration()));
    return [&track, before] { track.edits = before; };
}

Undo addTimecode(Movie& movie) {
    const std::uint32_t nextTrackID = movie.nextTrackID;
    Track& pictures = *movie.tracks.front();
    const auto references = pictures.references;
    Track& track = movie.addTrack({}, 0);
    track.media = timeline::makeMedia(fourCharCode("tmcd"), 600);
    pictures.addReference(fourCharCode("tmcd"), track.id);
    return [&movie, &pictures, &track, references, nextTrackID] {
        EXPECT_TRUE(movie.deleteTrack(&track));
        pictures.references = references;
        movie.nextTrackID = nextTrackID;
    };
}

class ChangedAtoms : public testing::TestWithParam<Change> {
  protected:
    static void expectOnlyWhatIsAllowed(Movie& movie) {
        ASSERT_FALSE(movie.tracks.empty());
        const Bytes before = write(movie);
        const Undo undo = GetParam().make(movie);
        const Bytes after = write(movie);
        const Paths touched = differenceBetween(before, after);
        EXPECT_THAT(touched, testing::Not(testing::IsEmpty()));
        EXPECT_THAT(touched, testing::IsSubsetOf(GetParam().mayTouch));
        const auto again = readMovieAtom(shared(after));
        ASSERT_TRUE(again) << again.failure().message;
        EXPECT_TRUE(write(**again) == after);
        undo();
        EXPECT_TRUE(write(movie) == before);
    }
};

TEST_P(ChangedAtoms, InSamplesAreThoseOfTheChange) {
    const std::string folder = TWQuickTime::test::sampleMediaFolder();
    if (folder.empty())
        GTEST_SKIP() << "TWQT_MEDIA names no folder of sample media";
    int movies = 0;
    for (const auto& entry : std::filesystem::directory_iterator(folder)) {
        const auto opened = openMovieFile(entry.path());
        if (!opened)
            continue;
        SCOPED_TRACE(entry.path());
        expectOnlyWhatIsAllowed(*opened->movie);
        ++movies;
    }
    EXPECT_GT(movies, 10);
}

/// Movies with every structure in some order, and atoms that nobody knows between them.
class RandomMovies {
  public:
    Bytes next() {
        Bytes tracks;
        const std::uint32_t count = 1 + below(3);
        for (std::uint32_t id = 1; id <= count; ++id)
            tracks = joined({tracks, maybe(unknown()), track(id)});
        return atom("moov", joined({maybe(unknown()), movieHeader(), tracks, maybe(userData()),
                                    maybe(atom("meta", zeros(below(40)))), maybe(unknown()),
                                    maybe(zeros(below(8)))}));
    }

  private:
    std::uint32_t below(std::uint32_t limit) { return random_() % limit; }
    Bytes maybe(const Bytes& bytes) { return below(2) ? bytes : Bytes(); }
    Bytes unknown() { return atom("odd!", Bytes(below(20), static_cast<std::byte>(below(256)))); }
    Bytes shuffled(std::vector<Bytes> atoms) {
        std::ranges::shuffle(atoms, random_);
        Bytes all;
        for (const Bytes& each : atoms)
            all = joined({all, each, below(4) ? Bytes() : unknown()});
        return all;
    }
    Bytes userData() {
        return atom("udta", joined({atom("\xA9nam", joined({u16(4), u16(0), bytesOf("Film")})),
                                    maybe(unknown()), maybe(u32(0))}));
    }
    Bytes editList() {
        return atom(
            "edts",
            joined({maybe(unknown()),
                    atom("elst", joined({u32(0), u32(2), u32(50), u32(0xFFFFFFFF), u32(0x10000),
                                         u32(600), u32(below(100)), u32(0x10000)}))}));
    }
    Bytes track(std::uint32_t id) {
        const Bytes mediaAtom = atom(
            "mdia", joined({mediaHeader(), maybe(unknown()), handler("vide"), maybe(unknown()),
                            mediaInformation(sampleTable(maybe(unknown()))), maybe(unknown())}));
        const Bytes references =
            atom("tref", joined({atom("chap", u32(1)), maybe(atom("ssrc", u32(2)))}));
        return atom(
            "trak",
            joined({trackHeader(id),
                    shuffled({maybe(editList()), mediaAtom, maybe(references), maybe(userData()),
                              maybe(atom("load", joined({u32(0), u32(9), u32(1), u32(0)}))),
                              maybe(atom("tapt", atom("clef", zeros(12))))})}));
    }

    std::mt19937 random_{1};
};

TEST_P(ChangedAtoms, InMoviesOfRandomStructureAreThoseOfTheChange) {
    RandomMovies movies;
    for (int i = 0; i < 300; ++i) {
        const Bytes bytes = movies.next();
        const auto movie = readMovieAtom(shared(bytes));
        ASSERT_TRUE(movie) << movie.failure().message;
        ASSERT_TRUE(write(**movie) == bytes) << i;
        expectOnlyWhatIsAllowed(**movie);
    }
}

INSTANTIATE_TEST_SUITE_P(
    MovieFiles, ChangedAtoms,
    testing::Values(
        Change{"UserData", addUserData, {"+moov/udta", "+moov/udta/Xtra", "moov/udta/Xtra"}},
        Change{"TrackName", addTrackName, {"+moov/trak/udta", "+moov/trak/udta/name"}},
        Change{"Poster", setPoster, {"moov/mvhd"}}, Change{"Preview", setPreview, {"moov/mvhd"}},
        Change{"EnabledTrack", enableTrack, {"moov/trak/tkhd"}},
        Change{"Volume", setVolume, {"moov/trak/tkhd"}},
        Change{"Language", setLanguage, {"moov/trak/mdia/mdhd"}},
        Change{"Edit",
               insertEdit,
               {"moov/mvhd", "moov/trak/tkhd", "moov/trak/edts/elst", "+moov/trak/edts"}},
        Change{"Timecode",
               addTimecode,
               {"moov/mvhd", "+moov/trak", "+moov/trak/tref", "moov/trak/tref"}}),
    [](const auto& change) { return std::string(change.param.name); });

}  // namespace
}  // namespace TWQuickTime::moviefile
