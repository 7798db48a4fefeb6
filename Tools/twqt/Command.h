// How a command of the program declares itself.
//
// A command is one file. It describes its options to CLI11, keeps their values in a struct of its
// own, prints its results to standard output and throws a CommandFailure when something goes wrong:
//
//     struct DurationOptions { std::string file; bool json = false; };
//
//     void run(const DurationOptions& options) { … }
//
//     const CommandRegistration registration("duration", [](CLI::App& program) {
//         CLI::App* command = addCommand(program, "duration", "Duration of a movie in seconds",
//                                        "twqt duration movie.mov");
//         auto options = std::make_shared<DurationOptions>();
//         command->add_option("FILE", options->file, "the movie")->required();
//         addJsonFlag(*command, options->json);
//         command->callback([options] { run(*options); });
//     });
#pragma once

#include <CLI/CLI.hpp>
#include <functional>
#include <string>

namespace twqt {

/// Adds a command (or a command of a command) with its help text and the example that ends it.
/// @param example  one whole line that works as it stands, as "twqt duration movie.mov"
CLI::App* addCommand(CLI::App& parent, const std::string& name, const std::string& description,
                     const std::string& example);

/// Adds `--json`.
void addJsonFlag(CLI::App& command, bool& json);
/// Adds `--force`; see OutputFile.h for what it means.
void addForceFlag(CLI::App& command, bool& force);

/// Makes a command known to the program while the program starts.
class CommandRegistration {
  public:
    CommandRegistration(const char* name, void (*add)(CLI::App& program));
};

/// Adds all registered commands, by name.
void addRegisteredCommands(CLI::App& program);

}  // namespace twqt
