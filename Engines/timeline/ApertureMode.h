// Which of a track's sizes counts: its own, or one that the shape of its pixels gives it.
#pragma once

#include <cstddef>
#include <optional>
#include <span>

#include "Engines/timeline/Track.h"

namespace TWQuickTime::timeline {

enum class ApertureMode { classic, clean, production, encoded };

/// The size in a mode; the track's own where it has no other.
Dimensions dimensionsInMode(const Track& track, ApertureMode mode);

/// Sizes for the modes from a video sample description: the stored pixels, the same with the shape
/// of pixels applied to the width, and the clean part of that. None for other bytes.
std::optional<ApertureDimensions> apertureDimensionsOf(std::span<const std::byte> description);

}  // namespace TWQuickTime::timeline
