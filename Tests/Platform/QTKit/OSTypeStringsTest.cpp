#include "OSTypeStrings.h"

#include <gtest/gtest.h>

namespace TWQuickTime {
namespace {

TEST(OSTypeStrings, ACodeIsItsFourCharacters) {
    EXPECT_EQ(QTStringForOSType(fourCC("mov ")), "mov ");
    EXPECT_EQ(QTStringForOSType(fourCC("dvc!")), "dvc!");
    EXPECT_EQ(QTStringForOSType(0xA96E616D), "\u00A9nam");
    EXPECT_EQ(QTStringForOSType(0).length(), 4u);
}

TEST(OSTypeStrings, ATextGivesItsCodeBack) {
    for (const OSType code : {fourCC("mov "), fourCC("spit"), OSType{0xA96E616D}, OSType{0}})
        EXPECT_EQ(QTOSTypeForString(QTStringForOSType(code)), code);
    EXPECT_EQ(QTOSTypeForString("mp4"), fourCC("mp4 "));
    EXPECT_EQ(QTOSTypeForString("longer"), fourCC("long"));
    EXPECT_EQ(QTOSTypeForString(nullptr), 0u);
    EXPECT_EQ(QTOSTypeForString("\u3042bcd"), 0u);
}

}  // namespace
}  // namespace TWQuickTime
