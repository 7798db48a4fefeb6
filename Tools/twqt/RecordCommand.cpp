// `twqt record`: records from capture devices into a movie.
#include <StDataRef.h>
#include <TWUSequenceGrabber.h>
#include <poll.h>

#include <filesystem>
#include <memory>
#include <optional>

#include "CaptureSession.h"
#include "Command.h"
#include "CommandFailure.h"
#include "Interrupt.h"
#include "OutputFile.h"
#include "ProgressDisplay.h"
#include "TimeArgument.h"

namespace twqt {
namespace {

using namespace TWQuickTime;

struct RecordOptions {
    std::string device;
    std::string soundDevice;
    std::optional<int> input;
    std::optional<TimeArgument> duration;
    std::string output;
    bool testPattern = false;
    bool force = false;
    ProgressStyle progress = ProgressStyle::automatic;
};

bool isNamed(const NSDictionary& input, const std::string& name) {
    const auto has = [&](const char* key) {
        return input.objectForKey(key).stringValue() == NSString(name);
    };
    return has("Device Name") || has("Device Name Unique") || has("Device Identity");
}

/// The input of the device to record: the numbered one, else the one that is selected, else the
/// first; nil when the channel has no such device.
NSDictionary findInput(const NSArray& inputs, const std::string& device,
                       const std::optional<int>& number) {
    NSDictionary found;
    for (const PropertyListValue& value : inputs) {
        const NSDictionary input = value.dictionaryValue();
        if (!isNamed(input, device))
            continue;
        const bool isWanted = number ? input.objectForKey("Device Index").intValue() == *number
                                     : input.objectForKey("Device Selected").boolValue();
        if (isWanted)
            return input;
        if (found.isNil() && !number)
            found = input;
    }
    return found;
}

/// Makes a channel for the device, if it is of that kind.
bool addDevice(CaptureSession& session, OSType mediaType, const std::string& device,
               const std::optional<int>& input) {
    const SGChannel channel = session.addChannel(mediaType);
    const NSDictionary found = findInput(session.inputs(channel, true), device, input);
    if (found.isNil()) {
        session.disposeChannel(channel);
        return false;
    }
    const OSErr status = TWUSequenceGrabber::switchChannel(channel, session.grabber(), found);
    if (status != noErr)
        throw failureWithStatus("use " + device, status);
    return true;
}

void addDevices(CaptureSession& session, const RecordOptions& options) {
    const bool hasVideo = addDevice(session, SGVideoMediaType, options.device, options.input);
    bool hasSound = false;
    if (!options.soundDevice.empty()) {
        hasSound = addDevice(session, SGSoundMediaType, options.soundDevice, std::nullopt);
        if (!hasSound)
            throw failureWithStatus("record from " + options.soundDevice, noDeviceForChannel);
    } else {
        // A number means an input of the pictures where the device has both.
        hasSound = addDevice(session, SGSoundMediaType, options.device,
                             hasVideo ? std::nullopt : options.input);
    }
    if (!hasVideo && (!hasSound || !options.soundDevice.empty()))
        throw failureWithStatus("record from " + options.device, noDeviceForChannel);
}

/// Returns when the time is over, the user stops it, or a device or the disk gives up.
ComponentResult recordUntilDone(const CaptureSession& session, const RecordOptions& options,
                                const Interrupt& interrupt) {
    constexpr int kMillisecondsBetweenLooks = 20;
    const double wanted = options.duration ? options.duration->seconds : 0;
    ProgressDisplay progress(options.duration ? options.progress : ProgressStyle::none, wanted);
    progress.show(ProgressDisplay::open, 0);
    ComponentResult status = noErr;
    while (status == noErr && !interrupt.requested() &&
           (!options.duration || progress.elapsedSeconds() < wanted)) {
        if (wanted > 0)
            progress.show(ProgressDisplay::update, progress.elapsedSeconds() / wanted);
        poll(nullptr, 0, kMillisecondsBetweenLooks);
        status = SGIdle(session.grabber());
    }
    progress.show(ProgressDisplay::close, 1);
    return status;
}

void run(const RecordOptions& options) {
    CaptureSession session(options.testPattern);
    addDevices(session, options);
    requireFreeOutput(options.output, options.force);
    const StDataRef file(NSString(std::filesystem::absolute(options.output).string()));
    const std::string what = "record into " + options.output;
    ComponentResult status = SGSetDataRef(session.grabber(), file, file, seqGrabToDisk);
    const Interrupt interrupt;
    if (status == noErr)
        status = SGStartRecord(session.grabber());
    if (status != noErr)
        throw failureWithStatus(what, status);
    status = recordUntilDone(session, options, interrupt);
    const ComponentResult stopped = SGStop(session.grabber());
    if (status != noErr || stopped != noErr)
        throw failureWithStatus(what, status != noErr ? status : stopped);
    if (interrupt.requested())
        throw interruptedFailure(what);
}

const CommandRegistration registration("record", [](CLI::App& program) {
    CLI::App* command =
        addCommand(program, "record", "Record from a capture device into a movie",
                   "twqt record --test-pattern --device \"Test Pattern\" --for 1 pattern.mov");
    auto options = std::make_shared<RecordOptions>();
    command
        ->add_option("--device", options->device,
                     "the device by name or identity (see twqt devices); one that has both is "
                     "recorded with picture and sound")
        ->required();
    command->add_option("--sound-device", options->soundDevice, "take the sound from this device");
    command->add_option("--input", options->input, "number of the device's input");
    addTimeOption(*command, "--for", options->duration,
                  "stop after so much time; else Ctrl-C ends the recording");
    command->add_option("OUTPUT", options->output, "the movie to make")->required();
    addTestPatternFlag(*command, options->testPattern);
    addForceFlag(*command, options->force);
    addProgressOption(*command, options->progress);
    command->callback([options] { run(*options); });
});

}  // namespace
}  // namespace twqt
