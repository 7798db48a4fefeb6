#include "EnvelopeArgument.h"

#include <algorithm>
#include <charconv>
#include <cmath>

#include "CommandFailure.h"

namespace twqt {

std::optional<double> parseNumber(std::string_view text) {
    double value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    const bool whole = error == std::errc() && end == text.data() + text.size();
    return whole && std::isfinite(value) ? std::optional(value) : std::nullopt;
}

std::vector<std::string_view> splitText(std::string_view text, char separator) {
    std::vector<std::string_view> parts;
    for (std::size_t start = 0; start <= text.size();) {
        const std::size_t end = std::min(text.find(separator, start), text.size());
        parts.push_back(text.substr(start, end - start));
        start = end + 1;
    }
    return parts;
}

std::vector<EnvelopePoint> parseEnvelope(const std::string& text) {
    std::vector<EnvelopePoint> envelope;
    for (const std::string_view point : splitText(text, ',')) {
        const auto parts = splitText(point, ':');
        const auto seconds = parts.size() == 2 ? parseNumber(parts[0]) : std::nullopt;
        const auto volume = parts.size() == 2 ? parseNumber(parts[1]) : std::nullopt;
        if (!seconds || !volume || *seconds < 0)
            throw usageFailure("--envelope " + text, "points are written seconds:volume");
        envelope.push_back({*seconds, *volume});
    }
    return envelope;
}

}  // namespace twqt
