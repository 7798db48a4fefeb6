// `twqt presets add-sequence`: puts a sequence of steps into a preset file.
#include <NSString.h>
#include <TWQECSFormat.h>
#include <TWQECSReader.h>

#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include "Command.h"
#include "CommandFailure.h"
#include "JsonOutput.h"
#include "MovieArgument.h"
#include "PresetCommands.h"
#include "PresetFile.h"
#include "PresetIdentifier.h"
#include "PresetJson.h"

namespace twqt {
namespace {

using namespace TWQuickTime;

struct AddSequenceOptions {
    std::string file;
    std::string id;
    std::string name;
    std::string comment;
    std::vector<std::string> steps;  ///< each "ID[,ID…]"
    bool json = false;
};

std::vector<std::string> separated(const std::string& list) {
    std::vector<std::string> parts;
    std::size_t start = 0;
    for (std::size_t end = 0; end != std::string::npos; start = end + 1) {
        end = list.find(',', start);
        parts.push_back(list.substr(start, end - start));
    }
    return parts;
}

NSDictionary fallbackNamed(const PresetFile& file, const AddSequenceOptions& options,
                           const std::string& id) {
    const PropertyListValue identifier = file.identifierNamed(PresetKind::setting, id);
    if (!identifier)
        throw CommandFailure("setting " + id, "not in " + options.file + " (-43)");
    NSDictionary fallback{{TWQECSFormatSequenceStepFallbackSettingID, identifier}};
    fallback.setObject(
        file.entry(PresetKind::setting, identifier).objectForKey(TWQECSFormatSettingName),
        TWQECSFormatSequenceStepFallbackName);
    return fallback;
}

NSArray stepsFor(const PresetFile& file, const AddSequenceOptions& options) {
    NSArray steps = NSArray::array();
    for (const std::string& list : options.steps) {
        NSArray fallbacks = NSArray::array();
        for (const std::string& id : separated(list))
            fallbacks.addObject(fallbackNamed(file, options, id));
        steps.addObject(NSDictionary{{TWQECSFormatSequenceStepFallbackList, fallbacks}});
    }
    return steps;
}

void run(const AddSequenceOptions& options) {
    const QuietLog quiet;
    PresetFile file = PresetFile::openOrNew("add preset to", options.file);
    PropertyListValue identifier = file.identifierNamed(PresetKind::sequence, options.id);
    const bool isNew = !identifier;
    if (isNew)
        identifier = newIdentifier(options.id);
    // Keys that this program does not know stay in an entry that is replaced.
    NSDictionary entry = file.entry(PresetKind::sequence, identifier);
    entry.setObject(identifier, TWQECSFormatSequenceID);
    entry.setObject(NSString(options.name), TWQECSFormatSequenceName);
    entry.removeObjectForKey(TWQECSFormatSequenceComment);
    if (!options.comment.empty())
        entry.setObject(NSString(options.comment), TWQECSFormatSequenceComment);
    entry.setObject(stepsFor(file, options), TWQECSFormatSequenceStepList);
    file.put(PresetKind::sequence, entry);
    file.save();
    if (!options.json) {
        std::printf("%s: sequence %s %s\n", options.file.c_str(), options.id.c_str(),
                    isNew ? "added" : "replaced");
        return;
    }
    const auto reader = TWQECSReader::qecsReaderWithPath(NSString(options.file));
    const auto sequence = reader ? reader->componentSettingSequenceForID(identifier) : nullptr;
    if (!sequence)
        throw failureWithStatus("read presets " + options.file, fnfErr);
    printJson(jsonFromSequence(*sequence));
}

}  // namespace

void addPresetsAddSequenceCommand(CLI::App& presets) {
    CLI::App* command = addCommand(
        presets, "add-sequence", "Adds or replaces a sequence of steps",
        "twqt presets add-sequence mine.qecs --id twice --name Twice --step web --step web");
    auto options = std::make_shared<AddSequenceOptions>();
    command->add_option("FILE", options->file, "the preset file, made when missing")->required();
    command->add_option("--id", options->id, "identifier; digits make a number")->required();
    command->add_option("--name", options->name, "to show")->required();
    command->add_option("--comment", options->comment, "to show");
    command
        ->add_option("--step", options->steps,
                     "identifiers of settings, the preferred one first; once for each step")
        ->type_name("ID[,ID...]")
        ->required()
        ->allow_extra_args(false);
    addJsonFlag(*command, options->json);
    command->callback([options] { run(*options); });
}

}  // namespace twqt
