// The command-line host. Every command is a file of its own and registers itself (Command.h); what
// is left here is the command line as a whole, and how a failure becomes one line and a status.
#include <malloc.h>

#include <CLI/CLI.hpp>
#include <exception>
#include <iostream>
#include <new>

#include "Command.h"
#include "CommandFailure.h"

namespace twqt {
namespace {

int finish(ExitStatus status) {
    return static_cast<int>(status);
}

int reportFailure(const std::string& line, ExitStatus status) {
    std::cout.flush();
    std::cerr << "twqt: " << line << '\n';
    return finish(status);
}

/// The words of the deepest command that the line names: "presets add".
std::string namedCommand(const CLI::App& program) {
    std::string name;
    const CLI::App* command = &program;
    while (!command->get_subcommands().empty()) {
        command = command->get_subcommands().front();
        name += (name.empty() ? "" : " ") + command->get_name();
    }
    return name.empty() ? "command line" : name;
}

bool hasCommand(const CLI::App& program, const std::string& name) {
    return !program
                .get_subcommands(
                    [&](const CLI::App* command) { return command->get_name() == name; })
                .empty();
}

int run(int argc, char** argv) {
    CLI::App program("Movies, export presets and sound from the command line.", "twqt");
    program.set_version_flag("--version", "twqt " TWQT_PROGRAM_VERSION);
    program.set_help_flag("-h,--help", "print this help and exit");
    program.footer("Example:\n  twqt presets Examples/Presets.qecs");
    program.require_subcommand(1);
    addRegisteredCommands(program);
    try {
        // CLI11 would only say that some command is required.
        if (argc > 1 && argv[1][0] != '-' && !hasCommand(program, argv[1]))
            throw usageFailure(argv[1], "there is no such command (see --help)");
        program.parse(argc, argv);
    } catch (const CLI::Success& request) {
        program.exit(request);
        std::cout.flush();
        return finish(ExitStatus::done);
    } catch (const CLI::ParseError& error) {
        return reportFailure(
            namedCommand(program) + " : " + oneLine(error.what()) + " (see --help)",
            ExitStatus::usage);
    } catch (const CommandFailure& failure) {
        return reportFailure(failure.what(), failure.exitStatus());
    } catch (const std::bad_alloc&) {
        return reportFailure(namedCommand(program) + " : not enough memory (-108)",
                             ExitStatus::failed);
    } catch (const std::exception& failure) {
        return reportFailure(namedCommand(program) + " : " + oneLine(failure.what()),
                             ExitStatus::failed);
    }
    std::cout.flush();
    if (!std::cout)
        return reportFailure("write standard output : input or output failed (-36)",
                             ExitStatus::failed);
    return finish(ExitStatus::done);
}

}  // namespace
}  // namespace twqt

int main(int argc, char** argv) {
    // Left alone, the allocator raises this bound with the pictures that it gives back, keeps them
    // in the heap of whichever thread they came from, and grows by a fifth in the export of a
    // movie.
    mallopt(M_MMAP_THRESHOLD, 1 << 20);
    return twqt::run(argc, argv);
}
