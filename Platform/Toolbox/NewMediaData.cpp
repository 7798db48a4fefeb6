#include "Private/NewMediaData.h"

#include <algorithm>

#include "Engines/moviefile/DataReferences.h"
#include "Private/BigEndianBytes.h"
#include "Private/DataReferencePath.h"
#include "Private/HandleBytes.h"
#include "Private/MemoryReferences.h"
#include "Private/MovieFileStorage.h"
#include "Private/StatusOfFailure.h"

namespace TWQuickTime {
namespace {

NewMediaData memoryData(MovieRecord& movie, timeline::Media& media) {
    if (!movie.memory)
        movie.memory = std::make_shared<timeline::MemorySampleStore>();
    auto& references = media.dataReferences;
    auto found = std::find_if(references.begin(), references.end(), [&](const auto& reference) {
        return reference.store == movie.memory;
    });
    if (found == references.end())
        found = references.insert(references.end(), makeMemoryReference(movie.memory));
    return {static_cast<std::uint16_t>(found - references.begin() + 1), movie.memory.get()};
}

NewMediaData storageData(MovieRecord& movie, timeline::Media& media) {
    auto& references = media.dataReferences;
    auto found = std::find_if(references.begin(), references.end(), [&](const auto& reference) {
        return reference.isSelf() &&
               (reference.store == movie.storage ||
                (reference.store &&
                 fileIdentityOf(reference.store->descriptor()) == movie.storage->identity()));
    });
    if (found == references.end())
        found = references.insert(references.end(), moviefile::makeSelfReference());
    found->store = movie.storage;
    return {static_cast<std::uint16_t>(found - references.begin() + 1), movie.storage.get()};
}

}  // namespace

OSErr copyIntoHandle(std::span<const std::byte> bytes, Handle handle) {
    if (!IsHandleValid(handle))
        return nilHandleErr;
    if (!resizeHandle(handle, bytes.size()))
        return memFullErr;
    std::copy(bytes.begin(), bytes.end(), handleBytes(handle).begin());
    return noErr;
}

std::optional<timeline::SampleDescription> sampleDescriptionOfHandle(Handle handle,
                                                                     OSType mediaType) {
    const std::span<const std::byte> bytes = handleBytes(handle);
    if (bytes.size() < timeline::kSampleDescriptionHeadInBytes)
        return std::nullopt;
    const std::uint32_t size = readBigEndian32(bytes, 0);
    if (size < timeline::kSampleDescriptionHeadInBytes || size > bytes.size())
        return std::nullopt;
    timeline::SampleDescription description(timeline::SharedBytes::copyOf(bytes.first(size)));
    if (description.format() == 0)
        description.setFormat(mediaType);
    return description;
}

OSErr addFileReference(timeline::Media& media, Handle dataRef, OSType dataRefType) {
    const NSString path = dataReferencePath(dataRef, dataRefType);
    if (!path)
        return invalidDataRef;
    timeline::DataReference reference = moviefile::makeFileReference(path.utf8());
    auto store = moviefile::openDataReference(reference, nullptr);
    if (!store)
        return statusOfFailure(store.failure());
    reference.store = *store;
    media.dataReferences.push_back(std::move(reference));
    return noErr;
}

std::optional<NewMediaData> newMediaData(MediaRecord& record) {
    MovieRecord& movie = *record.track->movie;
    if (!movie.storage)
        return memoryData(movie, *record.media);
    if (!movie.storage->writable())
        return std::nullopt;
    return storageData(movie, *record.media);
}

}  // namespace TWQuickTime
