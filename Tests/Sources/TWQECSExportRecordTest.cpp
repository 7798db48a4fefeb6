#include "TWQECSExportRecord.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>

#include "LogCapture.h"
#include "Movies.h"
#include "SettingsContainer.h"
#include "TWQECSReader.h"
#include "TWQECSSequence.h"
#include "TWQECSSetting.h"
#include "TemporaryDirectory.h"
#include "TestExporter.h"

namespace TWQuickTime {
namespace {

using test::big16;
using test::big32;
using test::SettingsContainer;
using testing::IsEmpty;
using testing::SizeIs;

MovieExporterRegistration exporter(const char* subType) {
    return {.subType = fourCC(subType),
            .flags = canMovieExportFiles | canMovieExportFromProcedures,
            .name = subType,
            .info = "",
            .make = nullptr};
}

NSDictionary setting(const char* id, const char* subtype, const NSData& settings = nullptr) {
    NSDictionary entry{{"SettingID", id},
                       {"QTExpComponentSubType", fourCC(subtype)},
                       {"QTExpComponentManufacturer", fourCC("appl")}};
    entry.setObject(settings, "QTExpSettings");
    return entry;
}

NSDictionary step(std::initializer_list<const char*> fallbacks) {
    NSArray list = NSArray::array();
    for (const char* identifier : fallbacks)
        list.addObject(NSDictionary{{"SettingID", identifier}});
    return NSDictionary{{"Fallbacks", list}};
}

NSData settingsWithVideoCodec(const char* codec) {
    SettingsContainer settings;
    settings.leaf("sptl", codec + big32(0) + big16(24) + big32(0));
    return settings.data();
}

class TWQECSExportRecordTest : public testing::Test {
  protected:
    void SetUp() override {
        good_.behaviour().settings = SettingsContainer().bytes();
        strict_.behaviour().settings = SettingsContainer().bytes();
        strict_.behaviour().setSettingsStatus = codecUnimpErr;
        delegate_->exportCallbackForMovie = [](Movie, std::int16_t, std::int16_t, float, NSError*) {
            return true;
        };
    }
    void TearDown() override { DisposeMovie(movie_); }

    /// A reader of a file with these settings and one sequence "S".
    std::shared_ptr<TWQECS> sequence(std::initializer_list<NSDictionary> settings,
                                     std::initializer_list<NSDictionary> steps) {
        const auto listOf = [](std::initializer_list<NSDictionary> entries) {
            NSArray list = NSArray::array();
            for (const NSDictionary& entry : entries)
                list.addObject(entry);
            return list;
        };
        const NSDictionary root{
            {"Export Presets", listOf(settings)},
            {"Export Presets Sequences",
             listOf({NSDictionary{{"SequenceID", "S"}, {"Steps", listOf(steps)}}})}};
        EXPECT_TRUE(root.writeToFile(folder_.file("p.qecs"), false));
        const auto reader = TWQECSReader::qecsReaderWithPath(folder_.file("p.qecs"));
        auto made = reader->componentSettingSequenceForID("S");
        made->setExportDelegate(delegate_);
        return made;
    }

    test::TestExporterComponent good_{exporter("good")};
    test::TestExporterComponent strict_{exporter("stri")};
    test::TemporaryDirectory folder_;
    Movie movie_ = NewMovie(1);
    std::shared_ptr<TWQECSExportDelegate> delegate_ = std::make_shared<TWQECSExportDelegate>();
    test::LogCapture log_;
};

TEST_F(TWQECSExportRecordTest, ASettingHasOneStepOnceItHasExported) {
    const auto preset = TWQECSSetting::initWithDictionary(setting("one", "good"));
    EXPECT_THAT(preset->exportRecord().steps, IsEmpty());
    EXPECT_TRUE(preset->exportMovie(movie_, folder_.file("out.tst"), 0, 10, nullptr));
    ASSERT_THAT(preset->exportRecord().steps, SizeIs(1));
    EXPECT_EQ(preset->exportRecord().steps[0].used, "one");
    EXPECT_EQ(preset->exportRecord().steps[0].output, folder_.file("out.tst"));
    EXPECT_TRUE(preset->exportRecord().steps[0].succeeded);
    EXPECT_THAT(preset->exportRecord().steps[0].rejected, IsEmpty());
}

TEST_F(TWQECSExportRecordTest, ARefusedExportReplacesTheRecordOfTheOneBefore) {
    const auto preset = TWQECSSetting::initWithDictionary(setting("one", "good"));
    preset->exportMovie(movie_, folder_.file("out.tst"), 0, 10, nullptr);
    EXPECT_FALSE(preset->exportMovie(movie_, folder_.file("out.tst"), 0, 0, nullptr));
    ASSERT_THAT(preset->exportRecord().steps, SizeIs(1));
    EXPECT_FALSE(preset->exportRecord().steps[0].succeeded);
    EXPECT_TRUE(preset->exportRecord().steps[0].output.isNil());
}

TEST_F(TWQECSExportRecordTest, ASequenceTellsWhyEachEarlierFallbackWasPassedOver) {
    const auto preset = sequence(
        {setting("absent", "none"), setting("refused", "stri", NSData::dataWithBytes("abc", 3)),
         setting("codec", "good", settingsWithVideoCodec("zzzz")), setting("fine", "good")},
        {step({"unknown", "absent", "refused", "codec", "fine"})});
    EXPECT_TRUE(preset->exportMovie(movie_, folder_.file("out.tst"), 0, 10, nullptr));
    ASSERT_THAT(preset->exportRecord().steps, SizeIs(1));
    const TWQECSExportStep& only = preset->exportRecord().steps[0];
    EXPECT_EQ(only.used, "fine");
    EXPECT_TRUE(only.succeeded);
    ASSERT_THAT(only.rejected, SizeIs(4));
    const auto expect = [&](std::size_t index, const char* id, const char* reason,
                            OSStatus status) {
        EXPECT_EQ(only.rejected[index].identifier, id);
        EXPECT_EQ(only.rejected[index].reason, reason);
        EXPECT_EQ(only.rejected[index].status, status) << id;
    };
    expect(0, "unknown", "not in the preset file", fnfErr);
    expect(1, "absent", "not installed", badComponentType);
    expect(2, "refused", "settings refused", codecUnimpErr);
    expect(3, "codec", "video codec 'zzzz' not installed", noCodecErr);
    EXPECT_EQ(preset->exportRecord().description(),
              "step 1: fine to " + folder_.file("out.tst") +
                  ", after unknown (not in the preset file, -43), absent (not installed, -2005), "
                  "refused (settings refused, -8962), codec (video codec 'zzzz' not installed, "
                  "-8961)");
}

TEST_F(TWQECSExportRecordTest, AStepThatFindsNothingToUseIsTheLastOfTheRecord) {
    const auto preset = sequence({setting("fine", "good"), setting("absent", "none")},
                                 {step({"fine"}), step({"absent"}), step({"fine"})});
    EXPECT_FALSE(preset->exportMovie(movie_, folder_.file("out.tst"), 0, 10, nullptr));
    const auto& steps = preset->exportRecord().steps;
    ASSERT_THAT(steps, SizeIs(2));
    EXPECT_EQ(steps[0].used, "fine");
    EXPECT_TRUE(steps[0].output.isNil()) << "nothing was exported";
    EXPECT_TRUE(steps[1].used.isNull());
    ASSERT_THAT(steps[1].rejected, SizeIs(1));
    EXPECT_FALSE(preset->isInstalled());
    EXPECT_EQ(preset->installationFault().description(), "a step has no installed fallback");
    EXPECT_THAT(good_.behaviour().exports, IsEmpty());
}

TEST_F(TWQECSExportRecordTest, AFailedStepKeepsItsOutputAndTheStepsBehindItHaveNone) {
    good_.behaviour().exportStatus = codecErr;
    const auto preset = sequence({setting("fine", "good")}, {step({"fine"}), step({"fine"})});
    EXPECT_FALSE(preset->exportMovie(movie_, folder_.file("out.tst"), 0, 10, nullptr));
    const auto& steps = preset->exportRecord().steps;
    ASSERT_THAT(steps, SizeIs(2));
    EXPECT_FALSE(steps[0].succeeded);
    EXPECT_TRUE(steps[1].output.isNil());
    // The output of a failed step is left.
    EXPECT_TRUE(std::filesystem::remove(steps[0].output.utf8()));
}

TEST_F(TWQECSExportRecordTest, ASequenceTellsItsChoicesWithoutExporting) {
    const auto preset = std::dynamic_pointer_cast<TWQECSSequence>(
        sequence({setting("fine", "good"), setting("absent", "none")},
                 {step({"absent", "fine"}), step({}), step({"fine"})}));
    ASSERT_TRUE(preset);
    ASSERT_THAT(preset->stepChoices(), SizeIs(2));
    EXPECT_EQ(preset->stepChoices()[0].used, "fine");
    EXPECT_THAT(preset->stepChoices()[0].rejected, SizeIs(1));
    EXPECT_THAT(good_.behaviour().exports, IsEmpty());
    EXPECT_THAT(preset->exportRecord().steps, IsEmpty());
}

TEST_F(TWQECSExportRecordTest, AFallbackWithoutAnIdentifierIsToldAsOne) {
    const NSDictionary nameless{
        {"Fallbacks", NSArray({PropertyListValue(NSDictionary{{"Name", "nobody"}}),
                               PropertyListValue(NSDictionary{{"SettingID", "fine"}})})}};
    const auto preset = sequence({setting("fine", "good")}, {nameless});
    EXPECT_TRUE(preset->exportMovie(movie_, folder_.file("out.tst"), 0, 10, nullptr));
    const TWQECSExportStep& only = preset->exportRecord().steps.at(0);
    ASSERT_THAT(only.rejected, SizeIs(1));
    EXPECT_TRUE(only.rejected[0].identifier.isNull());
    EXPECT_EQ(only.rejected[0].reason, "no identifier");
}

TEST_F(TWQECSExportRecordTest, ASequenceThatIsAFallbackItselfIsPassedOverForItsStep) {
    const NSDictionary nested{{"SettingID", "nested"},
                              {"SequenceID", "inner"},
                              {"Steps", NSArray({PropertyListValue(step({"absent"}))})}};
    const auto preset = sequence({nested, setting("absent", "none"), setting("fine", "good")},
                                 {step({"nested", "fine"})});
    EXPECT_TRUE(preset->exportMovie(movie_, folder_.file("out.tst"), 0, 10, nullptr));
    const TWQECSExportStep& only = preset->exportRecord().steps.at(0);
    ASSERT_THAT(only.rejected, SizeIs(1));
    EXPECT_EQ(only.rejected[0].identifier, "nested");
    EXPECT_EQ(only.rejected[0].reason, "a step has no installed fallback");
}

TEST_F(TWQECSExportRecordTest, AnInstalledSettingHasNoFault) {
    const auto fine = TWQECSSetting::initWithDictionary(setting("one", "good"));
    EXPECT_TRUE(fine->isInstalled());
    EXPECT_FALSE(fine->installationFault());
    EXPECT_EQ(fine->installationFault().description(), "installed");
    good_.behaviour().getSettingsStatus = -50;
    EXPECT_FALSE(fine->isInstalled());
    EXPECT_EQ(fine->installationFault().description(), "settings not handed back");
    EXPECT_EQ(fine->installationFault().status, -50);
}

TEST_F(TWQECSExportRecordTest, AMissingSoundCodecIsNamed) {
    SettingsContainer settings;
    settings.leaf("ssct", "zzzz");
    const auto preset = TWQECSSetting::initWithDictionary(setting("one", "good", settings.data()));
    EXPECT_FALSE(preset->isInstalled());
    EXPECT_EQ(preset->installationFault().description(), "sound codec 'zzzz' not installed");
    EXPECT_EQ(preset->installationFault().codec, fourCC("zzzz"));
}

}  // namespace
}  // namespace TWQuickTime
