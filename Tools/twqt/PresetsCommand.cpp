// twqt presets FILE: the settings and sequences of a preset file.
#include <cstdint>
#include <iostream>
#include <memory>
#include <optional>

#include "Command.h"
#include "CommandFailure.h"
#include "FourCharCodeText.h"
#include "JsonOutput.h"
#include "MovieArgument.h"
#include "ReadableFile.h"
#include "TWQECSFormat.h"
#include "TWQECSReader.h"
#include "TWQECSSequence.h"
#include "TextTable.h"

namespace twqt {
namespace {

using namespace TWQuickTime;

struct PresetsOptions {
    std::string file;
    bool json = false;
};

/// The entry's code under the key as text; none when it has no such key.
std::optional<std::string> codeOf(const TWQECS& preset, const NSString& key) {
    const PropertyListValue code = preset.objectForKey(key);
    if (!code)
        return std::nullopt;
    return fourCharCodeText(static_cast<OSType>(code.longLongValue()));
}

Json jsonFromCode(const std::optional<std::string>& code) {
    return code ? Json(*code) : Json(nullptr);
}

std::string sizeText(TWQECS& preset) {
    if (preset.exportedMovieWidth() == 0 && preset.exportedMovieHeight() == 0)
        return "";
    return std::to_string(preset.exportedMovieWidth()) + "x" +
           std::to_string(preset.exportedMovieHeight());
}

/// The settings that a sequence exports with; none while one of its steps is not installed.
TWQECSSequence::Steps stepsOf(TWQECS& preset) {
    if (auto* sequence = dynamic_cast<TWQECSSequence*>(&preset)) {
        if (const std::optional<TWQECSSequence::Steps>& steps = sequence->steps())
            return *steps;
    }
    return {};
}

Json jsonFromSetting(TWQECS& setting) {
    return {
        {"id", jsonFromPropertyList(setting.identifier())},
        {"name", jsonFromString(setting.name())},
        {"comment", jsonFromString(setting.comment())},
        {"type", codeOf(setting, TWQECSFormatSettingComponentType).value_or("spit")},
        {"subtype", jsonFromCode(codeOf(setting, TWQECSFormatSettingComponentSubType))},
        {"manufacturer", jsonFromCode(codeOf(setting, TWQECSFormatSettingComponentManufacturer))},
        {"installed", setting.isInstalled()},
        {"threadSafe", setting.isThreadSafe()},
        {"hasUserInterface", setting.componentHasUserInterface()},
        {"extension", jsonFromString(setting.exportedMovieFileExtension())},
        {"width", setting.exportedMovieWidth()},
        {"height", setting.exportedMovieHeight()},
        {"frameRate", setting.exportedMovieFrameRate()}};
}

Json jsonFromSequence(TWQECS& sequence) {
    Json steps = Json::array();
    for (const std::shared_ptr<TWQECS>& step : stepsOf(sequence))
        steps.push_back(jsonFromPropertyList(step->identifier()));
    return {{"id", jsonFromPropertyList(sequence.identifier())},
            {"name", jsonFromString(sequence.name())},
            {"comment", jsonFromString(sequence.comment())},
            {"installed", sequence.isInstalled()},
            {"steps", steps},
            {"extension", jsonFromString(sequence.exportedMovieFileExtension())}};
}

Json jsonFromReader(const TWQECSReader& reader) {
    Json settings = Json::array();
    for (const std::shared_ptr<TWQECS>& setting : reader.componentSettings())
        settings.push_back(jsonFromSetting(*setting));
    Json sequences = Json::array();
    for (const std::shared_ptr<TWQECS>& sequence : reader.componentSettingSequences())
        sequences.push_back(jsonFromSequence(*sequence));
    return {{"version", jsonFromPropertyList(reader.qecsVersion())},
            {"settings", settings},
            {"sequences", sequences}};
}

std::string identifierText(const TWQECS& preset) {
    return preset.identifier().description().utf8();
}

void printSettings(const TWQECSReader& reader) {
    TextTable table(
        {{"ID"}, {"Setting"}, {"Exporter"}, {"Installed"}, {"File"}, {"Size"}, {"Comment"}});
    for (const std::shared_ptr<TWQECS>& setting : reader.componentSettings())
        table.addRow({identifierText(*setting), setting->name().utf8(),
                      codeOf(*setting, TWQECSFormatSettingComponentSubType).value_or(""),
                      setting->isInstalled() ? "yes" : "no",
                      setting->exportedMovieFileExtension().utf8(), sizeText(*setting),
                      setting->comment().utf8()});
    table.print();
}

void printSequences(const TWQECSReader& reader) {
    TextTable table({{"ID"}, {"Sequence"}, {"Steps"}, {"Installed"}, {"File"}, {"Comment"}});
    for (const std::shared_ptr<TWQECS>& sequence : reader.componentSettingSequences()) {
        std::string steps;
        for (const std::shared_ptr<TWQECS>& step : stepsOf(*sequence))
            steps += (steps.empty() ? "" : ", then ") + step->name().utf8();
        table.addRow({identifierText(*sequence), sequence->name().utf8(), steps,
                      sequence->isInstalled() ? "yes" : "no",
                      sequence->exportedMovieFileExtension().utf8(), sequence->comment().utf8()});
    }
    table.print();
}

void run(const PresetsOptions& options) {
    // Exporters that are not installed are a result here, not a message.
    const QuietLog quiet;
    requireReadableFile("read presets", options.file);
    const std::shared_ptr<TWQECSReader> reader =
        TWQECSReader::qecsReaderWithPath(NSString(options.file));
    if (!reader)
        throw CommandFailure("read presets " + options.file,
                             "not a property list with presets (" + std::to_string(paramErr) + ")");
    if (options.json) {
        printJson(jsonFromReader(*reader));
        return;
    }
    printSettings(*reader);
    if (reader->componentSettingSequences().empty())
        return;
    std::cout << '\n';
    printSequences(*reader);
}

const CommandRegistration registration("presets", [](CLI::App& program) {
    CLI::App* command = addCommand(program, "presets", "Lists the presets of a preset file",
                                   "twqt presets Examples/Presets.qecs");
    auto options = std::make_shared<PresetsOptions>();
    command->add_option("FILE", options->file, "the preset file");
    addJsonFlag(*command, options->json);
    command->callback([command, options] {
        // The commands that change a preset file are commands of this one.
        if (!command->get_subcommands().empty())
            return;
        if (options->file.empty())
            throw usageFailure("presets", "FILE is required (see --help)");
        run(*options);
    });
});

}  // namespace
}  // namespace twqt
