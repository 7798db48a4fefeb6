// The small children of 'trak': track references, preload settings, aperture dimensions, edits.
// Read and written against the values of timeline::Track.
#pragma once

#include "Engines/moviefile/AtomWalker.h"
#include "Engines/moviefile/HeaderAtoms.h"
#include "Engines/timeline/Track.h"

namespace TWQuickTime::moviefile {

/// 'tref': one child for each type, whose payload is track IDs. A part of an ID at the end of a
/// child is no reference.
std::vector<timeline::TrackReferences> readTrackReferences(const AtomView& atom,
                                                           std::size_t& itemsLeft);
std::vector<std::byte> trackReferencesPayload(
    const std::vector<timeline::TrackReferences>& references, const AtomView* original);

/// 'tapt'.
timeline::ApertureDimensions readApertureDimensions(const AtomView& atom);
std::vector<std::byte> apertureDimensionsPayload(const timeline::ApertureDimensions& aperture,
                                                 const AtomView* original);

/// 'elst' for an edit list.
EditListAtom editListAtom(const timeline::EditList& edits, std::uint8_t version);

}  // namespace TWQuickTime::moviefile
