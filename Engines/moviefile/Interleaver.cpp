#include "Engines/moviefile/Interleaver.h"

#include <queue>
#include <tuple>
#include <utility>

namespace TWQuickTime::moviefile {

using result::Expected;
using result::Status;

Interleaver::Interleaver(std::vector<std::unique_ptr<SampleRunStream>> tracks)
    : tracks_(std::move(tracks)) {}

Status Interleaver::forEachRun(const Visit& visit) {
    struct Waiting {
        std::int64_t time;
        std::size_t track;
        // The earliest first; of several, the first track.
        bool operator<(const Waiting& other) const {
            return std::tie(time, track) > std::tie(other.time, other.track);
        }
    };
    std::vector<SampleRun> heads(tracks_.size());
    std::priority_queue<Waiting> waiting;

    // Reads the next run of a track; whether there is one.
    const auto advance = [&](std::size_t track) -> Expected<bool> {
        Expected<std::optional<SampleRun>> run = tracks_[track]->next();
        if (!run)
            return run.failure();
        if (*run)
            heads[track] = **run;
        return run->has_value();
    };
    for (std::size_t track = 0; track < tracks_.size(); ++track) {
        tracks_[track]->rewind();
        const Expected<bool> more = advance(track);
        if (!more)
            return more.failure();
        if (*more)
            waiting.push({heads[track].time, track});
    }
    while (!waiting.empty()) {
        const std::size_t track = waiting.top().track;
        waiting.pop();
        // A chunk is not divided among others.
        while (true) {
            if (Status visited = visit(track, heads[track]); !visited)
                return visited;
            const Expected<bool> more = advance(track);
            if (!more)
                return more.failure();
            if (!*more)
                break;
            if (heads[track].beginsChunk) {
                waiting.push({heads[track].time, track});
                break;
            }
        }
    }
    return {};
}

}  // namespace TWQuickTime::moviefile
