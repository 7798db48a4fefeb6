// The commands of `twqt presets`, each in a file named after it.
#pragma once

#include <CLI/CLI.hpp>

namespace twqt {

void addPresetsAddCommand(CLI::App& presets);
void addPresetsAddSequenceCommand(CLI::App& presets);
void addPresetsCheckCommand(CLI::App& presets);
void addPresetsEditCommand(CLI::App& presets);
void addPresetsRemoveCommand(CLI::App& presets);

}  // namespace twqt
