// 'imap': how track references map to the inputs of a media. Three forms are in use: a whole atom
// container with its header of 12 bytes, the container's root atom alone, and the inputs alone,
// with leaves of 12 bytes. The first is what medias hold and what is written.
#pragma once

#include "Engines/moviefile/AtomWalker.h"

namespace TWQuickTime::moviefile {

/// The flat bytes of the container that a payload of 'imap' stands for; empty when it is none of
/// the known forms.
SharedBytes inputMapContainer(const SharedBytes& payload);

}  // namespace TWQuickTime::moviefile
