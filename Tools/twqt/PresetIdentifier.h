// Identifiers of presets as people type them: numbers and strings both work.
#pragma once

#include <TWQECSReader.h>

#include <memory>
#include <string>

namespace twqt {

/// Whether the identifier of a preset file is the one that the text names: the same string, or a
/// number of these digits.
bool isNamedBy(const TWQuickTime::PropertyListValue& identifier, const std::string& text);

/// The identifier that a new entry gets: a number for digits without leading zeros, else a string.
TWQuickTime::PropertyListValue newIdentifier(const std::string& text);

/// The setting that the text names, else the sequence; null for none.
std::shared_ptr<TWQuickTime::TWQECS> presetWithIdentifier(const TWQuickTime::TWQECSReader& reader,
                                                          const std::string& text);

}  // namespace twqt
