// How a long operation says how far it is, on standard error.
//
// People get a bar when standard error is a terminal: percent, speed as a multiple of real time,
// time left. Programs ask for `--progress lines` and get one JSON document a line:
// {"message":0|1|2,"percent":0.0-1.0}. Otherwise nothing is shown.
//
//     ProgressDisplay progress(style, durationInSeconds);
//     progress.show(ProgressDisplay::open, 0.0);
#pragma once

#include <CLI/CLI.hpp>
#include <chrono>
#include <string>

namespace twqt {

enum class ProgressStyle { automatic, lines, none };

/// Adds `--progress auto|lines|none`.
void addProgressOption(CLI::App& command, ProgressStyle& style);

class ProgressDisplay {
  public:
    /// The messages of the library's progress callbacks.
    enum Message { open = 0, update = 1, close = 2 };

    /// @param mediaSeconds  duration of what is worked on, for the speed; 0 leaves the speed out
    ProgressDisplay(ProgressStyle style, double mediaSeconds);
    /// Ends the bar's line where one was begun.
    ~ProgressDisplay();
    ProgressDisplay(const ProgressDisplay&) = delete;
    ProgressDisplay& operator=(const ProgressDisplay&) = delete;

    /// @param fractionDone  from 0 to 1; values outside are limited
    void show(Message message, double fractionDone);
    /// Wall time since the display was made.
    double elapsedSeconds() const;

  private:
    using Clock = std::chrono::steady_clock;
    void showBar(double fractionDone, bool isLast);
    void showLine(Message message, double fractionDone);

    ProgressStyle style_;
    double mediaSeconds_;
    Clock::time_point start_ = Clock::now();
    Clock::time_point lastDrawn_{};
    bool barShown_ = false;
};

/// One drawing of the bar, without line ends:
/// "[##########----------]  50 %  2.1x  0:12 left".
/// @param elapsedSeconds  0 leaves speed and time left out
std::string progressBarText(double fractionDone, double elapsedSeconds, double mediaSeconds);

}  // namespace twqt
