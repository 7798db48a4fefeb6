// `twqt devices`: what there is to record from.
#include <SGDeviceWatch.h>
#include <poll.h>

#include <cerrno>
#include <iostream>

#include "CaptureSession.h"
#include "Command.h"
#include "CommandFailure.h"
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
    bool watch = false;
    bool json = false;
};

/// Hubs bring several devices at once, and a device several nodes: they are listed together.
constexpr int kQuietTimeInMilliseconds = 300;

void list(const DevicesOptions& options) {
    CaptureSession session(options.testPattern);
    const bool both = !options.video && !options.audio;
    Json inputs = Json::array();
    TextTable table({{"Kind"}, {"Device"}, {"Input", TextTable::Align::right}, {"Name"}, {"Used"}});
    const auto add = [&](OSType mediaType, const char* kind) {
        const SGChannel channel = session.addChannel(mediaType);
        for (const PropertyListValue& value : session.inputs(channel, options.includeUnavailable)) {
            const NSDictionary input = value.dictionaryValue();
            inputs.push_back(jsonFromPropertyList(value));
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
        printJson(inputs);
    else
        table.print();
}

/// Returns when a device has come or gone and no more do.
void waitForChange(SGDeviceWatch& watch) {
    pollfd waiting{watch.descriptor(), POLLIN, 0};
    do {
        while (poll(&waiting, 1, -1) < 0 && errno == EINTR) {
        }
    } while (!watch.takeChanges());
    while (poll(&waiting, 1, kQuietTimeInMilliseconds) > 0 && watch.takeChanges()) {
    }
}

void run(const DevicesOptions& options) {
    if (!options.watch)
        return list(options);
    // Begun before the list is made, so that nothing comes unnoticed between.
    SGDeviceWatch watch;
    if (const OSErr status = watch.status(); status != noErr)
        throw failureWithStatus("watch the devices", status);
    for (;;) {
        list(options);
        std::cout << std::endl;
        waitForChange(watch);
    }
}

const CommandRegistration registration("devices", [](CLI::App& program) {
    CLI::App* command = addCommand(program, "devices", "Capture devices and their inputs",
                                   "twqt devices --test-pattern");
    auto options = std::make_shared<DevicesOptions>();
    command->add_flag("--video", options->video, "devices for pictures only");
    command->add_flag("--audio", options->audio, "devices for sound only");
    command->add_flag("--include-unavailable", options->includeUnavailable,
                      "also devices that are in use elsewhere");
    command->add_flag("--watch", options->watch,
                      "list again whenever a device comes or goes, until interrupted");
    addTestPatternFlag(*command, options->testPattern);
    addJsonFlag(*command, options->json);
    command->callback([options] { run(*options); });
});

}  // namespace
}  // namespace twqt
