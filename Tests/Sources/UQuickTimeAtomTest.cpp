#include "UQuickTimeAtom.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstring>
#include <future>
#include <thread>

#include "LogCapture.h"
#include "SettingsContainer.h"
#include "StQuickTimeLock.h"
#include "TWUQuickTimeAtom.h"
#include "ToolboxTrace.h"

namespace TWQuickTime {
namespace {

using test::big32;
using test::SettingsContainer;
using testing::ElementsAre;
using testing::IsEmpty;

class UQuickTimeAtomTest : public testing::Test {
  protected:
    void TearDown() override { ToolboxTrace::reset(); }
    static std::uint32_t word(const SettingsContainer& settings, const char* type) {
        std::string data(4, '\0');
        EXPECT_TRUE(
            UQuickTimeAtom::GetDataFromAtomContainer(settings, fourCC(type), data.data(), 4, 0, 0));
        std::uint32_t value = 0;
        for (const char c : data)
            value = value << 8 | static_cast<unsigned char>(c);
        return value;
    }
    SettingsContainer settings_;
    test::LogCapture log_;
};

TEST_F(UQuickTimeAtomTest, FindsAWidthInsideAVideoGroupButInNoOtherGroup) {
    const QTAtom other = settings_.group("grup");
    settings_.leaf("wdth", big32(100 << 16), other);
    EXPECT_FALSE(UQuickTimeAtom::AtomContainerContainsAtom(settings_, fourCC("wdth"), 0, 0));
    EXPECT_EQ(UQuickTimeAtom::GetWidthFromAtomContainer(settings_), 0);
    const QTAtom video = settings_.group("vide");
    settings_.leaf("wdth", big32(200 << 16), video);
    EXPECT_TRUE(UQuickTimeAtom::AtomContainerContainsAtom(settings_, fourCC("wdth"), 0, 0));
    EXPECT_EQ(UQuickTimeAtom::GetWidthFromAtomContainer(settings_), 200);
    EXPECT_TRUE(UQuickTimeAtom::SetWidthInAtomContainer(settings_, 300));
    EXPECT_EQ(UQuickTimeAtom::GetWidthFromAtomContainer(settings_), 300);
}

TEST_F(UQuickTimeAtomTest, FindsAtomsInsideASoundGroupAndTheGroupsThemselves) {
    const QTAtom sound = settings_.group("soun");
    settings_.leaf("ssct", "twos", sound);
    EXPECT_TRUE(UQuickTimeAtom::AtomContainerContainsAtom(settings_, fourCC("ssct"), 0, 0));
    EXPECT_TRUE(UQuickTimeAtom::AtomContainerContainsAtom(settings_, fourCC("soun"), 0, 0));
    EXPECT_TRUE(UQuickTimeAtom::AtomContainerContainsAtom(settings_, fourCC("ssct"), sound, 0));
    EXPECT_FALSE(UQuickTimeAtom::AtomContainerContainsAtom(settings_, fourCC("vide"), 0, 0));
}

TEST_F(UQuickTimeAtomTest, TheFirstAtomInDepthFirstOrderWins) {
    const QTAtom video = settings_.group("vide");
    settings_.leaf("wdth", big32(100 << 16), video);
    settings_.leaf("wdth", big32(200 << 16));
    EXPECT_EQ(UQuickTimeAtom::GetWidthFromAtomContainer(settings_), 100);
}

TEST_F(UQuickTimeAtomTest, TheSearchBeginsBehindTheGivenChild) {
    const QTAtom first = settings_.leaf("wdth", big32(1 << 16));
    const QTAtom second = settings_.leaf("wdth", big32(2 << 16));
    std::uint32_t value = 0;
    EXPECT_TRUE(
        UQuickTimeAtom::GetDataFromAtomContainer(settings_, fourCC("wdth"), &value, 0, first));
    EXPECT_EQ(value, 0x0200u);
    EXPECT_FALSE(UQuickTimeAtom::AtomContainerContainsAtom(settings_, fourCC("wdth"), 0, second));
}

TEST_F(UQuickTimeAtomTest, WidthsAreRoundedToTheNearestPixelHalvesUp) {
    const QTAtom atom = settings_.leaf("wdth", big32(0));
    const auto read = [&](std::uint32_t fixed) {
        EXPECT_EQ(QTSetAtomData(settings_, atom, 4, big32(fixed).data()), noErr);
        return UQuickTimeAtom::GetWidthFromAtomContainer(settings_);
    };
    EXPECT_EQ(read(0x00008000), 1);
    EXPECT_EQ(read(0x00007FFF), 0);
    EXPECT_EQ(read(0xFFFF8000), 0);
    EXPECT_EQ(read(0xFFFF7FFF), -1);
    EXPECT_EQ(read(0xFFFE0000), -2);
    EXPECT_EQ(read(0x7FFFFFFF), -32768);
}

TEST_F(UQuickTimeAtomTest, HeightsAreReadAndWrittenLikeWidths) {
    settings_.leaf("hegt", big32(480 << 16));
    EXPECT_EQ(UQuickTimeAtom::GetHeightFromAtomContainer(settings_), 480);
    EXPECT_TRUE(UQuickTimeAtom::SetHeightInAtomContainer(settings_, 720));
    EXPECT_EQ(word(settings_, "hegt"), 720u << 16);
}

TEST_F(UQuickTimeAtomTest, SettingAWidthWithoutItsAtomIsFalseAndChangesNothing) {
    settings_.leaf("hegt", big32(480 << 16));
    const std::string before = settings_.text();
    EXPECT_FALSE(UQuickTimeAtom::SetWidthInAtomContainer(settings_, 640));
    EXPECT_EQ(settings_.text(), before);
}

TEST_F(UQuickTimeAtomTest, SetCopiesExactlyAsManyBytesAsTheAtomHolds) {
    settings_.leaf("tprl", std::string(12, '\0'));
    settings_.leaf("next", "next");
    EXPECT_TRUE(UQuickTimeAtom::SetDataInAtomContainer(settings_, fourCC("tprl"),
                                                       "abcdefghijklmnop", 0, 0));
    char data[17] = "................";
    EXPECT_TRUE(UQuickTimeAtom::GetDataFromAtomContainer(settings_, fourCC("tprl"), data, 0, 0));
    EXPECT_STREQ(data, "abcdefghijkl....");
    EXPECT_TRUE(UQuickTimeAtom::GetDataFromAtomContainer(settings_, fourCC("next"), data, 0, 0));
    EXPECT_EQ(std::string(data, 4), "next");
}

TEST_F(UQuickTimeAtomTest, AnAtomOfAnotherSizeThanItsRecordHarmsNobody) {
    settings_.leaf("wdth", big32(640 << 16) + std::string(100, 'x'));
    settings_.leaf("tprl", std::string(3, '\1'));
    settings_.leaf("sptl", std::string(1000, '\1'));
    EXPECT_EQ(UQuickTimeAtom::GetWidthFromAtomContainer(settings_), 640);
    EXPECT_TRUE(UQuickTimeAtom::SetWidthInAtomContainer(settings_, 320));
    std::string data(104, '\0');
    UQuickTimeAtom::GetDataFromAtomContainer(settings_, fourCC("wdth"), data.data(), 0, 0);
    EXPECT_EQ(data, big32(320 << 16) + std::string(100, 'x'));
    EXPECT_EQ(UQuickTimeAtom::GetTemporalSettingsFromAtomContainer(settings_, true).temporalQuality,
              0x01010100u);
    EXPECT_TRUE(UQuickTimeAtom::SetFrameRateInAtomContainer(settings_, 25));
    EXPECT_EQ(UQuickTimeAtom::GetSpatialSettingsFromAtomContainer(settings_, true).depth, 0x0101);
}

TEST_F(UQuickTimeAtomTest, AFrameRateComesBackInSinglePrecision) {
    settings_.leaf("tprl", big32(0x200) + big32(0) + big32(24));
    EXPECT_TRUE(UQuickTimeAtom::SetFrameRateInAtomContainer(settings_, 29.97));
    const double expected = static_cast<float>(static_cast<int>(29.97f * 65536.0f)) / 65536.0f;
    EXPECT_EQ(UQuickTimeAtom::GetFrameRateFromAtomContainer(settings_), expected);
    EXPECT_NE(UQuickTimeAtom::GetFrameRateFromAtomContainer(settings_), 29.97);
    const SCTemporalSettings stored =
        UQuickTimeAtom::GetTemporalSettingsFromAtomContainer(settings_, true);
    EXPECT_EQ(+stored.temporalQuality, 0x200u);
    EXPECT_EQ(+stored.keyFrameRate, 24);
    EXPECT_EQ(+stored.frameRate, 1964113);
}

TEST_F(UQuickTimeAtomTest, NegativeRatesAreSignedAndImpossibleOnesTheSmallestNumber) {
    settings_.leaf("tprl", std::string(12, '\0'));
    EXPECT_TRUE(UQuickTimeAtom::SetFrameRateInAtomContainer(settings_, -1.5));
    EXPECT_EQ(UQuickTimeAtom::GetFrameRateFromAtomContainer(settings_), -1.5);
    EXPECT_TRUE(UQuickTimeAtom::SetFrameRateInAtomContainer(settings_, 1e30));
    EXPECT_EQ(UQuickTimeAtom::GetFrameRateFromAtomContainer(settings_), -32768.0);
}

TEST_F(UQuickTimeAtomTest, WithoutTemporalSettingsTheFrameRateIsZeroAndCannotBeSet) {
    EXPECT_EQ(UQuickTimeAtom::GetFrameRateFromAtomContainer(settings_), 0.0);
    EXPECT_FALSE(UQuickTimeAtom::SetFrameRateInAtomContainer(settings_, 25));
    EXPECT_THAT(log_.lines(), IsEmpty());
}

TEST_F(UQuickTimeAtomTest, AContainerThatIsNoneHoldsNothing) {
    std::uint32_t value = 0;
    EXPECT_FALSE(UQuickTimeAtom::AtomContainerContainsAtom(nullptr, fourCC("wdth"), 0, 0));
    EXPECT_FALSE(UQuickTimeAtom::GetDataFromAtomContainer(nullptr, 1, &value, 0, 0));
    EXPECT_FALSE(UQuickTimeAtom::SetDataInAtomContainer(nullptr, 1, &value, 0, 0));
    EXPECT_EQ(UQuickTimeAtom::GetWidthFromAtomContainer(nullptr), 0);
    EXPECT_THAT(log_.lines(), IsEmpty());
}

TEST_F(UQuickTimeAtomTest, ContainsEndsWithAnyFailingCall) {
    settings_.leaf("aaaa", "x");
    settings_.leaf("wdth", "x");
    ToolboxTrace::failCall("QTGetAtomTypeAndID", 1, -2038);
    EXPECT_FALSE(UQuickTimeAtom::AtomContainerContainsAtom(settings_, fourCC("wdth"), 0, 0));
    ToolboxTrace::failCall("QTNextChildAnyType", 2, -5);
    EXPECT_FALSE(UQuickTimeAtom::AtomContainerContainsAtom(settings_, fourCC("wdth"), 0, 0));
    EXPECT_TRUE(UQuickTimeAtom::AtomContainerContainsAtom(settings_, fourCC("wdth"), 0, 0));
}

TEST_F(UQuickTimeAtomTest, GetSkipsAChildWithTheSkippingStatusAndEndsWithAnyOther) {
    settings_.leaf("wdth", big32(1 << 16));
    settings_.leaf("wdth", big32(2 << 16));
    ToolboxTrace::failCall("QTGetAtomTypeAndID", 1, -2038);
    EXPECT_EQ(UQuickTimeAtom::GetWidthFromAtomContainer(settings_), 2);
    ToolboxTrace::failCall("QTGetAtomDataPtr", 1, -2038);
    EXPECT_EQ(UQuickTimeAtom::GetWidthFromAtomContainer(settings_), 2);
    ToolboxTrace::failCall("QTGetAtomDataPtr", 1, -50);
    EXPECT_EQ(UQuickTimeAtom::GetWidthFromAtomContainer(settings_), 0);
    ToolboxTrace::failCall("QTGetAtomTypeAndID", 1, -50);
    EXPECT_EQ(UQuickTimeAtom::GetWidthFromAtomContainer(settings_), 0);
    EXPECT_THAT(log_.lines(), IsEmpty());
}

TEST_F(UQuickTimeAtomTest, AContainerThatCannotBeLockedIsPassedOverToTheNextChild) {
    settings_.leaf("wdth", big32(1 << 16));
    settings_.leaf("wdth", big32(2 << 16));
    ToolboxTrace::failCall("QTLockContainer", 1, -50);
    EXPECT_EQ(UQuickTimeAtom::GetWidthFromAtomContainer(settings_), 2);
}

TEST_F(UQuickTimeAtomTest, AFailedUnlockIsOnlyToldWhenTheDataFailedToo) {
    const QTAtom atom = settings_.leaf("wdth", big32(1 << 16));
    ToolboxTrace::failCall("QTUnlockContainer", 1, -50);
    EXPECT_EQ(UQuickTimeAtom::GetWidthFromAtomContainer(settings_), 1);
    EXPECT_THAT(log_.lines(), IsEmpty());
    ToolboxTrace::failCall("QTUnlockContainer", 1, -50);
    ToolboxTrace::failCall("QTGetAtomDataPtr", 1, -2038);
    EXPECT_EQ(UQuickTimeAtom::GetWidthFromAtomContainer(settings_), 0);
    ToolboxTrace::failCall("QTUnlockContainer", 1, -50);
    ToolboxTrace::failCall("QTGetAtomDataPtr", 1, -2038);
    EXPECT_FALSE(UQuickTimeAtom::SetWidthInAtomContainer(settings_, 5));
    const std::string tail =
        ": WARNING - unable to unlock atom data of atom " + std::to_string(atom);
    EXPECT_THAT(log_.lines(),
                ElementsAre("GetDataFromAtomContainer" + tail, "SetDataInAtomContainer" + tail));
}

struct EnoughSeen {};

/// A sink that ends the run after some lines, as nothing else would.
class EndingSink {
  public:
    EndingSink() {
        previous_ = LogSink::replace([this](LogChannel, const NSString& line) {
            lines.push_back(line.utf8());
            if (lines.size() == 100)
                throw EnoughSeen();
        });
    }
    ~EndingSink() { LogSink::replace(previous_); }
    std::vector<std::string> lines;

  private:
    LogSink::Function previous_;
};

TEST_F(UQuickTimeAtomTest, AReferenceBeyond65535IsWarnedOfWithoutEndOnPurpose) {
    settings_.leaf("larg", std::string(70000, 'x'));
    settings_.leaf("wdth", big32(640 << 16));
    std::uint32_t value = 0;
    const std::string reference = std::to_string(32 + 20 + 70000);
    const auto lines = [&](auto run) {
        EndingSink sink;
        EXPECT_THROW(run(), EnoughSeen);
        return sink.lines;
    };
    const auto expected = [&](const std::string& name) {
        return std::vector<std::string>(100, name + ": WARNING - illegal atom id " + reference);
    };
    EXPECT_EQ(
        lines([&] { UQuickTimeAtom::AtomContainerContainsAtom(settings_, fourCC("wdth"), 0, 0); }),
        expected("AtomContainerContainsAtom"));
    EXPECT_EQ(lines([&] {
                  UQuickTimeAtom::GetDataFromAtomContainer(settings_, fourCC("wdth"), &value, 0, 0);
              }),
              expected("GetDataFromAtomContainer"));
    EXPECT_EQ(lines([&] {
                  UQuickTimeAtom::SetDataInAtomContainer(settings_, fourCC("wdth"), &value, 0, 0);
              }),
              expected("SetDataInAtomContainer"));
}

TEST_F(UQuickTimeAtomTest, AReferenceOfExactly65535IsNotWarnedOf) {
    settings_.leaf("larg", std::string(65535 - 52, 'x'));
    EXPECT_EQ(settings_.leaf("wdth", big32(640 << 16)), 65535);
    EXPECT_EQ(UQuickTimeAtom::GetWidthFromAtomContainer(settings_), 640);
    EXPECT_THAT(log_.lines(), IsEmpty());
}

TEST_F(UQuickTimeAtomTest, SearchesWaitForTheQuickTimeLock) {
    settings_.leaf("wdth", big32(640 << 16));
    std::future<int> width;
    {
        const StQuickTimeLock lock;
        width = std::async(std::launch::async,
                           [&] { return UQuickTimeAtom::GetWidthFromAtomContainer(settings_); });
        EXPECT_EQ(width.wait_for(std::chrono::milliseconds(20)), std::future_status::timeout);
        EXPECT_EQ(UQuickTimeAtom::GetWidthFromAtomContainer(settings_), 640);
    }
    EXPECT_EQ(width.get(), 640);
}

TEST_F(UQuickTimeAtomTest, TheFacadeForwardsEverything) {
    const QTAtom video = settings_.group("vide");
    settings_.leaf("wdth", big32(0), video);
    settings_.leaf("hegt", big32(0), video);
    settings_.leaf("tprl", std::string(12, '\0'), video);
    EXPECT_TRUE(TWUQuickTimeAtom::atomContainer(settings_, fourCC("wdth"), 0, 0));
    EXPECT_TRUE(TWUQuickTimeAtom::setWidth(640, settings_));
    EXPECT_TRUE(TWUQuickTimeAtom::setHeight(480, settings_));
    EXPECT_TRUE(TWUQuickTimeAtom::setFrameRate(12.5, settings_));
    EXPECT_EQ(TWUQuickTimeAtom::getWidthFromAtomContainer(settings_), 640);
    EXPECT_EQ(TWUQuickTimeAtom::getHeightFromAtomContainer(settings_), 480);
    EXPECT_EQ(TWUQuickTimeAtom::getFrameRateFromAtomContainer(settings_), 12.5);
    std::uint32_t value = 0;
    EXPECT_TRUE(TWUQuickTimeAtom::dataFromAtomContainer(settings_, fourCC("wdth"), &value, 0, 0));
    EXPECT_EQ(std::memcmp(&value, "\x02\x80\0\0", 4), 0);
    EXPECT_TRUE(TWUQuickTimeAtom::setDataInAtomContainer(settings_, fourCC("hegt"), &value, 0, 0));
    EXPECT_EQ(TWUQuickTimeAtom::getHeightFromAtomContainer(settings_), 640);
}

}  // namespace
}  // namespace TWQuickTime
