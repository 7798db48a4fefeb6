// Capture devices that a test makes up, in the place of the machine's for channels made meanwhile.
//
//     PlayedDevices played;
//     played.video->list = {{.name = "Cam", .identity = "usb-1", .inputs = {{"Mic"}}}};
//     SGNewChannel(grabber, SGVideoMediaType, &channel);
#pragma once

#include <atomic>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "Engines/capture/DeviceSource.h"
#include "Platform/Toolbox/Private/CaptureBackEnds.h"

namespace TWQuickTime::test {

/// Delivers a small grey picture now and then.
class PlayedCameraSource : public capture::DeviceSource {
  public:
    explicit PlayedCameraSource(std::shared_ptr<std::atomic<bool>> gone) : gone_(std::move(gone)) {}
    const capture::StreamFormat& format() const override { return format_; }
    result::Status start() override { return {}; }
    result::Expected<std::optional<capture::CapturedUnit>> next() override {
        if (*gone_)
            return result::Failure{result::FailureKind::notFound, "went away"};
        time_ += 40'000'000;
        return std::optional(
            capture::CapturedUnit{std::vector<std::byte>(16 * 8 * 3, std::byte{0x80}), time_});
    }
    void stop() override {}

  private:
    capture::StreamFormat format_ = capture::VideoFormat{0x72617720 /* 'raw ' */, 16, 8, 25};
    std::shared_ptr<std::atomic<bool>> gone_;
    /// Behind any origin, so that no picture is from before the recording.
    std::int64_t time_ = std::int64_t{1} << 60;
};

class PlayedBackEnd : public capture::DeviceBackEnd {
  public:
    std::vector<capture::Device> list;
    std::optional<result::Failure> openFailure;
    std::vector<std::pair<std::string, std::size_t>> opened;
    std::shared_ptr<std::atomic<bool>> gone = std::make_shared<std::atomic<bool>>(false);

    std::vector<capture::Device> devices(bool) override { return list; }
    result::Expected<std::unique_ptr<capture::DeviceSource>> open(const std::string& identity,
                                                                  std::size_t input) override {
        if (openFailure)
            return *openFailure;
        opened.emplace_back(identity, input);
        return std::unique_ptr<capture::DeviceSource>(std::make_unique<PlayedCameraSource>(gone));
    }
};

class PlayedDevices {
  public:
    PlayedDevices() {
        replaceCaptureBackEnds([video = video, sound = sound](capture::MediaKind kind) {
            return CaptureBackEnds{kind == capture::MediaKind::video ? video : sound};
        });
    }
    ~PlayedDevices() { replaceCaptureBackEnds({}); }
    PlayedDevices(const PlayedDevices&) = delete;
    PlayedDevices& operator=(const PlayedDevices&) = delete;

    const std::shared_ptr<PlayedBackEnd> video = std::make_shared<PlayedBackEnd>();
    const std::shared_ptr<PlayedBackEnd> sound = std::make_shared<PlayedBackEnd>();
};

}  // namespace TWQuickTime::test
