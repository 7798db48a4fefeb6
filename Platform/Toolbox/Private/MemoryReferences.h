// Names for media data in memory, so that a movie that was put into a handle finds them again.
//
// A name means something in this process only, and only as long as somebody keeps the data.
#pragma once

#include <memory>

#include "Engines/timeline/DataReference.h"

namespace TWQuickTime {

/// A reference of type 'hndl' that names the store; it holds the store, too.
timeline::DataReference makeMemoryReference(std::shared_ptr<timeline::SampleStore> store);
/// The store that a reference names; null when it is gone or the reference names none.
std::shared_ptr<timeline::SampleStore> storeOfMemoryReference(
    const timeline::DataReference& reference);

}  // namespace TWQuickTime
