// twqt play FILE: plays the sound of a file, or renders what a device would get.
#include <NSRunLoop.h>
#include <TWQTAudio.h>

#include <algorithm>
#include <cstdio>
#include <memory>
#include <optional>

#include "Command.h"
#include "CommandFailure.h"
#include "EnvelopeArgument.h"
#include "Interrupt.h"
#include "MovieArgument.h"
#include "OutputFile.h"
#include "PlayReport.h"
#include "ReadableFile.h"
#include "TimeArgument.h"

namespace twqt {
namespace {

using namespace TWQuickTime;

struct PlayOptions {
    std::string file;
    std::optional<TimeArgument> in;
    std::optional<TimeArgument> out;
    bool loop = false;
    std::optional<double> stopAfter;
    std::optional<double> volume;
    std::optional<double> gamma;
    std::optional<double> reference;
    std::string envelope;
    std::optional<TimeArgument> fadeAt;
    std::optional<double> fade;
    bool fadeStops = false;
    std::vector<std::string> markers;
    double frameRate = 0;
    std::string device;
    std::string render;
    bool force = false;
    bool json = false;
};

/// "62.5", "62.5:Chorus", "00:01:02:12@25:Chorus".
std::shared_ptr<TWQTAudioMarker> parseMarker(const std::string& text) {
    if (const auto time = parseTime(text))
        return std::make_shared<TWQTAudioMarker>(time->seconds);
    // Timecode has colons, and so may a name: the time is the longest beginning that is one.
    for (std::size_t colon = text.rfind(':'); colon != std::string::npos && colon > 0;
         colon = text.rfind(':', colon - 1)) {
        if (const auto time = parseTime(text.substr(0, colon)))
            return std::make_shared<TWQTAudioMarker>(time->seconds,
                                                     NSString(text.substr(colon + 1)));
    }
    throw usageFailure("--marker " + text, "markers are written time or time:name");
}

TWQTAudio::List markerList(const std::vector<std::string>& texts) {
    std::vector<std::shared_ptr<TWQTAudioMarker>> markers;
    for (const std::string& text : texts)
        markers.push_back(parseMarker(text));
    // The player wants them in the order of their times.
    std::ranges::stable_sort(markers, {}, [](const auto& marker) { return marker->time(); });
    return markers.empty() ? nullptr : TWQTAudio::list({markers.begin(), markers.end()});
}

TWQTAudio::List envelopeList(const std::string& text) {
    std::vector<std::shared_ptr<NSObject>> points;
    if (!text.empty())
        for (const EnvelopePoint& point : parseEnvelope(text))
            points.push_back(
                std::make_shared<TWQTVolumeEnvelopePoint>(point.seconds, point.volume));
    return TWQTAudio::list(std::move(points));
}

/// Rendering alone need not wait for the time to go by.
bool isRealTime(const PlayOptions& options) {
    return options.render.empty() || !options.device.empty();
}

class Playing : public std::enable_shared_from_this<Playing> {
  public:
    Playing(const PlayOptions& options, std::shared_ptr<ManualClock> clock)
        : options_(options),
          clock_(std::move(clock)),
          delegate_(std::make_shared<TWQTAudioDelegate>()),
          report_(options.json, !options.json && !clock_) {}

    ~Playing() {
        if (audio_)
            audio_->setDelegate(nullptr);
    }
    Playing(const Playing&) = delete;
    Playing& operator=(const Playing&) = delete;

    /// Plays to the end.
    void run();

  private:
    void open();
    void hearDelegate();
    void setUp();
    void runLoopOnce();
    void waitUntilLoaded();
    void lookForFade();
    void stopAfterTime() { audio_->stop(); }
    double seconds() const { return audio_->currentTimeInSeconds(); }
    void tell(const char* event, Json more = Json::object(), const std::string& forPeople = "");
    void tellMarker(std::uint32_t index);

    const PlayOptions& options_;
    std::shared_ptr<ManualClock> clock_;  ///< none in real time
    std::shared_ptr<NSRunLoop> loop_ = NSRunLoop::currentRunLoop();
    std::shared_ptr<TWQTAudio> audio_;
    std::shared_ptr<TWQTAudioDelegate> delegate_;
    PlayReport report_;
    Interrupt interrupt_;
    bool isOver_ = false;
};

void Playing::tell(const char* event, Json more, const std::string& forPeople) {
    Json line = {{"event", event}, {"time", seconds()}};
    line.update(more);
    report_.event(line, forPeople);
}

void Playing::tellMarker(std::uint32_t index) {
    const auto& marker = dynamic_cast<const TWQTAudioMarker&>(*audio_->markers()->at(index));
    const std::string name = marker.name().isNil() ? "" : marker.name().utf8();
    char text[64];
    std::snprintf(text, sizeof text, " at %.3f s, %.1f ms late", audio_->lastMarkerTime(),
                  audio_->lastMarkerDelay() * 1000);
    tell("marker",
         {{"index", index},
          {"name", jsonFromString(marker.name())},
          {"lateness", audio_->lastMarkerDelay()}},
         "marker " + std::to_string(index) + (name.empty() ? "" : " " + oneLine(name)) + text);
}

void Playing::open() {
    NSError error;
    audio_ = TWQTAudio::audioWithFile(NSString(options_.file), nullptr, &error);
    if (!audio_)
        throw failureWithError("open " + options_.file, error);
}

void Playing::hearDelegate() {
    delegate_->willStartPlayingAudio = [this](TWQTAudio&) { tell("willStart"); };
    delegate_->didStartPlayingAudio = [this](TWQTAudio&) { tell("didStart"); };
    delegate_->willStopPlayingAudio = [this](TWQTAudio&) { tell("willStop"); };
    delegate_->didStopPlayingAudio = [this](TWQTAudio&, bool atEnd) {
        tell("didStop", {{"atEnd", atEnd}});
        isOver_ = true;
    };
    delegate_->didChangeLoadState = [this](std::int32_t state, TWQTAudio&) {
        tell("loadState", {{"state", state}});
    };
    delegate_->didFireMarkerForAudio = [this](TWQTAudio&, std::uint32_t index) {
        tellMarker(index);
    };
    if (!clock_)
        delegate_->updateUserInterfaceForAudio = [this](TWQTAudio& audio) {
            report_.live({seconds(), audio.durationInSeconds(), audio.takeSoundPeak(),
                          audio.rate() > 0 ? "playing" : "stopped"});
        };
    audio_->setDelegate(delegate_);
    NSNotificationCenter::defaultCenter().addObserver(
        shared_from_this(), [this](const NSNotification&) { tell("end"); },
        QTMovieDidEndNotification, audio_);
}

void Playing::runLoopOnce() {
    if (interrupt_.requested()) {
        audio_->stop();
        throw interruptedFailure("play " + options_.file);
    }
    if (clock_)
        clock_->advance(0.1);
    else
        loop_->runOnce(0.1);
}

void Playing::waitUntilLoaded() {
    constexpr std::int32_t complete = 100000;
    for (std::int32_t state = 0; state < complete;) {
        runLoopOnce();
        state = audio_->attributeForKey(QTMovieLoadStateAttribute).intValue();
        if (state < 0)
            throw failureWithStatus("open " + options_.file, noMovieFound);
    }
    if (!audio_->attributeForKey(QTMovieHasAudioAttribute).boolValue())
        throw CommandFailure("play " + options_.file, "there is no sound in it (-2009)");
}

void Playing::setUp() {
    if (!options_.device.empty())
        audio_->setAttribute(NSString(options_.device), QTMovieSoundOutputAttribute);
    if (!options_.render.empty())
        audio_->setAttribute(NSString(options_.render), QTMovieSoundFileAttribute);
    if (options_.in)
        audio_->setInPointInSeconds(options_.in->seconds);
    if (options_.out)
        audio_->setOutPointInSeconds(std::min(options_.out->seconds, audio_->durationInSeconds()));
    audio_->setAudioLoops(options_.loop);
    audio_->setVideoFrameRate(options_.frameRate);
    audio_->setUpdateUserInterfaceInterval(0.05);
    audio_->setMarkers(markerList(options_.markers));
    if (options_.gamma)
        audio_->setVolumeGamma(*options_.gamma);
    if (options_.reference)
        audio_->setReferenceVolume(*options_.reference);
    // Without any list playing would begin at the reference volume, and fades go back to it.
    if (!options_.envelope.empty() || options_.volume || options_.fade) {
        audio_->setVolumeEnvelope(envelopeList(options_.envelope));
        audio_->setVolume(static_cast<float>(options_.volume.value_or(audio_->referenceVolume())));
    }
}

void Playing::lookForFade() {
    const double ahead = options_.fadeAt->seconds - seconds();
    if (ahead > 0)
        loop_->performSelector(shared_from_this(), "lookForFade", &Playing::lookForFade,
                               std::max(ahead, 0.001), {NSRunLoopCommonModes});
    else
        audio_->fadeoutWithDuration(*options_.fade, options_.fadeStops);
}

void Playing::run() {
    open();
    hearDelegate();
    waitUntilLoaded();
    setUp();
    audio_->play();
    if (audio_->rate() == 0 && !isOver_)
        throw failureWithStatus("play " + options_.file, audio_->setRate(1));
    if (options_.fade)
        lookForFade();
    if (options_.stopAfter)
        loop_->performSelector(shared_from_this(), "stopAfterTime", &Playing::stopAfterTime,
                               *options_.stopAfter, {NSRunLoopCommonModes});
    while (!isOver_)
        runLoopOnce();
    const std::int32_t status =
        audio_->attributeForKey(QTMovieSoundOutputStatusAttribute).intValue();
    if (!options_.render.empty() && status != noErr)
        throw failureWithStatus("write " + options_.render, status);
    char text[64];
    std::snprintf(text, sizeof text, "stopped at %.3f s of %.3f s", seconds(),
                  audio_->durationInSeconds());
    if (!options_.json)
        report_.event({}, text);
}

void checkUsage(const PlayOptions& options) {
    if (options.fadeAt.has_value() != options.fade.has_value())
        throw usageFailure("play", "--fade-at and --fade belong together");
    if (options.fadeStops && !options.fade)
        throw usageFailure("play", "--fade-stop needs --fade-at and --fade");
    const bool ends = options.stopAfter || (options.fade && options.fadeStops);
    if (options.loop && !ends && !isRealTime(options))
        throw usageFailure("play", "--render with --loop never ends without --for");
    if (!options.envelope.empty())
        parseEnvelope(options.envelope);
    markerList(options.markers);
}

void requireOutput(const std::string& device) {
    if (device.empty() || device == "silent" || device == "default" || device == "pulse" ||
        device.starts_with("alsa"))
        return;
    const auto names = QTMovie::soundOutputNames();
    if (std::ranges::find(names, NSString(device)) == names.end())
        throw usageFailure("--device " + device, "there is no such output");
}

void run(const PlayOptions& options) {
    const QuietLog quiet;
    checkUsage(options);
    requireReadableFile("open", options.file);
    if (!options.render.empty())
        requireFreeOutput(options.render, options.force);
    requireOutput(options.device);
    std::shared_ptr<ManualClock> clock;
    if (!isRealTime(options)) {
        clock = std::make_shared<ManualClock>();
        NSRunLoop::currentRunLoop()->setClock(clock);
    }
    std::make_shared<Playing>(options, clock)->run();
}

const CommandRegistration registration("play", [](CLI::App& program) {
    CLI::App* command =
        addCommand(program, "play", "Plays the sound of a file, or renders it as it is played",
                   "twqt play movie.mov --in 0.5 --out 1.5 --marker 1:middle --render sound.wav");
    auto options = std::make_shared<PlayOptions>();
    command->add_option("FILE", options->file, "the sound file or movie")->required();
    addTimeOption(*command, "--in", options->in, "where to begin (default: the start)");
    addTimeOption(*command, "--out", options->out, "where to end (default: the end)");
    command->add_flag("--loop", options->loop, "play the range again and again");
    command->add_option("--for", options->stopAfter, "stop after so many seconds of playing")
        ->check(CLI::NonNegativeNumber);
    command->add_option("--volume", options->volume, "0 to 1 (default: the reference volume)")
        ->check(CLI::Range(0.0, 1.0));
    command->add_option("--gamma", options->gamma, "how volume becomes gain (default: 2.2)")
        ->check(CLI::PositiveNumber);
    command
        ->add_option("--reference", options->reference,
                     "factor of envelopes and fades, and the volume without them (default: 1)")
        ->check(CLI::NonNegativeNumber);
    command->add_option("--envelope", options->envelope,
                        "volume over time: seconds:volume,seconds:volume,…");
    addTimeOption(*command, "--fade-at", options->fadeAt, "where a fade-out begins");
    command->add_option("--fade", options->fade, "seconds that the fade-out takes")
        ->check(CLI::PositiveNumber);
    command->add_flag("--fade-stop", options->fadeStops, "stop at the end of the fade-out");
    command->add_option("--marker", options->markers, "a time to be told of, as time or time:name");
    command->add_option("--frame-rate", options->frameRate,
                        "of accompanying video: markers come half a frame early");
    command->add_option("--device", options->device,
                        "where to play: silent, or an output by its name (default: the best)");
    command->add_option("--render", options->render,
                        "a WAV file for what a device would get; without --device faster than "
                        "real time");
    addForceFlag(*command, options->force);
    addJsonFlag(*command, options->json);
    command->callback([options] { run(*options); });
});

}  // namespace
}  // namespace twqt
