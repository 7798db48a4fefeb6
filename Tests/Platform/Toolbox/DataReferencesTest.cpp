#include "DataReferences.h"

#include <gtest/gtest.h>

#include <cstring>
#include <filesystem>
#include <string>

#include "Handles.h"

namespace TWQuickTime {
namespace {

NSString roundTrip(const std::string& path) {
    Handle reference = nullptr;
    OSType type = 0;
    EXPECT_EQ(QTNewDataReferenceFromFullPathCFString(path, kQTNativeDefaultPathStyle, 0, &reference,
                                                     &type),
              noErr);
    EXPECT_EQ(type, fourCC("alis"));
    NSString back;
    EXPECT_EQ(QTGetDataReferenceFullPathCFString(reference, type, kQTNativeDefaultPathStyle, &back),
              noErr);
    DisposeHandle(reference);
    return back;
}

NSString pathOf(const std::string& bytes, const char* type) {
    Handle reference = nullptr;
    EXPECT_EQ(PtrToHand(bytes.data(), &reference, static_cast<Size>(bytes.size())), noErr);
    NSString path;
    const OSErr status =
        QTGetDataReferenceFullPathCFString(reference, fourCC(type), kQTPOSIXPathStyle, &path);
    EXPECT_EQ(status, path ? noErr : couldNotResolveDataRef);
    DisposeHandle(reference);
    return path;
}

TEST(DataReferences, AReferenceGivesItsPathBack) {
    EXPECT_EQ(roundTrip("/films/a film.mov"), "/films/a film.mov");
    EXPECT_EQ(roundTrip("/odd"), "/odd");
    EXPECT_EQ(roundTrip("/f\xC3\xA4lle/\xE3\x81\x82.mov"), "/f\xC3\xA4lle/\xE3\x81\x82.mov");
    const std::string deep = "/" + std::string(200, 'd') + "/" + std::string(250, 'n') + ".mov";
    EXPECT_EQ(roundTrip(deep), NSString(deep));
}

TEST(DataReferences, ARelativePathStartsAtTheCurrentFolder) {
    EXPECT_EQ(roundTrip("a.mov"), NSString((std::filesystem::current_path() / "a.mov").string()));
}

TEST(DataReferences, TheBytesAreAClassicAliasRecord) {
    Handle reference = nullptr;
    OSType type = 0;
    ASSERT_EQ(
        QTNewDataReferenceFromFullPathCFString("/d/a.mov", kQTPOSIXPathStyle, 0, &reference, &type),
        noErr);
    const std::string bytes(*reference, static_cast<std::size_t>(GetHandleSize(reference)));
    std::string expected(150, '\0');
    expected[5] = static_cast<char>(150 + 12 + 6 + 4);  // size of the record
    expected[7] = 2;                                    // version
    expected.replace(10, 2, "\1/");                     // volume
    expected.replace(42, 2, "H+");                      // file system
    expected.replace(50, 6, "\5a.mov");
    expected.replace(130, 4, "\xFF\xFF\xFF\xFF");  // levels unknown
    expected += std::string("\0\x12\0\x08/d/a.mov", 12);
    expected += std::string("\0\x13\0\x01/\0", 6);
    expected += std::string("\xFF\xFF\0\0", 4);
    EXPECT_EQ(bytes, expected);
    DisposeHandle(reference);
}

TEST(DataReferences, AnAliasWithoutAPosixPathIsReadByItsColonPath) {
    const std::string record = std::string(150, '\0') +
                               std::string("\0\x02\0\x0DMac:dir/x:mov", 17) +
                               std::string("\0\xFF\xFF\0\0", 5);
    EXPECT_EQ(pathOf(record, "alis"), "/dir:x/mov");
}

TEST(DataReferences, FileURLsAreReferencesToo) {
    EXPECT_EQ(pathOf("file:///films/a%20film.mov", "url "), "/films/a film.mov");
    EXPECT_EQ(pathOf(std::string("file:///a.mov\0junk", 18), "url "), "/a.mov");
    EXPECT_TRUE(pathOf("http://example.org/a.mov", "url ").isNil());
    EXPECT_TRUE(pathOf("", "url ").isNil());
}

TEST(DataReferences, DamagedAliasesNameNothing) {
    EXPECT_TRUE(pathOf("", "alis").isNil());
    EXPECT_TRUE(pathOf(std::string(149, '\0'), "alis").isNil());
    EXPECT_TRUE(pathOf(std::string(150, '\0'), "alis").isNil());
    EXPECT_TRUE(
        pathOf(std::string(150, '\0') + std::string("\0\x12\xFF\xF0/a", 6), "alis").isNil());
    EXPECT_TRUE(
        pathOf(std::string(150, '\0') + std::string("\0\x12\0\x05/a\0/b", 9), "alis").isNil());
    EXPECT_TRUE(pathOf(std::string(400, '\xFF'), "alis").isNil());
    EXPECT_TRUE(pathOf("whatever", "hndl").isNil());
}

TEST(DataReferences, BadArgumentsGiveAStatusAndNoReference) {
    Handle reference = reinterpret_cast<Handle>(8);
    OSType type = 1;
    EXPECT_EQ(QTNewDataReferenceFromFullPathCFString(nullptr, -1, 0, &reference, &type), paramErr);
    EXPECT_EQ(reference, nullptr);
    EXPECT_EQ(type, 0u);
    EXPECT_EQ(QTNewDataReferenceFromFullPathCFString("", -1, 0, &reference, &type), paramErr);
    EXPECT_EQ(QTNewDataReferenceFromFullPathCFString("/a", 1, 0, &reference, &type), paramErr);
    EXPECT_EQ(QTNewDataReferenceFromFullPathCFString("/a", -1, 0, nullptr, &type), paramErr);
    EXPECT_EQ(
        QTNewDataReferenceFromFullPathCFString(std::string("/a\0b", 4), -1, 0, &reference, &type),
        paramErr);
    NSString path;
    EXPECT_EQ(QTGetDataReferenceFullPathCFString(nullptr, fourCC("alis"), -1, &path),
              invalidDataRef);
}

}  // namespace
}  // namespace TWQuickTime
