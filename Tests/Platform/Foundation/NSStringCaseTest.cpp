#include <gtest/gtest.h>

#include "NSString.h"

namespace TWQuickTime {
namespace {

TEST(NSStringCase, TheFirstLetterOfEveryWordIsCapitalAndTheOthersSmall) {
    EXPECT_EQ(NSString("qecs").capitalizedString(), "Qecs");
    EXPECT_EQ(NSString("QECS").capitalizedString(), "Qecs");
    EXPECT_EQ(NSString("the QUICK  brown\tfox").capitalizedString(), "The Quick  Brown\tFox");
    EXPECT_EQ(NSString("").capitalizedString(), "");
    EXPECT_EQ(NSString("x").capitalizedString(), "X");
}

TEST(NSStringCase, PunctuationAndDigitsSeparateWordsButApostrophesDoNot) {
    EXPECT_EQ(NSString("rock-and-roll").capitalizedString(), "Rock-And-Roll");
    EXPECT_EQ(NSString("don't stop").capitalizedString(), "Don't Stop");
    EXPECT_EQ(NSString("l’été").capitalizedString(), "L’été");
    EXPECT_EQ(NSString("mp4v file_name").capitalizedString(), "Mp4V File_Name");
    EXPECT_EQ(NSString("(hello)").capitalizedString(), "(Hello)");
}

TEST(NSStringCase, LettersBeyondASCIIHaveCaseToo) {
    EXPECT_EQ(NSString("ÉCOLE ärger").capitalizedString(), "École Ärger");
    EXPECT_EQ(NSString("привет МИР").capitalizedString(), "Привет Мир");
    EXPECT_EQ(NSString("ΑΘΗΝΑ").capitalizedString(), "Αθηνα");
    EXPECT_EQ(NSString("日本語 abc").capitalizedString(), "日本語 Abc");
    EXPECT_EQ(NSString("ǆamija").capitalizedString(), "ǅamija");
}

TEST(NSStringCase, CombiningMarksStayInsideTheirWord) {
    EXPECT_EQ(NSString("e\xCC\x81"
                       "cole")
                  .capitalizedString(),
              "E\xCC\x81"
              "cole");
}

TEST(NSStringCase, LettersThatGrowDoSo) {
    EXPECT_EQ(NSString("straße").uppercaseString(), "STRASSE");
    EXPECT_EQ(NSString("ßa").capitalizedString(), "Ssa");
    EXPECT_EQ(NSString("ﬁne").uppercaseString(), "FINE");
    EXPECT_EQ(NSString("ﬁne").capitalizedString(), "Fine");
    EXPECT_EQ(NSString("İ").lowercaseString(), "i\xCC\x87");
}

TEST(NSStringCase, AGreekSigmaAtTheEndOfAWordHasItsOwnForm) {
    EXPECT_EQ(NSString("ΟΔΥΣΣΕΥΣ").lowercaseString(), "οδυσσευς");
    EXPECT_EQ(NSString("ΟΔΟΣ ΣΑΣ").capitalizedString(), "Οδος Σας");
    EXPECT_EQ(NSString("Σ").lowercaseString(), "σ");
}

TEST(NSStringCase, IllFormedBytesBecomeReplacementCharactersInAMappedText) {
    EXPECT_EQ(NSString("a\xFF"
                       "b")
                  .capitalizedString(),
              "A\xEF\xBF\xBD"
              "B");
}

}  // namespace
}  // namespace TWQuickTime
