#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstring>

#include "EnvironmentVariables.h"
#include "LogCapture.h"
#include "SettingsContainer.h"
#include "TWUQuickTimeAtom.h"
#include "ToolboxTrace.h"
#include "UQuickTimeAtom.h"

namespace TWQuickTime {
namespace {

using test::big16;
using test::big32;
using test::SettingsContainer;
using testing::ElementsAre;
using testing::IsEmpty;

class CompressionSettings : public testing::Test {
  protected:
    void TearDown() override { ToolboxTrace::reset(); }
    SettingsContainer settings_;
    test::LogCapture log_;
};

TEST_F(CompressionSettings, WithoutTheAtomTheRecordIsAllZeroConvertedOrNot) {
    for (const bool convert : {false, true}) {
        EXPECT_EQ(UQuickTimeAtom::GetSpatialSettingsFromAtomContainer(settings_, convert),
                  SCSpatialSettings());
        EXPECT_EQ(UQuickTimeAtom::GetTemporalSettingsFromAtomContainer(settings_, convert),
                  SCTemporalSettings());
        EXPECT_EQ(UQuickTimeAtom::GetDataRateSettingsFromAtomContainer(settings_, convert),
                  SCDataRateSettings());
    }
    EXPECT_THAT(log_.lines(), IsEmpty());
}

TEST_F(CompressionSettings, ASpatialRecordIsFourteenBigEndianBytes) {
    const QTAtom video = settings_.group("vide");
    settings_.leaf("sptl", "jpeg" + big32(7) + big16(24) + big32(0x200), video);
    const SCSpatialSettings native =
        UQuickTimeAtom::GetSpatialSettingsFromAtomContainer(settings_, true);
    EXPECT_EQ(+native.codecType, fourCC("jpeg"));
    EXPECT_EQ(+native.codec, 7u);
    EXPECT_EQ(+native.depth, 24);
    EXPECT_EQ(+native.spatialQuality, 0x200u);
    const SCSpatialSettings stored =
        UQuickTimeAtom::GetSpatialSettingsFromAtomContainer(settings_, false);
    EXPECT_EQ(std::memcmp(&stored, "jpeg\0\0\0\7\0\x18\0\0\2\0", 14), 0);
    EXPECT_EQ(+stored.codecType, fourCC("gepj"));
    EXPECT_EQ(+stored.depth, 24 << 8);
}

TEST_F(CompressionSettings, TemporalAndDataRateRecordsHaveTheirFieldsInOrder) {
    settings_.leaf("tprl", big32(0x100) + big32(25 << 16) + big32(24));
    settings_.leaf("drat", big32(1000) + big32(40) + big32(3) + big32(4));
    EXPECT_EQ(UQuickTimeAtom::GetTemporalSettingsFromAtomContainer(settings_, true),
              (SCTemporalSettings{0x100, 25 << 16, 24}));
    EXPECT_EQ(UQuickTimeAtom::GetDataRateSettingsFromAtomContainer(settings_, true),
              (SCDataRateSettings{1000, 40, 3, 4}));
    EXPECT_EQ(TWUQuickTimeAtom::getTemporalSettingsFromAtomContainer(settings_, true),
              (SCTemporalSettings{0x100, 25 << 16, 24}));
    EXPECT_EQ(TWUQuickTimeAtom::getDataRateSettingsFromAtomContainer(settings_, true),
              (SCDataRateSettings{1000, 40, 3, 4}));
}

TEST_F(CompressionSettings, ConvertingThereAndBackGivesTheSameBytes) {
    const SCSpatialSettings spatial{0x01020304, 0x05060708, 0x090A, 0x0B0C0D0E};
    EXPECT_EQ(UQuickTimeAtom::SpatialSettings_NtoB(UQuickTimeAtom::SpatialSettings_BtoN(spatial)),
              spatial);
    EXPECT_EQ(TWUQuickTimeAtom::spatialSettings_BtoN(spatial),
              (SCSpatialSettings{0x04030201, 0x08070605, 0x0A09, 0x0E0D0C0B}));
    const SCTemporalSettings temporal{1, -2, 3};
    EXPECT_EQ(
        UQuickTimeAtom::TemporalSettings_BtoN(UQuickTimeAtom::TemporalSettings_NtoB(temporal)),
        temporal);
    EXPECT_EQ(+TWUQuickTimeAtom::temporalSettings_BtoN(temporal).keyFrameRate, 3 << 24);
    const SCDataRateSettings rate{1, 2, 3, 4};
    EXPECT_EQ(UQuickTimeAtom::DataRateSettings_BtoN(UQuickTimeAtom::DataRateSettings_NtoB(rate)),
              rate);
    EXPECT_EQ(+TWUQuickTimeAtom::dataRateSettings_NtoB(rate).minTemporalQuality, 4u << 24);
}

TEST_F(CompressionSettings, AnInstalledCodecIsCalledByItsOwnName) {
    EXPECT_EQ(UQuickTimeAtom::GetCodecName(fourCC("jpeg")), "Photo - JPEG");
    EXPECT_EQ(TWUQuickTimeAtom::getCodecName(fourCC("avc1")), "H.264");
    EXPECT_THAT(log_.lines(), IsEmpty());
}

TEST_F(CompressionSettings, ATypeWithoutACodecIsCalledByItsKnownCompressorName) {
    EXPECT_EQ(UQuickTimeAtom::GetCodecName(fourCC("kpcd")), "Photo CD");
    EXPECT_EQ(UQuickTimeAtom::GetCodecName(fourCC("sowt")), "16-bit Little Endian");
    ToolboxTrace::failCall("GetCodecInfo", 1, noCodecErr);
    EXPECT_EQ(UQuickTimeAtom::GetCodecName(fourCC("jpeg")), "Photo - JPEG");
    EXPECT_THAT(log_.lines(), IsEmpty());
}

TEST_F(CompressionSettings, AnUnknownTypeAndZeroAreCalledUnknownAndLogged) {
    test::EnvironmentVariables environment;
    environment.set("LC_ALL", "C");
    EXPECT_EQ(UQuickTimeAtom::GetCodecName(fourCC("zzzz")), "Unknown");
    EXPECT_EQ(UQuickTimeAtom::GetCodecName(0), "Unknown");
    const std::string line = "GetCompressionName failed: -8961 (Sources/UQuickTimeAtom:867)";
    EXPECT_THAT(log_.lines(), ElementsAre(line, line));
}

TEST_F(CompressionSettings, UnknownIsSaidInTheUsersLanguage) {
    test::EnvironmentVariables environment;
    environment.set("LC_ALL", "de_DE.UTF-8");
    environment.set("LANGUAGE", "de");
    EXPECT_EQ(UQuickTimeAtom::GetCodecName(fourCC("zzzz")), "Unbekannt");
}

}  // namespace
}  // namespace TWQuickTime
