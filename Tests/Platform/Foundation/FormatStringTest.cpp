#include "FormatString.h"

#include <gtest/gtest.h>
#include <locale.h>

#include <limits>

#include "PropertyListValue.h"

namespace TWQuickTime {
namespace {

struct Described {
    NSString description() const { return "<Described>"; }
};

TEST(FormatString, PrintsEachConversion) {
    EXPECT_EQ(formatString("%s and %@", "text", NSString("ä")), "text and ä");
    EXPECT_EQ(formatString("%d %i %ld %lld", -1, 2, -3L, std::int64_t{4}), "-1 2 -3 4");
    EXPECT_EQ(formatString("%u %lu %zu", 1u, 2ul, sizeof(int)), "1 2 4");
    EXPECT_EQ(formatString("%x %X %o %#x", 255, 255, 8, 255), "ff FF 10 0xff");
    EXPECT_EQ(formatString("%f %.2f %g %e", 1.5, 2.345, 0.0001, 12345.0),
              "1.500000 2.35 0.0001 1.234500e+04");
    EXPECT_EQ(formatString("%c%c%c%c", 'v', 'i', 'd', 'e'), "vide");
    EXPECT_EQ(formatString("100%%"), "100%");
    EXPECT_EQ(formatString("%@", Described()), "<Described>");
    EXPECT_EQ(formatString("%@", std::string("owned")), "owned");
    EXPECT_EQ(formatString("%@", PropertyListValue(5)), "5");
    EXPECT_EQ(formatString("%d", true), "1");
}

TEST(FormatString, NothingPrintsAsNull) {
    EXPECT_EQ(formatString("%s %@ %@ %@", static_cast<const char*>(nullptr), NSString(), nullptr,
                           PropertyListValue()),
              "(null) (null) (null) (null)");
    EXPECT_EQ(formatString("%@", NSString("")), "");
}

TEST(FormatString, HonoursWidthsPrecisionsAndFlags) {
    EXPECT_EQ(formatString("%02d:%02d", 5, 12), "05:12");
    EXPECT_EQ(formatString("[%5d] [%-5d] [%+d] [% d]", 42, 42, 42, 42),
              "[   42] [42   ] [+42] [ 42]");
    EXPECT_EQ(formatString("[%05d] [%-05d]", -42, -42), "[-0042] [-42  ]");
    EXPECT_EQ(formatString("[%.3d] [%8.3d] [%08.3d]", 7, 7, 7), "[007] [     007] [     007]");
    EXPECT_EQ(formatString("[%.0d]", 0), "[]");
    EXPECT_EQ(formatString("[%08.3f] [%-8.1f]", -1.5, 1.5), "[-001.500] [1.5     ]");
    EXPECT_EQ(formatString("[%6s] [%-6@] [%.2s]", "ab", NSString("ab"), "abcdef"),
              "[    ab] [ab    ] [ab]");
    EXPECT_EQ(formatString("[%3@] [%.1@]", NSString("ä"), NSString("äö")), "[  ä] [ä]");
    EXPECT_EQ(formatString("[%08x] [%#06X]", 0xABC, 0xABC), "[00000abc] [0X0ABC]");
    EXPECT_EQ(formatString("[%*d] [%-*d] [%*d] [%.*f]", 4, 1, 4, 1, -4, 1, 2, 1.239),
              "[   1] [1   ] [1   ] [1.24]");
}

TEST(FormatString, ArgumentsMayBeNamedByTheirPosition) {
    EXPECT_EQ(formatString("%2$@ before %1$@", "a", "b"), "b before a");
    EXPECT_EQ(formatString("%1$d %1$05d %3$d", 7), "7 00007 ");
}

TEST(FormatString, NegativeNumbersAsUnsignedKeepTheBitsOfTheirType) {
    EXPECT_EQ(formatString("%x", std::int32_t{-1}), "ffffffff");
    EXPECT_EQ(formatString("%u", std::int32_t{-1}), "4294967295");
    EXPECT_EQ(formatString("%lx", std::int64_t{-1}), "ffffffffffffffff");
    EXPECT_EQ(formatString("%hx %x", std::int16_t{-1}, std::int16_t{-1}), "ffff ffffffff");
    EXPECT_EQ(formatString("%hhx", static_cast<signed char>(-1)), "ff");
}

TEST(FormatString, UnsignedNumbersAsSignedAreReadInTheirWidth) {
    EXPECT_EQ(formatString("%d", 0xFFFFFFFFu), "-1");
    EXPECT_EQ(formatString("%d", std::uint8_t{200}), "200");
    EXPECT_EQ(formatString("%d", std::uint16_t{65535}), "65535");
    EXPECT_EQ(formatString("%ld", std::numeric_limits<std::uint64_t>::max()), "-1");
    EXPECT_EQ(formatString("%d", std::numeric_limits<std::int64_t>::min()), "-9223372036854775808");
}

TEST(FormatString, AnArgumentThatDoesNotFitPrintsInItsOwnForm) {
    EXPECT_EQ(formatString("%s", 42), "42");
    EXPECT_EQ(formatString("%@", -42), "-42");
    EXPECT_EQ(formatString("%@", std::numeric_limits<std::uint64_t>::max()),
              "18446744073709551615");
    EXPECT_EQ(formatString("%d", 2.5), "2.5");
    EXPECT_EQ(formatString("%d %x %c", "text", NSString("ä"), NSString()), "text ä (null)");
    EXPECT_EQ(formatString("%f", 3), "3");
    EXPECT_EQ(formatString("%c", 1.5), "1.5");
}

TEST(FormatString, AMissingArgumentPrintsNothingAndASpareOneIsIgnored) {
    EXPECT_EQ(formatString("<%d>"), "<>");
    EXPECT_EQ(formatString("<%d><%s>", 1), "<1><>");
    EXPECT_EQ(formatString("<%d>", 1, 2, 3), "<1>");
}

TEST(FormatString, WhatIsNoConversionStandsAsItIs) {
    EXPECT_EQ(formatString("100% sure", 1), "100 1ure");
    EXPECT_EQ(formatString("50%", 1), "50%");
    EXPECT_EQ(formatString("%y %", 1), "%y %");
    EXPECT_EQ(formatString("%-"), "%-");
    EXPECT_EQ(formatString(""), "");
}

TEST(FormatString, ABytePrintedAsCharacterIsItsLatin1Character) {
    EXPECT_EQ(formatString("%c%c%c%c", 0xA9, 'n', 'a', 'm'), "©nam");
    EXPECT_EQ(formatString("%c", static_cast<char>(0xA9)), "©");
    EXPECT_EQ(formatString("%C", 0x20AC), "€");
    EXPECT_EQ(formatString("%c", 0).length(), 1u);
}

TEST(FormatString, AHugeWidthOrPrecisionIsCut) {
    EXPECT_EQ(formatString("%999999999d", 1).length(), 4096u);
    EXPECT_EQ(formatString("%*d", std::numeric_limits<int>::min(), 1).length(), 4096u);
    EXPECT_EQ(formatString("%.999999999d", 1).length(), 4096u);
    EXPECT_EQ(formatString("%.999999999f", 1e308).length(), 309u + 1 + 400);
}

TEST(FormatString, RealsThatAreNoNumbersAreNotFilledWithZeros) {
    EXPECT_EQ(formatString("%06f", std::numeric_limits<double>::infinity()), "   inf");
    EXPECT_EQ(formatString("%f", -std::numeric_limits<double>::infinity()), "-inf");
    EXPECT_EQ(formatString("%f", -0.0), "-0.000000");
}

TEST(FormatString, TheDecimalPointDoesNotFollowTheLocale) {
    const locale_t commas = newlocale(LC_NUMERIC_MASK, "de_DE.UTF-8", nullptr);
    const locale_t before = commas ? uselocale(commas) : nullptr;
    EXPECT_EQ(formatString("%.1f", 1.5), "1.5");
    EXPECT_EQ(PropertyListValue(0.5).description(), "0.5");
    if (commas) {
        uselocale(before);
        freelocale(commas);
    }
}

}  // namespace
}  // namespace TWQuickTime
