// The commands that change a preset file: add, add-sequence, edit, remove.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <nlohmann/json.hpp>

#include "PropertyList.h"
#include "TemporaryDirectory.h"
#include "TwqtProgram.h"

namespace twqt {
namespace {

namespace fs = std::filesystem;
using Json = nlohmann::ordered_json;
using namespace TWQuickTime;
using testing::HasSubstr;
using TWQuickTime::test::ProgramResult;
using TWQuickTime::test::TemporaryDirectory;

class PresetsEditing : public testing::Test {
  protected:
    ProgramResult presets(const std::string& command, std::vector<std::string> options) {
        options.insert(options.begin(), {"presets", command, file_});
        return runTwqt(options);
    }
    /// Types the lines into the dialog, in a terminal of its own.
    ProgramResult editInTerminal(const std::string& id, const std::string& typed) {
        return TWQuickTime::test::runProgram({"sh", "-c",
                                              "printf '" + typed + "' | script -qec '\"" +
                                                  TWQT_PROGRAM + "\" presets edit \"" + file_ +
                                                  "\" --id " + id + "' /dev/null"});
    }
    void add(std::vector<std::string> options) {
        const ProgramResult result = presets("add", std::move(options));
        ASSERT_EQ(result.exitStatus, 0) << result.errors;
    }
    void write(const NSDictionary& root, PropertyListFormat format = PropertyListFormat::xml) {
        ASSERT_TRUE(dataFromPropertyList(root, format).writeToFile(NSString(file_), false));
    }
    NSDictionary root() const { return NSDictionary::dictionaryWithContentsOfFile(file_); }
    NSArray list(const char* key) const { return root().objectForKey(key).arrayValue(); }
    NSDictionary settingAt(std::size_t index) const {
        return list("Export Presets").objectAtIndex(index).dictionaryValue();
    }
    std::string content() const {
        std::ifstream file(file_, std::ios::binary);
        return {std::istreambuf_iterator<char>(file), {}};
    }
    /// What `settings show` prints for the atom of the type, in hex; "" for none.
    std::string atomOf(const std::string& id, const std::string& type) const {
        const ProgramResult shown =
            runTwqt({"settings", "show", "--presets", file_, "--id", id, "--json"});
        EXPECT_EQ(shown.exitStatus, 0) << shown.errors;
        return atomIn(Json::parse(shown.output), type);
    }
    static std::string atomIn(const Json& nodes, const std::string& type) {
        for (const Json& node : nodes) {
            if (node["type"] == type)
                return node["data"];
            if (const std::string inside = atomIn(node["children"], type); !inside.empty())
                return inside;
        }
        return "";
    }

    TemporaryDirectory folder_;
    std::string file_ = folder_.file("mine.qecs");
};

TEST_F(PresetsEditing, AddMakesTheFileAndPrintsTheEntry) {
    const ProgramResult result =
        presets("add", {"--id", "web", "--name", "For the web", "--comment", "small", "--exporter",
                        "mpg4", "--size", "640x360", "--json"});
    ASSERT_EQ(result.exitStatus, 0) << result.errors;
    const Json entry = Json::parse(result.output);
    EXPECT_EQ(entry["id"], "web");
    EXPECT_EQ(entry["name"], "For the web");
    EXPECT_EQ(entry["comment"], "small");
    EXPECT_EQ(entry["subtype"], "mpg4");
    EXPECT_EQ(entry["manufacturer"], "appl");
    EXPECT_EQ(entry["installed"], true);
    EXPECT_EQ(entry["width"], 640);
    const Json listed = Json::parse(runTwqt({"presets", file_, "--json"}).output);
    EXPECT_EQ(listed["settings"][0], entry);
    EXPECT_EQ(listed["version"], 1);
}

TEST_F(PresetsEditing, AddReplacesTheSettingWithTheIdAndKeepsItsPlaceAndUnknownKeys) {
    write(NSDictionary{
        {"Maker", "someone"},
        {"Export Presets",
         NSArray({PropertyListValue(NSDictionary{{"SettingID", 1}, {"Name", "one"}}),
                  PropertyListValue(NSDictionary{{"SettingID", "two"}, {"Name", "two"}})})},
        {"Export Presets Sequences", NSArray::array()},
        {"Window", NSDictionary{{"x", 3}}}});
    NSDictionary before = root();
    NSArray settings = before.objectForKey("Export Presets").arrayValue();
    NSDictionary first = settings.objectAtIndex(0).dictionaryValue();
    first.setObject("blue", "Colour");
    write(NSDictionary{
        {"Maker", "someone"},
        {"Export Presets", NSArray({PropertyListValue(first), settings.objectAtIndex(1)})},
        {"Window", NSDictionary{{"x", 3}}}});
    add({"--id", "1", "--name", "first", "--exporter", "MooV"});
    EXPECT_EQ(list("Export Presets").count(), 2u);
    EXPECT_EQ(settingAt(0).objectForKey("SettingID"), PropertyListValue(1)) << "still a number";
    EXPECT_EQ(settingAt(0).objectForKey("Name"), "first");
    EXPECT_EQ(settingAt(0).objectForKey("Colour"), "blue");
    EXPECT_EQ(settingAt(1).objectForKey("Name"), "two");
    EXPECT_EQ(root().objectForKey("Maker"), "someone");
    EXPECT_EQ(root().objectForKey("Window").dictionaryValue().objectForKey("x"),
              PropertyListValue(3));
}

TEST_F(PresetsEditing, XmlStaysXmlAndBinaryStaysBinary) {
    for (const PropertyListFormat format : {PropertyListFormat::xml, PropertyListFormat::binary}) {
        write(NSDictionary{{"Export Presets Version", 2}}, format);
        const std::string begin = content().substr(0, 6);
        add({"--id", "a", "--name", "A", "--exporter", "MooV"});
        EXPECT_EQ(content().substr(0, 6), begin);
        ASSERT_EQ(presets("remove", {"--id", "a"}).exitStatus, 0);
        EXPECT_EQ(content().substr(0, 6), begin);
        EXPECT_EQ(root().objectForKey("Export Presets Version"), PropertyListValue(2));
    }
}

TEST_F(PresetsEditing, NewIdentifiersOfDigitsAreNumbersOthersStrings) {
    for (const char* id : {"7", "007", "-3", "h264", "99999999999999999999"})
        add({"--id", id, "--name", "x", "--exporter", "MooV"});
    EXPECT_EQ(settingAt(0).objectForKey("SettingID"), PropertyListValue(7));
    EXPECT_EQ(settingAt(1).objectForKey("SettingID"), "007");
    EXPECT_EQ(settingAt(2).objectForKey("SettingID"), PropertyListValue(-3));
    EXPECT_EQ(settingAt(3).objectForKey("SettingID"), "h264");
    EXPECT_EQ(settingAt(4).objectForKey("SettingID"), "99999999999999999999");
}

TEST_F(PresetsEditing, AddTakesASettingsFileAsItIs) {
    const std::string settings = folder_.file("small.settings");
    ASSERT_EQ(
        runTwqt({"settings", "new", "--exporter", "mpg4", "--size", "320x180", "-o", settings})
            .exitStatus,
        0);
    add({"--id", "a", "--name", "A", "--exporter", "mpg4", "--settings", settings});
    EXPECT_EQ(settingAt(0).objectForKey("QTExpSettings").dataValue(),
              NSData::dataWithContentsOfFile(settings));
    const ProgramResult both = presets("add", {"--id", "a", "--name", "A", "--exporter", "mpg4",
                                               "--settings", settings, "--no-audio"});
    EXPECT_EQ(both.exitStatus, 2);
    EXPECT_THAT(both.errors, HasSubstr("twqt: presets add : "));
}

TEST_F(PresetsEditing, AddRefusesSettingsThatNobodyCouldUseAndLeavesTheFileAlone) {
    add({"--id", "a", "--name", "A", "--exporter", "MooV"});
    const std::string before = content();
    std::ofstream(folder_.file("junk")) << std::string(100, 'x');
    ASSERT_EQ(runTwqt({"settings", "new", "--exporter", "MooV", "--video-codec", "cvid", "-o",
                       folder_.file("cinepak")})
                  .exitStatus,
              0);
    for (const std::vector<std::string>& options : std::vector<std::vector<std::string>>{
             {"--exporter", "none"},
             {"--exporter", "dvc!", "--video-codec", "avc1"},
             {"--exporter", "MooV", "--settings", folder_.file("junk")},
             {"--exporter", "mpg4", "--settings", folder_.file("cinepak")},
             {"--exporter", "MooV", "--settings", folder_.file("gone")}}) {
        std::vector<std::string> all = {"--id", "a", "--name", "B"};
        all.insert(all.end(), options.begin(), options.end());
        const ProgramResult result = presets("add", all);
        EXPECT_EQ(result.exitStatus, 1) << options.back();
        EXPECT_THAT(result.errors, testing::StartsWith("twqt: "));
        EXPECT_EQ(std::ranges::count(result.errors, '\n'), 1);
    }
    EXPECT_EQ(content(), before);
}

TEST_F(PresetsEditing, AddKeepsSettingsOfAnExporterThatIsNotInstalledHereAndSaysSo) {
    const std::string settings = folder_.file("other.settings");
    ASSERT_EQ(runTwqt({"settings", "new", "--exporter", "MooV", "-o", settings}).exitStatus, 0);
    const ProgramResult result = presets(
        "add", {"--id", "far", "--name", "Far", "--exporter", "xmpl", "--settings", settings});
    EXPECT_EQ(result.exitStatus, 0) << result.errors;
    EXPECT_EQ(result.errors,
              "exporter xmpl is not installed here: its settings were not checked\n");
}

TEST_F(PresetsEditing, ASequenceHasStepsWithTheirFallbacksInOrder) {
    add({"--id", "1", "--name", "One", "--exporter", "MooV"});
    add({"--id", "two", "--name", "Two", "--exporter", "mpg4"});
    const ProgramResult result =
        presets("add-sequence",
                {"--id", "both", "--name", "Both", "--step", "two,1", "--step", "1", "--json"});
    ASSERT_EQ(result.exitStatus, 0) << result.errors;
    const Json entry = Json::parse(result.output);
    EXPECT_EQ(entry["id"], "both");
    EXPECT_EQ(entry["installed"], true);
    EXPECT_EQ(entry["steps"], (Json{"two", 1}));
    EXPECT_EQ(entry["extension"], "mov");
    const NSArray steps = list("Export Presets Sequences")
                              .objectAtIndex(0)
                              .dictionaryValue()
                              .objectForKey("Steps")
                              .arrayValue();
    ASSERT_EQ(steps.count(), 2u);
    const NSArray fallbacks =
        steps.objectAtIndex(0).dictionaryValue().objectForKey("Fallbacks").arrayValue();
    ASSERT_EQ(fallbacks.count(), 2u);
    EXPECT_EQ(fallbacks.objectAtIndex(1).dictionaryValue().objectForKey("SettingID"),
              PropertyListValue(1))
        << "of the kind that the setting has";
    EXPECT_EQ(fallbacks.objectAtIndex(0).dictionaryValue().objectForKey("Name"), "Two");
    EXPECT_EQ(runTwqt({"presets", "check", file_}).exitStatus, 0);
}

TEST_F(PresetsEditing, ASequenceNamesOnlySettingsOfItsFile) {
    add({"--id", "1", "--name", "One", "--exporter", "MooV"});
    const std::string before = content();
    const ProgramResult result =
        presets("add-sequence", {"--id", "s", "--name", "S", "--step", "1,gone"});
    EXPECT_EQ(result.exitStatus, 1);
    EXPECT_EQ(result.errors, "twqt: setting gone : not in " + file_ + " (-43)\n");
    EXPECT_EQ(presets("add-sequence", {"--id", "s", "--name", "S"}).exitStatus, 2);
    EXPECT_EQ(content(), before);
}

TEST_F(PresetsEditing, RemoveTakesAwayASettingAndTellsWhoStillNamesIt) {
    add({"--id", "a", "--name", "A", "--exporter", "MooV"});
    add({"--id", "b", "--name", "B", "--exporter", "MooV"});
    ASSERT_EQ(presets("add-sequence", {"--id", "s", "--name", "S", "--step", "a,b"}).exitStatus, 0);
    const ProgramResult result = presets("remove", {"--id", "a"});
    EXPECT_EQ(result.exitStatus, 0);
    EXPECT_EQ(result.errors, "sequence s still names setting a\n");
    EXPECT_EQ(list("Export Presets").count(), 1u);
    EXPECT_EQ(presets("remove", {"--id", "s"}).exitStatus, 0);
    EXPECT_EQ(list("Export Presets Sequences").count(), 0u);
    const ProgramResult gone = presets("remove", {"--id", "a"});
    EXPECT_EQ(gone.exitStatus, 1);
    EXPECT_EQ(gone.errors, "twqt: preset a : not in " + file_ + " (-43)\n");
}

TEST_F(PresetsEditing, EditShowsTheDialogInATerminalAndStoresWhatWasChanged) {
    add({"--id", "web", "--name", "Web", "--exporter", "mpg4", "--size", "640x360"});
    const ProgramResult result = editInTerminal("web", "13 320\\ns\\n");
    EXPECT_EQ(result.exitStatus, 0) << result.output;
    EXPECT_THAT(result.output, HasSubstr("Width"));
    EXPECT_THAT(result.output, HasSubstr("setting web changed"));
    EXPECT_EQ(atomOf("web", "wdth"), "01400000");
    EXPECT_EQ(atomOf("web", "hegt"), "01680000");
    EXPECT_EQ(settingAt(0).objectForKey("Name"), "Web");
}

TEST_F(PresetsEditing, ACancelledOrRefusedDialogLeavesTheFileAsItWas) {
    add({"--id", "web", "--name", "Web", "--exporter", "mpg4"});
    const std::string before = content();
    const fs::file_time_type time = fs::last_write_time(file_);
    const ProgramResult cancelled = editInTerminal("web", "13 320\\nq\\n");
    EXPECT_EQ(cancelled.exitStatus, 0);
    EXPECT_THAT(cancelled.output, HasSubstr("is as it was"));
    const ProgramResult refused = editInTerminal("web", "2 cvid\\ns\\nq\\n");
    EXPECT_THAT(refused.output, HasSubstr("refuses these settings"));
    EXPECT_EQ(presets("edit", {"--id", "web"}).exitStatus, 0) << "without any input";
    EXPECT_EQ(content(), before);
    EXPECT_EQ(fs::last_write_time(file_), time);
}

TEST_F(PresetsEditing, EditOpensTheSettingOfASequenceOfOneStepAndNoOther) {
    add({"--id", "a", "--name", "A", "--exporter", "MooV"});
    ASSERT_EQ(presets("add-sequence", {"--id", "one", "--name", "1", "--step", "a"}).exitStatus, 0);
    ASSERT_EQ(presets("add-sequence", {"--id", "two", "--name", "2", "--step", "a", "--step", "a"})
                  .exitStatus,
              0);
    EXPECT_EQ(editInTerminal("one", "13 320\\ns\\n").exitStatus, 0);
    EXPECT_EQ(atomOf("a", "wdth"), "01400000");
    EXPECT_EQ(presets("edit", {"--id", "two"}).exitStatus, 1);
    EXPECT_EQ(presets("edit", {"--id", "gone"}).exitStatus, 1);
}

TEST_F(PresetsEditing, EditFailsWithoutTheExporter) {
    write(NSDictionary{
        {"Export Presets", NSArray({PropertyListValue(NSDictionary{
                               {"SettingID", "x"}, {"QTExpComponentSubType", 0x786D706C}})})}});
    const ProgramResult result = presets("edit", {"--id", "x"});
    EXPECT_EQ(result.exitStatus, 1);
    EXPECT_THAT(result.errors, HasSubstr("not installed (-2005)"));
}

TEST_F(PresetsEditing, KeepsPermissionsAndLinks) {
    add({"--id", "a", "--name", "A", "--exporter", "MooV"});
    ASSERT_EQ(chmod(file_.c_str(), 0640), 0);
    const std::string real = file_;
    file_ = folder_.file("link.qecs");
    fs::create_symlink(real, file_);
    add({"--id", "b", "--name", "B", "--exporter", "MooV"});
    EXPECT_TRUE(fs::is_symlink(file_));
    struct stat status {};
    ASSERT_EQ(stat(real.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777, 0640u);
    EXPECT_EQ(list("Export Presets").count(), 2u);
    EXPECT_EQ(std::distance(fs::directory_iterator(folder_.path()), {}), 2);
}

TEST_F(PresetsEditing, AFileThatCannotBeWrittenWholeStaysAsItWas) {
    add({"--id", "a", "--name", "A", "--exporter", "MooV"});
    const std::string before = content();
    const std::string addAnother = "exec \"$0\" presets add \"$1\" --id b --name B --exporter MooV";
    const ProgramResult full = TWQuickTime::test::runProgram(
        {"sh", "-c", "trap '' XFSZ; ulimit -f 1; " + addAnother, TWQT_PROGRAM, file_});
    EXPECT_EQ(full.exitStatus, 1);
    EXPECT_EQ(full.errors, "twqt: add preset to " + file_ + " : input or output failed (-36)\n");
    EXPECT_EQ(content(), before);
    EXPECT_EQ(std::distance(fs::directory_iterator(folder_.path()), {}), 1);
    // The same limit kills a program that does not ignore the signal, in the middle of the file.
    const ProgramResult killed = TWQuickTime::test::runProgram(
        {"sh", "-c", "ulimit -f 1; " + addAnother, TWQT_PROGRAM, file_});
    EXPECT_GT(killed.exitStatus, 128);
    EXPECT_EQ(content(), before);
}

TEST_F(PresetsEditing, RefusesFilesThatAreNoPresetFilesAndLeavesThemAlone) {
    for (const std::string text : {"no property list", "<plist version=\"1.0\"><array/></plist>",
                                   "<plist version=\"1.0\"><dict><key>Export Presets</key>"
                                   "<string>none</string></dict></plist>"}) {
        std::ofstream(file_, std::ios::trunc) << text;
        const ProgramResult added =
            presets("add", {"--id", "a", "--name", "A", "--exporter", "MooV"});
        EXPECT_EQ(added.exitStatus, 1) << text;
        EXPECT_EQ(presets("remove", {"--id", "a"}).exitStatus, 1);
        EXPECT_EQ(content(), text);
    }
    file_ = folder_.file("missing/mine.qecs");
    EXPECT_EQ(presets("add", {"--id", "a", "--name", "A", "--exporter", "MooV"}).exitStatus, 1);
    EXPECT_EQ(presets("remove", {"--id", "a"}).exitStatus, 1);
}

}  // namespace
}  // namespace twqt
