// Runs another program and keeps what it said: ffmpeg, ffprobe and our own command line in tests.
#pragma once

#include <string>
#include <vector>

namespace TWQuickTime::test {

struct ProgramResult {
    int exitStatus = -1;  ///< 128 + signal number when it was killed
    std::string output;
    std::string errors;
};

/// @param arguments  the program (looked up in PATH) and its arguments; no shell is involved
/// @param environment  "NAME=value" added to the present environment
ProgramResult runProgram(const std::vector<std::string>& arguments,
                         const std::vector<std::string>& environment = {});

/// `ffmpeg -v error -y` with the arguments; throws with ffmpeg's own words when it fails.
void runFfmpeg(const std::vector<std::string>& arguments);

/// The folder of sample media that the caller of the tests named in TWQT_MEDIA, or "" for none.
std::string sampleMediaFolder();

}  // namespace TWQuickTime::test
