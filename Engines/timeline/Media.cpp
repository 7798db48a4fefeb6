#include "Engines/timeline/Media.h"

#include <algorithm>
#include <string>

namespace TWQuickTime::timeline {

using result::Expected;
using result::Failure;
using result::FailureKind;

std::int64_t Media::duration() const {
    return storedDuration >= 0 && !samples.columns().samplesChanged ? storedDuration
                                                                    : samples.duration();
}

const SampleDescription* Media::description(std::uint32_t index) const {
    return index >= 1 && index <= descriptions.size() ? &descriptions[index - 1] : nullptr;
}

const DataReference* Media::dataReferenceOfDescription(std::uint32_t descriptionIndex) const {
    const SampleDescription* found = description(descriptionIndex);
    if (!found)
        return nullptr;
    const std::uint32_t index = found->dataReferenceIndex();
    return index >= 1 && index <= dataReferences.size() ? &dataReferences[index - 1] : nullptr;
}

SampleStore* Media::storeOfDescription(std::uint32_t descriptionIndex) const {
    const DataReference* reference = dataReferenceOfDescription(descriptionIndex);
    return reference ? reference->store.get() : nullptr;
}

std::uint32_t Media::addDescription(const SampleDescription& description) {
    const auto known = std::find(descriptions.begin(), descriptions.end(), description);
    const auto index = static_cast<std::uint32_t>(known - descriptions.begin()) + 1;
    if (known == descriptions.end())
        descriptions.push_back(description);
    return index;
}

Expected<std::vector<std::byte>> Media::readSample(const Sample& sample) const {
    const SampleStore* store = storeOfDescription(sample.descriptionIndex);
    if (!store)
        return Failure{FailureKind::notFound, "the data of sample " + std::to_string(sample.index) +
                                                  " are in a place that is not known"};
    const std::uint64_t available = store->size();
    if (sample.offset > available || sample.sizeInBytes > available - sample.offset)
        return Failure{FailureKind::truncated, "sample " + std::to_string(sample.index) + " at " +
                                                   std::to_string(sample.offset) + " with " +
                                                   std::to_string(sample.sizeInBytes) +
                                                   " bytes passes the end of its data"};
    std::vector<std::byte> bytes(sample.sizeInBytes);
    if (const auto read = store->read(sample.offset, bytes); !read)
        return read.failure();
    return bytes;
}

std::unique_ptr<Media> makeMedia(FourCharCode type, std::uint32_t timeScale) {
    auto media = std::make_unique<Media>();
    media->handler.subtype = type;
    media->timeScale = timeScale;
    return media;
}

}  // namespace TWQuickTime::timeline
