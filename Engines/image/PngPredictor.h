// Chooses and applies the row filters of PNG (ISO/IEC 15948, 9.2) for writing.
//
//     PngPredictor predictor(rowBytes, bytesPerPixel);
//     deflater.add(predictor.filtered(row));        // row by row, from the top
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace TWQuickTime::image {

class PngPredictor {
  public:
    /// @param bytesPerPixel  1 … 8
    PngPredictor(std::size_t rowBytes, std::size_t bytesPerPixel);

    /// The filter's number and the filtered bytes of the next row, by the filter that leaves the
    /// smallest differences. They stay valid until the next call.
    /// @param row  rowBytes bytes
    std::span<const std::uint8_t> filtered(const std::uint8_t* row);

  private:
    std::size_t rowBytes_;
    std::size_t bytesPerPixel_;
    /// One pixel of zeros, then the bytes of the row: the pixel left of the first one is black.
    std::vector<std::uint8_t> row_;
    std::vector<std::uint8_t> above_;
    std::vector<std::uint8_t> filtered_;
};

}  // namespace TWQuickTime::image
