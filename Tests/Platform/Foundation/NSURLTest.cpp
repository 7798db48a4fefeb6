#include "NSURL.h"

#include <gtest/gtest.h>

#include <filesystem>

#include "TemporaryDirectory.h"

namespace TWQuickTime {
namespace {

TEST(NSURL, AFilePathComesBackFromItsURL) {
    for (const char* path : {"/a/b.mov", "/with space/100%.mov", "/ünï/日本.mov", "/q?a#b;c.mov",
                             "/bad\xFF utf8", "/~user/it's(1)+2"}) {
        const NSURL url = NSURL::fileURLWithPath(path);
        EXPECT_TRUE(url.isFileURL()) << path;
        EXPECT_EQ(url.path(), path);
        EXPECT_EQ(NSURL::URLWithString(url.absoluteString()), url) << path;
    }
}

TEST(NSURL, CharactersThatMeanSomethingInURLsAreEscaped) {
    EXPECT_EQ(NSURL::fileURLWithPath("/a b/ä%?#;.mov").absoluteString(),
              "file:///a%20b/%C3%A4%25%3F%23%3B.mov");
}

TEST(NSURL, ARelativePathIsTakenFromTheCurrentDirectory) {
    EXPECT_EQ(NSURL::fileURLWithPath("no-such-file.mov").path(),
              (std::filesystem::current_path() / "no-such-file.mov").string());
}

TEST(NSURL, AnExistingDirectoryGetsATrailingSlashThatThePathDoesNotShow) {
    const test::TemporaryDirectory folder;
    const NSURL url = NSURL::fileURLWithPath(folder.path().string());
    EXPECT_TRUE(url.absoluteString().hasSuffix("/"));
    EXPECT_EQ(url.path(), folder.path().string());
    EXPECT_EQ(NSURL::fileURLWithPath("/").path(), "/");
}

TEST(NSURL, NoPathGivesNil) {
    EXPECT_FALSE(NSURL::fileURLWithPath(nullptr));
    EXPECT_FALSE(NSURL::fileURLWithPath(""));
    EXPECT_FALSE(NSURL::fileURLWithPath(std::string("/a\0b", 4)));
    EXPECT_FALSE(NSURL().isFileURL());
    EXPECT_TRUE(NSURL().path().isNil());
    EXPECT_TRUE(NSURL().scheme().isNil());
}

TEST(NSURL, ATextIsTakenApart) {
    const NSURL url = NSURL::URLWithString("http://me:pw@example.org:8080/a%20b/c.mov?x=1/2#t");
    EXPECT_EQ(url.scheme(), "http");
    EXPECT_EQ(url.host(), "example.org");
    EXPECT_EQ(url.path(), "/a b/c.mov");
    EXPECT_FALSE(url.isFileURL());
    EXPECT_EQ(NSURL::URLWithString("http://[::1]:80/").host(), "[::1]");
    EXPECT_TRUE(NSURL::URLWithString("mailto:a").host().isNil());
    EXPECT_EQ(NSURL::URLWithString("http://h").path(), "");
}

TEST(NSURL, AFileURLIsKnownInAnyCaseAndWithAHost) {
    EXPECT_TRUE(NSURL::URLWithString("FILE:///a").isFileURL());
    EXPECT_EQ(NSURL::URLWithString("file://localhost/a/b").path(), "/a/b");
    EXPECT_EQ(NSURL::URLWithString("file:/a/b").path(), "/a/b");
    EXPECT_FALSE(NSURL::URLWithString("filex:///a").isFileURL());
}

TEST(NSURL, ATextWithoutASchemeIsARelativeURL) {
    const NSURL url = NSURL::URLWithString("a/b:c");
    EXPECT_TRUE(url.scheme().isNil());
    EXPECT_EQ(url.path(), "a/b:c");
    EXPECT_FALSE(url.isFileURL());
    EXPECT_TRUE(NSURL::URLWithString("1a:b").scheme().isNil());
}

TEST(NSURL, AnIllFormedTextGivesNil) {
    for (const char* text : {"", "http://a b", "file:///ä", "a%", "a%2", "a%2g", "<x>", "a\nb"})
        EXPECT_FALSE(NSURL::URLWithString(text)) << text;
    EXPECT_FALSE(NSURL::URLWithString(nullptr));
}

TEST(NSURL, AnEscapedNULHidesNoPath) {
    EXPECT_TRUE(NSURL::URLWithString("file:///a%00b").path().isNil());
}

}  // namespace
}  // namespace TWQuickTime
