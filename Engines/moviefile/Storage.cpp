#include "Engines/moviefile/Storage.h"

#include <string>

namespace TWQuickTime::moviefile {

result::Status Storage::writeUncached(std::uint64_t offset, std::span<const std::byte> bytes) {
    return write(offset, bytes);
}

void Storage::beginWriteBack(std::uint64_t, std::uint64_t) {}

result::Status Storage::readExactly(std::uint64_t offset, std::span<std::byte> into) const {
    result::Expected<std::size_t> count = read(offset, into);
    if (!count)
        return count.failure();
    if (*count < into.size())
        return result::Failure{result::FailureKind::truncated,
                               name() + " @ " + std::to_string(offset) + ": " +
                                   std::to_string(into.size() - *count) + " bytes missing"};
    return {};
}

}  // namespace TWQuickTime::moviefile
