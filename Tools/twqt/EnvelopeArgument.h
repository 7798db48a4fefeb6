// A volume envelope on the command line: "0:1,2.5:0.25,4:1", seconds and volume of each point.
//
//     for (const EnvelopePoint& point : parseEnvelope(options.envelope)) …
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace twqt {

struct EnvelopePoint {
    double seconds = 0;  ///< never negative, always finite
    double volume = 0;   ///< always finite
};

/// Throws a usage failure for what is no envelope.
std::vector<EnvelopePoint> parseEnvelope(const std::string& text);

/// A finite number that is all of the text.
std::optional<double> parseNumber(std::string_view text);
/// The parts between the separators; at least one.
std::vector<std::string_view> splitText(std::string_view text, char separator);

}  // namespace twqt
