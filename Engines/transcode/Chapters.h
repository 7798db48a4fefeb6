// The named parts of a movie.
//
//     for (const Chapter& chapter : chaptersOf(movie, 0, movie.duration()))
//         list(chapter.title, chapter.start);
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "Engines/timeline/Movie.h"

namespace TWQuickTime::transcode {

struct Chapter {
    std::int64_t start = 0;  ///< movie time units after the beginning of the range
    std::int64_t end = 0;    ///< where the next one starts, or the range ends
    std::string title;       ///< UTF-8
};

/// The chapters that a range of the movie touches, cut to it, in order: those of the first text
/// track that another track names as its list of chapters, else those of the user data ('chpl').
/// @param start, duration  movie time units
std::vector<Chapter> chaptersOf(const timeline::Movie& movie, std::int64_t start,
                                std::int64_t duration);

/// A chapter's title as a sample of a text track.
std::vector<std::byte> chapterSample(const std::string& title);
/// The sample description of such samples, data reference index 1.
std::vector<std::byte> chapterDescription();

}  // namespace TWQuickTime::transcode
