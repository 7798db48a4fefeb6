#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <type_traits>

#include "EnvironmentVariables.h"
#include "NSBundle.h"
#include "TWQECSSequenceIDToNameTransformer.h"
#include "TWQECSSettingIDToNameTransformer.h"
#include "TWQuickTimeComponentHasUITransformer.h"
#include "TWQuickTimeComponentNameTransformer.h"
#include "TemporaryDirectory.h"
#include "TestExporter.h"
#include "ToolboxTrace.h"

namespace TWQuickTime {
namespace {

std::string entry(const char* idKey, const std::string& id, const std::string& name) {
    return "<dict><key>" + std::string(idKey) + "</key>" + id + "<key>Name</key><string>" + name +
           "</string></dict>";
}

class PresetTransformers : public testing::Test {
  protected:
    PresetTransformers() {
        environment_.set("LC_ALL", "C");
        NSBundle::setMainBundle(NSBundle::bundleWithPath(folder_.path().string()));
    }
    ~PresetTransformers() override { NSBundle::setMainBundle(nullptr); }
    void write(const std::string& file, const std::string& settings,
               const std::string& sequences = "") {
        std::ofstream(folder_.file(file))
            << "<?xml version=\"1.0\" encoding=\"UTF-8\"?><plist version=\"1.0\"><dict>"
            << "<key>Export Presets</key><array>" << settings << "</array>"
            << "<key>Export Presets Sequences</key><array>" << sequences << "</array>"
            << "</dict></plist>";
    }
    test::TemporaryDirectory folder_;
    test::EnvironmentVariables environment_;
};

TEST_F(PresetTransformers, TheNameFromTheFileListedLaterWins) {
    write("a.qecs", entry("SettingID", "<string>one</string>", "First") +
                        entry("SettingID", "<string>two</string>", "Only here"));
    write("b.qecs", entry("SettingID", "<string>one</string>", "Second"));
    const TWQECSSettingIDToNameTransformer names;
    EXPECT_EQ(names.transformedValue("one"), "Second");
    EXPECT_EQ(names.transformedValue("two"), "Only here");
}

TEST_F(PresetTransformers, AnIdentifierFoundNowhereIsUnknownAndNoneIsNone) {
    const TWQECSSettingIDToNameTransformer settings;
    const TWQECSSequenceIDToNameTransformer sequences;
    EXPECT_EQ(settings.transformedValue("none"), "Unknown");
    EXPECT_EQ(sequences.transformedValue("none"), "Unknown");
    EXPECT_TRUE(settings.transformedValue(nullptr).isNull());
    EXPECT_TRUE(sequences.transformedValue(nullptr).isNull());
    environment_.set("LC_ALL", "fr_FR.UTF-8");
    EXPECT_NE(settings.transformedValue("none"), "Unknown");
    EXPECT_NE(settings.transformedValue("none"), "");
}

TEST_F(PresetTransformers, SettingsAndSequencesAreKeptApart) {
    write("a.qecs", entry("SettingID", "<string>one</string>", "Setting"),
          entry("SequenceID", "<string>one</string>", "Sequence") +
              entry("SequenceID", "<string>two</string>", "Other"));
    EXPECT_EQ(TWQECSSettingIDToNameTransformer().transformedValue("one"), "Setting");
    EXPECT_EQ(TWQECSSequenceIDToNameTransformer().transformedValue("one"), "Sequence");
    EXPECT_EQ(TWQECSSettingIDToNameTransformer().transformedValue("two"), "Unknown");
}

TEST_F(PresetTransformers, IdentifiersMayBeNumbersAndUnreadableFilesAddNothing) {
    write("a.qecs", entry("SettingID", "<integer>7</integer>", "Seven"));
    std::ofstream(folder_.file("b.qecs")) << "no property list";
    const TWQECSSettingIDToNameTransformer names;
    EXPECT_EQ(names.transformedValue(7), "Seven");
    EXPECT_EQ(names.transformedValue("7"), "Unknown");
}

TEST_F(PresetTransformers, ADictionaryCanBeGivenOrTakenAway) {
    TWQECSSettingIDToNameTransformer names;
    ASSERT_TRUE(names.qecsNameDict());
    EXPECT_TRUE(names.qecsNameDict()->empty());
    names.setQecsNameDict({{{"one", "Given"}}});
    EXPECT_EQ(names.transformedValue("one"), "Given");
    names.setQecsNameDict(std::nullopt);
    EXPECT_TRUE(names.transformedValue("one").isNull());
    names.loadQECSDefinitions();
    EXPECT_EQ(names.transformedValue("one"), "Unknown");
}

TEST_F(PresetTransformers, NoneReversesAndEachTellsItsResultsClass) {
    const TWQECSSettingIDToNameTransformer settings;
    const TWQECSSequenceIDToNameTransformer sequences;
    const TWQuickTimeComponentHasUITransformer dialogs;
    const TWQuickTimeComponentNameTransformer names;
    EXPECT_FALSE(settings.allowsReverseTransformation() || sequences.allowsReverseTransformation());
    EXPECT_FALSE(dialogs.allowsReverseTransformation() || names.allowsReverseTransformation());
    EXPECT_EQ(settings.transformedValueClass(), "NSString");
    EXPECT_EQ(sequences.transformedValueClass(), "NSString");
    EXPECT_EQ(dialogs.transformedValueClass(), "NSNumber");
    EXPECT_EQ(names.transformedValueClass(), "NSString");
}

TEST_F(PresetTransformers, TheSequenceTransformerIsNoValueTransformerOnPurpose) {
    EXPECT_FALSE((std::is_base_of_v<NSValueTransformer, TWQECSSequenceIDToNameTransformer>));
    EXPECT_TRUE((std::is_base_of_v<NSValueTransformer, TWQECSSettingIDToNameTransformer>));
}

class ExporterTransformers : public testing::Test {
  protected:
    void TearDown() override { ToolboxTrace::reset(); }
    test::TestExporterComponent withDialog_{{.subType = fourCC("tst1"),
                                             .flags = 0x30,
                                             .name = "With dialog",
                                             .info = "",
                                             .make = nullptr}};
    test::TestExporterComponent second_{
        {.subType = fourCC("tst1"), .flags = 0x10, .name = "Second", .info = "", .make = nullptr}};
    test::TestExporterComponent without_{
        {.subType = fourCC("tst2"), .flags = 0x10, .name = "Plain", .info = "", .make = nullptr}};
    test::TestExporterComponent notToFiles_{
        {.subType = fourCC("tst3"), .flags = 0x20, .name = "Handle", .info = "", .make = nullptr}};
};

TEST_F(ExporterTransformers, TheDialogFlagIsAlwaysABooleanNumber) {
    const TWQuickTimeComponentHasUITransformer dialogs;
    const auto answer = [&](const PropertyListValue& value) {
        const PropertyListValue result = dialogs.transformedValue(value);
        EXPECT_EQ(result.kind(), PropertyListValue::Kind::boolean);
        return result.boolValue();
    };
    EXPECT_TRUE(answer(fourCC("tst1")));
    EXPECT_FALSE(answer(fourCC("tst2")));
    EXPECT_FALSE(answer(fourCC("tst3")));
    EXPECT_FALSE(answer(fourCC("none")));
    EXPECT_FALSE(answer(nullptr));
    ToolboxTrace::failCall("GetComponentInfo", 1, -50);
    EXPECT_FALSE(answer(fourCC("tst1")));
}

TEST_F(ExporterTransformers, TheNameIsThatOfTheFirstExporterOfTheSubtype) {
    const TWQuickTimeComponentNameTransformer names;
    EXPECT_EQ(names.transformedValue(fourCC("tst1")), "With dialog");
    EXPECT_EQ(names.transformedValue(static_cast<std::int32_t>(fourCC("tst2"))), "Plain");
    EXPECT_TRUE(names.transformedValue(fourCC("tst3")).isNull());
    EXPECT_TRUE(names.transformedValue(nullptr).isNull());
    ToolboxTrace::failCall("GetComponentInfo", 1, -50);
    EXPECT_TRUE(names.transformedValue(fourCC("tst1")).isNull());
}

}  // namespace
}  // namespace TWQuickTime
