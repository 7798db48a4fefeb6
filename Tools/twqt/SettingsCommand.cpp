// `twqt settings`: makes settings files for exporters, and shows what is in one.
#include <TWQECSReader.h>
#include <TWQECSSetting.h>

#include <cstdio>
#include <fstream>

#include "AtomTree.h"
#include "Command.h"
#include "CommandFailure.h"
#include "ExporterSettings.h"
#include "JsonOutput.h"
#include "OutputFile.h"
#include "PresetIdentifier.h"

namespace twqt {
namespace {

using namespace TWQuickTime;

struct NewOptions {
    ExporterSettingsOptions settings;
    std::string output;
    bool force = false;
};

struct ShowOptions {
    std::string file;
    std::string presets;
    std::string id;
    bool json = false;
};

void writeFile(const std::string& path, const std::vector<std::byte>& bytes) {
    std::ofstream file(path, std::ios::binary | std::ios::trunc);
    file.write(reinterpret_cast<const char*>(bytes.data()), std::streamsize(bytes.size()));
    file.close();
    if (!file)
        throw failureWithStatus("write " + path, ioErr);
}

void makeSettings(const NewOptions& options) {
    const std::vector<std::byte> settings = makeExporterSettings(options.settings);
    requireFreeOutput(options.output, options.force);
    writeFile(options.output, settings);
}

NSData settingsOfPreset(const ShowOptions& options) {
    const auto reader = TWQECSReader::qecsReaderWithPath(NSString(options.presets));
    if (!reader)
        throw CommandFailure("open " + options.presets, "no preset file (-43)");
    const auto setting =
        std::dynamic_pointer_cast<TWQECSSetting>(presetWithIdentifier(*reader, options.id));
    if (!setting)
        throw CommandFailure("preset " + options.id, "not in " + options.presets + " (-43)");
    const NSData data = setting->componentSettingsAtomData();
    if (data.isNil())
        throw CommandFailure("preset " + options.id, "has no settings (-43)");
    return data;
}

void printTree(const Json& nodes, int depth) {
    for (const Json& node : nodes) {
        std::printf("%*s%s %d", depth * 2, "", node["type"].get<std::string>().c_str(),
                    node["id"].get<int>());
        if (!node["data"].is_null())
            std::printf("  %s", node["data"].get<std::string>().c_str());
        std::printf("\n");
        printTree(node["children"], depth + 1);
    }
}

void showSettings(const ShowOptions& options) {
    if (options.file.empty() == options.presets.empty())
        throw usageFailure("settings show", "wants a FILE or --presets with --id");
    const NSData settings =
        options.file.empty() ? settingsOfPreset(options) : readSettingsFile(options.file);
    const Json tree = atomTree(settings.bytes());
    if (options.json)
        printJson(tree);
    else
        printTree(tree, 0);
}

const CommandRegistration registration("settings", [](CLI::App& program) {
    CLI::App* command = addCommand(program, "settings", "Makes and shows exporters' settings",
                                   "twqt settings show --presets Examples/Presets.qecs --id h264");
    command->require_subcommand(1);

    CLI::App* make = addCommand(*command, "new", "Makes a settings file",
                                "twqt settings new --exporter mpg4 --quality 0.7 -o web.settings");
    auto making = std::make_shared<NewOptions>();
    addExporterSettingsOptions(*make, making->settings);
    make->add_option("-o", making->output, "the file to make")->required();
    addForceFlag(*make, making->force);
    make->callback([making] { makeSettings(*making); });

    CLI::App* show = addCommand(*command, "show", "Dumps the atoms of settings",
                                "twqt settings show --presets Examples/Presets.qecs --id h264");
    auto showing = std::make_shared<ShowOptions>();
    show->add_option("FILE", showing->file, "a settings file");
    show->add_option("--presets", showing->presets, "a preset file");
    show->add_option("--id", showing->id, "identifier of the preset in it");
    addJsonFlag(*show, showing->json);
    show->callback([showing] { showSettings(*showing); });
});

}  // namespace
}  // namespace twqt
