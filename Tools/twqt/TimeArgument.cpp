#include "TimeArgument.h"

#include <array>
#include <charconv>
#include <cmath>

namespace twqt {
namespace {

/// The whole text as a number of the type, without signs.
template <class Number>
std::optional<Number> wholeNumber(std::string_view text) {
    Number number{};
    if (text.empty() || text.front() == '-' || text.front() == '+')
        return std::nullopt;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error != std::errc() || end != text.data() + text.size())
        return std::nullopt;
    return number;
}

std::optional<double> finiteNumber(std::string_view text) {
    const std::optional<double> number = wholeNumber<double>(text);
    return number && std::isfinite(*number) ? number : std::nullopt;
}

/// 29.97 stands for 30000/1001, as 23.976 and 59.94 stand for their exact rates.
double exactRate(double rate) {
    const double broadcast = std::ceil(rate) * 1000.0 / 1001.0;
    return std::abs(rate - broadcast) < 0.005 ? broadcast : rate;
}

std::optional<double> timecodeSeconds(std::string_view timecode, std::string_view rateText) {
    const std::optional<double> rate = finiteNumber(rateText);
    if (!rate || *rate < 1.0 || *rate > 1000.0)
        return std::nullopt;
    std::array<std::uint32_t, 4> fields{};
    for (std::size_t i = 0; i < fields.size(); ++i) {
        const std::size_t end = i + 1 < fields.size() ? timecode.find(':') : timecode.size();
        if (end == std::string_view::npos)
            return std::nullopt;
        const std::optional<std::uint32_t> field =
            wholeNumber<std::uint32_t>(timecode.substr(0, end));
        if (!field)
            return std::nullopt;
        fields[i] = *field;
        timecode.remove_prefix(std::min(end + 1, timecode.size()));
    }
    const double countedRate = std::ceil(*rate);
    if (fields[1] > 59 || fields[2] > 59 || fields[3] >= countedRate)
        return std::nullopt;
    const double wholeSeconds = fields[0] * 3600.0 + fields[1] * 60.0 + fields[2];
    return (wholeSeconds * countedRate + fields[3]) / exactRate(*rate);
}

TimeArgument timeOfOption(const std::string& name, const std::string& text) {
    const std::optional<TimeArgument> time = parseTime(text);
    if (!time)
        throw CLI::ValidationError(name, "\"" + text +
                                             "\" is neither seconds (12.5) nor timecode "
                                             "(00:00:12:12@25)");
    return *time;
}

}  // namespace

std::optional<TimeArgument> parseTime(std::string_view text) {
    const std::size_t at = text.find('@');
    const std::optional<double> seconds =
        at == std::string_view::npos ? finiteNumber(text)
                                     : timecodeSeconds(text.substr(0, at), text.substr(at + 1));
    if (!seconds)
        return std::nullopt;
    return TimeArgument{*seconds};
}

CLI::Option* addTimeOption(CLI::App& command, const std::string& name, TimeArgument& time,
                           const std::string& description) {
    return command
        .add_option_function<std::string>(
            name, [name, &time](const std::string& text) { time = timeOfOption(name, text); },
            description)
        ->type_name("TIME");
}

CLI::Option* addTimeOption(CLI::App& command, const std::string& name,
                           std::optional<TimeArgument>& time, const std::string& description) {
    return command
        .add_option_function<std::string>(
            name, [name, &time](const std::string& text) { time = timeOfOption(name, text); },
            description)
        ->type_name("TIME");
}

}  // namespace twqt
