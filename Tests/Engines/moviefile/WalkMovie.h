// Uses everything a movie has to say, for tests and fuzzing on bad input: look-ups at odd places,
// a walk over the samples, writing the movie and reading it again.
#pragma once

#include "Engines/timeline/Movie.h"

namespace TWQuickTime::moviefile::test {

/// Aborts where a property does not hold: what was written can be read and written again.
void walkMovie(timeline::Movie& movie);

}  // namespace TWQuickTime::moviefile::test
