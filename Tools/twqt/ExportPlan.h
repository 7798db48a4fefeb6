// What an export would do, told without doing it.
#pragma once

#include <TWQECS.h>
#include <TWQECSExportRecord.h>

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "JsonOutput.h"
#include "ToolboxTypes.h"

namespace twqt {

struct PlannedStep {
    TWQuickTime::TWQECSExportStep choice;  ///< which setting, and which were passed over
    TWQuickTime::OSType exporter = 0;      ///< subtype; 0 when no setting can be used
    std::string exporterName;
    std::optional<TWQuickTime::OSType> videoCodec;  ///< none: no pictures
    std::optional<TWQuickTime::OSType> soundCodec;  ///< none: no sound
    double estimatedBytes = 0;
};

struct ExportPlan {
    std::vector<PlannedStep> steps;
    bool isInstalled = false;
    /// The most that files between the steps take at one time.
    double temporaryBytes = 0;
    /// The result itself.
    double outputBytes = 0;
};

/// Opens exporters to ask them, and no file.
/// @param seconds  how much of the movie is to be exported
ExportPlan planExport(const std::shared_ptr<TWQuickTime::TWQECS>& preset, TWQuickTime::Movie movie,
                      double seconds);

/// {"used","rejected":[{"id","reason","status"}],"output"}
Json jsonFromExportStep(const TWQuickTime::TWQECSExportStep& step);
/// The same of a planned step, with "exporter","videoCodec","soundCodec","bytes".
Json jsonFromPlannedStep(const PlannedStep& step);
/// Lines for people.
std::string planText(const ExportPlan& plan);

}  // namespace twqt
