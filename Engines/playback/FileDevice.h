// Writes what a device would get into a WAV file of 32-bit floats, at the pace of a clock.
//
// The header is brought up to date at every stop and at the end, so that the file can then be read.
#pragma once

#include <cstdio>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "Engines/playback/PacedFrames.h"

namespace TWQuickTime::playback {

class FileDevice final : public OutputDevice {
  public:
    /// The file is made, or emptied, when the device is opened.
    FileDevice(std::string path, std::shared_ptr<const Clock> clock)
        : path_(std::move(path)), frames_(std::move(clock)) {}
    ~FileDevice() override;

    std::string name() const override { return path_; }
    void requestOpen(codec::SoundFormat wanted, SoundSupply& supply) override;
    DeviceState state() const override;
    result::Status failure() const override;
    codec::SoundFormat format() const override { return format_; }
    void start() override;
    void stop() override;
    DeviceProgress progress() const override { return frames_.progress(); }
    bool isPumped() const override { return true; }
    void pump(std::int64_t aheadInNanoseconds) override;

  private:
    struct CloseFile {
        void operator()(std::FILE* file) const { std::fclose(file); }
    };
    void writeHeader();
    void fail(const char* doing);

    std::string path_;
    PacedFrames frames_;
    std::unique_ptr<std::FILE, CloseFile> file_;
    codec::SoundFormat format_;
    SoundSupply* supply_ = nullptr;
    std::uint64_t soundBytes_ = 0;
    std::vector<float> piece_;
    mutable std::mutex mutex_;
    DeviceState state_ = DeviceState::opening;
    result::Status failure_;
};

}  // namespace TWQuickTime::playback
