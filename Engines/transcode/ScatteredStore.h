// Samples that a format spreads in pieces over its file, as MPEG's streams and Ogg do.
//
// They are read from where the pieces lie; only a table of the pieces is in memory, in which even
// rows of them, as the packets of a transport stream are, count once. What a demuxer changed on its
// way (start codes that became lengths) lies nowhere in the file and is kept beside it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <vector>

#include "Engines/timeline/SampleStore.h"
#include "Engines/transcode/SpoolStore.h"

namespace TWQuickTime::transcode {

class ScatteredStore final : public timeline::SampleStore {
  public:
    explicit ScatteredStore(std::shared_ptr<timeline::SampleStore> file) : file_(std::move(file)) {}

    /// Looks for the pieces of a packet from `position` of the file on; packets are found fastest
    /// in the order of the file. @return the offset from which the packet can be read
    result::Expected<std::uint64_t> add(std::uint64_t position, std::span<const std::byte> packet);

    std::uint64_t size() const override { return size_; }
    result::Status read(std::uint64_t offset, std::span<std::byte> into) const override;

    /// Of `size`, the bytes that are kept beside the file.
    std::uint64_t keptBytes() const { return kept_ ? kept_->size() : 0; }

  private:
    /// Pieces of one length at equal distances.
    struct Row {
        std::uint64_t at = 0;    ///< where the first one begins in this store
        std::uint64_t from = 0;  ///< and in the file, or among what is kept
        std::uint32_t length = 0;
        std::uint32_t stride = 0;  ///< from the start of one to that of the next
        std::uint32_t count = 1;
        bool isKept = false;
    };
    struct Piece {
        std::uint64_t from = 0;
        std::size_t length = 0;  ///< 0: not found
    };

    Piece find(std::uint64_t from, std::size_t reach, std::span<const std::byte> bytes);
    std::span<const std::byte> window(std::uint64_t from, std::size_t least);
    result::Status keep(std::span<const std::byte> bytes);
    void addPiece(std::uint64_t from, std::uint32_t length, bool isKept);
    /// Fills the front of `into` from one row. @return the bytes filled
    result::Expected<std::size_t> readRow(const Row& row, std::uint64_t offset,
                                          std::span<std::byte> into) const;

    std::shared_ptr<timeline::SampleStore> file_;
    std::unique_ptr<SpoolStore> kept_;
    std::vector<Row> rows_;
    std::uint64_t size_ = 0;
    std::vector<std::byte> window_;  ///< of the file, while packets are added
    std::uint64_t windowStart_ = 0;
};

}  // namespace TWQuickTime::transcode
