#include "CollectedImage.h"

#include <gtest/gtest.h>

#include <cmath>
#include <fstream>
#include <iterator>

namespace TWQuickTime::image::test {

CollectedImage collect(const StillImageOrFailure& image, std::span<const std::byte> profile) {
    CollectedImage collected;
    EXPECT_TRUE(image.ok()) << (image.ok() ? "" : image.failure().message);
    if (!image)
        return collected;
    const result::Status drawn = (*image)->draw(collected, (*image)->size(), profile);
    EXPECT_TRUE(drawn.ok()) << (drawn.ok() ? "" : drawn.failure().message);
    return collected;
}

std::vector<std::byte> readBytes(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    const std::string text((std::istreambuf_iterator<char>(file)),
                           std::istreambuf_iterator<char>());
    const auto* begin = reinterpret_cast<const std::byte*>(text.data());
    return {begin, begin + text.size()};
}

double psnr(std::span<const std::uint8_t> a, std::span<const std::uint8_t> b) {
    EXPECT_EQ(a.size(), b.size());
    double squares = 0;
    std::size_t count = 0;
    for (std::size_t i = 0; i < a.size() && i < b.size(); ++i) {
        if (i % 4 == 0)
            continue;
        const double difference = double(a[i]) - double(b[i]);
        squares += difference * difference;
        ++count;
    }
    return squares == 0 ? 100.0 : 10.0 * std::log10(255.0 * 255.0 * double(count) / squares);
}

}  // namespace TWQuickTime::image::test
