#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <bit>

#include "LogCapture.h"
#include "SettingsContainer.h"
#include "TWQuickTimeAtom.h"
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

class AtomDump : public testing::Test {
  protected:
    void TearDown() override { ToolboxTrace::reset(); }
    std::vector<std::string> dump(const char* prefix = "") {
        test::LogCapture log;
        UQuickTimeAtom::LogAtomContainer(prefix, settings_, 0, 0);
        return log.lines();
    }
    static std::string real(float value) { return big32(std::bit_cast<std::uint32_t>(value)); }
    SettingsContainer settings_;
};

TEST_F(AtomDump, AnEmptyContainerPrintsNothing) {
    EXPECT_THAT(dump(), IsEmpty());
}

TEST_F(AtomDump, AGroupPrintsItsChildrenWithThreeMoreBlanks) {
    const QTAtom video = settings_.group("vide");
    settings_.leaf("sptl", "jpeg" + big32(0) + big16(24) + big32(512), video);
    settings_.leaf("tprl", big32(256) + big32(1964113) + big32(24), video);
    EXPECT_THAT(dump(), ElementsAre("  vide \n", "    >>> ",            //
                                    "     sptl \n",                     //
                                    "       -- codecType: jpeg\n",      //
                                    "       -- depth: 24\n",            //
                                    "       -- spatialQuality: 512\n",  //
                                    "     tprl \n",                     //
                                    "       -- temporalQuality: 256\n", "       -- frameRate: 30\n",
                                    "       -- keyFrameRate: 24\n"));
}

TEST_F(AtomDump, ThePrefixBeginsEveryLine) {
    settings_.leaf("wdth", big32(640 << 16));
    EXPECT_THAT(dump("> "), ElementsAre(">   wdth \n", ">     ----> 640 \n"));
}

TEST_F(AtomDump, UnknownAtomsPrintTheirHeaderOnly) {
    const QTAtom group = settings_.group("grup");
    settings_.leaf("wdth", big32(0), group);
    settings_.leaf("abcd", "data");
    EXPECT_THAT(dump(), ElementsAre("  grup \n", "  abcd \n"));
}

TEST_F(AtomDump, SampleRatesOf32768HertzAndMorePrintNegativeOnPurpose) {
    settings_.leaf("ssrt", big32(22050u << 16));
    settings_.leaf("ssrt", big32(48000u << 16));
    settings_.leaf("ssrt", big32(44100u << 16));
    EXPECT_THAT(dump(), ElementsAre("  ssrt \n", "    ----> 22050 \n",   //
                                    "  ssrt \n", "    ----> -17536 \n",  //
                                    "  ssrt \n", "    ----> -21436 \n"));
}

TEST_F(AtomDump, SingleValuesPrintByTheirKind) {
    settings_.leaf("cdec", "12345");
    settings_.leaf("dvcf", "dv25");
    settings_.leaf("ssct", "twos");
    settings_.leaf("dvcv", "\1");
    settings_.leaf("enso", std::string(1, '\0'));
    settings_.leaf("envi", "\2");
    settings_.leaf("lock", "\1");
    settings_.leaf("hegt", big32((480 << 16) + 32768));
    settings_.leaf("sscc", big16(2));
    settings_.leaf("ssss", big16(0xFFF0));
    EXPECT_THAT(dump(), ElementsAre("  cdec \n", "    ----> Size 5 byte\n",  //
                                    "  dvcf \n", "    ----> dv25 \n",        //
                                    "  ssct \n", "    ----> twos \n",        //
                                    "  dvcv \n", "    ----> yes\n",          //
                                    "  enso \n", "    ----> no\n",           //
                                    "  envi \n", "    ----> no\n",           //
                                    "  lock \n", "    ----> yes\n",          //
                                    "  hegt \n", "    ----> 481 \n",         //
                                    "  sscc \n", "    ----> 2 \n",           //
                                    "  ssss \n", "    ----> -16 \n"));
}

TEST_F(AtomDump, VersionRecordsPrintTheirThreeFields) {
    settings_.leaf("vers", big32(0xFFFFFFFF) + big16(0x8000) + big16(7));
    EXPECT_THAT(dump(), ElementsAre("  vers \n", "    -- version: -1 \n", "    -- flags: -32768 \n",
                                    "    -- reserved: 7 \n"));
}

TEST_F(AtomDump, FeatureGroupsAndIdentificationsAreDecoded) {
    const QTAtom feature = settings_.group("feat");
    std::string data = "gaingrp1";
    data += std::string("\4Gain", 5);
    data.resize(264, '\0');
    data += "valu";
    settings_.leaf("t&id", data, feature);
    EXPECT_THAT(dump(), ElementsAre("  feat \n", "    >>> ",          //
                                    "     t&id \n",                   //
                                    "       ----> feature:gain \n",   //
                                    "       ----> group:grp1 \n",     //
                                    "       ----> atomType:valu \n",  //
                                    "       -- name: Gain \n"));
}

TEST_F(AtomDump, FeatureSettingsPrintFlagsInTheirOwnOrders) {
    settings_.leaf("fstg", big32(0x7F) + big16(1) + big16(65535) + real(-1.9f) + real(2.9f) +
                               big32(0x7F) + real(0.5f));
    EXPECT_THAT(dump(),
                ElementsAre("  fstg \n",                                //
                            "     FlagCapabilities - Manual",           //
                            "     FlagCapabilities - Auto",             //
                            "     FlagCapabilities - Tune",             //
                            "     FlagCapabilities - On",               //
                            "     FlagCapabilities - Off",              //
                            "     FlagCapabilities - Raw Control",      //
                            "     FlagCapabilities - Absolut Control",  //
                            "    rawMinimum:1 \n", "    rawMaximum:65535 \n",
                            "    absoluteMinimum:-1 \n", "    absoluteMaximum:2 \n",
                            "    value:0.500000 \n",         //
                            "     FlagValue - Manual",       //
                            "     FlagValue - Auto",         //
                            "     FlagValue - On",           //
                            "     FlagValue - Off",          //
                            "     FlagValue - tune",         //
                            "     FlagValue - Raw Control",  //
                            "     FlagValue - Absolut Control"));
}

TEST_F(AtomDump, OnlyTheLowestByteOfTheFlagsIsLookedAt) {
    settings_.leaf("fstg",
                   big32(0xFFFFFF00) + std::string(12, '\0') + big32(0xFFFFFF80) + real(1e30f));
    EXPECT_THAT(dump(), ElementsAre("  fstg \n", "    rawMinimum:0 \n", "    rawMaximum:0 \n",
                                    "    absoluteMinimum:0 \n", "    absoluteMaximum:0 \n",
                                    testing::StartsWith("    value:1000000")));
}

TEST_F(AtomDump, ShortDataReadAsZerosBeyondTheirEnd) {
    settings_.leaf("sptl", "jp");
    settings_.leaf("t&id", "");
    const auto lines = dump();
    ASSERT_EQ(lines.size(), 9u);
    EXPECT_EQ(lines[1], std::string("    -- codecType: jp\0\0\n", 23));
    EXPECT_EQ(lines[2], "    -- depth: 0\n");
    EXPECT_EQ(lines[8], "    -- name:  \n");
}

TEST_F(AtomDump, ItBeginsBehindTheGivenChildOfTheGivenParent) {
    const QTAtom video = settings_.group("vide");
    const QTAtom width = settings_.leaf("wdth", big32(0), video);
    settings_.leaf("hegt", big32(0), video);
    test::LogCapture log;
    TWUQuickTimeAtom::logAtomContainer(settings_, "a", video, width);
    TWQuickTimeAtom::logAtomContainer(settings_, video, width, "b");
    EXPECT_THAT(log.lines(), ElementsAre("a  hegt \n", "a    ----> 0 \n",  //
                                         "b  hegt \n", "b    ----> 0 \n"));
}

TEST_F(AtomDump, AFailingCallEndsTheWalk) {
    settings_.leaf("abcd", "x");
    settings_.leaf("efgh", "x");
    ToolboxTrace::failCall("QTNextChildAnyType", 2, -5);
    EXPECT_THAT(dump(), ElementsAre("  abcd \n"));
    ToolboxTrace::failCall("QTGetAtomTypeAndID", 1, -5);
    EXPECT_THAT(dump(), IsEmpty());
}

TEST_F(AtomDump, LockAndDataStatusesAreNotLookedAt) {
    settings_.leaf("cdec", "12345");
    ToolboxTrace::failCall("QTLockContainer", 1, -5);
    ToolboxTrace::failCall("QTGetAtomDataPtr", 1, -5);
    EXPECT_THAT(dump(), ElementsAre("  cdec \n", "    ----> Size 0 byte\n"));
}

TEST_F(AtomDump, TheContainerIsUnlockedAgain) {
    settings_.leaf("wdth", big32(0), settings_.group("vide"));
    dump();
    EXPECT_EQ(settings_.text()[11], 0);
}

struct EnoughSeen {};

TEST_F(AtomDump, AReferenceBeyond65535IsWarnedOfWithoutEndOnPurpose) {
    settings_.leaf("larg", std::string(70000, 'x'));
    settings_.leaf("wdth", big32(0));
    std::vector<std::string> lines;
    const auto previous = LogSink::replace([&](LogChannel channel, const NSString& line) {
        if (channel == LogChannel::TWLog)
            lines.push_back(line.utf8());
        if (lines.size() == 50)
            throw EnoughSeen();
    });
    EXPECT_THROW(UQuickTimeAtom::LogAtomContainer("", settings_, 0, 0), EnoughSeen);
    LogSink::replace(previous);
    EXPECT_EQ(lines,
              std::vector<std::string>(50, "LogAtomContainer: WARNING - illegal atom id 70052"));
}

}  // namespace
}  // namespace TWQuickTime
