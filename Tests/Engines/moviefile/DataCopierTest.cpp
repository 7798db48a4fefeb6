#include "Engines/moviefile/DataCopier.h"

#include <algorithm>
#include <cerrno>
#include <random>

#include <gtest/gtest.h>

#include "AtomBytes.h"
#include "Engines/moviefile/FileStorage.h"
#include "Engines/moviefile/MemoryStorage.h"
#include "Engines/moviefile/StorageSampleStore.h"
#include "TemporaryDirectory.h"

namespace TWQuickTime::moviefile::test {
namespace {

using result::FailureKind;
using result::Status;

/// A store in memory that counts how it is read.
class CountingStore final : public timeline::SampleStore {
  public:
    explicit CountingStore(Bytes bytes) : bytes_(std::move(bytes)) {}
    std::uint64_t size() const override { return bytes_.size(); }
    Status read(std::uint64_t offset, std::span<std::byte> into) const override {
        ++reads;
        bytesRead += into.size();
        if (offset > bytes_.size() || into.size() > bytes_.size() - offset)
            return result::Failure{FailureKind::truncated, "past the end"};
        std::copy_n(bytes_.begin() + static_cast<std::ptrdiff_t>(offset), into.size(),
                    into.begin());
        return {};
    }
    mutable std::size_t reads = 0;
    mutable std::uint64_t bytesRead = 0;

  private:
    Bytes bytes_;
};

Bytes randomBytes(std::size_t count) {
    std::mt19937 generator(7);
    Bytes bytes(count);
    for (std::byte& byte : bytes)
        byte = static_cast<std::byte>(generator());
    return bytes;
}

TEST(DataCopier, CopiesAnyMixtureOfRangesInOrder) {
    const Bytes one = randomBytes(3'000'000);
    const Bytes two = randomBytes(700'000);
    const CountingStore first(one);
    const CountingStore second(two);
    MemoryStorage destination(bytesOf("head"));
    DataCopier copier(destination, 4);
    Bytes expected = bytesOf("head");
    std::mt19937 generator(11);
    for (int i = 0; i < 2000; ++i) {
        const bool fromFirst = generator() % 2;
        const Bytes& bytes = fromFirst ? one : two;
        const std::size_t greatest = i % 50 == 0 ? 400'000 : 300;
        const std::size_t size = generator() % greatest;
        const std::size_t offset = generator() % (bytes.size() - size);
        ASSERT_TRUE(copier.add(fromFirst ? first : second, offset, size));
        expected.insert(expected.end(), bytes.begin() + static_cast<std::ptrdiff_t>(offset),
                        bytes.begin() + static_cast<std::ptrdiff_t>(offset + size));
        ASSERT_EQ(copier.offset(), expected.size());
    }
    ASSERT_TRUE(copier.finish());
    EXPECT_EQ(destination.contents(), expected);
}

TEST(DataCopier, RangesThatFollowEachOtherAreOneCopyInBlocks) {
    const Bytes bytes = randomBytes(4'000'000);
    const CountingStore store(bytes);
    MemoryStorage destination;
    DataCopier copier(destination, 0);
    for (std::uint64_t offset = 0; offset < bytes.size(); offset += 1000)
        ASSERT_TRUE(copier.add(store, offset, 1000));
    ASSERT_TRUE(copier.finish());
    EXPECT_EQ(destination.contents(), bytes);
    EXPECT_LE(store.reads, bytes.size() / BlockWriter::blockSizeInBytes + 2);
    EXPECT_LE(destination.operationCount(), bytes.size() / BlockWriter::blockSizeInBytes + 2);
}

TEST(DataCopier, ManySmallRangesOfTwoInterleavedSequencesNeedFewReads) {
    const Bytes bytes = randomBytes(4'000'000);
    const CountingStore store(bytes);
    MemoryStorage destination;
    DataCopier copier(destination, 0);
    Bytes expected;
    const auto add = [&](std::size_t offset) {
        ASSERT_TRUE(copier.add(store, offset, 100));
        expected.insert(expected.end(), bytes.begin() + static_cast<std::ptrdiff_t>(offset),
                        bytes.begin() + static_cast<std::ptrdiff_t>(offset + 100));
    };
    // Every other range of two sequences, far apart.
    for (std::size_t i = 0; i < 9'000; ++i) {
        add(i * 200);
        add(2'000'000 + i * 200);
    }
    ASSERT_TRUE(copier.finish());
    EXPECT_EQ(destination.contents(), expected);
    EXPECT_LT(store.reads, 100u);
    EXPECT_LE(store.bytesRead, bytes.size() + 200'000);
}

TEST(DataCopier, SmallRangesFarApartAreReadExactly) {
    const CountingStore store(randomBytes(8'000'000));
    MemoryStorage destination;
    DataCopier copier(destination, 0);
    for (std::uint64_t offset = 0; offset + 100 < store.size(); offset += 200'000)
        ASSERT_TRUE(copier.add(store, offset, 100));
    ASSERT_TRUE(copier.finish());
    EXPECT_EQ(store.bytesRead, destination.contents().size());
}

TEST(DataCopier, ARangePastTheEndOfItsStoreIsAFailureForSmallAndLargeOnes) {
    for (const std::uint64_t size : {std::uint64_t{200}, std::uint64_t{900'000}}) {
        const CountingStore store(randomBytes(500));
        MemoryStorage destination;
        DataCopier copier(destination, 0);
        ASSERT_TRUE(copier.add(store, 0, 100));
        Status status = copier.add(store, 400, size);
        if (status)
            status = copier.finish();
        ASSERT_FALSE(status);
        EXPECT_EQ(status.failure().kind, FailureKind::truncated);
    }
}

class DataCopierBetweenFiles : public testing::Test {
  protected:
    std::unique_ptr<FileStorage> newFile(const char* name) {
        auto file = FileStorage::createNew(directory_.file(name));
        EXPECT_TRUE(file);
        return std::move(*file);
    }
    TWQuickTime::test::TemporaryDirectory directory_;
};

TEST_F(DataCopierBetweenFiles, CopiesRangesOfAnySizeFromAnywhere) {
    const Bytes bytes = randomBytes(11'000'000);
    const std::shared_ptr<FileStorage> source = newFile("source");
    ASSERT_TRUE(source->write(0, bytes));
    const StorageSampleStore store(source, "");
    const std::unique_ptr<FileStorage> destination = newFile("copy");
    DataCopier copier(*destination, 7);
    Bytes expected(7);
    for (const auto& [offset, size] : {std::pair{4'096, 10'000'000},
                                       {1, 4 << 20},
                                       {77, 600'000},
                                       {10'999'000, 1'000},
                                       {0, 300'000},
                                       {5'000, 6'000'000}}) {
        ASSERT_TRUE(copier.add(store, static_cast<std::uint64_t>(offset),
                               static_cast<std::uint64_t>(size)));
        expected.insert(expected.end(), bytes.begin() + offset, bytes.begin() + offset + size);
    }
    ASSERT_TRUE(copier.finish());
    Bytes copied(expected.size());
    ASSERT_TRUE(destination->readExactly(0, copied));
    EXPECT_TRUE(copied == expected);
    EXPECT_EQ(*destination->sizeInBytes(), expected.size());
}

TEST_F(DataCopierBetweenFiles, ASourceThatEndsWithinARangeIsAFailure) {
    const std::shared_ptr<FileStorage> source = newFile("source");
    ASSERT_TRUE(source->write(0, randomBytes(5'000'000)));
    const StorageSampleStore store(source, "");
    const std::unique_ptr<FileStorage> destination = newFile("copy");
    for (const std::uint64_t offset :
         {1'000'000ull, 4'999'999ull, 9'000'000ull, ~0ull - 9'000'000}) {
        DataCopier copier(*destination, 0);
        Status copied = copier.add(store, offset, 8'000'000);
        if (copied)
            copied = copier.finish();
        ASSERT_FALSE(copied) << offset;
        EXPECT_EQ(copied.failure().kind, FailureKind::truncated) << copied.failure().message;
    }
}

TEST(DataCopier, AFullDiskIsReturned) {
    const CountingStore store(randomBytes(1'000'000));
    MemoryStorage destination;
    destination.limitSizeInBytes(600'000);
    DataCopier copier(destination, 0);
    ASSERT_TRUE(copier.add(store, 0, store.size()));
    const Status finished = copier.finish();
    ASSERT_FALSE(finished);
    EXPECT_EQ(finished.failure().systemError, ENOSPC);
}

TEST(DataCopier, AWriteThatFailsBehindTheCallersBackIsReturned) {
    const CountingStore store(randomBytes(9'000'000));
    for (std::size_t failing = 0; failing < 5; ++failing) {
        MemoryStorage destination;
        destination.failOperation(failing, EIO, 100);
        DataCopier copier(destination, 3);
        Status copied = copier.add(store, 0, store.size());
        if (copied)
            copied = copier.finish();
        ASSERT_FALSE(copied) << failing;
        EXPECT_EQ(copied.failure().systemError, EIO);
    }
}

TEST(DataCopier, TellsItsProgressAndStopsWhenAsked) {
    const CountingStore store(randomBytes(20'000'000));
    std::vector<std::uint64_t> reports;
    {
        MemoryStorage destination;
        DataCopier copier(destination, 0, [&](std::uint64_t copied) {
            reports.push_back(copied);
            return true;
        });
        ASSERT_TRUE(copier.add(store, 0, store.size()));
        ASSERT_TRUE(copier.finish());
    }
    EXPECT_GE(reports.size(), 4u);
    EXPECT_LE(reports.size(), 6u);
    EXPECT_TRUE(std::is_sorted(reports.begin(), reports.end()));

    MemoryStorage destination;
    DataCopier copier(destination, 0, [&](std::uint64_t copied) { return copied < 5'000'000; });
    ASSERT_TRUE(copier.add(store, 0, store.size()));
    const Status finished = copier.finish();
    ASSERT_FALSE(finished);
    EXPECT_EQ(finished.failure().kind, FailureKind::cancelled);
    EXPECT_LT(destination.contents().size(), 10'000'000u);
}

}  // namespace
}  // namespace TWQuickTime::moviefile::test
