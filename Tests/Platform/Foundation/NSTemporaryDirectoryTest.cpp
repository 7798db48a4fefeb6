#include "NSTemporaryDirectory.h"

#include <gtest/gtest.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <functional>

#include "TemporaryDirectory.h"

namespace TWQuickTime {
namespace {

namespace fs = std::filesystem;

/// Exit status of a process of its own that runs the function and exits as programs do.
int inOwnProcess(const std::function<int()>& function) {
    const pid_t child = fork();
    if (child == 0)
        exit(function());
    int status = 0;
    waitpid(child, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

TEST(NSTemporaryDirectory, IsADirectoryOfThisUserAlone) {
    const NSString path = NSTemporaryDirectory();
    ASSERT_TRUE(path);
    struct stat status {};
    ASSERT_EQ(::lstat(path.fileSystemRepresentation(), &status), 0);
    EXPECT_TRUE(S_ISDIR(status.st_mode));
    EXPECT_EQ(status.st_mode & 07777, 0700u);
    EXPECT_EQ(status.st_uid, geteuid());
    EXPECT_FALSE(path.hasSuffix("/"));
}

TEST(NSTemporaryDirectory, IsTheSameAsLongAsItIsThere) {
    const NSString path = NSTemporaryDirectory();
    EXPECT_EQ(NSTemporaryDirectory(), path);
    fs::remove_all(path.utf8());
    const NSString again = NSTemporaryDirectory();
    EXPECT_TRUE(fs::is_directory(again.utf8()));
}

TEST(NSTemporaryDirectory, IsMadeAnewWhenOthersCouldLookIntoIt) {
    const NSString path = NSTemporaryDirectory();
    ASSERT_EQ(::chmod(path.fileSystemRepresentation(), 0755), 0);
    EXPECT_NE(NSTemporaryDirectory(), path);
    fs::remove_all(path.utf8());
}

TEST(NSTemporaryDirectory, LiesInTheDirectoryThatTMPDIRNamesAndGoesWithTheProcess) {
    const test::TemporaryDirectory folder;
    const int status = inOwnProcess([&] {
        setenv("TMPDIR", (folder.path().string() + "/").c_str(), 1);
        const NSString path = NSTemporaryDirectory();
        std::ofstream(path.utf8() + "/left over") << "x";
        const bool isInside = path.stringByDeletingLastPathComponent() == folder.path().string();
        return isInside && fs::exists(path.utf8() + "/left over") ? 0 : 1;
    });
    EXPECT_EQ(status, 0);
    EXPECT_TRUE(fs::is_empty(folder.path()));
}

TEST(NSTemporaryDirectory, LiesElsewhereWhenTMPDIRNamesNoUsableDirectory) {
    for (const char* unusable : {"/no/such/directory", "relative", "", "/dev/null"}) {
        EXPECT_EQ(inOwnProcess([&] {
                      setenv("TMPDIR", unusable, 1);
                      const NSString path = NSTemporaryDirectory();
                      return path.hasPrefix("/") && fs::is_directory(path.utf8()) ? 0 : 1;
                  }),
                  0)
            << unusable;
    }
}

TEST(NSTemporaryDirectory, AForkedProcessHasItsOwnAndLeavesItsParentsAlone) {
    const NSString path = NSTemporaryDirectory();
    EXPECT_EQ(inOwnProcess([&] { return NSTemporaryDirectory() == path ? 1 : 0; }), 0);
    EXPECT_EQ(inOwnProcess([] { return 0; }), 0);
    EXPECT_TRUE(fs::is_directory(path.utf8()));
}

}  // namespace
}  // namespace TWQuickTime
