// A program that runs while a test watches what it says, and may be signalled at any of its lines.
//
//     RunningProgram program({TWQT_PROGRAM, "export", "--progress", "lines", …});
//     program.nextErrorLine();
//     program.signal(SIGKILL);
//     EXPECT_EQ(program.wait(), 128 + SIGKILL);
#pragma once

#include <sys/types.h>

#include <optional>
#include <string>
#include <vector>

namespace TWQuickTime::test {

class RunningProgram {
  public:
    /// @param arguments  the program (looked up in PATH) and its arguments; no shell is involved
    explicit RunningProgram(const std::vector<std::string>& arguments);
    /// Kills what still runs.
    ~RunningProgram();
    RunningProgram(const RunningProgram&) = delete;
    RunningProgram& operator=(const RunningProgram&) = delete;

    /// Waits for the next whole line of standard error; none at its end.
    std::optional<std::string> nextErrorLine();
    void signal(int number) const;
    /// Waits for the end. @return the exit status; 128 + signal number when it was killed
    int wait();

  private:
    pid_t child_ = -1;
    int errors_ = -1;
    std::string unread_;
};

}  // namespace TWQuickTime::test
