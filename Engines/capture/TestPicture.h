// The picture of the test pattern: eight colour bars, a block that crosses them once a second, and
// the timecode in digits that can be read from a small preview.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

namespace TWQuickTime::capture {

class TestPicture {
  public:
    static constexpr int kWidth = 640;
    static constexpr int kHeight = 480;

    TestPicture();

    /// The pixels of a frame: bytes Y0 U Y1 V, video range, BT.601, rows without gaps.
    /// @param frame  counted from 0
    std::vector<std::byte> draw(std::int64_t frame, int framesPerSecond) const;

  private:
    struct Color {
        std::uint8_t y, u, v;
    };
    static void fill(std::vector<std::byte>& pixels, int left, int top, int width, int height,
                     Color color);
    static void drawText(std::vector<std::byte>& pixels, int left, int top, std::string_view text);

    std::vector<std::byte> bars_;
};

}  // namespace TWQuickTime::capture
