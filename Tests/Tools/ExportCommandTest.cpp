#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <map>
#include <nlohmann/json.hpp>
#include <sstream>

#include "TemporaryDirectory.h"
#include "TwqtProgram.h"

namespace twqt {
namespace {

using nlohmann::json;
using testing::HasSubstr;
using TWQuickTime::test::ProgramResult;
using TWQuickTime::test::runFfmpeg;
using TWQuickTime::test::TemporaryDirectory;

const std::string kPresets = std::string(TWQT_EXAMPLES) + "/Presets.qecs";

class ExportCommand : public testing::Test {
  protected:
    static void SetUpTestSuite() {
        media_ = new TemporaryDirectory();
        runFfmpeg({"-f", "lavfi", "-i", "testsrc2=s=64x48:r=25:d=0.4", "-f", "lavfi", "-i",
                   "sine=440:r=48000:d=0.4", "-c:v", "libx264", "-pix_fmt", "yuv420p", "-c:a",
                   "aac", media_->file("source.mov")});
    }
    static void TearDownTestSuite() { delete media_; }

    ProgramResult exportWith(std::vector<std::string> options) {
        options.insert(options.begin(), {"export", "--presets", kPresets});
        options.push_back(media_->file("source.mov"));
        options.push_back(folder_.file("out.mov"));
        return runTwqt(options);
    }

    static TemporaryDirectory* media_;
    TemporaryDirectory folder_;
};

TemporaryDirectory* ExportCommand::media_ = nullptr;

TEST_F(ExportCommand, ExportsWithASettingAndSaysSo) {
    const ProgramResult result = exportWith({"--id", "h264", "--json"});
    ASSERT_EQ(result.exitStatus, 0) << result.errors;
    const json said = json::parse(result.output);
    EXPECT_EQ(said["preset"]["name"], "H.264");
    EXPECT_EQ(said["output"], folder_.file("out.mov"));
    const ProgramResult probed = TWQuickTime::test::runProgram(
        {"ffprobe", "-v", "error", "-count_frames", "-select_streams", "v", "-show_entries",
         "stream=nb_read_frames", "-of", "csv=p=0", folder_.file("out.mov")});
    EXPECT_THAT(probed.output, HasSubstr("10"));
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder_.path()), {}), 1);
}

TEST_F(ExportCommand, FindsNumbersAndNames) {
    EXPECT_EQ(exportWith({"--id", "2"}).exitStatus, 0);
    EXPECT_EQ(exportWith({"--name", "Motion JPEG", "--force"}).exitStatus, 0);
    const ProgramResult missing = exportWith({"--id", "nobody", "--force"});
    EXPECT_EQ(missing.exitStatus, 1);
    EXPECT_THAT(missing.errors, HasSubstr("twqt: preset nobody : "));
}

TEST_F(ExportCommand, ExportsARangeToTheFrame) {
    ASSERT_EQ(exportWith({"--id", "mjpeg", "--start", "0.12", "--duration", "0.2"}).exitStatus, 0);
    const ProgramResult probed = TWQuickTime::test::runProgram(
        {"ffprobe", "-v", "error", "-count_frames", "-select_streams", "v", "-show_entries",
         "stream=nb_read_frames", "-of", "csv=p=0", folder_.file("out.mov")});
    EXPECT_THAT(probed.output, HasSubstr("5"));
}

TEST_F(ExportCommand, OverwritesNothingWithoutForceAndHarmsNothingWhenItFails) {
    std::ofstream(folder_.file("out.mov")) << "precious";
    EXPECT_EQ(exportWith({"--id", "h264"}).exitStatus, 1);
    EXPECT_EQ(std::filesystem::file_size(folder_.file("out.mov")), 8u);
    const ProgramResult missing = exportWith({"--id", "scanner", "--force"});
    EXPECT_EQ(missing.exitStatus, 1);
    EXPECT_EQ(std::filesystem::file_size(folder_.file("out.mov")), 8u);
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder_.path()), {}), 1);
}

/// All files below the folder with their sizes and times of change, and the folder's own.
std::string stateOf(const std::filesystem::path& folder) {
    std::ostringstream state;
    const auto describe = [&](const std::filesystem::path& path) {
        state << path << ' ' << std::filesystem::last_write_time(path).time_since_epoch().count()
              << '\n';
    };
    describe(folder);
    for (const auto& entry : std::filesystem::recursive_directory_iterator(folder))
        describe(entry.path());
    return state.str();
}

TEST_F(ExportCommand, ADryRunTellsStepsExportersCodecsAndSpaceAndTouchesNothing) {
    TemporaryDirectory temporary;
    std::ofstream(folder_.file("other")) << "here before";
    const std::string before = stateOf(folder_.path()) + stateOf(media_->path());
    const ProgramResult result =
        runTwqt({"export", "--presets", kPresets, "--id", "archive", "--dry-run", "--json",
                 media_->file("source.mov"), folder_.file("out.mov")},
                {"TMPDIR=" + temporary.path().string()});
    ASSERT_EQ(result.exitStatus, 0) << result.errors;
    const json plan = json::parse(result.output);
    EXPECT_EQ(plan["installed"], true);
    ASSERT_EQ(plan["steps"].size(), 2u);
    EXPECT_EQ(plan["steps"][0]["used"], "prores");
    EXPECT_EQ(plan["steps"][0]["rejected"][0]["id"], "scanner");
    EXPECT_EQ(plan["steps"][0]["rejected"][0]["reason"], "not installed");
    EXPECT_EQ(plan["steps"][0]["rejected"][0]["status"], -2005);
    EXPECT_EQ(plan["steps"][0]["exporter"]["subtype"], "MooV");
    EXPECT_EQ(plan["steps"][0]["videoCodec"], "apcn");
    EXPECT_EQ(plan["steps"][0]["soundCodec"], "sowt");
    EXPECT_EQ(plan["steps"][0]["output"], nullptr);
    EXPECT_EQ(plan["steps"][1]["used"], "h264");
    EXPECT_EQ(plan["steps"][1]["output"], folder_.file("out.mov"));
    // 0.4 seconds of stereo sound of 16 bits at 48 kHz lie between the steps at the least.
    EXPECT_GT(plan["temporaryBytes"], 70'000);
    EXPECT_LT(plan["temporaryBytes"], 500'000);
    EXPECT_GT(plan["outputBytes"], 0);
    EXPECT_EQ(stateOf(folder_.path()) + stateOf(media_->path()), before);
    // The thread sanitizer itself keeps a file there for a moment, which changes the folder's time.
    EXPECT_TRUE(std::filesystem::is_empty(temporary.path()));
}

TEST_F(ExportCommand, ADryRunFailsWhereTheExportWould) {
    const ProgramResult missing = exportWith({"--id", "scanner", "--dry-run"});
    EXPECT_EQ(missing.exitStatus, 1);
    EXPECT_THAT(missing.output, HasSubstr("scanner (not installed, -2005)"));
    std::ofstream(folder_.file("out.mov")) << "precious";
    EXPECT_EQ(exportWith({"--id", "h264", "--dry-run"}).exitStatus, 1);
    EXPECT_EQ(exportWith({"--id", "h264", "--dry-run", "--force"}).exitStatus, 0);
    EXPECT_EQ(std::filesystem::file_size(folder_.file("out.mov")), 8u);
}

TEST_F(ExportCommand, TellsWhichFallbackEachStepUsedAndWhyOthersWerePassedOver) {
    const ProgramResult result = exportWith({"--id", "archive", "--json"});
    ASSERT_EQ(result.exitStatus, 0) << result.errors;
    const auto said = nlohmann::ordered_json::parse(result.output);
    std::vector<std::string> keys;
    for (const auto& [key, value] : said.items())
        keys.push_back(key);
    EXPECT_THAT(keys,
                testing::ElementsAre("input", "output", "preset", "seconds", "realtime", "steps"));
    ASSERT_EQ(said["steps"].size(), 2u);
    EXPECT_EQ(said["steps"][0]["used"], "prores");
    EXPECT_EQ(said["steps"][0]["rejected"],
              (nlohmann::ordered_json::array(
                  {{{"id", "scanner"}, {"reason", "not installed"}, {"status", -2005}}})));
    EXPECT_THAT(said["steps"][0]["output"], HasSubstr("/EPR0.mov"));
    EXPECT_EQ(said["steps"][1]["used"], "h264");
    EXPECT_EQ(said["steps"][1]["rejected"], nlohmann::ordered_json::array());
    EXPECT_EQ(said["steps"][1]["output"], folder_.file("out.mov"));
}

TEST_F(ExportCommand, ASequenceThatCannotRunSaysWhatItLacks) {
    const std::string presets = folder_.file("far.qecs");
    std::filesystem::copy_file(kPresets, presets);
    ASSERT_EQ(runTwqt({"presets", "add-sequence", presets, "--id", "far", "--name", "Far", "--step",
                       "scanner"})
                  .exitStatus,
              0);
    const ProgramResult result = runTwqt({"export", "--presets", presets, "--id", "far",
                                          media_->file("source.mov"), folder_.file("out.mov")});
    EXPECT_EQ(result.exitStatus, 1);
    EXPECT_THAT(result.errors, HasSubstr("preset not installed (1003)"));
    EXPECT_THAT(result.errors, HasSubstr("scanner (not installed, -2005)"));
    EXPECT_FALSE(std::filesystem::exists(folder_.file("out.mov")));
}

TEST_F(ExportCommand, PrintsProgressAsLines) {
    const ProgramResult result = exportWith({"--id", "mjpeg", "--progress", "lines"});
    ASSERT_EQ(result.exitStatus, 0) << result.errors;
    const json first = json::parse(result.errors.substr(0, result.errors.find('\n')));
    EXPECT_EQ(first["message"], 0);
    EXPECT_THAT(result.errors, HasSubstr("{\"message\":2,"));
}

TEST(ExportersCommand, ListsTheCatalogueAndAllOnRequest) {
    const json listed = json::parse(runTwqt({"exporters", "--json"}).output);
    const json all = json::parse(runTwqt({"exporters", "--all", "--json"}).output);
    const auto has = [](const json& list, const std::string& subtype) {
        return std::ranges::any_of(list, [&](const json& entry) {
            return entry["ComponentSubTypeFourCharCode"] == subtype;
        });
    };
    EXPECT_TRUE(has(listed, "MooV"));
    EXPECT_FALSE(has(listed, "WAVE"));
    EXPECT_TRUE(has(all, "MooV"));
    EXPECT_TRUE(has(all, "WAVE"));
}

TEST(CodecsCommand, TellsWhatDecodesAndEncodes) {
    const json codecs = json::parse(runTwqt({"codecs", "--json"}).output);
    bool found = false;
    for (const json& codec : codecs) {
        if (codec["type"] == "jpeg") {
            found = true;
            EXPECT_EQ(codec["kind"], "video");
            EXPECT_TRUE(codec["decodes"]);
            EXPECT_TRUE(codec["encodes"]);
        }
    }
    EXPECT_TRUE(found);
}

TEST(CodecsCommand, NamesACodeOfBothKindsByItsKind) {
    std::map<std::string, std::string> names;
    for (const json& codec : json::parse(runTwqt({"codecs", "--json"}).output)) {
        if (codec["type"] == "raw ")
            names[codec["kind"]] = codec["name"];
    }
    EXPECT_EQ(names, (std::map<std::string, std::string>{{"sound", "8-bit Unsigned"},
                                                         {"video", "None (uncompressed)"}}));
}

TEST(SettingsCommand, MakesSettingsThatItShowsAgain) {
    TemporaryDirectory folder;
    const std::string file = folder.file("web.settings");
    const ProgramResult made =
        runTwqt({"settings", "new", "--exporter", "mpg4", "--video-codec", "avc1", "--quality",
                 "0.5", "--size", "320x180", "--no-audio", "-o", file});
    ASSERT_EQ(made.exitStatus, 0) << made.errors;
    const json tree = json::parse(runTwqt({"settings", "show", file, "--json"}).output);
    std::string width;
    for (const json& node : tree)
        if (node["type"] == "wdth")
            width = node["data"];
    EXPECT_EQ(width, "01400000");
    EXPECT_EQ(runTwqt({"settings", "new", "--exporter", "none", "-o", file, "--force"}).exitStatus,
              1);
    EXPECT_EQ(runTwqt({"settings", "new", "--exporter", "dvc!", "--video-codec", "avc1", "-o", file,
                       "--force"})
                  .exitStatus,
              1);
}

TEST(SettingsCommand, RefusesWhatIsNoContainer) {
    TemporaryDirectory folder;
    std::ofstream(folder.file("junk")) << std::string(100, 'x');
    const ProgramResult shown = runTwqt({"settings", "show", folder.file("junk")});
    EXPECT_EQ(shown.exitStatus, 1);
    EXPECT_THAT(shown.errors, HasSubstr("twqt: "));
}

}  // namespace
}  // namespace twqt
