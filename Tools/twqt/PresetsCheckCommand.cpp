// `twqt presets check`: every fault of a preset file, with its place.
#include <NSData.h>
#include <PropertyList.h>

#include <cstdio>
#include <memory>
#include <string>

#include "Command.h"
#include "CommandFailure.h"
#include "JsonOutput.h"
#include "MovieArgument.h"
#include "PresetCommands.h"
#include "PresetFileCheck.h"
#include "ReadableFile.h"
#include "TextTable.h"
#include "ToolboxTypes.h"

namespace twqt {
namespace {

using namespace TWQuickTime;

struct CheckOptions {
    std::string file;
    bool json = false;
};

void run(const CheckOptions& options) {
    const QuietLog quiet;
    requireReadableFile("check presets", options.file);
    const auto faults = faultsOfPresets(
        propertyListFromData(NSData::dataWithContentsOfFile(NSString(options.file))));
    if (options.json) {
        Json list = Json::array();
        for (const PresetFault& fault : faults)
            list.push_back({{"path", fault.path}, {"problem", fault.problem}});
        printJson(list);
    } else if (faults.empty()) {
        std::printf("%s: no faults\n", options.file.c_str());
    } else {
        TextTable table({{"Path"}, {"Problem"}});
        for (const PresetFault& fault : faults)
            table.addRow({fault.path, fault.problem});
        table.print();
    }
    if (!faults.empty())
        throw CommandFailure("check presets " + options.file,
                             std::to_string(faults.size()) +
                                 (faults.size() == 1 ? " fault (" : " faults (") +
                                 std::to_string(paramErr) + ")");
}

}  // namespace

void addPresetsCheckCommand(CLI::App& presets) {
    CLI::App* command = addCommand(presets, "check", "Tells every fault of a preset file",
                                   "twqt presets check mine.qecs");
    auto options = std::make_shared<CheckOptions>();
    command->add_option("FILE", options->file, "the preset file")->required();
    addJsonFlag(*command, options->json);
    command->callback([options] { run(*options); });
}

}  // namespace twqt
