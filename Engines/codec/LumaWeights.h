// How much of red and blue is in luma, by the matrix that a picture names.
#pragma once

#include <optional>

namespace TWQuickTime::codec {

struct LumaWeights {
    double red = 0, blue = 0;
};

/// @param matrix  a code point of ISO/IEC 23091-2; none for those that are no such weights
constexpr std::optional<LumaWeights> lumaWeightsOf(int matrix) {
    switch (matrix) {
        case 1:
            return LumaWeights{0.2126, 0.0722};
        case 4:
            return LumaWeights{0.30, 0.11};
        case 5:
        case 6:
            return LumaWeights{0.299, 0.114};
        case 7:
            return LumaWeights{0.212, 0.087};
        case 9:
            return LumaWeights{0.2627, 0.0593};
        default:
            return std::nullopt;
    }
}

}  // namespace TWQuickTime::codec
