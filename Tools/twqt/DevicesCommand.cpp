// `twqt devices`: what there is to record from.
#include "CaptureSession.h"
#include "Command.h"
#include "JsonOutput.h"
#include "TextTable.h"

namespace twqt {
namespace {

using namespace TWQuickTime;

struct DevicesOptions {
    bool video = false;
    bool audio = false;
    bool includeUnavailable = false;
    bool testPattern = false;
    bool json = false;
};

void run(const DevicesOptions& options) {
    CaptureSession session(options.testPattern);
    const bool both = !options.video && !options.audio;
    Json list = Json::array();
    TextTable table({{"Kind"}, {"Device"}, {"Input", TextTable::Align::right}, {"Name"}, {"Used"}});
    const auto add = [&](OSType mediaType, const char* kind) {
        const SGChannel channel = session.addChannel(mediaType);
        for (const PropertyListValue& value : session.inputs(channel, options.includeUnavailable)) {
            const NSDictionary input = value.dictionaryValue();
            list.push_back(jsonFromPropertyList(value));
            table.addRow({kind, input.objectForKey("Device Name").stringValue().utf8(),
                          std::to_string(input.objectForKey("Device Index").intValue()),
                          input.objectForKey("Device Input Name").stringValue().utf8(),
                          input.objectForKey("Device Selected").boolValue() ? "yes" : ""});
        }
    };
    if (options.video || both)
        add(SGVideoMediaType, "video");
    if (options.audio || both)
        add(SGSoundMediaType, "audio");
    if (options.json)
        printJson(list);
    else
        table.print();
}

const CommandRegistration registration("devices", [](CLI::App& program) {
    CLI::App* command = addCommand(program, "devices", "Capture devices and their inputs",
                                   "twqt devices --test-pattern");
    auto options = std::make_shared<DevicesOptions>();
    command->add_flag("--video", options->video, "devices for pictures only");
    command->add_flag("--audio", options->audio, "devices for sound only");
    command->add_flag("--include-unavailable", options->includeUnavailable,
                      "also devices that are in use elsewhere");
    addTestPatternFlag(*command, options->testPattern);
    addJsonFlag(*command, options->json);
    command->callback([options] { run(*options); });
});

}  // namespace
}  // namespace twqt
