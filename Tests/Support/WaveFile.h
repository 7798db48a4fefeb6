// Sound as tests make and judge it: WAV files of 16-bit samples out, of 32-bit floats in.
//
//     test::writeWave(path, 8000, 1, {0, 1, 2, 3});
//     const test::Wave rendered = test::readFloatWave(output);
#pragma once

#include <cstdint>
#include <cstring>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string>
#include <vector>

namespace TWQuickTime::test {

struct Wave {
    int channels = 0;
    int sampleRate = 0;
    std::vector<float> samples;  ///< interleaved

    std::size_t frames() const { return samples.size() / static_cast<std::size_t>(channels); }
};

inline void writeWave(const std::string& path, std::uint32_t sampleRate, std::uint16_t channels,
                      const std::vector<std::int16_t>& samples) {
    std::ofstream file(path, std::ios::binary);
    const auto put32 = [&](std::uint32_t value) { file.write(reinterpret_cast<char*>(&value), 4); };
    const auto put16 = [&](std::uint16_t value) { file.write(reinterpret_cast<char*>(&value), 2); };
    const auto bytes = static_cast<std::uint32_t>(samples.size() * 2);
    const auto frame = static_cast<std::uint16_t>(channels * 2);
    file << "RIFF";
    put32(36 + bytes);
    file << "WAVEfmt ";
    put32(16);
    put16(1);  // whole numbers
    put16(channels);
    put32(sampleRate);
    put32(sampleRate * frame);
    put16(frame);
    put16(16);
    file << "data";
    put32(bytes);
    file.write(reinterpret_cast<const char*>(samples.data()), bytes);
    if (!file.flush())
        throw std::runtime_error("cannot write " + path);
}

/// Throws for anything but 32-bit floats.
inline Wave readFloatWave(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    const std::string bytes((std::istreambuf_iterator<char>(file)),
                            std::istreambuf_iterator<char>());
    const auto number = [&](std::size_t offset, std::size_t size) {
        std::uint32_t value = 0;
        std::memcpy(&value, bytes.data() + offset, size);
        return value;
    };
    Wave wave;
    for (std::size_t at = 12; at + 8 <= bytes.size();) {
        const std::string name = bytes.substr(at, 4);
        const std::size_t size = std::min<std::size_t>(number(at + 4, 4), bytes.size() - at - 8);
        if (name == "fmt ") {
            const std::uint32_t format = number(at + 8, 2);
            if ((format != 3 && format != 0xFFFE) || number(at + 22, 2) != 32)
                throw std::runtime_error(path + " holds no 32-bit floats");
            wave.channels = static_cast<int>(number(at + 10, 2));
            wave.sampleRate = static_cast<int>(number(at + 12, 4));
        } else if (name == "data") {
            wave.samples.resize(size / 4);
            std::memcpy(wave.samples.data(), bytes.data() + at + 8, wave.samples.size() * 4);
        }
        at += 8 + size + (size & 1);
    }
    if (wave.channels == 0)
        throw std::runtime_error(path + " is no WAV file");
    return wave;
}

}  // namespace TWQuickTime::test
