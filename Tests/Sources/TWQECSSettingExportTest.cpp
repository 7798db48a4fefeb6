#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>

#include "LogCapture.h"
#include "Movies.h"
#include "NSError_TWQECSError.h"
#include "SettingsContainer.h"
#include "TWQECSSetting.h"
#include "TemporaryDirectory.h"
#include "TestExporter.h"
#include "ToolboxTrace.h"

namespace TWQuickTime {
namespace {

using test::big32;
using test::SettingsContainer;
using testing::ElementsAre;
using testing::IsEmpty;

NSData dataOf(const std::vector<std::byte>& bytes) {
    return NSData::dataWithBytes(bytes.data(), bytes.size());
}

class TWQECSSettingExport : public testing::Test {
  protected:
    void SetUp() override { behaviour().settings = SettingsContainer().bytes(); }
    void TearDown() override {
        setting_ = nullptr;
        DisposeMovie(movie_);
        ToolboxTrace::reset();
    }
    test::TestExporterBehaviour& behaviour() { return exporter_.behaviour(); }

    static std::shared_ptr<TWQECSSetting> makeSetting(const char* subtype) {
        return TWQECSSetting::initWithDictionary(
            NSDictionary{{"SettingID", 7},
                         {"QTExpComponentSubType", std::uint32_t{fourCC(subtype)}},
                         {"QTExpComponentManufacturer", std::uint32_t{fourCC("appl")}}});
    }
    bool exportNow(NSError* error, TimeValue duration = 100) {
        return setting_->exportMovie(movie_, folder_.file("out.tst"), 20, duration, error);
    }

    test::TestExporterComponent exporter_{
        {.subType = fourCC("tst7"),
         .flags = canMovieExportFiles | hasMovieExportUserInterface | cmpThreadSafe,
         .name = "Seventh",
         .info = "What it does.",
         .make = nullptr}};
    test::TemporaryDirectory folder_;
    Movie movie_ = NewMovie(1);
    std::shared_ptr<TWQECSSetting> setting_ = makeSetting("tst7");
    test::LogCapture log_;
};

TEST_F(TWQECSSettingExport, FindsItsComponentOnceAndKeepsIt) {
    EXPECT_EQ(setting_->component(), exporter_.component());
    ToolboxTrace::startRecording();
    EXPECT_EQ(setting_->component(), exporter_.component());
    EXPECT_THAT(ToolboxTrace::recordedCalls(), IsEmpty());
}

TEST_F(TWQECSSettingExport, OpensOneInstanceAndClosesItWithThePreset) {
    const ComponentInstance instance = setting_->componentInstance();
    EXPECT_NE(instance, nullptr);
    EXPECT_EQ(setting_->componentInstance(), instance);
    EXPECT_EQ(behaviour().opened, 1);
    EXPECT_EQ(setting_->defaultExporterComponentSetting(), dataOf(behaviour().settings));
    setting_ = nullptr;
    EXPECT_EQ(behaviour().closed, 1);
}

TEST_F(TWQECSSettingExport, ForgetsInstanceAndComponentWhenTheSettingsAreRefused) {
    setting_->setComponentSettingsAtomData(NSData::dataWithBytes("abc", 3));
    behaviour().setSettingsStatus = paramErr;
    EXPECT_EQ(setting_->componentInstance(), nullptr);
    EXPECT_EQ(behaviour().closed, 1);
    behaviour().setSettingsStatus = noErr;
    EXPECT_NE(setting_->componentInstance(), nullptr);
}

TEST_F(TWQECSSettingExport, GivesNewSettingsToAnOpenInstanceAtOnce) {
    setting_->componentInstance();
    setting_->setComponentSettingsAtomData(NSData::dataWithBytes("abc", 3));
    ASSERT_EQ(behaviour().settingsGiven.size(), 1u);
    EXPECT_EQ(behaviour().settingsGiven[0].size(), 3u);
}

TEST_F(TWQECSSettingExport, AFurtherInstanceHasThePresetsSettingsAndBelongsToTheCaller) {
    setting_->setComponentSettingsAtomData(NSData::dataWithBytes("abc", 3));
    const ComponentInstance first = setting_->createNewComponentInstance();
    ASSERT_TRUE(first);
    ASSERT_EQ(behaviour().settingsGiven.size(), 1u);
    EXPECT_EQ(behaviour().settingsGiven[0].size(), 3u);
    behaviour().setSettingsStatus = paramErr;
    const ComponentInstance second = setting_->createNewComponentInstance();
    ASSERT_TRUE(second) << "whether it takes the settings or not";
    EXPECT_NE(second, first) << "nothing is kept";
    setting_->closePrivateComponentInstance();
    EXPECT_EQ(behaviour().closed, 0) << "there is no private one";
    EXPECT_EQ(CloseComponent(first), noErr);
    EXPECT_EQ(CloseComponent(second), noErr);
}

TEST_F(TWQECSSettingExport, ClosingThePrivateInstanceLetsTheNextUseOpenAnother) {
    ASSERT_TRUE(setting_->componentInstance());
    setting_->closePrivateComponentInstance();
    EXPECT_EQ(behaviour().closed, 1);
    ASSERT_TRUE(setting_->componentInstance());
    EXPECT_EQ(behaviour().opened, 2);
}

TEST_F(TWQECSSettingExport, TellsWhatTheExporterSaysOfItself) {
    EXPECT_EQ(setting_->componentName(), "Seventh");
    EXPECT_EQ(setting_->componentInfo(), "What it does.");
    EXPECT_EQ(setting_->componentIcon(), nullptr);
    EXPECT_TRUE(setting_->componentHasUserInterface());
    EXPECT_TRUE(setting_->isThreadSafe());
    EXPECT_EQ(setting_->exportedMovieFileExtension(), "tst");
    EXPECT_EQ(setting_->componentDescription().componentSubType, fourCC("tst7"));
}

TEST_F(TWQECSSettingExport, DescribesAMissingExporterByThePresetsOwnCodes) {
    const auto missing = makeSetting("none");
    const ComponentDescription description = missing->componentDescription();
    EXPECT_EQ(description.componentType, fourCC("spit"));
    EXPECT_EQ(description.componentSubType, fourCC("none"));
    EXPECT_EQ(description.componentFlags, 0u);
    EXPECT_FALSE(missing->componentHasUserInterface());
    EXPECT_TRUE(missing->componentName().isNil());
}

TEST_F(TWQECSSettingExport, SettingTheWidthChangesTheDataAndTheOpenInstanceAtOnce) {
    SettingsContainer settings;
    settings.leaf("wdth", big32(320 << 16));
    setting_->setComponentSettingsAtomData(dataOf(settings.bytes()));
    setting_->componentInstance();
    behaviour().settingsGiven.clear();
    setting_->setExportedMovieWidth(640);
    EXPECT_EQ(setting_->exportedMovieWidth(), 640);
    ASSERT_EQ(behaviour().settingsGiven.size(), 1u);
    EXPECT_EQ(dataOf(behaviour().settingsGiven[0]), setting_->componentSettingsAtomData());
}

TEST_F(TWQECSSettingExport, ReadsAStoredRateOf2997As2997HundredthsAndOthersAsTheyAre) {
    for (const auto& [stored, read] : {std::pair{2997 << 16, 29.97},
                                       {2997 * 65536 + 32768, 2997.5},
                                       {25 << 16, 25.0},
                                       {1964114, 1964114 / 65536.0}}) {
        SettingsContainer settings;
        settings.leaf("tprl", big32(512) + big32(std::uint32_t(stored)) + big32(24));
        setting_->setComponentSettingsAtomData(dataOf(settings.bytes()));
        EXPECT_DOUBLE_EQ(setting_->exportedMovieFrameRate(), read);
    }
}

TEST_F(TWQECSSettingExport, RefusesNothingToExportBeforeItOpensAnExporter) {
    NSError error;
    EXPECT_FALSE(setting_->exportMovie(nullptr, "/tmp/x", 0, 10, &error));
    EXPECT_EQ(error.code(), 1000);
    EXPECT_FALSE(setting_->exportMovie(movie_, nullptr, 0, 10, &error));
    EXPECT_EQ(error.code(), 1001);
    EXPECT_FALSE(setting_->exportMovie(movie_, folder_.file("x"), 0, 0, &error));
    EXPECT_EQ(error.code(), 1002);
    EXPECT_EQ(behaviour().opened, 0);
    EXPECT_TRUE(std::filesystem::is_empty(folder_.path()));
    EXPECT_THAT(log_.lines(), ElementsAre("Movie not specified...", "Export path not specified...",
                                          "Nothing to export..."));
}

TEST_F(TWQECSSettingExport, HandsBackError1003ForAMissingExporterAndMakesNoFile) {
    setting_ = makeSetting("none");
    NSError error;
    EXPECT_FALSE(exportNow(&error));
    EXPECT_EQ(error.code(), 1003);
    EXPECT_EQ(error.domain(), TWQECSErrorDomain);
    EXPECT_TRUE(std::filesystem::is_empty(folder_.path()));
    EXPECT_EQ(log_.lines().back(), "Export component not installed...");
}

TEST_F(TWQECSSettingExport, ExportsTheRangeAndLogsWhatItDoes) {
    NSError error;
    EXPECT_TRUE(exportNow(&error));
    ASSERT_EQ(behaviour().exports.size(), 1u);
    EXPECT_EQ(behaviour().exports[0].path, folder_.file("out.tst"));
    EXPECT_EQ(behaviour().exports[0].movie, movie_);
    EXPECT_EQ(behaviour().exports[0].start, 20);
    EXPECT_EQ(behaviour().exports[0].duration, 100);
    EXPECT_THAT(log_.lines(),
                ElementsAre("Exporting movie:" + folder_.file("out.tst") + " using QECS:7...",
                            "Export done."));
}

TEST_F(TWQECSSettingExport, HandsBackTheExportersStatusAndLeavesTheEmptyFile) {
    behaviour().exportStatus = -8961;
    NSError error;
    EXPECT_FALSE(exportNow(&error));
    EXPECT_EQ(error.code(), -8961);
    EXPECT_EQ(error.domain(), TWQECSErrorDomain);
    EXPECT_EQ(std::filesystem::file_size(folder_.file("out.tst")), 0u);
}

TEST_F(TWQECSSettingExport, SaysDoneOfAFailedExportWhenNobodyAsksForTheErrorOnPurpose) {
    behaviour().exportStatus = -8961;
    EXPECT_FALSE(exportNow(nullptr));
    EXPECT_EQ(log_.lines().back(), "Export done.");
}

TEST_F(TWQECSSettingExport, TellsTheDelegateAndStopsWhenItSaysNo) {
    std::vector<float> told;
    const auto delegate = std::make_shared<TWQECSExportDelegate>();
    delegate->exportCallbackForMovie = [&](Movie movie, std::int16_t, std::int16_t operation,
                                           float fraction, NSError*) {
        EXPECT_EQ(movie, movie_);
        EXPECT_EQ(operation, 12);
        told.push_back(fraction);
        return fraction < 0.5f;
    };
    setting_->setExportDelegate(delegate);
    NSError error = NSError::errorWithDomain("other", 1, nullptr);
    EXPECT_FALSE(exportNow(&error));
    EXPECT_THAT(told, ElementsAre(0.0f, 0.0f, 0.5f));
    // A fresh preset has no error to hand back.
    EXPECT_TRUE(error.isNil());
}

TEST_F(TWQECSSettingExport, HandsBackTheErrorOfAnEarlierStopWhenThereIsNoNewOneOnPurpose) {
    const auto delegate = std::make_shared<TWQECSExportDelegate>();
    bool explains = true;
    delegate->exportCallbackForMovie = [&](Movie, std::int16_t, std::int16_t, float,
                                           NSError* error) {
        if (explains)
            *error = NSError::errorWithDomain("client", 42, nullptr);
        return false;
    };
    setting_->setExportDelegate(delegate);
    NSError error;
    EXPECT_FALSE(exportNow(&error));
    EXPECT_EQ(error.code(), 42);
    explains = false;
    error = nullptr;
    EXPECT_FALSE(exportNow(&error));
    EXPECT_EQ(error.code(), 42);
}

TEST_F(TWQECSSettingExport, HandsBackItsOwnErrorWhenTheFileCannotBeMade) {
    NSError error = NSError::errorWithDomain("other", 1, nullptr);
    EXPECT_FALSE(setting_->exportMovie(movie_, folder_.file("missing/out"), 0, 10, &error));
    EXPECT_TRUE(error.isNil());
    EXPECT_THAT(behaviour().exports, IsEmpty());
}

TEST_F(TWQECSSettingExport, CancellingTheDialogReturnsNoErrorAndChangesNothing) {
    setting_->setComponentSettingsAtomData(NSData::dataWithBytes("abc", 3));
    behaviour().dialogCancels = true;
    EXPECT_EQ(setting_->customizeComponentSettingsWithComponentDialogForMovie(movie_), 0);
    EXPECT_EQ(setting_->componentSettingsAtomData(), NSData::dataWithBytes("abc", 3));
}

TEST_F(TWQECSSettingExport, StoresTheSettingsOfTheDialogWithoutGivingThemBack) {
    behaviour().settingsFromDialog = {std::byte{1}, std::byte{2}};
    EXPECT_EQ(setting_->customizeComponentSettingsWithComponentDialogForMovie(nullptr), 0);
    EXPECT_EQ(setting_->componentSettingsAtomData().length(), 2u);
    EXPECT_THAT(behaviour().settingsGiven, IsEmpty());
    behaviour().dialogStatus = -50;
    EXPECT_EQ(setting_->customizeComponentSettingsWithComponentDialogForMovie(nullptr), -50);
}

TEST_F(TWQECSSettingExport, ReturnsFourQuestionMarksWhenTheExporterGivesNoSettings) {
    setting_->componentInstance();
    behaviour().getSettingsStatus = -1;
    EXPECT_EQ(setting_->customizeComponentSettingsWithComponentDialogForMovie(nullptr), 0x3F3F3F3F);
}

}  // namespace
}  // namespace TWQuickTime
