// Undoes the row filters of PNG (ISO/IEC 15948, 9.2).
#pragma once

#include <cstddef>
#include <cstdint>

namespace TWQuickTime::image {

/// @param type  0 none, 1 sub, 2 up, 3 average, 4 Paeth
/// @param row  the filtered bytes, unfiltered in place
/// @param previous  the unfiltered row above; zeros for the first one
/// @param bytesPerPixel  1 … 8, rounded up for small depths
/// @return false for an unknown type
bool unfilterPngRow(int type, std::uint8_t* row, const std::uint8_t* previous, std::size_t bytes,
                    std::size_t bytesPerPixel);

}  // namespace TWQuickTime::image
