// twqt presets FILE: the settings and sequences of a preset file.
#include <iostream>
#include <memory>

#include "Command.h"
#include "CommandFailure.h"
#include "JsonOutput.h"
#include "MovieArgument.h"
#include "PresetCommands.h"
#include "PresetJson.h"
#include "ReadableFile.h"
#include "TWQECSFormat.h"
#include "TWQECSReader.h"
#include "TextTable.h"

namespace twqt {
namespace {

using namespace TWQuickTime;

struct PresetsOptions {
    std::string file;
    bool json = false;
};

std::string sizeText(TWQECS& preset) {
    if (preset.exportedMovieWidth() == 0 && preset.exportedMovieHeight() == 0)
        return "";
    return std::to_string(preset.exportedMovieWidth()) + "x" +
           std::to_string(preset.exportedMovieHeight());
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
                      codeText(*setting, TWQECSFormatSettingComponentSubType).value_or(""),
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
    addPresetsAddCommand(*command);
    addPresetsAddSequenceCommand(*command);
    addPresetsCheckCommand(*command);
    addPresetsEditCommand(*command);
    addPresetsRemoveCommand(*command);
    command->callback([command, options] {
        // What else there is to do with preset files are commands of this one.
        if (!command->get_subcommands().empty())
            return;
        if (options->file.empty())
            throw usageFailure("presets", "FILE is required (see --help)");
        run(*options);
    });
});

}  // namespace
}  // namespace twqt
