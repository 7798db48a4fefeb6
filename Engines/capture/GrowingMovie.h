// A movie file that is a movie at every moment while it is being recorded.
//
// What is recorded goes into the file half a second at a time: the data, and behind them a fragment
// ('moof') that says what they are. A fragment is in the file only when its data are, so that a
// program that is killed at any point leaves the movie up to its last fragment. At the end of a
// recording everything becomes one ordinary movie atom, and the fragments free space, in the
// crash-safe way of every update (MovieAtomUpdate.h).
//
//     GrowingMovie file("/films/camera.mov");
//     Status begun = file.beginSegment(tracks);
//     Status added = file.add(0, {.start = 0, .duration = 3600}, jpeg);
//     …
//     Status ended = file.endSegment();           // an ordinary movie; another segment may follow
//
// A further segment is added behind the end of what was recorded before. Not for use from two
// threads at once.
#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include "Engines/moviefile/AtomSink.h"
#include "Engines/moviefile/FileStorage.h"
#include "Engines/timeline/Movie.h"

namespace TWQuickTime::capture {

/// What a track of a segment holds.
struct TrackFormat {
    std::uint32_t mediaType = 0;  ///< 'vide' or 'soun'
    std::uint32_t timeScale = 0;  ///< media units per second
    timeline::SampleDescription description = {};
    timeline::Dimensions dimensions = {};
    /// Bytes of each sample when a block holds many equal ones of one unit (PCM); 0: a block is a
    /// sample.
    std::uint32_t bytesPerUnit = 0;
};

/// Times of a block of data, in media units.
struct BlockTimes {
    /// From the start of the segment. Only that of a track's first block counts: every other block
    /// begins where the one before it ended.
    std::int64_t start = 0;
    std::uint32_t duration = 0;
    bool sync = true;  ///< decoding may start here
};

class GrowingMovie {
  public:
    explicit GrowingMovie(std::string path);
    ~GrowingMovie();

    /// From now on the file is a movie with these tracks. The first segment makes the file, or
    /// empties the one that is there; later ones go on in it, and so does a track that an earlier
    /// segment had with the same description.
    /// @return `badArgument` between the beginning and the end of another segment
    result::Status beginSegment(std::vector<TrackFormat> tracks);
    /// @param track  an index of the segment's tracks
    result::Status add(std::size_t track, const BlockTimes& times, std::span<const std::byte> data);
    /// Writes what is pending and makes an ordinary movie of the whole file. After a failure the
    /// file is what it was, a movie of fragments.
    result::Status endSegment();

    bool isInSegment() const { return inSegment_; }
    /// Whether a segment was begun, and so there is a file.
    bool hasFile() const { return storage_ != nullptr; }
    /// Whether the file was left alone since the last segment ended, so that another may follow.
    bool isAsItWasLeft() const;
    const std::string& path() const { return path_; }

  private:
    struct SegmentTrack;
    struct FileMark;

    timeline::Track& trackFor(const TrackFormat& format);
    result::Status writeFirstHeader();
    result::Status writeLaterHeader();
    result::Expected<std::vector<std::byte>> headerOfFragments() const;
    bool isFragmentDue() const;
    result::Status writeFragment();
    std::vector<std::byte> fragmentBytes(std::uint64_t offset);
    void putFragment(moviefile::AtomSink& sink, std::uint64_t dataOffset);
    result::Status adoptBlocks(std::uint64_t dataOffset);
    std::int64_t inMovie(const SegmentTrack& track, std::int64_t mediaUnits) const;

    std::string path_;
    std::unique_ptr<moviefile::FileStorage> storage_;  ///< none before the first segment
    timeline::Movie movie_;
    std::vector<SegmentTrack> segment_;
    std::unique_ptr<FileMark> mark_;
    std::int64_t segmentStart_ = 0;  ///< movie units
    std::uint64_t endOffset_ = 0;    ///< of the file, as far as it is whole
    std::uint64_t pendingBytes_ = 0;
    std::uint32_t fragments_ = 0;
    bool inSegment_ = false;
    bool headerWritten_ = false;  ///< of the present segment
};

}  // namespace TWQuickTime::capture
