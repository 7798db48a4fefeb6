#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>

#include "TemporaryDirectory.h"
#include "TwqtProgram.h"

namespace twqt {
namespace {

using Json = nlohmann::ordered_json;
using ::testing::EndsWith;
using ::testing::HasSubstr;
using ::testing::StartsWith;
using TWQuickTime::test::ProgramResult;
using TWQuickTime::test::TemporaryDirectory;

constexpr const char* examplePresets = TWQT_EXAMPLES "/Presets.qecs";

Json presetsOf(const std::string& file) {
    const ProgramResult result = runTwqt({"presets", file, "--json"});
    EXPECT_EQ(result.exitStatus, 0) << result.errors;
    EXPECT_EQ(result.errors, "");
    return Json::parse(result.output);
}

std::string writeFile(const TemporaryDirectory& folder, const std::string& name,
                      const std::string& text) {
    std::ofstream(folder.file(name)) << text;
    return folder.file(name);
}

TEST(PresetsCommand, ListsTheSettingsAndSequencesOfTheShippedFile) {
    const ProgramResult result = runTwqt({"presets", examplePresets});
    EXPECT_EQ(result.exitStatus, 0);
    EXPECT_EQ(result.errors, "");
    EXPECT_THAT(result.output, HasSubstr("QuickTime movie"));
    EXPECT_THAT(result.output, HasSubstr("Movie for the web"));
}

TEST(PresetsCommand, PrintsOneJsonDocumentWithTheKeysInTheirOrder) {
    const Json presets = presetsOf(examplePresets);
    std::vector<std::string> keys;
    for (const auto& [key, value] : presets.items())
        keys.push_back(key);
    EXPECT_THAT(keys, testing::ElementsAre("version", "settings", "sequences"));
    EXPECT_EQ(presets["version"], 1);
    keys.clear();
    for (const auto& [key, value] : presets["settings"][0].items())
        keys.push_back(key);
    EXPECT_THAT(keys,
                testing::ElementsAre("id", "name", "comment", "type", "subtype", "manufacturer",
                                     "installed", "threadSafe", "hasUserInterface", "extension",
                                     "width", "height", "frameRate"));
    keys.clear();
    for (const auto& [key, value] : presets["sequences"][0].items())
        keys.push_back(key);
    EXPECT_THAT(keys,
                testing::ElementsAre("id", "name", "comment", "installed", "steps", "extension"));
}

TEST(PresetsCommand, KeepsTheKindsOfIdentifiersAndTheOrderOfTheFile) {
    const Json presets = presetsOf(examplePresets);
    EXPECT_EQ(presets["settings"][0]["id"], 1);
    EXPECT_EQ(presets["settings"][0]["subtype"], "MooV");
    EXPECT_EQ(presets["settings"][0]["type"], "spit");
    EXPECT_EQ(presets["settings"][0]["manufacturer"], nullptr);
    EXPECT_EQ(presets["settings"][1]["manufacturer"], "appl");
    EXPECT_EQ(presets["settings"][1]["id"], 2);
    EXPECT_EQ(presets["sequences"][0]["id"], "web");
}

TEST(PresetsCommand, ListsAFileWithoutVersionAndWithoutPresets) {
    TemporaryDirectory folder;
    const Json presets =
        presetsOf(writeFile(folder, "empty.qecs", "<plist version=\"1.0\"><dict/></plist>"));
    EXPECT_EQ(presets["version"], nullptr);
    EXPECT_EQ(presets["settings"], Json::array());
    EXPECT_EQ(presets["sequences"], Json::array());
}

TEST(PresetsCommand, FailsOnAMissingFileWithItsNameAndStatus) {
    const ProgramResult result = runTwqt({"presets", "/nowhere/missing.qecs", "--json"});
    EXPECT_EQ(result.exitStatus, 1);
    EXPECT_EQ(result.output, "");
    EXPECT_EQ(result.errors, "twqt: read presets /nowhere/missing.qecs : file not found (-43)\n");
}

TEST(PresetsCommand, FailsOnAFileThatIsNoPropertyList) {
    TemporaryDirectory folder;
    const ProgramResult result =
        runTwqt({"presets", writeFile(folder, "bad.qecs", "no property list")});
    EXPECT_EQ(result.exitStatus, 1);
    EXPECT_EQ(result.output, "");
    EXPECT_THAT(result.errors, StartsWith("twqt: read presets "));
    EXPECT_THAT(result.errors, HasSubstr("bad.qecs : "));
    EXPECT_THAT(result.errors, EndsWith("(-50)\n"));
}

TEST(PresetsCommand, FailsOnADirectory) {
    TemporaryDirectory folder;
    const ProgramResult result = runTwqt({"presets", folder.path().string()});
    EXPECT_EQ(result.exitStatus, 1);
    EXPECT_THAT(result.errors, HasSubstr("is a directory"));
}

TEST(PresetsCommand, IsWrongUsageWithoutAFile) {
    const ProgramResult result = runTwqt({"presets"});
    EXPECT_EQ(result.exitStatus, 2);
    EXPECT_EQ(result.output, "");
    EXPECT_THAT(result.errors, StartsWith("twqt: presets : "));
}

TEST(PresetsCommand, FailsWhenItsResultCannotBeWritten) {
    const ProgramResult result = TWQuickTime::test::runProgram(
        {"sh", "-c", "\"$0\" presets \"$1\" > /dev/full", TWQT_PROGRAM, examplePresets});
    EXPECT_EQ(result.exitStatus, 1);
    EXPECT_EQ(result.errors, "twqt: write standard output : input or output failed (-36)\n");
}

}  // namespace
}  // namespace twqt
