#include "NSFileManager.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <fstream>
#include <iterator>

#include "TemporaryDirectory.h"

namespace TWQuickTime {
namespace {

class NSFileManagerTest : public testing::Test {
  protected:
    std::string contentsOf(const std::string& path) {
        std::ifstream file(path);
        return {std::istreambuf_iterator<char>(file), {}};
    }

    test::TemporaryDirectory folder;
    NSFileManager& manager = NSFileManager::defaultManager();
};

TEST_F(NSFileManagerTest, WithoutContentsItMakesAnEmptyFile) {
    EXPECT_TRUE(manager.createFileAtPath(folder.file("a"), nullptr, nullptr));
    EXPECT_EQ(std::filesystem::file_size(folder.path() / "a"), 0u);
}

TEST_F(NSFileManagerTest, ReplacesTheContentsOfAnExistingFile) {
    EXPECT_TRUE(
        manager.createFileAtPath(folder.file("a"), NSData::dataWithBytes("first", 5), nullptr));
    EXPECT_TRUE(
        manager.createFileAtPath(folder.file("a"), NSData::dataWithBytes("2nd", 3), nullptr));
    EXPECT_EQ(contentsOf(folder.file("a")), "2nd");
}

TEST_F(NSFileManagerTest, GivesAFileThePermissionsAskedFor) {
    ASSERT_TRUE(manager.createFileAtPath(
        folder.file("a"), nullptr,
        NSDictionary{{NSFilePosixPermissions, 0600}, {"NSFileTypeUnknownToIt", "x"}}));
    struct stat status {};
    ASSERT_EQ(::stat(folder.file("a").c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777, 0600u);
}

TEST_F(NSFileManagerTest, MakesNoFileWhereItCannot) {
    EXPECT_FALSE(manager.createFileAtPath(folder.file("missing/a"), nullptr, nullptr));
    EXPECT_FALSE(manager.createFileAtPath(folder.path().string(), nullptr, nullptr));
    EXPECT_FALSE(manager.createFileAtPath(nullptr, nullptr, nullptr));
    EXPECT_FALSE(manager.createFileAtPath("", nullptr, nullptr));
}

TEST_F(NSFileManagerTest, TellsFilesFromDirectoriesAndFromNothing) {
    manager.createFileAtPath(folder.file("a"), nullptr, nullptr);
    std::filesystem::create_symlink("nowhere", folder.path() / "dangling");
    bool isDirectory = true;
    EXPECT_TRUE(manager.fileExistsAtPath(folder.file("a"), &isDirectory));
    EXPECT_FALSE(isDirectory);
    EXPECT_TRUE(manager.fileExistsAtPath(folder.path().string(), &isDirectory));
    EXPECT_TRUE(isDirectory);
    EXPECT_FALSE(manager.fileExistsAtPath(folder.file("b")));
    EXPECT_FALSE(manager.fileExistsAtPath(folder.file("dangling")));
    EXPECT_FALSE(manager.fileExistsAtPath(nullptr));
    EXPECT_FALSE(manager.fileExistsAtPath(folder.file("a") + std::string("\0b", 2)));
}

TEST_F(NSFileManagerTest, RemovesFilesAndDirectoriesWithAllThatIsInThem) {
    std::filesystem::create_directories(folder.path() / "d" / "e");
    manager.createFileAtPath(folder.file("d/e/f"), nullptr, nullptr);
    manager.createFileAtPath(folder.file("a"), nullptr, nullptr);
    EXPECT_TRUE(manager.removeFileAtPath(folder.file("a")));
    EXPECT_TRUE(manager.removeFileAtPath(folder.file("d/")));
    EXPECT_FALSE(manager.fileExistsAtPath(folder.file("a")));
    EXPECT_FALSE(manager.fileExistsAtPath(folder.file("d")));
}

TEST_F(NSFileManagerTest, RemovingALinkLeavesWhatItLeadsTo) {
    std::filesystem::create_directories(folder.path() / "d");
    manager.createFileAtPath(folder.file("d/f"), nullptr, nullptr);
    std::filesystem::create_directory_symlink(folder.path() / "d", folder.path() / "link");
    EXPECT_TRUE(manager.removeFileAtPath(folder.file("link/")));
    EXPECT_TRUE(manager.fileExistsAtPath(folder.file("d/f")));
    EXPECT_FALSE(manager.fileExistsAtPath(folder.file("link")));
}

TEST_F(NSFileManagerTest, WhatIsNotThereCannotBeRemoved) {
    EXPECT_FALSE(manager.removeFileAtPath(folder.file("missing")));
    EXPECT_FALSE(manager.removeFileAtPath(nullptr));
    EXPECT_FALSE(manager.removeFileAtPath(""));
}

TEST_F(NSFileManagerTest, TheFolderItselfByDotsIsNeverRemoved) {
    std::filesystem::create_directories(folder.path() / "d" / "e");
    EXPECT_FALSE(manager.removeFileAtPath(folder.file("d/e/..")));
    EXPECT_FALSE(manager.removeFileAtPath(folder.file("d/.")));
    EXPECT_TRUE(manager.fileExistsAtPath(folder.file("d/e")));
}

}  // namespace
}  // namespace TWQuickTime
