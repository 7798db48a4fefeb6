#include "Engines/moviefile/OuterAtoms.h"

#include <gtest/gtest.h>

#include "AtomBytes.h"
#include "Engines/moviefile/AtomTypes.h"
#include "Engines/moviefile/MemoryStorage.h"

namespace TWQuickTime::moviefile::test {
namespace {

using result::FailureKind;

std::vector<OuterAtom> walk(const MemoryStorage& storage) {
    std::vector<OuterAtom> atoms;
    OuterAtomWalker walker(storage);
    while (true) {
        auto atom = walker.next();
        EXPECT_TRUE(atom) << atom.failure().message;
        if (!atom || !*atom)
            return atoms;
        atoms.push_back(**atom);
    }
}

TEST(OuterAtomWalker, KnowsSmallLargeAndEndlessHeaders) {
    const MemoryStorage storage(joined(
        {fileType(), largeAtom("mdat", bytesOf("media")), endlessAtom("moov", bytesOf("movie"))}));
    const auto atoms = walk(storage);
    ASSERT_EQ(atoms.size(), 3u);
    EXPECT_EQ(atoms[0].type, typeFileType);
    EXPECT_EQ(atoms[0].sizeInBytes, 20u);
    EXPECT_EQ(atoms[1].offset, 20u);
    EXPECT_EQ(atoms[1].headerSizeInBytes, 16u);
    EXPECT_EQ(atoms[1].payloadOffset(), 36u);
    EXPECT_EQ(atoms[1].end(), 41u);
    EXPECT_TRUE(atoms[2].toEndOfFile);
    EXPECT_TRUE(atoms[2].whole);
    EXPECT_EQ(atoms[2].sizeInBytes, 13u);
}

TEST(OuterAtomWalker, EndsAtFewerThanEightStrayBytes) {
    const MemoryStorage storage(joined({fileType(), Bytes(7)}));
    OuterAtomWalker walker(storage);
    EXPECT_TRUE(walker.next()->has_value());
    EXPECT_FALSE(walker.next()->has_value());
    EXPECT_EQ(walker.offset(), 20u);
}

TEST(OuterAtomWalker, CutsAnAtomThatReachesPastTheEndOfTheFile) {
    Bytes bytes = joined({fileType(), atom("mdat", Bytes(100))});
    bytes.resize(bytes.size() - 1);
    const auto atoms = walk(MemoryStorage(bytes));
    ASSERT_EQ(atoms.size(), 2u);
    EXPECT_FALSE(atoms[1].whole);
    EXPECT_EQ(atoms[1].end(), bytes.size());
}

TEST(OuterAtomWalker, TakesA64BitSizeNearTheLimitForACutOffAtom) {
    const auto atoms = walk(
        MemoryStorage(joined({u32(1), bytesOf("mdat"), u64(0xffff'ffff'ffff'ffff), Bytes(3)})));
    ASSERT_EQ(atoms.size(), 1u);
    EXPECT_FALSE(atoms[0].whole);
    EXPECT_EQ(atoms[0].sizeInBytes, 19u);
}

TEST(OuterAtomWalker, RefusesSizesSmallerThanTheHeader) {
    for (const Bytes& bad :
         {joined({u32(7), bytesOf("mdat")}), joined({u32(1), bytesOf("mdat"), u64(15)})}) {
        const MemoryStorage storage(joined({fileType(), bad}));
        OuterAtomWalker walker(storage);
        EXPECT_TRUE(walker.next());
        const auto second = walker.next();
        ASSERT_FALSE(second);
        EXPECT_EQ(second.failure().kind, FailureKind::damaged);
        EXPECT_EQ(second.failure().message, "memory @ 20: an atom smaller than its header");
    }
}

TEST(OuterAtomWalker, WalksCountlessTinyAtoms) {
    Bytes bytes;
    const Bytes tiny = atom("free");
    for (int i = 0; i < 5000; ++i)
        bytes.insert(bytes.end(), tiny.begin(), tiny.end());
    EXPECT_EQ(walk(MemoryStorage(bytes)).size(), 5000u);
}

TEST(FindMovieAtom, TakesTheFirstOfTwoMovies) {
    const auto found =
        findMovieAtom(MemoryStorage(joined({fileType(), movieAtom("one"), movieAtom("two")})));
    ASSERT_TRUE(found);
    EXPECT_EQ(found->offset, 20u);
}

TEST(FindMovieAtom, DoesNotLookAtWhatFollowsTheMovie) {
    EXPECT_TRUE(findMovieAtom(MemoryStorage(joined({movieAtom("one"), u32(3), Bytes(100)}))));
}

TEST(FindMovieAtom, TellsAbsentCutOffAndDamagedApart) {
    EXPECT_EQ(findMovieAtom(MemoryStorage(fileType())).failure().kind, FailureKind::notFound);
    EXPECT_EQ(findMovieAtom(MemoryStorage(Bytes())).failure().kind, FailureKind::notFound);
    Bytes cut = joined({fileType(), movieAtom("one")});
    cut.pop_back();
    EXPECT_EQ(findMovieAtom(MemoryStorage(cut)).failure().kind, FailureKind::truncated);
    EXPECT_EQ(findMovieAtom(MemoryStorage(joined({u32(2), bytesOf("ftyp"), movieAtom("one")})))
                  .failure()
                  .kind,
              FailureKind::damaged);
}

}  // namespace
}  // namespace TWQuickTime::moviefile::test
