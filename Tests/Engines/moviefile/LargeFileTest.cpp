// Files past 4 GiB, as sparse files.

#include <sys/mman.h>

#include <gtest/gtest.h>

#include "AtomBytes.h"
#include "Engines/moviefile/AtomTypes.h"
#include "Engines/moviefile/FileSurvey.h"
#include "Engines/moviefile/MediaDataWriter.h"
#include "Engines/moviefile/MovieAtomUpdate.h"
#include "HoleStorage.h"
#include "Tests/Support/TemporaryDirectory.h"
#include "UpdateLayouts.h"

namespace TWQuickTime::moviefile::test {
namespace {

using TWQuickTime::test::TemporaryDirectory;

constexpr std::uint64_t fiveGiB = std::uint64_t{5} << 30;

/// Zeros that cost no memory as long as nobody touches them.
class VirtualZeros {
  public:
    explicit VirtualZeros(std::size_t sizeInBytes)
        : size_(sizeInBytes),
          address_(mmap(nullptr, sizeInBytes, PROT_READ,
                        MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0)) {}
    ~VirtualZeros() { munmap(address_, size_); }
    VirtualZeros(const VirtualZeros&) = delete;
    VirtualZeros& operator=(const VirtualZeros&) = delete;
    std::span<const std::byte> bytes() const {
        return {static_cast<const std::byte*>(address_), size_};
    }

  private:
    std::size_t size_;
    void* address_;
};

class LargeFile : public ::testing::Test {
  protected:
    /// A file that begins with the bytes and is five gibibytes long.
    std::unique_ptr<FileStorage> fileOf(const Bytes& bytes) {
        auto file = FileStorage::createOrEmpty(folder_.file("large"));
        EXPECT_TRUE(file);
        EXPECT_TRUE((*file)->write(0, bytes));
        EXPECT_TRUE((*file)->truncate(fiveGiB));
        return std::move(*file);
    }

    static result::Status update(Storage& storage) {
        const Bytes movie = movieAtom("new", 300);  // too large for the free atoms here
        const auto place = replaceMovieAtom(storage, {.movieAtom = movie});
        return place ? result::Status() : result::Status(place.failure());
    }

    TemporaryDirectory folder_;
};

TEST_F(LargeFile, MediaToTheEndOfTheFileGetAWideHeaderFromTheAtomInFront) {
    const Bytes movie = movieAtom("old");
    for (const Bytes& front :
         {atom("wide"), atom("free"), atom("skip", Bytes(8)), atom("free", Bytes(100))}) {
        const Bytes start = joined({fileType(), movie, front, endlessAtom("mdat")});
        const auto file = fileOf(start);
        HoleStorage storage(*file);
        const auto updated = update(storage);
        ASSERT_TRUE(updated) << updated.failure().message;
        EXPECT_EQ(opensAs(storage), "new");
        const auto survey = surveyFile(storage);
        ASSERT_TRUE(survey);
        const OuterAtom& media = survey->atoms[survey->atoms.size() - 2];
        EXPECT_EQ(media.type, typeMediaData);
        EXPECT_EQ(media.headerSizeInBytes, 16u);
        EXPECT_EQ(media.payloadOffset(), start.size()) << "the data stay where they are";
        EXPECT_EQ(media.end(), fiveGiB);
    }
}

TEST_F(LargeFile, MediaToTheEndOfTheFileWithoutRoomForAWideHeaderAreRefused) {
    const auto file = fileOf(joined({fileType(), movieAtom("old"), endlessAtom("mdat")}));
    HoleStorage storage(*file);
    const auto updated = update(storage);
    ASSERT_FALSE(updated);
    EXPECT_EQ(updated.failure().kind, result::FailureKind::unsupported);
    EXPECT_EQ(opensAs(storage), "old");
    EXPECT_EQ(*storage.sizeInBytes(), fiveGiB);
}

TEST_F(LargeFile, ZerosThatAPowerFailureLeftBecomeFreeSpace) {
    const auto file = fileOf(joined({fileType(), movieAtom("old")}));
    HoleStorage storage(*file);
    ASSERT_TRUE(update(storage));
    EXPECT_EQ(opensAs(storage), "new");
}

TEST_F(LargeFile, AMovieBehindMoreThan4GiBIsReplaced) {
    const auto file =
        fileOf(joined({fileType(), u32(1), bytesOf("mdat"), u64(fiveGiB - fileType().size())}));
    HoleStorage storage(*file);
    const Bytes old = movieAtom("old");
    ASSERT_TRUE(storage.write(fiveGiB, old));
    ASSERT_TRUE(update(storage));
    EXPECT_EQ(opensAs(storage), "new");
    EXPECT_EQ(*storage.sizeInBytes(), fiveGiB + old.size() + 300);
}

TEST_F(LargeFile, MediaThatGrowPast4GiBGetAWideHeaderWithoutMoving) {
    auto file = FileStorage::createNew(folder_.file("growing"));
    ASSERT_TRUE(file);
    HoleStorage storage(**file);
    MediaDataWriter writer(storage);
    const VirtualZeros zeros(std::size_t{1} << 30);
    EXPECT_EQ(*writer.append(bytesOf("first")), 36u);
    for (std::uint64_t i = 0; i < 5; ++i)
        ASSERT_EQ(*writer.append(zeros.bytes()), 41 + (i << 30));
    EXPECT_EQ(*writer.append(bytesOf("last")), 41 + fiveGiB);
    ASSERT_TRUE(writer.finish());
    ASSERT_TRUE(update(storage));
    const auto survey = surveyFile(storage);
    ASSERT_TRUE(survey);
    ASSERT_EQ(survey->atoms.size(), 3u);
    EXPECT_EQ(survey->atoms[1].offset, 20u);
    EXPECT_EQ(survey->atoms[1].headerSizeInBytes, 16u);
    EXPECT_EQ(survey->atoms[1].sizeInBytes, 16 + 5 + fiveGiB + 4);
    Bytes last(4);
    ASSERT_TRUE(storage.readExactly(41 + fiveGiB, last));
    EXPECT_EQ(last, bytesOf("last"));
}

TEST_F(LargeFile, AProgramKilledWhileMediaGrewPast4GiBLeavesAFileThatCanBeContinued) {
    const auto file = fileOf(joined(
        {fileType(), movieAtom("old"), atom("wide"), endlessAtom("mdat", bytesOf("samples"))}));
    HoleStorage storage(*file);
    EXPECT_EQ(opensAs(storage), "old");
    MediaDataWriter writer(storage);
    EXPECT_EQ(*writer.append(bytesOf("more")), fiveGiB + 16);
    ASSERT_TRUE(writer.finish());
    ASSERT_TRUE(update(storage));
    EXPECT_EQ(opensAs(storage), "new");
}

}  // namespace
}  // namespace TWQuickTime::moviefile::test
