#include "Engines/transcode/MovieExport.h"

#include <algorithm>
#include <ctime>
#include <mutex>
#include <thread>
#include <vector>

#include "Engines/moviefile/ReplacementFile.h"
#include "Engines/transcode/BoundedQueue.h"
#include "Engines/transcode/ExportCommit.h"
#include "Engines/transcode/Passengers.h"
#include "Engines/transcode/SinkFactory.h"
#include "Engines/transcode/SoundProducer.h"
#include "Engines/transcode/VideoProducer.h"

namespace TWQuickTime::transcode {

using codec::Packet;
using codec::VideoFrame;
using result::Expected;
using result::Failure;
using result::FailureKind;
using result::Status;

namespace {

/// Pictures and packets that wait between two threads; few, because pictures are large.
constexpr std::size_t kWaitingPictures = 1;
constexpr std::size_t kWaitingBlocks = 8;
constexpr std::size_t kWaitingPackets = 64;
/// The disk begins with what is written after so many bytes, so that the sync at the end is short.
constexpr std::uint64_t kWriteBackDistance = 8u << 20;

/// What the threads of one export share.
class Pipeline {
  public:
    /// @param file  that the sink writes into
    Pipeline(VideoProducer* video, SoundProducer* sound, MediaSink& sink,
             moviefile::FileStorage& file)
        : video_(video), sound_(sound), sink_(sink), file_(file) {}
    ~Pipeline() { stopAndJoin(); }
    Pipeline(const Pipeline&) = delete;
    Pipeline& operator=(const Pipeline&) = delete;

    Status run(const std::function<bool(double)>& progress) {
        start();
        Status status = writeAll(progress);
        stopAndJoin();
        // The threads' own failure comes before what followed from it.
        return failure_ ? Status(*failure_) : status;
    }

  private:
    void start() {
        if (video_) {
            threads_.emplace_back([this] { fill(pictures_, [this] { return video_->next(); }); });
            threads_.emplace_back([this] { encodePictures(); });
        }
        if (sound_ && sound_->isCopied()) {
            threads_.emplace_back(
                [this] { fill(soundPackets_, [this] { return sound_->copy(); }); });
        } else if (sound_) {
            threads_.emplace_back([this] { fill(blocks_, [this] { return sound_->mix(); }); });
            threads_.emplace_back([this] { encodeSound(); });
        }
    }

    void stopQueues() {
        pictures_.stop();
        blocks_.stop();
        videoPackets_.stop();
        soundPackets_.stop();
    }

    void stopAndJoin() {
        stopQueues();
        for (std::thread& thread : threads_) {
            thread.join();
        }
        threads_.clear();
    }

    void fail(const Failure& failure) {
        {
            const std::lock_guard lock(mutex_);
            if (!failure_) {
                failure_ = failure;
            }
        }
        stopQueues();
    }

    /// A thread: puts what `next` makes into a queue until there is no more.
    template <class Item, class Next>
    void fill(BoundedQueue<Item>& queue, Next next) {
        for (;;) {
            Expected<std::optional<Item>> item = next();
            if (!item) {
                return fail(item.failure());
            }
            if (!*item) {
                return queue.close();
            }
            if (!queue.push(std::move(**item))) {
                return;
            }
        }
    }

    /// False when nobody wants more packets.
    template <class Encoder>
    bool forward(Encoder& encoder, BoundedQueue<Packet>& packets) {
        for (;;) {
            auto packet = encoder.receive();
            if (!packet) {
                fail(packet.failure());
                return false;
            }
            if (!*packet) {
                return true;
            }
            if (!packets.push(std::move(**packet))) {
                return false;
            }
        }
    }

    /// A thread. Pictures are converted here, so that decoding goes on meanwhile and only those
    /// that are being encoded exist twice.
    void encodePictures() {
        codec::VideoEncoder& encoder = video_->encoder();
        while (auto picture = pictures_.pop()) {
            auto prepared = video_->prepared(*picture);
            if (!prepared) {
                return fail(prepared.failure());
            }
            picture.reset();
            if (auto status = encoder.encode(*prepared); !status) {
                return fail(status.failure());
            }
            if (!forward(encoder, videoPackets_)) {
                return;
            }
        }
        finish(encoder, videoPackets_);
    }

    /// A thread.
    void encodeSound() {
        while (auto block = blocks_.pop()) {
            if (auto status = sound_->encoder().encode(*block); !status) {
                return fail(status.failure());
            }
            if (!forward(sound_->encoder(), soundPackets_)) {
                return;
            }
        }
        finish(sound_->encoder(), soundPackets_);
    }

    template <class Encoder>
    void finish(Encoder& encoder, BoundedQueue<Packet>& packets) {
        if (auto status = encoder.finish(); !status) {
            return fail(status.failure());
        }
        if (forward(encoder, packets)) {
            packets.close();
        }
    }

    double secondsOf(const Packet& packet, bool isVideo) const {
        const double scale =
            isVideo ? video_->timeScale() : sound_->encoder().settings().sampleRate;
        return double(packet.decodeTime) / scale;
    }

    double fractionDone(const Packet& packet, bool isVideo) const {
        const double whole = isVideo ? double(video_->duration()) : double(sound_->frames());
        return whole > 0 ? std::clamp(double(packet.decodeTime + packet.duration) / whole, 0.0, 1.0)
                         : 1.0;
    }

    /// Writes whichever stream lies behind, on the caller's thread.
    Status writeAll(const std::function<bool(double)>& progress) {
        std::optional<Packet> video = video_ ? videoPackets_.pop() : std::nullopt;
        std::optional<Packet> sound = sound_ ? soundPackets_.pop() : std::nullopt;
        while (video || sound) {
            const bool isVideo =
                video && (!sound || secondsOf(*video, true) <= secondsOf(*sound, false));
            std::optional<Packet>& packet = isVideo ? video : sound;
            if (auto status = isVideo ? sink_.writeVideo(*packet) : sink_.writeSound(*packet);
                !status) {
                return status;
            }
            if ((isVideo || !video_) && progress && !progress(fractionDone(*packet, isVideo))) {
                return Failure{FailureKind::cancelled, "the export was stopped"};
            }
            noteWritten(packet->bytes.size());
            packet = isVideo ? videoPackets_.pop() : soundPackets_.pop();
        }
        return {};
    }

    void noteWritten(std::uint64_t sizeInBytes) {
        notWrittenBack_ += sizeInBytes;
        if (notWrittenBack_ < kWriteBackDistance) {
            return;
        }
        notWrittenBack_ = 0;
        if (const auto end = file_.sizeInBytes(); end && *end > writtenBackEnd_) {
            file_.beginWriteBack(writtenBackEnd_, *end - writtenBackEnd_);
            writtenBackEnd_ = *end;
        }
    }

    VideoProducer* video_;
    SoundProducer* sound_;
    MediaSink& sink_;
    moviefile::FileStorage& file_;
    std::uint64_t writtenBackEnd_ = 0;
    std::uint64_t notWrittenBack_ = 0;
    BoundedQueue<VideoFrame> pictures_{kWaitingPictures};
    BoundedQueue<std::vector<float>> blocks_{kWaitingBlocks};
    BoundedQueue<Packet> videoPackets_{kWaitingPackets};
    BoundedQueue<Packet> soundPackets_{kWaitingPackets};
    std::vector<std::thread> threads_;
    std::mutex mutex_;
    std::optional<Failure> failure_;
};

bool missing(const Failure& failure) {
    return failure.kind == FailureKind::notFound;
}

}  // namespace

Status exportMovie(const ExportRequest& request) {
    const timeline::Movie& movie = *request.movie;
    const std::int64_t start = std::max<std::int64_t>(request.start, 0);
    const std::int64_t end =
        std::min(timeline::addSaturating(request.start, request.duration), movie.duration());
    if (request.duration <= 0 || end <= start) {
        return Failure{FailureKind::badArgument, "the range to export is empty"};
    }
    const ExportSettings& settings = request.settings;
    std::unique_ptr<VideoProducer> video;
    std::unique_ptr<SoundProducer> sound;
    if (settings.video) {
        auto opened = VideoProducer::open(movie, request.onlyTrack, start, end - start,
                                          *settings.video, settings.kind);
        if (opened) {
            video = std::move(*opened);
        } else if (!missing(opened.failure())) {
            return opened.failure();
        }
    }
    const bool isDv = settings.kind == FileKind::dv;
    if (settings.sound && (video || !isDv)) {
        // A DV stream has sound in every picture.
        const double leastSeconds = isDv ? double(video->duration()) / video->timeScale() : 0;
        auto opened = SoundProducer::open(movie, request.onlyTrack, start, end - start,
                                          *settings.sound, settings.kind, leastSeconds);
        if (opened) {
            sound = std::move(*opened);
        } else if (!missing(opened.failure())) {
            return opened.failure();
        }
    }
    if (!video && !sound) {
        return Failure{FailureKind::notFound, "the movie has nothing that could be exported so"};
    }
    auto file = moviefile::ReplacementFile::create(request.path);
    if (!file) {
        return file.failure();
    }
    auto sink = openSink(file->storage(), settings.kind, request.path);
    if (!sink) {
        return sink.failure();
    }
    if (video) {
        const VideoStream stream{&video->encoder(), video->timeScale(), video->cleanAperture()};
        if (auto status = (*sink)->addVideo(stream); !status) {
            return status;
        }
    }
    if (sound) {
        if (auto status = (*sink)->addSound({&sound->encoder(), &sound->frames()}); !status) {
            return status;
        }
    }
    const timeline::Track* main = video ? &video->mainTrack() : nullptr;
    if (auto status = (*sink)->begin(passengersOf(movie, main, start, end - start)); !status) {
        return status;
    }
    if (auto status =
            Pipeline(video.get(), sound.get(), **sink, file->storage()).run(request.progress);
        !status) {
        return status;
    }
    if (auto status = (*sink)->finish(); !status) {
        return status;
    }
    return commitExport(*file, request.path, settings, request.progress);
}

}  // namespace TWQuickTime::transcode
