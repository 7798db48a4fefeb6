#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>

#include "LogCapture.h"
#include "NSKeyedArchiver.h"
#include "RunProgram.h"
#include "StMovie.h"
#include "TWUQuickTimeMovie.h"
#include "TemporaryDirectory.h"
#include "TestMovies.h"
#include "ToolboxTrace.h"
#include "UserData.h"

namespace TWQuickTime {
namespace {

using TWU = TWUQuickTimeMovie;
using test::LogCapture;
using test::ScopedHandle;
using test::ScopedMovie;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr OSType kKey = fourCC("abcd");
constexpr OSType kLengthKey = fourCC("abce");

class MovieUserData : public testing::Test {
  protected:
    ~MovieUserData() override { ToolboxTrace::reset(); }

    std::vector<std::uint8_t> item(OSType key) {
        const ScopedHandle handle;
        GetUserData(GetMovieUserData(movie_), handle, key, 1);
        return handle.bytes();
    }

    ScopedMovie movie_;
    const NSData tenBytes_ = NSData::dataWithBytes("0123456789", 10);
};

TEST_F(MovieUserData, KeepsIntegers) {
    EXPECT_FALSE(TWU::existsUserDataForKey(kKey, movie_));
    EXPECT_EQ(TWU::getUserDataIntForKey(kKey, movie_), 0);
    ASSERT_EQ(TWU::setUserDataInt(5, kKey, movie_), noErr);
    EXPECT_TRUE(TWU::existsUserDataForKey(kKey, movie_));
    EXPECT_EQ(TWU::getUserDataIntForKey(kKey, movie_), 5);
    EXPECT_TRUE(TWU::getUserDataBOOLForKey(kKey, movie_));
    EXPECT_EQ(item(kKey), (std::vector<std::uint8_t>{0, 0, 0, 5}));
}

TEST_F(MovieUserData, ReadsANegativeIntegerAsNo) {
    ASSERT_EQ(TWU::setUserDataInt(-3, kKey, movie_), noErr);
    EXPECT_EQ(TWU::getUserDataIntForKey(kKey, movie_), -3);
    EXPECT_FALSE(TWU::getUserDataBOOLForKey(kKey, movie_));
}

TEST_F(MovieUserData, KeepsBooleansAsIntegers) {
    ASSERT_EQ(TWU::setUserDataBOOL(true, kKey, movie_), noErr);
    EXPECT_EQ(TWU::getUserDataIntForKey(kKey, movie_), 1);
    ASSERT_EQ(TWU::setUserDataBOOL(false, kKey, movie_), noErr);
    EXPECT_EQ(TWU::getUserDataIntForKey(kKey, movie_), 0);
    EXPECT_TRUE(TWU::existsUserDataForKey(kKey, movie_));
}

TEST_F(MovieUserData, ReplacesTheFirstItemOfItsKey) {
    TWU::setUserDataInt(5, kKey, movie_);
    const ScopedHandle second({1, 2, 3});
    AddUserData(GetMovieUserData(movie_), second, kKey);
    TWU::setUserDataInt(6, kKey, movie_);
    EXPECT_EQ(CountUserDataType(GetMovieUserData(movie_), kKey), 2);
    EXPECT_EQ(TWU::getUserDataIntForKey(kKey, movie_), 6);
}

TEST_F(MovieUserData, StoresTheBitsOfAFloatAsANumberOnPurpose) {
    EXPECT_EQ(TWU::getUserDataFloatForKey(kKey, movie_), 0.0F);
    ASSERT_EQ(TWU::setUserDataFloat(0.5F, kKey, movie_), noErr);
    EXPECT_EQ(TWU::getUserDataFloatForKey(kKey, movie_), 1056964608.0F);
    ASSERT_EQ(TWU::setUserDataFloat(1.0F, kKey, movie_), noErr);
    EXPECT_EQ(TWU::getUserDataFloatForKey(kKey, movie_), 1065353216.0F);
    ASSERT_EQ(TWU::setUserDataFloat(0.0F, kKey, movie_), noErr);
    EXPECT_EQ(TWU::getUserDataFloatForKey(kKey, movie_), 0.0F);
    // The sign is the top bit of the number.
    ASSERT_EQ(TWU::setUserDataFloat(-1.0F, kKey, movie_), noErr);
    EXPECT_EQ(TWU::getUserDataFloatForKey(kKey, movie_), 3212836864.0F);
}

TEST_F(MovieUserData, KeepsDataWithItsLengthUnderTheNextKey) {
    ASSERT_EQ(TWU::setMovieUserData(tenBytes_, kKey, movie_), noErr);
    EXPECT_EQ(TWU::getUserDataIntForKey(kLengthKey, movie_), 10);
    EXPECT_EQ(TWU::getMovieUserDataForKey(kKey, movie_), tenBytes_);
    EXPECT_EQ(item(kKey).size(), 10u);
}

TEST_F(MovieUserData, ReadsNoDataWithoutItsLength) {
    TWU::setMovieUserData(tenBytes_, kKey, movie_);
    RemoveUserData(GetMovieUserData(movie_), kLengthKey, 1);
    EXPECT_TRUE(TWU::getMovieUserDataForKey(kKey, movie_).isNil());
    for (const std::int32_t length : {0, -1, 9, 11, 0x7FFFFFFF}) {
        TWU::setUserDataInt(length, kLengthKey, movie_);
        EXPECT_TRUE(TWU::getMovieUserDataForKey(kKey, movie_).isNil()) << length;
    }
}

TEST_F(MovieUserData, ReadsNoDataThatAreNotThere) {
    EXPECT_TRUE(TWU::getMovieUserDataForKey(kKey, movie_).isNil());
    TWU::setUserDataInt(10, kLengthKey, movie_);
    EXPECT_TRUE(TWU::getMovieUserDataForKey(kKey, movie_).isNil());
}

TEST_F(MovieUserData, KeepsEmptyDataUnreadable) {
    ASSERT_EQ(TWU::setMovieUserData(NSData(std::vector<std::byte>{}), kKey, movie_), noErr);
    EXPECT_TRUE(TWU::existsUserDataForKey(kKey, movie_));
    EXPECT_TRUE(TWU::getMovieUserDataForKey(kKey, movie_).isNil());
}

TEST_F(MovieUserData, AnswersNeutrallyForANullMovie) {
    const LogCapture log;
    EXPECT_FALSE(TWU::existsUserDataForKey(kKey, nullptr));
    EXPECT_EQ(TWU::getUserDataIntForKey(kKey, nullptr), 0);
    EXPECT_FALSE(TWU::getUserDataBOOLForKey(kKey, nullptr));
    EXPECT_EQ(TWU::getUserDataFloatForKey(kKey, nullptr), 0.0F);
    EXPECT_TRUE(TWU::getMovieUserDataForKey(kKey, nullptr).isNil());
    EXPECT_EQ(TWU::setUserDataInt(1, kKey, nullptr), -1);
    EXPECT_EQ(TWU::setUserDataBOOL(true, kKey, nullptr), -1);
    EXPECT_EQ(TWU::setUserDataFloat(1, kKey, nullptr), -1);
    EXPECT_THAT(log.lines(), IsEmpty());
    EXPECT_EQ(TWU::setMovieUserData(tenBytes_, kKey, nullptr), -1);
    EXPECT_THAT(log.lines(), ElementsAre("Cant set Movies User Data: Error=-1"));
}

TEST_F(MovieUserData, LogsAFailureToSetInTheSettersOwnWords) {
    const LogCapture log;
    ToolboxTrace::failCall("SetUserDataItem", 1, -108);
    EXPECT_EQ(TWU::setUserDataInt(1, kKey, movie_), -108);
    ToolboxTrace::failCall("SetUserDataItem", 1, -108);
    EXPECT_EQ(TWU::setUserDataFloat(1, kKey, movie_), -108);
    // The first call sets the length, whose failure does not matter.
    ToolboxTrace::failCall("SetUserDataItem", 2, -50);
    EXPECT_EQ(TWU::setMovieUserData(tenBytes_, kKey, movie_), -50);
    EXPECT_THAT(log.lines(),
                ElementsAre("Cant set Movies User Data: -108", "Cant set Movies User Data: -108",
                            "Cant set Movies User Data: Error=-50"));
}

TEST_F(MovieUserData, IgnoresAFailureToSetTheLength) {
    const LogCapture log;
    ToolboxTrace::failCall("SetUserDataItem", 1, -108);
    EXPECT_EQ(TWU::setMovieUserData(tenBytes_, kKey, movie_), noErr);
    EXPECT_TRUE(TWU::getMovieUserDataForKey(kKey, movie_).isNil());
    EXPECT_THAT(log.lines(), ElementsAre("Cant set Movies User Data: -108"));
}

TEST_F(MovieUserData, ReadsNothingWhereTheToolboxFails) {
    TWU::setMovieUserData(tenBytes_, kKey, movie_);
    ToolboxTrace::failCall("GetUserDataItem", 2, -2026);
    EXPECT_TRUE(TWU::getMovieUserDataForKey(kKey, movie_).isNil());
    ToolboxTrace::failCall("GetMovieUserData", 1, -2010);
    EXPECT_EQ(TWU::setUserDataInt(1, kKey, movie_), -1);
}

TEST_F(MovieUserData, KeepsDictionariesAsArchives) {
    const NSDictionary dictionary{{"name", "value"},
                                  {"list", NSArray(std::vector<PropertyListValue>{1, 2.5, true})},
                                  {"date", NSDate{1000}}};
    ASSERT_EQ(TWU::setMovieUserDictionary(dictionary, kKey, movie_), noErr);
    EXPECT_EQ(TWU::getMovieUserDictionaryForKey(kKey, movie_), dictionary);
    EXPECT_EQ(TWU::getUserDataIntForKey(kLengthKey, movie_),
              static_cast<std::int32_t>(item(kKey).size()));
}

TEST_F(MovieUserData, ReadsNoDictionaryFromOtherData) {
    EXPECT_TRUE(TWU::getMovieUserDictionaryForKey(kKey, movie_).isNil());
    TWU::setMovieUserData(tenBytes_, kKey, movie_);
    EXPECT_TRUE(TWU::getMovieUserDictionaryForKey(kKey, movie_).isNil());
    TWU::setMovieUserData(
        NSKeyedArchiver::archivedDataWithRootObject(NSArray(std::vector<PropertyListValue>{1})),
        kKey, movie_);
    EXPECT_TRUE(TWU::getMovieUserDictionaryForKey(kKey, movie_).isNil());
    const LogCapture log;
    EXPECT_EQ(TWU::setMovieUserDictionary(NSDictionary{{"a", 5}}, kKey, nullptr), -1);
    EXPECT_THAT(log.lines(), ElementsAre("Cant set Movies User Data: Error=-1"));
}

std::string contentsOf(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

TEST_F(MovieUserData, StaysInTheFileNextToTheItemsOfOthers) {
    const test::TemporaryDirectory directory;
    const std::string path = directory.file("a.mov");
    test::runFfmpeg({"-f", "lavfi", "-i", "testsrc=duration=1:size=64x48:rate=25", "-c:v", "mjpeg",
                     "-metadata", "title=A film of others", path});
    const std::string before = contentsOf(path);
    const std::size_t userData = before.find("udta");
    ASSERT_NE(userData, std::string::npos);
    const std::string others = before.substr(userData + 4);
    {
        StMovie movie{NSString(path)};
        ASSERT_EQ(TWU::setMovieUserData(tenBytes_, kKey, movie), noErr);
        ASSERT_EQ(movie.UpdateMovieFile(), noErr);
    }
    const StMovie movie{NSString(path)};
    EXPECT_EQ(TWU::getMovieUserDataForKey(kKey, movie), tenBytes_);
    EXPECT_NE(contentsOf(path).find(others.substr(0, 40)), std::string::npos);
    const auto told = test::runProgram(
        {"ffprobe", "-v", "warning", "-show_entries", "format_tags=title", "-of", "csv=p=0", path});
    EXPECT_EQ(told.output, "A film of others\n");
    EXPECT_EQ(told.errors, "");
}

}  // namespace
}  // namespace TWQuickTime
