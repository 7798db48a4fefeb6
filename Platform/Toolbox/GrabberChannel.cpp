#include "Private/GrabberChannel.h"

#include <algorithm>
#include <cerrno>

#include "Engines/capture/TestPattern.h"
#include "Private/StatusOfFailure.h"

namespace TWQuickTime {

namespace {

constexpr std::size_t kMostNameBytes = 63;

/// The beginning of a text, not cut inside a UTF-8 character.
std::string cutTo(const std::string& text, std::size_t mostBytes) {
    if (text.size() <= mostBytes)
        return text;
    std::size_t end = mostBytes;
    const auto isContinuation = [&](std::size_t at) {
        return (static_cast<unsigned char>(text[at]) & 0xC0) == 0x80;
    };
    // Text in another encoding has no such characters, and is cut where it has to be.
    while (end > mostBytes - 3 && isContinuation(end))
        --end;
    return text.substr(0, isContinuation(end) ? mostBytes : end);
}

std::string uniqueName(const std::string& name, const std::vector<ListedDevice>& others) {
    std::string unique = cutTo(name, kMostNameBytes);
    const auto isTaken = [&] {
        return std::any_of(others.begin(), others.end(),
                           [&](const ListedDevice& other) { return other.name == unique; });
    };
    for (int number = 2; isTaken(); ++number) {
        const std::string suffix = " #" + std::to_string(number);
        unique = cutTo(name, kMostNameBytes - suffix.size()) + suffix;
    }
    return unique;
}

/// A name as it stands for one that cannot be decoded: see SGSetChannelDevice.
std::string withQuestionMarks(std::string name) {
    std::replace_if(
        name.begin(), name.end(), [](char c) { return (c & 0x80) != 0; }, '?');
    return name;
}

}  // namespace

OSErr statusOfDeviceFailure(const result::Failure& failure) {
    switch (failure.kind) {
        case result::FailureKind::notFound:
            // A path that is missing is the file's, not a device's.
            return failure.systemError == ENOENT ? fnfErr : noDeviceForChannel;
        case result::FailureKind::notAvailable:
        case result::FailureKind::unsupported:
        case result::FailureKind::limit:
            return deviceCantMeetRequest;
        default:
            return statusOfFailure(failure);
    }
}

std::vector<ListedDevice> GrabberChannel::devices(bool checkAvailability) {
    CaptureBackEnds sources = backEnds_;
    if (grabber_->testPatternOffered) {
        if (!testPattern_)
            testPattern_ = capture::makeTestPattern(kind_);
        sources.push_back(testPattern_);
    }
    std::vector<ListedDevice> list;
    for (const auto& backEnd : sources) {
        for (capture::Device& device : backEnd->devices(checkAvailability)) {
            // What the grabber itself records from is not in use elsewhere.
            if (grabber_->recording && device.identity == openedIdentity_)
                device.available = true;
            std::string name = uniqueName(device.name, list);
            list.push_back({std::move(device), std::move(name), backEnd});
        }
    }
    return list;
}

std::size_t GrabberChannel::selectedDevice(const std::vector<ListedDevice>& list) const {
    const auto find = [&](const auto& condition) {
        return static_cast<std::size_t>(std::find_if(list.begin(), list.end(), condition) -
                                        list.begin());
    };
    std::size_t index = list.size();
    const std::string* identity = chosenIdentity_ ? &*chosenIdentity_ : nullptr;
    if (!identity && grabber_->recording)
        identity = &openedIdentity_;
    if (identity)
        index = find([&](const ListedDevice& each) { return each.device.identity == *identity; });
    if (index == list.size())
        index = find([](const ListedDevice& each) { return each.device.available; });
    return index == list.size() ? 0 : index;
}

std::size_t GrabberChannel::selectedInput(const ListedDevice& device) const {
    const bool isChosen = chosenInput_ && chosenIdentity_ == device.device.identity;
    const std::size_t input = isChosen ? *chosenInput_ : device.device.selectedInput;
    return input < device.device.inputs.size() ? input : 0;
}

OSErr GrabberChannel::selectDevice(const std::string& name) {
    if (grabber_->recording)
        return cantDoThatInCurrentMode;
    const std::vector<ListedDevice> list = devices(false);
    const auto onlyOne = [&](const auto& condition) {
        const bool isOne = std::count_if(list.begin(), list.end(), condition) == 1;
        return isOne ? std::find_if(list.begin(), list.end(), condition) : list.end();
    };
    auto found = onlyOne([&](const ListedDevice& each) { return each.name == name; });
    if (found == list.end() && !name.empty())
        found = onlyOne([&](const ListedDevice& each) { return each.name.starts_with(name); });
    if (found == list.end())
        found =
            onlyOne([&](const ListedDevice& each) { return withQuestionMarks(each.name) == name; });
    if (found == list.end())
        return noDeviceForChannel;
    if (chosenIdentity_ != found->device.identity)
        chosenInput_.reset();
    chosenIdentity_ = found->device.identity;
    prepared_.reset();
    return noErr;
}

OSErr GrabberChannel::selectInput(std::int16_t number) {
    if (grabber_->recording)
        return cantDoThatInCurrentMode;
    const std::vector<ListedDevice> list = devices(false);
    if (list.empty())
        return noDeviceForChannel;
    const capture::Device& device = list[selectedDevice(list)].device;
    if (number < 0 || static_cast<std::size_t>(number) >= device.inputs.size())
        return paramErr;
    chosenIdentity_ = device.identity;
    chosenInput_ = static_cast<std::size_t>(number);
    prepared_.reset();
    return noErr;
}

OSErr GrabberChannel::prepare() {
    if (prepared_)
        return noErr;
    const std::vector<ListedDevice> list = devices(!chosenIdentity_);
    if (list.empty())
        return noDeviceForChannel;
    // A device that was chosen and is gone must not be exchanged for another one in silence.
    const ListedDevice& selected = list[selectedDevice(list)];
    if (chosenIdentity_ && selected.device.identity != *chosenIdentity_)
        return noDeviceForChannel;
    auto source = selected.backEnd->open(selected.device.identity, selectedInput(selected));
    if (!source)
        return statusOfDeviceFailure(source.failure());
    prepared_ = *std::move(source);
    openedIdentity_ = selected.device.identity;
    return noErr;
}

}  // namespace TWQuickTime
