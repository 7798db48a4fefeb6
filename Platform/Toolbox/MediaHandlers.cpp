#include <array>

#include "Private/ComponentTable.h"
#include "Private/MediaHandlerStorage.h"

namespace TWQuickTime {
namespace {

struct HandlerKind {
    OSType mediaType;
    const char* name;
    const char* info;
};

constexpr std::array kHandlers = {
    HandlerKind{VideoMediaType, "Video", "Pictures of video tracks"},
    HandlerKind{SoundMediaType, "Sound", "Sound of sound tracks"},
    HandlerKind{TextMediaType, "Text", "Text and chapters"},
    HandlerKind{fourCC("sbtl"), "Subtitle", "Subtitles"},
    HandlerKind{TimeCodeMediaType, "Time Code", "Timecode of timecode tracks"},
    HandlerKind{TweenMediaType, "Tween", "Values that change over time"},
    HandlerKind{fourCC("meta"), "Metadata", "Timed metadata"},
};

const ComponentProvider provider(ComponentRank::mediaHandlers, [] {
    for (const HandlerKind& kind : kHandlers)
        registerComponent({.description = {.componentType = MediaHandlerType,
                                           .componentSubType = kind.mediaType,
                                           .componentManufacturer = kAppleManufacturer,
                                           .componentFlags = cmpThreadSafe},
                           .name = kind.name,
                           .info = kind.info,
                           .open = [] { return std::make_unique<MediaHandlerStorage>(); }});
});

ComponentDescription handlerOfType(OSType mediaType) {
    return {.componentType = MediaHandlerType, .componentSubType = mediaType};
}

}  // namespace

bool hasMediaHandler(OSType mediaType) {
    return mediaType != 0 && findMatchingComponent(nullptr, handlerOfType(mediaType)) != nullptr;
}

MediaHandler handlerOfMedia(MediaRecord& record) {
    if (!record.handler) {
        if (const auto component =
                findMatchingComponent(nullptr, handlerOfType(record.media->type())))
            record.handler = openInstance(component);
    }
    if (auto* storage = componentStorageAs<MediaHandlerStorage>(record.handler))
        storage->media = &record;
    return record.handler;
}

}  // namespace TWQuickTime
