#include "TWQECSReader.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>

#include "EnvironmentVariables.h"
#include "LogCapture.h"
#include "NSBundle.h"
#include "PropertyList.h"
#include "TWQECS.h"
#include "TWQECSFormat.h"
#include "TWQECSSequence.h"
#include "TWQECSSetting.h"
#include "TemporaryDirectory.h"

namespace TWQuickTime {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

template <class... Entries>
NSArray listOf(const Entries&... entries) {
    return NSArray({PropertyListValue(entries)...});
}

NSDictionary setting(const PropertyListValue& identifier, const char* name) {
    return NSDictionary{{TWQECSFormatSettingID, identifier}, {TWQECSFormatSettingName, name}};
}

class TWQECSReaderTest : public testing::Test {
  protected:
    ~TWQECSReaderTest() override { NSBundle::setMainBundle(nullptr); }

    std::string write(const NSDictionary& root, const std::string& name = "Presets.qecs") {
        EXPECT_TRUE(root.writeToFile(NSString(directory_.file(name)), false));
        return directory_.file(name);
    }
    std::shared_ptr<TWQECSReader> load(const NSDictionary& root) {
        return TWQECSReader::qecsReaderWithPath(NSString(write(root)));
    }
    std::shared_ptr<TWQECSReader> loadSettings(const NSArray& settings) {
        return load(NSDictionary{{TWQECSFormatSettingList, settings}});
    }

    test::TemporaryDirectory directory_;
    test::LogCapture log_;
};

TEST_F(TWQECSReaderTest, AFileThatHasOnlyAVersionYieldsThatVersionAndTwoEmptyTables) {
    const auto reader = load(NSDictionary{{"Export Presets Version", 3}});
    ASSERT_TRUE(reader);
    EXPECT_TRUE(reader->qecsVersion() == PropertyListValue(3));
    ASSERT_TRUE(reader->componentSettingsDict());
    EXPECT_EQ(reader->componentSettingsDict()->count(), 0u);
    ASSERT_TRUE(reader->componentSettingSequencesDict());
    EXPECT_EQ(reader->componentSettingSequencesDict()->count(), 0u);
    EXPECT_THAT(log_.lines(), IsEmpty());
}

TEST_F(TWQECSReaderTest, TheVersionIsStoredAsItStandsAndNeverChecked) {
    EXPECT_TRUE(load(NSDictionary::dictionary())->qecsVersion().isNull());
    EXPECT_EQ(load(NSDictionary{{"Export Presets Version", -99.5}})->qecsVersion().doubleValue(),
              -99.5);
    EXPECT_EQ(load(NSDictionary{{"Export Presets Version", "old"}})->qecsVersion().stringValue(),
              "old");
}

TEST_F(TWQECSReaderTest, OfTwoSettingsWithTheSameIdentifierTheLaterOneIsFound) {
    const auto reader =
        loadSettings(listOf(setting("a", "First"), setting("b", "Other"), setting("a", "Second")));
    ASSERT_TRUE(reader);
    EXPECT_EQ(reader->componentSettingForID("a")->name(), "Second");
    EXPECT_EQ(reader->componentSettings().size(), 2u);
}

TEST_F(TWQECSReaderTest, ASettingWithoutAnIdentifierIsSkippedWithAMessageAndTheOthersLoad) {
    const auto reader = loadSettings(
        listOf(setting("a", "A"), NSDictionary{{"Name", "Nameless"}}, setting("b", "B")));
    ASSERT_TRUE(reader);
    EXPECT_EQ(reader->componentSettings().size(), 2u);
    EXPECT_THAT(log_.lines(), ElementsAre("Can't load QECS Setting without SettingID."));
}

TEST_F(TWQECSReaderTest, ASequenceWithoutAnIdentifierIsSkippedWithAMessage) {
    const auto reader = load(NSDictionary{
        {TWQECSFormatSequenceList, listOf(NSDictionary{{"Name", "No ID"}, {"SettingID", "a"}},
                                          NSDictionary{{"SequenceID", 7}})}});
    ASSERT_TRUE(reader);
    EXPECT_EQ(reader->componentSettingSequences().size(), 1u);
    EXPECT_TRUE(reader->componentSettingSequenceForID(7));
    EXPECT_THAT(log_.lines(), ElementsAre("Can't load QECSSequence without SequenceID."));
}

TEST_F(TWQECSReaderTest, APathWithATildeReadsTheHomeDirectoryAndNamesTheTableAfterTheFile) {
    test::EnvironmentVariables environment;
    environment.set("HOME", directory_.path().string());
    environment.set("LANGUAGE", std::nullopt);
    environment.set("LC_ALL", "de_DE");
    write(NSDictionary{{TWQECSFormatSettingList, listOf(setting("a", "Film"))}}, "x.qecs");
    std::filesystem::create_directories(directory_.file("host/de.lproj"));
    std::ofstream(directory_.file("host/de.lproj/xQecs.strings")) << "Film = Kino;";
    ASSERT_TRUE(NSBundle::setMainBundlePath(NSString(directory_.file("host"))));

    const auto reader = TWQECSReader::qecsReaderWithPath("~/x.qecs");
    ASSERT_TRUE(reader);
    EXPECT_EQ(reader->componentSettingForID("a")->name(), "Kino");
    EXPECT_TRUE(reader->componentSettingForName("Kino"));
    EXPECT_FALSE(reader->componentSettingForName("Film"));
}

TEST_F(TWQECSReaderTest, TheExtensionInTheTableNameHasOnlyItsFirstLetterInUpperCase) {
    test::EnvironmentVariables environment;
    environment.set("LC_ALL", "C");
    std::filesystem::create_directories(directory_.file("host/en.lproj"));
    std::ofstream(directory_.file("host/en.lproj/My.PresetsQecs.strings")) << "Film = Movie;";
    ASSERT_TRUE(NSBundle::setMainBundlePath(NSString(directory_.file("host"))));
    const std::string path = write(
        NSDictionary{{TWQECSFormatSettingList, listOf(setting("a", "Film"))}}, "My.Presets.QECS");
    EXPECT_EQ(TWQECSReader::qecsReaderWithPath(NSString(path))->componentSettingForID("a")->name(),
              "Movie");
}

TEST_F(TWQECSReaderTest, ANameThatSeveralPresetsShareFindsTheLastOfThemAndNeverNone) {
    const auto reader =
        loadSettings(listOf(setting("a", "Same"), setting("b", "Same"), setting("c", "Other"),
                            NSDictionary{{"SettingID", "nameless"}}));
    const auto found = reader->componentSettingForName("Same");
    ASSERT_TRUE(found);
    EXPECT_EQ(found->identifier().stringValue(), "b");
    EXPECT_FALSE(reader->componentSettingForName("same"));
    EXPECT_FALSE(reader->componentSettingForName(nullptr)) << "a preset without a name is skipped";
}

TEST_F(TWQECSReaderTest, ASettingThatAlsoHoldsASequenceIDIsMadeIntoASequence) {
    const auto reader =
        loadSettings(listOf(NSDictionary{{"SettingID", "both"}, {"SequenceID", "sequence"}}));
    const auto found = reader->componentSettingForID("both");
    ASSERT_TRUE(std::dynamic_pointer_cast<TWQECSSequence>(found));
    EXPECT_EQ(found->identifier().stringValue(), "sequence");
    EXPECT_FALSE(reader->componentSettingSequenceForID("sequence")) << "it stays in its own table";
}

TEST_F(TWQECSReaderTest, AStringIdentifierNeverMatchesANumberOfTheSameDigits) {
    const auto reader = loadSettings(listOf(setting(1, "Number"), setting("1", "String")));
    EXPECT_EQ(reader->componentSettingForID(1)->name(), "Number");
    EXPECT_EQ(reader->componentSettingForID(1.0)->name(), "Number");
    EXPECT_EQ(reader->componentSettingForID("1")->name(), "String");
    EXPECT_FALSE(reader->componentSettingForID(2));
    EXPECT_FALSE(reader->componentSettingForID(nullptr));
}

TEST_F(TWQECSReaderTest, LoadsTheSameFromXMLAndBinary) {
    const NSDictionary root{
        {TWQECSFormatSettingList, listOf(setting("a", "A"))},
        {TWQECSFormatSequenceList, listOf(NSDictionary{{"SequenceID", "s"}, {"Name", "S"}})}};
    const std::string path = directory_.file("binary.qecs");
    ASSERT_TRUE(
        dataFromPropertyList(root, PropertyListFormat::binary).writeToFile(NSString(path), false));
    for (const auto& reader : {load(root), TWQECSReader::initWithPath(NSString(path))}) {
        ASSERT_TRUE(reader);
        EXPECT_TRUE(std::dynamic_pointer_cast<TWQECSSetting>(reader->componentSettingForID("a")));
        EXPECT_EQ(reader->componentSettingSequenceForName("S")->identifier().stringValue(), "s");
    }
}

TEST_F(TWQECSReaderTest, AMissingUnreadableOrForeignFileGivesNoReaderAndNoMessage) {
    std::ofstream(directory_.file("text.qecs")) << "no property list";
    std::ofstream(directory_.file("array.qecs")) << "<plist><array/></plist>";
    for (const char* name : {"missing.qecs", "text.qecs", "array.qecs"})
        EXPECT_FALSE(TWQECSReader::qecsReaderWithPath(NSString(directory_.file(name)))) << name;
    EXPECT_FALSE(TWQECSReader::qecsReaderWithPath(nullptr));
    EXPECT_THAT(log_.lines(), IsEmpty());
}

TEST_F(TWQECSReaderTest, AFailedReloadKeepsWhatWasLoadedAndASuccessfulOneReplacesIt) {
    const auto reader = loadSettings(listOf(setting("a", "A")));
    EXPECT_FALSE(reader->loadQECSFromPath("/no/such/file.qecs"));
    EXPECT_TRUE(reader->componentSettingForID("a"));
    EXPECT_TRUE(reader->loadQECSFromPath(
        NSString(write(NSDictionary{{TWQECSFormatSettingList, listOf(setting("b", "B"))}}))));
    EXPECT_FALSE(reader->componentSettingForID("a"));
    EXPECT_TRUE(reader->componentSettingForID("b"));
}

TEST_F(TWQECSReaderTest, BeforeLoadingEveryLookUpAnswersNone) {
    const TWQECSReader reader;
    EXPECT_FALSE(reader.componentSettingsDict());
    EXPECT_FALSE(reader.componentSettingForID("a"));
    EXPECT_FALSE(reader.componentSettingForName("a"));
    EXPECT_FALSE(reader.componentSettingSequenceForID("a"));
    EXPECT_FALSE(reader.componentSettingSequenceForName("a"));
    EXPECT_THAT(reader.componentSettings(), IsEmpty());
    EXPECT_THAT(reader.componentSettingSequences(), IsEmpty());
    EXPECT_TRUE(reader.qecsVersion().isNull());
}

TEST_F(TWQECSReaderTest, ListsOfTheWrongKindAreEmptyAndEntriesOfTheWrongKindAreSkipped) {
    const auto reader = load(NSDictionary{{TWQECSFormatSettingList, "no list"},
                                          {TWQECSFormatSequenceList, listOf(5, "text")}});
    ASSERT_TRUE(reader);
    EXPECT_THAT(reader->componentSettings(), IsEmpty());
    EXPECT_THAT(log_.lines(), ElementsAre("Can't load QECSSequence without SequenceID.",
                                          "Can't load QECSSequence without SequenceID."));
}

TEST_F(TWQECSReaderTest, TheSettersStoreCopies) {
    TWQECSReader reader;
    auto presets = std::make_shared<TWQECSDictionary>();
    presets->setObject(TWQECS::QECSWithDictionary(setting("a", "A")), "a");
    reader.setComponentSettingsDict(presets);
    presets->setObject(TWQECS::QECSWithDictionary(setting("b", "B")), "b");
    EXPECT_TRUE(reader.componentSettingForID("a"));
    EXPECT_FALSE(reader.componentSettingForID("b"));
    reader.setComponentSettingsDict(nullptr);
    EXPECT_FALSE(reader.componentSettingForID("a"));
}

TEST_F(TWQECSReaderTest, ASettingThatOutlivesItsReaderHasNoneAnyMore) {
    auto reader = loadSettings(listOf(setting("a", "A")));
    const auto preset = reader->componentSettingForID("a");
    EXPECT_EQ(preset->reader(), reader);
    reader = nullptr;
    EXPECT_FALSE(preset->reader());
    EXPECT_EQ(preset->name(), "A");
}

TEST_F(TWQECSReaderTest, ASequenceThatIsHandedOutKeepsItsReaderUntilItsStepsAreResolved) {
    auto reader =
        load(NSDictionary{{TWQECSFormatSettingList, listOf(setting("x", "X"))},
                          {TWQECSFormatSequenceList, listOf(NSDictionary{{"SequenceID", "x"}})}});
    const std::weak_ptr<TWQECSReader> watched = reader;
    auto preset = reader->componentSettingSequenceForID("x");
    reader = nullptr;
    auto sequence = std::dynamic_pointer_cast<TWQECSSequence>(preset);
    EXPECT_FALSE(watched.expired());
    ASSERT_TRUE(sequence->steps());
    EXPECT_EQ(sequence->steps()->front()->name(), "X");
    EXPECT_FALSE(sequence->reader());
    preset = nullptr;
    sequence = nullptr;
    EXPECT_TRUE(watched.expired());
}

TEST_F(TWQECSReaderTest, AReaderWhoseSequencesWereNeverResolvedIsFreed) {
    auto reader =
        load(NSDictionary{{TWQECSFormatSequenceList, listOf(NSDictionary{{"SequenceID", "x"}})}});
    const std::weak_ptr<TWQECSReader> watched = reader;
    EXPECT_TRUE(reader->componentSettingSequenceForID("x")->reader());
    reader = nullptr;
    EXPECT_TRUE(watched.expired());
}

TEST_F(TWQECSReaderTest, TenThousandSettingsLoadAndEachIsFoundByItsIdentifierAndItsName) {
    NSArray settings = NSArray::array();
    for (int i = 0; i < 10000; ++i)
        settings.addObject(NSDictionary{
            {"SettingID", i},
            {"Name", NSString("Preset " + std::to_string(i))},
            {"Comment", "one of many"},
            {"QTExpComponentSubType", 0x4D6F6F56},
            {"QTExpSettings", NSData(std::vector<std::byte>(200, static_cast<std::byte>(i)))}});
    const NSString path(write(NSDictionary{{TWQECSFormatSettingList, settings}}));
    const auto reader = TWQECSReader::qecsReaderWithPath(path);
    ASSERT_TRUE(reader);
    const auto all = reader->componentSettings();
    ASSERT_EQ(all.size(), 10000u);
    for (int i = 0; i < 10000; ++i) {
        const auto found = reader->componentSettingForID(i);
        ASSERT_EQ(found, all[static_cast<std::size_t>(i)]);
        ASSERT_EQ(found->name(), NSString("Preset " + std::to_string(i)));
    }
    EXPECT_EQ(reader->componentSettingForName("Preset 4711"), all[4711]);
    EXPECT_EQ(reader->componentSettingForID(10000), nullptr);
    EXPECT_EQ(reader->componentSettingForID("9999"), nullptr);
    EXPECT_EQ(reader->componentSettingForName("Preset 10000"), nullptr);
}

}  // namespace
}  // namespace TWQuickTime
