// Appends media data to a movie file.
//
// The bytes go into a new 'mdat' atom behind everything else, which is marked as running to the end
// of the file while it grows: killed at any point, the file opens as the movie it was, and the next
// writer finds an orderly end to continue from. Eight bytes in front of it ('wide') become part of
// its header when it grows past 4 GiB, and free space when it is finished without.
//
//     MediaDataWriter writer(file);
//     Expected<std::uint64_t> offset = writer.append(sampleBytes);   // goes into the chunk table
//     …
//     Status finished = writer.finish();                             // then replaceMovieAtom
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "Engines/moviefile/Storage.h"

namespace TWQuickTime::moviefile {

class MediaDataWriter {
  public:
    static constexpr std::size_t defaultBufferSizeInBytes = 256 * 1024;

    /// The storage must outlive the writer, and nobody else appends to it between the first
    /// `append` and `finish`.
    explicit MediaDataWriter(Storage& storage,
                             std::size_t bufferSizeInBytes = defaultBufferSizeInBytes);
    MediaDataWriter(const MediaDataWriter&) = delete;
    MediaDataWriter& operator=(const MediaDataWriter&) = delete;

    /// Adds the bytes behind those added before.
    /// @return the file offset at which they will lie; they can be read there after `flush`
    result::Expected<std::uint64_t> append(std::span<const std::byte> bytes);

    /// Writes out what is buffered. After a failure the bytes stay buffered, and it may be tried
    /// again.
    result::Status flush();

    /// Flushes and states the atom's size. The next `append` begins a new atom. Syncing is left to
    /// whoever makes the data part of a movie.
    result::Status finish();

    /// Takes back everything since the last `finish`.
    result::Status discard();

    /// Whether an atom is open.
    bool isOpen() const { return open_; }
    /// Where the bytes end, the buffered ones included; 0 while no atom is open.
    std::uint64_t endOffset() const { return writtenEnd_ + buffer_.size(); }

  private:
    result::Status begin();
    result::Status freeUnusedRoom();
    result::Status writeAtEnd(std::span<const std::byte> bytes);

    Storage& storage_;
    std::size_t capacity_;
    std::vector<std::byte> buffer_;
    bool open_ = false;
    std::uint64_t atomOffset_ = 0;  ///< of the 'wide' atom in front
    std::uint64_t writtenEnd_ = 0;
    bool tailUncertain_ = false;  ///< a failed write may have left bytes behind `writtenEnd_`
};

}  // namespace TWQuickTime::moviefile
