// `twqt codecs`: the codec types, and which of them this machine can decode and encode.
#include <Components.h>

#include <map>

#include "Command.h"
#include "ComponentName.h"
#include "FourCharCodeText.h"
#include "JsonOutput.h"
#include "TextTable.h"

namespace twqt {
namespace {

using namespace TWQuickTime;

struct CodecRow {
    std::string name;
    bool video = false;
    bool decodes = false;
    bool encodes = false;
};

/// Marks the types of all components of a kind.
void collect(OSType componentType, bool video, bool CodecRow::*mark,
             std::map<std::pair<bool, OSType>, CodecRow>& rows) {
    const ComponentDescription wanted{.componentType = componentType};
    for (Component c = FindNextComponent(nullptr, &wanted); c; c = FindNextComponent(c, &wanted)) {
        ComponentDescription found;
        if (GetComponentInfo(c, &found, nullptr, nullptr, nullptr) != noErr)
            continue;
        CodecRow& row = rows[{!video, found.componentSubType}];
        row.name = componentName(c);
        row.video = video;
        row.*mark = true;
    }
}

void run(bool json) {
    std::map<std::pair<bool, OSType>, CodecRow> rows;
    collect(decompressorComponentType, true, &CodecRow::decodes, rows);
    collect(compressorComponentType, true, &CodecRow::encodes, rows);
    collect(kSoundDecompressor, false, &CodecRow::decodes, rows);
    collect(kSoundCompressor, false, &CodecRow::encodes, rows);
    Json list = Json::array();
    TextTable table({{"Type"}, {"Name"}, {"Kind"}, {"Decodes"}, {"Encodes"}});
    for (const auto& [key, row] : rows) {
        const std::string type = fourCharCodeText(key.second);
        const std::string kind = row.video ? "video" : "sound";
        list.push_back({{"type", type},
                        {"name", row.name},
                        {"kind", kind},
                        {"decodes", row.decodes},
                        {"encodes", row.encodes}});
        table.addRow(
            {type, row.name, kind, row.decodes ? "yes" : "no", row.encodes ? "yes" : "no"});
    }
    if (json)
        printJson(list);
    else
        table.print();
}

const CommandRegistration registration("codecs", [](CLI::App& program) {
    CLI::App* command = addCommand(program, "codecs",
                                   "Codecs, and what this machine does with them", "twqt codecs");
    auto json = std::make_shared<bool>(false);
    addJsonFlag(*command, *json);
    command->callback([json] { run(*json); });
});

}  // namespace
}  // namespace twqt
