#include "TWUSequenceGrabber.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "CodecInformation.h"
#include "Components.h"
#include "DataReferences.h"
#include "EnvironmentVariables.h"
#include "Handles.h"
#include "LogCapture.h"
#include "PlayedDevices.h"
#include "TemporaryDirectory.h"
#include "ToolboxTrace.h"

namespace TWQuickTime {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class TWUSequenceGrabberTest : public testing::Test {
  protected:
    void SetUp() override {
        environment.set("TWQT_TEST_PATTERN", std::nullopt);
        grabber = OpenDefaultComponent(SeqGrabComponentType, 0);
        ASSERT_EQ(SGNewChannel(grabber, SGVideoMediaType, &channel), noErr);
    }
    void TearDown() override {
        ToolboxTrace::reset();
        CloseComponent(grabber);
    }

    NSArray list(bool ignoreFlags = false) {
        return TWUSequenceGrabber::createInputDeviceArrayForChannel(channel, grabber, ignoreFlags);
    }
    std::vector<std::string> texts(const char* key, bool ignoreFlags = false) {
        std::vector<std::string> all;
        for (const PropertyListValue& entry : list(ignoreFlags))
            all.push_back(entry.dictionaryValue().objectForKey(key).stringValue().utf8());
        return all;
    }
    void plug(std::vector<capture::Device> devices) { played.video->list = std::move(devices); }
    void record() {
        Handle reference = nullptr;
        OSType type = 0;
        ASSERT_EQ(QTNewDataReferenceFromFullPathCFString(folder.file("grabbed.mov"),
                                                         kQTPOSIXPathStyle, 0, &reference, &type),
                  noErr);
        ASSERT_EQ(SGSetDataRef(grabber, reference, type, seqGrabToDisk), noErr);
        DisposeHandle(reference);
        ASSERT_EQ(SGStartRecord(grabber), noErr);
    }
    std::vector<std::string> callsOfSwitchingTo(const NSString& name, std::int16_t index,
                                                OSErr expected) {
        ToolboxTrace::startRecording();
        EXPECT_EQ(TWUSequenceGrabber::switchChannel(channel, grabber, name, index), expected);
        const std::vector<std::string> calls = ToolboxTrace::recordedCalls();
        ToolboxTrace::reset();
        return calls;
    }

    test::EnvironmentVariables environment;
    test::TemporaryDirectory folder;
    test::PlayedDevices played;
    test::LogCapture log;
    SeqGrabComponent grabber = nullptr;
    SGChannel channel = nullptr;
};

TEST_F(TWUSequenceGrabberTest, AMissingChannelOrGrabberIsLoggedAndGivesNil) {
    EXPECT_TRUE(
        TWUSequenceGrabber::createInputDeviceArrayForChannel(nullptr, grabber, false).isNil());
    EXPECT_TRUE(
        TWUSequenceGrabber::createInputDeviceArrayForChannel(channel, nullptr, false).isNil());
    const std::string method =
        "+[TWUSequenceGrabber "
        "createInputDeviceArrayForChannel:ofSequenceGrabber:ignoreUnavailableDriverFlag:]";
    EXPECT_THAT(log.lines(),
                ElementsAre(method + ": No SG Channel provided.", method + ": No SG provided."));
}

TEST_F(TWUSequenceGrabberTest, AListThatFailsGivesNilAndIsDisposedOfAllTheSame) {
    if (!ToolboxTrace::available())
        GTEST_SKIP() << "built without tracing of toolbox calls";
    ToolboxTrace::failCall("SGGetChannelDeviceList", 1, -9400);
    ToolboxTrace::startRecording();
    EXPECT_TRUE(list().isNil());
    EXPECT_THAT(ToolboxTrace::recordedCalls(),
                ElementsAre("SGGetChannelDeviceList", "SGDisposeDeviceList"));
    EXPECT_THAT(log.lines(), IsEmpty());
}

TEST_F(TWUSequenceGrabberTest, WithoutDevicesTheListIsEmptyButNotNil) {
    EXPECT_FALSE(list().isNil());
    EXPECT_EQ(list().count(), 0u);
}

TEST_F(TWUSequenceGrabberTest, AnEntryHasTheFiveKeysAndTheIdentity) {
    plug({{.name = "Cam",
           .identity = "usb-serial",
           .inputs = {{"Mic"}, {"Line"}},
           .selectedInput = 1}});
    const NSArray inputs = list();
    ASSERT_EQ(inputs.count(), 2u);
    EXPECT_EQ(inputs.objectAtIndex(0).dictionaryValue(),
              (NSDictionary{{"Device Name Unique", "Mic (Cam)"},
                            {"Device Name", "Cam"},
                            {"Device Index", 0},
                            {"Device Selected", false},
                            {"Device Input Name", "Mic"},
                            {"Device Identity", "usb-serial"}}));
    EXPECT_EQ(inputs.objectAtIndex(1).dictionaryValue().objectForKey("Device Index").intValue(), 1);
    EXPECT_TRUE(
        inputs.objectAtIndex(1).dictionaryValue().objectForKey("Device Selected").boolValue());
}

TEST_F(TWUSequenceGrabberTest, ADeviceWithoutAnIdentityHasTheFiveKeysOnly) {
    plug({{.name = "Cam", .inputs = {{"Mic"}}}});
    EXPECT_EQ(list().objectAtIndex(0).dictionaryValue().count(), 5u);
}

TEST_F(TWUSequenceGrabberTest, AnInputNamedLikeItsDeviceIsUniqueByThatNameAlone) {
    plug({{.name = "Cam", .identity = "1", .inputs = {{"Cam"}}},
          {.name = "Cam", .identity = "2", .inputs = {{"Mic"}}}});
    EXPECT_THAT(texts("Device Name Unique"), ElementsAre("Cam", "Mic (Cam #2)"));
}

TEST_F(TWUSequenceGrabberTest, ADeviceWithFlagsIsLeftOutUnlessFlagsAreIgnored) {
    plug({{.name = "Free", .identity = "1", .inputs = {{"F"}}},
          {.name = "Busy", .identity = "2", .available = false, .inputs = {{"B"}}}});
    EXPECT_THAT(texts("Device Input Name"), ElementsAre("F"));
    EXPECT_THAT(texts("Device Input Name", true), ElementsAre("F", "B"));
}

TEST_F(TWUSequenceGrabberTest, OfAnUnavailableDeviceTheSelectedInputIsListedWhateverItsFlags) {
    plug({{.name = "Busy",
           .identity = "1",
           .available = false,
           .inputs = {{"A", false}, {"B", false}},
           .selectedInput = 1}});
    EXPECT_THAT(texts("Device Input Name"), IsEmpty());
    EXPECT_THAT(texts("Device Input Name", true), ElementsAre("B"));
}

TEST_F(TWUSequenceGrabberTest, AnInputWithFlagsIsListedOnlyWhenTheChannelUsesIt) {
    plug({{.name = "A", .identity = "1", .inputs = {{"A1", false}, {"A2"}, {"A3", false}}},
          {.name = "B", .identity = "2", .inputs = {{"B1", false}, {"B2"}}}});
    EXPECT_THAT(texts("Device Input Name"), ElementsAre("A1", "A2", "B2"));
}

TEST_F(TWUSequenceGrabberTest, ADeviceWithoutInputsIsNeverListed) {
    plug({{.name = "Bare", .identity = "1"}});
    EXPECT_THAT(texts("Device Name"), IsEmpty());
    EXPECT_THAT(texts("Device Name", true), IsEmpty());
}

TEST_F(TWUSequenceGrabberTest, TellsTheNamesOfTheSelectedInputAndDevice) {
    EXPECT_TRUE(TWUSequenceGrabber::dataSourceNameForChannel(channel, grabber).isNil());
    EXPECT_TRUE(TWUSequenceGrabber::driverSourceNameForChannel(channel, grabber).isNil());
    plug({{.name = "Cam", .identity = "1", .inputs = {{"A"}, {"B"}}, .selectedInput = 1}});
    EXPECT_EQ(TWUSequenceGrabber::dataSourceNameForChannel(channel, grabber), "B");
    EXPECT_EQ(TWUSequenceGrabber::driverSourceNameForChannel(channel, grabber), "Cam");
    EXPECT_TRUE(TWUSequenceGrabber::dataSourceNameForChannel(nullptr, grabber).isNil());
    EXPECT_TRUE(TWUSequenceGrabber::dataSourceNameForChannel(channel, nullptr).isNil());
    EXPECT_TRUE(TWUSequenceGrabber::driverSourceNameForChannel(nullptr, grabber).isNil());
    EXPECT_TRUE(TWUSequenceGrabber::driverSourceNameForChannel(channel, nullptr).isNil());
    EXPECT_THAT(log.lines(), IsEmpty());
}

TEST_F(TWUSequenceGrabberTest, NamesThatAreNoUTF8AreReadInTheApplicationsEncoding) {
    if (!ToolboxTrace::available())
        GTEST_SKIP() << "built without tracing of toolbox calls";
    plug({{.name = "K\x8Ase", .identity = "1", .inputs = {{"In"}}}});
    ToolboxTrace::failCall("GetApplicationTextEncoding", 1, kCFStringEncodingMacRoman);
    EXPECT_THAT(texts("Device Name Unique"), ElementsAre("In (Käse)"));
}

TEST_F(TWUSequenceGrabberTest, NamesInNoEncodingStandWithQuestionMarksAndCanBeSwitchedTo) {
    plug({{.name = "First", .identity = "0", .inputs = {{"In"}}},
          {.name = "K\xE4se", .identity = "1", .inputs = {{"A\xFF"}, {"\xC3\x28"}}}});
    EXPECT_THAT(texts("Device Name Unique"), ElementsAre("In (First)", "A? (K?se)", "?( (K?se)"));
    EXPECT_EQ(TWUSequenceGrabber::switchChannel(channel, grabber,
                                                list().objectAtIndex(2).dictionaryValue()),
              noErr);
    EXPECT_EQ(TWUSequenceGrabber::driverSourceNameForChannel(channel, grabber), "K?se");
    EXPECT_EQ(TWUSequenceGrabber::dataSourceNameForChannel(channel, grabber), "?(");
}

TEST_F(TWUSequenceGrabberTest, SwitchingDoesNothingWhenSomethingIsMissing) {
    ToolboxTrace::startRecording();
    EXPECT_EQ(TWUSequenceGrabber::switchChannel(nullptr, grabber, NSString("Cam"), 0), noErr);
    EXPECT_EQ(TWUSequenceGrabber::switchChannel(channel, nullptr, NSString("Cam"), 0), noErr);
    EXPECT_EQ(TWUSequenceGrabber::switchChannel(channel, grabber, NSString(), 0), noErr);
    EXPECT_EQ(TWUSequenceGrabber::switchChannel(channel, grabber, NSDictionary()), noErr);
    EXPECT_THAT(ToolboxTrace::recordedCalls(), IsEmpty());
    EXPECT_THAT(log.lines(), IsEmpty());
}

TEST_F(TWUSequenceGrabberTest, SwitchingAnIdleGrabberLeavesItIdle) {
    plug({{.name = "A", .identity = "1", .inputs = {{"A1"}}},
          {.name = "B", .identity = "2", .inputs = {{"B1"}, {"B2"}}}});
    const std::vector<std::string> calls = callsOfSwitchingTo("B", 1, noErr);
    if (ToolboxTrace::available()) {
        EXPECT_THAT(calls, ElementsAre("SGStop", "SGSetChannelDevice", "SGSetChannelDeviceInput"));
    }
    EXPECT_EQ(TWUSequenceGrabber::dataSourceNameForChannel(channel, grabber), "B2");
    EXPECT_EQ(SGStop(grabber), cantDoThatInCurrentMode);
}

TEST_F(TWUSequenceGrabberTest, SwitchingARunningGrabberStartsItAgainAlsoWhenItFailed) {
    plug({{.name = "A", .identity = "1", .inputs = {{"A1"}}},
          {.name = "B", .identity = "2", .inputs = {{"B1"}, {"B2"}}}});
    record();
    EXPECT_EQ(TWUSequenceGrabber::switchChannel(channel, grabber, NSString("B"), 1), noErr);
    EXPECT_EQ(played.video->opened.back(), (std::pair<std::string, std::size_t>("2", 1)));
    EXPECT_EQ(TWUSequenceGrabber::switchChannel(channel, grabber, NSString("Nobody"), 0),
              noDeviceForChannel);
    EXPECT_EQ(TWUSequenceGrabber::switchChannel(channel, grabber, NSString("A"), 7), paramErr);
    EXPECT_EQ(SGStop(grabber), noErr);
    EXPECT_EQ(played.video->opened.size(), 4u);
    EXPECT_THAT(log.lines(), IsEmpty());
}

TEST_F(TWUSequenceGrabberTest, AStopThatFailsIsTheStatusAndTheGrabberIsStartedAllTheSame) {
    if (!ToolboxTrace::available())
        GTEST_SKIP() << "built without tracing of toolbox calls";
    ToolboxTrace::failCall("SGStop", 1, ioErr);
    EXPECT_THAT(callsOfSwitchingTo("A", 0, ioErr), ElementsAre("SGStop", "SGStartRecord"));
}

TEST_F(TWUSequenceGrabberTest, NamesAreCutToAsManyBytesAsTheyHaveCharactersOnPurpose) {
    // Four characters, five bytes: "Käs" reaches the grabber, which knows whom that begins.
    plug({{.name = "First", .identity = "0", .inputs = {{"In"}}},
          {.name = "Käse", .identity = "1", .inputs = {{"In"}}}});
    EXPECT_EQ(TWUSequenceGrabber::switchChannel(channel, grabber, NSString("Käse"), 0), noErr);
    EXPECT_EQ(TWUSequenceGrabber::driverSourceNameForChannel(channel, grabber), "Käse");
    played.video->list.push_back({.name = "Käsbrot", .identity = "2", .inputs = {{"In"}}});
    EXPECT_EQ(TWUSequenceGrabber::switchChannel(channel, grabber, NSString("Käse"), 0),
              noDeviceForChannel);
}

TEST_F(TWUSequenceGrabberTest, NamesOfMoreThan63CharactersAreCut) {
    const std::string name(63, 'n');
    plug({{.name = "First", .identity = "0", .inputs = {{"In"}}},
          {.name = name + "more", .identity = "1", .inputs = {{"In"}}}});
    EXPECT_EQ(TWUSequenceGrabber::switchChannel(channel, grabber, NSString(name + "more"), 0),
              noErr);
    EXPECT_EQ(TWUSequenceGrabber::driverSourceNameForChannel(channel, grabber), name);
}

TEST_F(TWUSequenceGrabberTest, TheIndexOfADictionaryIsCutTo16Bits) {
    plug({{.name = "A", .identity = "1", .inputs = {{"A1"}, {"A2"}}}});
    EXPECT_EQ(TWUSequenceGrabber::switchChannel(
                  channel, grabber, NSDictionary{{"Device Name", "A"}, {"Device Index", 65537}}),
              noErr);
    EXPECT_EQ(TWUSequenceGrabber::dataSourceNameForChannel(channel, grabber), "A2");
}

}  // namespace
}  // namespace TWQuickTime
