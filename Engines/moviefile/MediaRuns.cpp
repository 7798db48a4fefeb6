#include "Engines/moviefile/MediaRuns.h"

#include <algorithm>
#include <string>

#include "Engines/timeline/Rescale.h"

namespace TWQuickTime::moviefile {
namespace {

using result::Expected;
using result::Failure;
using result::FailureKind;

class MediaRuns final : public SampleRunStream {
  public:
    MediaRuns(const timeline::Track& track, std::uint32_t movieTimeScale, RunOrder order)
        : track_(track),
          media_(*track.media),
          columns_(media_.samples.columns()),
          movieTimeScale_(movieTimeScale),
          order_(order),
          // Players read a chunk at a time; half a second is little to hold and little to seek.
          chunkDuration_(std::max<std::int64_t>(1, media_.timeScale / 2)) {
        MediaRuns::rewind();
    }

    void rewind() override {
        chunk_ = columns_.chunks.ofChunk(0);
        sampleInChunk_ = 0;
        bytesInChunk_ = 0;
        durations_ = {};
        mediaTime_ = 0;
        shownTime_ = 0;
        chunkEndTime_ = 0;
        description_ = 0;
    }

    Expected<std::optional<SampleRun>> next() override {
        while (chunk_ && samplesLeft() == 0) {
            chunk_ = columns_.chunks.after(*chunk_);
            sampleInChunk_ = 0;
            bytesInChunk_ = 0;
        }
        if (!chunk_)
            return std::optional<SampleRun>();

        SampleRun run;
        run.descriptionIndex = chunk_->descriptionIndex;
        // Packets of sound are counted from the start of their chunk, so that such chunks stay.
        const bool whole = columns_.sizes.inPackets();
        run.beginsChunk =
            whole || chunk_->descriptionIndex != description_ || mediaTime_ >= chunkEndTime_;
        if (run.beginsChunk) {
            chunkEndTime_ = timeline::addSaturating(mediaTime_, chunkDuration_);
            description_ = chunk_->descriptionIndex;
            shownTime_ = timeShown();
        }
        run.time = shownTime_;

        const auto first = static_cast<std::uint32_t>(chunk_->firstSample) + sampleInChunk_;
        run.sampleCount = passSamples(samplesLeft(), whole);
        run.sizeInBytes = columns_.sizes.sizeOfRange(first, first + run.sampleCount);
        run.offset = columns_.chunks.offset(chunk_->chunk) + bytesInChunk_;
        sampleInChunk_ += run.sampleCount;
        bytesInChunk_ += run.sizeInBytes;
        return locate(run);
    }

  private:
    /// Samples of the present chunk that are still to come; what no size is known for is not there.
    std::uint32_t samplesLeft() const {
        const std::uint64_t first = chunk_->firstSample + sampleInChunk_;
        const std::uint64_t end = std::min<std::uint64_t>(chunk_->firstSample + chunk_->sampleCount,
                                                          columns_.sizes.count());
        return first >= end ? 0 : static_cast<std::uint32_t>(end - first);
    }

    /// The movie time at which the present sample is first shown; that of the chunk before for
    /// samples that are never shown.
    std::int64_t timeShown() const {
        if (order_ == RunOrder::byTrack)
            return 0;
        if (track_.edits.empty())
            return timeline::rescale(mediaTime_, media_.timeScale, movieTimeScale_);
        return track_.edits.trackTimeOf(mediaTime_, movieTimeScale_, media_.timeScale)
            .value_or(shownTime_);
    }

    /// Moves on by the samples that begin before the chunk's end (`all`: by all), at least one and
    /// at most so many.
    std::uint32_t passSamples(std::uint32_t most, bool all) {
        std::uint32_t passed = 0;
        while (passed < most && (passed == 0 || all || mediaTime_ < chunkEndTime_)) {
            if (durations_.row >= columns_.times.rowCount())
                return most;  // samples without a duration belong to what is before them
            const std::uint64_t inRow = columns_.times.count(durations_.row);
            const std::uint64_t left = inRow - std::min(inRow, durations_.passed);
            const std::uint64_t duration = columns_.times.value(durations_.row);
            std::uint64_t count = std::min<std::uint64_t>(left, most - passed);
            if (!all && duration != 0 && mediaTime_ < chunkEndTime_) {
                const auto distance = static_cast<std::uint64_t>(chunkEndTime_ - mediaTime_);
                count = std::min(count, (distance + duration - 1) / duration);
            } else if (!all && duration != 0) {
                count = std::min<std::uint64_t>(count, 1);
            }
            passed += static_cast<std::uint32_t>(count);
            durations_.passed += count;
            mediaTime_ = timeline::addSaturating(
                mediaTime_,
                static_cast<std::int64_t>(std::min<std::uint64_t>(count * duration, INT64_MAX)));
            if (durations_.passed >= inRow)
                durations_ = {durations_.row + 1, 0};
        }
        return passed;
    }

    Expected<std::optional<SampleRun>> locate(SampleRun run) {
        if (run.descriptionIndex != storeDescription_) {
            store_ = media_.storeOfDescription(run.descriptionIndex);
            storeSize_ = store_ ? store_->size() : 0;
            storeDescription_ = run.descriptionIndex;
        }
        const auto place = [&] {
            return "track " + std::to_string(track_.id) + ", chunk at " +
                   std::to_string(run.offset);
        };
        if (!store_)
            return Failure{FailureKind::notAvailable, place() + ": its data cannot be opened"};
        if (run.offset > storeSize_ || run.sizeInBytes > storeSize_ - run.offset)
            return Failure{FailureKind::truncated, place() + ": reaches past the end of its data"};
        run.store = store_;
        return std::optional(run);
    }

    struct DurationPosition {
        std::size_t row = 0;
        std::uint64_t passed = 0;  ///< samples of the row
    };

    const timeline::Track& track_;
    const timeline::Media& media_;
    const timeline::SampleColumns& columns_;
    std::uint32_t movieTimeScale_;
    RunOrder order_;
    std::int64_t chunkDuration_;

    std::optional<timeline::ChunkColumn::Position> chunk_;
    std::uint32_t sampleInChunk_ = 0;
    std::uint64_t bytesInChunk_ = 0;
    DurationPosition durations_;
    std::int64_t mediaTime_ = 0;
    std::int64_t shownTime_ = 0;
    std::int64_t chunkEndTime_ = 0;  ///< media time at which the next chunk begins
    std::uint32_t description_ = 0;

    std::uint32_t storeDescription_ = 0;
    const timeline::SampleStore* store_ = nullptr;
    std::uint64_t storeSize_ = 0;
};

}  // namespace

std::unique_ptr<SampleRunStream> makeMediaRuns(const timeline::Track& track,
                                               std::uint32_t movieTimeScale, RunOrder order) {
    return std::make_unique<MediaRuns>(track, movieTimeScale, order);
}

}  // namespace TWQuickTime::moviefile
