// Random scripts of playing, seeking, looping and new marker lists, against a plain model.
//
// Scripts act at whole frames of a sound of 8,000 frames a second; places are frames, moments are
// nanoseconds.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <optional>
#include <ostream>
#include <random>

#include "AudioPlayer.h"

namespace TWQuickTime {
namespace {

using test::AudioPlayer;
using test::OpenAudio;

constexpr std::int64_t kRate = 8000;
constexpr std::int64_t kNanosecondsOfAFrame = 1'000'000'000 / kRate;
constexpr std::int64_t kMovieFrames = kRate / 2;

double seconds(std::int64_t frames) {
    return static_cast<double>(frames) / kRate;
}

/// The player as a table of numbers, moved from look to look.
class Model {
  public:
    using Markers = std::optional<std::vector<std::int64_t>>;
    struct Firing {
        std::uint32_t index;
        std::int64_t at;
        std::int64_t delay;
        friend bool operator==(const Firing&, const Firing&) = default;
        friend std::ostream& operator<<(std::ostream& stream, const Firing& firing) {
            return stream << firing.index << " at frame " << firing.at << ", " << firing.delay
                          << " late";
        }
    };

    Markers markers;
    std::int64_t in = 0;
    std::int64_t out = kMovieFrames;
    std::vector<Firing> firings;

    std::int64_t position() const {
        if (!runs_)
            return place_;
        const std::int64_t gone = place_ + (now_ - since_) / kNanosecondsOfAFrame;
        if (gone < rangeOut_ || rangeOut_ == rangeIn_)
            return std::min(gone, rangeOut_);
        return loops_ ? rangeIn_ + (gone - rangeIn_) % (rangeOut_ - rangeIn_) : rangeOut_;
    }
    bool runs() const { return runs_; }

    void play() {
        forgetPending();
        anchor();
        enterRange(in, out);
        look();
        runs_ = true;
        saysPlaying_ = true;
    }
    void stop() {
        if (saysPlaying_) {
            looks_.clear();
            anchor();
            runs_ = false;
        }
        saysPlaying_ = false;
    }
    void seek(std::int64_t frame) {
        anchor();
        place_ = frame;
        if (runs_)
            enterRange(rangeIn_, rangeOut_);
        forgetPending();
        look();
    }
    void setLoops(bool loops) {
        anchor();
        loops_ = loops;
    }
    void advance(std::int64_t frames) {
        const std::int64_t end = now_ + frames * kNanosecondsOfAFrame;
        for (;;) {
            const auto due = std::min_element(looks_.begin(), looks_.end());
            const std::int64_t nextLook = due == looks_.end() ? end + 1 : *due;
            const std::int64_t stops =
                runs_ && !loops_ ? since_ + (rangeOut_ - place_) * kNanosecondsOfAFrame : end + 1;
            if (std::min(nextLook, stops) > end)
                break;
            if (stops <= nextLook) {
                now_ = std::max(now_, stops);
                anchor();
                runs_ = saysPlaying_ = false;
                looks_.clear();
            } else {
                now_ = nextLook;
                looks_.erase(due);
                look();
            }
        }
        now_ = end;
    }

  private:
    void anchor() {
        place_ = position();
        since_ = now_;
    }
    void enterRange(std::int64_t newIn, std::int64_t newOut) {
        rangeIn_ = newIn;
        rangeOut_ = newOut;
        if (place_ < rangeIn_ || (place_ >= rangeOut_ && (loops_ || !runs_)))
            place_ = rangeIn_;
        else if (place_ >= rangeOut_)
            place_ = rangeOut_;
    }
    void forgetPending() { pending_.reset(); }
    std::optional<std::pair<std::uint32_t, std::int64_t>> firstAfter(std::int64_t frame) const {
        for (std::size_t i = 0; i < markers->size(); ++i)
            if (frame < (*markers)[i])
                return std::pair{static_cast<std::uint32_t>(i), (*markers)[i]};
        return std::nullopt;
    }
    void look() {
        if (!markers)
            return;
        const std::int64_t here = position();
        if (!pending_)
            pending_ = firstAfter(here);
        if (pending_ && pending_->second <= here) {
            firings.push_back({pending_->first, here, here - pending_->second});
            pending_ = firstAfter(here);
        }
        // In seconds, so that a marker about a tenth of a second ahead is near or not for the same
        // last bits.
        const double ahead = (pending_ ? seconds(pending_->second) : -1) - seconds(here);
        const double delay = ahead > 0.1 ? std::max(ahead - 0.1, 0.0001) : 0.001;
        looks_.push_back(now_ + std::llround(delay * 1e9));
    }

    std::int64_t now_ = 0;
    bool runs_ = false;
    bool saysPlaying_ = false;
    bool loops_ = false;
    std::int64_t place_ = 0;
    std::int64_t since_ = 0;
    std::int64_t rangeIn_ = 0;
    std::int64_t rangeOut_ = kMovieFrames;
    std::optional<std::pair<std::uint32_t, std::int64_t>> pending_;
    std::vector<std::int64_t> looks_;
};

class Script {
  public:
    Script(unsigned seed, OpenAudio& audio, ManualClock& clock, Model& model)
        : random_(seed), audio_(audio), clock_(clock), model_(model) {}

    void run() {
        const int steps = number(4, 10);
        for (int i = 0; i < steps; ++i) {
            step();
            const std::int64_t frames = number(0, 7) == 0 ? number(1, 1500) : number(1, 160);
            text_ += "+" + std::to_string(frames) + " ";
            clock_.advanceNanoseconds(frames * 1'000'000'000 / kRate);
            model_.advance(frames);
            ASSERT_EQ(std::llround(audio_.currentTimeInSeconds() * kRate), model_.position())
                << text_;
            ASSERT_EQ(audio_.rate() > 0, model_.runs()) << text_;
        }
    }
    const std::string& text() const { return text_; }

  private:
    int number(int least, int most) { return std::uniform_int_distribution(least, most)(random_); }

    void step() {
        switch (number(0, 9)) {
            case 0:
            case 1:
            case 2:
                text_ += "play ";
                audio_.play();
                model_.play();
                break;
            case 3:
                text_ += "stop ";
                audio_.stop();
                model_.stop();
                break;
            case 4:
            case 5: {
                const int frame = number(0, kMovieFrames);
                text_ += "seek " + std::to_string(frame) + " ";
                audio_.setCurrentTime(QTMakeTime(frame, kRate));
                model_.seek(frame);
                break;
            }
            case 6: {
                const bool loops = number(0, 2) > 0;
                text_ += loops ? "loop " : "once ";
                audio_.setAudioLoops(loops);
                model_.setLoops(loops);
                break;
            }
            case 7:
                setRange();
                break;
            default:
                setMarkers();
                break;
        }
    }

    void setRange() {
        model_.in = number(0, kMovieFrames / 2);
        model_.out = model_.in + number(200, kMovieFrames / 2);
        text_ += "range " + std::to_string(model_.in) + "-" + std::to_string(model_.out) + " ";
        audio_.setInPoint(QTMakeTime(model_.in, kRate));
        audio_.setOutPoint(QTMakeTime(model_.out, kRate));
    }

    void setMarkers() {
        if (number(0, 5) == 0) {
            text_ += "no markers ";
            model_.markers.reset();
            audio_.setMarkers(nullptr);
            return;
        }
        std::vector<std::int64_t> frames(static_cast<std::size_t>(number(0, 16)));
        for (std::int64_t& frame : frames)
            frame = number(0, kMovieFrames);
        if (number(0, 4) > 0)
            std::sort(frames.begin(), frames.end());
        std::vector<double> times;
        text_ += "markers ";
        for (const std::int64_t frame : frames) {
            text_ += std::to_string(frame) + " ";
            times.push_back(seconds(frame));
        }
        audio_.setMarkers(test::markersAt(times));
        model_.markers = frames;
    }

    std::mt19937 random_;
    OpenAudio& audio_;
    ManualClock& clock_;
    Model& model_;
    std::string text_;
};

using AudioMarkerScripts = AudioPlayer;

TEST_F(AudioMarkerScripts, TenThousandFireWhatAPlainModelFires) {
    constexpr unsigned kScripts = 10000;
    constexpr unsigned kScriptsOfOnePlayer = 20;
    const std::string path = file("half.wav", kRate, kMovieFrames);
    std::size_t firingCount = 0;
    for (unsigned first = 0; first < kScripts; first += kScriptsOfOnePlayer) {
        const auto audio = loaded(path);
        ASSERT_NE(audio, nullptr);
        Model model;
        std::vector<Model::Firing> firings;
        const auto delegate = std::make_shared<TWQTAudioDelegate>();
        delegate->didFireMarkerForAudio = [&](TWQTAudio& player, std::uint32_t index) {
            firings.push_back({index, std::llround(player.lastMarkerTime() * kRate),
                               std::llround(player.lastMarkerDelay() * kRate)});
        };
        audio->setDelegate(delegate);
        std::string text;
        for (unsigned i = 0; i < kScriptsOfOnePlayer; ++i) {
            Script script(first + i, *audio, *clock_, model);
            script.run();
            text += script.text() + "| ";
            ASSERT_FALSE(HasFatalFailure()) << "script " << first + i << ": " << text;
            ASSERT_EQ(firings, model.firings) << "script " << first + i << ": " << text;
            firingCount += firings.size();
            firings.clear();
            model.firings.clear();
        }
    }
    EXPECT_GT(firingCount, kScripts / 4);
}

}  // namespace
}  // namespace TWQuickTime
