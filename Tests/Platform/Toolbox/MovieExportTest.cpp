#include "MovieExport.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

#include "DataReferences.h"
#include "FileReferences.h"
#include "Handles.h"
#include "TemporaryDirectory.h"
#include "TestExporter.h"
#include "ToolboxTrace.h"

namespace TWQuickTime {
namespace {

const Movie kSomeMovie = reinterpret_cast<Movie>(0x1000);

class MovieExport : public testing::Test {
  protected:
    void SetUp() override { instance_ = OpenComponent(exporter_.component()); }
    void TearDown() override {
        CloseComponent(instance_);
        ToolboxTrace::reset();
    }
    test::TestExporterBehaviour& behaviour() { return exporter_.behaviour(); }

    test::TestExporterComponent exporter_{{.subType = fourCC("tst1"),
                                           .flags = canMovieExportFiles,
                                           .name = "Test",
                                           .info = "",
                                           .make = nullptr}};
    ComponentInstance instance_ = nullptr;
};

TEST_F(MovieExport, AnExporterIsAComponentOfItsType) {
    const ComponentDescription wanted{.componentType = MovieExportType,
                                      .componentSubType = fourCC("tst1"),
                                      .componentManufacturer = fourCC("appl"),
                                      .componentFlags = canMovieExportFiles,
                                      .componentFlagsMask = canMovieExportFiles};
    EXPECT_EQ(FindNextComponent(nullptr, &wanted), exporter_.component());
}

TEST_F(MovieExport, SettingsTravelAsTheBytesOfAContainer) {
    behaviour().settings.assign(40, std::byte{7});
    ComponentInstance fresh = OpenComponent(exporter_.component());
    QTAtomContainer settings = nullptr;
    ASSERT_EQ(MovieExportGetSettingsAsAtomContainer(fresh, &settings), noErr);
    EXPECT_EQ(GetHandleSize(settings), 40);
    EXPECT_EQ(MovieExportSetSettingsFromAtomContainer(instance_, settings), noErr);
    EXPECT_EQ(behaviour().settingsGiven.at(0), behaviour().settings);
    DisposeHandle(settings);
    EXPECT_EQ(MovieExportSetSettingsFromAtomContainer(instance_, settings),
              invalidAtomContainerErr);
    behaviour().getSettingsStatus = ioErr;
    EXPECT_EQ(MovieExportGetSettingsAsAtomContainer(fresh, &settings), ioErr);
    EXPECT_EQ(settings, nullptr);
    CloseComponent(fresh);
}

TEST_F(MovieExport, AnExportGetsThePathOfTheFileRecord) {
    test::TemporaryDirectory folder;
    std::ofstream(folder.file("out.tst")).flush();
    FSRef ref;
    FSSpec spec;
    ASSERT_EQ(FSPathMakeRef(folder.file("out.tst").c_str(), &ref, nullptr), noErr);
    ASSERT_EQ(FSGetCatalogInfo(&ref, 0, nullptr, nullptr, &spec, nullptr), noErr);
    EXPECT_EQ(MovieExportToFile(instance_, &spec, kSomeMovie, nullptr, 10, 20), noErr);
    ASSERT_EQ(behaviour().exports.size(), 1u);
    EXPECT_EQ(behaviour().exports[0].path, folder.file("out.tst"));
    EXPECT_EQ(behaviour().exports[0].start, 10);
    EXPECT_EQ(behaviour().exports[0].duration, 20);
    EXPECT_EQ(MovieExportToFile(instance_, &spec, nullptr, nullptr, 0, 1), invalidMovie);
    EXPECT_EQ(MovieExportToFile(instance_, nullptr, kSomeMovie, nullptr, 0, 1), paramErr);
    const FSSpec foreign;
    EXPECT_EQ(MovieExportToFile(instance_, &foreign, kSomeMovie, nullptr, 0, 1), fnfErr);
}

TEST_F(MovieExport, AnExportMayGoToADataReference) {
    test::TemporaryDirectory folder;
    Handle reference = nullptr;
    OSType type = 0;
    ASSERT_EQ(
        QTNewDataReferenceFromFullPathCFString(folder.file("new.tst"), -1, 0, &reference, &type),
        noErr);
    EXPECT_EQ(MovieExportToDataRef(instance_, reference, type, kSomeMovie, nullptr, 0, 1), noErr);
    EXPECT_TRUE(std::filesystem::exists(folder.file("new.tst")));
    EXPECT_EQ(MovieExportToDataRef(instance_, nullptr, type, kSomeMovie, nullptr, 0, 1),
              couldNotResolveDataRef);
    DisposeHandle(reference);
}

TEST_F(MovieExport, ProgressIsToldInFixedPointAndCanStopTheExport) {
    struct Seen {
        std::vector<std::int16_t> messages;
        std::vector<Fixed> percents;
        OSErr answer = noErr;
    } seen;
    const auto procedure = [](Movie, std::int16_t message, std::int16_t operation, Fixed percent,
                              std::intptr_t refcon) -> OSErr {
        auto* record = reinterpret_cast<Seen*>(refcon);
        EXPECT_EQ(operation, progressOpExportMovie);
        record->messages.push_back(message);
        record->percents.push_back(percent);
        return record->messages.size() == 3 ? record->answer : noErr;
    };
    test::TemporaryDirectory folder;
    Handle reference = nullptr;
    OSType type = 0;
    QTNewDataReferenceFromFullPathCFString(folder.file("new.tst"), -1, 0, &reference, &type);
    EXPECT_EQ(
        MovieExportSetProgressProc(instance_, procedure, reinterpret_cast<std::intptr_t>(&seen)),
        noErr);
    EXPECT_EQ(MovieExportToDataRef(instance_, reference, type, kSomeMovie, nullptr, 0, 1), noErr);
    EXPECT_EQ(seen.messages, (std::vector<std::int16_t>{0, 1, 1, 1, 2}));
    EXPECT_EQ(seen.percents, (std::vector<Fixed>{0, 0, 0x8000, 0x10000, 0x10000}));
    seen = {};
    seen.answer = -1;
    EXPECT_EQ(MovieExportToDataRef(instance_, reference, type, kSomeMovie, nullptr, 0, 1), -1);
    MovieExportSetProgressProc(instance_, nullptr, 0);
    seen = {};
    EXPECT_EQ(MovieExportToDataRef(instance_, reference, type, kSomeMovie, nullptr, 0, 1), noErr);
    EXPECT_TRUE(seen.messages.empty());
    DisposeHandle(reference);
}

TEST_F(MovieExport, TheDialogTellsWhetherTheUserGaveUp) {
    Boolean canceled = true;
    EXPECT_EQ(MovieExportDoUserDialog(instance_, nullptr, nullptr, 0, 5, &canceled), noErr);
    EXPECT_FALSE(canceled);
    behaviour().dialogCancels = true;
    EXPECT_EQ(MovieExportDoUserDialog(instance_, nullptr, nullptr, 0, 5, &canceled), noErr);
    EXPECT_TRUE(canceled);
    EXPECT_EQ(behaviour().dialogs.at(0).duration, 5);
}

TEST_F(MovieExport, WhatAnExporterDoesNotImplementIsABadSelector) {
    const Component bare = registerMovieExporter(
        {.subType = fourCC("bare"), .flags = 0, .name = "", .info = "", .make = [] {
             return std::make_unique<MovieExporter>();
         }});
    ComponentInstance instance = OpenComponent(bare);
    OSType code = 0;
    std::int32_t trackID = 0;
    Boolean canceled = false;
    QTAtomContainer settings = nullptr;
    const auto getData = [](void*, MovieExportGetDataParams*) -> OSErr { return eofErr; };
    EXPECT_EQ(MovieExportGetSourceMediaType(instance, &code), badComponentSelector);
    EXPECT_EQ(MovieExportGetFileNameExtension(instance, &code), badComponentSelector);
    EXPECT_EQ(MovieExportDoUserDialog(instance, nullptr, nullptr, 0, 0, &canceled),
              badComponentSelector);
    EXPECT_EQ(MovieExportGetSettingsAsAtomContainer(instance, &settings), badComponentSelector);
    EXPECT_EQ(MovieExportAddDataSource(instance, fourCC("vide"), 600, &trackID, nullptr, getData,
                                       nullptr),
              badComponentSelector);
    CloseComponent(instance);
    unregisterComponent(bare);
}

TEST_F(MovieExport, ForeignInstancesAndOtherComponentsGiveTheirStatuses) {
    OSType code = 0;
    EXPECT_EQ(MovieExportGetSourceMediaType(nullptr, &code), badInstance);
    const Component other = registerComponent({});
    ComponentInstance instance = OpenComponent(other);
    EXPECT_EQ(MovieExportGetSourceMediaType(instance, &code), badComponentSelector);
    CloseComponent(instance);
    EXPECT_EQ(MovieExportGetSourceMediaType(instance, &code), badInstance);
    unregisterComponent(other);
}

TEST_F(MovieExport, BadSourcesAreRefusedBeforeTheExporterSeesThem) {
    std::int32_t trackID = 9;
    const auto getData = [](void*, MovieExportGetDataParams*) -> OSErr { return eofErr; };
    EXPECT_EQ(
        MovieExportAddDataSource(instance_, fourCC("vide"), 0, &trackID, nullptr, getData, nullptr),
        paramErr);
    EXPECT_EQ(trackID, 0);
    EXPECT_EQ(MovieExportAddDataSource(instance_, fourCC("vide"), 600, nullptr, nullptr, getData,
                                       nullptr),
              paramErr);
    EXPECT_EQ(MovieExportAddDataSource(instance_, fourCC("vide"), 600, &trackID, nullptr, nullptr,
                                       nullptr),
              paramErr);
    EXPECT_EQ(MovieExportFromProceduresToDataRef(instance_, nullptr, 0), couldNotResolveDataRef);
}

}  // namespace
}  // namespace TWQuickTime
