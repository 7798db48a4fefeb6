// The items of a movie's 'meta' atoms: titles, comments, locations … under keys of text, or under
// the four-character types of ISO files.
//
//     for (const MetadataItem& item : metadataOf(movie))
//         if (item.key == "com.apple.quicktime.title") title = textOf(item);
//
// Reading only: an update keeps the atoms as they are.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "Engines/moviefile/AtomWalker.h"
#include "Engines/timeline/Movie.h"

namespace TWQuickTime::moviefile {

struct MetadataItem {
    std::string key = {};    ///< of the key list; empty for items under a type
    FourCharCode type = 0;   ///< of the item; 0 for items under a key
    std::uint32_t kind = 0;  ///< 1 UTF-8, 2 UTF-16BE, 13 JPEG, 14 PNG, 21 and 22 integers …
    std::uint32_t locale = 0;
    SharedBytes value = {};
    bool operator==(const MetadataItem&) const = default;
};

/// The items of 'meta' in the movie and in its user data, as they were when it was read. Damaged
/// items are left out.
std::vector<MetadataItem> metadataOf(const timeline::Movie& movie);

/// The items of one 'meta' atom, with or without the version word that ISO files put in front.
std::vector<MetadataItem> readMetadata(const AtomView& atom);

/// A text value as UTF-8; none for other kinds.
std::optional<std::string> textOf(const MetadataItem& item);

}  // namespace TWQuickTime::moviefile
