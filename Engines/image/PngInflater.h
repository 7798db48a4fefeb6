// The picture data of a PNG file, inflated piece by piece.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <vector>

#include "Engines/result/Result.h"

namespace TWQuickTime::image {

class PngInflater {
  public:
    /// The chunks must outlive the object.
    explicit PngInflater(std::span<const std::span<const std::byte>> chunks);
    ~PngInflater();
    PngInflater(const PngInflater&) = delete;
    PngInflater& operator=(const PngInflater&) = delete;

    /// Hands out the next bytes; they stay valid until the next call.
    result::Expected<std::uint8_t*> next(std::size_t count);

  private:
    struct State;
    std::unique_ptr<State> state_;
};

}  // namespace TWQuickTime::image
