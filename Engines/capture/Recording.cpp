#include "Engines/capture/Recording.h"

#include <atomic>
#include <mutex>
#include <thread>

#include "Engines/capture/CaptureClock.h"
#include "Engines/capture/MovieAssembler.h"
#include "Engines/transcode/BoundedQueue.h"

namespace TWQuickTime::capture {

using result::Expected;
using result::Status;

namespace {

/// Less than a second of pictures and sound together.
constexpr std::size_t kQueuedUnits = 24;

struct StreamUnit {
    std::size_t stream = 0;
    CapturedUnit unit;
};

/// The first failure of several threads.
class FirstFailure {
  public:
    void keep(const Status& status) {
        const std::lock_guard lock(mutex_);
        if (first_)
            first_ = status;
    }
    Status get() const {
        const std::lock_guard lock(mutex_);
        return first_;
    }

  private:
    mutable std::mutex mutex_;
    Status first_;
};

class RunningRecording : public Recording {
  public:
    RunningRecording(GrowingMovie& movie, std::vector<std::unique_ptr<DeviceSource>> sources)
        : movie_(movie), sources_(std::move(sources)) {}
    ~RunningRecording() override { static_cast<void>(stop().ok()); }

    Status start() {
        std::vector<StreamFormat> formats;
        for (const auto& source : sources_)
            formats.push_back(source->format());
        assembler_.emplace(movie_, formats, CaptureClock::system().nanoseconds());
        for (const auto& source : sources_) {
            if (Status started = source->start(); !started) {
                stopSources();
                return started;
            }
        }
        if (Status begun = assembler_->begin(); !begun) {
            stopSources();
            return begun;
        }
        running_ = true;
        for (std::size_t i = 0; i < sources_.size(); ++i)
            readers_.emplace_back([this, i] { read(i); });
        writer_ = std::thread([this] { write(); });
        return {};
    }

    Status health() const override {
        const Status device = deviceFailure_.get();
        return device ? fileFailure_.get() : device;
    }

    Status stop() override {
        if (!running_)
            return fileFailure_.get();
        running_ = false;
        stopping_ = true;
        for (std::thread& reader : readers_)
            reader.join();
        queue_.close();
        writer_.join();
        stopSources();
        fileFailure_.keep(assembler_->finish());
        fileFailure_.keep(movie_.endSegment());
        return fileFailure_.get();
    }

  private:
    void stopSources() {
        for (const auto& source : sources_)
            source->stop();
    }

    void read(std::size_t stream) {
        while (!stopping_) {
            auto unit = sources_[stream]->next();
            if (!unit) {
                deviceFailure_.keep(unit.failure());
                return;
            }
            if (*unit && !queue_.push({stream, **std::move(unit)}))
                return;
        }
    }

    void write() {
        while (auto next = queue_.pop()) {
            if (Status taken = assembler_->take(next->stream, std::move(next->unit)); !taken) {
                fileFailure_.keep(taken);
                queue_.stop();
                return;
            }
        }
    }

    GrowingMovie& movie_;
    std::vector<std::unique_ptr<DeviceSource>> sources_;
    std::optional<MovieAssembler> assembler_;
    transcode::BoundedQueue<StreamUnit> queue_{kQueuedUnits};
    std::vector<std::thread> readers_;
    std::thread writer_;
    std::atomic<bool> stopping_ = false;
    bool running_ = false;
    FirstFailure deviceFailure_;
    FirstFailure fileFailure_;
};

}  // namespace

Expected<std::unique_ptr<Recording>> Recording::start(
    GrowingMovie& movie, std::vector<std::unique_ptr<DeviceSource>> sources) {
    auto recording = std::make_unique<RunningRecording>(movie, std::move(sources));
    if (Status started = recording->start(); !started)
        return started.failure();
    return std::unique_ptr<Recording>(std::move(recording));
}

}  // namespace TWQuickTime::capture
