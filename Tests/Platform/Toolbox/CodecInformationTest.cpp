#include "CodecInformation.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "Components.h"
#include "Handles.h"

namespace TWQuickTime {
namespace {

Component firstOf(const char* type, const char* subType) {
    const ComponentDescription wanted{.componentType = fourCC(type),
                                      .componentSubType = fourCC(subType),
                                      .componentManufacturer = fourCC("appl")};
    return FindNextComponent(nullptr, &wanted);
}

NSString pascal(const std::uint8_t* text) {
    return stringWithPascalString(
        text, CFStringConvertEncodingToNSStringEncoding(GetApplicationTextEncoding()));
}

TEST(CodecInformation, AnInstalledCodecTellsItsNameAndWhatItCanDo) {
    CodecInfo info;
    ASSERT_EQ(GetCodecInfo(&info, fourCC("jpeg"), nullptr), noErr);
    EXPECT_EQ(pascal(info.typeName), "Photo - JPEG");
    EXPECT_NE(info.decompressFlags, 0u);
    EXPECT_NE(info.compressFlags, 0u);
    ASSERT_EQ(GetCodecInfo(&info, fourCC("SVQ3"), nullptr), noErr);
    EXPECT_EQ(info.compressFlags, 0u);
}

TEST(CodecInformation, ATypeWithoutAnyCodecIsAnError) {
    CodecInfo info;
    EXPECT_EQ(GetCodecInfo(&info, fourCC("kpcd"), nullptr), noCodecErr);
    EXPECT_EQ(GetCodecInfo(&info, fourCC("zzzz"), nullptr), noCodecErr);
    EXPECT_EQ(GetCodecInfo(&info, fourCC("mp4a"), nullptr), noCodecErr);
    EXPECT_EQ(GetCodecInfo(&info, 0, nullptr), noCodecErr);
    EXPECT_EQ(GetCodecInfo(nullptr, fourCC("jpeg"), nullptr), paramErr);
}

TEST(CodecInformation, ACertainCodecMustBeOfTheType) {
    CodecInfo info;
    EXPECT_EQ(GetCodecInfo(&info, fourCC("jpeg"), firstOf("imdc", "jpeg")), noErr);
    EXPECT_EQ(GetCodecInfo(&info, fourCC("jpeg"), firstOf("imdc", "rle ")), noCodecErr);
}

TEST(CodecInformation, CompressionNamesAreKnownForSoundAndVideoInstalledOrNot) {
    std::uint8_t name[256];
    EXPECT_EQ(GetCompressionName(fourCC("twos"), name), noErr);
    EXPECT_EQ(pascal(name), "16-bit Big Endian");
    EXPECT_EQ(GetCompressionName(fourCC("kpcd"), name), noErr);
    EXPECT_EQ(pascal(name), "Photo CD");
    EXPECT_EQ(GetCompressionName(fourCC("ulaw"), name), noErr);
    EXPECT_EQ(pascal(name), "\u00B5Law 2:1");
    EXPECT_EQ(GetCompressionName(fourCC("zzzz"), name), noCodecErr);
    EXPECT_EQ(name[0], 0);
    EXPECT_EQ(GetCompressionName(0, name), noCodecErr);
    EXPECT_EQ(GetCompressionName(fourCC("twos"), nullptr), paramErr);
}

TEST(CodecInformation, TextIsInTheEncodingThatItSays) {
    EXPECT_EQ(CFStringConvertEncodingToNSStringEncoding(kCFStringEncodingMacRoman),
              NSClassicRomanStringEncoding);
    EXPECT_EQ(CFStringConvertEncodingToNSStringEncoding(0x1234), 0u);
    const std::uint8_t text[] = {2, 'a', 'b', 'c'};
    EXPECT_EQ(stringWithPascalString(text, NSUTF8StringEncoding), "ab");
    EXPECT_EQ(stringWithPascalString(text, NSClassicRomanStringEncoding), "ab");
    const std::uint8_t umlaut[] = {3, 'K', 0x8A, 0xDB};
    EXPECT_TRUE(stringWithPascalString(umlaut, NSUTF8StringEncoding).isNil());
    EXPECT_EQ(stringWithPascalString(umlaut, NSClassicRomanStringEncoding), "Kä€");
    EXPECT_TRUE(stringWithPascalString(text, 0).isNil());
    EXPECT_TRUE(stringWithPascalString(nullptr, NSUTF8StringEncoding).isNil());
}

TEST(InstalledComponents, CodecsAreComponentsOnlyForWhatTheMachineHas) {
    EXPECT_TRUE(firstOf("imdc", "jpeg"));
    EXPECT_TRUE(firstOf("imco", "jpeg"));
    EXPECT_TRUE(firstOf("imdc", "SVQ3"));
    EXPECT_FALSE(firstOf("imco", "SVQ3"));
    EXPECT_FALSE(firstOf("imdc", "kpcd"));
    EXPECT_TRUE(firstOf("imdc", "DX50"));
    EXPECT_TRUE(firstOf("sdec", "mp4a"));
    EXPECT_TRUE(firstOf("scom", "twos"));
    EXPECT_FALSE(firstOf("scom", "MAC3"));
}

TEST(InstalledComponents, MediaHandlersAreThereAndThreadSafe) {
    for (const char* type : {"vide", "soun", "tmcd", "twen", "text"}) {
        const Component handler = firstOf("mhlr", type);
        ASSERT_TRUE(handler) << type;
        ComponentDescription description;
        Handle name = NewHandle(0);
        EXPECT_EQ(GetComponentInfo(handler, &description, name, nullptr, nullptr), noErr);
        EXPECT_TRUE(description.componentFlags & cmpThreadSafe);
        EXPECT_GT(GetHandleSize(name), 1);
        DisposeHandle(name);
        ComponentInstance instance = OpenComponent(handler);
        EXPECT_TRUE(instance);
        EXPECT_EQ(CloseComponent(instance), noErr);
    }
}

}  // namespace
}  // namespace TWQuickTime
