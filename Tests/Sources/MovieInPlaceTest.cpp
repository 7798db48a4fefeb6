// What a change in place leaves alone: every atom of the movie that the change is not about.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

#include "RunProgram.h"
#include "StMovie.h"
#include "TWUQuickTimeMovie.h"
#include "TemporaryDirectory.h"

namespace TWQuickTime {
namespace {

using testing::IsSubsetOf;

struct Atom {
    std::string type;
    std::string bytes;  ///< with the header
};

std::uint64_t bigEndian(const std::string& bytes, std::size_t offset, std::size_t count) {
    std::uint64_t value = 0;
    for (std::size_t i = 0; i < count; ++i)
        value = value << 8 | static_cast<unsigned char>(bytes[offset + i]);
    return value;
}

std::vector<Atom> atomsIn(const std::string& bytes) {
    std::vector<Atom> atoms;
    for (std::size_t offset = 0; offset + 8 <= bytes.size();) {
        std::uint64_t size = bigEndian(bytes, offset, 4);
        if (size == 1 && offset + 16 <= bytes.size())
            size = bigEndian(bytes, offset + 8, 8);
        if (size == 0)
            size = bytes.size() - offset;
        if (size < 8 || size > bytes.size() - offset)
            break;
        atoms.push_back({bytes.substr(offset + 4, 4), bytes.substr(offset, size)});
        offset += size;
    }
    return atoms;
}

std::string fileContents(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

/// The children of the first movie atom; tracks by their number: "trak1", "trak2" …
std::vector<std::pair<std::string, std::string>> movieParts(const std::string& path) {
    std::vector<std::pair<std::string, std::string>> parts;
    for (const Atom& atom : atomsIn(fileContents(path))) {
        if (atom.type != "moov")
            continue;
        int track = 0;
        for (const Atom& child : atomsIn(atom.bytes.substr(8)))
            parts.emplace_back(child.type == "trak" ? "trak" + std::to_string(++track) : child.type,
                               child.bytes);
        break;
    }
    return parts;
}

/// The parts of the movie that are not what they were, or were not there.
std::vector<std::string> changedParts(const std::string& before, const std::string& after) {
    const auto old = movieParts(before);
    std::vector<std::string> changed;
    for (const auto& part : movieParts(after))
        if (std::find(old.begin(), old.end(), part) == old.end())
            changed.push_back(part.first);
    for (const auto& part : old) {
        const auto now = movieParts(after);
        if (std::none_of(now.begin(), now.end(),
                         [&](const auto& candidate) { return candidate.first == part.first; }))
            changed.push_back("without " + part.first);
    }
    return changed;
}

class MovieInPlace : public testing::Test {
  protected:
    void SetUp() override {
        const std::string folder = test::sampleMediaFolder();
        if (folder.empty())
            GTEST_SKIP() << "TWQT_MEDIA names no folder of sample media";
        for (const auto& entry : std::filesystem::directory_iterator(folder)) {
            const std::string extension = entry.path().extension();
            if (extension == ".mov" || extension == ".mp4" || extension == ".3gp" ||
                extension == ".m4a")
                movies_.push_back(entry.path());
        }
        ASSERT_GT(movies_.size(), 10u);
    }

    /// Those without fragments, which any change folds into the movie.
    std::vector<std::string> wholeMovies() const {
        std::vector<std::string> whole;
        for (const std::string& movie : movies_) {
            const auto parts = movieParts(movie);
            if (std::none_of(parts.begin(), parts.end(),
                             [](const auto& part) { return part.first == "mvex"; }))
                whole.push_back(movie);
        }
        return whole;
    }

    /// A copy of a movie, changed in place.
    template <class Change>
    std::string changedCopy(const std::string& movie, Change change) {
        const std::string copy = directory_.file(std::filesystem::path(movie).filename());
        std::filesystem::copy_file(movie, copy, std::filesystem::copy_options::overwrite_existing);
        StMovie opened{NSString(copy)};
        EXPECT_NE(opened.GetMovie(), nullptr) << movie;
        change(opened);
        EXPECT_EQ(opened.UpdateMovieFile(), noErr) << movie;
        return copy;
    }

    std::vector<std::string> movies_;
    test::TemporaryDirectory directory_;
};

TEST_F(MovieInPlace, IsTheSameWithoutAChange) {
    for (const std::string& movie : movies_)
        EXPECT_EQ(changedParts(movie, changedCopy(movie, [](StMovie&) {})),
                  std::vector<std::string>{})
            << movie;
}

TEST_F(MovieInPlace, ChangesNothingButTheUserDataForAnItem) {
    for (const std::string& movie : wholeMovies())
        EXPECT_THAT(changedParts(movie, changedCopy(movie,
                                                    [](StMovie& opened) {
                                                        TWUQuickTimeMovie::setUserDataInt(
                                                            5, fourCC("abcd"), opened);
                                                    })),
                    testing::ElementsAre("udta"))
            << movie;
}

TEST_F(MovieInPlace, AddsATrackAndChangesTheHeaderForATimecode) {
    for (const std::string& movie : wholeMovies()) {
        int before = 0;
        const std::string copy = changedCopy(movie, [&](StMovie& opened) {
            before = opened.GetTrackCount();
            EXPECT_EQ(TWUQuickTimeMovie::addTimeCode({1, 0, 0, 0}, opened, 30), noErr);
        });
        const std::vector<std::string> expected = {"mvhd", "trak" + std::to_string(before + 1)};
        EXPECT_THAT(changedParts(movie, copy), IsSubsetOf(expected)) << movie;
        EXPECT_TRUE(TWUQuickTimeMovie::hasMovieTimeCodeTrack(StMovie{NSString(copy)})) << movie;
    }
}

TEST_F(MovieInPlace, StaysReadableForOtherPrograms) {
    for (const std::string& movie : movies_) {
        const std::string copy = changedCopy(movie, [](StMovie& opened) {
            TWUQuickTimeMovie::setUserDataInt(5, fourCC("abcd"), opened);
            EXPECT_EQ(TWUQuickTimeMovie::addTimeCode({1, 0, 0, 0}, opened, 30), noErr);
        });
        const auto packets = [](const std::string& path) {
            return test::runProgram({"ffprobe", "-v", "error", "-select_streams", "v",
                                     "-show_entries", "packet=pts_time,size,flags", "-of", "csv",
                                     path})
                .output;
        };
        EXPECT_EQ(packets(copy), packets(movie)) << movie;
    }
}

TEST_F(MovieInPlace, ChangesTheSoundTrackAndAddsAnotherForATween) {
    int tweened = 0;
    for (const std::string& movie : wholeMovies()) {
        int before = 0;
        const std::string copy = changedCopy(movie, [&](StMovie& opened) {
            before = opened.GetTrackCount();
            const double times[] = {0, 0.25, 0.5, 0.75};
            if (const Track sound = opened.GetAudioTrackAtIndex(1)) {
                EXPECT_EQ(opened.CreateNewTweenTrackForAudioTrack(sound, times, 1.0), noErr);
                ++tweened;
            }
        });
        // The header, the sound track and the new track at most.
        EXPECT_LE(changedParts(movie, copy).size(), 3u) << movie;
    }
    EXPECT_GT(tweened, 5);
}

}  // namespace
}  // namespace TWQuickTime
