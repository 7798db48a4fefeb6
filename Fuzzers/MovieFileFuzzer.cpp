// Any bytes as a movie file: opened, everything asked, changed, written, read again.
//
// Properties: what opens can be written and read again; without a change the movie atom comes back
// to the byte; look-ups agree with the walk; memory and time stay in proportion to the bytes.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <memory>

#include "Engines/moviefile/MemoryStorage.h"
#include "Engines/moviefile/MovieReader.h"
#include "Engines/moviefile/MovieWriter.h"
#include "FuzzProperty.h"
#include "WalkMovie.h"

using namespace TWQuickTime::moviefile;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const auto* first = reinterpret_cast<const std::byte*>(data);
    const std::vector<std::byte> bytes(first, first + size);
    ReadOptions options;
    options.resolveReferences = false;
    const auto opened = openMovie(std::make_shared<MemoryStorage>(bytes), "", options);
    if (!opened) {
        FUZZ_PROPERTY(!opened.failure().message.empty());
        return 0;
    }
    WriteOptions keep;
    keep.fragments = Fragments::keep;
    const auto written = writeMovieAtom(*opened->movie, keep);
    FUZZ_PROPERTY(written.ok());
    // Only the size field of an atom that runs to the end of the file is stated in the new one.
    FUZZ_PROPERTY(written->size() == opened->movieAtom.sizeInBytes);
    FUZZ_PROPERTY(
        std::equal(written->begin() + 4, written->end(),
                   bytes.begin() + static_cast<std::ptrdiff_t>(opened->movieAtom.offset + 4)));
    test::walkMovie(*opened->movie);
    return 0;
}
