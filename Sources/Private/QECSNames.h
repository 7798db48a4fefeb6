// Names of presets by their identifiers, from the preset files ("*.qecs") among the main bundle's
// resources.
#pragma once

#include <memory>
#include <optional>
#include <unordered_map>
#include <vector>

#include "NSString.h"
#include "PropertyListValue.h"
#include "TWQECSReader.h"

namespace TWQuickTime {

using QECSNames = std::unordered_map<PropertyListValue, NSString>;

/// Of every preset that has an identifier and a name. A later file replaces names of an earlier
/// one; a file that cannot be read adds nothing.
/// @param presetsOf  which presets of a file
QECSNames namesInMainBundle(std::vector<std::shared_ptr<TWQECS>> (TWQECSReader::*presetsOf)()
                                const);

/// The name; the localised "Unknown" for an identifier without one; none for none, or without
/// names.
PropertyListValue nameOfIdentifier(const PropertyListValue& identifier,
                                   const std::optional<QECSNames>& names);

}  // namespace TWQuickTime
