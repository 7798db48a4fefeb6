#include "Engines/transcode/ForeignSink.h"

#include <algorithm>
#include <deque>

#include "Engines/codec/ForeignWriter.h"
#include "Engines/transcode/LanguageCode.h"

namespace TWQuickTime::transcode {

using result::Expected;
using result::Failure;
using result::FailureKind;
using result::Status;

namespace {

const char* formatName(FileKind kind) {
    switch (kind) {
        case FileKind::avi:
            return "avi";
        case FileKind::dv:
            return "dv";
        case FileKind::matroska:
            return "matroska";
        case FileKind::webm:
            return "webm";
        case FileKind::gif:
            return "gif";
        case FileKind::wave:
            return "wav";
        case FileKind::aiff:
            return "aiff";
        case FileKind::flac:
            return "flac";
        case FileKind::mp3:
            return "mp3";
        default:
            return "";
    }
}

std::vector<std::pair<std::string, std::string>> metadataOf(const Passengers& passengers) {
    static constexpr std::pair<std::uint32_t, const char*> kKeys[] = {
        {0xA96E616D, "title"},       {0xA9415254, "artist"}, {0xA9617574, "author"},
        {0xA9637079, "copyright"},   {0xA9616C62, "album"},  {0xA9636D74, "comment"},
        {0xA967656E, "genre"},       {0xA9646179, "date"},   {0xA9777274, "composer"},
        {0xA9646573, "description"},
    };
    std::vector<std::pair<std::string, std::string>> metadata;
    for (const auto& [type, key] : kKeys) {
        const auto title = std::ranges::find(passengers.titles, type, &Title::type);
        if (title != passengers.titles.end()) {
            metadata.emplace_back(key, title->text);
        }
    }
    if (!passengers.timeCodeLabel.empty()) {
        metadata.emplace_back("timecode", passengers.timeCodeLabel);
    }
    return metadata;
}

class ForeignSink : public MediaSink {
  public:
    explicit ForeignSink(std::unique_ptr<codec::ForeignWriter> writer)
        : writer_(std::move(writer)) {}

    Status addVideo(const VideoStream& stream) override {
        video_ = stream;
        return {};
    }
    Status addSound(const SoundStream& stream) override {
        sound_ = stream;
        return {};
    }

    Status begin(Passengers passengers) override {
        if (video_.encoder) {
            auto number = writer_->addStream(*video_.encoder->parameters(),
                                             video_.encoder->settings().frameRate,
                                             languageLetters(passengers.videoLanguage));
            if (!number) {
                return number.failure();
            }
            videoNumber_ = *number;
        }
        if (sound_.encoder) {
            auto number = writer_->addStream(*sound_.encoder->parameters(), {},
                                             languageLetters(passengers.soundLanguage));
            if (!number) {
                return number.failure();
            }
            soundNumber_ = *number;
        }
        for (const Chapter& chapter : passengers.chapters) {
            if (auto status =
                    writer_->addChapter({chapter.start, chapter.end,
                                         std::int32_t(passengers.chapterScale), chapter.title});
                !status) {
                return status;
            }
        }
        return writer_->begin(metadataOf(passengers));
    }

    Status writeVideo(const codec::Packet& packet) override {
        codec::Packet shifted = packet;
        shifted.decodeTime = delayed(packet.decodeTime);
        return writer_->write(videoNumber_, shifted);
    }

    Status writeSound(const codec::Packet& packet) override {
        codec::Packet shifted = packet;
        const std::int64_t priming = sound_.encoder->primingFrames();
        shifted.presentationTime -= priming;
        shifted.decodeTime = shifted.presentationTime;
        if (sound_.encoder->framesPerPacket() == 0) {
            return writer_->write(soundNumber_, shifted);
        }
        if (shifted.presentationTime >= *sound_.frames) {
            return {};  // nothing but filling
        }
        const std::int64_t decodedEnd =
            shifted.presentationTime + sound_.encoder->framesPerPacket();
        const codec::SoundTrim trim{
            .atStart = packet.presentationTime == 0 ? priming : 0,
            .atEnd = std::max<std::int64_t>(decodedEnd - *sound_.frames, 0)};
        return writer_->write(soundNumber_, shifted, trim);
    }

    Status finish() override {
        if (sound_.encoder) {
            if (auto status = writer_->replaceHeader(soundNumber_, *sound_.encoder->parameters());
                !status) {
                return status;
            }
        }
        return writer_->finish();
    }

  private:
    /// Muxers want no picture to be shown before it is decoded: each is decoded when the one was
    /// that lies as many in front of it as pictures change places. The first ones have none in
    /// front.
    std::int64_t delayed(std::int64_t decodeTime) {
        const auto depth = std::size_t(std::max(video_.encoder->reorderDepth(), 0));
        decodeTimes_.push_back(decodeTime);
        if (decodeTimes_.size() <= depth) {
            return decodeTimes_.front() - std::int64_t(depth + 1 - decodeTimes_.size());
        }
        const std::int64_t earlier = decodeTimes_.front();
        decodeTimes_.pop_front();
        return earlier;
    }

    std::unique_ptr<codec::ForeignWriter> writer_;
    VideoStream video_;
    SoundStream sound_;
    std::deque<std::int64_t> decodeTimes_;  ///< of the last pictures
    int videoNumber_ = 0;
    int soundNumber_ = 0;
};

}  // namespace

Expected<std::unique_ptr<MediaSink>> openForeignSink(moviefile::FileStorage& storage,
                                                     FileKind kind) {
    // The file may have no name yet; the system knows it by its descriptor.
    const std::string path = "/proc/self/fd/" + std::to_string(storage.fileDescriptor());
    auto writer = codec::ForeignWriter::create(formatName(kind), path);
    if (!writer) {
        return writer.failure();
    }
    return std::unique_ptr<MediaSink>(std::make_unique<ForeignSink>(std::move(*writer)));
}

}  // namespace TWQuickTime::transcode
