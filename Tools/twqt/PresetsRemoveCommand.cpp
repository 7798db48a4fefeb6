// `twqt presets remove`: takes a setting or a sequence out of a preset file.
#include <NSString.h>
#include <TWQECSFormat.h>

#include <cstdio>
#include <iostream>
#include <memory>
#include <string>

#include "Command.h"
#include "CommandFailure.h"
#include "PresetCommands.h"
#include "PresetFile.h"

namespace twqt {
namespace {

using namespace TWQuickTime;

struct RemoveOptions {
    std::string file;
    std::string id;
};

bool usesSetting(const NSDictionary& sequence, const PropertyListValue& identifier) {
    for (const PropertyListValue& step :
         sequence.objectForKey(TWQECSFormatSequenceStepList).arrayValue())
        for (const PropertyListValue& fallback :
             step.dictionaryValue().objectForKey(TWQECSFormatSequenceStepFallbackList).arrayValue())
            if (fallback.dictionaryValue().objectForKey(
                    TWQECSFormatSequenceStepFallbackSettingID) == identifier)
                return true;
    return false;
}

/// Sequences that still name a setting that is gone pass it over; that is said, not repaired.
void tellOfDanglingFallbacks(const PresetFile& file, const PropertyListValue& identifier) {
    for (const PropertyListValue& item :
         file.root().objectForKey(TWQECSFormatSequenceList).arrayValue()) {
        const NSDictionary sequence = item.dictionaryValue();
        if (usesSetting(sequence, identifier))
            std::cerr << "sequence "
                      << sequence.objectForKey(TWQECSFormatSequenceID).description().utf8()
                      << " still names setting " << identifier.description().utf8() << '\n';
    }
}

void run(const RemoveOptions& options) {
    PresetFile file = PresetFile::open("remove preset from", options.file);
    for (const PresetKind kind : {PresetKind::setting, PresetKind::sequence}) {
        const PropertyListValue identifier = file.identifierNamed(kind, options.id);
        if (!identifier)
            continue;
        file.remove(kind, identifier);
        file.save();
        std::printf("%s: %s %s removed\n", options.file.c_str(),
                    kind == PresetKind::setting ? "setting" : "sequence", options.id.c_str());
        if (kind == PresetKind::setting)
            tellOfDanglingFallbacks(file, identifier);
        return;
    }
    throw CommandFailure("preset " + options.id, "not in " + options.file + " (-43)");
}

}  // namespace

void addPresetsRemoveCommand(CLI::App& presets) {
    CLI::App* command = addCommand(presets, "remove", "Removes a setting, or else a sequence",
                                   "twqt presets remove mine.qecs --id web");
    auto options = std::make_shared<RemoveOptions>();
    command->add_option("FILE", options->file, "the preset file")->required();
    command->add_option("--id", options->id, "identifier of the setting or sequence")->required();
    command->callback([options] { run(*options); });
}

}  // namespace twqt
