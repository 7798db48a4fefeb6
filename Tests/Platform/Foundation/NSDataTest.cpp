#include "NSData.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <array>
#include <filesystem>
#include <fstream>

#include "TemporaryDirectory.h"

namespace TWQuickTime {
namespace {

NSData dataOf(const std::string& text) {
    return NSData::dataWithBytes(text.data(), text.size());
}

std::string textOf(const NSData& data) {
    return {reinterpret_cast<const char*>(data.bytes().data()), data.length()};
}

std::size_t filesIn(const std::filesystem::path& folder) {
    return static_cast<std::size_t>(std::distance(std::filesystem::directory_iterator(folder),
                                                  std::filesystem::directory_iterator()));
}

TEST(NSData, NilDiffersFromEmptyAndHasNoBytes) {
    const NSData nil, empty(std::vector<std::byte>{});
    EXPECT_TRUE(nil.isNil());
    EXPECT_FALSE(empty.isNil());
    EXPECT_FALSE(nil == empty);
    EXPECT_EQ(nil, NSData(nullptr));
    EXPECT_EQ(nil.length(), 0u);
    EXPECT_TRUE(nil.bytes().empty());
    nil.getBytes(nullptr);
    EXPECT_TRUE(nil.description().isNil());
    EXPECT_FALSE(NSData::dataWithBytes(nullptr, 0).isNil());
}

TEST(NSData, EqualBytesAreEqualAndAreCopiedOut) {
    const NSData a = dataOf("\x01\x02\x03\x04\x05");
    EXPECT_EQ(a, dataOf("\x01\x02\x03\x04\x05"));
    EXPECT_FALSE(a == dataOf("\x01\x02\x03\x04\x06"));
    std::array<unsigned char, 5> copied{};
    a.getBytes(copied.data());
    EXPECT_EQ(copied, (std::array<unsigned char, 5>{1, 2, 3, 4, 5}));
    EXPECT_EQ(a.description(), "<01020304 05>");
    EXPECT_EQ(dataOf("").description(), "<>");
}

TEST(NSData, AFileIsReadAndWrittenWhole) {
    const test::TemporaryDirectory folder;
    for (const bool atomically : {false, true}) {
        const std::string path = folder.file(atomically ? "a" : "b");
        EXPECT_TRUE(dataOf("old and longer").writeToFile(path, atomically));
        EXPECT_TRUE(dataOf("new").writeToFile(path, atomically));
        EXPECT_EQ(textOf(NSData::dataWithContentsOfFile(path)), "new");
    }
    EXPECT_EQ(filesIn(folder.path()), 2u);
}

TEST(NSData, AnEmptyFileGivesEmptyDataAndAMissingOneNil) {
    const test::TemporaryDirectory folder;
    EXPECT_TRUE(dataOf("").writeToFile(folder.file("empty"), true));
    EXPECT_FALSE(NSData::dataWithContentsOfFile(folder.file("empty")).isNil());
    EXPECT_TRUE(NSData::dataWithContentsOfFile(folder.file("missing")).isNil());
    EXPECT_TRUE(NSData::dataWithContentsOfFile(nullptr).isNil());
    EXPECT_TRUE(NSData::dataWithContentsOfFile("").isNil());
}

TEST(NSData, OnlyRegularFilesAreRead) {
    const test::TemporaryDirectory folder;
    ASSERT_EQ(::mkfifo(folder.file("pipe").c_str(), 0600), 0);
    EXPECT_TRUE(NSData::dataWithContentsOfFile(folder.file("pipe")).isNil());
    EXPECT_TRUE(NSData::dataWithContentsOfFile(folder.path().string()).isNil());
    EXPECT_TRUE(NSData::dataWithContentsOfFile("/dev/zero").isNil());
}

TEST(NSData, AKernelFileWithoutASizeIsReadToItsEnd) {
    const NSData status = NSData::dataWithContentsOfFile("/proc/self/status");
    EXPECT_NE(textOf(status).find("Pid:"), std::string::npos);
}

TEST(NSData, APathWithANULInsideNamesNoFile) {
    const test::TemporaryDirectory folder;
    ASSERT_TRUE(dataOf("x").writeToFile(folder.file("a"), false));
    const std::string path = folder.file("a") + std::string("\0b", 2);
    EXPECT_TRUE(NSData::dataWithContentsOfFile(path).isNil());
    EXPECT_FALSE(dataOf("y").writeToFile(path, false));
    EXPECT_FALSE(dataOf("y").writeToFile(path, true));
}

TEST(NSData, WritingNilOrIntoAMissingFolderFailsAndLeavesNothing) {
    const test::TemporaryDirectory folder;
    EXPECT_FALSE(NSData().writeToFile(folder.file("a"), true));
    EXPECT_FALSE(dataOf("x").writeToFile(folder.file("missing/a"), true));
    EXPECT_FALSE(dataOf("x").writeToFile(folder.file("missing/a"), false));
    EXPECT_FALSE(dataOf("x").writeToFile(nullptr, true));
    EXPECT_EQ(filesIn(folder.path()), 0u);
}

TEST(NSData, AnAtomicWriteThatCannotReplaceItsPathLeavesNoSibling) {
    const test::TemporaryDirectory folder;
    std::filesystem::create_directories(folder.path() / "taken" / "inner");
    EXPECT_FALSE(dataOf("x").writeToFile(folder.file("taken"), true));
    EXPECT_EQ(filesIn(folder.path()), 1u);
}

TEST(NSData, AnAtomicWriteKeepsThePermissionsOfTheFileItReplaces) {
    const test::TemporaryDirectory folder;
    const std::string path = folder.file("a");
    ASSERT_TRUE(dataOf("x").writeToFile(path, false));
    ASSERT_EQ(::chmod(path.c_str(), 0640), 0);
    ASSERT_TRUE(dataOf("y").writeToFile(path, true));
    struct stat status {};
    ASSERT_EQ(::stat(path.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777, 0640u);
}

TEST(NSData, ANewFileHasTheSamePermissionsHoweverItIsWritten) {
    const test::TemporaryDirectory folder;
    ASSERT_TRUE(dataOf("x").writeToFile(folder.file("plain"), false));
    ASSERT_TRUE(dataOf("x").writeToFile(folder.file("atomic"), true));
    struct stat plain {
    }, atomic{};
    ASSERT_EQ(::stat(folder.file("plain").c_str(), &plain), 0);
    ASSERT_EQ(::stat(folder.file("atomic").c_str(), &atomic), 0);
    EXPECT_EQ(plain.st_mode, atomic.st_mode);
}

}  // namespace
}  // namespace TWQuickTime
