#include "ExportedFile.h"

#include <fstream>

namespace TWQuickTime::transcode::test {

std::vector<float> decodedSound(const std::string& path, const std::string& scratchFile) {
    TWQuickTime::test::runFfmpeg(
        {"-i", path, "-map", "a:0", "-ac", "1", "-ar", "48000", "-f", "f32le", scratchFile});
    std::ifstream file(scratchFile, std::ios::binary | std::ios::ate);
    std::vector<float> samples(std::size_t(file.tellg()) / sizeof(float));
    file.seekg(0);
    file.read(reinterpret_cast<char*>(samples.data()),
              std::streamsize(samples.size() * sizeof(float)));
    return samples;
}

}  // namespace TWQuickTime::transcode::test
