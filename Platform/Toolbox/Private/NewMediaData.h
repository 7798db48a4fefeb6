// Sample descriptions in handles, and the data references of media that samples are added to.
#pragma once

#include <optional>
#include <span>

#include "Private/MovieRecord.h"
#include "ToolboxTypes.h"

namespace TWQuickTime {

/// Makes a handle hold just these bytes.
OSErr copyIntoHandle(std::span<const std::byte> bytes, Handle handle);

/// The description that a handle holds; a format of 0 becomes the media's type. None when the
/// handle is none or the size that it states is not there.
std::optional<timeline::SampleDescription> sampleDescriptionOfHandle(Handle handle,
                                                                     OSType mediaType);

/// Adds a reference to the file that a data reference names.
OSErr addFileReference(timeline::Media& media, Handle dataRef, OSType dataRefType);

/// Where new samples of a media go.
struct NewMediaData {
    std::uint16_t referenceIndex = 0;  ///< from 1
    timeline::SampleStore* store = nullptr;
};

/// The reference to the movie's own storage or, without one, to its memory; added when the media
/// has none. None when the storage may not be written.
std::optional<NewMediaData> newMediaData(MediaRecord& record);

}  // namespace TWQuickTime
