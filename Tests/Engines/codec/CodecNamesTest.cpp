#include "Engines/codec/CodecNames.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <set>
#include <string>

#include "Engines/codec/CodecTable.h"
#include "RunProgram.h"

namespace TWQuickTime::codec {
namespace {

constexpr std::uint32_t code(const char (&text)[5]) {
    std::uint32_t value = 0;
    for (int i = 0; i < 4; ++i)
        value = value << 8 | static_cast<unsigned char>(text[i]);
    return value;
}

TEST(CodecNames, ACodeAndItsAliasesHaveOneName) {
    ASSERT_TRUE(findVideoCodecName(code("avc1")));
    EXPECT_EQ(findVideoCodecName(code("avc1"))->name, "H.264");
    EXPECT_EQ(findVideoCodecName(code("ai12")), findVideoCodecName(code("avc1")));
    EXPECT_EQ(findVideoCodecName(code("jpeg"))->name, "Photo - JPEG");
    EXPECT_EQ(findSoundCodecName(code("mp4a"))->name, "AAC (MPEG-4 Audio)");
    EXPECT_EQ(findSoundCodecName(0x6D730055)->name, "MPEG Layer-3");
    EXPECT_EQ(findSoundCodecName(code("ulaw"))->name, "\u00B5Law 2:1");
}

TEST(CodecNames, VideoAndSoundHaveTablesOfTheirOwn) {
    EXPECT_EQ(findVideoCodecName(code("raw "))->name, "None (uncompressed)");
    EXPECT_EQ(findSoundCodecName(code("raw "))->name, "8-bit Unsigned");
    EXPECT_FALSE(findVideoCodecName(code("mp4a")));
    EXPECT_FALSE(findSoundCodecName(code("avc1")));
}

TEST(CodecNames, UnknownCodesAndZeroHaveNone) {
    EXPECT_FALSE(findVideoCodecName(0));
    EXPECT_FALSE(findSoundCodecName(0));
    EXPECT_FALSE(findVideoCodecName(code("zzzz")));
    EXPECT_FALSE(findSoundCodecName(code("zzzz")));
}

TEST(CodecNames, NoCodeStandsInATableTwice) {
    for (const auto& rows : {videoCodecNames(), soundCodecNames()}) {
        std::set<std::uint32_t> seen;
        for (const CodecName& row : rows) {
            EXPECT_FALSE(row.name.empty());
            EXPECT_TRUE(seen.insert(row.code).second) << row.name;
            for (const std::uint32_t alias : row.aliases)
                EXPECT_TRUE(seen.insert(alias).second) << row.name;
        }
    }
}

TEST(CodecNames, WhatExistsAgreesWithTheInstalledProgramsLists) {
    for (const bool encoders : {false, true}) {
        const test::ProgramResult listed =
            test::runProgram({"ffmpeg", "-hide_banner", encoders ? "-encoders" : "-decoders"});
        ASSERT_EQ(listed.exitStatus, 0);
        const auto isListed = [&](const std::string& name) {
            return listed.output.find(" " + name + " ") != std::string::npos;
        };
        for (const auto& rows : {videoCodecNames(), soundCodecNames()}) {
            for (const CodecName& row : rows) {
                bool expected = false;
                std::string names(encoders ? row.encoders : row.decoders);
                for (std::size_t end; !names.empty(); names.erase(0, end + 1)) {
                    end = std::min(names.find(' '), names.size() - 1);
                    const std::string name = names.substr(0, names[end] == ' ' ? end : end + 1);
                    expected = expected || isListed(name);
                }
                EXPECT_EQ(encoders ? encoderExists(row) : decoderExists(row), expected) << row.name;
            }
        }
    }
}

TEST(CodecNames, CodecsAreSaidToHaveAnEncoderExactlyWhereTheEncodersTableKnowsThem) {
    for (const CodecName& row : videoCodecNames()) {
        const auto types = videoEncoderTypes();
        EXPECT_EQ(!row.encoders.empty(), std::ranges::find(types, row.code) != types.end())
            << row.name;
    }
    for (const CodecName& row : soundCodecNames()) {
        const auto types = soundEncoderTypes();
        EXPECT_EQ(!row.encoders.empty(), std::ranges::find(types, row.code) != types.end())
            << row.name;
    }
}

TEST(CodecNames, CodecsWithoutADecoderOrEncoderAreKnownByNameOnly) {
    const CodecName* photo = findVideoCodecName(code("kpcd"));
    ASSERT_TRUE(photo);
    EXPECT_EQ(photo->name, "Photo CD");
    EXPECT_FALSE(decoderExists(*photo));
    EXPECT_FALSE(encoderExists(*photo));
    EXPECT_FALSE(encoderExists(*findVideoCodecName(code("SVQ3"))));
    EXPECT_TRUE(decoderExists(*findVideoCodecName(code("SVQ3"))));
}

}  // namespace
}  // namespace TWQuickTime::codec
