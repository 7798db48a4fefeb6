// A short tone as a sound file, gone with the object: what examples play when they are given
// nothing.
#pragma once

#include <unistd.h>

#include <cmath>
#include <cstdint>
#include <cstdio>
#include <string>

class Tone {
  public:
    Tone() {
        char name[] = "/tmp/tone.XXXXXX";
        const int descriptor = mkstemp(name);
        path_ = name;
        FILE* file = descriptor < 0 ? nullptr : fdopen(descriptor, "wb");
        if (!file)
            return;
        constexpr std::uint32_t kRate = 8000;
        constexpr std::uint32_t kFrames = 2400;  // 0.3 seconds
        std::fputs("RIFF", file);
        put(file, 36 + kFrames * 2, 4);
        std::fputs("WAVEfmt ", file);
        put(file, 16, 4);
        put(file, 1, 2);  // uncompressed
        put(file, 1, 2);  // one channel
        put(file, kRate, 4);
        put(file, kRate * 2, 4);
        put(file, 2, 2);
        put(file, 16, 2);
        std::fputs("data", file);
        put(file, kFrames * 2, 4);
        for (std::uint32_t i = 0; i < kFrames; ++i)
            put(file,
                static_cast<std::uint32_t>(
                    std::lround(8000 * std::sin(i * 440 * 2 * 3.14159265 / kRate))),
                2);
        std::fclose(file);
    }
    ~Tone() { unlink(path_.c_str()); }
    Tone(const Tone&) = delete;
    Tone& operator=(const Tone&) = delete;

    const std::string& path() const { return path_; }

  private:
    /// The low bytes of a number, least significant first.
    static void put(FILE* file, std::uint32_t value, int bytes) {
        for (int i = 0; i < bytes; ++i)
            std::fputc(static_cast<int>(value >> (8 * i) & 0xFF), file);
    }

    std::string path_;
};
