#include "Private/Grabber.h"

#include <algorithm>
#include <cstdlib>
#include <string_view>

#include "Private/StatusOfFailure.h"

namespace TWQuickTime {

using capture::MediaKind;

namespace {

bool environmentOffersTestPattern() {
    const char* value = std::getenv("TWQT_TEST_PATTERN");
    return value && std::string_view(value) == "1";
}

// The grabber comes behind everything else that is a component.
const ComponentProvider provider(ComponentRank::sequenceGrabbers, [] {
    registerComponent({.description = {.componentType = SeqGrabComponentType,
                                       .componentManufacturer = kAppleManufacturer},
                       .name = "Sequence Grabber",
                       .info = "Records from capture devices into movies.",
                       .open = [] { return std::make_unique<Grabber>(); }});
    for (const OSType type : {SGVideoMediaType, SGSoundMediaType})
        registerComponent({.description = {.componentType = SeqGrabChannelType,
                                           .componentSubType = type,
                                           .componentManufacturer = kAppleManufacturer},
                           .name = type == SGVideoMediaType ? "Video Channel" : "Sound Channel",
                           .info = "A channel of the sequence grabber.",
                           .open = [] { return std::make_unique<GrabberChannelStorage>(); }});
});

}  // namespace

Grabber::Grabber() {
    mode_->testPatternOffered = environmentOffersTestPattern();
}

Grabber::~Grabber() {
    stop();
    for (const ChannelInstance& each : channels_) {
        if (!each.channel.expired())
            CloseComponent(each.instance);
    }
}

OSErr Grabber::setOutput(const NSString& path, std::int32_t whereFlags) {
    if (isRecording())
        return cantDoThatInCurrentMode;
    if (whereFlags != seqGrabToDisk)
        return featureUnsupported;
    path_ = path.utf8();
    movie_.reset();
    return noErr;
}

OSErr Grabber::addChannel(OSType channelType, SGChannel* instance) {
    if (isRecording())
        return cantDoThatInCurrentMode;
    if (channelType != SGVideoMediaType && channelType != SGSoundMediaType)
        return featureUnsupported;
    const SGChannel opened = OpenDefaultComponent(SeqGrabChannelType, channelType);
    auto* storage = componentStorageAs<GrabberChannelStorage>(opened);
    if (!storage)
        return componentDidNotOpen;
    storage->channel = std::make_shared<GrabberChannel>(
        channelType == SGVideoMediaType ? MediaKind::video : MediaKind::sound, mode_);
    channels_.push_back({opened, storage->channel});
    *instance = opened;
    return noErr;
}

OSErr Grabber::disposeChannel(SGChannel instance) {
    if (isRecording())
        return cantDoThatInCurrentMode;
    const auto found =
        std::find_if(channels_.begin(), channels_.end(), [&](const ChannelInstance& each) {
            return each.instance == instance && !each.channel.expired();
        });
    if (found == channels_.end())
        return paramErr;
    channels_.erase(found);
    return static_cast<OSErr>(CloseComponent(instance));
}

std::vector<std::shared_ptr<GrabberChannel>> Grabber::recordingChannels() const {
    std::vector<std::shared_ptr<GrabberChannel>> channels;
    for (const ChannelInstance& each : channels_) {
        auto channel = each.channel.lock();
        if (channel && (channel->usage & seqGrabRecord))
            channels.push_back(std::move(channel));
    }
    return channels;
}

OSErr Grabber::prepare() {
    if (isRecording())
        return cantDoThatInCurrentMode;
    for (const auto& channel : recordingChannels()) {
        if (const OSErr status = channel->prepare(); status != noErr) {
            release();
            return status;
        }
    }
    return noErr;
}

void Grabber::release() {
    for (const auto& channel : recordingChannels())
        channel->release();
}

OSErr Grabber::startRecord() {
    if (isRecording())
        return cantDoThatInCurrentMode;
    if (path_.empty())
        return paramErr;
    if (movie_ && !movie_->isAsItWasLeft())
        return dupFNErr;
    const auto channels = recordingChannels();
    if (channels.empty())
        return noDeviceForChannel;
    if (const OSErr status = prepare(); status != noErr)
        return status;
    std::vector<std::unique_ptr<capture::DeviceSource>> sources;
    for (const auto& channel : channels)
        sources.push_back(channel->takePrepared());
    auto movie = movie_ ? std::move(movie_) : std::make_unique<capture::GrowingMovie>(path_);
    auto recording = capture::Recording::start(*movie, std::move(sources));
    // A recording that could not start has left the file alone.
    if (movie->isAsItWasLeft() || recording)
        movie_ = std::move(movie);
    if (!recording)
        return statusOfDeviceFailure(recording.failure());
    recording_ = *std::move(recording);
    mode_->recording = true;
    return noErr;
}

OSErr Grabber::idle() const {
    if (!recording_)
        return noErr;
    const result::Status health = recording_->health();
    return health ? noErr : statusOfDeviceFailure(health.failure());
}

OSErr Grabber::stop() {
    if (!recording_)
        return cantDoThatInCurrentMode;
    const result::Status stopped = recording_->stop();
    recording_.reset();
    mode_->recording = false;
    // Nothing came that could be recorded: the next recording begins afresh.
    if (!movie_->hasFile())
        movie_.reset();
    return statusOf(stopped);
}

}  // namespace TWQuickTime
