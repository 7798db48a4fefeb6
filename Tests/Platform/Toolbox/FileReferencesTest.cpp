#include "FileReferences.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstring>
#include <filesystem>
#include <fstream>
#include <map>

#include "NSURL.h"
#include "TemporaryDirectory.h"

namespace TWQuickTime {
namespace {

namespace fs = std::filesystem;

void touch(const fs::path& path) {
    std::ofstream(path) << "x";
}

FSSpec specOf(const std::string& path) {
    FSRef ref;
    FSSpec spec;
    EXPECT_EQ(FSPathMakeRef(path.c_str(), &ref, nullptr), noErr) << path;
    EXPECT_EQ(FSGetCatalogInfo(&ref, kFSCatInfoNone, nullptr, nullptr, &spec, nullptr), noErr);
    return spec;
}

std::string pathOf(const FSSpec& spec) {
    FSRef ref;
    return FSpMakeFSRef(&spec, &ref) == noErr ? FSRefMakePath(&ref).utf8() : "";
}

TEST(FileReferences, ARecordResolvesBackToThePath) {
    test::TemporaryDirectory folder;
    touch(folder.path() / "a film.mov");
    const FSSpec spec = specOf(folder.file("a film.mov"));
    EXPECT_EQ(pathOf(spec), folder.file("a film.mov"));
    EXPECT_EQ(spec.name[0], 10);
    EXPECT_EQ(std::memcmp(spec.name + 1, "a film.mov", 10), 0);
}

TEST(FileReferences, TheSameFileAlwaysGivesTheSameRecord) {
    test::TemporaryDirectory folder;
    touch(folder.path() / "a.mov");
    fs::create_directory(folder.path() / "sub");
    fs::create_symlink(folder.path(), folder.path() / "link");
    const FSSpec spec = specOf(folder.file("a.mov"));
    EXPECT_EQ(specOf(folder.file("a.mov")), spec);
    EXPECT_EQ(specOf(folder.file("sub/../a.mov")), spec);
    EXPECT_EQ(specOf(folder.file("link/a.mov")), spec);
}

TEST(FileReferences, LongNamesThatBeginAlikeKeepTheirOwnRecords) {
    test::TemporaryDirectory folder;
    std::map<std::string, FSSpec> records;
    for (int i = 0; i < 50; ++i) {
        const std::string name = std::string(200, 'n') + std::to_string(i) + ".mov";
        touch(folder.path() / name);
        records[name] = specOf(folder.file(name));
    }
    for (const auto& [name, spec] : records) {
        EXPECT_LE(spec.name[0], 63);
        EXPECT_EQ(pathOf(spec), folder.file(name));
    }
}

TEST(FileReferences, ANameOfExactlyTheFieldsLengthIsKeptWhole) {
    test::TemporaryDirectory folder;
    const std::string name(63, 'n');
    touch(folder.path() / name);
    const FSSpec spec = specOf(folder.file(name));
    EXPECT_EQ(std::string(reinterpret_cast<const char*>(spec.name + 1), 63), name);
}

TEST(FileReferences, ALongNameIsShortenedBetweenCharacters) {
    test::TemporaryDirectory folder;
    for (int shift = 0; shift < 3; ++shift) {
        std::string name(static_cast<std::size_t>(shift), 'x');
        for (int i = 0; i < 40; ++i)
            name += "\xE3\x81\x82";
        touch(folder.path() / name);
        const FSSpec spec = specOf(folder.file(name));
        const NSString shown(
            std::string(reinterpret_cast<const char*>(spec.name + 1), spec.name[0]));
        for (std::size_t i = 0; i < shown.length(); ++i)
            EXPECT_NE(shown.characterAtIndex(i), u'\xFFFD');
        EXPECT_EQ(pathOf(spec), folder.file(name));
    }
}

TEST(FileReferences, ARecordFollowsARenamedDirectoryOnceItIsMetAgain) {
    test::TemporaryDirectory folder;
    fs::create_directory(folder.path() / "old");
    touch(folder.path() / "old/a.mov");
    touch(folder.path() / "old/b.mov");
    const FSSpec spec = specOf(folder.file("old/a.mov"));
    fs::rename(folder.path() / "old", folder.path() / "new");
    EXPECT_EQ(pathOf(spec), "");
    specOf(folder.file("new/b.mov"));
    EXPECT_EQ(pathOf(spec), folder.file("new/a.mov"));
}

TEST(FileReferences, ARecordIsNotTakenForAFileInANewDirectoryOfTheSamePath) {
    test::TemporaryDirectory folder;
    fs::create_directory(folder.path() / "dir");
    touch(folder.path() / "dir/a.mov");
    const FSSpec old = specOf(folder.file("dir/a.mov"));
    fs::rename(folder.path() / "dir", folder.path() / "moved");
    fs::create_directory(folder.path() / "dir");
    touch(folder.path() / "dir/a.mov");
    const FSSpec recent = specOf(folder.file("dir/a.mov"));
    EXPECT_NE(old, recent);
    EXPECT_EQ(pathOf(old), "");
    EXPECT_EQ(pathOf(recent), folder.file("dir/a.mov"));
}

TEST(FileReferences, ADeletedFileHasNoReferenceAnyMore) {
    test::TemporaryDirectory folder;
    touch(folder.path() / "a.mov");
    const FSSpec spec = specOf(folder.file("a.mov"));
    FSRef ref;
    ASSERT_EQ(FSpMakeFSRef(&spec, &ref), noErr);
    fs::remove(folder.path() / "a.mov");
    EXPECT_EQ(FSpMakeFSRef(&spec, &ref), fnfErr);
    EXPECT_TRUE(FSRefMakePath(&ref).isNil());
    FSSpec again;
    EXPECT_EQ(FSGetCatalogInfo(&ref, kFSCatInfoNone, nullptr, nullptr, &again, nullptr), fnfErr);
}

TEST(FileReferences, DirectoriesAndTheRootHaveReferencesToo) {
    test::TemporaryDirectory folder;
    Boolean isDirectory = false;
    FSRef ref;
    EXPECT_EQ(FSPathMakeRef(folder.path().c_str(), &ref, &isDirectory), noErr);
    EXPECT_TRUE(isDirectory);
    EXPECT_EQ(FSPathMakeRef("/", &ref, &isDirectory), noErr);
    EXPECT_TRUE(isDirectory);
    EXPECT_EQ(FSRefMakePath(&ref), "/");
    EXPECT_EQ(FSPathMakeRef("/etc/passwd", &ref, &isDirectory), noErr);
    EXPECT_FALSE(isDirectory);
}

TEST(FileReferences, TheCatalogGivesNameAndFolder) {
    test::TemporaryDirectory folder;
    const std::string name = std::string(100, 'n') + ".mov";
    touch(folder.path() / name);
    FSRef ref;
    FSRef parent;
    NSString found;
    ASSERT_EQ(FSPathMakeRef(folder.file(name).c_str(), &ref, nullptr), noErr);
    ASSERT_EQ(FSGetCatalogInfo(&ref, kFSCatInfoNone, nullptr, &found, nullptr, &parent), noErr);
    EXPECT_EQ(found, NSString(name));
    EXPECT_EQ(FSRefMakePath(&parent), NSString(folder.path().string()));
}

TEST(FileReferences, MissingFilesAndForeignRecordsGiveAStatus) {
    test::TemporaryDirectory folder;
    FSRef ref;
    FSSpec spec;
    EXPECT_EQ(FSPathMakeRef(folder.file("none").c_str(), &ref, nullptr), fnfErr);
    EXPECT_EQ(FSPathMakeRef(folder.file("none/below").c_str(), &ref, nullptr), fnfErr);
    EXPECT_EQ(FSPathMakeRef("", &ref, nullptr), fnfErr);
    EXPECT_EQ(FSPathMakeRef(folder.file(std::string(300, 'n')).c_str(), &ref, nullptr), bdNamErr);
    EXPECT_EQ(FSPathMakeRef(nullptr, &ref, nullptr), paramErr);
    EXPECT_EQ(FSPathMakeRef("/", nullptr, nullptr), paramErr);
    EXPECT_EQ(FSGetCatalogInfo(&ref, kFSCatInfoNone, nullptr, nullptr, &spec, nullptr), paramErr);
    EXPECT_EQ(FSpMakeFSRef(&spec, &ref), fnfErr);
    spec.name[0] = 255;
    EXPECT_EQ(FSpMakeFSRef(&spec, &ref), fnfErr);
    EXPECT_EQ(FSpMakeFSRef(nullptr, &ref), paramErr);
}

TEST(FileReferences, OnlyFileURLsOfExistingFilesGiveAReference) {
    test::TemporaryDirectory folder;
    touch(folder.path() / "a film.mov");
    FSRef ref;
    EXPECT_TRUE(CFURLGetFSRef(NSURL::fileURLWithPath(folder.file("a film.mov")), &ref));
    EXPECT_EQ(FSRefMakePath(&ref), NSString(folder.file("a film.mov")));
    EXPECT_FALSE(CFURLGetFSRef(NSURL::fileURLWithPath(folder.file("none.mov")), &ref));
    EXPECT_FALSE(CFURLGetFSRef(NSURL::URLWithString("http://example.org/etc/passwd"), &ref));
    EXPECT_FALSE(CFURLGetFSRef(NSURL::URLWithString("file://elsewhere/etc/passwd"), &ref));
    EXPECT_TRUE(CFURLGetFSRef(NSURL::URLWithString("file://localhost/etc/passwd"), &ref));
    EXPECT_FALSE(CFURLGetFSRef(nullptr, &ref));
}

}  // namespace
}  // namespace TWQuickTime
