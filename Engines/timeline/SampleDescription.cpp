#include "Engines/timeline/SampleDescription.h"

namespace TWQuickTime::timeline {
namespace {

constexpr std::size_t kFormatOffset = 4;
constexpr std::size_t kDataReferenceIndexOffset = 14;

std::uint32_t byteAt(const SharedBytes& bytes, std::size_t offset) {
    return static_cast<std::uint32_t>(bytes.span()[offset]);
}

}  // namespace

FourCharCode SampleDescription::format() const {
    if (!isComplete())
        return 0;
    FourCharCode code = 0;
    for (std::size_t i = 0; i < 4; ++i)
        code = code << 8 | byteAt(bytes_, kFormatOffset + i);
    return code;
}

std::uint16_t SampleDescription::dataReferenceIndex() const {
    if (!isComplete())
        return 0;
    return static_cast<std::uint16_t>(byteAt(bytes_, kDataReferenceIndexOffset) << 8 |
                                      byteAt(bytes_, kDataReferenceIndexOffset + 1));
}

void SampleDescription::setFormat(FourCharCode format) {
    if (!isComplete())
        return;
    std::vector<std::byte> changed(bytes_.span().begin(), bytes_.span().end());
    for (std::size_t i = 0; i < 4; ++i)
        changed[kFormatOffset + i] = static_cast<std::byte>(format >> (24 - 8 * i));
    bytes_ = SharedBytes::adopt(std::move(changed));
}

void SampleDescription::setDataReferenceIndex(std::uint16_t index) {
    if (!isComplete())
        return;
    std::vector<std::byte> changed(bytes_.span().begin(), bytes_.span().end());
    changed[kDataReferenceIndexOffset] = static_cast<std::byte>(index >> 8);
    changed[kDataReferenceIndexOffset + 1] = static_cast<std::byte>(index);
    bytes_ = SharedBytes::adopt(std::move(changed));
}

}  // namespace TWQuickTime::timeline
