#include "Engines/moviefile/MediaDataWriter.h"

#include <cerrno>

#include <gtest/gtest.h>

#include "AtomBytes.h"
#include "Engines/moviefile/MemoryStorage.h"
#include "Engines/moviefile/OuterAtoms.h"

namespace TWQuickTime::moviefile::test {
namespace {

TEST(MediaDataWriter, BeginsANewFileWithItsTypeAndRoomForALargeHeader) {
    MemoryStorage storage;
    MediaDataWriter writer(storage);
    const auto offset = writer.append(bytesOf("sample"));
    ASSERT_TRUE(offset);
    EXPECT_EQ(*offset, 36u);
    ASSERT_TRUE(writer.finish());
    EXPECT_EQ(storage.contents(),
              joined({fileType(), atom("free"), atom("mdat", bytesOf("sample"))}));
}

TEST(MediaDataWriter, TellsOffsetsAtOnceAndWritesManySmallSamplesInFewWrites) {
    MemoryStorage storage;
    MediaDataWriter writer(storage);
    for (std::uint64_t i = 0; i < 100'000; ++i) {
        const auto offset = writer.append(u32(static_cast<std::uint32_t>(i)));
        ASSERT_TRUE(offset);
        ASSERT_EQ(*offset, 36 + 4 * i);
    }
    ASSERT_TRUE(writer.finish());
    EXPECT_LE(storage.operationCount(), 6u);
    const Bytes& file = storage.contents();
    for (std::size_t i = 0; i < 100'000; ++i)
        ASSERT_EQ(loadU32(std::span(file).subspan(36 + 4 * i).first<4>()), i);
}

TEST(MediaDataWriter, KeepsTheOrderOfSmallAndLargeSamples) {
    MemoryStorage storage;
    MediaDataWriter writer(storage, 8);
    EXPECT_EQ(*writer.append(bytesOf("abc")), 36u);
    EXPECT_EQ(*writer.append(bytesOf("0123456789")), 39u);
    EXPECT_EQ(*writer.append(bytesOf("defghi")), 49u);
    EXPECT_EQ(*writer.append(bytesOf("jkl")), 55u);
    EXPECT_EQ(writer.endOffset(), 58u);
    ASSERT_TRUE(writer.finish());
    EXPECT_EQ(storage.contents(),
              joined({fileType(), atom("free"), atom("mdat", bytesOf("abc0123456789defghijkl"))}));
}

TEST(MediaDataWriter, WhatWasFlushedCanBeReadBeforeTheEnd) {
    MemoryStorage storage(joined({fileType(), movieAtom("old")}));
    MediaDataWriter writer(storage);
    const auto offset = writer.append(bytesOf("sample"));
    ASSERT_TRUE(offset);
    ASSERT_TRUE(writer.flush());
    Bytes read(6);
    ASSERT_TRUE(storage.readExactly(*offset, read));
    EXPECT_EQ(read, bytesOf("sample"));
    EXPECT_TRUE(findMovieAtom(storage));
}

TEST(MediaDataWriter, EachFinishEndsAnAtomOfItsOwn) {
    MemoryStorage storage;
    MediaDataWriter writer(storage);
    ASSERT_TRUE(writer.append(bytesOf("one")));
    ASSERT_TRUE(writer.finish());
    EXPECT_FALSE(writer.isOpen());
    ASSERT_TRUE(writer.finish());
    ASSERT_TRUE(writer.append(bytesOf("two")));
    ASSERT_TRUE(writer.finish());
    EXPECT_EQ(storage.contents(), joined({fileType(), atom("free"), atom("mdat", bytesOf("one")),
                                          atom("free"), atom("mdat", bytesOf("two"))}));
}

TEST(MediaDataWriter, RoomForALargeHeaderIsThereWhileTheAtomMayGrow) {
    MemoryStorage storage;
    MediaDataWriter writer(storage);
    ASSERT_TRUE(writer.append(bytesOf("sample")));
    ASSERT_TRUE(writer.flush());
    EXPECT_EQ(storage.contents(),
              joined({fileType(), atom("wide"), endlessAtom("mdat", bytesOf("sample"))}));
}

TEST(MediaDataWriter, DiscardTakesTheUnfinishedAtomBack) {
    const Bytes file = joined({fileType(), movieAtom("old")});
    MemoryStorage storage(file);
    MediaDataWriter writer(storage, 4);
    ASSERT_TRUE(writer.append(bytesOf("a long sample")));
    ASSERT_TRUE(writer.append(bytesOf("abc")));
    ASSERT_TRUE(writer.discard());
    EXPECT_EQ(storage.contents(), file);
    ASSERT_TRUE(writer.append(bytesOf("x")));
    ASSERT_TRUE(writer.finish());
    EXPECT_EQ(storage.contents(), joined({file, atom("free"), atom("mdat", bytesOf("x"))}));
}

TEST(MediaDataWriter, AWriteThatFailedCanBeTriedAgain) {
    MemoryStorage storage;
    MediaDataWriter writer(storage, 4);
    ASSERT_TRUE(writer.append(bytesOf("abc")));
    storage.failOperation(0, ENOSPC, 1);
    EXPECT_FALSE(writer.append(bytesOf("de")));
    const auto offset = writer.append(bytesOf("de"));
    ASSERT_TRUE(offset);
    EXPECT_EQ(*offset, 39u);
    storage.failOperation(0, EIO, 4);
    EXPECT_FALSE(writer.append(bytesOf("a large sample")));
    storage.failOperation(1, EIO, 6);
    EXPECT_FALSE(writer.append(bytesOf("a large sample")));
    ASSERT_TRUE(writer.finish());
    EXPECT_EQ(storage.contents(),
              joined({fileType(), atom("free"), atom("mdat", bytesOf("abcde"))}));
}

}  // namespace
}  // namespace TWQuickTime::moviefile::test
