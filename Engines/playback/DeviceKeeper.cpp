#include "Engines/playback/DeviceKeeper.h"

#include "Engines/playback/SilentDevice.h"

namespace TWQuickTime::playback {

using result::Failure;
using result::FailureKind;

namespace {

constexpr std::int64_t kLongestOpening = 3'000'000'000;
constexpr std::int64_t kBetweenLooks = 1'000'000'000;

}  // namespace

DeviceKeeper::DeviceKeeper(DeviceChoice choice, std::shared_ptr<const Clock> clock,
                           codec::SoundFormat wanted)
    : choice_(std::move(choice)), clock_(std::move(clock)), wanted_(wanted) {
    if (choice_.inOrder.empty()) {
        choice_ = DeviceChoice::silent(clock_);
    }
}

void DeviceKeeper::look() {
    if (current_ && current_->device->state() == DeviceState::gone) {
        failure_ = current_->device->failure();
        current_.reset();
        giveUpForNow();
        // At once, but not again and again for one that comes and goes.
        lookAgainAt_ = lookedAt_ + kBetweenLooks;
    }
    if (!candidate_ && isLooking_ && clock_->nanoseconds() >= lookAgainAt_) {
        tryDevice(0);
    }
    judgeCandidate();
}

void DeviceKeeper::tryDevice(std::size_t index) {
    candidate_.reset();
    lookedAt_ = clock_->nanoseconds();
    if (index >= choice_.inOrder.size()) {
        giveUpForNow();
        return;
    }
    auto session = std::make_shared<Session>();
    session->device = choice_.inOrder[index]();
    session->device->requestOpen(wanted_, session->renderer);
    candidate_ = std::move(session);
    candidateIndex_ = index;
    candidateDeadline_ = clock_->nanoseconds() + kLongestOpening;
}

void DeviceKeeper::judgeCandidate() {
    while (candidate_) {
        const OutputDevice& device = *candidate_->device;
        switch (device.state()) {
            case DeviceState::ready:
                current_ = std::move(candidate_);
                candidate_.reset();
                failure_ = {};
                isLooking_ = false;
                return;
            case DeviceState::opening:
                if (clock_->nanoseconds() < candidateDeadline_) {
                    return;
                }
                failure_ = Failure{FailureKind::notAvailable, device.name() + " does not answer"};
                break;
            case DeviceState::gone:
                failure_ = device.failure();
                break;
        }
        tryDevice(candidateIndex_ + 1);
    }
}

void DeviceKeeper::giveUpForNow() {
    isLooking_ = choice_.isLookedForAgain;
    lookAgainAt_ = clock_->nanoseconds() + kBetweenLooks;
    if (current_) {
        return;
    }
    current_ = std::make_shared<Session>();
    current_->isStandIn = true;
    current_->device = std::make_unique<SilentDevice>(clock_, true);
    current_->device->requestOpen(wanted_, current_->renderer);
}

std::optional<std::int64_t> DeviceKeeper::nextLook() const {
    if (candidate_) {
        return candidateDeadline_;
    }
    return isLooking_ ? std::optional(lookAgainAt_) : std::nullopt;
}

}  // namespace TWQuickTime::playback
