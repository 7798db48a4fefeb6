// The preset file of the examples, and the script that it comes from.
#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <iterator>
#include <set>
#include <string>

#include "Movies.h"
#include "NSData.h"
#include "RunProgram.h"
#include "TWQECS.h"
#include "TWQECSReader.h"
#include "TWQECSSetting.h"
#include "TWUQuickTimeMovie.h"
#include "TemporaryDirectory.h"

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

/// Whether ffmpeg decodes all of the file without a complaint.
bool decodes(const std::string& path) {
    const test::ProgramResult result = test::runProgram(
        {"ffmpeg", "-v", "error", "-nostdin", "-xerror", "-i", path, "-f", "null", "-"});
    EXPECT_EQ(result.errors, "") << path;
    return result.exitStatus == 0;
}

double secondsOf(const std::string& path) {
    const test::ProgramResult result =
        test::runProgram({"ffprobe", "-v", "error", "-show_entries", "format=duration", "-of",
                          "default=nw=1:nk=1", path});
    EXPECT_EQ(result.errors, "") << path;
    return std::atof(result.output.c_str());
}

TEST(ExamplePresets, EveryEntryThatIsInstalledExports) {
    const test::TemporaryDirectory folder;
    test::runFfmpeg({"-f", "lavfi", "-i", "testsrc2=s=160x120:r=25:d=0.4", "-f", "lavfi", "-i",
                     "sine=440:r=48000:d=0.4", "-c:v", "libx264", "-pix_fmt", "yuv420p", "-c:a",
                     "aac", folder.file("in.mov")});
    FSSpec file;
    std::int16_t fileNumber = 0;
    OSErr status = noErr;
    const Movie movie = TWUQuickTimeMovie::createMovieFromPath(folder.file("in.mov"), 1, &file,
                                                               &fileNumber, &status);
    ASSERT_TRUE(movie);
    const auto reader =
        TWQECSReader::qecsReaderWithPath(NSString(examplesFolder + "/Presets.qecs"));
    ASSERT_TRUE(reader);
    std::vector<std::shared_ptr<TWQECS>> presets = reader->componentSettings();
    for (const auto& sequence : reader->componentSettingSequences())
        presets.push_back(sequence);
    const auto delegate = std::make_shared<TWQECSExportDelegate>();
    delegate->exportCallbackForMovie = [](Movie, std::int16_t, std::int16_t, float, NSError*) {
        return true;
    };
    int exported = 0;
    for (const auto& preset : presets) {
        const std::string id = preset->identifier().description().utf8();
        EXPECT_EQ(preset->isInstalled(), id != "scanner") << id;
        if (!preset->isInstalled())
            continue;
        const std::string output =
            folder.file(id + "." + preset->exportedMovieFileExtension().utf8());
        preset->setExportDelegate(delegate);
        NSError error;
        EXPECT_TRUE(preset->exportMovie(movie, output, &error)) << id << " " << error.code();
        EXPECT_TRUE(decodes(output)) << id;
        // Within a packet of sound, or a frame at the slowest rate of the file.
        EXPECT_NEAR(secondsOf(output), 0.4, 0.05) << id;
        EXPECT_TRUE(preset->exportRecord().steps.back().succeeded) << id;
        ++exported;
    }
    EXPECT_EQ(exported, 15);
    DisposeMovie(movie);
}

}  // namespace
}  // namespace TWQuickTime
