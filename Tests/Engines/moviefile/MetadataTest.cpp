#include "Engines/moviefile/Metadata.h"

#include <gtest/gtest.h>

#include "Engines/moviefile/MovieReader.h"
#include "MovieBytes.h"

namespace TWQuickTime::moviefile {
namespace {

using namespace test;

Bytes value(std::uint32_t kind, const Bytes& bytes) {
    return atom("data", joined({u32(kind), u32(0), bytes}));
}

/// 'ilst' with one item whose type is a number or a code.
Bytes items(std::uint32_t type, const Bytes& data) {
    return atom("ilst",
                joined({u32(static_cast<std::uint32_t>(data.size() + 8)), u32(type), data}));
}

std::vector<MetadataItem> metadataOfMovie(const Bytes& more) {
    const auto movie = readMovieAtom(shared(test::movie(track(), more)));
    EXPECT_TRUE(movie);
    return metadataOf(**movie);
}

TEST(Metadata, KeysOfTextNameTheItems) {
    const Bytes keys = atom("keys", joined({u32(0), u32(2), atom("mdta", bytesOf("title")),
                                            atom("mdta", bytesOf("com.example.note"))}));
    const Bytes meta =
        atom("meta", joined({handler("mdta"), keys, items(2, value(1, bytesOf("a note")))}));
    const auto found = metadataOfMovie(meta);
    ASSERT_EQ(found.size(), 1u);
    EXPECT_EQ(found[0].key, "com.example.note");
    EXPECT_EQ(textOf(found[0]), "a note");
}

TEST(Metadata, IsoFilesPutAVersionInFrontAndTypesForKeys) {
    const Bytes meta = atom(
        "meta", joined({u32(0), handler("mdir"), items(0xA96E616D, value(1, bytesOf("a name")))}));
    const auto found = metadataOfMovie(atom("udta", meta));
    ASSERT_EQ(found.size(), 1u);
    EXPECT_EQ(found[0].type, 0xA96E616Du);
    EXPECT_EQ(textOf(found[0]), "a name");
}

TEST(Metadata, TextMayBeUtf16AndOtherKindsAreNoText) {
    const Bytes wide =
        joined({u16('a'), u16(0x00FC), u16(0x20AC), u16(0xD83D), u16(0xDE00), u16(0xD83D)});
    EXPECT_EQ(textOf({.kind = 2, .value = shared(wide)}),
              "a\xC3\xBC\xE2\x82\xAC\xF0\x9F\x98\x80\xEF\xBF\xBD");
    EXPECT_EQ(textOf({.kind = 21, .value = shared(u32(5))}), std::nullopt);
}

TEST(Metadata, DamagedItemsAreLeftOut) {
    const Bytes keys = atom("keys", u32(0));
    const Bytes list =
        atom("ilst", joined({u32(20), u32(9), atom("data", u32(1)), u32(99), bytesOf("....")}));
    EXPECT_TRUE(metadataOfMovie(atom("meta", joined({handler("mdta"), keys, list}))).empty());
    EXPECT_TRUE(metadataOfMovie(atom("meta", zeros(6))).empty());
    EXPECT_TRUE(metadataOfMovie(Bytes()).empty());
}

}  // namespace
}  // namespace TWQuickTime::moviefile
