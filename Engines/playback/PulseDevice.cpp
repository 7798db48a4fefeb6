#include "Engines/playback/PulseDevice.h"

#include <pulse/pulseaudio.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cmath>
#include <mutex>

#include "Engines/lazyload/LazyLibrary.h"

namespace TWQuickTime::playback {

using result::Failure;
using result::FailureKind;
using result::Status;

namespace {

constexpr const char* kApplication = "TWQuickTime";
/// What the server holds of us: enough for a busy machine, little enough to stop soon.
constexpr double kServerBufferInSeconds = 0.06;
constexpr double kMicrosecondsPerSecond = 1e6;
constexpr auto kLongestListing = std::chrono::milliseconds(500);

bool isLibraryThere() {
    return lazyload::isInstalled("libpulse.so.0");
}

struct MainLoopLock {
    explicit MainLoopLock(pa_threaded_mainloop* mainLoop) : loop(mainLoop) {
        pa_threaded_mainloop_lock(loop);
    }
    ~MainLoopLock() { pa_threaded_mainloop_unlock(loop); }
    MainLoopLock(const MainLoopLock&) = delete;
    MainLoopLock& operator=(const MainLoopLock&) = delete;
    pa_threaded_mainloop* loop;
};

/// Nobody waits for operations; their order on the connection is enough.
void forget(pa_operation* operation) {
    if (operation) {
        pa_operation_unref(operation);
    }
}

}  // namespace

/// Everything but `status` belongs to whoever holds the main loop's lock.
struct PulseDevice::Connection {
    std::string sink;
    SoundSupply* supply = nullptr;
    codec::SoundFormat format;
    pa_threaded_mainloop* loop = nullptr;
    pa_context* context = nullptr;
    pa_stream* stream = nullptr;
    bool runs = false;
    std::int64_t taken = 0;
    std::int64_t heardAtLeast = 0;
    std::string name;

    mutable std::mutex statusMutex;
    DeviceState state = DeviceState::opening;
    Status failure;

    ~Connection() {
        if (loop) {
            pa_threaded_mainloop_stop(loop);
        }
        if (stream) {
            pa_stream_disconnect(stream);
            pa_stream_unref(stream);
        }
        if (context) {
            pa_context_disconnect(context);
            pa_context_unref(context);
        }
        if (loop) {
            pa_threaded_mainloop_free(loop);
        }
    }

    void setReady() {
        const std::lock_guard lock(statusMutex);
        if (state == DeviceState::opening) {
            state = DeviceState::ready;
        }
    }
    void setGone(const std::string& reason) {
        const std::lock_guard lock(statusMutex);
        if (state != DeviceState::gone) {
            state = DeviceState::gone;
            failure = Failure{FailureKind::notAvailable, reason};
        }
    }
    void setGoneForError() {
        setGone(std::string("sound server: ") + pa_strerror(pa_context_errno(context)));
    }

    void connect() {
        loop = pa_threaded_mainloop_new();
        context = loop ? pa_context_new(pa_threaded_mainloop_get_api(loop), kApplication) : nullptr;
        if (!context) {
            setGone("sound server: no memory");
            return;
        }
        pa_context_set_state_callback(context, &Connection::contextChanged, this);
        // No server is started for this; a machine without one has other devices.
        if (pa_context_connect(context, nullptr, PA_CONTEXT_NOAUTOSPAWN, nullptr) < 0) {
            setGoneForError();
        } else if (pa_threaded_mainloop_start(loop) < 0) {
            setGone("sound server: no thread");
        }
    }

    static void contextChanged(pa_context* context, void* self) {
        auto& connection = *static_cast<Connection*>(self);
        switch (pa_context_get_state(context)) {
            case PA_CONTEXT_READY:
                connection.openStream();
                break;
            case PA_CONTEXT_FAILED:
                connection.setGoneForError();
                break;
            case PA_CONTEXT_TERMINATED:
                connection.setGone("the sound server went away");
                break;
            default:
                break;
        }
    }

    void openStream() {
        pa_sample_spec spec{};
        spec.format = PA_SAMPLE_FLOAT32NE;
        spec.rate = std::uint32_t(std::clamp(format.sampleRate, 1.0, double(PA_RATE_MAX)));
        spec.channels = std::uint8_t(std::clamp(format.channels, 1, int(PA_CHANNELS_MAX)));
        pa_channel_map map;
        pa_channel_map_init_extend(&map, spec.channels, PA_CHANNEL_MAP_WAVEEX);
        stream = pa_stream_new(context, "movie", &spec, &map);
        if (!stream) {
            setGoneForError();
            return;
        }
        pa_stream_set_state_callback(stream, &Connection::streamChanged, this);
        pa_stream_set_write_callback(stream, &Connection::wanted, this);
        constexpr auto kServersChoice = static_cast<std::uint32_t>(-1);
        pa_buffer_attr buffer{};
        buffer.maxlength = kServersChoice;
        buffer.tlength = std::uint32_t(
            pa_usec_to_bytes(pa_usec_t(kServerBufferInSeconds * kMicrosecondsPerSecond), &spec));
        // The clock runs from the start on, and silence of ours is as good as the server's.
        buffer.prebuf = 0;
        buffer.minreq = kServersChoice;
        const auto flags = pa_stream_flags_t(PA_STREAM_START_CORKED | PA_STREAM_INTERPOLATE_TIMING |
                                             PA_STREAM_AUTO_TIMING_UPDATE |
                                             PA_STREAM_ADJUST_LATENCY | PA_STREAM_FIX_RATE);
        if (pa_stream_connect_playback(stream, sink.empty() ? nullptr : sink.c_str(), &buffer,
                                       flags, nullptr, nullptr) < 0) {
            setGoneForError();
        }
    }

    static void streamChanged(pa_stream* stream, void* self) {
        auto& connection = *static_cast<Connection*>(self);
        switch (pa_stream_get_state(stream)) {
            case PA_STREAM_READY: {
                const pa_sample_spec* spec = pa_stream_get_sample_spec(stream);
                connection.format = {int(spec->channels), double(spec->rate)};
                connection.name = pa_stream_get_device_name(stream);
                connection.setReady();
                break;
            }
            case PA_STREAM_FAILED:
                connection.setGoneForError();
                break;
            case PA_STREAM_TERMINATED:
                connection.setGone("the sound server closed the stream");
                break;
            default:
                break;
        }
    }

    static void wanted(pa_stream*, std::size_t bytes, void* self) {
        static_cast<Connection*>(self)->write(bytes);
    }

    void write(std::size_t bytes) {
        const std::size_t bytesPerFrame = std::size_t(format.channels) * sizeof(float);
        while (runs && bytes >= bytesPerFrame) {
            void* place = nullptr;
            std::size_t room = bytes;
            if (pa_stream_begin_write(stream, &place, &room) < 0 || !place) {
                return;
            }
            const std::size_t frames = std::min(room, bytes) / bytesPerFrame;
            if (frames == 0) {
                pa_stream_cancel_write(stream);
                return;
            }
            supply->supply({static_cast<float*>(place), frames * std::size_t(format.channels)});
            if (pa_stream_write(stream, place, frames * bytesPerFrame, nullptr, 0,
                                PA_SEEK_RELATIVE) < 0) {
                return;
            }
            taken += std::int64_t(frames);
            bytes -= frames * bytesPerFrame;
        }
    }

    DeviceProgress progress() {
        if (!runs) {
            return {taken, taken};
        }
        pa_usec_t latency = 0;
        int isNegative = 0;
        if (pa_stream_get_latency(stream, &latency, &isNegative) < 0) {
            return {taken, heardAtLeast};
        }
        const double ahead =
            isNegative ? 0.0 : double(latency) * format.sampleRate / kMicrosecondsPerSecond;
        return {taken, std::clamp(taken - std::int64_t(std::ceil(ahead)), heardAtLeast, taken)};
    }
};

PulseDevice::PulseDevice(std::string sink) : connection_(std::make_unique<Connection>()) {
    connection_->sink = std::move(sink);
}

PulseDevice::~PulseDevice() = default;

std::string PulseDevice::name() const {
    if (state() != DeviceState::opening && !connection_->name.empty()) {
        return connection_->name;
    }
    return connection_->sink.empty() ? "sound server" : connection_->sink;
}

void PulseDevice::requestOpen(codec::SoundFormat wanted, SoundSupply& supply) {
    connection_->format = wanted;
    connection_->supply = &supply;
    if (isLibraryThere()) {
        connection_->connect();
    } else {
        connection_->setGone("no library for sound servers is installed");
    }
}

DeviceState PulseDevice::state() const {
    const std::lock_guard lock(connection_->statusMutex);
    return connection_->state;
}

Status PulseDevice::failure() const {
    const std::lock_guard lock(connection_->statusMutex);
    return connection_->failure;
}

codec::SoundFormat PulseDevice::format() const {
    return connection_->format;
}

void PulseDevice::start() {
    if (state() != DeviceState::ready) {
        return;
    }
    const MainLoopLock lock(connection_->loop);
    connection_->runs = true;
    connection_->heardAtLeast = connection_->taken;
    const std::size_t room = pa_stream_writable_size(connection_->stream);
    if (room != static_cast<std::size_t>(-1)) {
        connection_->write(room);
    }
    forget(pa_stream_cork(connection_->stream, 0, nullptr, nullptr));
}

void PulseDevice::stop() {
    if (state() != DeviceState::ready) {
        return;
    }
    const MainLoopLock lock(connection_->loop);
    connection_->runs = false;
    forget(pa_stream_cork(connection_->stream, 1, nullptr, nullptr));
    forget(pa_stream_flush(connection_->stream, nullptr, nullptr));
}

DeviceProgress PulseDevice::progress() const {
    if (!connection_->loop) {
        return {};
    }
    const MainLoopLock lock(connection_->loop);
    const DeviceProgress progress = connection_->progress();
    connection_->heardAtLeast = progress.framesHeard;
    return progress;
}

namespace {

/// A loop that lists sinks and ends.
struct SinkLister {
    pa_mainloop* loop = pa_mainloop_new();
    pa_context* context = pa_context_new(pa_mainloop_get_api(loop), kApplication);
    std::vector<DeviceListing> found;
    bool isAsked = false;
    bool isDone = false;

    SinkLister() = default;
    SinkLister(const SinkLister&) = delete;
    SinkLister& operator=(const SinkLister&) = delete;
    ~SinkLister() {
        pa_context_disconnect(context);
        pa_context_unref(context);
        pa_mainloop_free(loop);
    }

    static void sink(pa_context*, const pa_sink_info* info, int end, void* self) {
        auto& lister = *static_cast<SinkLister*>(self);
        if (info) {
            lister.found.push_back({info->name, info->description});
        }
        lister.isDone = end != 0;
    }

    void run() {
        if (pa_context_connect(context, nullptr, PA_CONTEXT_NOAUTOSPAWN, nullptr) < 0) {
            return;
        }
        const auto deadline = std::chrono::steady_clock::now() + kLongestListing;
        while (!isDone && PA_CONTEXT_IS_GOOD(pa_context_get_state(context))) {
            if (pa_context_get_state(context) == PA_CONTEXT_READY && !isAsked) {
                isAsked = true;
                forget(pa_context_get_sink_info_list(context, &SinkLister::sink, this));
            }
            const auto left = std::chrono::duration_cast<std::chrono::microseconds>(
                deadline - std::chrono::steady_clock::now());
            if (left.count() <= 0 || pa_mainloop_prepare(loop, int(left.count())) < 0 ||
                pa_mainloop_poll(loop) < 0 || pa_mainloop_dispatch(loop) < 0) {
                return;
            }
        }
    }
};

}  // namespace

std::vector<DeviceListing> PulseDevice::sinks() {
    if (!isLibraryThere()) {
        return {};
    }
    SinkLister lister;
    lister.run();
    return std::move(lister.found);
}

}  // namespace TWQuickTime::playback
