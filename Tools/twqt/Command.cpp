#include "Command.h"

#include <map>

namespace twqt {
namespace {

using Registry = std::map<std::string, void (*)(CLI::App&)>;

/// Made on first use: registrations of different files run in no certain order.
Registry& registry() {
    static Registry commands;
    return commands;
}

}  // namespace

CLI::App* addCommand(CLI::App& parent, const std::string& name, const std::string& description,
                     const std::string& example) {
    CLI::App* command = parent.add_subcommand(name, description);
    command->footer("Example:\n  " + example);
    return command;
}

void addJsonFlag(CLI::App& command, bool& json) {
    command.add_flag("--json", json, "print one JSON document instead of text");
}

void addForceFlag(CLI::App& command, bool& force) {
    command.add_flag("--force", force, "overwrite what is there already");
}

CommandRegistration::CommandRegistration(const char* name, void (*add)(CLI::App& program)) {
    registry().emplace(name, add);
}

void addRegisteredCommands(CLI::App& program) {
    for (const auto& [name, add] : registry())
        add(program);
}

}  // namespace twqt
