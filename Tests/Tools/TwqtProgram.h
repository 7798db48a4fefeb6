// Runs the built program in tests of its commands.
//
//     const test::ProgramResult result = runTwqt({"timecode", "format", "25", "--rate", "25"});
#pragma once

#include <string>
#include <vector>

#include "RunProgram.h"

namespace twqt {

inline TWQuickTime::test::ProgramResult runTwqt(std::vector<std::string> arguments,
                                                const std::vector<std::string>& environment = {}) {
    arguments.insert(arguments.begin(), TWQT_PROGRAM);
    return TWQuickTime::test::runProgram(arguments, environment);
}

}  // namespace twqt
