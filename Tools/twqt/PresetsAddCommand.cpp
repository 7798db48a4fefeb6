// `twqt presets add`: puts a setting into a preset file, in the place of the one with its ID.
#include <Components.h>
#include <MovieExport.h>
#include <NSData.h>
#include <TWQECSFormat.h>
#include <TWQECSReader.h>
#include <TWQECSSetting.h>

#include <cstdio>
#include <iostream>
#include <memory>
#include <string>

#include "AtomTree.h"
#include "Command.h"
#include "CommandFailure.h"
#include "ExporterSettings.h"
#include "FourCharCodeText.h"
#include "JsonOutput.h"
#include "MovieArgument.h"
#include "PresetCommands.h"
#include "PresetFile.h"
#include "PresetIdentifier.h"
#include "PresetJson.h"

namespace twqt {
namespace {

using namespace TWQuickTime;

struct AddOptions {
    std::string file;
    std::string id;
    std::string name;
    std::string comment;
    std::string settingsFile;
    ExporterSettingsOptions settings;
    bool json = false;
};

/// The manufacturer of the exporter that is installed; none when there is none of the subtype.
std::optional<OSType> manufacturerOf(OSType subtype) {
    const ComponentDescription wanted{.componentType = MovieExportType,
                                      .componentSubType = subtype};
    ComponentDescription found;
    const Component exporter = FindNextComponent(nullptr, &wanted);
    if (!exporter || GetComponentInfo(exporter, &found, nullptr, nullptr, nullptr) != noErr)
        return std::nullopt;
    return found.componentManufacturer;
}

/// Settings of a file are kept as they are; they may be for an exporter of another machine.
NSData settingsFor(const AddOptions& options, bool isInstalled) {
    if (options.settingsFile.empty())
        return NSData(makeExporterSettings(options.settings));
    if (changesAnything(options.settings))
        throw usageFailure("presets add", "takes --settings or settings options, not both");
    const NSData settings = readSettingsFile(options.settingsFile);
    if (settings.length() > 0)
        atomTree(settings.bytes());
    if (!isInstalled)
        std::cerr << "exporter " << fourCharCodeText(*options.settings.exporter)
                  << " is not installed here: its settings were not checked\n";
    return settings;
}

/// Keys that this program does not know stay in an entry that is replaced.
NSDictionary entryFor(const AddOptions& options, NSDictionary entry,
                      const PropertyListValue& identifier) {
    const OSType subtype = *options.settings.exporter;
    const std::optional<OSType> manufacturer = manufacturerOf(subtype);
    const NSData settings = settingsFor(options, manufacturer.has_value());
    // With one the entry would be a sequence.
    entry.removeObjectForKey(TWQECSFormatSequenceID);
    entry.removeObjectForKey(TWQECSFormatSettingComment);
    entry.setObject(identifier, TWQECSFormatSettingID);
    entry.setObject(NSString(options.name), TWQECSFormatSettingName);
    if (!options.comment.empty())
        entry.setObject(NSString(options.comment), TWQECSFormatSettingComment);
    entry.setObject(MovieExportType, TWQECSFormatSettingComponentType);
    entry.setObject(subtype, TWQECSFormatSettingComponentSubType);
    entry.setObject(manufacturer.value_or(kAppleManufacturer),
                    TWQECSFormatSettingComponentManufacturer);
    entry.setObject(settings, TWQECSFormatSettingComponentAtomData);
    return entry;
}

void requireAccepted(const AddOptions& options, TWQECSSetting& setting) {
    if (setting.isInstalled())
        return;
    const ComponentInstallationFault fault = setting.installationFault();
    if (fault.kind != ComponentInstallationFault::Kind::exporter)
        throw CommandFailure("settings " + options.settingsFile,
                             fault.description().utf8() + " by exporter " +
                                 fourCharCodeText(*options.settings.exporter) + " (" +
                                 std::to_string(fault.status) + ")");
}

void run(const AddOptions& options) {
    const QuietLog quiet;
    PresetFile file = PresetFile::openOrNew("add preset to", options.file);
    PropertyListValue identifier = file.identifierNamed(PresetKind::setting, options.id);
    const bool isNew = !identifier;
    if (isNew)
        identifier = newIdentifier(options.id);
    const NSDictionary entry =
        entryFor(options, file.entry(PresetKind::setting, identifier), identifier);
    const auto setting = TWQECSSetting::initWithDictionary(entry);
    requireAccepted(options, *setting);
    file.put(PresetKind::setting, entry);
    file.save();
    if (options.json)
        printJson(jsonFromSetting(*setting));
    else
        std::printf("%s: setting %s %s\n", options.file.c_str(), options.id.c_str(),
                    isNew ? "added" : "replaced");
}

}  // namespace

void addPresetsAddCommand(CLI::App& presets) {
    CLI::App* command = addCommand(presets, "add", "Adds or replaces a setting",
                                   "twqt presets add mine.qecs --id web --name \"For the web\" "
                                   "--exporter mpg4 --size 640x360");
    auto options = std::make_shared<AddOptions>();
    command->add_option("FILE", options->file, "the preset file, made when missing")->required();
    command->add_option("--id", options->id, "identifier; digits make a number")->required();
    command->add_option("--name", options->name, "to show")->required();
    command->add_option("--comment", options->comment, "to show");
    command->add_option("--settings", options->settingsFile,
                        "a settings file, instead of the options below");
    addExporterSettingsOptions(*command, options->settings);
    addJsonFlag(*command, options->json);
    command->callback([options] { run(*options); });
}

}  // namespace twqt
