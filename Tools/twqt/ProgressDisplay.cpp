#include "ProgressDisplay.h"

#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <map>
#include <nlohmann/json.hpp>

namespace twqt {
namespace {

/// Redrawing more often only costs time.
constexpr auto redrawInterval = std::chrono::milliseconds(50);

double limitedFraction(double fraction) {
    return std::isfinite(fraction) ? std::clamp(fraction, 0.0, 1.0) : 0.0;
}

void writeToStandardError(const std::string& text) {
    std::fwrite(text.data(), 1, text.size(), stderr);
    std::fflush(stderr);
}

}  // namespace

void addProgressOption(CLI::App& command, ProgressStyle& style) {
    static const std::map<std::string, ProgressStyle> names = {{"auto", ProgressStyle::automatic},
                                                               {"lines", ProgressStyle::lines},
                                                               {"none", ProgressStyle::none}};
    command.add_option("--progress", style, "auto (a bar on terminals), lines (JSON) or none")
        ->type_name("STYLE")
        ->transform(CLI::CheckedTransformer(names).description(""));
}

ProgressDisplay::ProgressDisplay(ProgressStyle style, double mediaSeconds)
    : style_(style), mediaSeconds_(mediaSeconds) {
    if (style_ == ProgressStyle::automatic && !isatty(STDERR_FILENO))
        style_ = ProgressStyle::none;
}

ProgressDisplay::~ProgressDisplay() {
    if (barShown_)
        writeToStandardError("\n");
}

void ProgressDisplay::show(Message message, double fractionDone) {
    const double fraction = limitedFraction(fractionDone);
    if (style_ == ProgressStyle::lines)
        showLine(message, fraction);
    else if (style_ == ProgressStyle::automatic)
        showBar(fraction, message == close);
}

double ProgressDisplay::elapsedSeconds() const {
    return std::chrono::duration<double>(Clock::now() - start_).count();
}

void ProgressDisplay::showBar(double fractionDone, bool isLast) {
    const Clock::time_point now = Clock::now();
    if (!isLast && barShown_ && now - lastDrawn_ < redrawInterval)
        return;
    lastDrawn_ = now;
    barShown_ = true;
    // The bar before may have been longer; the rest of its line is cleared.
    writeToStandardError("\r" + progressBarText(fractionDone, elapsedSeconds(), mediaSeconds_) +
                         "\x1b[K");
}

void ProgressDisplay::showLine(Message message, double fractionDone) {
    const nlohmann::ordered_json line = {{"message", static_cast<int>(message)},
                                         {"percent", fractionDone}};
    writeToStandardError(line.dump() + "\n");
}

std::string progressBarText(double fractionDone, double elapsedSeconds, double mediaSeconds) {
    constexpr int barWidth = 30;
    const double fraction = limitedFraction(fractionDone);
    const int filled = static_cast<int>(fraction * barWidth);
    std::string text = "[" + std::string(filled, '#') + std::string(barWidth - filled, '-') + "]";
    char buffer[64];
    std::snprintf(buffer, sizeof buffer, " %3d %%", static_cast<int>(fraction * 100.0));
    text += buffer;
    if (elapsedSeconds <= 0.0 || fraction <= 0.0)
        return text;
    if (mediaSeconds > 0.0) {
        std::snprintf(buffer, sizeof buffer, "  %.1fx", fraction * mediaSeconds / elapsedSeconds);
        text += buffer;
    }
    const double left = std::min(elapsedSeconds / fraction - elapsedSeconds, 359999.0);
    const int seconds = static_cast<int>(std::ceil(left));
    if (seconds >= 3600)
        std::snprintf(buffer, sizeof buffer, "  %d:%02d:%02d left", seconds / 3600,
                      seconds / 60 % 60, seconds % 60);
    else
        std::snprintf(buffer, sizeof buffer, "  %d:%02d left", seconds / 60, seconds % 60);
    return text + buffer;
}

}  // namespace twqt
