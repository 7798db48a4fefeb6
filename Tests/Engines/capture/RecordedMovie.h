// What a test looks at in a movie file that was recorded.
#pragma once

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "Engines/moviefile/MovieReader.h"
#include "RunProgram.h"

namespace TWQuickTime::test {

inline moviefile::OpenedMovie openRecorded(const std::string& path) {
    auto opened = moviefile::openMovieFile(path);
    EXPECT_TRUE(opened) << (opened ? "" : opened.failure().message);
    return opened ? *std::move(opened) : moviefile::OpenedMovie();
}

/// One answer of ffprobe about a file, without its line end; fails on any word of complaint.
inline std::string probe(const std::string& path, const std::vector<std::string>& what) {
    std::vector<std::string> arguments = {"ffprobe", "-v", "error", "-of", "csv=p=0"};
    arguments.insert(arguments.end(), what.begin(), what.end());
    arguments.push_back(path);
    const ProgramResult result = runProgram(arguments);
    EXPECT_EQ(result.exitStatus, 0) << path;
    EXPECT_EQ(result.errors, "") << path;
    return result.output.substr(0, result.output.find_last_not_of('\n') + 1);
}

inline std::string probeStream(const std::string& path, const std::string& stream,
                               const std::string& entries) {
    return probe(
        path, {"-count_packets", "-select_streams", stream, "-show_entries", "stream=" + entries});
}

}  // namespace TWQuickTime::test
