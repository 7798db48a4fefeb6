#include "Engines/moviefile/BlockWriter.h"

#include <algorithm>
#include <cerrno>

#include <gtest/gtest.h>

#include "AtomBytes.h"
#include "Engines/moviefile/FileStorage.h"
#include "Engines/moviefile/MemoryStorage.h"
#include "TemporaryDirectory.h"

namespace TWQuickTime::moviefile::test {
namespace {

using result::FailureKind;
using result::Status;

constexpr std::size_t block = BlockWriter::blockSizeInBytes;

/// Writes so many bytes, in pieces of at most `greatestPiece`, each telling its place in the row.
Status writeRow(BlockWriter& writer, std::size_t count, std::size_t greatestPiece) {
    for (std::size_t done = 0; done < count;) {
        const std::span<std::byte> room = writer.room();
        const std::size_t size = std::min({count - done, room.size(), greatestPiece});
        for (std::size_t i = 0; i < size; ++i)
            room[i] = static_cast<std::byte>((done + i) * 31 >> 3);
        if (Status taken = writer.take(size); !taken)
            return taken;
        done += size;
    }
    return writer.flush();
}

Bytes row(std::size_t count) {
    Bytes bytes(count);
    for (std::size_t i = 0; i < count; ++i)
        bytes[i] = static_cast<std::byte>(i * 31 >> 3);
    return bytes;
}

TEST(BlockWriter, WritesRowsOfAnyLengthFromAnyOffset) {
    for (const std::size_t offset :
         {std::size_t{0}, std::size_t{5}, block - 1, block, block + 4095})
        for (const std::size_t count : {std::size_t{0}, std::size_t{1}, block - 5, block, 2 * block,
                                        3 * block + 77, 9 * block + 1}) {
            MemoryStorage storage{Bytes(offset)};
            BlockWriter writer(storage, offset);
            ASSERT_TRUE(writeRow(writer, count, 1'000'003));
            EXPECT_EQ(writer.offset(), offset + count);
            EXPECT_TRUE(storage.contents() == joined({Bytes(offset), row(count)}))
                << offset << " " << count;
        }
}

TEST(BlockWriter, AFileHoldsTheRowToo) {
    const TWQuickTime::test::TemporaryDirectory folder;
    auto file = FileStorage::createNew(folder.file("a"));
    ASSERT_TRUE(file);
    BlockWriter writer(**file, 4099);
    ASSERT_TRUE(writeRow(writer, 9 * block + 1234, 700'001));
    Bytes all(4099 + 9 * block + 1234);
    ASSERT_EQ(*(*file)->sizeInBytes(), all.size());
    ASSERT_TRUE((*file)->readExactly(0, all));
    EXPECT_TRUE(all == joined({Bytes(4099), row(9 * block + 1234)}));
}

TEST(BlockWriter, ARowShorterThanABlockIsOneWrite) {
    MemoryStorage storage;
    BlockWriter writer(storage, 0);
    ASSERT_TRUE(writeRow(writer, 5000, 10));
    EXPECT_EQ(storage.operationCount(), 1u);
}

TEST(BlockWriter, WritesNothingAfterItGaveUp) {
    MemoryStorage storage;
    BlockWriter writer(storage, 0);
    ASSERT_TRUE(writer.take(writer.room().size()));
    ASSERT_TRUE(writer.take(writer.room().size()));
    writer.giveUp();
    const std::size_t operations = storage.operationCount();
    const Status refused = writeRow(writer, 5 * block, block);
    ASSERT_FALSE(refused);
    EXPECT_EQ(refused.failure().kind, FailureKind::cancelled);
    EXPECT_EQ(storage.operationCount(), operations);
}

TEST(BlockWriter, LeavesOutWhatIsSkipped) {
    MemoryStorage storage;
    BlockWriter writer(storage, 0);
    ASSERT_TRUE(writeRow(writer, 3, 3));
    writer.skip(2 * block);
    ASSERT_TRUE(writeRow(writer, 2, 2));
    EXPECT_TRUE(storage.contents() == joined({row(3), Bytes(2 * block), row(2)}));
}

TEST(BlockWriter, EveryFailureIsReturnedAtTheLatestByTheFlush) {
    // Nine whole blocks and a rest are ten writes.
    for (std::size_t failing = 0; failing < 10; ++failing) {
        MemoryStorage storage;
        storage.failOperation(failing, ENOSPC, 10);
        BlockWriter writer(storage, 0);
        const Status written = writeRow(writer, 9 * block + 9, block);
        ASSERT_FALSE(written) << failing;
        EXPECT_EQ(written.failure().systemError, ENOSPC);
        EXPECT_EQ(storage.operationCount(), failing + 1) << "written on after a failure";
    }
}

TEST(BlockWriter, GivenUpItWritesNoBlockThatIsNotFull) {
    MemoryStorage storage;
    {
        BlockWriter writer(storage, 0);
        for (const std::size_t size : {block, block - 1}) {
            std::fill_n(writer.room().begin(), size, std::byte{1});
            ASSERT_TRUE(writer.take(size));
        }
    }
    EXPECT_LE(storage.contents().size(), block);
    EXPECT_EQ(storage.contents(), Bytes(storage.contents().size(), std::byte{1}));
}

}  // namespace
}  // namespace TWQuickTime::moviefile::test
