#include "Engines/moviefile/ClipAtom.h"

#include <algorithm>
#include <vector>

#include "Engines/moviefile/Origins.h"

namespace TWQuickTime::moviefile {

using timeline::Region;
using timeline::RegionBounds;
using timeline::RegionRow;

namespace {

constexpr std::size_t kRectangleInBytes = 10;
/// Of all rows together; more is no shape that anyone drew.
constexpr std::size_t kMostEdges = 1u << 18;
/// Ends a row, and in the place of a row all rows.
constexpr std::int16_t kEnd = 0x7FFF;

std::optional<Region> clipIn(const AtomView& parent) {
    const auto clip = findChild(parent, fourCharCode("clip"));
    const auto region = clip ? findChild(*clip, fourCharCode("crgn")) : std::nullopt;
    return region ? readRegion(region->payload().span()) : std::nullopt;
}

/// The words of a region's rows, one after the other.
class Words {
  public:
    explicit Words(std::span<const std::byte> bytes) : bytes_(bytes) {}
    /// The end mark as well where there is no more.
    std::int16_t next() {
        if (bytes_.size() < 2) {
            isCut_ = true;
            return kEnd;
        }
        const auto word = loadBigEndian<std::int16_t>(bytes_.data());
        bytes_ = bytes_.subspan(2);
        return word;
    }
    bool isCut() const { return isCut_; }

  private:
    std::span<const std::byte> bytes_;
    bool isCut_ = false;
};

/// What stands in one of the two and not in both.
void toggle(std::vector<std::int16_t>& edges, std::int16_t edge) {
    const auto at = std::ranges::lower_bound(edges, edge);
    if (at != edges.end() && *at == edge) {
        edges.erase(at);
    } else {
        edges.insert(at, edge);
    }
}

}  // namespace

std::optional<Region> clipOf(const timeline::Track& track) {
    const auto* origin = dynamic_cast<const TrackOrigin*>(track.origin.get());
    return origin ? clipIn(origin->atom) : std::nullopt;
}

std::optional<Region> clipOf(const timeline::Movie& movie) {
    const auto* origin = dynamic_cast<const MovieOrigin*>(movie.origin.get());
    return origin ? clipIn(origin->atom) : std::nullopt;
}

std::optional<Region> readRegion(std::span<const std::byte> bytes) {
    if (bytes.size() < kRectangleInBytes) {
        return std::nullopt;
    }
    const std::size_t size = loadBigEndian<std::uint16_t>(bytes.data());
    const auto edgeAt = [bytes](std::size_t offset) {
        return loadBigEndian<std::int16_t>(bytes.data() + offset);
    };
    const RegionBounds bounds{
        .left = edgeAt(4), .top = edgeAt(2), .right = edgeAt(8), .bottom = edgeAt(6)};
    if (size == kRectangleInBytes) {
        return Region::ofRectangle(bounds);
    }
    if (size < kRectangleInBytes || size > bytes.size()) {
        return std::nullopt;
    }
    Words words(bytes.subspan(kRectangleInBytes, size - kRectangleInBytes));
    std::vector<RegionRow> rows;
    std::vector<std::int16_t> edges;
    std::size_t edgeCount = 0;
    for (std::int16_t top = words.next(); top != kEnd; top = words.next()) {
        if (!rows.empty() && top <= rows.back().top) {
            return std::nullopt;
        }
        for (std::int16_t edge = words.next(); edge != kEnd; edge = words.next()) {
            toggle(edges, edge);
        }
        edgeCount += edges.size();
        if (edgeCount > kMostEdges) {
            return std::nullopt;
        }
        rows.push_back({top, edges});
    }
    if (words.isCut() || rows.empty() || !edges.empty()) {
        return std::nullopt;
    }
    return Region::ofRows(bounds, std::move(rows));
}

}  // namespace TWQuickTime::moviefile
