#include "OutputFile.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

#include "CommandFailure.h"
#include "TemporaryDirectory.h"

namespace twqt {
namespace {

using ::testing::HasSubstr;
using TWQuickTime::test::TemporaryDirectory;

/// What the rule says about the path, "" for nothing.
std::string refusal(const std::string& path, bool force) {
    try {
        requireFreeOutput(path, force);
        return "";
    } catch (const CommandFailure& failure) {
        EXPECT_EQ(failure.exitStatus(), ExitStatus::failed);
        return failure.what();
    }
}

TEST(OutputFile, IsFreeWhereNothingIs) {
    TemporaryDirectory folder;
    EXPECT_EQ(refusal(folder.file("new.mov"), false), "");
}

TEST(OutputFile, IsNotOverwrittenWithoutForce) {
    TemporaryDirectory folder;
    std::ofstream(folder.file("old.mov")) << "old";
    EXPECT_THAT(refusal(folder.file("old.mov"), false), HasSubstr("old.mov : "));
    EXPECT_THAT(refusal(folder.file("old.mov"), false), HasSubstr("(-48)"));
    EXPECT_EQ(refusal(folder.file("old.mov"), true), "");
}

TEST(OutputFile, IsNotFreeWhereADanglingLinkIs) {
    TemporaryDirectory folder;
    std::filesystem::create_symlink("nowhere", folder.file("link.mov"));
    EXPECT_THAT(refusal(folder.file("link.mov"), false), HasSubstr("(-48)"));
}

TEST(OutputFile, IsNeverADirectory) {
    TemporaryDirectory folder;
    EXPECT_THAT(refusal(folder.path().string(), true), HasSubstr("is a directory"));
}

TEST(OutputFile, NeedsTheDirectoryThatHoldsIt) {
    TemporaryDirectory folder;
    EXPECT_THAT(refusal(folder.file("missing/new.mov"), true), HasSubstr("(-43)"));
}

}  // namespace
}  // namespace twqt
