#include "ExportPlan.h"

#include <CodecInformation.h>
#include <TWQECSSequence.h>
#include <TWQECSSetting.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>

#include "ExportSizeEstimate.h"
#include "ExporterFields.h"
#include "FourCharCodeText.h"

namespace twqt {

using namespace TWQuickTime;

namespace {

/// What exports in the end: a sequence that stands for a setting does so with its last step.
std::shared_ptr<TWQECSSetting> settingOf(const std::shared_ptr<TWQECS>& preset) {
    if (const auto sequence = std::dynamic_pointer_cast<TWQECSSequence>(preset))
        return sequence->lastStep() ? settingOf(sequence->lastStep()) : nullptr;
    return std::dynamic_pointer_cast<TWQECSSetting>(preset);
}

/// A setting is a plan of one step.
std::vector<TWQECSExportStep> choicesOf(TWQECS& preset) {
    if (auto* sequence = dynamic_cast<TWQECSSequence*>(&preset))
        return sequence->stepChoices();
    if (preset.isInstalled())
        return {{.used = preset.identifier()}};
    const ComponentInstallationFault fault = preset.installationFault();
    return {
        {.used = nullptr, .rejected = {{preset.identifier(), fault.description(), fault.status}}}};
}

std::vector<std::shared_ptr<TWQECS>> stepsToRun(const std::shared_ptr<TWQECS>& preset) {
    if (const auto sequence = std::dynamic_pointer_cast<TWQECSSequence>(preset))
        return sequence->steps().value_or(TWQECSSequence::Steps());
    return {preset};
}

/// Each file between the steps lies beside the one that is made from it.
double mostAtOneTime(const std::vector<PlannedStep>& steps) {
    double most = 0;
    for (std::size_t i = 0; i + 1 < steps.size(); ++i) {
        const double before = i > 0 ? steps[i - 1].estimatedBytes : 0;
        most = std::max(most, before + steps[i].estimatedBytes);
    }
    return most;
}

std::string nameOfCodec(OSType type) {
    std::uint8_t name[256] = {};
    std::string text = fourCharCodeText(type);
    if (GetCompressionName(type, name) == noErr)
        text += " (" + std::string(reinterpret_cast<const char*>(name + 1), name[0]) + ")";
    return text;
}

Json jsonFromCodec(const std::optional<OSType>& codec) {
    return codec ? Json(fourCharCodeText(*codec)) : Json(nullptr);
}

std::string megabytes(double bytes) {
    char text[40];
    std::snprintf(text, sizeof text, "%.1f MB", bytes / 1e6);
    return text;
}

}  // namespace

ExportPlan planExport(const std::shared_ptr<TWQECS>& preset, Movie movie, double seconds) {
    ExportPlan plan;
    plan.isInstalled = preset->isInstalled();
    for (TWQECSExportStep& choice : choicesOf(*preset))
        plan.steps.emplace_back().choice = std::move(choice);
    if (!plan.isInstalled)
        return plan;
    const auto presets = stepsToRun(preset);
    MediaShape shape = MediaShape::ofMovie(movie);
    for (std::size_t i = 0; i < plan.steps.size() && i < presets.size(); ++i) {
        const auto setting = settingOf(presets[i]);
        if (!setting)
            continue;
        const ExporterFields fields(*setting);
        PlannedStep& step = plan.steps[i];
        step.exporter = setting->componentSupType();
        step.exporterName = setting->componentName().utf8();
        step.videoCodec = fields.videoCodec();
        step.soundCodec = fields.soundCodec();
        step.estimatedBytes = estimatedBytesPerSecond(fields, shape) * seconds;
    }
    plan.temporaryBytes = mostAtOneTime(plan.steps);
    if (!plan.steps.empty())
        plan.outputBytes = plan.steps.back().estimatedBytes;
    return plan;
}

Json jsonFromExportStep(const TWQECSExportStep& step) {
    Json rejected = Json::array();
    for (const TWQECSRejectedFallback& fallback : step.rejected)
        rejected.push_back({{"id", jsonFromPropertyList(fallback.identifier)},
                            {"reason", jsonFromString(fallback.reason)},
                            {"status", fallback.status}});
    return {{"used", jsonFromPropertyList(step.used)},
            {"rejected", rejected},
            {"output", jsonFromString(step.output)}};
}

Json jsonFromPlannedStep(const PlannedStep& step) {
    Json json = jsonFromExportStep(step.choice);
    json["exporter"] = step.exporter != 0 ? Json{{"subtype", fourCharCodeText(step.exporter)},
                                                 {"name", step.exporterName}}
                                          : Json(nullptr);
    json["videoCodec"] = jsonFromCodec(step.videoCodec);
    json["soundCodec"] = jsonFromCodec(step.soundCodec);
    json["bytes"] = static_cast<std::int64_t>(step.estimatedBytes);
    return json;
}

std::string planText(const ExportPlan& plan) {
    TWQECSExportRecord record;
    for (const PlannedStep& step : plan.steps)
        record.steps.push_back(step.choice);
    std::string text = record.description().utf8() + "\n";
    int number = 0;
    for (const PlannedStep& step : plan.steps) {
        ++number;
        if (step.exporter == 0)
            continue;
        text += "step " + std::to_string(number) + " writes " + step.exporterName + ", pictures " +
                (step.videoCodec ? nameOfCodec(*step.videoCodec) : "none") + ", sound " +
                (step.soundCodec ? nameOfCodec(*step.soundCodec) : "none") + ", about " +
                megabytes(step.estimatedBytes) + "\n";
    }
    if (plan.isInstalled)
        text += "needs about " + megabytes(plan.temporaryBytes) + " between the steps and " +
                megabytes(plan.outputBytes) + " beside the output\n";
    return text;
}

}  // namespace twqt
