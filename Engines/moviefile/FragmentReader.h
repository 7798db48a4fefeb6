// The samples of fragments ('moof' behind the movie atom) as samples like all others.
#pragma once

#include "Engines/moviefile/Storage.h"
#include "Engines/timeline/Movie.h"

namespace TWQuickTime::moviefile {

/// Appends the samples of all fragments of a storage to the tables of a movie that was read from
/// it. Media data are not looked at.
/// @return whether the movie has fragments ('mvex')
result::Expected<bool> readFragments(const Storage& storage, timeline::Movie& movie);

}  // namespace TWQuickTime::moviefile
