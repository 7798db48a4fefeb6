#include <fcntl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <memory>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "AtomBytes.h"
#include "Engines/moviefile/FileStorage.h"
#include "Engines/moviefile/MemoryStorage.h"
#include "Tests/Support/TemporaryDirectory.h"

namespace TWQuickTime::moviefile::test {
namespace {

using result::FailureKind;
using TWQuickTime::test::TemporaryDirectory;

/// Bytes that lie as they will in the file, which is what goes past the cache.
class AlignedBytes {
  public:
    AlignedBytes(std::uint64_t offset, std::size_t size)
        : bytes_(static_cast<std::byte*>(
                     std::aligned_alloc(uncachedUnitInBytes, std::size_t{1} << 20)),
                 &std::free),
          all_(bytes_.get() + offset % uncachedUnitInBytes, size) {
        for (std::size_t i = 0; i < size; ++i)
            all_[i] = static_cast<std::byte>(i * 7 + offset);
    }
    std::span<const std::byte> all() const { return all_; }

  private:
    std::unique_ptr<std::byte, void (*)(void*)> bytes_;
    std::span<std::byte> all_;
};

/// What the child process says of itself: whether all was as expected there.
bool holdsInAProcessOfItsOwn(const std::function<bool()>& expectation) {
    const pid_t child = fork();
    if (child == 0)
        _exit(expectation() ? 0 : 1);
    int status = 0;
    return child > 0 && waitpid(child, &status, 0) == child && WIFEXITED(status) &&
           WEXITSTATUS(status) == 0;
}

TEST(FileStorage, ReadsBackWhatWasWrittenAndFillsGapsWithZeros) {
    const TemporaryDirectory folder;
    auto file = FileStorage::createNew(folder.file("a"));
    ASSERT_TRUE(file) << file.failure().message;
    ASSERT_TRUE((*file)->write(3, bytesOf("abc")));
    Bytes all(10);
    const auto count = (*file)->read(0, all);
    ASSERT_TRUE(count);
    EXPECT_EQ(*count, 6u);
    all.resize(*count);
    EXPECT_EQ(all, joined({Bytes(3), bytesOf("abc")}));
    EXPECT_TRUE((*file)->sync());
    EXPECT_EQ(*(*file)->sizeInBytes(), 6u);
    ASSERT_TRUE((*file)->truncate(1));
    EXPECT_EQ(*(*file)->sizeInBytes(), 1u);
}

TEST(FileStorage, AReadThatMustBeWholeSaysHowMuchIsMissing) {
    const MemoryStorage storage(bytesOf("abc"), "clip");
    Bytes four(4);
    const auto status = storage.readExactly(1, four);
    ASSERT_FALSE(status);
    EXPECT_EQ(status.failure().kind, FailureKind::truncated);
    EXPECT_EQ(status.failure().message, "clip @ 1: 2 bytes missing");
}

TEST(FileStorage, TellsAMissingFileFromAFolderAndFromOneThatExistsAlready) {
    const TemporaryDirectory folder;
    EXPECT_EQ(FileStorage::open(folder.file("none"), Access::read).failure().kind,
              FailureKind::notFound);
    EXPECT_EQ(FileStorage::open(folder.path().string(), Access::read).failure().systemError,
              EISDIR);
    EXPECT_EQ(FileStorage::open("", Access::read).failure().kind, FailureKind::badArgument);
    ASSERT_TRUE(FileStorage::createNew(folder.file("a")));
    EXPECT_EQ(FileStorage::createNew(folder.file("a")).failure().kind, FailureKind::exists);
}

TEST(FileStorage, RefusesANamedPipeWithoutWaitingForItsOtherEnd) {
    const TemporaryDirectory folder;
    ASSERT_EQ(mkfifo(folder.file("pipe").c_str(), 0600), 0);
    EXPECT_EQ(FileStorage::open(folder.file("pipe"), Access::read).failure().kind,
              FailureKind::unsupported);
}

TEST(FileStorage, RefusesAPathWithANulInside) {
    using namespace std::string_literals;
    const TemporaryDirectory folder;
    ASSERT_TRUE(FileStorage::createNew(folder.file("a")));
    EXPECT_EQ(FileStorage::open(folder.file("a\0.mov"s), Access::read).failure().kind,
              FailureKind::badArgument);
}

TEST(FileStorage, AFileOpenForReadingCannotBeChanged) {
    const TemporaryDirectory folder;
    ASSERT_TRUE(FileStorage::createNew(folder.file("a")));
    auto file = FileStorage::open(folder.file("a"), Access::read);
    ASSERT_TRUE(file);
    EXPECT_EQ((*file)->write(0, bytesOf("x")).failure().kind, FailureKind::permission);
    EXPECT_EQ((*file)->truncate(5).failure().kind, FailureKind::permission);
}

TEST(FileStorage, OffsetsThatNoFileCanHaveAreRefused) {
    const TemporaryDirectory folder;
    auto file = FileStorage::createNew(folder.file("a"));
    ASSERT_TRUE(file);
    constexpr std::uint64_t beyond = std::uint64_t{1} << 63;
    EXPECT_EQ((*file)->write(beyond, bytesOf("x")).failure().kind, FailureKind::noSpace);
    EXPECT_EQ((*file)->truncate(beyond).failure().kind, FailureKind::noSpace);
    Bytes one(1);
    EXPECT_EQ(*(*file)->read(beyond, one), 0u);
}

TEST(FileStorage, DoesNotLeakItsDescriptorIntoOtherPrograms) {
    const TemporaryDirectory folder;
    auto file = FileStorage::createNew(folder.file("a"));
    ASSERT_TRUE(file);
    EXPECT_NE(fcntl((*file)->fileDescriptor(), F_GETFD) & FD_CLOEXEC, 0);
}

TEST(FileStorage, AWriteThatTheSystemCutsShortIsContinuedAndItsFailureReported) {
    const TemporaryDirectory folder;
    const std::string path = folder.file("limited");
    EXPECT_TRUE(holdsInAProcessOfItsOwn([&] {
        std::signal(SIGXFSZ, SIG_IGN);
        const rlimit limit{1000, 1000};
        setrlimit(RLIMIT_FSIZE, &limit);
        auto file = FileStorage::createNew(path);
        // The first system call writes up to the limit, the second one is refused.
        return file && (*file)->write(600, Bytes(800)).failure().kind == FailureKind::noSpace;
    }));
    EXPECT_EQ(std::filesystem::file_size(path), 1000u);
}

TEST(FileStorage, WhatGoesPastTheCacheIsReadBackWhereverItBeginsAndEnds) {
    const TemporaryDirectory folder;
    auto file = FileStorage::createNew(folder.file("a"));
    ASSERT_TRUE(file);
    Bytes expected;
    for (const auto& [offset, size] : {std::pair{0, 8192},
                                       {8192, 1},
                                       {8193, 300'000},
                                       {4096, 4096},
                                       {308'193, 4095 + 3 * 4096},
                                       {330'000, 10}}) {
        const AlignedBytes bytes(static_cast<std::uint64_t>(offset),
                                 static_cast<std::size_t>(size));
        const auto written =
            (*file)->writeUncached(static_cast<std::uint64_t>(offset), bytes.all());
        ASSERT_TRUE(written) << written.failure().message;
        expected.resize(std::max(expected.size(), static_cast<std::size_t>(offset + size)));
        std::copy(bytes.all().begin(), bytes.all().end(), expected.begin() + offset);
        // Written through the cache in between, and read through it.
        ASSERT_TRUE((*file)->write(expected.size(), bytesOf("abc")));
        expected.insert(expected.end(), {std::byte{'a'}, std::byte{'b'}, std::byte{'c'}});
    }
    Bytes all(expected.size());
    ASSERT_TRUE((*file)->readExactly(0, all));
    EXPECT_TRUE(all == expected);
    EXPECT_EQ(*(*file)->sizeInBytes(), expected.size());
}

TEST(FileStorage, BytesThatLieOtherwiseThanInTheFileAreWrittenAllTheSame) {
    const TemporaryDirectory folder;
    auto file = FileStorage::createNew(folder.file("a"));
    ASSERT_TRUE(file);
    const AlignedBytes bytes(1, 20'000);
    ASSERT_TRUE((*file)->writeUncached(4096, bytes.all()));
    Bytes read(bytes.all().size());
    ASSERT_TRUE((*file)->readExactly(4096, read));
    EXPECT_TRUE(std::equal(read.begin(), read.end(), bytes.all().begin()));
}

TEST(FileStorage, WhereNothingGoesPastTheCacheTheBytesAreWrittenAllTheSame) {
    const TemporaryDirectory folder;
    const std::string path = folder.file("a");
    EXPECT_TRUE(holdsInAProcessOfItsOwn([&] {
        auto file = FileStorage::createNew(path);
        // No second descriptor can be opened.
        const auto used = static_cast<rlim_t>((*file)->fileDescriptor() + 1);
        rlimit allowed{};
        getrlimit(RLIMIT_NOFILE, &allowed);
        const rlimit limit{used, allowed.rlim_max};
        setrlimit(RLIMIT_NOFILE, &limit);
        const AlignedBytes bytes(5, 20'000);
        const bool written =
            (*file)->writeUncached(5, bytes.all()) && (*file)->writeUncached(5, bytes.all());
        // Sanitizers look at an object that goes through descriptors of their own.
        setrlimit(RLIMIT_NOFILE, &allowed);
        return written;
    }));
    EXPECT_EQ(std::filesystem::file_size(path), 20'005u);
}

TEST(FileStorage, AWritePastTheCacheFailsAsAnyOther) {
    const TemporaryDirectory folder;
    const std::string path = folder.file("limited");
    EXPECT_TRUE(holdsInAProcessOfItsOwn([&] {
        std::signal(SIGXFSZ, SIG_IGN);
        const rlimit limit{10'000, 10'000};
        setrlimit(RLIMIT_FSIZE, &limit);
        auto file = FileStorage::createNew(path);
        const AlignedBytes bytes(600, 40'000);
        return file &&
               (*file)->writeUncached(600, bytes.all()).failure().kind == FailureKind::noSpace;
    }));
    EXPECT_EQ(std::filesystem::file_size(path), 10'000u);

    auto file = FileStorage::open(path, Access::read);
    ASSERT_TRUE(file);
    const AlignedBytes bytes(0, 8192);
    EXPECT_EQ((*file)->writeUncached(0, bytes.all()).failure().kind, FailureKind::permission);
    EXPECT_EQ((*file)->writeUncached(std::uint64_t{1} << 63, bytes.all()).failure().kind,
              FailureKind::noSpace);
}

TEST(MemoryStorage, StopsInTheMiddleOfAWriteForGood) {
    MemoryStorage storage(bytesOf("0123456789"));
    storage.stopAfter(1, 2);
    EXPECT_TRUE(storage.write(0, bytesOf("ab")));
    EXPECT_FALSE(storage.write(5, bytesOf("cdef")));
    EXPECT_FALSE(storage.write(0, bytesOf("zz")));
    EXPECT_FALSE(storage.truncate(0));
    EXPECT_FALSE(storage.sync());
    EXPECT_EQ(storage.contents(), bytesOf("ab234cd789"));
}

TEST(MemoryStorage, FailsOneOperationAndWorksAgain) {
    MemoryStorage storage(bytesOf("0123456789"));
    storage.failOperation(0, EIO, 1);
    EXPECT_EQ(storage.write(0, bytesOf("ab")).failure().systemError, EIO);
    EXPECT_TRUE(storage.write(8, bytesOf("ab")));
    EXPECT_EQ(storage.contents(), bytesOf("a1234567ab"));
}

TEST(MemoryStorage, IsFullAtItsLimit) {
    MemoryStorage storage(bytesOf("0123"));
    storage.limitSizeInBytes(6);
    EXPECT_EQ(storage.write(4, bytesOf("abc")).failure().kind, FailureKind::noSpace);
    EXPECT_EQ(storage.contents(), bytesOf("0123ab"));
    EXPECT_TRUE(storage.write(0, bytesOf("x")));
}

TEST(MemoryStorage, RecordsWritesTruncationsAndSyncs) {
    MemoryStorage storage(bytesOf("0123"));
    storage.startRecording();
    ASSERT_TRUE(storage.write(4, bytesOf("ab")));
    ASSERT_TRUE(storage.sync());
    ASSERT_TRUE(storage.truncate(5));
    ASSERT_EQ(storage.operations().size(), 3u);
    Bytes replayed = bytesOf("0123");
    for (const StorageOperation& operation : storage.operations())
        operation.applyTo(replayed);
    EXPECT_EQ(replayed, storage.contents());
    Bytes torn = bytesOf("0123");
    storage.operations()[0].applyTo(torn, 1);
    EXPECT_EQ(torn, bytesOf("0123a"));
}

}  // namespace
}  // namespace TWQuickTime::moviefile::test
