// ProRes with one quantiser for a whole frame. Searching a quantiser for every slice costs most of
// an encoder's time; instead the sizes of the previous frames say which quantiser meets the
// profile's rate. Several frames are coded at a time, each on a thread of its own; so a size is
// known only when the next frames have begun, and tells on those after them.
#include <algorithm>
#include <array>
#include <cmath>
#include <deque>
#include <future>
#include <thread>

#include "Engines/codec/Private/EncoderFactories.h"
#include "Engines/codec/Private/PictureEncoder.h"
#include "Engines/codec/Private/ProResCoder.h"

namespace TWQuickTime::codec {

using result::Expected;
using result::Failure;
using result::FailureKind;
using result::Status;

namespace {

constexpr int kLargestQuantizer = 40;
/// Frames of 1080p take 8 MiB each before they are coded.
constexpr int kMostAtATime = 4;
constexpr int kMostAttempts = 7;
/// Sizes fall with this power of the quantiser, usually.
constexpr double kFall = 0.75;
/// What earlier pictures took too much or left over is settled within so many.
constexpr double kPicturesToSettle = 16;

/// The profiles' bits for a macroblock, for pictures of up to 1620, 2700, 6075 and more of them.
constexpr std::array<std::array<int, 4>, 6> kBitsPerBlock = {{{300, 242, 220, 194},
                                                              {720, 560, 490, 440},
                                                              {1050, 808, 710, 632},
                                                              {1566, 1216, 1070, 950},
                                                              {2350, 1828, 1600, 1425},
                                                              {3525, 2742, 2400, 2137}}};

std::int64_t bytesPerFrame(int profile, int width, int height) {
    const std::int64_t blocks = std::int64_t((width + 15) / 16) * ((height + 15) / 16);
    const std::size_t column = blocks <= 1620 ? 0 : blocks <= 2700 ? 1 : blocks <= 6075 ? 2 : 3;
    return blocks * kBitsPerBlock[std::size_t(profile)][column] / 8;
}

class ProResEncoder : public PictureEncoder {
  public:
    ProResEncoder(VideoEncoderSettings settings, PictureTarget input, const VideoCodecEntry& entry)
        : PictureEncoder(settings),
          target_(bytesPerFrame(entry.profile, settings_.width, settings_.height)),
          smallest_(entry.profile == 0 ? 4 : 1),
          quantizer_(std::max(smallest_, 4)) {
        input_ = input;
        if (settings_.bytesPerSecond > 0) {
            target_ = std::max<std::int64_t>(
                1, std::llround(double(settings_.bytesPerSecond) / settings_.frameRate.value()));
        }
        const int threads =
            settings_.threads > 0 ? settings_.threads : int(std::thread::hardware_concurrency());
        for (int i = 0; i < std::clamp(threads, 1, kMostAtATime); ++i) {
            coders_.emplace_back(settings_, input_, entry);
        }
    }

    Status prepare() {
        if (auto status = coders_.front().prepare(quantizer_); !status) {
            return status;
        }
        coders_.front().describe(*parameters_.parameters);
        return {};
    }

    Status finish() override {
        while (!running_.empty()) {
            if (auto status = collect(); !status) {
                return status;
            }
        }
        return {};
    }

    std::shared_ptr<const NativeParameters> parameters() const override {
        auto native = std::make_shared<NativeParameters>();
        avcodec_parameters_copy(native->parameters, parameters_.parameters);
        native->timeBase = {1, settings_.timeScale};
        return native;
    }

  private:
    /// A frame that is being coded. Coders take turns, so the oldest one's is the next to be free.
    struct Running {
        std::future<Expected<Packet>> coded;
        int quantizer = 0;
        std::int64_t time = 0, duration = 0;
    };

    Status take(const VideoFrame& picture) override {
        if (isFirst_) {
            return takeFirst(picture);
        }
        ProResCoder& coder = coders_[turn_++ % coders_.size()];
        const int quantizer = quantizer_;
        running_.push_back(
            {std::async(std::launch::async,
                        [&coder, picture, quantizer] { return coder.code(picture, quantizer); }),
             quantizer, picture.time, picture.duration});
        // Here and not before the next picture: it shall not be made while this many are in memory.
        return running_.size() < coders_.size() ? Status() : collect();
    }

    /// The first picture is tried until its size fits; later ones follow their predecessors.
    Status takeFirst(const VideoFrame& picture) {
        for (int attempt = 1;; ++attempt) {
            auto coded = coders_.front().code(picture, quantizer_);
            if (!coded) {
                return coded.failure();
            }
            const std::int64_t size = std::int64_t(coded->bytes.size());
            learn(quantizer_, size);
            const int next = choose();
            const bool fits = std::abs(size - target_) <= target_ / 12;
            if (fits || next == quantizer_ || attempt == kMostAttempts) {
                isFirst_ = false;
                settle(size);
                deliver(std::move(*coded), picture.time, picture.duration);
                return {};
            }
            quantizer_ = next;
        }
    }

    /// Waits for the oldest frame.
    Status collect() {
        Running oldest = std::move(running_.front());
        running_.pop_front();
        auto coded = oldest.coded.get();
        if (!coded) {
            return coded.failure();
        }
        const std::int64_t size = std::int64_t(coded->bytes.size());
        learn(oldest.quantizer, size);
        settle(size);
        deliver(std::move(*coded), oldest.time, oldest.duration);
        return {};
    }

    void settle(std::int64_t size) {
        saved_ = std::clamp(saved_ + target_ - size, -4 * target_, 4 * target_);
        quantizer_ = choose();
    }

    /// Pictures that were decoded from difference frames take turns in how much grain they have, so
    /// one picture says little of the next.
    void learn(int quantizer, std::int64_t size) {
        constexpr double kShareOfLatest = 0.25;
        const double effort = double(size) * std::pow(quantizer, kFall);
        effort_ += (effort - effort_) * (isFirst_ ? 1 : kShareOfLatest);
    }

    /// What the next picture would take with a quantiser.
    double estimate(int quantizer) const { return effort_ / std::pow(quantizer, kFall); }

    int choose() const {
        const double wanted = double(target_) + double(saved_) / kPicturesToSettle;
        int best = smallest_;
        double bestDistance = INFINITY;
        for (int quantizer = smallest_; quantizer <= kLargestQuantizer; ++quantizer) {
            const double distance = std::abs(estimate(quantizer) - wanted);
            if (distance < bestDistance) {
                bestDistance = distance;
                best = quantizer;
            }
        }
        return best;
    }

    std::int64_t target_;
    int smallest_;
    int quantizer_;      ///< for the next picture
    double effort_ = 0;  ///< bytes of a picture with the quantiser 1
    std::int64_t saved_ = 0;
    bool isFirst_ = true;
    /// Taken at the beginning: later the coders may be at work when they are asked for.
    NativeParameters parameters_;
    std::deque<ProResCoder> coders_;
    std::size_t turn_ = 0;
    /// Behind the coders: the frames are waited for before those go.
    std::deque<Running> running_;
};

}  // namespace

Expected<std::unique_ptr<VideoEncoder>> openProResEncoder(const VideoEncoderSettings& settings,
                                                          const VideoCodecEntry& entry) {
    PictureTarget input;
    input.format = PixelFormat(choosePixelFormat(settings, entry));
    input.width = settings.width;
    input.height = settings.height;
    input.color = encodedColor(settings, input.format);
    auto encoder = std::make_unique<ProResEncoder>(settings, input, entry);
    if (auto status = encoder->prepare(); !status) {
        return status.failure();
    }
    return std::unique_ptr<VideoEncoder>(std::move(encoder));
}

}  // namespace TWQuickTime::codec
