#include "Engines/playback/AlsaDevice.h"

#include <alsa/asoundlib.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cmath>
#include <condition_variable>
#include <cstdlib>
#include <mutex>
#include <thread>

#include "Engines/lazyload/LazyLibrary.h"
#include "Engines/playback/Clock.h"
#include "Engines/timeline/Rescale.h"

namespace TWQuickTime::playback {

using result::Failure;
using result::FailureKind;
using result::Status;

namespace {

constexpr std::int64_t kNanosecondsPerSecond = 1'000'000'000;
constexpr unsigned kBufferInMicroseconds = 60'000;
constexpr unsigned kPeriodInMicroseconds = 10'000;
constexpr int kLongestWaitInMilliseconds = 100;

bool isLibraryThere() {
    return lazyload::isInstalled("libasound.so.2");
}

/// The library prints its failures; they are reported as values here.
void keepQuiet(const char*, int, const char*, int, const char*, ...) {}

struct ClosePcm {
    void operator()(snd_pcm_t* pcm) const { snd_pcm_close(pcm); }
};
using Pcm = std::unique_ptr<snd_pcm_t, ClosePcm>;

/// Samples as the hardware wants them.
template <class Sample>
void convert(std::span<const float> from, double fullScale, std::vector<std::byte>& to) {
    to.resize(from.size() * sizeof(Sample));
    auto* samples = reinterpret_cast<Sample*>(to.data());
    for (std::size_t i = 0; i < from.size(); ++i) {
        const double scaled = double(from[i]) * fullScale;
        samples[i] = Sample(std::lround(std::clamp(scaled, -fullScale, fullScale - 1)));
    }
}

}  // namespace

/// The thread and what it shares with the others, under one mutex. The mutex is held while a period
/// is supplied and handed over, never while waiting for the hardware.
class AlsaDevice::Writer {
  public:
    explicit Writer(std::string pcmName) : name_(std::move(pcmName)) {}
    ~Writer() {
        {
            const std::lock_guard lock(mutex_);
            quits_ = true;
            runs_ = false;
        }
        changed_.notify_all();
        if (thread_.joinable()) {
            thread_.join();
        }
    }

    const std::string& pcmName() const { return name_; }

    void requestOpen(codec::SoundFormat wanted, SoundSupply& supply) {
        format_ = wanted;
        supply_ = &supply;
        thread_ = std::thread([this] { run(); });
    }
    DeviceState state() const {
        const std::lock_guard lock(mutex_);
        return state_;
    }
    Status failure() const {
        const std::lock_guard lock(mutex_);
        return failure_;
    }
    codec::SoundFormat format() const {
        const std::lock_guard lock(mutex_);
        return format_;
    }

    void start() {
        const std::lock_guard lock(mutex_);
        if (state_ != DeviceState::ready) {
            return;
        }
        snd_pcm_prepare(pcm_.get());
        runs_ = true;
        heardAtLeast_ = taken_;
        takenAtStart_ = taken_;
        startedAt_ = noted_ = Clock::steady()->nanoseconds();
        notYetHeard_ = 0;
        changed_.notify_all();
    }
    void stop() {
        const std::lock_guard lock(mutex_);
        if (runs_) {
            runs_ = false;
            snd_pcm_drop(pcm_.get());
        }
    }
    DeviceProgress progress() {
        const std::lock_guard lock(mutex_);
        if (!runs_) {
            return {taken_, state_ == DeviceState::gone ? heardAtLeast_ : taken_};
        }
        const std::int64_t since = framesIn(Clock::steady()->nanoseconds() - noted_);
        heardAtLeast_ = std::clamp(taken_ - notYetHeard_ + since, heardAtLeast_, taken_);
        return {taken_, heardAtLeast_};
    }

  private:
    std::int64_t framesIn(std::int64_t nanoseconds) const {
        return timeline::rescaleDown(nanoseconds, kNanosecondsPerSecond,
                                     std::int64_t(format_.sampleRate));
    }

    void fail(const char* doing, int error) {
        runs_ = false;
        state_ = DeviceState::gone;
        failure_ = Failure{FailureKind::notAvailable,
                           name_ + ": " + doing + ": " + snd_strerror(error), -error};
    }

    void run() {
        {
            // Opening may take its time; nobody else touches the device before it is ready.
            Pcm opened;
            const bool isThere = isLibraryThere();
            const int error = isThere ? open(opened) : -ENOSYS;
            const std::lock_guard lock(mutex_);
            pcm_ = std::move(opened);
            if (!isThere) {
                state_ = DeviceState::gone;
                failure_ = Failure{FailureKind::notAvailable, "ALSA's library is not installed"};
                return;
            }
            if (error < 0) {
                fail("opening", error);
                return;
            }
            state_ = DeviceState::ready;
        }
        while (waitUntilRunning()) {
            snd_pcm_wait(pcm_.get(), kLongestWaitInMilliseconds);
            std::unique_lock lock(mutex_);
            if (runs_ && !writePeriod()) {
                // The device swallows everything at once; it gets no more than has passed.
                changed_.wait_for(lock, std::chrono::microseconds(kPeriodInMicroseconds),
                                  [this] { return quits_ || !runs_; });
            }
        }
    }

    bool waitUntilRunning() {
        std::unique_lock lock(mutex_);
        changed_.wait(lock, [this] { return quits_ || runs_ || state_ == DeviceState::gone; });
        return !quits_ && state_ != DeviceState::gone;
    }

    int open(Pcm& opened) {
        snd_lib_error_set_handler(keepQuiet);
        snd_pcm_t* handle = nullptr;
        int error = snd_pcm_open(&handle, name_.c_str(), SND_PCM_STREAM_PLAYBACK, SND_PCM_NONBLOCK);
        if (error < 0) {
            return error;
        }
        opened.reset(handle);
        snd_pcm_hw_params_t* hardware = nullptr;
        snd_pcm_hw_params_malloc(&hardware);
        const std::unique_ptr<snd_pcm_hw_params_t, void (*)(snd_pcm_hw_params_t*)> owner(
            hardware, snd_pcm_hw_params_free);
        error = chooseFormat(handle, hardware);
        if (error < 0) {
            return error;
        }
        snd_pcm_sw_params_t* software = nullptr;
        snd_pcm_sw_params_malloc(&software);
        const std::unique_ptr<snd_pcm_sw_params_t, void (*)(snd_pcm_sw_params_t*)> softwareOwner(
            software, snd_pcm_sw_params_free);
        snd_pcm_sw_params_current(handle, software);
        snd_pcm_sw_params_set_start_threshold(handle, software, bufferFrames_);
        snd_pcm_sw_params_set_avail_min(handle, software, periodFrames_);
        return snd_pcm_sw_params(handle, software);
    }

    int chooseFormat(snd_pcm_t* handle, snd_pcm_hw_params_t* hardware) {
        int error = snd_pcm_hw_params_any(handle, hardware);
        if (error < 0) {
            return error;
        }
        snd_pcm_hw_params_set_access(handle, hardware, SND_PCM_ACCESS_RW_INTERLEAVED);
        for (const auto kind : {SND_PCM_FORMAT_FLOAT, SND_PCM_FORMAT_S32, SND_PCM_FORMAT_S16}) {
            sampleFormat_ = kind;
            error = snd_pcm_hw_params_set_format(handle, hardware, kind);
            if (error == 0) {
                break;
            }
        }
        if (error < 0) {
            return error;
        }
        // Our own resampler is better than ALSA's.
        snd_pcm_hw_params_set_rate_resample(handle, hardware, 0);
        auto channels = unsigned(format_.channels);
        auto rate = unsigned(format_.sampleRate);
        unsigned buffer = kBufferInMicroseconds, period = kPeriodInMicroseconds;
        snd_pcm_hw_params_set_channels_near(handle, hardware, &channels);
        snd_pcm_hw_params_set_rate_near(handle, hardware, &rate, nullptr);
        snd_pcm_hw_params_set_buffer_time_near(handle, hardware, &buffer, nullptr);
        snd_pcm_hw_params_set_period_time_near(handle, hardware, &period, nullptr);
        error = snd_pcm_hw_params(handle, hardware);
        if (error < 0) {
            return error;
        }
        snd_pcm_get_params(handle, &bufferFrames_, &periodFrames_);
        const std::lock_guard lock(mutex_);
        format_ = {int(channels), double(rate)};
        return 0;
    }

    /// False when there is time until the next one.
    bool writePeriod() {
        const std::int64_t now = Clock::steady()->nanoseconds();
        const auto buffer = std::int64_t(bufferFrames_);
        if (taken_ - takenAtStart_ > framesIn(now - startedAt_) + 2 * buffer) {
            return false;
        }
        const snd_pcm_sframes_t room = snd_pcm_avail_update(pcm_.get());
        if (room < 0) {
            return recover(int(room));
        }
        const auto frames = std::min<std::size_t>(std::size_t(room), periodFrames_);
        if (frames == 0) {
            return true;
        }
        piece_.resize(frames * std::size_t(format_.channels));
        supply_->supply(piece_);
        taken_ += std::int64_t(frames);
        const snd_pcm_sframes_t written = snd_pcm_writei(pcm_.get(), bytesOfPiece(), frames);
        if (written < 0) {
            return recover(int(written));
        }
        snd_pcm_sframes_t delay = 0;
        if (snd_pcm_delay(pcm_.get(), &delay) == 0) {
            noted_ = Clock::steady()->nanoseconds();
            notYetHeard_ = std::max<std::int64_t>(delay, 0);
        }
        return true;
    }

    bool recover(int error) {
        if (error == -EPIPE || error == -ESTRPIPE || error == -EINTR || error == -EAGAIN) {
            snd_pcm_recover(pcm_.get(), error, 1);
        } else {
            fail("writing", error);
        }
        return true;
    }

    const void* bytesOfPiece() {
        switch (sampleFormat_) {
            case SND_PCM_FORMAT_S32:
                convert<std::int32_t>(piece_, 2147483648.0, bytes_);
                return bytes_.data();
            case SND_PCM_FORMAT_S16:
                convert<std::int16_t>(piece_, 32768.0, bytes_);
                return bytes_.data();
            default:
                return piece_.data();
        }
    }

    const std::string name_;
    SoundSupply* supply_ = nullptr;
    std::thread thread_;
    Pcm pcm_;
    snd_pcm_format_t sampleFormat_ = SND_PCM_FORMAT_FLOAT;
    snd_pcm_uframes_t bufferFrames_ = 0, periodFrames_ = 0;
    std::vector<float> piece_;
    std::vector<std::byte> bytes_;

    mutable std::mutex mutex_;
    std::condition_variable changed_;
    DeviceState state_ = DeviceState::opening;
    Status failure_;
    codec::SoundFormat format_;
    bool runs_ = false;
    bool quits_ = false;
    std::int64_t taken_ = 0;
    std::int64_t takenAtStart_ = 0;
    std::int64_t startedAt_ = 0;  ///< nanoseconds of the steady clock
    std::int64_t noted_ = 0;      ///< when the next one was so
    std::int64_t notYetHeard_ = 0;
    std::int64_t heardAtLeast_ = 0;
};

AlsaDevice::AlsaDevice(std::string pcm) : writer_(std::make_unique<Writer>(std::move(pcm))) {}
AlsaDevice::~AlsaDevice() = default;

std::string AlsaDevice::name() const {
    return writer_->pcmName();
}

void AlsaDevice::requestOpen(codec::SoundFormat wanted, SoundSupply& supply) {
    writer_->requestOpen(wanted, supply);
}

DeviceState AlsaDevice::state() const {
    return writer_->state();
}

Status AlsaDevice::failure() const {
    return writer_->failure();
}

codec::SoundFormat AlsaDevice::format() const {
    return writer_->format();
}

void AlsaDevice::start() {
    writer_->start();
}

void AlsaDevice::stop() {
    writer_->stop();
}

DeviceProgress AlsaDevice::progress() const {
    return writer_->progress();
}

std::vector<DeviceListing> AlsaDevice::pcms() {
    std::vector<DeviceListing> found;
    void** hints = nullptr;
    if (!isLibraryThere() || snd_device_name_hint(-1, "pcm", &hints) < 0) {
        return found;
    }
    const auto text = [](void* hint, const char* key) {
        const std::unique_ptr<char, void (*)(void*)> value(snd_device_name_get_hint(hint, key),
                                                           std::free);
        return value ? std::string(value.get()) : std::string();
    };
    for (void** hint = hints; *hint; ++hint) {
        // No direction means both.
        if (text(*hint, "IOID") != "Input") {
            found.push_back({"alsa:" + text(*hint, "NAME"), text(*hint, "DESC")});
        }
    }
    snd_device_name_free_hint(hints);
    return found;
}

}  // namespace TWQuickTime::playback
