// `twqt tween`: adds a volume envelope to a movie's sound, in place.
#include <QTMovie.h>
#include <QTMovie_AudioVolumeTweenTrack.h>
#include <QTTrack.h>
#include <Tracks.h>
#include <UQuickTimeMovie.h>

#include <algorithm>
#include <array>
#include <iostream>

#include "Command.h"
#include "CommandFailure.h"
#include "EnvelopeArgument.h"
#include "JsonOutput.h"
#include "MovieArgument.h"

namespace twqt {
namespace {

using namespace TWQuickTime;

struct TweenOptions {
    std::string file;
    std::string envelope;
    std::string trapezoid;
    double volume = 1.0;
    int audioTrack = 1;
    bool json = false;
};

NSArray envelopeOf(const std::string& text) {
    NSArray envelope = NSArray::array();
    for (const EnvelopePoint& point : parseEnvelope(text))
        envelope.addObject(NSDictionary{{QTAudioVolumeTweenEnvelopeTimeKey, point.seconds},
                                        {QTAudioVolumeTweenEnvelopeVolumeKey, point.volume}});
    return envelope;
}

std::array<double, 4> parseTrapezoid(const std::string& text) {
    const auto parts = splitText(text, ',');
    std::array<double, 4> times{};
    for (std::size_t i = 0; i < times.size(); ++i) {
        const auto time = parts.size() == times.size() ? parseNumber(parts[i]) : std::nullopt;
        if (!time || *time < 0)
            throw usageFailure("--trapezoid " + text, "four times in seconds are needed");
        times[i] = *time;
    }
    return times;
}

/// IDs of all tween tracks; the new one is the one that was not there.
std::vector<std::int32_t> tweenTrackIDs(Movie movie) {
    std::vector<std::int32_t> ids;
    for (int i = 1;; ++i) {
        const Track track = GetMovieIndTrackType(movie, i, fourCC("twen"), movieTrackMediaType);
        if (!track)
            return ids;
        ids.push_back(GetTrackID(track));
    }
}

void addEnvelope(const TweenOptions& options, Movie movie, Track audioTrack) {
    const NSArray envelope = envelopeOf(options.envelope);
    NSError error;
    const std::shared_ptr<QTMovie> object = QTMovie::movieWithQuickTimeMovie(movie, false, &error);
    const auto track = QTTrack::trackWithQuickTimeTrack(object, audioTrack);
    if (!QTMovie_AudioVolumeTweenTrack::addTweenForAudioTrack(object, track, envelope, &error))
        throw failureWithError("add a tween to " + options.file, error);
}

void addTrapezoid(const TweenOptions& options, EditedMovie& movie, Track audioTrack) {
    const std::array<double, 4> times = parseTrapezoid(options.trapezoid);
    const OSErr status = movie.storedMovie().CreateNewTweenTrackForAudioTrack(
        audioTrack, times.data(), options.volume);
    if (status != noErr)
        throw failureWithStatus("add a tween to " + options.file, status);
}

void run(const TweenOptions& options) {
    const QuietLog quiet;
    EditedMovie movie(options.file);
    const Track audioTrack =
        UQuickTimeMovie::GetAudioTrackAtIndex(movie.movie(), options.audioTrack);
    if (!audioTrack)
        throw CommandFailure(
            "add a tween to " + options.file,
            "there is no sound track " + std::to_string(options.audioTrack) + " (-2009)");
    const std::vector<std::int32_t> before = tweenTrackIDs(movie.movie());
    if (options.trapezoid.empty())
        addEnvelope(options, movie.movie(), audioTrack);
    else
        addTrapezoid(options, movie, audioTrack);
    movie.save();
    std::int32_t added = 0;
    for (const std::int32_t id : tweenTrackIDs(movie.movie()))
        if (std::find(before.begin(), before.end(), id) == before.end())
            added = id;
    if (options.json)
        printJson({{"track", added}});
    else
        std::cout << "added track " << added << '\n';
}

const CommandRegistration registration("tween", [](CLI::App& program) {
    CLI::App* command =
        addCommand(program, "tween", "Adds a volume envelope to a movie's sound, in place",
                   "twqt tween movie.mov --envelope 0:0,1:1,9:1,10:0");
    auto options = std::make_shared<TweenOptions>();
    command->add_option("FILE", options->file, "the movie")->required();
    CLI::Option_group* shape = command->add_option_group("shape");
    shape->add_option("--envelope", options->envelope, "points, seconds:volume,…");
    shape->add_option("--trapezoid", options->trapezoid,
                      "fade in begins, ends, fade out begins, ends: t0,t1,t2,t3 in seconds");
    shape->require_option(1);
    command->add_option("--volume", options->volume, "of the trapezoid's top; 1 is full");
    command->add_option("--audio-track", options->audioTrack, "which sound track, from 1")
        ->check(CLI::PositiveNumber);
    addJsonFlag(*command, options->json);
    command->callback([options] { run(*options); });
});

}  // namespace
}  // namespace twqt
