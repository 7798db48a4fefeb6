#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>
#include <nlohmann/json.hpp>

#include "PresetFileCheck.h"
#include "PropertyList.h"
#include "TemporaryDirectory.h"
#include "ToolboxTypes.h"
#include "TwqtProgram.h"

namespace twqt {

void PrintTo(const PresetFault& fault, std::ostream* out) {
    *out << fault.path << ": " << fault.problem;
}

namespace {

using Json = nlohmann::ordered_json;
using namespace TWQuickTime;
using testing::ElementsAre;
using testing::Field;
using testing::HasSubstr;
using testing::IsEmpty;
using TWQuickTime::test::ProgramResult;
using TWQuickTime::test::TemporaryDirectory;

auto fault(const std::string& path, const std::string& problem) {
    return testing::AllOf(Field("path", &PresetFault::path, path),
                          Field("problem", &PresetFault::problem, HasSubstr(problem)));
}

NSDictionary setting(const PropertyListValue& id) {
    return NSDictionary{{"SettingID", id}, {"QTExpComponentSubType", fourCC("MooV")}};
}

NSDictionary with(NSDictionary entry, const char* key, const PropertyListValue& value) {
    entry.setObject(value, key);
    return entry;
}

NSDictionary fileOf(const std::vector<PropertyListValue>& settings,
                    const std::vector<PropertyListValue>& sequences = {}) {
    return NSDictionary{{"Export Presets", NSArray(settings)},
                        {"Export Presets Sequences", NSArray(sequences)}};
}

NSDictionary sequence(const PropertyListValue& id, const std::vector<PropertyListValue>& steps) {
    return NSDictionary{{"SequenceID", id}, {"Steps", NSArray(steps)}};
}

NSDictionary stepOf(const std::vector<PropertyListValue>& fallbacks) {
    return NSDictionary{{"Fallbacks", NSArray(fallbacks)}};
}

TEST(PresetFileCheck, FindsNothingInAGoodFile) {
    EXPECT_THAT(faultsOfPresets(NSDictionary::dictionary()), IsEmpty());
    EXPECT_THAT(faultsOfPresets(fileOf({setting("a"), setting(1)},
                                       {sequence("s", {stepOf({NSDictionary{{"SettingID", "a"}},
                                                               NSDictionary{{"SettingID", 1}}})}),
                                        NSDictionary{{"SequenceID", "a"}}})),
                IsEmpty());
}

TEST(PresetFileCheck, FindsARootThatIsNoDictionary) {
    EXPECT_THAT(faultsOfPresets(nullptr), ElementsAre(fault("", "not a property list")));
    EXPECT_THAT(faultsOfPresets(NSArray::array()), ElementsAre(fault("", "not a property list")));
}

TEST(PresetFileCheck, FindsUnknownKeysOnEveryLevel) {
    NSDictionary root = fileOf(
        {with(setting("a"), "Colour", "blue")},
        {with(sequence("s", {with(stepOf({with(NSDictionary{{"SettingID", "a"}}, "Weight", 1)}),
                                  "Speed", 2)}),
              "Taste", "sweet")});
    root.setObject("someone", "Maker");
    EXPECT_THAT(
        faultsOfPresets(root),
        ElementsAre(
            fault("Maker", "unknown key"), fault("Export Presets[0].Colour", "unknown key"),
            fault("Export Presets Sequences[0].Taste", "unknown key"),
            fault("Export Presets Sequences[0].Steps[0].Speed", "unknown key"),
            fault("Export Presets Sequences[0].Steps[0].Fallbacks[0].Weight", "unknown key")));
}

TEST(PresetFileCheck, FindsWrongTypes) {
    EXPECT_THAT(faultsOfPresets(NSDictionary{{"Export Presets Version", "one"},
                                             {"Export Presets", NSDictionary::dictionary()},
                                             {"Export Presets Sequences", 3}}),
                ElementsAre(fault("Export Presets Version", "a string, not a number"),
                            fault("Export Presets", "a dictionary, not an array"),
                            fault("Export Presets Sequences", "a number, not an array")));
    EXPECT_THAT(faultsOfPresets(fileOf({"text"}, {NSArray::array()})),
                ElementsAre(fault("Export Presets[0]", "a string, not a dictionary"),
                            fault("Export Presets Sequences[0]", "an array, not a dictionary")));
    NSDictionary wrong = setting("a");
    wrong.setObject(7, "Name");
    wrong.setObject(false, "Comment");
    wrong.setObject("spit", "QTExpComponentType");
    EXPECT_THAT(
        faultsOfPresets(fileOf({wrong})),
        testing::IsSupersetOf({fault("Export Presets[0].Name", "a number, not a string"),
                               fault("Export Presets[0].Comment", "a boolean, not a string"),
                               fault("Export Presets[0].QTExpComponentType",
                                     "a string, not a number, a four-character code")}));
    EXPECT_THAT(faultsOfPresets(fileOf({with(setting("a"), "QTExpSettings", "text")})),
                ElementsAre(fault("Export Presets[0].QTExpSettings", "a string, not data")));
    EXPECT_THAT(faultsOfPresets(fileOf(
                    {with(setting("a"), "QTExpComponentManufacturer", std::int64_t{1} << 40)})),
                testing::Contains(
                    fault("Export Presets[0].QTExpComponentManufacturer", "four-character code")));
    EXPECT_THAT(
        faultsOfPresets(fileOf({}, {with(sequence("s", {}), "Steps", "none")})),
        testing::Contains(fault("Export Presets Sequences[0].Steps", "a string, not an array")));
}

TEST(PresetFileCheck, FindsMissingWrongAndRepeatedIdentifiers) {
    NSDictionary nameless = setting("a");
    nameless.removeObjectForKey("SettingID");
    EXPECT_THAT(
        faultsOfPresets(fileOf({nameless, setting(NSArray::array()), setting("a"), setting("a")},
                               {NSDictionary{{"Name", "x"}}})),
        ElementsAre(
            fault("Export Presets[0]", "no \"SettingID\": the entry is skipped"),
            fault("Export Presets[1].SettingID", "an array, not a string or a number"),
            fault("Export Presets[2].SettingID", "a later entry has the same identifier"),
            fault("Export Presets Sequences[0]", "no \"SequenceID\": the entry is skipped")));
}

TEST(PresetFileCheck, FindsASettingThatIsASequence) {
    EXPECT_THAT(
        faultsOfPresets(
            fileOf({setting("a"), NSDictionary{{"SettingID", "b"}, {"SequenceID", "a"}}})),
        ElementsAre(fault("Export Presets[1].SequenceID", "makes a sequence of a setting")));
}

TEST(PresetFileCheck, FindsMissingExportersAndCodecs) {
    NSDictionary absent = setting("a");
    absent.setObject(fourCC("xmpl"), "QTExpComponentSubType");
    EXPECT_THAT(faultsOfPresets(fileOf({absent})),
                ElementsAre(fault("Export Presets[0].QTExpComponentSubType",
                                  "exporter 'xmpl' not installed (-2005)")));
}

TEST(PresetFileCheck, FindsUnreadableAndRefusedSettings) {
    const NSData junk = NSData::dataWithBytes("no atom container, that is", 26);
    EXPECT_THAT(faultsOfPresets(fileOf({with(setting("a"), "QTExpSettings", junk)})),
                ElementsAre(fault("Export Presets[0].QTExpSettings", "unreadable: ")));
    NSDictionary absent = with(setting("a"), "QTExpSettings", junk);
    absent.setObject(fourCC("xmpl"), "QTExpComponentSubType");
    EXPECT_THAT(faultsOfPresets(fileOf({absent})),
                ElementsAre(fault("Export Presets[0].QTExpSettings", "unreadable: ")))
        << "also where nobody could use them";
    TemporaryDirectory folder;
    ASSERT_EQ(runTwqt({"settings", "new", "--exporter", "MooV", "--video-codec", "cvid", "-o",
                       folder.file("cinepak")})
                  .exitStatus,
              0);
    NSDictionary refused = setting("a");
    refused.setObject(fourCC("mpg4"), "QTExpComponentSubType");
    refused.setObject(NSData::dataWithContentsOfFile(folder.file("cinepak")), "QTExpSettings");
    EXPECT_THAT(faultsOfPresets(fileOf({refused})),
                ElementsAre(fault("Export Presets[0].QTExpSettings", "settings refused (-8962)")));
}

TEST(PresetFileCheck, FindsDanglingFallbacksAndStepsWithoutAny) {
    const auto faults = faultsOfPresets(
        fileOf({setting(1)}, {sequence("s", {stepOf({NSDictionary{{"SettingID", "gone"}},
                                                     NSDictionary{{"SettingID", "1"}},
                                                     NSDictionary{{"Name", "nobody"}}, "text"}),
                                             stepOf({}), "text"}),
                              NSDictionary{{"SequenceID", "nobody"}}}));
    const std::string steps = "Export Presets Sequences[0].Steps";
    EXPECT_THAT(
        faults,
        ElementsAre(
            fault(steps + "[0].Fallbacks[0].SettingID", "no setting has the identifier gone"),
            fault(steps + "[0].Fallbacks[1].SettingID",
                  "the string \"1\" and the number 1 are different"),
            fault(steps + "[0].Fallbacks[2]", "no \"SettingID\": the fallback is skipped"),
            fault(steps + "[0].Fallbacks[3]", "a string, not a dictionary"),
            fault(steps + "[1]", "no fallbacks: the step is left out"),
            fault(steps + "[2]", "a string, not a dictionary"),
            fault("Export Presets Sequences[1]", "no steps, and no setting has its identifier")));
}

TEST(PresetsCheckCommand, PrintsFaultsAsJsonAndExitsWithOne) {
    const ProgramResult result =
        runTwqt({"presets", "check", TWQT_EXAMPLES "/Presets.qecs", "--json"});
    EXPECT_EQ(result.exitStatus, 1);
    EXPECT_EQ(Json::parse(result.output),
              (Json::array({{{"path", "Export Presets[12].QTExpComponentSubType"},
                             {"problem", "exporter 'xmpl' not installed (-2005)"}}})));
    EXPECT_EQ(result.errors,
              "twqt: check presets " TWQT_EXAMPLES "/Presets.qecs : 1 fault (-50)\n");
}

TEST(PresetsCheckCommand, SaysSoWhenThereIsNothingWrong) {
    TemporaryDirectory folder;
    const std::string file = folder.file("a.qecs");
    std::ofstream(file) << "<plist version=\"1.0\"><dict/></plist>";
    ProgramResult result = runTwqt({"presets", "check", file});
    EXPECT_EQ(result.exitStatus, 0);
    EXPECT_EQ(result.output, file + ": no faults\n");
    EXPECT_EQ(runTwqt({"presets", "check", file, "--json"}).output, "[]\n");
    std::ofstream(file, std::ios::trunc) << "no property list";
    result = runTwqt({"presets", "check", file});
    EXPECT_EQ(result.exitStatus, 1);
    EXPECT_THAT(result.output, HasSubstr("not a property list"));
    result = runTwqt({"presets", "check", folder.file("gone")});
    EXPECT_EQ(result.exitStatus, 1);
    EXPECT_THAT(result.errors, HasSubstr("file not found (-43)"));
}

}  // namespace
}  // namespace twqt
