#include "Engines/moviefile/FreeSpace.h"

#include <algorithm>
#include <array>
#include <limits>
#include <vector>

#include "Engines/moviefile/AtomTypes.h"
#include "Engines/moviefile/BigEndian.h"

namespace TWQuickTime::moviefile {
namespace {

using result::Status;

// Hostile files could hold a million free atoms; real ones a handful.
constexpr std::size_t greatestStartsTried = 256;

bool isUsable(const OuterAtom& atom, std::span<const ByteRange> untouchable) {
    if ((atom.type != typeFree && atom.type != typeSkip) || !atom.whole || atom.toEndOfFile ||
        atom.headerSizeInBytes != 8)
        return false;
    return std::none_of(untouchable.begin(), untouchable.end(), [&](const ByteRange& range) {
        return range.offset < atom.end() && atom.offset < range.end();
    });
}

/// A free atom and the free atoms right behind it; offsets relative to the first.
struct FreeRun {
    std::uint64_t offset = 0;
    std::uint64_t firstSize = 0;
    std::uint64_t total = 0;
    std::vector<std::uint64_t> headers;  ///< of the atoms behind the first, ascending

    bool headerAt(std::uint64_t place) const {
        // Two headers of eight bytes overlap when they begin less than eight bytes apart.
        const auto after = std::lower_bound(headers.begin(), headers.end(), place);
        return (after != headers.end() && *after < place + 8) ||
               (after != headers.begin() && place < *std::prev(after) + 8);
    }
};

/// The division that leaves the largest free atom over.
std::optional<FreePlace> divide(const FreeRun& run, std::uint64_t wanted) {
    std::optional<FreePlace> best;
    std::uint64_t bestLeft = 0;
    for (unsigned shift = 0; shift < 32; shift += 8) {
        const std::uint64_t others = run.firstSize & ~(std::uint64_t{0xff} << shift);
        for (std::uint64_t digit = 0; digit < 256; ++digit) {
            const std::uint64_t first = others | digit << shift;
            if (first == run.firstSize || first < 8 || first > run.total ||
                run.total - first < wanted)
                continue;
            const std::uint64_t rest = run.total - first - wanted;
            if ((rest != 0 && rest < 8) || run.headerAt(first) ||
                (rest != 0 && run.headerAt(first + wanted)))
                continue;
            if (best && std::max(first, rest) <= bestLeft)
                continue;
            bestLeft = std::max(first, rest);
            best =
                FreePlace{run.offset + first, wanted, FreePlace::Division{run.offset, first, rest}};
        }
    }
    return best;
}

FreeRun runFrom(std::span<const OuterAtom> atoms, std::span<const ByteRange> untouchable) {
    FreeRun run{atoms.front().offset, atoms.front().sizeInBytes, atoms.front().sizeInBytes, {}};
    for (const OuterAtom& atom : atoms.subspan(1)) {
        if (!isUsable(atom, untouchable) ||
            run.total + atom.sizeInBytes > std::numeric_limits<std::uint32_t>::max())
            break;
        run.headers.push_back(run.total);
        run.total += atom.sizeInBytes;
    }
    return run;
}

}  // namespace

std::optional<FreePlace> findFreePlace(const FileSurvey& survey, std::uint64_t sizeInBytes,
                                       std::span<const ByteRange> untouchable) {
    for (const OuterAtom& atom : survey.atoms)
        if (atom.sizeInBytes == sizeInBytes && isUsable(atom, untouchable))
            return FreePlace{atom.offset, sizeInBytes, std::nullopt};
    std::size_t tried = 0;
    for (std::size_t i = 0; i < survey.atoms.size() && tried < greatestStartsTried; ++i) {
        if (!isUsable(survey.atoms[i], untouchable))
            continue;
        ++tried;
        const FreeRun run = runFrom(std::span(survey.atoms).subspan(i), untouchable);
        if (std::optional<FreePlace> place = divide(run, sizeInBytes))
            return place;
    }
    return std::nullopt;
}

Status makeFreePlace(Storage& storage, const FreePlace& place) {
    if (!place.division)
        return {};
    const auto layHeader = [&](std::uint64_t offset, std::uint64_t size) {
        std::array<std::byte, 8> header;
        storeU32(std::span(header).first<4>(), static_cast<std::uint32_t>(size));
        storeU32(std::span(header).last<4>(), typeFree);
        return storage.write(offset, header);
    };
    if (Status laid = layHeader(place.offset, place.sizeInBytes); !laid)
        return laid;
    if (place.division->restSizeInBytes != 0) {
        if (Status laid =
                layHeader(place.offset + place.sizeInBytes, place.division->restSizeInBytes);
            !laid)
            return laid;
    }
    if (Status synced = storage.sync(); !synced)
        return synced;
    std::array<std::byte, 4> size;
    storeU32(size, static_cast<std::uint32_t>(place.division->firstSizeInBytes));
    if (Status switched = storage.write(place.division->firstOffset, size); !switched)
        return switched;
    return storage.sync();
}

}  // namespace TWQuickTime::moviefile
