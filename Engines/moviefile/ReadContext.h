// What reading a movie carries from atom to atom. Internal to the reader.
#pragma once

#include <map>
#include <string>

#include "Engines/moviefile/AtomWalker.h"
#include "Engines/moviefile/MovieReader.h"
#include "Engines/timeline/Movie.h"

namespace TWQuickTime::moviefile {

/// Bounds that no real movie comes near, so that memory stays in proportion to the movie atom.
constexpr std::size_t kGreatestTrackCount = 2048;
constexpr std::size_t kGreatestItemCount = 100'000;
constexpr std::size_t kGreatestEditCount = 500'000;
constexpr std::size_t kGreatestOpenReferenceCount = 64;

struct ReadContext {
    const ReadOptions& options;
    std::uint32_t movieScale = 0;
    /// How many more user data items, descriptions, references … may be made.
    std::size_t itemsLeft = kGreatestItemCount;
    std::size_t editsLeft = kGreatestEditCount;
    /// Files that data references named, by path; null: could not be opened.
    std::map<std::string, std::shared_ptr<timeline::SampleStore>> stores = {};
};

/// A duration as a header states it; none when it says that it is not known (all bits set).
std::optional<std::int64_t> statedDuration(std::uint8_t version, std::uint64_t duration);

/// Takes `count` from a bound; `limit` when it does not hold that many.
result::Status spend(std::size_t& bound, std::uint64_t count, const AtomPlace& place,
                     std::uint64_t offset);

/// Reads a 'trak' atom.
result::Expected<std::unique_ptr<timeline::Track>> readTrack(const AtomView& atom,
                                                             const AtomPlace& place,
                                                             ReadContext& context);

/// Reads an 'mdia' atom.
result::Expected<std::unique_ptr<timeline::Media>> readMedia(const AtomView& atom,
                                                             const AtomPlace& place,
                                                             ReadContext& context);

/// Reads the tables of an 'stbl' atom; descriptions and everything about them is the media's.
result::Expected<timeline::SampleTable> readSampleTable(const AtomView& atom,
                                                        const AtomPlace& place);

/// The descriptions of an 'stsd' atom.
result::Expected<std::vector<timeline::SampleDescription>> readDescriptions(const AtomView& atom,
                                                                            const AtomPlace& place,
                                                                            ReadContext& context);

/// The entries of a 'dref' atom, resolved as the options say.
result::Expected<std::vector<timeline::DataReference>> readDataReferences(const AtomView& atom,
                                                                          const AtomPlace& place,
                                                                          ReadContext& context);

/// The edits of an 'edts' atom; none when it holds no list, or one without entries.
result::Expected<timeline::EditList> readEdits(const AtomView& atom, const AtomPlace& place,
                                               ReadContext& context);

/// The edit list that holds for a track without one.
/// @param statedDuration  what the track's header says, movie time units; 0 and less: nothing
timeline::EditList impliedEditList(const timeline::Track& track, std::int64_t statedDuration,
                                   std::uint32_t movieScale);

}  // namespace TWQuickTime::moviefile
