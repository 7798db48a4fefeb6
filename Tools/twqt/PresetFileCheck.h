// Every fault of a preset file: what a reader of it would skip, ignore, or fail at later.
#pragma once

#include <PropertyListValue.h>

#include <string>
#include <vector>

namespace twqt {

struct PresetFault {
    std::string path;     ///< keys and indexes: "Export Presets[2].QTExpSettings"; "" for the file
    std::string problem;  ///< without a full stop
};

/// The faults in the order of the file. Exporters of this machine are opened to try the settings.
std::vector<PresetFault> faultsOfPresets(const TWQuickTime::PropertyListValue& root);

}  // namespace twqt
