// Exports in tests, and what outside programs say about the files that come out.
#pragma once

#include <gtest/gtest.h>

#include <cstddef>
#include <string>
#include <vector>

#include "Engines/transcode/MovieExport.h"
#include "RunProgram.h"

namespace TWQuickTime::transcode::test {

/// A range in seconds; a duration of 0 goes to the movie's end.
struct Range {
    double start = 0;
    double duration = 0;
};

/// Opens a movie, by import when it is of another format, and exports it.
result::Status exportFile(const std::string& source, const ExportSettings& settings,
                          const std::string& path, Range range = {});

/// Settings for one codec of each kind; 0 leaves a kind out.
ExportSettings settingsFor(FileKind kind, std::uint32_t videoCodec, std::uint32_t soundCodec);

/// The letters and digits of a code, "_" for the rest: fit for names of tests.
std::string wordOf(std::uint32_t code);

/// One entry of one stream, as ffprobe prints it: probe(path, "v:0", "codec_name").
std::string probe(const std::string& path, const std::string& stream, const std::string& entry);
std::string probeFormat(const std::string& path, const std::string& entry);

/// Frames (or packets of sound) that decode.
int countFrames(const std::string& path, const std::string& stream);

/// Presentation times of all frames, in seconds.
std::vector<double> frameTimes(const std::string& path);

/// Average PSNR over all frames and planes of two files with the same frames, in dB; 99: equal.
/// @param filter  applied to the second file first
double psnr(const std::string& a, const std::string& b, const std::string& filter = "null");

/// The luma PSNR of each frame that both files have, in dB; 99: equal. Fails the test when ffmpeg
/// has anything to say against decoding them.
/// @param prepare   filters for the reference, before both are compared as 4:2:0
/// @param prepared  filters for the exported file
std::vector<double> lumaPsnrs(const std::string& reference, const std::string& exported,
                              const std::string& prepare, const std::string& prepared,
                              const std::string& scratchFile);

/// The first stream of sound, decoded by ffmpeg to one channel of floats at 48 kHz, silence in
/// front when it begins later than the file.
std::vector<float> decodedSound(const std::string& path, const std::string& scratchFile);

/// 1: the same but for the level. @param shift  how much later `b` is heard, in samples
double correlation(const std::vector<float>& a, const std::vector<float>& b, std::ptrdiff_t shift);
/// The shift of the greatest correlation, at most `reach` samples either way.
std::ptrdiff_t bestShift(const std::vector<float>& a, const std::vector<float>& b,
                         std::ptrdiff_t reach);
/// Root mean square.
double level(const std::vector<float>& samples);

}  // namespace TWQuickTime::transcode::test
