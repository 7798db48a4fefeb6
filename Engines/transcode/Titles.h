// The texts that tell what a movie is: its name, its author, its copyright …
//
// QuickTime movies keep them as user data items whose types begin with the copyright sign, one text
// for each language; MPEG-4 files as a list of metadata items ('meta' with 'ilst'); telephones
// under keys of text.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "Engines/timeline/Movie.h"

namespace TWQuickTime::transcode {

struct Title {
    std::uint32_t type = 0;  ///< of the user data item, '©nam' for example
    std::string text;        ///< UTF-8
};

/// Whether a user data item holds texts.
bool isTitle(std::uint32_t type);
/// The first text of each kind, from items and from metadata lists; items come first.
std::vector<Title> titlesOf(const timeline::Movie& movie);
/// The user data item's bytes for one text.
timeline::SharedBytes titleItem(const std::string& text);
/// An item's texts in all their languages as UTF-8, with letters for languages: what files whose
/// readers know no other encoding can have.
timeline::SharedBytes unicodeTitleItem(const timeline::SharedBytes& item);
/// The bytes of a 'meta' item for MPEG-4 files.
timeline::SharedBytes metadataList(const std::vector<Title>& titles);

}  // namespace TWQuickTime::transcode
