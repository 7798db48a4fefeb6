// To what a movie or a track is clipped ('clip').
//
// Reading only: an update keeps the atoms as they are.
#pragma once

#include <optional>
#include <span>

#include "Engines/timeline/Movie.h"
#include "Engines/timeline/Region.h"

namespace TWQuickTime::moviefile {

/// In the track's own pixels, before its matrix; none when nothing is clipped, or when what the
/// file says is damaged.
std::optional<timeline::Region> clipOf(const timeline::Track& track);
/// In the movie's pixels, behind the tracks' matrices and before the movie's own.
std::optional<timeline::Region> clipOf(const timeline::Movie& movie);

/// A region as files hold it: its size, its bounds, and for shapes rows of the places at which they
/// differ from the row above.
std::optional<timeline::Region> readRegion(std::span<const std::byte> bytes);

}  // namespace TWQuickTime::moviefile
