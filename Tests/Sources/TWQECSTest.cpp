#include "TWQECS.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "LogCapture.h"
#include "NSException.h"
#include "TWQECSFormat.h"
#include "TWQECSReader.h"
#include "TWQECSSequence.h"
#include "TWQECSSetting.h"

namespace TWQuickTime {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

const NSDictionary settingEntry{{"SettingID", "h264"},
                                {"Name", "H.264"},
                                {"Comment", "for the web"},
                                {"QTExpComponentType", 0x73706974},
                                {"Colour", "red"}};
const NSDictionary sequenceEntry{{"SequenceID", 5}, {"Name", "Two steps"}};
const NSDictionary bothEntry{{"SequenceID", 5}, {"SettingID", "h264"}};
const NSDictionary keylessEntry{{"Name", "Keyless"}};

bool isBare(const std::shared_ptr<TWQECS>& preset) {
    return preset && preset->className() == "TWQECS";
}

TEST(TWQECS, AnEntryWithASequenceIDBecomesASequenceAlsoWhenItHasBothIdentifiers) {
    const auto reader = std::make_shared<TWQECSReader>();
    EXPECT_TRUE(std::dynamic_pointer_cast<TWQECSSequence>(
        TWQECS::QECSWithDictionary(sequenceEntry, reader)));
    EXPECT_TRUE(
        std::dynamic_pointer_cast<TWQECSSequence>(TWQECS::QECSWithDictionary(bothEntry, reader)));
    EXPECT_TRUE(std::dynamic_pointer_cast<TWQECSSequence>(
        TWQECSSetting::QECSWithDictionary(bothEntry, reader)));
}

TEST(TWQECS, AnEntryWithASettingIDBecomesASettingWithItsReader) {
    const auto reader = std::make_shared<TWQECSReader>();
    const auto preset = TWQECS::QECSWithDictionary(settingEntry, reader);
    EXPECT_TRUE(std::dynamic_pointer_cast<TWQECSSetting>(preset));
    EXPECT_EQ(preset->reader(), reader);
    EXPECT_TRUE(
        std::dynamic_pointer_cast<TWQECSSetting>(TWQECSSequence::QECSWithDictionary(settingEntry)));
}

TEST(TWQECS, AKeylessEntrySentToTheAbstractClassMakesABarePresetOnPurpose) {
    const test::LogCapture log;
    EXPECT_TRUE(isBare(TWQECS::QECSWithDictionary(keylessEntry, nullptr)));
    EXPECT_TRUE(isBare(TWQECS::QECSWithDictionary(keylessEntry)));
    EXPECT_THAT(log.lines(), IsEmpty());
}

TEST(TWQECS, AKeylessEntrySentToADerivedClassGivesTheMessageAndNoneOnPurpose) {
    const test::LogCapture log;
    EXPECT_FALSE(TWQECSSetting::QECSWithDictionary(keylessEntry, nullptr));
    EXPECT_FALSE(TWQECSSequence::QECSWithDictionary(keylessEntry, nullptr));
    EXPECT_FALSE(TWQECSSetting::QECSWithDictionary(keylessEntry));
    EXPECT_THAT(log.lines(), ElementsAre("Trying to init abstract TWQECS class",
                                         "Trying to init abstract TWQECS class",
                                         "Trying to init abstract TWQECS class"));
}

TEST(TWQECS, ASequenceWithoutAReaderIsRefusedWithAMessageEvenWhenItHasASettingID) {
    const test::LogCapture log;
    EXPECT_FALSE(TWQECS::QECSWithDictionary(sequenceEntry));
    EXPECT_FALSE(TWQECS::QECSWithDictionary(bothEntry));
    EXPECT_THAT(log.lines(), ElementsAre("Cannot init a QECS-Sequence without a QECS-Reader.",
                                         "Cannot init a QECS-Sequence without a QECS-Reader."));
}

TEST(TWQECS, WithoutADictionaryThereIsNoPresetAndNoMessage) {
    const test::LogCapture log;
    EXPECT_FALSE(TWQECS::initWithDictionary(nullptr));
    EXPECT_FALSE(TWQECSSetting::initWithDictionary(nullptr));
    EXPECT_FALSE(TWQECSSequence::initWithDictionary(nullptr, nullptr));
    EXPECT_FALSE(TWQECS::QECSWithDictionary(nullptr));
    EXPECT_THAT(log.lines(), IsEmpty());
}

TEST(TWQECS, ACopyIsAnObjectOfItsOwnWhoseChangesDoNotReachTheSource) {
    const auto reader = std::make_shared<TWQECSReader>();
    const auto delegate = std::make_shared<TWQECSExportDelegate>();
    const auto source = TWQECS::initWithDictionary(keylessEntry, reader);
    source->setExportDelegate(delegate);
    source->setExportError(NSError::errorWithDomain("d", 1));
    const auto copy = source->copy();
    ASSERT_TRUE(copy);
    EXPECT_NE(copy, source);
    copy->setObject("changed", "Name");
    copy->removeObjectForKey("Comment");
    EXPECT_EQ(source->name(), "Keyless");
    EXPECT_EQ(copy->name(), "changed");
    EXPECT_EQ(copy->reader(), reader);
    EXPECT_FALSE(copy->exportDelegate());
    EXPECT_TRUE(copy->exportError().isNil());
}

TEST(TWQECS, ACopiedSettingHasNoReaderButACopiedSequenceHas) {
    const auto reader = std::make_shared<TWQECSReader>();
    const auto setting = TWQECS::QECSWithDictionary(settingEntry, reader)->copy();
    ASSERT_TRUE(std::dynamic_pointer_cast<TWQECSSetting>(setting));
    EXPECT_FALSE(setting->reader());
    EXPECT_TRUE(setting->QECSDict() == settingEntry);
    const auto sequence = TWQECS::QECSWithDictionary(sequenceEntry, reader)->copy();
    ASSERT_TRUE(std::dynamic_pointer_cast<TWQECSSequence>(sequence));
    EXPECT_EQ(sequence->reader(), reader);
}

TEST(TWQECS, AKeyThatOnlyTheEntryHasReadsLikeAProperty) {
    const auto preset = TWQECS::QECSWithDictionary(settingEntry);
    EXPECT_EQ(preset->valueForKey("QTExpComponentType").intValue(), 0x73706974);
    EXPECT_EQ(preset->valueForKey("Colour").stringValue(), "red");
    preset->setObject(7, "Added");
    EXPECT_EQ(preset->valueForKey("Added").intValue(), 7);
}

TEST(TWQECS, AKeyThatIsAbsentEverywhereRaises) {
    const auto preset = TWQECS::QECSWithDictionary(settingEntry);
    try {
        preset->valueForKey("Taste");
        FAIL() << "nothing was raised";
    } catch (const NSException& exception) {
        EXPECT_EQ(exception.name(), NSUndefinedKeyException);
        EXPECT_THAT(exception.reason().utf8(), testing::HasSubstr("Taste"));
    }
    preset->removeObjectForKey("Colour");
    EXPECT_THROW(preset->valueForKey("Colour"), NSException);
}

TEST(TWQECS, PropertiesReadByTheirKeys) {
    const auto preset = TWQECS::QECSWithDictionary(settingEntry);
    EXPECT_EQ(preset->valueForKey("identifier").stringValue(), "h264");
    EXPECT_EQ(preset->valueForKey("name").stringValue(), "H.264");
    EXPECT_EQ(preset->valueForKey("comment").stringValue(), "for the web");
    EXPECT_TRUE(preset->valueForKey("QECSDict").dictionaryValue() == settingEntry);
    const auto bare = TWQECS::QECSWithDictionary(keylessEntry);
    EXPECT_EQ(bare->valueForKey("exportedMovieFileExtension").stringValue(), "mov");
    EXPECT_EQ(bare->valueForKey("isInstalled").kind(), PropertyListValue::Kind::boolean);
    EXPECT_EQ(bare->valueForKey("exportedMovieFrameRate").kind(), PropertyListValue::Kind::real);
}

TEST(TWQECS, TheDescriptionNamesObjectIdentifierNameAndCommentWithTabs) {
    const auto preset = TWQECS::QECSWithDictionary(settingEntry);
    EXPECT_THAT(preset->description().utf8(),
                testing::MatchesRegex("<TWQECSSetting: 0x[0-9a-f]+> -> ID: h264\tName: H.264\t"
                                      "Comment: for the web"));
    EXPECT_THAT(TWQECS::QECSWithDictionary(NSDictionary{{"SettingID", 12}})->description().utf8(),
                testing::EndsWith(" -> ID: 12\tName: (null)\tComment: (null)"));
}

TEST(TWQECS, StandardFieldsOfAnotherKindReadAsNone) {
    const auto preset = TWQECS::QECSWithDictionary(NSDictionary{{"SettingID", true}, {"Name", 5}});
    EXPECT_TRUE(preset->name().isNil());
    EXPECT_TRUE(preset->comment().isNil());
    EXPECT_TRUE(preset->identifier() == PropertyListValue(true));
}

TEST(TWQECS, TheBaseAnswersEveryExportOperationWithNo) {
    const auto preset = TWQECS::QECSWithDictionary(keylessEntry);
    NSError error;
    EXPECT_FALSE(preset->exportMovie(nullptr, "/tmp/x.mov", 0, 1, &error));
    EXPECT_FALSE(preset->exportMovie(nullptr, "/tmp/x.mov", &error));
    EXPECT_FALSE(preset->exportQTMovie(nullptr, "/tmp/x.mov", &error));
    EXPECT_TRUE(error.isNil());
    EXPECT_FALSE(preset->componentHasUserInterface());
    EXPECT_EQ(preset->customizeComponentSettingsWithComponentDialogForMovie(nullptr), 0);
    EXPECT_FALSE(preset->isInstalled());
    EXPECT_FALSE(preset->isThreadSafe());
    EXPECT_FALSE(preset->usesExportComponentWithSubtype(fourCC("MooV"), fourCC("appl")));
    EXPECT_EQ(preset->exportedMovieFileExtension(), "mov");
    preset->setExportedMovieHeight(480);
    preset->setExportedMovieWidth(640);
    preset->setExportedMovieFrameRate(25.0);
    EXPECT_EQ(preset->exportedMovieHeight(), 0);
    EXPECT_EQ(preset->exportedMovieWidth(), 0);
    EXPECT_EQ(preset->exportedMovieFrameRate(), 0.0);
}

class RecordingPreset : public TWQECS {
  public:
    using TWQECS::exportMovie;
    bool exportMovie(Movie, const NSString& toFilePath, TimeValue fromStartTime,
                     TimeValue withDuration, NSError*) override {
        path = toFilePath;
        start = fromStartTime;
        duration = withDuration;
        return true;
    }
    NSString path;
    TimeValue start = -1;
    TimeValue duration = -1;
};

TEST(TWQECS, TheConvenienceExportStartsAtZeroForTheWholeMovie) {
    RecordingPreset preset;
    EXPECT_TRUE(preset.exportMovie(nullptr, "/tmp/x.mov", nullptr));
    EXPECT_EQ(preset.path, "/tmp/x.mov");
    EXPECT_EQ(preset.start, 0);
    EXPECT_EQ(preset.duration, 0) << "no movie has no duration";
}

TEST(TWQECS, DelegateAndReaderAreNotOwned) {
    const auto preset = TWQECS::QECSWithDictionary(settingEntry);
    auto delegate = std::make_shared<TWQECSExportDelegate>();
    auto reader = std::make_shared<TWQECSReader>();
    preset->setExportDelegate(delegate);
    preset->setReader(reader);
    EXPECT_EQ(preset->exportDelegate(), delegate);
    delegate = nullptr;
    reader = nullptr;
    EXPECT_FALSE(preset->exportDelegate());
    EXPECT_FALSE(preset->reader());
}

TEST(TWQECSSetting, ReadsItsExporterFromTheEntryWithTheMovieExporterAsDefaultType) {
    const auto plain = TWQECSSetting::initWithDictionary(NSDictionary{{"SettingID", 1}});
    EXPECT_EQ(plain->componentType(), fourCC("spit"));
    EXPECT_EQ(plain->componentSupType(), 0u);
    EXPECT_EQ(plain->componentManufacturer(), 0u);
    EXPECT_TRUE(plain->componentSettingsAtomData().isNil());
    const auto full = TWQECSSetting::initWithDictionary(
        NSDictionary{{"SettingID", 1},
                     {"QTExpComponentType", static_cast<std::int32_t>(fourCC("spit"))},
                     {"QTExpComponentSubType", std::int64_t{-1}},
                     {"QTExpComponentManufacturer", std::uint32_t{0xA9617070}},
                     {"QTExpSettings", NSData::dataWithBytes("abc", 3)}});
    EXPECT_EQ(full->componentSupType(), 0xFFFFFFFFu);
    EXPECT_EQ(full->componentManufacturer(), 0xA9617070u);
    EXPECT_EQ(full->componentSettingsAtomData().length(), 3u);
}

TEST(TWQECSSetting, WithoutATypeItUsesMovieExportersBySubtypeAndManufacturerOnly) {
    const auto setting = TWQECSSetting::initWithDictionary(
        NSDictionary{{"SettingID", 1},
                     {"QTExpComponentSubType", std::uint32_t{fourCC("MooV")}},
                     {"QTExpComponentManufacturer", std::uint32_t{fourCC("appl")}}});
    EXPECT_TRUE(setting->usesExportComponentWithSubtype(fourCC("MooV"), fourCC("appl")));
    EXPECT_FALSE(setting->usesExportComponentWithSubtype(fourCC("mpg4"), fourCC("appl")));
    EXPECT_FALSE(setting->usesExportComponentWithSubtype(fourCC("MooV"), 0));
    setting->setObject(5, TWQECSFormatSettingComponentType);
    EXPECT_FALSE(setting->usesExportComponentWithSubtype(fourCC("MooV"), fourCC("appl")));
}

TEST(TWQECSSetting, SettingNoSettingsDataTakesTheKeyAway) {
    const auto setting = TWQECSSetting::initWithDictionary(NSDictionary{{"SettingID", 1}});
    setting->setComponentSettingsAtomData(NSData::dataWithBytes("abc", 3));
    EXPECT_TRUE(setting->QECSDict().hasKey("QTExpSettings"));
    setting->setComponentSettingsAtomData(nullptr);
    EXPECT_FALSE(setting->QECSDict().hasKey("QTExpSettings"));
}

TEST(TWQECSFormat, KeysHaveTheirExactTexts) {
    EXPECT_EQ(TWQECSFormatVersion, "Export Presets Version");
    EXPECT_EQ(TWQECSFormatSettingList, "Export Presets");
    EXPECT_EQ(TWQECSFormatSequenceList, "Export Presets Sequences");
    EXPECT_EQ(TWQECSFormatSettingID, "SettingID");
    EXPECT_EQ(TWQECSFormatSettingName, "Name");
    EXPECT_EQ(TWQECSFormatSettingComment, "Comment");
    EXPECT_EQ(TWQECSFormatSettingComponentType, "QTExpComponentType");
    EXPECT_EQ(TWQECSFormatSettingComponentSubType, "QTExpComponentSubType");
    EXPECT_EQ(TWQECSFormatSettingComponentManufacturer, "QTExpComponentManufacturer");
    EXPECT_EQ(TWQECSFormatSettingComponentAtomData, "QTExpSettings");
    EXPECT_EQ(TWQECSFormatSequenceID, "SequenceID");
    EXPECT_EQ(TWQECSFormatSequenceName, "Name");
    EXPECT_EQ(TWQECSFormatSequenceComment, "Comment");
    EXPECT_EQ(TWQECSFormatSequenceStepList, "Steps");
    EXPECT_EQ(TWQECSFormatSequenceStepName, "Name");
    EXPECT_EQ(TWQECSFormatSequenceStepFallbackList, "Fallbacks");
    EXPECT_EQ(TWQECSFormatSequenceStepFallbackName, "Name");
    EXPECT_EQ(TWQECSFormatSequenceStepFallbackSettingID, "SettingID");
}

}  // namespace
}  // namespace TWQuickTime
