// Sources of the sound server. What a source captures comes as the server has it: its own rate and
// channels, 16 bits, or 24 where it has more.
#include <algorithm>
#include <cstring>

#include "Engines/capture/CaptureClock.h"
#include "Engines/capture/Private/PulseConnection.h"
#include "Engines/capture/Private/PulseSourceEntry.h"
#include "Engines/capture/SoundDevices.h"
#include "Engines/codec/ByteOrder.h"

namespace TWQuickTime::capture {

using codec::fourCode;
using result::Expected;
using result::Failure;
using result::FailureKind;
using result::Status;

namespace {

/// The server hands over sound in pieces of so many parts of a second.
constexpr std::uint32_t kPiecesPerSecond = 50;
/// So long it keeps what is not taken.
constexpr std::uint32_t kKeptSeconds = 2;
/// The highest rate that a movie's sound description holds as a whole number.
constexpr std::uint32_t kGreatestRate = 65535;
constexpr int kGreatestChannels = 8;
constexpr std::int64_t kStartPatienceInNanoseconds = 2'000'000'000;

/// All sources: the default one, the others, and last those that listen to an output.
std::vector<PulseSourceEntry> sourcesOf(PulseConnection& connection) {
    std::string defaultName;
    connection.finish(pa_context_get_server_info(
        connection.context(),
        [](pa_context*, const pa_server_info* info, void* name) {
            if (info && info->default_source_name)
                *static_cast<std::string*>(name) = info->default_source_name;
        },
        &defaultName));
    std::vector<PulseSourceEntry> sources;
    connection.finish(pa_context_get_source_info_list(
        connection.context(),
        [](pa_context*, const pa_source_info* info, int isLast, void* list) {
            if (isLast == 0 && info)
                static_cast<std::vector<PulseSourceEntry>*>(list)->push_back(
                    describePulseSource(*info));
        },
        &sources));
    std::stable_sort(
        sources.begin(), sources.end(), [&](const PulseSourceEntry& a, const PulseSourceEntry& b) {
            const auto rank = [&](const PulseSourceEntry& source) {
                return source.isMonitor ? 2 : source.device.identity == defaultName ? 0 : 1;
            };
            return rank(a) < rank(b);
        });
    return sources;
}

pa_sample_spec recordedSpec(const pa_sample_spec& native) {
    pa_sample_spec spec = native;
    const bool isWide = native.format == PA_SAMPLE_S24LE || native.format == PA_SAMPLE_S24BE ||
                        native.format == PA_SAMPLE_S24_32LE ||
                        native.format == PA_SAMPLE_S24_32BE || native.format == PA_SAMPLE_S32LE ||
                        native.format == PA_SAMPLE_S32BE || native.format == PA_SAMPLE_FLOAT32LE ||
                        native.format == PA_SAMPLE_FLOAT32BE;
    spec.format = isWide ? PA_SAMPLE_S24BE : PA_SAMPLE_S16LE;
    while (spec.rate > kGreatestRate)
        spec.rate /= 2;
    spec.channels = static_cast<std::uint8_t>(std::clamp<int>(spec.channels, 1, kGreatestChannels));
    return spec;
}

class PulseSource : public DeviceSource {
  public:
    PulseSource(std::unique_ptr<PulseConnection> connection, std::string name,
                const pa_sample_spec& spec)
        : connection_(std::move(connection)), name_(std::move(name)), spec_(spec) {
        const std::uint32_t codec =
            spec.format == PA_SAMPLE_S24BE ? fourCode("in24") : fourCode("sowt");
        format_ = SoundFormat{codec, static_cast<int>(spec.rate), spec.channels};
    }
    ~PulseSource() override { PulseSource::stop(); }

    const StreamFormat& format() const override { return format_; }

    Status start() override {
        stream_.reset(pa_stream_new(connection_->context(), "recording", &spec_, nullptr));
        if (!stream_)
            return connection_->failure(name_);
        const auto bytesPerSecond = static_cast<std::uint32_t>(pa_bytes_per_second(&spec_));
        const auto frame = static_cast<std::uint32_t>(pa_frame_size(&spec_));
        pa_buffer_attr attributes{};
        attributes.maxlength = bytesPerSecond * kKeptSeconds;
        attributes.fragsize = bytesPerSecond / kPiecesPerSecond / frame * frame;
        // A source that goes away must not be exchanged for another one in silence.
        constexpr int kFlags = PA_STREAM_ADJUST_LATENCY | PA_STREAM_AUTO_TIMING_UPDATE |
                               PA_STREAM_INTERPOLATE_TIMING | PA_STREAM_DONT_MOVE;
        if (pa_stream_connect_record(stream_.get(), name_.c_str(), &attributes,
                                     static_cast<pa_stream_flags_t>(kFlags)) < 0)
            return connection_->failure(name_);
        connection_->runUntil([&] { return streamState() != PA_STREAM_CREATING; },
                              kStartPatienceInNanoseconds);
        if (streamState() != PA_STREAM_READY)
            return connection_->failure(name_);
        return {};
    }

    void stop() override { stream_.reset(); }

    Expected<std::optional<CapturedUnit>> next() override {
        if (!stream_)
            return std::optional<CapturedUnit>();
        connection_->runUntil(
            [&] {
                return streamState() != PA_STREAM_READY ||
                       pa_stream_readable_size(stream_.get()) > 0;
            },
            kLongestWaitInNanoseconds);
        if (streamState() != PA_STREAM_READY)
            return Failure{FailureKind::notFound, name_ + ": went away"};
        const void* data = nullptr;
        std::size_t size = 0;
        const std::int64_t time = timeOfNextFrame();
        if (pa_stream_peek(stream_.get(), &data, &size) < 0)
            return connection_->failure(name_);
        if (size == 0)
            return std::optional<CapturedUnit>();
        CapturedUnit unit;
        unit.timeInNanoseconds = time;
        // Without data it is a hole that the server knows the length of: silence.
        unit.bytes.resize(size);
        if (data)
            std::memcpy(unit.bytes.data(), data, size);
        pa_stream_drop(stream_.get());
        return std::optional(std::move(unit));
    }

  private:
    struct Release {
        void operator()(pa_stream* stream) const {
            pa_stream_disconnect(stream);
            pa_stream_unref(stream);
        }
    };

    pa_stream_state_t streamState() const { return pa_stream_get_state(stream_.get()); }

    /// The latency of a recording stream is the age of the next frame to be read.
    std::int64_t timeOfNextFrame() const {
        const std::int64_t now = CaptureClock::system().nanoseconds();
        pa_usec_t age = 0;
        int isNegative = 0;
        if (pa_stream_get_latency(stream_.get(), &age, &isNegative) == 0)
            return isNegative ? now : now - static_cast<std::int64_t>(age) * 1000;
        // The first pieces come before the server has told its timing.
        const pa_usec_t buffered = pa_bytes_to_usec(pa_stream_readable_size(stream_.get()), &spec_);
        return now - static_cast<std::int64_t>(buffered) * 1000;
    }

    std::unique_ptr<PulseConnection> connection_;
    std::string name_;
    pa_sample_spec spec_;
    StreamFormat format_;
    std::unique_ptr<pa_stream, Release> stream_;
};

class PulseDevices : public DeviceBackEnd {
  public:
    std::vector<Device> devices(bool) override {
        std::vector<Device> found;
        auto connection = PulseConnection::open();
        if (!connection)
            return found;
        for (PulseSourceEntry& source : sourcesOf(**connection))
            found.push_back(std::move(source.device));
        return found;
    }

    Expected<std::unique_ptr<DeviceSource>> open(const std::string& identity,
                                                 std::size_t inputIndex) override {
        auto connection = PulseConnection::open();
        if (!connection)
            return connection.failure();
        const std::vector<PulseSourceEntry> sources = sourcesOf(**connection);
        const auto source = std::find_if(
            sources.begin(), sources.end(),
            [&](const PulseSourceEntry& each) { return each.device.identity == identity; });
        if (source == sources.end() || inputIndex >= source->device.inputs.size())
            return Failure{FailureKind::notFound, identity + ": no such source or port"};
        if (inputIndex < source->portNames.size() && inputIndex != source->device.selectedInput) {
            int succeeded = 0;
            (*connection)
                ->finish(pa_context_set_source_port_by_name(
                    (*connection)->context(), identity.c_str(),
                    source->portNames[inputIndex].c_str(),
                    [](pa_context*, int success, void* to) { *static_cast<int*>(to) = success; },
                    &succeeded));
            if (!succeeded)
                return (*connection)->failure(identity);
        }
        return std::unique_ptr<DeviceSource>(std::make_unique<PulseSource>(
            *std::move(connection), identity, recordedSpec(source->samples)));
    }
};

}  // namespace

std::unique_ptr<DeviceBackEnd> makePulseDevices() {
    return std::make_unique<PulseDevices>();
}

}  // namespace TWQuickTime::capture
