#include "PlayReport.h"

#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <iostream>

namespace twqt {
namespace {

/// Of the level meter.
constexpr int kMeterWidth = 20;
constexpr double kQuietestDecibel = -60.0;

std::string clockText(double seconds) {
    const double limited = std::isfinite(seconds) ? std::clamp(seconds, 0.0, 1e7) : 0.0;
    // Tenths are cut off, so that the time never shows what is not reached yet.
    const auto tenths = static_cast<long>(std::floor(limited * 10 + 1e-6));
    char text[32];
    std::snprintf(text, sizeof text, "%ld:%02ld.%ld", tenths / 600, tenths / 10 % 60, tenths % 10);
    return text;
}

double decibel(float peak) {
    return peak > 0 ? std::max(20 * std::log10(static_cast<double>(peak)), kQuietestDecibel)
                    : kQuietestDecibel;
}

void writeToStandardError(const std::string& text) {
    std::fwrite(text.data(), 1, text.size(), stderr);
    std::fflush(stderr);
}

}  // namespace

std::string liveLineText(const PlayMoment& moment) {
    const double level = decibel(moment.peak);
    const double share = std::clamp(1 - level / kQuietestDecibel, 0.0, 1.0);
    const auto filled = static_cast<std::size_t>(std::lround(share * kMeterWidth));
    char number[16];
    std::snprintf(number, sizeof number, "%5.1f", level);
    return clockText(moment.seconds) + " / " + clockText(moment.durationInSeconds) + "  [" +
           std::string(filled, '#') + std::string(kMeterWidth - filled, '-') + "] " +
           (level > kQuietestDecibel ? number : " -inf") + " dB  " + moment.state;
}

PlayReport::PlayReport(bool json, bool live) : json_(json), live_(live && isatty(STDERR_FILENO)) {}

PlayReport::~PlayReport() {
    if (lineIsShown_)
        writeToStandardError("\n");
}

void PlayReport::clearLine() {
    if (std::exchange(lineIsShown_, false))
        writeToStandardError("\r\x1b[K");
}

void PlayReport::event(const Json& event, const std::string& forPeople) {
    if (json_) {
        printJsonLine(event);
        std::cout.flush();
        return;
    }
    if (forPeople.empty())
        return;
    clearLine();
    std::cout << forPeople << std::endl;
}

void PlayReport::live(const PlayMoment& moment) {
    if (!live_)
        return;
    lineIsShown_ = true;
    writeToStandardError("\r" + liveLineText(moment) + "\x1b[K");
}

}  // namespace twqt
