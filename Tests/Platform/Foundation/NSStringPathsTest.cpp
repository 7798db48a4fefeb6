#include <gtest/gtest.h>
#include <pwd.h>
#include <stdlib.h>
#include <unistd.h>

#include <filesystem>
#include <optional>

#include "NSString.h"
#include "TemporaryDirectory.h"

namespace TWQuickTime {
namespace {

class EnvironmentVariable {
  public:
    EnvironmentVariable(const char* name, const char* value) : name_(name) {
        if (const char* before = getenv(name))
            before_ = before;
        if (value)
            setenv(name, value, 1);
        else
            unsetenv(name);
    }
    ~EnvironmentVariable() {
        if (before_)
            setenv(name_, before_->c_str(), 1);
        else
            unsetenv(name_);
    }
    EnvironmentVariable(const EnvironmentVariable&) = delete;
    EnvironmentVariable& operator=(const EnvironmentVariable&) = delete;

  private:
    const char* name_;
    std::optional<std::string> before_;
};

TEST(NSStringPaths, TheLastComponentIgnoresTrailingAndRepeatedSlashes) {
    EXPECT_EQ(NSString("/tmp/scratch.tiff").lastPathComponent(), "scratch.tiff");
    EXPECT_EQ(NSString("/tmp/scratch").lastPathComponent(), "scratch");
    EXPECT_EQ(NSString("/tmp/").lastPathComponent(), "tmp");
    EXPECT_EQ(NSString("/tmp///").lastPathComponent(), "tmp");
    EXPECT_EQ(NSString("/tmp//a").lastPathComponent(), "a");
    EXPECT_EQ(NSString("scratch").lastPathComponent(), "scratch");
    EXPECT_EQ(NSString("/").lastPathComponent(), "/");
    EXPECT_EQ(NSString("///").lastPathComponent(), "/");
    EXPECT_EQ(NSString("").lastPathComponent(), "");
}

TEST(NSStringPaths, TheExtensionIsWhatFollowsTheLastDotInsideTheName) {
    EXPECT_EQ(NSString("/tmp/scratch.tiff").pathExtension(), "tiff");
    EXPECT_EQ(NSString("/tmp/scratch.old.tiff").pathExtension(), "tiff");
    EXPECT_EQ(NSString("/tmp/scratch..tiff").pathExtension(), "tiff");
    EXPECT_EQ(NSString("/tmp/scratch").pathExtension(), "");
    EXPECT_EQ(NSString("/tmp.d/scratch").pathExtension(), "");
    EXPECT_EQ(NSString("/tmp.d/").pathExtension(), "d");
    EXPECT_EQ(NSString(".profile").pathExtension(), "");
    EXPECT_EQ(NSString("/home/.profile").pathExtension(), "");
    EXPECT_EQ(NSString(".scratch.tiff").pathExtension(), "tiff");
    EXPECT_EQ(NSString("scratch.").pathExtension(), "");
    EXPECT_EQ(NSString("").pathExtension(), "");
}

TEST(NSStringPaths, DeletingTheExtensionLeavesANameThatHasNone) {
    EXPECT_EQ(NSString("/tmp/scratch.tiff").stringByDeletingPathExtension(), "/tmp/scratch");
    EXPECT_EQ(NSString("/tmp/").stringByDeletingPathExtension(), "/tmp");
    EXPECT_EQ(NSString("scratch.bundle/").stringByDeletingPathExtension(), "scratch");
    EXPECT_EQ(NSString("scratch..tiff").stringByDeletingPathExtension(), "scratch.");
    EXPECT_EQ(NSString(".tiff").stringByDeletingPathExtension(), ".tiff");
    EXPECT_EQ(NSString("/").stringByDeletingPathExtension(), "/");
    EXPECT_EQ(NSString("/a.b/c").stringByDeletingPathExtension(), "/a.b/c");
    EXPECT_EQ(NSString("").stringByDeletingPathExtension(), "");
}

TEST(NSStringPaths, DeletingTheLastComponentEndsAtTheRootOrAtNothing) {
    EXPECT_EQ(NSString("/tmp/scratch.tiff").stringByDeletingLastPathComponent(), "/tmp");
    EXPECT_EQ(NSString("/tmp/lock/").stringByDeletingLastPathComponent(), "/tmp");
    EXPECT_EQ(NSString("/tmp/").stringByDeletingLastPathComponent(), "/");
    EXPECT_EQ(NSString("/tmp").stringByDeletingLastPathComponent(), "/");
    EXPECT_EQ(NSString("/").stringByDeletingLastPathComponent(), "/");
    EXPECT_EQ(NSString("scratch.tiff").stringByDeletingLastPathComponent(), "");
    EXPECT_EQ(NSString("a//b").stringByDeletingLastPathComponent(), "a");
    EXPECT_EQ(NSString("").stringByDeletingLastPathComponent(), "");
}

TEST(NSStringPaths, AppendingAComponentPutsExactlyOneSlashBetween) {
    EXPECT_EQ(NSString("/tmp").stringByAppendingPathComponent("a.tiff"), "/tmp/a.tiff");
    EXPECT_EQ(NSString("/tmp/").stringByAppendingPathComponent("a.tiff"), "/tmp/a.tiff");
    EXPECT_EQ(NSString("/tmp//").stringByAppendingPathComponent("/a"), "/tmp/a");
    EXPECT_EQ(NSString("/").stringByAppendingPathComponent("a"), "/a");
    EXPECT_EQ(NSString("").stringByAppendingPathComponent("a"), "a");
    EXPECT_EQ(NSString("/tmp/").stringByAppendingPathComponent(""), "/tmp");
    EXPECT_EQ(NSString("/tmp").stringByAppendingPathComponent("a/"), "/tmp/a");
}

TEST(NSStringPaths, AppendingAnExtensionNeedsAName) {
    EXPECT_EQ(NSString("/tmp/scratch.old").stringByAppendingPathExtension("tiff"),
              "/tmp/scratch.old.tiff");
    EXPECT_EQ(NSString("/tmp/scratch.").stringByAppendingPathExtension("tiff"),
              "/tmp/scratch..tiff");
    EXPECT_EQ(NSString("/tmp/").stringByAppendingPathExtension("tiff"), "/tmp.tiff");
    EXPECT_EQ(NSString("scratch").stringByAppendingPathExtension("tiff"), "scratch.tiff");
    EXPECT_EQ(NSString("/").stringByAppendingPathExtension("tiff"), "/");
    EXPECT_EQ(NSString("").stringByAppendingPathExtension("tiff"), "");
}

TEST(NSStringPaths, ATildeBecomesTheHomeDirectoryOfTheEnvironment) {
    const EnvironmentVariable home("HOME", "/somewhere/me/");
    EXPECT_EQ(NSString("~").stringByExpandingTildeInPath(), "/somewhere/me");
    EXPECT_EQ(NSString("~/").stringByExpandingTildeInPath(), "/somewhere/me");
    EXPECT_EQ(NSString("~/Movies//a.mov").stringByExpandingTildeInPath(),
              "/somewhere/me/Movies/a.mov");
    EXPECT_EQ(NSString("/tmp/~").stringByExpandingTildeInPath(), "/tmp/~");
    EXPECT_EQ(NSString("a~").stringByExpandingTildeInPath(), "a~");
}

TEST(NSStringPaths, ATildeWithoutHOMEBecomesTheHomeDirectoryOfThePasswordFile) {
    const passwd* me = getpwuid(getuid());
    ASSERT_NE(me, nullptr);
    const std::string directory = me->pw_dir;
    for (const char* home : {static_cast<const char*>(nullptr), "", "relative"}) {
        const EnvironmentVariable variable("HOME", home);
        EXPECT_EQ(NSString("~/a").stringByExpandingTildeInPath(),
                  NSString(directory).stringByAppendingPathComponent("a"));
    }
}

TEST(NSStringPaths, ATildeWithAUserBecomesTheHomeDirectoryOfThatUser) {
    const passwd* root = getpwnam("root");
    ASSERT_NE(root, nullptr);
    const std::string directory = root->pw_dir;
    const EnvironmentVariable home("HOME", "/somewhere/me");
    EXPECT_EQ(NSString("~root").stringByExpandingTildeInPath(), directory);
    EXPECT_EQ(NSString("~root/a/b").stringByExpandingTildeInPath(), directory + "/a/b");
    EXPECT_EQ(NSString("~nobody-of-that-name/a").stringByExpandingTildeInPath(),
              "~nobody-of-that-name/a");
}

TEST(NSStringPaths, StandardizingReducesSlashesAndDots) {
    EXPECT_EQ(NSString("/a//b/./c/").stringByStandardizingPath(), "/a/b/c");
    EXPECT_EQ(NSString("/a/.").stringByStandardizingPath(), "/a");
    EXPECT_EQ(NSString("/no-such-directory/b/../c").stringByStandardizingPath(),
              "/no-such-directory/c");
    EXPECT_EQ(NSString("/..").stringByStandardizingPath(), "/");
    EXPECT_EQ(NSString("/../../a").stringByStandardizingPath(), "/a");
    EXPECT_EQ(NSString("/").stringByStandardizingPath(), "/");
    EXPECT_EQ(NSString("a/../b").stringByStandardizingPath(), "a/../b");
    EXPECT_EQ(NSString("../a").stringByStandardizingPath(), "../a");
    EXPECT_EQ(NSString("./a/./b").stringByStandardizingPath(), "./a/b");
    EXPECT_EQ(NSString("").stringByStandardizingPath(), "");
    const EnvironmentVariable home("HOME", "/no-such-home/me");
    EXPECT_EQ(NSString("~/a/../b").stringByStandardizingPath(), "/no-such-home/me/b");
}

TEST(NSStringPaths, TheParentOfASymbolicLinkIsTheParentOfWhatItLeadsTo) {
    const test::TemporaryDirectory folder;
    const std::filesystem::path top = std::filesystem::canonical(folder.path());
    std::filesystem::create_directories(top / "real" / "inner");
    std::filesystem::create_directory_symlink(top / "real" / "inner", top / "link");
    EXPECT_EQ(NSString((top / "link" / ".." / "x").string()).stringByStandardizingPath().utf8(),
              (top / "real" / "x").string());
}

}  // namespace
}  // namespace TWQuickTime
