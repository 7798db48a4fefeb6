#include "Engines/image/PngInflater.h"

#include <isa-l/igzip_lib.h>

#include <algorithm>
#include <cstring>

namespace TWQuickTime::image {
namespace {

// Inflating in pieces that stay in the cache costs less than one piece for the whole picture.
constexpr std::size_t kPieceBytes = 64 * 1024;

}  // namespace

struct PngInflater::State {
    std::span<const std::span<const std::byte>> chunks;
    std::size_t nextChunk = 0;
    inflate_state inflating;
    std::vector<std::uint8_t> buffer;
    std::size_t begin = 0;
    std::size_t end = 0;

    bool inflateMore(std::size_t wanted) {
        while (end - begin < wanted) {
            if (inflating.avail_in == 0) {
                if (inflating.block_state == ISAL_BLOCK_FINISH || nextChunk == chunks.size())
                    return false;
                inflating.next_in = reinterpret_cast<std::uint8_t*>(
                    const_cast<std::byte*>(chunks[nextChunk].data()));
                inflating.avail_in = static_cast<std::uint32_t>(chunks[nextChunk].size());
                ++nextChunk;
                continue;
            }
            inflating.next_out = buffer.data() + end;
            inflating.avail_out = static_cast<std::uint32_t>(buffer.size() - end);
            const std::uint32_t before = inflating.avail_out;
            const std::uint32_t inputBefore = inflating.avail_in;
            if (isal_inflate(&inflating) != ISAL_DECOMP_OK)
                return false;
            end += before - inflating.avail_out;
            if (inflating.block_state == ISAL_BLOCK_FINISH && end - begin < wanted)
                return false;
            if (before == inflating.avail_out && inputBefore == inflating.avail_in)
                return false;
        }
        return true;
    }
};

PngInflater::PngInflater(std::span<const std::span<const std::byte>> chunks)
    : state_(std::make_unique<State>()) {
    state_->chunks = chunks;
    isal_inflate_init(&state_->inflating);
    state_->inflating.crc_flag = ISAL_ZLIB;
    state_->inflating.avail_in = 0;
}

PngInflater::~PngInflater() = default;

result::Expected<std::uint8_t*> PngInflater::next(std::size_t count) {
    State& state = *state_;
    if (state.end - state.begin < count) {
        // What is left moves to the front, so that a row always lies in one piece.
        if (state.buffer.size() < count + kPieceBytes) {
            std::vector<std::uint8_t> larger(count + kPieceBytes);
            std::copy(state.buffer.begin() + static_cast<std::ptrdiff_t>(state.begin),
                      state.buffer.begin() + static_cast<std::ptrdiff_t>(state.end),
                      larger.begin());
            state.buffer = std::move(larger);
        } else if (state.begin > 0) {
            std::memmove(state.buffer.data(), state.buffer.data() + state.begin,
                         state.end - state.begin);
        }
        state.end -= state.begin;
        state.begin = 0;
        if (!state.inflateMore(count))
            return result::Failure{result::FailureKind::damaged,
                                   "PNG: the picture data do not inflate to all rows"};
    }
    std::uint8_t* bytes = state.buffer.data() + state.begin;
    state.begin += count;
    return bytes;
}

}  // namespace TWQuickTime::image
