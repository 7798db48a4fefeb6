// Any bytes as the settings of every exporter.
//
// Properties: nothing is read outside the bytes; what is accepted can be completed, and the
// complete container says the same to the same exporter; what it says is within the ranges that
// encoders are given.
#include <cstdint>
#include <cstdlib>

#include "Engines/transcode/SettingsContainer.h"

using namespace TWQuickTime::transcode;

namespace {

void require(bool condition) {
    if (!condition)
        std::abort();
}

bool same(const ExportSettings& a, const ExportSettings& b) {
    if (a.video.has_value() != b.video.has_value() || a.sound.has_value() != b.sound.has_value())
        return false;
    if (a.video && (a.video->codec != b.video->codec || a.video->depth != b.video->depth ||
                    a.video->frameRate != b.video->frameRate || a.video->width != b.video->width))
        return false;
    return !a.sound ||
           (a.sound->codec == b.sound->codec && a.sound->sampleRate == b.sound->sampleRate);
}

void requireRanges(const ExportSettings& settings) {
    if (settings.video) {
        require(settings.video->spatialQuality >= 0 && settings.video->spatialQuality <= 1024);
        require(settings.video->temporalQuality >= 0 && settings.video->temporalQuality <= 1024);
        require(settings.video->frameRate >= 0 && settings.video->keyFrameEvery >= 0);
        require(settings.video->width >= 0 && settings.video->width <= 32767);
        require(settings.video->bytesPerSecond >= 0);
    }
    if (settings.sound) {
        require(settings.sound->channels >= 0 && settings.sound->channels <= 64);
        require(settings.sound->sampleRate >= 0 && settings.sound->sampleRate < 65536);
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::span<const std::byte> bytes(reinterpret_cast<const std::byte*>(data), size);
    for (const ExporterFamily& family : exporterFamilies()) {
        const ExportSettings defaults = defaultSettings(family);
        const auto settings = settingsIn(bytes, family, defaults);
        if (!settings)
            continue;
        requireRanges(*settings);
        const auto complete = completedContainer(bytes, *settings);
        if (!complete || saysNothing(bytes))
            continue;
        const auto again = settingsIn(*complete, family, defaults);
        require(again.ok());
        require(same(*settings, *again));
    }
    return 0;
}
