// The instance behind a media's handler.
#pragma once

#include "Private/ComponentRegistry.h"
#include "Private/MovieRecord.h"

namespace TWQuickTime {

/// Knows its media for as long as the media lives, which closes it.
class MediaHandlerStorage final : public ComponentStorage {
  public:
    MediaRecord* media = nullptr;
};

/// The media of a handler instance; null for what is no open handler of a media.
inline MediaRecord* mediaOfHandler(MediaHandler handler) {
    auto* storage = componentStorageAs<MediaHandlerStorage>(handler);
    return storage ? storage->media : nullptr;
}

/// Whether there is a handler for media of that type.
bool hasMediaHandler(OSType mediaType);

/// The open handler of a media, opened now when nobody asked for it before; null when there is no
/// component for its type.
MediaHandler handlerOfMedia(MediaRecord& record);

}  // namespace TWQuickTime
