#include "Engines/moviefile/AtomSink.h"

#include <array>
#include <limits>

namespace TWQuickTime::moviefile {

using result::Failure;
using result::FailureKind;

AtomScope AtomSink::open(FourCharCode type, std::size_t headerSizeInBytes) {
    return AtomScope(*this, type, headerSizeInBytes);
}

void AtomSink::bytes(std::span<const std::byte> bytes) {
    if (out_)
        out_->insert(out_->end(), bytes.begin(), bytes.end());
    position_ += bytes.size();
}

void AtomSink::close(std::uint64_t start, FourCharCode type, std::size_t headerSizeInBytes) {
    const std::uint64_t size = position_ - start;
    if (size > std::numeric_limits<std::uint32_t>::max()) {
        fail({FailureKind::limit, "'" + timeline::textOf(type) + "' would pass 4 GiB"});
        return;
    }
    if (!out_)
        return;
    std::byte* header = out_->data() + start;
    const auto shortSize = static_cast<std::uint32_t>(size);
    storeBigEndian(header, headerSizeInBytes == 16 ? std::uint32_t{1} : shortSize);
    storeBigEndian(header + 4, type);
    if (headerSizeInBytes == 16)
        storeBigEndian(header + 8, size);
}

}  // namespace TWQuickTime::moviefile
