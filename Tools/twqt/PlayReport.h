// What `twqt play` says while it plays: JSON events, or lines for people and, where standard error
// is a terminal, a live line of time, level and state below them.
//
//     PlayReport report(options.json, shownLive);
//     report.event({{"event", "marker"}, {"time", 2.5}, …}, "marker 0 at 2.500 s");
//     report.live({.seconds = 2.5, .durationInSeconds = 60, .peak = 0.5f, .state = "playing"});
#pragma once

#include <string>

#include "JsonOutput.h"

namespace twqt {

struct PlayMoment {
    double seconds = 0;
    double durationInSeconds = 0;
    float peak = 0;  ///< full scale is 1
    const char* state = "";
};

class PlayReport {
  public:
    /// @param live  whether to draw a live line if standard error is a terminal
    PlayReport(bool json, bool live);
    ~PlayReport();
    PlayReport(const PlayReport&) = delete;
    PlayReport& operator=(const PlayReport&) = delete;

    /// @param forPeople  may be "" for what people need not know
    void event(const Json& event, const std::string& forPeople);
    void live(const PlayMoment& moment);

  private:
    void clearLine();

    bool json_;
    bool live_;
    bool lineIsShown_ = false;
};

/// "0:02.5 / 1:00.0  [##########----------]  -6.0 dB  playing".
std::string liveLineText(const PlayMoment& moment);

}  // namespace twqt
