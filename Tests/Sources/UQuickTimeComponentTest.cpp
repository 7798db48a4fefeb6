#include "UQuickTimeComponent.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>

#include "Handles.h"
#include "LogCapture.h"
#include "SettingsContainer.h"
#include "TemporaryDirectory.h"
#include "TestExporter.h"
#include "ToolboxTrace.h"

namespace TWQuickTime {
namespace {

using test::big16;
using test::big32;
using test::SettingsContainer;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr OSType kType = fourCC("spit");
constexpr OSType kManufacturer = fourCC("appl");

class UQuickTimeComponentTest : public testing::Test {
  protected:
    void SetUp() override { behaviour().settings = empty_.bytes(); }
    void TearDown() override { ToolboxTrace::reset(); }
    test::TestExporterBehaviour& behaviour() { return exporter_.behaviour(); }
    ComponentInstance open() { return UQuickTimeComponent::OpenComponent(exporter_.component()); }
    bool isInstalled(const NSData& settings) {
        return UQuickTimeComponent::IsComponentInstalled(kType, fourCC("tst1"), kManufacturer,
                                                         settings);
    }

    SettingsContainer empty_;
    test::TestExporterComponent exporter_{{.subType = fourCC("tst1"),
                                           .flags = canMovieExportFromProcedures,
                                           .name = "Test",
                                           .info = "",
                                           .make = nullptr}};
    test::LogCapture log_;
};

TEST_F(UQuickTimeComponentTest, FindsTheFirstMatchOrLogs) {
    EXPECT_EQ(
        UQuickTimeComponent::FindComponentWithParameters(kType, fourCC("tst1"), 0, 0x8000, 0x8000),
        exporter_.component());
    EXPECT_EQ(UQuickTimeComponent::FindComponentWithParameters(kType, fourCC("none"), 0, 0, 0),
              nullptr);
    EXPECT_THAT(log_.lines(),
                ElementsAre("FindComponentWithParameters: Failed to find compoment..."));
}

TEST_F(UQuickTimeComponentTest, OpensWithParameters) {
    ComponentInstance instance =
        UQuickTimeComponent::OpenComponentWithParameters(kType, fourCC("tst1"), 0, 0, 0);
    EXPECT_TRUE(instance);
    EXPECT_EQ(UQuickTimeComponent::CloseComponent(instance), noErr);
    EXPECT_EQ(UQuickTimeComponent::OpenComponentWithParameters(kType, fourCC("none"), 0, 0, 0),
              nullptr);
    EXPECT_THAT(log_.lines(),
                ElementsAre("FindComponentWithParameters: Failed to find compoment..."));
}

TEST_F(UQuickTimeComponentTest, OpeningByCodesLooksOnlyAmongExportersFromProcedures) {
    const test::TestExporterComponent other({.subType = fourCC("tst2"),
                                             .flags = canMovieExportFiles,
                                             .name = "",
                                             .info = "",
                                             .make = nullptr});
    EXPECT_EQ(UQuickTimeComponent::OpenComponent(kType, fourCC("tst2"), kManufacturer), nullptr);
    EXPECT_THAT(log_.lines(), ElementsAre("OpenComponent: Failed to find compoment...",
                                          "OpenComponent: Failed to find specified compoment..."));
    ComponentInstance instance =
        UQuickTimeComponent::OpenComponent(kType, fourCC("tst1"), kManufacturer);
    EXPECT_TRUE(instance);
    UQuickTimeComponent::CloseComponent(instance);
}

TEST_F(UQuickTimeComponentTest, OpeningNothingOrWhatDoesNotOpenIsLogged) {
    EXPECT_EQ(UQuickTimeComponent::OpenComponent(nullptr), nullptr);
    behaviour().opens = false;
    EXPECT_EQ(open(), nullptr);
    EXPECT_EQ(UQuickTimeComponent::OpenComponent(kType, fourCC("tst1"), 0), nullptr);
    EXPECT_THAT(log_.lines(), ElementsAre("OpenComponent: No component specified...",
                                          "OpenComponent: Failed to open compoment...",
                                          "OpenComponent: Failed to open compoment..."));
}

TEST_F(UQuickTimeComponentTest, ClosingNothingIsAParameterErrorWithoutALog) {
    EXPECT_EQ(UQuickTimeComponent::CloseComponent(static_cast<ComponentInstance>(nullptr)), -50);
    ComponentInstance none = nullptr;
    EXPECT_EQ(UQuickTimeComponent::CloseComponent(&none), -50);
    EXPECT_THAT(log_.lines(), IsEmpty());
}

TEST_F(UQuickTimeComponentTest, ClosingLogsItsStatusAndClearsTheVariableAllTheSame) {
    ComponentInstance instance = open();
    ComponentInstance kept = instance;
    ToolboxTrace::failCall("CloseComponent", 1, -5);
    EXPECT_EQ(UQuickTimeComponent::CloseComponent(&instance), -5);
    EXPECT_EQ(instance, nullptr);
    ToolboxTrace::failCall("CloseComponent", 1, -6);
    EXPECT_EQ(UQuickTimeComponent::CloseComponent(kept), -6);
    EXPECT_EQ(UQuickTimeComponent::CloseComponent(&kept), noErr);
    EXPECT_THAT(log_.lines(),
                ElementsAre("CloseComponent failed: -5 (Sources/UQuickTimeComponent:331)",
                            "CloseComponent failed: -6 (Sources/UQuickTimeComponent:350)"));
}

TEST_F(UQuickTimeComponentTest, SettingsAreTheBareBytesOfTheContainer) {
    SettingsContainer settings;
    settings.leaf("abcd", "data");
    behaviour().settings = settings.bytes();
    ComponentInstance instance = open();
    EXPECT_EQ(UQuickTimeComponent::GetComponentSettings(instance), settings.data());
    const NSData any = NSData::dataWithBytes("any bytes", 9);
    EXPECT_EQ(UQuickTimeComponent::SetComponentSettings(instance, any), noErr);
    ASSERT_EQ(behaviour().settingsGiven.size(), 1u);
    EXPECT_EQ(NSData(behaviour().settingsGiven[0]), any);
    UQuickTimeComponent::CloseComponent(instance);
    EXPECT_THAT(log_.lines(), IsEmpty());
}

TEST_F(UQuickTimeComponentTest, SettingsThatCannotBeReadAreNil) {
    ComponentInstance instance = open();
    behaviour().getSettingsStatus = -50;
    EXPECT_TRUE(UQuickTimeComponent::GetComponentSettings(instance).isNil());
    behaviour().getSettingsStatus = noErr;
    ToolboxTrace::failCall("QTDisposeAtomContainer", 1, -7);
    EXPECT_FALSE(UQuickTimeComponent::GetComponentSettings(instance).isNil());
    UQuickTimeComponent::CloseComponent(instance);
    EXPECT_THAT(
        log_.lines(),
        ElementsAre(
            "MovieExportGetSettingsAsAtomContainer failed: -50 (Sources/UQuickTimeComponent:372)",
            "QTDisposeAtomContainer failed: -7 (Sources/UQuickTimeComponent:382)"));
}

TEST_F(UQuickTimeComponentTest, NilSettingsAreAnEmptyContainer) {
    ComponentInstance instance = open();
    EXPECT_EQ(UQuickTimeComponent::SetComponentSettings(instance, nullptr), noErr);
    ASSERT_EQ(behaviour().settingsGiven.size(), 1u);
    EXPECT_THAT(behaviour().settingsGiven[0], IsEmpty());
    UQuickTimeComponent::CloseComponent(instance);
}

TEST_F(UQuickTimeComponentTest, SettingsThatAreRefusedGiveTheStatusAndALog) {
    ComponentInstance instance = open();
    behaviour().setSettingsStatus = -50;
    EXPECT_EQ(UQuickTimeComponent::SetComponentSettings(instance, nullptr), -50);
    UQuickTimeComponent::CloseComponent(instance);
    EXPECT_THAT(log_.lines(), ElementsAre("MovieExportSetSettingsFromAtomContainer failed: -50 "
                                          "(Sources/UQuickTimeComponent:408)"));
}

TEST_F(UQuickTimeComponentTest, WithoutMemoryNothingIsSetAndNothingReportedOnPurpose) {
    ComponentInstance instance = open();
    ToolboxTrace::failCall("NewHandleClear", 1, memFullErr);
    EXPECT_EQ(UQuickTimeComponent::SetComponentSettings(instance, nullptr), noErr);
    EXPECT_THAT(behaviour().settingsGiven, IsEmpty());
    UQuickTimeComponent::CloseComponent(instance);
    EXPECT_THAT(log_.lines(), IsEmpty());
}

TEST_F(UQuickTimeComponentTest, SettingsFilesHoldTheBareBytes) {
    test::TemporaryDirectory folder;
    SettingsContainer settings;
    settings.leaf("abcd", "data");
    behaviour().settings = settings.bytes();
    ComponentInstance instance = open();
    EXPECT_EQ(UQuickTimeComponent::SaveComponentSettingsToFile(instance,
                                                               folder.file("./sub/../settings")),
              noErr);
    EXPECT_EQ(NSData::dataWithContentsOfFile(folder.file("settings")), settings.data());
    EXPECT_EQ(UQuickTimeComponent::LoadComponentSettingsFromFile(instance, folder.file("settings")),
              noErr);
    EXPECT_EQ(NSData(behaviour().settingsGiven.at(0)), settings.data());
    EXPECT_EQ(UQuickTimeComponent::LoadComponentSettingsFromFile(instance, folder.file("none")),
              noErr);
    EXPECT_THAT(behaviour().settingsGiven.at(1), IsEmpty());
    UQuickTimeComponent::CloseComponent(instance);
}

TEST_F(UQuickTimeComponentTest, SavingIsAlwaysSuccessfulOnPurpose) {
    test::TemporaryDirectory folder;
    const std::string path = folder.file("never-made");
    ComponentInstance instance = open();
    EXPECT_EQ(UQuickTimeComponent::SaveComponentSettingsToFile(instance, path + "/below"), noErr);
    behaviour().getSettingsStatus = -50;
    EXPECT_EQ(UQuickTimeComponent::SaveComponentSettingsToFile(instance, path), noErr);
    EXPECT_FALSE(std::ifstream(path).good());
    UQuickTimeComponent::CloseComponent(instance);
}

TEST_F(UQuickTimeComponentTest, AnEntryWithoutKeysAsksForAnyExporterWithNilSettings) {
    ToolboxTrace::startRecording();
    ToolboxTrace::failCall("OpenComponent", 1, -1);
    EXPECT_FALSE(UQuickTimeComponent::IsComponentInstalled(NSDictionary::dictionary()));
    EXPECT_THAT(ToolboxTrace::recordedCalls(), ElementsAre("FindNextComponent", "OpenComponent"));
    EXPECT_TRUE(UQuickTimeComponent::IsComponentInstalled(
        NSDictionary{{"QTExpComponentSubType", fourCC("tst1")}}));
    EXPECT_THAT(behaviour().settingsGiven.at(0), IsEmpty());
    EXPECT_FALSE(UQuickTimeComponent::IsComponentInstalled(
        NSDictionary{{"QTExpComponentSubType", fourCC("tst1")},
                     {"QTExpComponentManufacturer", fourCC("othr")}}));
}

TEST_F(UQuickTimeComponentTest, AnEntrysSettingsAreHandedToTheExporter) {
    const NSData settings = NSData::dataWithBytes("abc", 3);
    behaviour().keepsSettings = false;
    EXPECT_TRUE(UQuickTimeComponent::IsComponentInstalled(
        NSDictionary{{"QTExpComponentType", static_cast<std::int32_t>(fourCC("spit"))},
                     {"QTExpComponentSubType", fourCC("tst1")},
                     {"QTExpComponentManufacturer", fourCC("appl")},
                     {"QTExpSettings", settings}}));
    EXPECT_EQ(NSData(behaviour().settingsGiven.at(0)), settings);
}

TEST_F(UQuickTimeComponentTest, SettingsWithoutCodecsAreInstalledOnceTheExporterTakesThem) {
    SettingsContainer settings;
    settings.leaf("sptl", big32(0) + big32(0) + big16(24) + big32(0));
    EXPECT_TRUE(isInstalled(settings.data()));
    EXPECT_EQ(behaviour().opened, behaviour().closed);
    EXPECT_THAT(log_.lines(), IsEmpty());
}

TEST_F(UQuickTimeComponentTest, EveryCodecThatTheSettingsNameMustExist) {
    SettingsContainer good;
    const QTAtom video = good.group("vide");
    good.leaf("sptl", "jpeg" + big32(0) + big16(24) + big32(0), video);
    good.leaf("ssct", "twos", good.group("soun"));
    EXPECT_TRUE(isInstalled(good.data()));
    SettingsContainer badVideo;
    badVideo.leaf("sptl", "zzzz" + big32(0) + big16(24) + big32(0), badVideo.group("vide"));
    EXPECT_FALSE(isInstalled(badVideo.data()));
    SettingsContainer badSound;
    badSound.leaf("ssct", "zzzz", badSound.group("soun"));
    EXPECT_FALSE(isInstalled(badSound.data()));
    EXPECT_EQ(behaviour().opened, behaviour().closed);
}

TEST_F(UQuickTimeComponentTest, TheCodecsAreThoseThatTheExporterReportsBack) {
    SettingsContainer bad;
    bad.leaf("ssct", "zzzz");
    behaviour().keepsSettings = false;
    EXPECT_TRUE(isInstalled(bad.data()));
    behaviour().settings = bad.bytes();
    EXPECT_FALSE(isInstalled(nullptr));
}

TEST_F(UQuickTimeComponentTest, RefusedSettingsAreNotInstalledAndLoggedTwice) {
    behaviour().setSettingsStatus = -50;
    EXPECT_FALSE(isInstalled(nullptr));
    EXPECT_EQ(behaviour().closed, 1);
    EXPECT_THAT(log_.lines(),
                ElementsAre("MovieExportSetSettingsFromAtomContainer failed: -50 "
                            "(Sources/UQuickTimeComponent:408)",
                            "SetExporterSettings failed: -50 (Sources/UQuickTimeComponent:125)"));
}

TEST_F(UQuickTimeComponentTest, AnExporterThatGivesNoSettingsBackIsNotInstalled) {
    behaviour().getSettingsStatus = -50;
    EXPECT_FALSE(isInstalled(nullptr));
    EXPECT_EQ(behaviour().closed, 1);
    EXPECT_THAT(log_.lines(), ElementsAre("MovieExportGetSettingsAsAtomContainer failed: -50 "
                                          "(Sources/UQuickTimeComponent:132)",
                                          "IsComponentInstalled: container is NULL..."));
}

TEST_F(UQuickTimeComponentTest, ClosingAfterTheCheckLogsItsStatus) {
    ToolboxTrace::failCall("CloseComponent", 1, -9);
    EXPECT_TRUE(isInstalled(nullptr));
    EXPECT_THAT(log_.lines(),
                ElementsAre("CloseComponent failed: -9 (Sources/UQuickTimeComponent:350)"));
}

TEST_F(UQuickTimeComponentTest, TheIntermediateCodecNeedsBothItsComponents) {
    // This machine's library decodes the type but does not encode it.
    EXPECT_FALSE(UQuickTimeComponent::IsAppleIntermediateCodecInstalled());
    EXPECT_THAT(log_.lines(),
                ElementsAre("FindComponentWithParameters: Failed to find compoment..."));
    ComponentRegistration compressor;
    compressor.description = {.componentType = fourCC("imco"),
                              .componentSubType = fourCC("icod"),
                              .componentManufacturer = fourCC("appl")};
    const Component added = registerComponent(compressor);
    EXPECT_TRUE(UQuickTimeComponent::IsAppleIntermediateCodecInstalled());
    unregisterComponent(added);
}

}  // namespace
}  // namespace TWQuickTime
