#include "Engines/image/PngDeflater.h"

#include <isa-l/igzip_lib.h>

#include <array>
#include <vector>

namespace TWQuickTime::image {
namespace {

constexpr std::size_t kPieceBytes = 64 * 1024;
// The levels above take longer and make filtered pictures hardly smaller.
constexpr std::uint32_t kLevel = 1;

}  // namespace

struct PngDeflater::State {
    Sink sink;
    isal_zstream stream;
    std::vector<std::uint8_t> levelBuffer = std::vector<std::uint8_t>(ISAL_DEF_LVL1_DEFAULT);
    std::array<std::uint8_t, kPieceBytes> piece;

    void emptyPiece() {
        stream.next_out = piece.data();
        stream.avail_out = static_cast<std::uint32_t>(piece.size());
    }

    result::Status handOver() {
        const std::span<const std::uint8_t> full(piece.data(), piece.size() - stream.avail_out);
        emptyPiece();
        return full.empty() ? result::Status() : sink(full);
    }

    result::Status deflate() {
        do {
            if (isal_deflate(&stream) != COMP_OK)
                return result::Failure{result::FailureKind::limit, "PNG: deflating failed"};
            if (stream.avail_out > 0)
                return {};
            if (auto handed = handOver(); !handed)
                return handed;
        } while (true);
    }
};

PngDeflater::PngDeflater(Sink sink) : state_(std::make_unique<State>()) {
    state_->sink = std::move(sink);
    isal_deflate_init(&state_->stream);
    state_->stream.gzip_flag = IGZIP_ZLIB;
    state_->stream.level = kLevel;
    state_->stream.level_buf = state_->levelBuffer.data();
    state_->stream.level_buf_size = static_cast<std::uint32_t>(state_->levelBuffer.size());
    state_->emptyPiece();
}

PngDeflater::~PngDeflater() = default;

result::Status PngDeflater::add(std::span<const std::uint8_t> bytes) {
    state_->stream.next_in = const_cast<std::uint8_t*>(bytes.data());
    state_->stream.avail_in = static_cast<std::uint32_t>(bytes.size());
    return state_->deflate();
}

result::Status PngDeflater::finish() {
    state_->stream.avail_in = 0;
    state_->stream.end_of_stream = 1;
    if (auto deflated = state_->deflate(); !deflated)
        return deflated;
    return state_->handOver();
}

}  // namespace TWQuickTime::image
