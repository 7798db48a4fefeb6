#include "Engines/transcode/ExportSettings.h"

#include <cmath>

namespace TWQuickTime::transcode {

codec::Rational exactFrameRate(std::int32_t fixedRate) {
    if (fixedRate <= 0) {
        return {};
    }
    double rate = fixedRate / 65536.0;
    if (rate == 2997.0) {
        rate = 29.97;
    }
    const double whole = std::round(rate);
    if (std::abs(rate - whole) < 0.0005) {
        return {static_cast<std::int32_t>(whole), 1};
    }
    const double ntsc = std::round(rate * 1001 / 1000);
    if (std::abs(rate - ntsc * 1000 / 1001) < 0.006) {
        return {static_cast<std::int32_t>(ntsc * 1000), 1001};
    }
    return {static_cast<std::int32_t>(std::lround(rate * 1000)), 1000};
}

bool isMovieFile(FileKind kind) {
    return kind == FileKind::quickTime || kind == FileKind::mpeg4 || kind == FileKind::m4v ||
           kind == FileKind::threeGpp || kind == FileKind::m4a;
}

}  // namespace TWQuickTime::transcode
