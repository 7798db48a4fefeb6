// The preset file of the examples, and the script that it comes from.
#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <set>
#include <string>

#include "NSData.h"
#include "RunProgram.h"
#include "TWQECS.h"
#include "TWQECSReader.h"
#include "TWQECSSetting.h"

namespace TWQuickTime {
namespace {

const std::string examplesFolder = TWQT_EXAMPLES;

std::string contentOf(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(file), {});
}

TEST(ExamplePresets, AreWhatTheirScriptMakes) {
    const test::ProgramResult made =
        test::runProgram({"python3", examplesFolder + "/make-presets"});
    ASSERT_EQ(made.exitStatus, 0) << made.errors;
    EXPECT_EQ(made.output, contentOf(examplesFolder + "/Presets.qecs"));
}

TEST(ExamplePresets, LoadWithAllTheirSettingsAndSequences) {
    const auto reader =
        TWQECSReader::qecsReaderWithPath(NSString(examplesFolder + "/Presets.qecs"));
    ASSERT_TRUE(reader);
    EXPECT_EQ(reader->qecsVersion().intValue(), 1);
    EXPECT_EQ(reader->componentSettings().size(), 13u);
    EXPECT_EQ(reader->componentSettingSequences().size(), 3u);
    std::set<OSType> exporters;
    for (const auto& preset : reader->componentSettings()) {
        const auto setting = std::dynamic_pointer_cast<TWQECSSetting>(preset);
        ASSERT_TRUE(setting);
        EXPECT_GT(setting->name().length(), 0u);
        EXPECT_GT(setting->comment().length(), 0u);
        exporters.insert(setting->componentSupType());
    }
    for (const char* exporter : {"MooV", "mpg4", "WAVE", "M4A "})
        EXPECT_EQ(exporters.count(fourCC(exporter)), 1u) << exporter;
}

TEST(ExamplePresets, EveryFallbackNamesASettingOfTheFile) {
    const auto reader =
        TWQECSReader::qecsReaderWithPath(NSString(examplesFolder + "/Presets.qecs"));
    ASSERT_TRUE(reader);
    int fallbackCount = 0;
    for (const auto& sequence : reader->componentSettingSequences()) {
        for (const PropertyListValue& step : sequence->objectForKey("Steps").arrayValue()) {
            for (const PropertyListValue& fallback :
                 step.dictionaryValue().objectForKey("Fallbacks").arrayValue()) {
                const auto setting = reader->componentSettingForID(
                    fallback.dictionaryValue().objectForKey("SettingID"));
                ASSERT_TRUE(setting);
                EXPECT_TRUE(fallback.dictionaryValue().objectForKey("Name") ==
                            PropertyListValue(setting->name()));
                ++fallbackCount;
            }
        }
    }
    EXPECT_EQ(fallbackCount, 7);
}

}  // namespace
}  // namespace TWQuickTime
