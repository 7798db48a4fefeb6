// Presets as results for programs.
#pragma once

#include <TWQECS.h>

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "JsonOutput.h"

namespace twqt {

/// {"id","name","comment","type","subtype","manufacturer","installed","threadSafe",
/// "hasUserInterface","extension","width","height","frameRate"}
Json jsonFromSetting(TWQuickTime::TWQECS& setting);
/// {"id","name","comment","installed","steps","extension"}; no steps while one is not installed.
Json jsonFromSequence(TWQuickTime::TWQECS& sequence);

/// The settings that a sequence exports with; none while one of its steps is not installed, and for
/// settings.
std::vector<std::shared_ptr<TWQuickTime::TWQECS>> stepsOf(TWQuickTime::TWQECS& preset);

/// The entry's code under the key as text; none when it has no such key.
std::optional<std::string> codeText(const TWQuickTime::TWQECS& preset,
                                    const TWQuickTime::NSString& key);

}  // namespace twqt
