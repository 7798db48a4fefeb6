#include "SequenceGrabber.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>

#include "Components.h"
#include "DataReferences.h"
#include "EnvironmentVariables.h"
#include "FileReferences.h"
#include "Handles.h"
#include "PlayedDevices.h"
#include "RunProgram.h"
#include "SGDeviceWatch.h"
#include "TemporaryDirectory.h"
#include "ToolboxTrace.h"

namespace TWQuickTime {
namespace {

std::string textOf(const std::uint8_t* pascal) {
    return {reinterpret_cast<const char*>(pascal + 1), pascal[0]};
}

std::vector<std::uint8_t> pascal(const std::string& text) {
    std::vector<std::uint8_t> bytes = {static_cast<std::uint8_t>(text.size())};
    bytes.insert(bytes.end(), text.begin(), text.end());
    return bytes;
}

class SequenceGrabberTest : public testing::Test {
  protected:
    void SetUp() override {
        environment.set("TWQT_TEST_PATTERN", std::nullopt);
        grabber = OpenDefaultComponent(SeqGrabComponentType, 0);
        ASSERT_NE(grabber, nullptr);
        ASSERT_EQ(SGInitialize(grabber), noErr);
        ASSERT_EQ(SGNewChannel(grabber, SGVideoMediaType, &channel), noErr);
    }
    void TearDown() override { CloseComponent(grabber); }

    std::vector<std::string> names() {
        std::vector<std::string> all;
        SGDeviceList list = nullptr;
        EXPECT_EQ(SGGetChannelDeviceList(channel, sgDeviceListIncludeInputs, &list), noErr);
        for (int i = 0; list && i < (*list)->count; ++i)
            all.push_back(textOf((*list)->entry[i].name));
        SGDisposeDeviceList(grabber, list);
        return all;
    }
    ComponentResult setOutput(const std::string& file) {
        Handle reference = nullptr;
        OSType type = 0;
        EXPECT_EQ(
            QTNewDataReferenceFromFullPathCFString(file, kQTPOSIXPathStyle, 0, &reference, &type),
            noErr);
        const ComponentResult status = SGSetDataRef(grabber, reference, type, seqGrabToDisk);
        DisposeHandle(reference);
        return status;
    }
    ComponentResult select(const std::string& name) {
        return SGSetChannelDevice(channel, pascal(name).data());
    }
    std::string selected() {
        std::uint8_t device[256], input[256];
        std::int16_t number = -1;
        if (SGGetChannelDeviceAndInputNames(channel, device, input, &number) != noErr)
            return "";
        return textOf(device) + "/" + textOf(input) + "/" + std::to_string(number);
    }

    test::EnvironmentVariables environment;
    test::TemporaryDirectory folder;
    const std::string path = folder.file("grabbed.mov");
    test::PlayedDevices played;
    SeqGrabComponent grabber = nullptr;
    SGChannel channel = nullptr;
};

TEST_F(SequenceGrabberTest, ListsDevicesWithInputsFlagsAndIdentities) {
    played.video->list = {
        {.name = "Cam", .identity = "usb-1", .inputs = {{"A"}, {"B", false}}, .selectedInput = 1},
        {.name = "Other", .identity = "usb-2", .available = false}};
    SGDeviceList list = nullptr;
    ASSERT_EQ(SGGetChannelDeviceList(channel, sgDeviceListIncludeInputs, &list), noErr);
    ASSERT_EQ((*list)->count, 2);
    EXPECT_EQ((*list)->selectedIndex, 0);
    const SGDeviceName& cam = (*list)->entry[0];
    EXPECT_EQ(textOf(cam.name), "Cam");
    EXPECT_EQ(cam.flags, 0);
    EXPECT_EQ(std::string(*cam.identity, static_cast<std::size_t>(GetHandleSize(cam.identity))),
              "usb-1");
    ASSERT_EQ((*cam.inputs)->count, 2);
    EXPECT_EQ((*cam.inputs)->selectedIndex, 1);
    EXPECT_EQ(textOf((*cam.inputs)->entry[1].name), "B");
    EXPECT_EQ((*cam.inputs)->entry[0].flags, 0);
    EXPECT_EQ((*cam.inputs)->entry[1].flags, sgDeviceInputNameFlagInputUnavailable);
    EXPECT_EQ((*list)->entry[1].flags, sgDeviceNameFlagDeviceUnavailable);
    EXPECT_EQ((*(*list)->entry[1].inputs)->count, 0);
    EXPECT_EQ(SGDisposeDeviceList(grabber, list), noErr);
    ASSERT_EQ(SGGetChannelDeviceList(channel, 0, &list), noErr);
    EXPECT_EQ((*list)->entry[0].inputs, nullptr);
    EXPECT_EQ(SGDisposeDeviceList(grabber, list), noErr);
    EXPECT_EQ(SGDisposeDeviceList(grabber, nullptr), nilHandleErr);
}

TEST_F(SequenceGrabberTest, NoTwoNamesOfAListAreAlike) {
    played.video->list = {{.name = "Cam", .identity = "1"},
                          {.name = "Cam", .identity = "2"},
                          {.name = "Cam #2", .identity = "3"},
                          {.name = std::string(80, 'x'), .identity = "4"},
                          {.name = std::string(90, 'x'), .identity = "5"}};
    EXPECT_EQ(names(), (std::vector<std::string>{"Cam", "Cam #2", "Cam #2 #2", std::string(63, 'x'),
                                                 std::string(60, 'x') + " #2"}));
}

TEST_F(SequenceGrabberTest, NamesAreCutAtTheEndOfACharacter) {
    std::string umlauts;
    for (int i = 0; i < 40; ++i)
        umlauts += "ä";
    played.video->list = {{.name = umlauts, .identity = "1"},
                          {.name = std::string(70, '\xE4'), .identity = "2"}};
    EXPECT_EQ(names(), (std::vector<std::string>{umlauts.substr(0, 62), std::string(63, '\xE4')}));
}

TEST_F(SequenceGrabberTest, SelectsDevicesByNameByABeginningAndByQuestionMarks) {
    played.video->list = {{.name = "Käse", .identity = "1", .inputs = {{"A"}, {"B"}}},
                          {.name = "Cam 1", .identity = "2"},
                          {.name = "Cam 2", .identity = "3"},
                          {.name = "Bl\xF6", .identity = "4"}};
    EXPECT_EQ(select("Cam 2"), noErr);
    EXPECT_EQ(selected(), "Cam 2//0");
    EXPECT_EQ(select("Cam"), noDeviceForChannel);
    EXPECT_EQ(select(""), noDeviceForChannel);
    EXPECT_EQ(select("Nobody"), noDeviceForChannel);
    EXPECT_EQ(selected(), "Cam 2//0");
    EXPECT_EQ(select("Bl?"), noErr);
    EXPECT_EQ(selected(), "Bl\xF6//0");
    EXPECT_EQ(select("Kä"), noErr);
    EXPECT_EQ(SGSetChannelDeviceInput(channel, 1), noErr);
    EXPECT_EQ(selected(), "Käse/B/1");
    EXPECT_EQ(SGSetChannelDeviceInput(channel, 2), paramErr);
    EXPECT_EQ(SGSetChannelDeviceInput(channel, -1), paramErr);
    // Another device has inputs of its own.
    EXPECT_EQ(select("Cam 1"), noErr);
    EXPECT_EQ(select("Käse"), noErr);
    EXPECT_EQ(selected(), "Käse/A/0");
}

TEST_F(SequenceGrabberTest, UsesTheFirstAvailableDeviceUntilOneIsChosenAndNoticesNewOnes) {
    EXPECT_EQ(names(), std::vector<std::string>());
    EXPECT_EQ(selected(), "");
    EXPECT_EQ(SGSetChannelDeviceInput(channel, 0), noDeviceForChannel);
    played.video->list = {{.name = "Busy", .identity = "1", .available = false},
                          {.name = "Free", .identity = "2", .inputs = {{"In"}}}};
    EXPECT_EQ(selected(), "Free/In/0");
}

TEST_F(SequenceGrabberTest, TheTestPatternIsListedOnRequestOnly) {
    EXPECT_EQ(names(), std::vector<std::string>());
    EXPECT_EQ(SGOfferTestPattern(grabber, true), noErr);
    EXPECT_EQ(names(), std::vector<std::string>{"Test Pattern"});
    EXPECT_EQ(SGOfferTestPattern(grabber, false), noErr);
    EXPECT_EQ(names(), std::vector<std::string>());
    environment.set("TWQT_TEST_PATTERN", "1");
    const SeqGrabComponent second = OpenDefaultComponent(SeqGrabComponentType, 0);
    ASSERT_EQ(SGNewChannel(second, SGVideoMediaType, &channel), noErr);
    EXPECT_EQ(names(), std::vector<std::string>{"Test Pattern"});
    EXPECT_EQ(CloseComponent(second), noErr);
}

TEST_F(SequenceGrabberTest, RecordsAndStops) {
    played.video->list = {{.name = "Cam", .identity = "usb-1", .inputs = {{"A"}, {"B"}}}};
    EXPECT_EQ(SGStop(grabber), cantDoThatInCurrentMode);
    EXPECT_EQ(SGIdle(grabber), noErr);
    EXPECT_EQ(SGStartRecord(grabber), paramErr);
    ASSERT_EQ(setOutput(path), noErr);
    EXPECT_FALSE(std::filesystem::exists(path));
    ASSERT_EQ(SGSetChannelDeviceInput(channel, 1), noErr);
    ASSERT_EQ(SGStartRecord(grabber), noErr);
    EXPECT_EQ(SGIdle(grabber), noErr);
    EXPECT_EQ(SGStartRecord(grabber), cantDoThatInCurrentMode);
    EXPECT_EQ(SGPrepare(grabber, false, true), cantDoThatInCurrentMode);
    EXPECT_EQ(setOutput(path), cantDoThatInCurrentMode);
    EXPECT_EQ(select("Cam"), cantDoThatInCurrentMode);
    EXPECT_EQ(SGSetChannelDeviceInput(channel, 0), cantDoThatInCurrentMode);
    EXPECT_EQ(SGSetChannelUsage(channel, 0), cantDoThatInCurrentMode);
    EXPECT_EQ(SGDisposeChannel(grabber, channel), cantDoThatInCurrentMode);
    EXPECT_EQ(SGStop(grabber), noErr);
    EXPECT_EQ(SGStop(grabber), cantDoThatInCurrentMode);
    ASSERT_EQ(played.video->opened.size(), 1u);
    EXPECT_EQ(played.video->opened[0], (std::pair<std::string, std::size_t>("usb-1", 1)));
    EXPECT_EQ(test::runProgram({"ffprobe", "-v", "error", path}).exitStatus, 0);
}

TEST_F(SequenceGrabberTest, RecordsIntoAFileRecord) {
    played.video->list = {{.name = "Cam", .identity = "usb-1"}};
    std::ofstream(path) << "earlier";
    FSRef reference;
    FSSpec spec;
    ASSERT_EQ(FSPathMakeRef(path.c_str(), &reference, nullptr), noErr);
    ASSERT_EQ(FSGetCatalogInfo(&reference, kFSCatInfoNone, nullptr, nullptr, &spec, nullptr),
              noErr);
    EXPECT_EQ(SGSetDataOutput(grabber, nullptr, seqGrabToDisk), paramErr);
    EXPECT_EQ(SGSetDataOutput(grabber, &spec, 2), featureUnsupported);
    ASSERT_EQ(SGSetDataOutput(grabber, &spec, seqGrabToDisk), noErr);
    EXPECT_EQ(std::filesystem::file_size(path), 7u);
    ASSERT_EQ(SGStartRecord(grabber), noErr);
    EXPECT_EQ(SGStop(grabber), noErr);
    EXPECT_EQ(test::runProgram({"ffprobe", "-v", "error", path}).exitStatus, 0);
}

TEST_F(SequenceGrabberTest, RecordsOnIntoTheSameFileUnlessSomebodyChangedIt) {
    played.video->list = {{.name = "Cam", .identity = "usb-1"}};
    ASSERT_EQ(setOutput(path), noErr);
    ASSERT_EQ(SGStartRecord(grabber), noErr);
    ASSERT_EQ(SGStop(grabber), noErr);
    ASSERT_EQ(SGStartRecord(grabber), noErr);
    ASSERT_EQ(SGStop(grabber), noErr);
    std::ofstream(path) << "another file";
    EXPECT_EQ(SGStartRecord(grabber), dupFNErr);
    EXPECT_EQ(SGStop(grabber), cantDoThatInCurrentMode);
    EXPECT_EQ(std::filesystem::file_size(path), 12u);
    ASSERT_EQ(setOutput(path), noErr);
    EXPECT_EQ(SGStartRecord(grabber), noErr);
    EXPECT_EQ(SGStop(grabber), noErr);
}

TEST_F(SequenceGrabberTest, SaysWhyADeviceCannotBeRecorded) {
    ASSERT_EQ(setOutput(path), noErr);
    EXPECT_EQ(SGStartRecord(grabber), noDeviceForChannel);
    played.video->list = {{.name = "Cam", .identity = "usb-1"}};
    using result::FailureKind;
    for (const auto& [kind, status] : {std::pair{FailureKind::notAvailable, deviceCantMeetRequest},
                                       std::pair{FailureKind::unsupported, deviceCantMeetRequest},
                                       std::pair{FailureKind::notFound, noDeviceForChannel},
                                       std::pair{FailureKind::permission, permErr}}) {
        played.video->openFailure = result::Failure{kind, "played"};
        EXPECT_EQ(SGStartRecord(grabber), status);
        EXPECT_EQ(SGPrepare(grabber, false, true), status);
    }
    EXPECT_EQ(SGPrepare(grabber, true, false), noErr);
    EXPECT_FALSE(std::filesystem::exists(path));
    played.video->openFailure.reset();
    ASSERT_EQ(SGSetChannelUsage(channel, seqGrabPreview), noErr);
    std::int32_t usage = 0;
    EXPECT_EQ(SGGetChannelUsage(channel, &usage), noErr);
    EXPECT_EQ(usage, seqGrabPreview);
    EXPECT_EQ(SGStartRecord(grabber), noDeviceForChannel);
}

TEST_F(SequenceGrabberTest, AChosenDeviceThatIsGoneIsNotExchangedForAnother) {
    played.video->list = {{.name = "A", .identity = "1"}, {.name = "B", .identity = "2"}};
    ASSERT_EQ(select("B"), noErr);
    ASSERT_EQ(setOutput(path), noErr);
    played.video->list.pop_back();
    EXPECT_EQ(SGStartRecord(grabber), noDeviceForChannel);
    played.video->list.push_back({.name = "B again", .identity = "2"});
    EXPECT_EQ(SGPrepare(grabber, false, true), noErr);
    EXPECT_EQ(played.video->opened.back().first, "2");
    EXPECT_EQ(SGRelease(grabber), noErr);
}

TEST_F(SequenceGrabberTest, TellsThatADeviceWentAwayAndKeepsWhatWasRecorded) {
    played.video->list = {{.name = "Cam", .identity = "usb-1"}};
    ASSERT_EQ(setOutput(path), noErr);
    ASSERT_EQ(SGStartRecord(grabber), noErr);
    *played.video->gone = true;
    while (SGIdle(grabber) == noErr) {
    }
    EXPECT_EQ(SGIdle(grabber), noDeviceForChannel);
    EXPECT_EQ(SGStop(grabber), noErr);
    EXPECT_EQ(test::runProgram({"ffprobe", "-v", "error", path}).exitStatus, 0);
}

TEST_F(SequenceGrabberTest, WhatItRecordsFromIsNotInUseElsewhere) {
    played.video->list = {{.name = "A", .identity = "1"}, {.name = "B", .identity = "2"}};
    ASSERT_EQ(setOutput(path), noErr);
    ASSERT_EQ(SGStartRecord(grabber), noErr);
    played.video->list[0].available = false;
    played.video->list[1].available = false;
    SGDeviceList list = nullptr;
    ASSERT_EQ(SGGetChannelDeviceList(channel, sgDeviceListIncludeInputs, &list), noErr);
    EXPECT_EQ((*list)->selectedIndex, 0);
    EXPECT_EQ((*list)->entry[0].flags, 0);
    EXPECT_EQ((*list)->entry[1].flags, sgDeviceNameFlagDeviceUnavailable);
    EXPECT_EQ(SGDisposeDeviceList(grabber, list), noErr);
    EXPECT_EQ(SGStop(grabber), noErr);
}

TEST_F(SequenceGrabberTest, SaysThatTheFileCannotBeMade) {
    played.video->list = {{.name = "Cam", .identity = "usb-1"}};
    ASSERT_EQ(setOutput(folder.file("missing/grabbed.mov")), noErr);
    EXPECT_EQ(SGStartRecord(grabber), fnfErr);
    EXPECT_EQ(SGStop(grabber), cantDoThatInCurrentMode);
    EXPECT_EQ(SGSetDataRef(grabber, nullptr, 0, seqGrabToDisk), couldNotResolveDataRef);
}

TEST_F(SequenceGrabberTest, ForeignAndMissingObjectsGiveAStatus) {
    EXPECT_EQ(SGInitialize(nullptr), badInstance);
    EXPECT_EQ(SGStop(nullptr), badInstance);
    EXPECT_EQ(SGStartRecord(channel), badComponentSelector);
    EXPECT_EQ(SGSetChannelDeviceInput(grabber, 0), badComponentSelector);
    EXPECT_EQ(SGSetChannelDevice(nullptr, nullptr), badInstance);
    EXPECT_EQ(SGSetChannelDevice(channel, nullptr), paramErr);
    EXPECT_EQ(SGGetChannelDeviceList(channel, 4, nullptr), paramErr);
    EXPECT_EQ(SGNewChannel(grabber, SGVideoMediaType, nullptr), paramErr);
    SGChannel other = channel;
    EXPECT_EQ(SGNewChannel(grabber, fourCC("text"), &other), featureUnsupported);
    EXPECT_EQ(other, nullptr);
    // A channel that no grabber made.
    const ComponentInstance alone = OpenDefaultComponent(SeqGrabChannelType, SGVideoMediaType);
    SGDeviceList list = nullptr;
    EXPECT_EQ(SGGetChannelDeviceList(alone, 4, &list), badComponentSelector);
    EXPECT_EQ(SGDisposeChannel(grabber, alone), paramErr);
    EXPECT_EQ(CloseComponent(alone), noErr);
}

TEST_F(SequenceGrabberTest, ChannelsGoWithTheirGrabberOrBeforeIt) {
    SGChannel second = nullptr, third = nullptr;
    ASSERT_EQ(SGNewChannel(grabber, SGSoundMediaType, &second), noErr);
    ASSERT_EQ(SGNewChannel(grabber, SGSoundMediaType, &third), noErr);
    EXPECT_EQ(SGDisposeChannel(grabber, second), noErr);
    EXPECT_EQ(SGDisposeChannel(grabber, second), paramErr);
    EXPECT_EQ(CloseComponent(third), noErr);
    EXPECT_EQ(CloseComponent(grabber), noErr);
    EXPECT_EQ(CloseComponent(channel), badInstance);
    grabber = OpenDefaultComponent(SeqGrabComponentType, 0);
}

TEST_F(SequenceGrabberTest, PlannedFailuresHappen) {
    if (!ToolboxTrace::available())
        GTEST_SKIP() << "built without tracing of toolbox calls";
    for (const char* name : {"SGInitialize", "SGStop", "SGStartRecord", "SGIdle", "SGRelease"})
        ToolboxTrace::failCall(name, 1, -1234);
    EXPECT_EQ(SGInitialize(grabber), -1234);
    EXPECT_EQ(SGStop(grabber), -1234);
    EXPECT_EQ(SGStartRecord(grabber), -1234);
    EXPECT_EQ(SGIdle(grabber), -1234);
    EXPECT_EQ(SGRelease(grabber), -1234);
    ToolboxTrace::reset();
}

TEST(SGDeviceWatchTest, HasADescriptorToPollAndNothingToTakeWhereNothingChanges) {
    SGDeviceWatch watch;
    ASSERT_EQ(watch.status(), noErr);
    EXPECT_GE(watch.descriptor(), 0);
    EXPECT_FALSE(watch.takeChanges());
}

}  // namespace
}  // namespace TWQuickTime
