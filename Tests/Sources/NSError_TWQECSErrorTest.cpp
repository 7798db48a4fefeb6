#include "NSError_TWQECSError.h"

#include <gtest/gtest.h>

#include "EnvironmentVariables.h"

namespace TWQuickTime {
namespace {

constexpr const char* notInstalled =
    "Can't export, because the requested QuickTime exporter is not installed.";
constexpr const char* internalError = "While exporting a internal QuickTime error occured.";

class NSError_TWQECSErrorTest : public testing::Test {
  protected:
    NSError_TWQECSErrorTest() { askFor("C"); }
    void askFor(const char* locale) {
        environment_.set("LANGUAGE", std::nullopt);
        environment_.set("LC_ALL", locale);
    }
    test::EnvironmentVariables environment_;
};

TEST_F(NSError_TWQECSErrorTest, TheCodeZeroIsNoError) {
    EXPECT_TRUE(NSError_TWQECSError::errorWitQECSErrorCode(0).isNil());
}

TEST_F(NSError_TWQECSErrorTest, TheCode1003SaysThatTheExporterIsNotInstalled) {
    const NSError error = NSError_TWQECSError::errorWitQECSErrorCode(TWQECSNotInstalledError);
    EXPECT_EQ(error.domain(), "TWQECSErrorDomain");
    EXPECT_EQ(error.code(), 1003);
    EXPECT_EQ(error.localizedDescription(), notInstalled);
}

TEST_F(NSError_TWQECSErrorTest, EveryOtherCodeSaysThatAnInternalErrorOccurred) {
    for (const std::int32_t code : {1000, 1001, 1002, 1, -1, -108, 1004}) {
        const NSError error = NSError_TWQECSError::errorWitQECSErrorCode(code);
        EXPECT_EQ(error.domain(), TWQECSErrorDomain);
        EXPECT_EQ(error.code(), code);
        EXPECT_EQ(error.userInfo().objectForKey(NSLocalizedDescriptionKey).stringValue(),
                  internalError);
    }
}

TEST_F(NSError_TWQECSErrorTest, TheTextIsInTheUsersLanguage) {
    askFor("de_DE.UTF-8");
    EXPECT_EQ(NSError_TWQECSError::errorWitQECSErrorCode(1000).localizedDescription(),
              "Beim Export ist ein interner QuickTime-Fehler aufgetreten.");
    askFor("sv_SE.UTF-8");
    EXPECT_EQ(NSError_TWQECSError::errorWitQECSErrorCode(1000).localizedDescription(),
              internalError);
}

}  // namespace
}  // namespace TWQuickTime
