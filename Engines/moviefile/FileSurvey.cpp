#include "Engines/moviefile/FileSurvey.h"

#include <algorithm>
#include <array>
#include <limits>
#include <string>

#include "Engines/moviefile/AtomTypes.h"
#include "Engines/moviefile/BigEndian.h"

namespace TWQuickTime::moviefile {
namespace {

using result::Expected;
using result::Failure;
using result::FailureKind;
using result::Status;

constexpr std::size_t greatestAtomCount = 1u << 20;
constexpr std::uint64_t greatestSmallSize = std::numeric_limits<std::uint32_t>::max();
// A free atom in front of a growing one is rewritten whole; more than this it never needs.
constexpr std::uint64_t greatestRoomInFront = 1u << 20;

std::array<std::byte, 4> sizeField(std::uint64_t sizeInBytes) {
    std::array<std::byte, 4> field;
    storeU32(field, static_cast<std::uint32_t>(sizeInBytes));
    return field;
}

std::array<std::byte, 8> smallHeader(std::uint64_t sizeInBytes, std::uint32_t type) {
    std::array<std::byte, 8> header;
    storeU32(std::span(header).first<4>(), static_cast<std::uint32_t>(sizeInBytes));
    storeU32(std::span(header).last<4>(), type);
    return header;
}

std::array<std::byte, 16> largeHeader(std::uint64_t sizeInBytes, std::uint32_t type) {
    std::array<std::byte, 16> header;
    storeU32(std::span(header).first<4>(), 1);
    storeU32(std::span(header).subspan<4, 4>(), type);
    storeU64(std::span(header).last<8>(), sizeInBytes);
    return header;
}

// The 'ftyp' atom of a new file: major brand, minor version, the one compatible brand.
constexpr std::size_t fileTypeSizeInBytes = 20;

std::array<std::byte, fileTypeSizeInBytes> fileTypeAtom() {
    constexpr std::uint32_t brand = 0x71742020;  // 'qt  '
    std::array<std::byte, fileTypeSizeInBytes> fileType;
    storeU32(std::span(fileType).first<4>(), fileType.size());
    storeU32(std::span(fileType).subspan<4, 4>(), typeFileType);
    storeU32(std::span(fileType).subspan<8, 4>(), brand);
    storeU32(std::span(fileType).subspan<12, 4>(), 0x200);
    storeU32(std::span(fileType).subspan<16, 4>(), brand);
    return fileType;
}

/// Whether the file is empty, or all that it holds is a beginning that was cut off.
Expected<bool> isYetToBegin(const Storage& storage, std::uint64_t sizeInBytes) {
    if (sizeInBytes >= fileTypeSizeInBytes)
        return false;
    const auto fileType = fileTypeAtom();
    std::array<std::byte, fileTypeSizeInBytes> there;
    const auto present = std::span(there).first(static_cast<std::size_t>(sizeInBytes));
    if (const Status read = storage.readExactly(0, present); !read)
        return read.failure();
    return std::equal(present.begin(), present.end(), fileType.begin());
}

/// The least size from `atLeast` on with a single byte that is not zero: going there from 0 cannot
/// stop half-way. What is added is filled by a free atom, which needs eight bytes.
std::uint64_t oneByteSize(std::uint64_t atLeast) {
    for (unsigned shift = 0; shift < 32; shift += 8) {
        const std::uint64_t step = std::uint64_t{1} << shift;
        for (const std::uint64_t least : {atLeast, atLeast + 8}) {
            const std::uint64_t digits = (least + step - 1) / step;
            const std::uint64_t size = digits * step;
            if (digits <= 255 && (size == atLeast || size >= atLeast + 8))
                return size;
        }
    }
    return 0;
}

Expected<std::uint64_t> giveTheMovieItsSize(Storage& storage, const OuterAtom& movie) {
    const std::uint64_t size = oneByteSize(movie.sizeInBytes);
    if (size == 0)
        return Failure{FailureKind::unsupported,
                       storage.name() + ": the movie atom runs to the end of a file too large"};
    const std::uint64_t added = size - movie.sizeInBytes;
    if (added != 0) {
        // With the size 0 it runs to the end of its parent, however much of it gets written.
        std::vector<std::byte> filling(static_cast<std::size_t>(added));
        storeU32(std::span(filling).subspan<4, 4>(), typeFree);
        if (const Status written = storage.write(movie.end(), filling); !written)
            return written.failure();
        if (const Status synced = storage.sync(); !synced)
            return synced.failure();
    }
    if (const Status written = storage.write(movie.offset, sizeField(size)); !written)
        return written.failure();
    if (const Status synced = storage.sync(); !synced)
        return synced.failure();
    return movie.offset + size;
}

/// Gives a last atom past 4 GiB a 64-bit size, for which the atom in front of it makes room.
Status giveLargeSize(Storage& storage, const FileSurvey& survey) {
    const OuterAtom& last = survey.atoms.back();
    // Zeros that a power failure left are nobody's data: their first bytes may become a header.
    if (last.type == 0)
        return storage.write(last.offset, largeHeader(last.sizeInBytes, typeFree));

    const OuterAtom* front =
        survey.atoms.size() < 2 ? nullptr : &survey.atoms[survey.atoms.size() - 2];
    const bool roomInFront =
        front && front->headerSizeInBytes == 8 &&
        (front->type == typeWide || front->type == typeFree || front->type == typeSkip) &&
        (front->sizeInBytes == 8 || front->sizeInBytes >= 16) &&
        front->sizeInBytes <= greatestRoomInFront;
    if (!roomInFront)
        return Failure{FailureKind::unsupported,
                       storage.name() +
                           ": the last atom runs past 4 GiB to the end of the file, "
                           "and there is no room for its size"};
    // One write for both headers, so that a program that is killed leaves none or both.
    std::vector<std::byte> bytes(static_cast<std::size_t>(front->sizeInBytes - 8), std::byte{0});
    if (!bytes.empty()) {
        const auto header = smallHeader(bytes.size(), front->type);
        std::copy(header.begin(), header.end(), bytes.begin());
    }
    const auto header = largeHeader(last.sizeInBytes + 8, last.type);
    bytes.insert(bytes.end(), header.begin(), header.end());
    return storage.write(front->offset, bytes);
}

Status giveSize(Storage& storage, const FileSurvey& survey) {
    const OuterAtom& last = survey.atoms.back();
    if (last.toEndOfFile) {
        if (last.sizeInBytes > greatestSmallSize)
            return giveLargeSize(storage, survey);
        return storage.write(last.offset, sizeField(last.sizeInBytes));
    }
    // What is left of a movie atom that was being written when the program ended is free space.
    const std::uint32_t type = last.type == typeMovie ? typeFree : last.type;
    if (last.headerSizeInBytes == 16)
        return storage.write(last.offset, largeHeader(last.sizeInBytes, type));
    return storage.write(last.offset, smallHeader(last.sizeInBytes, type));
}

}  // namespace

Expected<FileSurvey> surveyFile(const Storage& storage) {
    FileSurvey survey;
    OuterAtomWalker walker(storage);
    while (true) {
        Expected<std::optional<OuterAtom>> atom = walker.next();
        if (!atom)
            return atom.failure();
        if (!*atom)
            break;
        if (survey.atoms.size() == greatestAtomCount)
            return Failure{FailureKind::limit, storage.name() + ": too many atoms"};
        if (!survey.movie && (*atom)->type == typeMovie && (*atom)->whole)
            survey.movie = survey.atoms.size();
        survey.atoms.push_back(**atom);
    }
    survey.endOfAtoms = walker.offset();
    survey.sizeInBytes = walker.storageSizeInBytes();
    return survey;
}

Expected<std::uint64_t> prepareToAppend(Storage& storage) {
    const Expected<FileSurvey> survey = surveyFile(storage);
    if (!survey)
        return survey.failure();
    const Expected<bool> yetToBegin = isYetToBegin(storage, survey->sizeInBytes);
    if (!yetToBegin)
        return yetToBegin.failure();
    if (*yetToBegin) {
        if (const Status written = storage.write(0, fileTypeAtom()); !written)
            return written.failure();
        return std::uint64_t{fileTypeSizeInBytes};
    }
    if (survey->atoms.empty())
        return Failure{FailureKind::damaged, storage.name() + ": not a movie file"};
    const OuterAtom& last = survey->atoms.back();
    if (last.whole && !last.toEndOfFile)
        return survey->endOfAtoms;
    if (last.toEndOfFile && survey->movieAtom() == &last)
        return giveTheMovieItsSize(storage, last);
    if (const Status given = giveSize(storage, *survey); !given)
        return given.failure();
    return survey->endOfAtoms;
}

}  // namespace TWQuickTime::moviefile
