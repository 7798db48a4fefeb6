#include "Engines/result/Result.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <memory>

namespace TWQuickTime::result {
namespace {

TEST(Status, IsSuccessUnlessAFailureWasGiven) {
    EXPECT_TRUE(Status().ok());
    Status failed = Failure{FailureKind::damaged, "stsc @ 0x10: 4 bytes missing"};
    EXPECT_FALSE(failed.ok());
    EXPECT_EQ(failed.failure().message, "stsc @ 0x10: 4 bytes missing");
}

TEST(Expected, HandsOutAValueThatCanOnlyBeMoved) {
    Expected<std::unique_ptr<int>> number = std::make_unique<int>(5);
    ASSERT_TRUE(number);
    std::unique_ptr<int> taken = *std::move(number);
    EXPECT_EQ(*taken, 5);
}

TEST(SystemFailure, TellsAFullDiskFromAMissingFile) {
    EXPECT_EQ(systemFailure(ENOSPC, "write").kind, FailureKind::noSpace);
    EXPECT_EQ(systemFailure(ENOENT, "open").kind, FailureKind::notFound);
    EXPECT_EQ(systemFailure(EIO, "sync").kind, FailureKind::io);
    EXPECT_EQ(systemFailure(EIO, "sync").systemError, EIO);
}

}  // namespace
}  // namespace TWQuickTime::result
