#include "Engines/moviefile/MovieAtomUpdate.h"

#include <cerrno>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Engines/moviefile/AtomTypes.h"
#include "Engines/moviefile/FileSurvey.h"
#include "Engines/moviefile/MediaDataWriter.h"
#include "Engines/moviefile/MemoryStorage.h"
#include "PowerFailure.h"
#include "UpdateLayouts.h"

namespace TWQuickTime::moviefile::test {
namespace {

using result::FailureKind;
using result::Status;
using ::testing::AnyOf;
using ::testing::Eq;

const Bytes samples = bytesOf("the samples that come with the new movie");

/// Appends samples and makes "new" the movie, as an update after adding media does.
Status update(Storage& storage, const std::string& text = "new",
              std::size_t sizeInBytes = newMovieSizeInBytes) {
    MediaDataWriter writer(storage);
    if (const auto offset = writer.append(samples); !offset)
        return offset.failure();
    if (Status finished = writer.finish(); !finished)
        return finished;
    const Bytes movie = movieAtom(text, sizeInBytes);
    const auto place = replaceMovieAtom(storage, {.movieAtom = movie});
    return place ? Status() : Status(place.failure());
}

/// The same without media data.
Status replace(Storage& storage, const std::string& text = "new",
               std::size_t sizeInBytes = newMovieSizeInBytes, bool retireFragments = false) {
    const Bytes movie = movieAtom(text, sizeInBytes);
    const auto place = replaceMovieAtom(
        storage, {.movieAtom = movie, .stillRead = {}, .retireFragments = retireFragments});
    return place ? Status() : Status(place.failure());
}

Bytes payloadOf(const Bytes& file, const OuterAtom& atom) {
    const auto first = file.begin() + static_cast<std::ptrdiff_t>(atom.payloadOffset());
    return {first, file.begin() + static_cast<std::ptrdiff_t>(atom.end())};
}

FileSurvey survey(const Bytes& file) {
    auto surveyed = surveyFile(MemoryStorage(file));
    EXPECT_TRUE(surveyed) << surveyed.failure().message;
    return surveyed ? *surveyed : FileSurvey{};
}

class UpdateOfALayout : public ::testing::TestWithParam<UpdateLayout> {
  protected:
    std::string old() const { return GetParam().hasMovie ? "old" : "none"; }

    /// Runs one kind of update and returns what it did to the storage.
    std::vector<StorageOperation> operationsOf(Status (*change)(Storage&)) {
        MemoryStorage storage(GetParam().bytes);
        storage.startRecording();
        const Status changed = change(storage);
        EXPECT_TRUE(changed) << changed.failure().message;
        EXPECT_EQ(opensAs(storage), "new");
        return storage.operations();
    }
};

Status updateWithMedia(Storage& storage) {
    return update(storage);
}
Status replaceOnly(Storage& storage) {
    return replace(storage);
}

TEST_P(UpdateOfALayout, GivesTheNewMovieAndKeepsEverythingElse) {
    MemoryStorage storage(GetParam().bytes);
    ASSERT_TRUE(update(storage));
    EXPECT_EQ(opensAs(storage), "new");

    const FileSurvey after = survey(storage.contents());
    EXPECT_EQ(after.endOfAtoms, after.sizeInBytes);
    EXPECT_TRUE(after.atoms.back().whole);
    EXPECT_FALSE(after.atoms.back().toEndOfFile);
    std::size_t movies = 0;
    bool samplesFound = false;
    for (const OuterAtom& atom : after.atoms) {
        movies += atom.type == typeMovie;
        samplesFound = samplesFound || (atom.type == typeMediaData &&
                                        payloadOf(storage.contents(), atom) == samples);
    }
    EXPECT_EQ(movies, 1u);
    EXPECT_TRUE(samplesFound);

    // What was neither movie nor free space is where it was, to the byte.
    if (GetParam().bytes.empty())
        return;
    for (const OuterAtom& atom : survey(GetParam().bytes).atoms) {
        if (atom.type == typeMovie || atom.type == typeFree || atom.type == typeSkip)
            continue;
        const Bytes stored = payloadOf(GetParam().bytes, atom);
        const auto there =
            storage.contents().begin() + static_cast<std::ptrdiff_t>(atom.payloadOffset());
        EXPECT_TRUE(std::equal(stored.begin(), stored.end(), there));
    }
}

TEST_P(UpdateOfALayout, UsesFreeSpaceWhereTheMovieFits) {
    MemoryStorage storage(GetParam().bytes);
    ASSERT_TRUE(replace(storage));
    if (GetParam().roomForNew)
        EXPECT_EQ(storage.contents().size(), GetParam().bytes.size());
    else
        EXPECT_GT(storage.contents().size(), GetParam().bytes.size());
}

TEST_P(UpdateOfALayout, KilledAtAnyByteLeavesTheOldOrTheNewMovieAndCanBeUpdatedAgain) {
    for (auto* change : {&updateWithMedia, &replaceOnly}) {
        const auto operations = operationsOf(change);
        forEachKill(GetParam().bytes, operations,
                    [&](const Bytes& image, const std::string& moment) {
                        const std::string found = opensAs(image);
                        ASSERT_THAT(found, AnyOf(Eq(old()), Eq("new"))) << moment;
                        MemoryStorage again(image);
                        const Status changed = update(again, "later", 120);
                        // A size that was torn while it was written is told, never guessed.
                        ASSERT_EQ(opensAs(again), changed ? "later" : found) << moment;
                    });
    }
}

TEST_P(UpdateOfALayout, KilledBetweenTwoOperationsCanAlwaysBeUpdatedAgain) {
    const auto operations = operationsOf(&updateWithMedia);
    Bytes image = GetParam().bytes;
    for (const StorageOperation& operation : operations) {
        MemoryStorage again(image);
        const Status changed = update(again, "later", 120);
        ASSERT_TRUE(changed) << changed.failure().message;
        ASSERT_EQ(opensAs(again), "later");
        operation.applyTo(image);
    }
}

TEST_P(UpdateOfALayout, APowerFailureLeavesTheOldOrTheNewMovie) {
    for (auto* change : {&updateWithMedia, &replaceOnly}) {
        const auto operations = operationsOf(change);
        forEachPowerFailure(GetParam().bytes, operations,
                            [&](const Bytes& image, const std::string& moment) {
                                ASSERT_THAT(opensAs(image), AnyOf(Eq(old()), Eq("new"))) << moment;
                            });
    }
}

TEST_P(UpdateOfALayout, AfterAPowerFailureAMovieThatIsNewHasItsSamples) {
    const auto operations = operationsOf(&updateWithMedia);
    forEachPowerFailure(
        GetParam().bytes, operations, [&](const Bytes& image, const std::string& moment) {
            if (opensAs(image) != "new")
                return;
            EXPECT_NE(std::search(image.begin(), image.end(), samples.begin(), samples.end()),
                      image.end())
                << moment;
        });
}

TEST_P(UpdateOfALayout, AnyFailureIsReturnedAndTheOldMovieStays) {
    for (auto* change : {&updateWithMedia, &replaceOnly}) {
        const std::size_t count = operationsOf(change).size();
        for (const int systemError : {ENOSPC, EIO}) {
            for (std::size_t index = 0; index < count; ++index) {
                for (const std::size_t bytes : {std::size_t{0}, std::size_t{2}, SIZE_MAX}) {
                    MemoryStorage storage(GetParam().bytes);
                    storage.failOperation(index, systemError, bytes);
                    const Status changed = change(storage);
                    ASSERT_FALSE(changed) << index;
                    EXPECT_EQ(changed.failure().systemError, systemError) << index;
                    EXPECT_EQ(opensAs(storage), old()) << index << ", " << bytes << " bytes";
                    EXPECT_TRUE(replace(storage, "later", 120)) << index << ", " << bytes;
                    EXPECT_EQ(opensAs(storage), "later") << index << ", " << bytes;
                }
            }
        }
    }
}

TEST_P(UpdateOfALayout, AFullDiskIsReturnedAndTheOldMovieStays) {
    MemoryStorage complete(GetParam().bytes);
    ASSERT_TRUE(update(complete));
    for (std::size_t limit = GetParam().bytes.size(); limit < complete.contents().size(); ++limit) {
        MemoryStorage storage(GetParam().bytes);
        storage.limitSizeInBytes(limit);
        const Status changed = update(storage);
        ASSERT_FALSE(changed) << limit;
        EXPECT_EQ(changed.failure().kind, FailureKind::noSpace);
        EXPECT_EQ(opensAs(storage), old()) << limit;
    }
}

TEST_P(UpdateOfALayout, AFailureAfterTheSwitchThatCannotBeUndoneStillLeavesAMovie) {
    const std::size_t count = operationsOf(&updateWithMedia).size();
    for (std::size_t index = 0; index < count; ++index) {
        for (std::size_t bytes = 0; bytes <= 4; ++bytes) {
            MemoryStorage storage(GetParam().bytes);
            storage.stopAfter(index, bytes);
            EXPECT_FALSE(update(storage));
            EXPECT_THAT(opensAs(storage), AnyOf(Eq(old()), Eq("new"))) << index;
        }
    }
}

INSTANTIATE_TEST_SUITE_P(MovieAtomUpdate, UpdateOfALayout, ::testing::ValuesIn(updateLayouts()),
                         [](const auto& layout) {
                             std::string name;
                             for (const char c : layout.param.name)
                                 if (std::isalnum(static_cast<unsigned char>(c)))
                                     name += c;
                             return name;
                         });

TEST(MovieAtomUpdate, ChangesTheSwitchInFourBytesAndSyncsBeforeAndAfter) {
    MemoryStorage storage(joined({fileType(), atom("mdat", Bytes(30)), movieAtom("old")}));
    storage.startRecording();
    ASSERT_TRUE(replace(storage));
    const auto& operations = storage.operations();
    ASSERT_EQ(operations.size(), 5u);
    EXPECT_EQ(operations[2].kind, StorageOperation::Kind::sync);
    EXPECT_EQ(operations[3].bytes, bytesOf("free"));
    EXPECT_EQ(operations[3].offset, 20u + 38u + 4u);
    EXPECT_EQ(operations[4].kind, StorageOperation::Kind::sync);
}

TEST(MovieAtomUpdate, WritesNoMoreThanTheMovieAtomHoweverLargeTheMedia) {
    MemoryStorage storage(joined({fileType(), atom("mdat", Bytes(1 << 20)), movieAtom("old")}));
    storage.startRecording();
    ASSERT_TRUE(replace(storage));
    std::size_t written = 0;
    for (const StorageOperation& operation : storage.operations())
        written += operation.bytes.size();
    EXPECT_EQ(written, newMovieSizeInBytes + 4);
}

TEST(MovieAtomUpdate, ManyUpdatesOfAGrowingMovieTakeBoundedRoom) {
    MemoryStorage storage(joined({fileType(), atom("mdat", Bytes(1000)), movieAtom("old", 300)}));
    std::size_t size = 300;
    for (int i = 0; i < 200; ++i) {
        size += 9;
        ASSERT_TRUE(replace(storage, "new", size)) << i;
        ASSERT_EQ(opensAs(storage), "new") << i;
    }
    EXPECT_LT(storage.contents().size(), 1100 + 5 * size);
}

TEST(MovieAtomUpdate, UpdatesOfOneSizeAlternateBetweenTwoPlaces) {
    MemoryStorage storage(joined({fileType(), movieAtom("old"), atom("mdat", Bytes(100))}));
    ASSERT_TRUE(replace(storage, "one", 64));
    const std::size_t size = storage.contents().size();
    for (int i = 0; i < 10; ++i)
        ASSERT_TRUE(replace(storage, i % 2 ? "one" : "two", 64));
    EXPECT_EQ(storage.contents().size(), size);
}

TEST(MovieAtomUpdate, LeavesFreeSpaceAloneThatIsStillRead) {
    MemoryStorage storage(joined({fileType(), movieAtom("old"), atom("mdat", Bytes(100))}));
    const ByteRange opened{20, 64};
    ASSERT_TRUE(replace(storage, "one", 64));
    const Bytes movie = movieAtom("two");
    const auto place =
        replaceMovieAtom(storage, {.movieAtom = movie, .stillRead = std::span(&opened, 1)});
    ASSERT_TRUE(place);
    EXPECT_GT(place->offset, 84u);
    const Bytes still(storage.contents().begin() + 28, storage.contents().begin() + 84);
    const Bytes old = movieAtom("old");
    EXPECT_EQ(still, Bytes(old.begin() + 8, old.end()));
}

TEST(MovieAtomUpdate, FragmentsBecomeFreeOnlyWhenTheNewMovieHoldsTheirSamples) {
    const Bytes file = joined({fileType(), movieAtom("old"), atom("moof", Bytes(30)),
                               atom("mdat", Bytes(10)), atom("mfra", Bytes(16))});
    MemoryStorage kept(file);
    ASSERT_TRUE(replace(kept));
    MemoryStorage folded(file);
    ASSERT_TRUE(replace(folded, "new", newMovieSizeInBytes, true));
    const auto count = [](const Bytes& bytes, std::uint32_t type) {
        std::size_t found = 0;
        for (const OuterAtom& atom : survey(bytes).atoms)
            found += atom.type == type;
        return found;
    };
    EXPECT_EQ(count(kept.contents(), typeMovieFragment), 1u);
    EXPECT_EQ(count(folded.contents(), typeMovieFragment), 0u);
    EXPECT_EQ(count(folded.contents(), typeFragmentAccess), 0u);
    EXPECT_EQ(count(folded.contents(), typeMediaData), 1u);
}

TEST(MovieAtomUpdate, AFailureWhileFragmentsBecomeFreeBringsThemAndTheOldMovieBack) {
    const Bytes file = joined({fileType(), movieAtom("old"), atom("moof", Bytes(30)),
                               atom("mdat", Bytes(10)), atom("moof", Bytes(16))});
    MemoryStorage complete(file);
    complete.startRecording();
    ASSERT_TRUE(replace(complete, "new", newMovieSizeInBytes, true));
    for (std::size_t index = 0; index < complete.operations().size(); ++index) {
        MemoryStorage storage(file);
        storage.failOperation(index, EIO, SIZE_MAX);
        ASSERT_FALSE(replace(storage, "new", newMovieSizeInBytes, true));
        EXPECT_EQ(storage.contents(), file) << index;
    }
}

TEST(MovieAtomUpdate, RefusesBytesThatAreNoWholeMovieAtom) {
    MemoryStorage storage(joined({fileType(), movieAtom("old")}));
    for (const Bytes& bad : {Bytes(), Bytes(7), atom("mdat", Bytes(10)),
                             joined({u32(100), bytesOf("moov"), Bytes(10)})}) {
        const auto place = replaceMovieAtom(storage, {.movieAtom = bad});
        ASSERT_FALSE(place);
        EXPECT_EQ(place.failure().kind, FailureKind::badArgument);
    }
    EXPECT_EQ(storage.operationCount(), 0u);
}

TEST(MovieAtomUpdate, RefusesAFileWhoseEndItCannotFind) {
    const Bytes file = joined({fileType(), movieAtom("old"), u32(3), Bytes(20)});
    MemoryStorage storage(file);
    EXPECT_FALSE(replace(storage));
    EXPECT_EQ(storage.contents(), file);
}

TEST(MovieAtomUpdate, RefusesAFileThatIsNoMovieFile) {
    MemoryStorage storage(bytesOf("short"));
    EXPECT_FALSE(replace(storage));
    EXPECT_EQ(storage.contents(), bytesOf("short"));
}

}  // namespace
}  // namespace TWQuickTime::moviefile::test
