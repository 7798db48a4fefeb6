#include "UpdateLayouts.h"

#include "Engines/moviefile/MemoryStorage.h"
#include "Engines/moviefile/OuterAtoms.h"

namespace TWQuickTime::moviefile::test {
namespace {

Bytes withoutLast(Bytes bytes, std::size_t count) {
    bytes.resize(bytes.size() - count);
    return bytes;
}

Bytes freeAtom(std::size_t sizeInBytes) {
    return atom("free", Bytes(sizeInBytes - 8));
}

}  // namespace

std::vector<UpdateLayout> updateLayouts() {
    const Bytes old = movieAtom("old");
    const Bytes media = atom("mdat", bytesOf("pictures and sound"));
    const Bytes oldPayload = Bytes(old.begin() + 8, old.end());
    return {
        {"an empty file", {}, false},
        {"media without a movie", joined({fileType(), atom("wide"), media}), false},
        {"media without a movie, still growing",
         joined({fileType(), atom("wide"), endlessAtom("mdat", bytesOf("pictures"))}), false},
        {"movie last", joined({fileType(), atom("wide"), media, old})},
        {"movie first", joined({fileType(), old, media})},
        {"no file type", joined({media, old})},
        {"media to the end of the file",
         joined({fileType(), old, endlessAtom("mdat", bytesOf("pictures"))})},
        {"movie to the end of the file",
         joined({fileType(), media, endlessAtom("moov", oldPayload)})},
        {"long movie to the end of the file",
         joined({fileType(), media, endlessAtom("moov", joined({oldPayload, freeAtom(300)}))})},
        {"movie with a 64-bit size", joined({fileType(), largeAtom("moov", oldPayload), media})},
        {"media with a 64-bit size", joined({fileType(), largeAtom("mdat", Bytes(50)), old})},
        {"stray bytes at the end", joined({fileType(), media, old, u32(0)})},
        {"seven stray bytes at the end", joined({fileType(), old, media, Bytes(7)})},
        {"media cut off", withoutLast(joined({fileType(), old, media}), 5)},
        {"media with a 64-bit size cut off",
         withoutLast(joined({fileType(), old, largeAtom("mdat", Bytes(50))}), 5)},
        {"header with a 64-bit size cut off",
         withoutLast(joined({fileType(), old, largeAtom("mdat", Bytes(5))}), 10)},
        {"an earlier update that stopped early",
         withoutLast(joined({fileType(), media, old, movieAtom("half", 200)}), 100)},
        {"an earlier update that stopped before its last step",
         joined({fileType(), media, old, movieAtom("complete", 200)})},
        {"two movies left behind the first",
         joined({fileType(), old, movieAtom("second"), media, movieAtom("third")})},
        {"free space of just the size",
         joined({fileType(), freeAtom(newMovieSizeInBytes), media, old}), true, true},
        {"free space of just the size behind the movie",
         joined({fileType(), old, freeAtom(newMovieSizeInBytes), media}), true, true},
        {"skip atom of just the size",
         joined({fileType(), atom("skip", Bytes(newMovieSizeInBytes - 8)), media, old}), true,
         true},
        {"much free space", joined({fileType(), freeAtom(400), media, old}), true, true},
        {"much free space at the end", joined({fileType(), media, old, freeAtom(700)}), true, true},
        {"free space in three pieces",
         joined({fileType(), freeAtom(64), freeAtom(80), freeAtom(90), media, old}), true, true},
        {"free space that misses by a byte",
         joined({fileType(), freeAtom(newMovieSizeInBytes - 1), media, old})},
        {"free space too large by less than a header",
         joined({fileType(), freeAtom(newMovieSizeInBytes + 7), media, old})},
        {"fragments", joined({fileType(), old, atom("sidx", Bytes(20)), atom("moof", Bytes(30)),
                              media, atom("moof", Bytes(30)), media, atom("mfra", Bytes(16))})},
    };
}

std::string opensAs(const Storage& storage) {
    const auto found = findMovieAtom(storage);
    if (!found)
        return found.failure().kind == result::FailureKind::notFound ? "none"
                                                                     : found.failure().message;
    Bytes payload(static_cast<std::size_t>(found->sizeInBytes - found->headerSizeInBytes));
    if (!storage.readExactly(found->payloadOffset(), payload) || payload.size() < 8)
        return "unreadable";
    std::string text;
    for (std::size_t i = 8; i < payload.size() && payload[i] != std::byte{'.'}; ++i)
        text += static_cast<char>(payload[i]);
    // The rest of what movieAtom() wrote must be there too.
    const std::size_t udtaSize = loadU32(std::span<const std::byte>(payload).first<4>());
    for (std::size_t i = 8 + text.size(); i < std::min(udtaSize, payload.size()); ++i)
        if (payload[i] != std::byte{'.'})
            return "damaged " + text;
    return udtaSize > payload.size() ? "cut off " + text : text;
}

std::string opensAs(const Bytes& bytes) {
    return opensAs(MemoryStorage(bytes));
}

}  // namespace TWQuickTime::moviefile::test
