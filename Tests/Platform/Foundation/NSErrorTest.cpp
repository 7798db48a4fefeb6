#include "NSError.h"

#include <gtest/gtest.h>

#include "FormatString.h"
#include "NSException.h"

namespace TWQuickTime {
namespace {

TEST(NSError, NilIsNoError) {
    const NSError none;
    EXPECT_FALSE(none);
    EXPECT_EQ(none, NSError(nullptr));
    EXPECT_EQ(none.code(), 0);
    EXPECT_TRUE(none.localizedDescription().isNil());
    EXPECT_EQ(formatString("%@", none), "(null)");
}

TEST(NSError, ItsTextIsTheOneOfTheUserInfo) {
    const NSError error = NSError::errorWithDomain(
        "Domain", 7, NSDictionary{{NSLocalizedDescriptionKey, "It went wrong."}});
    EXPECT_TRUE(error);
    EXPECT_EQ(error.domain(), "Domain");
    EXPECT_EQ(error.code(), 7);
    EXPECT_EQ(error.localizedDescription(), "It went wrong.");
    EXPECT_EQ(formatString("%@", error), "Error Domain=Domain Code=7 \"It went wrong.\"");
}

TEST(NSError, WithoutAUserInfoItsTextNamesDomainAndCode) {
    const NSError error = NSError::errorWithDomain(NSOSStatusErrorDomain, -43);
    EXPECT_EQ(error.localizedDescription(),
              "The operation couldn’t be completed. (NSOSStatusErrorDomain error -43.)");
}

TEST(NSException, SaysNameAndReason) {
    const NSException exception(NSInvalidArgumentException, "the reason");
    EXPECT_EQ(exception.name(), "NSInvalidArgumentException");
    EXPECT_EQ(exception.reason(), "the reason");
    EXPECT_STREQ(exception.what(), "NSInvalidArgumentException: the reason");
}

}  // namespace
}  // namespace TWQuickTime
