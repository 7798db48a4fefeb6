// The failures that a command throws; main prints them as one line, "twqt: <what> : <why>".
//
//     throw CommandFailure("open " + path, statusText(status));
#pragma once

#include <cstdint>
#include <stdexcept>
#include <string>

#include "NSError.h"

namespace twqt {

/// Exit statuses of the program.
enum class ExitStatus { done = 0, failed = 1, usage = 2, interrupted = 130 };

class CommandFailure : public std::runtime_error {
  public:
    /// @param what  the operation and the file: "open movie.mov"
    /// @param why   the reason with its status code: "file not found (-43)"
    CommandFailure(const std::string& what, const std::string& why,
                   ExitStatus exitStatus = ExitStatus::failed);
    ExitStatus exitStatus() const { return exitStatus_; }

  private:
    ExitStatus exitStatus_;
};

/// The command line itself is wrong, which CLI11 could not see.
CommandFailure usageFailure(const std::string& what, const std::string& why);
/// The user stopped the program.
CommandFailure interruptedFailure(const std::string& what);
/// A failure with the reason of the library: its text and its code.
CommandFailure failureWithError(const std::string& what, const TWQuickTime::NSError& error);
/// A failure with a toolbox status as its reason.
CommandFailure failureWithStatus(const std::string& what, std::int32_t status);

/// One line: line ends and other control characters become blanks.
std::string oneLine(const std::string& text);

}  // namespace twqt
