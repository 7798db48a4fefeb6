#include "ExporterSettings.h"

#include <Handles.h>
#include <MovieExport.h>
#include <MovieExportDialog.h>

#include <cmath>
#include <cstring>

#include "CommandFailure.h"
#include "FourCharCodeText.h"
#include "ReadableFile.h"

namespace twqt {

using namespace TWQuickTime;

namespace {

/// An open exporter and the containers that come from it.
class OpenExporter {
  public:
    explicit OpenExporter(OSType subtype)
        : subtype_(subtype), instance_(OpenDefaultComponent(MovieExportType, subtype)) {
        if (!instance_)
            throw CommandFailure("exporter " + fourCharCodeText(subtype), "not installed (-2005)");
    }
    ~OpenExporter() { CloseComponent(instance_); }
    OpenExporter(const OpenExporter&) = delete;
    OpenExporter& operator=(const OpenExporter&) = delete;

    std::vector<std::byte> settings() const {
        QTAtomContainer container = nullptr;
        const ComponentResult status = MovieExportGetSettingsAsAtomContainer(instance_, &container);
        if (status != noErr)
            throw failureWithStatus("settings of " + fourCharCodeText(subtype_), status);
        std::vector<std::byte> bytes(std::size_t(GetHandleSize(container)));
        std::memcpy(bytes.data(), *container, bytes.size());
        DisposeHandle(container);
        return bytes;
    }

    void take(const std::vector<std::byte>& bytes) const {
        Handle container = nullptr;
        OSErr status = PtrToHand(bytes.data(), &container, Size(bytes.size()));
        if (status == noErr) {
            status =
                static_cast<OSErr>(MovieExportSetSettingsFromAtomContainer(instance_, container));
            DisposeHandle(container);
        }
        if (status != noErr)
            throw failureWithStatus("settings for " + fourCharCodeText(subtype_), status);
    }

  private:
    OSType subtype_;
    ComponentInstance instance_;
};

std::string textOf(double value) {
    char text[40];
    std::snprintf(text, sizeof text, "%.10g", value);
    return text;
}

void set(MovieExportDialog& dialog, const std::string& key, const std::string& value,
         const std::string& option) {
    if (!dialog.setValue(key, value))
        throw usageFailure(option, "this exporter cannot take " + value);
}

}  // namespace

void addExporterSettingsOptions(CLI::App& command, ExporterSettingsOptions& options) {
    addFourCharCodeOption(command, "--exporter", options.exporter, "subtype, as MooV")->required();
    addFourCharCodeOption(command, "--video-codec", options.videoCodec, "as avc1");
    command.add_option("--quality", options.quality, "0 to 1")->check(CLI::Range(0.0, 1.0));
    command.add_option("--data-rate", options.dataRate, "bytes per second");
    command.add_option("--key-frame-every", options.keyFrameEvery, "frames");
    addSizeOption(command, "--size", options.size, "of the pictures, as 640x360");
    command.add_option("--frame-rate", options.frameRate, "frames per second")
        ->check(CLI::Range(0.0, 32767.0));
    command.add_flag("--no-video", options.noVideo, "write no pictures");
    addFourCharCodeOption(command, "--audio-codec", options.audioCodec, "as mp4a");
    command.add_option("--sample-rate", options.sampleRate, "hertz")
        ->check(CLI::Range(0.0, 65535.0));
    command.add_option("--channels", options.channels, "of sound")->check(CLI::Range(0, 64));
    command.add_option("--sample-size", options.sampleSize, "bits of a sound sample");
    command.add_flag("--no-audio", options.noAudio, "write no sound");
    command.add_flag("--fast-start", options.fastStart, "put the movie atom in front of the data");
}

std::vector<std::byte> makeExporterSettings(const ExporterSettingsOptions& options) {
    const OpenExporter exporter(*options.exporter);
    MovieExportDialog dialog(fourCharCodeText(*options.exporter), exporter.settings());
    if (options.videoCodec)
        set(dialog, "videoCodec", fourCharCodeText(*options.videoCodec), "--video-codec");
    if (options.quality) {
        const long quality = *options.quality >= 1.0 ? 1024 : std::lround(*options.quality * 1023);
        set(dialog, "spatialQuality", std::to_string(quality), "--quality");
    }
    if (options.dataRate)
        set(dialog, "dataRate", std::to_string(*options.dataRate), "--data-rate");
    if (options.keyFrameEvery)
        set(dialog, "keyFrameEvery", std::to_string(*options.keyFrameEvery), "--key-frame-every");
    if (options.size) {
        set(dialog, "width", std::to_string(options.size->widthInPixels), "--size");
        set(dialog, "height", std::to_string(options.size->heightInPixels), "--size");
    }
    if (options.frameRate)
        set(dialog, "frameRate", textOf(*options.frameRate), "--frame-rate");
    if (options.noVideo)
        set(dialog, "video", "no", "--no-video");
    if (options.audioCodec)
        set(dialog, "soundCodec", fourCharCodeText(*options.audioCodec), "--audio-codec");
    if (options.sampleRate)
        set(dialog, "sampleRate", textOf(*options.sampleRate), "--sample-rate");
    if (options.channels)
        set(dialog, "channels", std::to_string(*options.channels), "--channels");
    if (options.sampleSize)
        set(dialog, "sampleSize", std::to_string(*options.sampleSize), "--sample-size");
    if (options.noAudio)
        set(dialog, "sound", "no", "--no-audio");
    if (options.fastStart)
        set(dialog, "movieInFront", "yes", "--fast-start");
    exporter.take(dialog.settings());
    return exporter.settings();
}

bool changesAnything(const ExporterSettingsOptions& options) {
    return options.videoCodec || options.quality || options.dataRate || options.keyFrameEvery ||
           options.size || options.frameRate || options.noVideo || options.audioCodec ||
           options.sampleRate || options.channels || options.sampleSize || options.noAudio ||
           options.fastStart;
}

NSData readSettingsFile(const std::string& path) {
    requireReadableFile("read settings", path);
    const NSData settings = NSData::dataWithContentsOfFile(NSString(path));
    if (!settings)
        throw failureWithStatus("read settings " + path, ioErr);
    return settings;
}

}  // namespace twqt
