#include "Engines/moviefile/ReplacementFile.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <fstream>
#include <iterator>

#include <gtest/gtest.h>

#include "AtomBytes.h"
#include "Tests/Support/TemporaryDirectory.h"

namespace TWQuickTime::moviefile::test {
namespace {

using TWQuickTime::test::TemporaryDirectory;

std::string textOf(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

void write(const std::string& path, const std::string& text) {
    std::ofstream(path, std::ios::binary) << text;
}

std::size_t entriesIn(const std::filesystem::path& folder) {
    return static_cast<std::size_t>(std::distance(std::filesystem::directory_iterator(folder), {}));
}

TEST(ReplacementFile, TakesThePlaceOnlyWhenItIsCommitted) {
    const TemporaryDirectory folder;
    const std::string path = folder.file("movie");
    write(path, "old");
    auto file = ReplacementFile::create(path);
    ASSERT_TRUE(file) << file.failure().message;
    ASSERT_TRUE(file->storage().write(0, bytesOf("new")));
    EXPECT_EQ(textOf(path), "old");
    const auto committed = file->commit();
    ASSERT_TRUE(committed) << committed.failure().message;
    EXPECT_EQ(textOf(path), "new");
    EXPECT_EQ(entriesIn(folder.path()), 1u);
}

TEST(ReplacementFile, MakesAFileThatIsNotThere) {
    const TemporaryDirectory folder;
    auto file = ReplacementFile::create(folder.file("movie"));
    ASSERT_TRUE(file);
    ASSERT_TRUE(file->commit());
    EXPECT_EQ(textOf(folder.file("movie")), "");
}

TEST(ReplacementFile, LeavesNothingWhenItIsGivenUp) {
    const TemporaryDirectory folder;
    {
        auto file = ReplacementFile::create(folder.file("movie"));
        ASSERT_TRUE(file);
        ASSERT_TRUE(file->storage().write(0, bytesOf("new")));
    }
    EXPECT_EQ(entriesIn(folder.path()), 0u);
}

TEST(ReplacementFile, LeavesNothingWhenItsPlaceHasBecomeAFolder) {
    const TemporaryDirectory folder;
    {
        auto file = ReplacementFile::create(folder.file("movie"));
        ASSERT_TRUE(file);
        std::filesystem::create_directory(folder.file("movie"));
        EXPECT_FALSE(file->commit());
    }
    EXPECT_EQ(entriesIn(folder.path()), 1u);
    EXPECT_TRUE(std::filesystem::is_directory(folder.file("movie")));
}

TEST(ReplacementFile, ReplacesTheFileThatASymbolicLinkNames) {
    const TemporaryDirectory folder;
    std::filesystem::create_directory(folder.file("inner"));
    write(folder.file("inner/movie"), "old");
    std::filesystem::create_symlink("inner/movie", folder.file("link"));
    auto file = ReplacementFile::create(folder.file("link"));
    ASSERT_TRUE(file);
    ASSERT_TRUE(file->storage().write(0, bytesOf("new")));
    ASSERT_TRUE(file->commit());
    EXPECT_TRUE(std::filesystem::is_symlink(folder.file("link")));
    EXPECT_EQ(textOf(folder.file("inner/movie")), "new");
    EXPECT_EQ(entriesIn(folder.file("inner")), 1u);
}

TEST(ReplacementFile, KeepsThePermissionsOfTheFileItReplaces) {
    const TemporaryDirectory folder;
    const std::string path = folder.file("movie");
    write(path, "old");
    ASSERT_EQ(chmod(path.c_str(), 0640), 0);
    auto file = ReplacementFile::create(path);
    ASSERT_TRUE(file);
    ASSERT_TRUE(file->commit());
    struct stat facts;
    ASSERT_EQ(stat(path.c_str(), &facts), 0);
    EXPECT_EQ(facts.st_mode & 07777u, 0640u);
}

TEST(ReplacementFile, RefusesFoldersPipesAndFoldersThatAreNotThere) {
    const TemporaryDirectory folder;
    EXPECT_EQ(ReplacementFile::create(folder.path().string()).failure().systemError, EISDIR);
    ASSERT_EQ(mkfifo(folder.file("pipe").c_str(), 0600), 0);
    EXPECT_EQ(ReplacementFile::create(folder.file("pipe")).failure().kind,
              result::FailureKind::unsupported);
    EXPECT_EQ(ReplacementFile::create(folder.file("none/movie")).failure().kind,
              result::FailureKind::notFound);
    EXPECT_EQ(ReplacementFile::create("").failure().kind, result::FailureKind::badArgument);
}

TEST(ReplacementFile, ANameAsLongAsTheSystemAllowsIsReplacedToo) {
    const TemporaryDirectory folder;
    const std::string path = folder.file(std::string(255, 'n'));
    auto file = ReplacementFile::create(path);
    ASSERT_TRUE(file);
    EXPECT_TRUE(file->commit());
    EXPECT_TRUE(std::filesystem::exists(path));
}

}  // namespace
}  // namespace TWQuickTime::moviefile::test
