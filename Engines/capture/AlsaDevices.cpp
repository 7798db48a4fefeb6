// Sound hardware without a server. Every device is opened through the converting layer of the
// library, so that all of them deliver 16 bits at a usual rate.
#include <cstdarg>

// Declares one of its functions outside of its own block of C linkage.
extern "C" {
#include <alsa/error.h>
}
#include <alsa/asoundlib.h>

#include <algorithm>

#include "Engines/capture/CaptureClock.h"
#include "Engines/capture/DeviceManager.h"
#include "Engines/capture/SoundDevices.h"
#include "Engines/codec/ByteOrder.h"
#include "Engines/lazyload/LazyLibrary.h"

namespace TWQuickTime::capture {

using codec::fourCode;
using result::Expected;
using result::Failure;
using result::FailureKind;
using result::Status;

namespace {

constexpr unsigned kUsualRate = 48000;
constexpr unsigned kUsualChannels = 2;
constexpr unsigned kBufferInMicroseconds = 500'000;
constexpr int kPiecesPerSecond = 50;

struct Release {
    void operator()(snd_ctl_t* control) const { snd_ctl_close(control); }
    void operator()(snd_pcm_t* device) const { snd_pcm_close(device); }
    void operator()(snd_ctl_card_info_t* info) const { snd_ctl_card_info_free(info); }
    void operator()(snd_pcm_info_t* info) const { snd_pcm_info_free(info); }
    void operator()(snd_pcm_hw_params_t* parameters) const { snd_pcm_hw_params_free(parameters); }
};
template <class Object>
using AlsaPointer = std::unique_ptr<Object, Release>;

/// Keeps the library from writing to standard error; its failures are reported as values.
class QuietLibrary {
  public:
    QuietLibrary() : previous_(snd_lib_error_set_local(&sayNothing)) {}
    ~QuietLibrary() { snd_lib_error_set_local(previous_); }
    QuietLibrary(const QuietLibrary&) = delete;
    QuietLibrary& operator=(const QuietLibrary&) = delete;

  private:
    static void sayNothing(const char*, int, const char*, int, const char*, va_list) {}
    snd_local_error_handler_t previous_;
};

/// An object of the library's that is filled in by a call.
template <class Object>
AlsaPointer<Object> allocated(int (*allocate)(Object**)) {
    Object* object = nullptr;
    return AlsaPointer<Object>(allocate(&object) < 0 ? nullptr : object);
}

Failure failureOf(int negativeError, const std::string& name) {
    Failure failure =
        result::systemFailure(-negativeError, name + ": " + snd_strerror(negativeError));
    if (negativeError == -EBUSY)
        failure.kind = FailureKind::notAvailable;
    else if (negativeError == -ENODEV || negativeError == -ENOENT)
        failure.kind = FailureKind::notFound;
    return failure;
}

class AlsaSource : public DeviceSource {
  public:
    AlsaSource(AlsaPointer<snd_pcm_t> device, std::string name, unsigned rate, unsigned channels)
        : device_(std::move(device)), name_(std::move(name)) {
        format_ = SoundFormat{fourCode("sowt"), static_cast<int>(rate), static_cast<int>(channels)};
    }

    const StreamFormat& format() const override { return format_; }

    Status start() override {
        int status = snd_pcm_prepare(device_.get());
        if (status >= 0)
            status = snd_pcm_start(device_.get());
        if (status < 0)
            return failureOf(status, name_);
        running_ = true;
        return {};
    }

    void stop() override {
        if (running_)
            snd_pcm_drop(device_.get());
        running_ = false;
    }

    Expected<std::optional<CapturedUnit>> next() override {
        if (!running_)
            return std::optional<CapturedUnit>();
        const int ready = snd_pcm_wait(device_.get(), int{kLongestWaitInNanoseconds / 1'000'000});
        if (ready == 0)
            return std::optional<CapturedUnit>();
        const auto& format = std::get<SoundFormat>(format_);
        const auto bytesPerFrame = static_cast<std::size_t>(format.bytesPerFrame());
        snd_pcm_sframes_t delay = 0;
        snd_pcm_delay(device_.get(), &delay);
        CapturedUnit unit;
        unit.timeInNanoseconds = CaptureClock::system().nanoseconds() -
                                 std::int64_t{delay} * 1'000'000'000 / format.sampleRate;
        const auto frames = static_cast<std::size_t>(format.sampleRate / kPiecesPerSecond);
        unit.bytes.resize(frames * bytesPerFrame);
        const snd_pcm_sframes_t taken = snd_pcm_readi(device_.get(), unit.bytes.data(), frames);
        if (taken == -EAGAIN)
            return std::optional<CapturedUnit>();
        // Sound that was not taken in time is lost, the device goes on.
        if (taken == -EPIPE || taken == -ESTRPIPE) {
            if (Status started = start(); !started)
                return started.failure();
            return std::optional<CapturedUnit>();
        }
        if (taken < 0)
            return failureOf(static_cast<int>(taken), name_);
        unit.bytes.resize(static_cast<std::size_t>(taken) * bytesPerFrame);
        return std::optional(std::move(unit));
    }

  private:
    AlsaPointer<snd_pcm_t> device_;
    std::string name_;
    StreamFormat format_;
    bool running_ = false;
};

class AlsaDevices : public DeviceBackEnd {
  public:
    std::vector<Device> devices(bool checkAvailability) override {
        std::vector<Device> found;
        if (!lazyload::isInstalled("libasound.so.2"))
            return found;
        const QuietLibrary quiet;
        for (Entry& entry : entries()) {
            entry.device.available = !checkAvailability || openDevice(entry.name).ok();
            found.push_back(std::move(entry.device));
        }
        return found;
    }

    Expected<std::unique_ptr<DeviceSource>> open(const std::string& identity,
                                                 std::size_t inputIndex) override {
        if (!lazyload::isInstalled("libasound.so.2") || inputIndex != 0)
            return Failure{FailureKind::notFound, identity + ": no such device or input"};
        const QuietLibrary quiet;
        auto device = openDevice(nameOf(identity));
        if (!device)
            return device.failure();
        const auto parameters = allocated(snd_pcm_hw_params_malloc);
        unsigned rate = kUsualRate, channels = kUsualChannels, buffer = kBufferInMicroseconds;
        int status = parameters ? 0 : -ENOMEM;
        const auto settle = [&](auto call, auto... arguments) {
            if (status >= 0)
                status = call(device->get(), parameters.get(), arguments...);
        };
        settle(snd_pcm_hw_params_any);
        settle(snd_pcm_hw_params_set_access, SND_PCM_ACCESS_RW_INTERLEAVED);
        settle(snd_pcm_hw_params_set_format, SND_PCM_FORMAT_S16_LE);
        settle(snd_pcm_hw_params_set_channels_near, &channels);
        settle(snd_pcm_hw_params_set_rate_near, &rate, static_cast<int*>(nullptr));
        settle(snd_pcm_hw_params_set_buffer_time_near, &buffer, static_cast<int*>(nullptr));
        settle(snd_pcm_hw_params);
        if (status < 0)
            return failureOf(status, identity);
        return std::unique_ptr<DeviceSource>(
            std::make_unique<AlsaSource>(*std::move(device), identity, rate, channels));
    }

  private:
    static Expected<AlsaPointer<snd_pcm_t>> openDevice(const std::string& name) {
        snd_pcm_t* device = nullptr;
        const int status =
            snd_pcm_open(&device, name.c_str(), SND_PCM_STREAM_CAPTURE, SND_PCM_NONBLOCK);
        if (status < 0)
            return failureOf(status, name);
        return AlsaPointer<snd_pcm_t>(device);
    }

    /// A device with the name that the library opens it by, which follows the order in which cards
    /// of one kind were plugged in.
    struct Entry {
        Device device;
        std::string name;
    };

    static std::vector<Entry> entries() {
        std::vector<Entry> found;
        const std::vector<DeviceNode> nodes = deviceNodes("sound");
        for (int card = -1; snd_card_next(&card) == 0 && card >= 0;) {
            const std::string path = "/dev/snd/controlC" + std::to_string(card);
            const auto node =
                std::find_if(nodes.begin(), nodes.end(),
                             [&](const DeviceNode& candidate) { return candidate.path == path; });
            listCard(card, node == nodes.end() ? std::string() : node->identity, found);
        }
        return found;
    }

    /// @param cardIdentity  the device manager's; empty where it knows none
    static void listCard(int card, const std::string& cardIdentity, std::vector<Entry>& found) {
        snd_ctl_t* opened = nullptr;
        if (snd_ctl_open(&opened, ("hw:" + std::to_string(card)).c_str(), SND_CTL_NONBLOCK) < 0)
            return;
        const AlsaPointer<snd_ctl_t> control(opened);
        const auto cardInfo = allocated(snd_ctl_card_info_malloc);
        const auto deviceInfo = allocated(snd_pcm_info_malloc);
        if (!cardInfo || !deviceInfo || snd_ctl_card_info(control.get(), cardInfo.get()) < 0)
            return;
        for (int number = -1;
             snd_ctl_pcm_next_device(control.get(), &number) == 0 && number >= 0;) {
            snd_pcm_info_set_device(deviceInfo.get(), static_cast<unsigned>(number));
            snd_pcm_info_set_subdevice(deviceInfo.get(), 0);
            snd_pcm_info_set_stream(deviceInfo.get(), SND_PCM_STREAM_CAPTURE);
            if (snd_ctl_pcm_info(control.get(), deviceInfo.get()) < 0)
                continue;
            Entry entry;
            entry.name = std::string("plughw:CARD=") + snd_ctl_card_info_get_id(cardInfo.get()) +
                         ",DEV=" + std::to_string(number);
            entry.device.kind = MediaKind::sound;
            entry.device.name = snd_ctl_card_info_get_name(cardInfo.get());
            entry.device.inputs = {{snd_pcm_info_get_name(deviceInfo.get())}};
            entry.device.identity = cardIdentity.empty() ? entry.name : cardIdentity;
            if (!cardIdentity.empty() && number > 0)
                entry.device.identity += "#" + std::to_string(number);
            found.push_back(std::move(entry));
        }
    }

    /// Names of the library's own configuration, such as "default", name themselves.
    static std::string nameOf(const std::string& identity) {
        const std::vector<Entry> all = entries();
        const auto entry = std::find_if(all.begin(), all.end(), [&](const Entry& candidate) {
            return candidate.device.identity == identity;
        });
        return entry == all.end() ? identity : entry->name;
    }
};

}  // namespace

std::unique_ptr<DeviceBackEnd> makeAlsaDevices() {
    return std::make_unique<AlsaDevices>();
}

}  // namespace TWQuickTime::capture
