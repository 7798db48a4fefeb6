// `twqt settings`: makes settings files for exporters, and shows what is in one.
#include <AtomContainers.h>
#include <Handles.h>
#include <MovieExport.h>
#include <MovieExportDialog.h>
#include <TWQECSReader.h>
#include <TWQECSSetting.h>

#include <cmath>
#include <cstdio>
#include <fstream>
#include <iterator>

#include "Command.h"
#include "CommandFailure.h"
#include "ExporterSettings.h"
#include "FourCharCodeText.h"
#include "JsonOutput.h"
#include "OutputFile.h"

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

std::vector<char> bytesOfPreset(const ShowOptions& options) {
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
    const auto* bytes = reinterpret_cast<const char*>(data.bytes().data());
    return {bytes, bytes + data.length()};
}

std::vector<char> bytesOfFile(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    if (!file)
        throw failureWithStatus("open " + path, fnfErr);
    return {std::istreambuf_iterator<char>(file), {}};
}

std::string hexOf(const char* data, std::int32_t size) {
    std::string text;
    char pair[3];
    for (std::int32_t i = 0; i < size; ++i) {
        std::snprintf(pair, sizeof pair, "%02x", static_cast<unsigned char>(data[i]));
        text += pair;
    }
    return text;
}

/// The children of an atom as a tree; hostile nesting ends in a failure.
Json treeOf(QTAtomContainer container, QTAtom parent, int depth) {
    if (depth > 32)
        throw failureWithStatus("settings", invalidAtomContainerErr);
    Json children = Json::array();
    QTAtom child = 0;
    while (QTNextChildAnyType(container, parent, child, &child) == noErr && child != 0) {
        QTAtomType type = 0;
        QTAtomID id = 0;
        QTGetAtomTypeAndID(container, child, &type, &id);
        Json node = {{"type", fourCharCodeText(type)}, {"id", id}, {"data", nullptr}};
        std::int32_t size = 0;
        Ptr data = nullptr;
        const bool isLeaf = QTGetAtomDataPtr(container, child, &size, &data) == noErr;
        if (isLeaf)
            node["data"] = hexOf(data, size);
        node["children"] = isLeaf ? Json::array() : treeOf(container, child, depth + 1);
        children.push_back(std::move(node));
    }
    if (GetMoviesError() != noErr)
        throw failureWithStatus("settings", GetMoviesError());
    return children;
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
    const std::vector<char> bytes =
        options.file.empty() ? bytesOfPreset(options) : bytesOfFile(options.file);
    Handle container = nullptr;
    if (PtrToHand(bytes.data(), &container, Size(bytes.size())) != noErr)
        throw failureWithStatus("settings", memFullErr);
    struct Disposer {
        Handle handle;
        ~Disposer() { DisposeHandle(handle); }
    } const disposer{container};
    const Json tree = treeOf(container, kParentAtomIsContainer, 0);
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
