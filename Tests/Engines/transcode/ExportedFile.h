// What outside programs say about a file that was exported.
#pragma once

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "RunProgram.h"

namespace TWQuickTime::transcode::test {

/// One entry of one stream, as ffprobe prints it: probe(path, "v:0", "codec_name").
inline std::string probe(const std::string& path, const std::string& stream,
                         const std::string& entry) {
    const auto result = TWQuickTime::test::runProgram({"ffprobe", "-v", "error", "-select_streams",
                                                       stream, "-show_entries", "stream=" + entry,
                                                       "-of", "default=nw=1:nk=1", path});
    EXPECT_EQ(result.exitStatus, 0) << result.errors;
    EXPECT_EQ(result.errors, "");
    return result.output.substr(0, result.output.find('\n'));
}

inline std::string probeFormat(const std::string& path, const std::string& entry) {
    const auto result =
        TWQuickTime::test::runProgram({"ffprobe", "-v", "error", "-show_entries", "format=" + entry,
                                       "-of", "default=nw=1:nk=1", path});
    return result.output.substr(0, result.output.find('\n'));
}

/// Frames (or packets of sound) that decode.
inline int countFrames(const std::string& path, const std::string& stream) {
    const auto result = TWQuickTime::test::runProgram(
        {"ffprobe", "-v", "error", "-count_frames", "-select_streams", stream, "-show_entries",
         "stream=nb_read_frames", "-of", "default=nw=1:nk=1", path});
    EXPECT_EQ(result.errors, "");
    return std::atoi(result.output.c_str());
}

/// Presentation times of all frames, in seconds.
inline std::vector<double> frameTimes(const std::string& path) {
    const auto result =
        TWQuickTime::test::runProgram({"ffprobe", "-v", "error", "-select_streams", "v:0",
                                       "-show_entries", "frame=pts_time", "-of", "csv=p=0", path});
    std::vector<double> times;
    std::size_t at = 0;
    while (at < result.output.size()) {
        const std::size_t end = result.output.find('\n', at);
        // Frames with side data are followed by empty lines.
        if (const std::string line = result.output.substr(at, end - at); !line.empty()) {
            times.push_back(std::atof(line.c_str()));
        }
        at = end == std::string::npos ? result.output.size() : end + 1;
    }
    return times;
}

/// Average PSNR over all frames and planes of two files with the same frames, in dB; 99: equal.
/// @param filter  applied to the second file first
inline double psnr(const std::string& a, const std::string& b, const std::string& filter = "null") {
    const auto result = TWQuickTime::test::runProgram(
        {"ffmpeg", "-nostdin", "-hide_banner", "-i", a, "-i", b, "-lavfi",
         "[0:v]setpts=N/25/TB[a];[1:v]" + filter + ",setpts=N/25/TB[b];[a][b]psnr", "-f", "null",
         "-"});
    EXPECT_EQ(result.exitStatus, 0) << result.errors;
    const std::size_t at = result.errors.find("average:");
    if (at == std::string::npos) {
        ADD_FAILURE() << result.errors;
        return 0;
    }
    const std::string number = result.errors.substr(at + 8, 12);
    return number.starts_with("inf") ? 99 : std::atof(number.c_str());
}

/// The first stream of sound, decoded by ffmpeg to one channel of floats at 48 kHz.
std::vector<float> decodedSound(const std::string& path, const std::string& scratchFile);

}  // namespace TWQuickTime::transcode::test
