// 'udta': a list of atoms, one for each item, sometimes ended by a 32-bit 0.
#pragma once

#include "Engines/moviefile/AtomSink.h"
#include "Engines/moviefile/AtomWalker.h"
#include "Engines/timeline/UserData.h"

namespace TWQuickTime::moviefile {

/// The items of an atom. Damage ends the list; what follows it is not an item.
/// @param itemsLeft  how many items may still be made; a list with more is kept unread
timeline::UserData readUserData(const AtomView& atom, std::size_t& itemsLeft);

/// Writes the atom for these items: as it was when they are what it says; not at all when there are
/// none left. A new atom ends in a 32-bit 0, an old one keeps its end.
/// @param original  the atom they were read from; null when there was none
void writeUserDataAtom(AtomSink& sink, const timeline::UserData& userData,
                       const AtomView* original);

}  // namespace TWQuickTime::moviefile
