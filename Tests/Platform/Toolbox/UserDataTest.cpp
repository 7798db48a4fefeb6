#include "UserData.h"

#include <gtest/gtest.h>

#include "TestMovies.h"

namespace TWQuickTime {
namespace {

using test::ScopedHandle;
using test::ScopedMovie;
constexpr OSType kKey = fourCC("abcd");

TEST(UserData, BelongsToAMovieATrackOrAMedia) {
    const ScopedMovie movie;
    const Track track = test::addSoundTrack(movie, 8000, 8);
    const Media media = GetTrackMedia(track);
    EXPECT_NE(GetMovieUserData(movie), nullptr);
    EXPECT_EQ(GetMovieUserData(movie), GetMovieUserData(movie));
    EXPECT_NE(GetTrackUserData(track), GetMovieUserData(movie));
    EXPECT_NE(GetMediaUserData(media), GetTrackUserData(track));
    EXPECT_EQ(DisposeUserData(GetMovieUserData(movie)), paramErr);
    EXPECT_EQ(GetMovieUserData(nullptr), nullptr);
    EXPECT_EQ(GetMoviesError(), invalidMovie);
}

TEST(UserData, NumbersItemsOfATypeFrom1) {
    const ScopedMovie movie;
    const UserData list = GetMovieUserData(movie);
    const ScopedHandle first({1}), second({2, 2});
    ASSERT_EQ(AddUserData(list, first, kKey), noErr);
    ASSERT_EQ(AddUserData(list, first, fourCC("zzzz")), noErr);
    ASSERT_EQ(AddUserData(list, second, kKey), noErr);
    EXPECT_EQ(CountUserDataType(list, kKey), 2);
    const ScopedHandle read;
    ASSERT_EQ(GetUserData(list, read, kKey, 2), noErr);
    EXPECT_EQ(read.bytes(), (std::vector<std::uint8_t>{2, 2}));
    EXPECT_EQ(GetUserData(list, read, kKey, 3), userDataItemNotFound);
    EXPECT_EQ(GetUserData(list, read, kKey, 0), userDataItemNotFound);
    ASSERT_EQ(RemoveUserData(list, kKey, 1), noErr);
    ASSERT_EQ(GetUserData(list, read, kKey, 1), noErr);
    EXPECT_EQ(read.bytes(), (std::vector<std::uint8_t>{2, 2}));
    EXPECT_EQ(RemoveUserData(list, kKey, 2), userDataItemNotFound);
    EXPECT_EQ(GetNextUserDataType(list, 0), fourCC("zzzz"));
}

TEST(UserData, ReplacesAnItemOrAddsTheNext) {
    const ScopedMovie movie;
    const UserData list = GetMovieUserData(movie);
    const std::uint8_t five = 5, six = 6;
    ASSERT_EQ(SetUserDataItem(list, &five, 1, kKey, 1), noErr);
    ASSERT_EQ(SetUserDataItem(list, &six, 1, kKey, 2), noErr);
    ASSERT_EQ(SetUserDataItem(list, &six, 1, kKey, 0), noErr);
    EXPECT_EQ(CountUserDataType(list, kKey), 2);
    std::uint8_t read = 0;
    ASSERT_EQ(GetUserDataItem(list, &read, 1, kKey, 1), noErr);
    EXPECT_EQ(read, 6);
    EXPECT_EQ(SetUserDataItem(list, &six, 1, kKey, 4), userDataItemNotFound);
    EXPECT_EQ(SetUserDataItem(list, nullptr, 1, kKey, 1), paramErr);
    EXPECT_EQ(SetUserDataItem(list, &six, -1, kKey, 1), paramErr);
}

TEST(UserData, GivesAnItemOnlyInItsOwnSize) {
    const ScopedMovie movie;
    const UserData list = GetMovieUserData(movie);
    const std::uint8_t bytes[4] = {1, 2, 3, 4};
    ASSERT_EQ(SetUserDataItem(list, bytes, 4, kKey, 1), noErr);
    std::uint8_t read[8] = {};
    EXPECT_EQ(GetUserDataItem(list, read, 3, kKey, 1), paramErr);
    EXPECT_EQ(GetUserDataItem(list, read, 8, kKey, 1), paramErr);
    EXPECT_EQ(GetUserDataItem(list, read, -1, kKey, 1), paramErr);
    EXPECT_EQ(read[0], 0);
    EXPECT_EQ(GetUserDataItem(list, read, 4, kKey, 2), userDataItemNotFound);
}

TEST(UserData, RefusesListsThatAreNone) {
    int foreign = 0;
    std::uint8_t byte = 0;
    UserData disposed = nullptr;
    ASSERT_EQ(NewUserData(&disposed), noErr);
    ASSERT_EQ(DisposeUserData(disposed), noErr);
    for (const UserData list :
         {UserData{nullptr}, reinterpret_cast<UserData>(&foreign), disposed}) {
        EXPECT_EQ(CountUserDataType(list, kKey), 0);
        EXPECT_EQ(GetUserDataItem(list, &byte, 1, kKey, 1), paramErr);
        EXPECT_EQ(SetUserDataItem(list, &byte, 1, kKey, 1), paramErr);
        EXPECT_EQ(DisposeUserData(list), paramErr);
    }
    EXPECT_EQ(NewUserData(nullptr), paramErr);
}

TEST(UserDataTexts, AreOneForEachLanguage) {
    const ScopedMovie movie;
    const UserData list = GetMovieUserData(movie);
    const OSType name = 0xA9000000 | (fourCC("nam ") >> 8);
    const ScopedHandle english({'f', 'i', 'l', 'm'}), german({'F', 'i', 'l', 'm'}), read;
    ASSERT_EQ(AddUserDataText(list, english, name, 1, 0), noErr);
    ASSERT_EQ(AddUserDataText(list, german, name, 1, 2), noErr);
    EXPECT_EQ(CountUserDataType(list, name), 1);
    ASSERT_EQ(GetUserData(list, read, name, 1), noErr);
    EXPECT_EQ(read.bytes(), (std::vector<std::uint8_t>{0, 4, 0, 0, 'f', 'i', 'l', 'm',  //
                                                       0, 4, 0, 2, 'F', 'i', 'l', 'm'}));
    ASSERT_EQ(GetUserDataText(list, read, name, 1, 2), noErr);
    EXPECT_EQ(read.bytes(), (std::vector<std::uint8_t>{'F', 'i', 'l', 'm'}));
    EXPECT_EQ(GetUserDataText(list, read, name, 1, 3), userDataItemNotFound);
    ASSERT_EQ(RemoveUserDataText(list, name, 1, 0), noErr);
    ASSERT_EQ(RemoveUserDataText(list, name, 1, 2), noErr);
    EXPECT_EQ(CountUserDataType(list, name), 0);
    EXPECT_EQ(AddUserDataText(list, english, name, 2, 0), userDataItemNotFound);
}

TEST(UserDataLists, GoIntoHandlesAndBack) {
    UserData list = nullptr;
    ASSERT_EQ(NewUserData(&list), noErr);
    const ScopedHandle empty, handle;
    ASSERT_EQ(AddUserDataText(list, empty, fourCC("name"), 1, 0), noErr);
    ASSERT_EQ(PutUserDataIntoHandle(list, handle), noErr);
    EXPECT_EQ(handle.bytes(),
              (std::vector<std::uint8_t>{0, 0, 0, 12, 'n', 'a', 'm', 'e', 0, 0, 0, 0}));
    DisposeUserData(list);
    ASSERT_EQ(NewUserDataFromHandle(handle, &list), noErr);
    EXPECT_EQ(CountUserDataType(list, fourCC("name")), 1);
    DisposeUserData(list);
    const ScopedHandle terminated({0, 0, 0, 9, 'a', 'b', 'c', 'd', 1, 0, 0, 0, 0});
    ASSERT_EQ(NewUserDataFromHandle(terminated, &list), noErr);
    EXPECT_EQ(CountUserDataType(list, kKey), 1);
    DisposeUserData(list);
    const ScopedHandle tooLong({0, 0, 0, 10, 'a', 'b', 'c', 'd', 1});
    EXPECT_EQ(NewUserDataFromHandle(tooLong, &list), paramErr);
    EXPECT_EQ(list, nullptr);
}

}  // namespace
}  // namespace TWQuickTime
