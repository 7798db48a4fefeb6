#include "Engines/capture/TestPattern.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <numbers>

#include "Engines/capture/TestPicture.h"
#include "Engines/codec/VideoEncoder.h"

namespace TWQuickTime::capture {

using codec::fourCode;
using result::Expected;
using result::Failure;
using result::FailureKind;
using result::Status;

namespace {

constexpr const char* kIdentity = "built-in:test-pattern";
constexpr std::int64_t kNanosecondsPerSecond = 1'000'000'000;
constexpr std::size_t kUncompressedInput = 1;

/// What both sources share: units come at equal distances from the start on.
class PacedSource : public DeviceSource {
  public:
    PacedSource(CaptureClock& clock, StreamFormat format, std::int64_t unitDuration)
        : clock_(clock), format_(std::move(format)), unitDuration_(unitDuration) {}

    const StreamFormat& format() const override { return format_; }
    Status start() override {
        start_ = clock_.nanoseconds();
        unit_ = 0;
        running_ = true;
        return {};
    }
    void stop() override { running_ = false; }

    Expected<std::optional<CapturedUnit>> next() override {
        if (!running_)
            return std::optional<CapturedUnit>();
        // A unit is there when its last moment has passed.
        const std::int64_t due = start_ + (unit_ + 1) * unitDuration_;
        const std::int64_t patience = clock_.nanoseconds() + kLongestWaitInNanoseconds;
        clock_.waitUntil(std::min(due, patience));
        if (due > patience)
            return std::optional<CapturedUnit>();
        auto bytes = make(unit_);
        if (!bytes)
            return bytes.failure();
        return std::optional(CapturedUnit{*std::move(bytes), start_ + unit_++ * unitDuration_});
    }

  protected:
    virtual Expected<std::vector<std::byte>> make(std::int64_t index) = 0;

  private:
    CaptureClock& clock_;
    StreamFormat format_;
    std::int64_t unitDuration_;
    std::int64_t start_ = 0;
    std::int64_t unit_ = 0;
    bool running_ = false;
};

VideoFormat pictureFormat(std::uint32_t codec) {
    return {codec, TestPicture::kWidth, TestPicture::kHeight, kTestPatternFramesPerSecond};
}

class UncompressedBars : public PacedSource {
  public:
    explicit UncompressedBars(CaptureClock& clock, std::uint32_t codec = fourCode("yuvs"))
        : PacedSource(clock, pictureFormat(codec),
                      kNanosecondsPerSecond / kTestPatternFramesPerSecond) {}

  protected:
    Expected<std::vector<std::byte>> make(std::int64_t index) override {
        return picture_.draw(index, kTestPatternFramesPerSecond);
    }

  private:
    TestPicture picture_;
};

class JpegBars : public UncompressedBars {
  public:
    JpegBars(CaptureClock& clock, std::unique_ptr<codec::VideoEncoder> encoder)
        : UncompressedBars(clock, fourCode("jpeg")), encoder_(std::move(encoder)) {}

  protected:
    Expected<std::vector<std::byte>> make(std::int64_t index) override {
        auto pixels = UncompressedBars::make(index);
        if (!pixels)
            return pixels;
        auto frame = codec::VideoFrame::allocate(codec::PixelFormat::yuyv422(), TestPicture::kWidth,
                                                 TestPicture::kHeight);
        if (!frame)
            return frame.failure();
        constexpr std::size_t kRowInBytes = std::size_t{TestPicture::kWidth} * 2;
        for (int y = 0; y < TestPicture::kHeight; ++y)
            std::memcpy(frame->writableRow(0, y), pixels->data() + std::size_t(y) * kRowInBytes,
                        kRowInBytes);
        auto input = converter_.convert(*frame, encoder_->input());
        if (!input)
            return input.failure();
        if (Status encoded = encoder_->encode(*input); !encoded)
            return encoded.failure();
        auto packet = encoder_->receive();
        if (!packet)
            return packet.failure();
        if (!*packet)
            return Failure{FailureKind::unsupported, "the JPEG encoder gave no picture"};
        return std::vector<std::byte>((*packet)->bytes.begin(), (*packet)->bytes.end());
    }

  private:
    codec::PixelConverter converter_;
    std::unique_ptr<codec::VideoEncoder> encoder_;
};

/// A sine of 1 kHz on both channels, a quarter of full scale.
class Tone : public PacedSource {
  public:
    explicit Tone(CaptureClock& clock)
        : PacedSource(clock, SoundFormat{fourCode("sowt"), kTestToneSampleRate, 2},
                      kNanosecondsPerSecond * kFramesPerUnit / kTestToneSampleRate) {}

  protected:
    Expected<std::vector<std::byte>> make(std::int64_t index) override {
        constexpr int kFramesPerPeriod = kTestToneSampleRate / kTestToneHertz;
        std::vector<std::byte> bytes;
        bytes.reserve(kFramesPerUnit * 4);
        for (int i = 0; i < kFramesPerUnit; ++i) {
            const auto phase = static_cast<double>((index * kFramesPerUnit + i) % kFramesPerPeriod);
            const double sine = std::sin(2 * std::numbers::pi * phase / kFramesPerPeriod);
            const auto sample = static_cast<std::uint16_t>(std::lround(sine * 8192));
            for (int channel = 0; channel < 2; ++channel) {
                bytes.push_back(static_cast<std::byte>(sample & 0xFF));
                bytes.push_back(static_cast<std::byte>(sample >> 8));
            }
        }
        return bytes;
    }

  private:
    static constexpr int kFramesPerUnit = 960;
};

class TestPattern : public DeviceBackEnd {
  public:
    TestPattern(MediaKind kind, CaptureClock& clock) : kind_(kind), clock_(clock) {}

    std::vector<Device> devices(bool) override {
        Device device{.kind = kind_, .name = kTestPatternName, .identity = kIdentity};
        if (kind_ == MediaKind::video)
            device.inputs = {{"Colour Bars"}, {"Uncompressed Colour Bars"}};
        else
            device.inputs = {{"1 kHz Tone"}};
        return {device};
    }

    Expected<std::unique_ptr<DeviceSource>> open(const std::string& identity,
                                                 std::size_t inputIndex) override {
        if (identity != kIdentity || inputIndex >= devices(false).front().inputs.size())
            return Failure{FailureKind::notFound, identity + ": no such device or input"};
        if (kind_ == MediaKind::sound)
            return std::unique_ptr<DeviceSource>(std::make_unique<Tone>(clock_));
        if (inputIndex == kUncompressedInput)
            return std::unique_ptr<DeviceSource>(std::make_unique<UncompressedBars>(clock_));
        codec::VideoEncoderSettings settings;
        settings.codec = fourCode("jpeg");
        settings.width = TestPicture::kWidth;
        settings.height = TestPicture::kHeight;
        settings.sourceFormat = codec::PixelFormat::yuyv422();
        settings.frameRate = {kTestPatternFramesPerSecond, 1};
        settings.spatialQuality = 700;
        auto encoder = codec::VideoEncoder::open(settings);
        if (!encoder)
            return encoder.failure();
        return std::unique_ptr<DeviceSource>(
            std::make_unique<JpegBars>(clock_, *std::move(encoder)));
    }

  private:
    MediaKind kind_;
    CaptureClock& clock_;
};

}  // namespace

std::unique_ptr<DeviceBackEnd> makeTestPattern(MediaKind kind, CaptureClock& clock) {
    return std::make_unique<TestPattern>(kind, clock);
}

}  // namespace TWQuickTime::capture
