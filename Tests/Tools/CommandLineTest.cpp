#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>

#include "Command.h"
#include "TwqtProgram.h"

namespace twqt {
namespace {

using ::testing::EndsWith;
using ::testing::HasSubstr;
using ::testing::StartsWith;
using TWQuickTime::test::ProgramResult;

/// One line that begins as every error line does.
void expectOneErrorLine(const ProgramResult& result) {
    EXPECT_THAT(result.errors, StartsWith("twqt: "));
    EXPECT_THAT(result.errors, HasSubstr(" : "));
    EXPECT_THAT(result.errors, EndsWith("\n"));
    EXPECT_EQ(std::count(result.errors.begin(), result.errors.end(), '\n'), 1) << result.errors;
    EXPECT_EQ(result.output, "");
}

/// "twqt", "twqt presets", "twqt presets add", …: the arguments of every command there is.
void collectCommands(const CLI::App& command, const std::vector<std::string>& path,
                     std::vector<std::vector<std::string>>& all) {
    all.push_back(path);
    // Groups of options are children without a name.
    const auto isCommand = [](const CLI::App* child) { return !child->get_name().empty(); };
    for (const CLI::App* child : command.get_subcommands(isCommand)) {
        std::vector<std::string> childPath = path;
        childPath.push_back(child->get_name());
        collectCommands(*child, childPath, all);
    }
}

TEST(CommandLine, PrintsItsVersionAndNothingElse) {
    const ProgramResult result = runTwqt({"--version"});
    EXPECT_EQ(result.exitStatus, 0);
    EXPECT_EQ(result.output, "twqt " TWQT_PROGRAM_VERSION "\n");
    EXPECT_EQ(result.errors, "");
}

TEST(CommandLine, HelpsOnEveryLevelAndGivesAnExampleOfThatCommand) {
    CLI::App program("", "twqt");
    addRegisteredCommands(program);
    std::vector<std::vector<std::string>> commands;
    collectCommands(program, {}, commands);
    ASSERT_FALSE(commands.empty());
    for (std::vector<std::string> arguments : commands) {
        std::string example = "Example:\n  twqt";
        for (const std::string& word : arguments)
            example += " " + word;
        arguments.push_back("--help");
        const ProgramResult result = runTwqt(arguments);
        EXPECT_EQ(result.exitStatus, 0) << example;
        EXPECT_THAT(result.output, HasSubstr(example));
        EXPECT_EQ(result.errors, "");
    }
}

TEST(CommandLine, IsWrongUsageWithoutACommand) {
    const ProgramResult result = runTwqt({});
    EXPECT_EQ(result.exitStatus, 2);
    expectOneErrorLine(result);
}

TEST(CommandLine, IsWrongUsageWithACommandThatThereIsNot) {
    const ProgramResult result = runTwqt({"transmogrify"});
    EXPECT_EQ(result.exitStatus, 2);
    expectOneErrorLine(result);
    EXPECT_THAT(result.errors, HasSubstr("transmogrify"));
}

TEST(CommandLine, KeepsAnErrorOnOneLineWhenAnArgumentHasLineEnds) {
    const ProgramResult result = runTwqt({"--no\nsuch\noption"});
    EXPECT_EQ(result.exitStatus, 2);
    expectOneErrorLine(result);
}

}  // namespace
}  // namespace twqt
