// A player of a made sound file on a run loop whose clock stands until the test moves it.
//
//     TEST_F(AudioPlayer, …) {
//         auto audio = loaded(file("tone.wav", 8000, 16000));     // two seconds
//         audio->play();
//         clock_->advance(0.5);
//     }
#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "NSRunLoop.h"
#include "TWQTAudio.h"
#include "TemporaryDirectory.h"
#include "WaveFile.h"

namespace TWQuickTime::test {

/// A player whose own operations and fields tests can reach.
class OpenAudio : public TWQTAudio {
  public:
    static std::shared_ptr<OpenAudio> open(const std::string& path) {
        auto audio = std::make_shared<OpenAudio>();
        return audio->openFile(NSString(path), nullptr) ? audio : nullptr;
    }

    using TWQTAudio::TW_loadState;
    using TWQTAudio::TW_nextMarkerTimeForCurrentTime;
    using TWQTAudio::TW_performVolumeFade;
    using TWQTAudio::TW_prepareNextVolumeEnvelopeFade;
    using TWQTAudio::TW_secondsFromTime;
    using TWQTAudio::TW_timeFromSeconds;
    using TWQTAudio::TW_updateSelection;
    using TWQTAudio::TW_volumeRampForCurrentTime;
    using TWQTAudio::TW_waitForNextMarker;

    using TWQTAudio::TW_duration;
    using TWQTAudio::TW_envelopeEndTime;
    using TWQTAudio::TW_envelopeEndVolume;
    using TWQTAudio::TW_envelopeStartTime;
    using TWQTAudio::TW_envelopeStartVolume;
    using TWQTAudio::TW_fadeoutEndTime;
    using TWQTAudio::TW_fadeoutEndVolume;
    using TWQTAudio::TW_fadeoutStartTime;
    using TWQTAudio::TW_fadeoutStartVolume;
    using TWQTAudio::TW_fadeoutStop;
    using TWQTAudio::TW_markers;
    using TWQTAudio::TW_nextMarkerIndex;
    using TWQTAudio::TW_nextMarkerTime;
    using TWQTAudio::TW_paused;

    /// The volume of the movie below the player.
    float baseVolume() const { return QTMovie::volume(); }
    std::string flags() const {
        return std::string(TW_playing ? "playing " : "- ") + (TW_paused ? "paused " : "- ") +
               (TW_stopped ? "stopped" : "-");
    }
};

class AudioPlayer : public testing::Test {
  protected:
    AudioPlayer() { loop_->setClock(clock_); }
    ~AudioPlayer() override { loop_->setClock(nullptr); }

    /// A file of one channel whose samples count upward from 0.
    std::string file(const std::string& name, std::uint32_t sampleRate, std::size_t frames) {
        std::vector<std::int16_t> samples(frames);
        for (std::size_t i = 0; i < frames; ++i)
            samples[i] = static_cast<std::int16_t>(i);
        const std::string path = folder_.file(name);
        writeWave(path, sampleRate, 1, samples);
        return path;
    }

    std::shared_ptr<OpenAudio> loaded(const std::string& path) {
        auto audio = OpenAudio::open(path);
        for (int turns = 0; audio && audio->TW_loadState() < 100000 && turns < 1000; ++turns)
            loop_->runOnce();
        return audio;
    }

    /// Two seconds at 8,000 frames a second.
    std::shared_ptr<OpenAudio> twoSeconds() { return loaded(file("two.wav", 8000, 16000)); }

    /// Writes down what a player tells, in words.
    std::shared_ptr<TWQTAudioDelegate> scribe() {
        auto delegate = std::make_shared<TWQTAudioDelegate>();
        delegate->willStartPlayingAudio = [this](TWQTAudio&) { told_.push_back("willStart"); };
        delegate->didStartPlayingAudio = [this](TWQTAudio&) { told_.push_back("didStart"); };
        delegate->willStopPlayingAudio = [this](TWQTAudio&) { told_.push_back("willStop"); };
        delegate->didStopPlayingAudio = [this](TWQTAudio&, bool atEnd) {
            told_.push_back(atEnd ? "didStop at the end" : "didStop");
        };
        delegate->didChangeLoadState = [this](std::int32_t state, TWQTAudio&) {
            told_.push_back("loadState " + std::to_string(state));
        };
        delegate->didFireMarkerForAudio = [this](TWQTAudio&, std::uint32_t index) {
            told_.push_back("marker " + std::to_string(index));
        };
        return delegate;
    }

    using Told = std::vector<std::string>;

    const TemporaryDirectory folder_;
    const std::shared_ptr<NSRunLoop> loop_ = NSRunLoop::currentRunLoop();
    const std::shared_ptr<ManualClock> clock_ = std::make_shared<ManualClock>();
    Told told_;
};

inline TWQTAudio::List markersAt(const std::vector<double>& times) {
    std::vector<std::shared_ptr<NSObject>> markers;
    for (const double time : times)
        markers.push_back(std::make_shared<TWQTAudioMarker>(time));
    return TWQTAudio::list(std::move(markers));
}

inline TWQTAudio::List envelope(const std::vector<std::pair<double, double>>& points) {
    std::vector<std::shared_ptr<NSObject>> objects;
    for (const auto& [time, volume] : points)
        objects.push_back(std::make_shared<TWQTVolumeEnvelopePoint>(time, volume));
    return TWQTAudio::list(std::move(objects));
}

}  // namespace TWQuickTime::test
