// The transformation matrix of movies and tracks, as files store it.
#pragma once

#include <array>
#include <cstdint>

namespace TWQuickTime::timeline {

/// Rows a b u, c d v, x y w: a b c d x y are 16.16 fixed point, u v w are 2.30.
/// x' = a·x + c·y + x0, y' = b·x + d·y + y0.
using Matrix = std::array<std::int32_t, 9>;

constexpr Matrix kIdentityMatrix = {0x10000, 0, 0, 0, 0x10000, 0, 0, 0, 0x40000000};

}  // namespace TWQuickTime::timeline
