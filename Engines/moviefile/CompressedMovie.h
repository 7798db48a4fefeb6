// A movie atom whose content is compressed: 'moov' { 'cmov' { 'dcom' "zlib", 'cmvd' {size, data} }
// }.
#pragma once

#include "Engines/moviefile/AtomWalker.h"
#include "Engines/result/Result.h"

namespace TWQuickTime::moviefile {

/// The whole movie atom inside a 'cmov' atom. Its size is checked against what so many compressed
/// bytes can hold before memory is asked for.
result::Expected<SharedBytes> decompressMovie(const AtomView& compressed, const AtomPlace& place);

/// A movie atom that holds `movieAtom` compressed.
result::Expected<std::vector<std::byte>> compressMovie(std::span<const std::byte> movieAtom);

}  // namespace TWQuickTime::moviefile
