// Bytes of a PNG file, deflated piece by piece.
//
//     PngDeflater deflater([&](std::span<const std::uint8_t> piece) { return write(piece); });
//     deflater.add(row);            // as often as wanted
//     deflater.finish();
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <span>

#include "Engines/result/Result.h"

namespace TWQuickTime::image {

class PngDeflater {
  public:
    /// Takes compressed bytes in their order; a failure ends the work.
    using Sink = std::function<result::Status(std::span<const std::uint8_t>)>;

    explicit PngDeflater(Sink sink);
    ~PngDeflater();
    PngDeflater(const PngDeflater&) = delete;
    PngDeflater& operator=(const PngDeflater&) = delete;

    result::Status add(std::span<const std::uint8_t> bytes);
    /// The end of the data with its checksum; the last call.
    result::Status finish();

  private:
    struct State;
    std::unique_ptr<State> state_;
};

}  // namespace TWQuickTime::image
