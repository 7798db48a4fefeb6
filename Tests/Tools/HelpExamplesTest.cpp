// The example that ends each help text, run as it stands.
#include <gtest/gtest.h>

#include <filesystem>
#include <sstream>

#include "Command.h"
#include "TemporaryDirectory.h"
#include "TwqtProgram.h"

namespace twqt {
namespace {

namespace fs = std::filesystem;
using TWQuickTime::test::ProgramResult;
using TWQuickTime::test::runFfmpeg;
using TWQuickTime::test::TemporaryDirectory;

/// The lines below "Example:" of the command and of its commands.
void collectExamples(const CLI::App& command, std::vector<std::string>& examples) {
    std::istringstream footer(command.get_footer());
    for (std::string line; std::getline(footer, line);) {
        if (line.starts_with("  twqt "))
            examples.push_back(line.substr(2));
    }
    for (const CLI::App* child : command.get_subcommands([](const CLI::App*) { return true; }))
        collectExamples(*child, examples);
}

std::vector<std::string> examplesOfAllCommands() {
    CLI::App program("", "twqt");
    addRegisteredCommands(program);
    std::vector<std::string> examples;
    collectExamples(program, examples);
    return examples;
}

/// A folder with the files that examples speak of.
class ExampleFolder {
  public:
    ExampleFolder() {
        fs::create_directory(folder_.path() / "Examples");
        fs::copy_file(TWQT_EXAMPLES "/Presets.qecs", folder_.path() / "Examples" / "Presets.qecs");
        runFfmpeg({"-f", "lavfi", "-i", "testsrc=s=320x240:r=25:d=2", "-f", "lavfi", "-i",
                   "sine=f=440:r=48000:d=2", "-c:v", "libx264", "-pix_fmt", "yuv420p", "-c:a",
                   "aac", folder_.file("original.mov")});
        runFfmpeg({"-f", "lavfi", "-i", "testsrc=s=640x480:d=1", "-frames:v", "1",
                   folder_.file("photo.jpg")});
    }

    ProgramResult run(const std::string& example) const {
        // Some examples change the movie; each has it fresh.
        fs::copy_file(folder_.file("original.mov"), folder_.file("movie.mov"),
                      fs::copy_options::overwrite_existing);
        const std::string program = fs::path(TWQT_PROGRAM).parent_path().string();
        return TWQuickTime::test::runProgram(
            {"sh", "-c",
             "cd '" + folder_.path().string() + "' && PATH='" + program + "':$PATH " + example});
    }

  private:
    TemporaryDirectory folder_;
};

TEST(HelpExamples, WorkAsTheyStand) {
    const std::vector<std::string> examples = examplesOfAllCommands();
    ASSERT_FALSE(examples.empty());
    const ExampleFolder folder;
    for (const std::string& example : examples) {
        const ProgramResult result = folder.run(example);
        EXPECT_EQ(result.exitStatus, 0) << example << "\n" << result.errors;
    }
}

}  // namespace
}  // namespace twqt
