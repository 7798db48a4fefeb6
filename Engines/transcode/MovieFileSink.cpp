#include "Engines/transcode/MovieFileSink.h"

#include <algorithm>
#include <deque>

#include "Engines/codec/ByteOrder.h"
#include "Engines/moviefile/DataReferences.h"
#include "Engines/moviefile/FileStorage.h"
#include "Engines/moviefile/MediaDataWriter.h"
#include "Engines/moviefile/MovieWriter.h"
#include "Engines/transcode/LanguageCode.h"

namespace TWQuickTime::transcode {

using codec::fourCode;
using result::Expected;
using result::Failure;
using result::Status;

namespace {

/// A stream's samples lie together for so long, or so many bytes, before the other's follow.
constexpr double kChunkSeconds = 0.5;
constexpr std::size_t kChunkBytes = 1u << 20;

bool isIso(FileKind kind) {
    return kind != FileKind::quickTime;
}

std::vector<std::byte> fileTypeAtom(FileKind kind) {
    codec::ByteWriter writer;
    const std::size_t atom = writer.openAtom(fourCode("ftyp"));
    switch (kind) {
        case FileKind::mpeg4:
            writer.u32(fourCode("mp42")).u32(0).u32(fourCode("mp42")).u32(fourCode("isom"));
            writer.u32(fourCode("iso4"));
            break;
        case FileKind::m4v:
            writer.u32(fourCode("M4V ")).u32(0).u32(fourCode("M4V ")).u32(fourCode("mp42"));
            writer.u32(fourCode("iso4"));
            break;
        case FileKind::threeGpp:
            writer.u32(fourCode("3gp6")).u32(0x100).u32(fourCode("3gp6")).u32(fourCode("isom"));
            break;
        case FileKind::m4a:
            writer.u32(fourCode("M4A ")).u32(0).u32(fourCode("M4A ")).u32(fourCode("mp42"));
            writer.u32(fourCode("isom"));
            break;
        default:
            writer.u32(fourCode("qt  ")).u32(0x20050300).u32(fourCode("qt  "));
            break;
    }
    writer.closeAtom(atom);
    return writer.take();
}

std::vector<std::byte> withCleanAperture(std::vector<std::byte> description,
                                         const std::optional<codec::CleanAperture>& aperture) {
    if (!aperture) {
        return description;
    }
    codec::ByteWriter writer;
    writer.raw(description);
    const std::size_t atom = writer.openAtom(fourCode("clap"));
    for (const double value :
         {aperture->width, aperture->height, aperture->offsetX, aperture->offsetY}) {
        writer.u32(static_cast<std::uint32_t>(static_cast<std::int32_t>(value * 1000)));
        writer.u32(1000);
    }
    writer.closeAtom(atom).closeAtom(0);
    return writer.take();
}

/// One track that is being written.
struct Stream {
    std::unique_ptr<timeline::Media> media = nullptr;
    std::deque<codec::Packet> chunk = {};
    std::size_t chunkBytes = 0;
    std::int64_t chunkStart = 0;
    std::int64_t end = 0;  ///< of all samples, media time units
};

class MovieFileSink : public MediaSink {
  public:
    MovieFileSink(moviefile::FileStorage& storage, FileKind kind)
        : storage_(storage), data_(storage, 1u << 20), kind_(kind) {}

    Status addVideo(const VideoStream& stream) override {
        videoFacts_ = stream;
        video_.media = timeline::makeMedia(fourCode("vide"), std::uint32_t(stream.timeScale));
        prepareMedia(*video_.media, "VideoHandler");
        if (!isIso(kind_)) {
            video_.media->graphicsMode = 0x40;
            video_.media->opColor = {0x8000, 0x8000, 0x8000};
        }
        return {};
    }

    Status addSound(const SoundStream& stream) override {
        soundFacts_ = stream;
        sound_.media = timeline::makeMedia(fourCode("soun"),
                                           std::uint32_t(stream.encoder->settings().sampleRate));
        prepareMedia(*sound_.media, "SoundHandler");
        return {};
    }

    Status begin(Passengers passengers) override {
        passengers_ = std::move(passengers);
        return storage_.write(0, fileTypeAtom(kind_));
    }

    Status writeVideo(const codec::Packet& packet) override {
        // A sample lasts until the next one is decoded, so each waits for its successor.
        videoEnd_ = std::max(videoEnd_, packet.presentationTime + packet.duration);
        if (!held_) {
            held_ = packet;
            return {};
        }
        codec::Packet ready = std::move(*held_);
        held_ = packet;
        ready.duration = packet.decodeTime - ready.decodeTime;
        return add(video_, std::move(ready), video_.media->timeScale);
    }

    Status writeSound(const codec::Packet& packet) override {
        return add(sound_, packet, sound_.media->timeScale);
    }

    Status finish() override {
        if (held_) {
            held_->duration = std::max<std::int64_t>(videoEnd_ - held_->decodeTime, 1);
            if (auto status = add(video_, std::move(*held_), video_.media->timeScale); !status) {
                return status;
            }
        }
        if (auto status = flush(video_); !status) {
            return status;
        }
        if (auto status = flush(sound_); !status) {
            return status;
        }
        timeline::Movie movie;
        if (auto status = build(movie); !status) {
            return status;
        }
        if (auto status = data_.finish(); !status) {
            return status;
        }
        auto atom = moviefile::writeMovieAtom(movie);
        if (!atom) {
            return atom.failure();
        }
        auto size = storage_.sizeInBytes();
        if (!size) {
            return size.failure();
        }
        return storage_.write(*size, *atom);
    }

  private:
    void prepareMedia(timeline::Media& media, const char* name) const {
        if (isIso(kind_)) {
            // A name would begin with its length, which these files do not expect.
            media.handler.componentType = 0;
        } else {
            media.handler.name = name;
            media.handler.manufacturer = fourCode("appl");
        }
        media.dataReferences.push_back(moviefile::makeSelfReference());
    }

    Status add(Stream& stream, codec::Packet packet, std::uint32_t timeScale) {
        if (stream.chunk.empty()) {
            stream.chunkStart = stream.end;
        }
        stream.end += packet.duration;
        stream.chunkBytes += packet.bytes.size();
        stream.chunk.push_back(std::move(packet));
        if (stream.chunkBytes >= kChunkBytes ||
            double(stream.end - stream.chunkStart) >= kChunkSeconds * timeScale) {
            return flush(stream);
        }
        return {};
    }

    Status flush(Stream& stream) {
        const int pcmFrame =
            &stream == &sound_ && soundFacts_.encoder ? soundFacts_.encoder->bytesPerPcmFrame() : 0;
        for (const codec::Packet& packet : stream.chunk) {
            auto offset = data_.append(packet.bytes);
            if (!offset) {
                return offset.failure();
            }
            timeline::NewSamples samples;
            samples.offset = *offset;
            if (pcmFrame > 0) {
                samples.sizeInBytes = std::uint32_t(pcmFrame);
                samples.count = std::uint32_t(packet.bytes.size() / std::size_t(pcmFrame));
                samples.duration = 1;
            } else {
                samples.sizeInBytes = std::uint32_t(packet.bytes.size());
                samples.duration = std::uint32_t(std::max<std::int64_t>(packet.duration, 0));
                samples.compositionOffset =
                    std::int32_t(packet.presentationTime - packet.decodeTime);
                samples.sync = packet.sync;
            }
            if (auto status = stream.media->samples.append(samples); !status) {
                return status;
            }
        }
        stream.chunk.clear();
        stream.chunkBytes = 0;
        return {};
    }

    Status build(timeline::Movie& movie) {
        movie.timeScale = video_.media   ? video_.media->timeScale
                          : sound_.media ? sound_.media->timeScale
                                         : 600;
        movie.creationTime = movie.modificationTime = passengers_.creationTime;
        movie.userData = std::move(passengers_.userData);
        if (isIso(kind_)) {
            for (timeline::UserDataItem& item : movie.userData.items) {
                item.data = isTitle(item.type) ? unicodeTitleItem(item.data) : item.data;
            }
        }
        if (isIso(kind_) && !passengers_.titles.empty()) {
            movie.userData.add(fourCode("meta"), metadataList(passengers_.titles));
        }
        timeline::Track* videoTrack = nullptr;
        if (video_.media) {
            if (auto status = buildVideo(movie, videoTrack); !status) {
                return status;
            }
        }
        if (sound_.media) {
            if (auto status = buildSound(movie); !status) {
                return status;
            }
        }
        if (videoTrack) {
            if (auto status = buildTimeCode(movie, *videoTrack); !status) {
                return status;
            }
        }
        return passengers_.chapters.empty() ? Status() : buildChapters(movie);
    }

    void date(timeline::Track& track) const {
        track.creationTime = track.modificationTime = passengers_.creationTime;
        track.media->creationTime = track.media->modificationTime = passengers_.creationTime;
        if (isIso(kind_)) {
            track.flags = timeline::kTrackEnabled | timeline::kTrackInMovie;
        }
    }

    Status buildVideo(timeline::Movie& movie, timeline::Track*& made) {
        const codec::VideoEncoderSettings& settings = videoFacts_.encoder->settings();
        const double aspect = settings.pixelAspect.known() ? settings.pixelAspect.value() : 1.0;
        timeline::Track& track = movie.addTrack(
            {static_cast<std::int32_t>(settings.width * aspect * 65536), settings.height << 16}, 0);
        track.media = std::move(video_.media);
        track.media->language = language(passengers_.videoLanguage);
        track.media->addDescription(
            timeline::SampleDescription(timeline::SharedBytes::adopt(withCleanAperture(
                videoFacts_.encoder->sampleDescription(isIso(kind_)), videoFacts_.cleanAperture))));
        date(track);
        made = &track;
        return timeline::insertMedia(movie, track, 0, 0, video_.end);
    }

    Status buildSound(timeline::Movie& movie) {
        timeline::Track& track = movie.addTrack({}, 0x100);
        track.media = std::move(sound_.media);
        track.media->language = language(passengers_.soundLanguage);
        track.media->addDescription(timeline::SampleDescription(
            timeline::SharedBytes::adopt(soundFacts_.encoder->sampleDescription(isIso(kind_)))));
        date(track);
        const std::int64_t priming = soundFacts_.encoder->primingFrames();
        const std::int64_t heard = std::min(*soundFacts_.frames, sound_.end - priming);
        return heard > 0 ? timeline::insertMedia(movie, track, 0, priming, heard) : Status();
    }

    Status buildTimeCode(timeline::Movie& movie, timeline::Track& videoTrack) {
        // Telephones know no timecode tracks; players of MPEG-4 files do.
        if (kind_ == FileKind::threeGpp || passengers_.timeCodeDescription.size() < 34 ||
            passengers_.timeCodeScale == 0) {
            return {};
        }
        codec::ByteWriter sample;
        sample.u32(static_cast<std::uint32_t>(passengers_.firstTimeCodeFrame));
        auto offset = data_.append(sample.data());
        if (!offset) {
            return offset.failure();
        }
        timeline::Track& track = movie.addTrack(videoTrack.dimensions, 0);
        track.media = timeline::makeMedia(fourCode("tmcd"), passengers_.timeCodeScale);
        prepareMedia(*track.media, "TimeCodeHandler");
        track.setEnabled(false);
        timeline::SampleDescription description(
            timeline::SharedBytes::copyOf(passengers_.timeCodeDescription));
        description.setDataReferenceIndex(1);
        track.media->addDescription(description);
        date(track);
        track.setEnabled(false);
        const std::int64_t duration =
            timeline::rescale(videoTrack.duration(), movie.timeScale, passengers_.timeCodeScale);
        timeline::NewSamples samples;
        samples.offset = *offset;
        samples.sizeInBytes = 4;
        samples.duration = std::uint32_t(std::clamp<std::int64_t>(duration, 1, 0xFFFFFFFF));
        if (auto status = track.media->samples.append(samples); !status) {
            return status;
        }
        videoTrack.addReference(fourCode("tmcd"), track.id);
        return timeline::insertMedia(movie, track, 0, 0, samples.duration);
    }

    /// A text track that is not shown, named by all others as their list of chapters.
    Status buildChapters(timeline::Movie& movie) {
        timeline::Track& track = movie.addTrack({}, 0);
        track.media = timeline::makeMedia(fourCode("text"), passengers_.chapterScale);
        prepareMedia(*track.media, "TextHandler");
        track.media->language = language(passengers_.videoLanguage);
        track.media->addDescription(
            timeline::SampleDescription(timeline::SharedBytes::adopt(chapterDescription())));
        date(track);
        track.setEnabled(false);
        std::int64_t end = 0;
        for (const Chapter& chapter : passengers_.chapters) {
            // What lies between chapters is a chapter without a title.
            if (chapter.start > end) {
                if (auto status = addText(track, {}, chapter.start - end); !status) {
                    return status;
                }
            }
            if (auto status = addText(track, chapter.title, chapter.end - chapter.start); !status) {
                return status;
            }
            end = chapter.end;
        }
        for (const auto& other : movie.tracks) {
            const timeline::FourCharCode type = other->media->type();
            if (type == fourCode("vide") || type == fourCode("soun")) {
                other->addReference(fourCode("chap"), track.id);
            }
        }
        return timeline::insertMedia(movie, track, 0, 0, end);
    }

    Status addText(timeline::Track& track, const std::string& text, std::int64_t duration) {
        const std::vector<std::byte> sample = chapterSample(text);
        auto offset = data_.append(sample);
        if (!offset) {
            return offset.failure();
        }
        timeline::NewSamples samples;
        samples.offset = *offset;
        samples.sizeInBytes = std::uint32_t(sample.size());
        samples.duration = std::uint32_t(std::clamp<std::int64_t>(duration, 1, 0xFFFFFFFF));
        return track.media->samples.append(samples);
    }

    std::uint16_t language(std::uint16_t carried) const {
        return isIso(kind_) ? packedLanguage(carried) : carried;
    }

    moviefile::FileStorage& storage_;
    moviefile::MediaDataWriter data_;
    FileKind kind_;
    VideoStream videoFacts_;
    SoundStream soundFacts_;
    Passengers passengers_;
    Stream video_;
    Stream sound_;
    std::optional<codec::Packet> held_;
    std::int64_t videoEnd_ = 0;
};

}  // namespace

Expected<std::unique_ptr<MediaSink>> openMovieFileSink(moviefile::FileStorage& storage,
                                                       FileKind kind) {
    return std::unique_ptr<MediaSink>(std::make_unique<MovieFileSink>(storage, kind));
}

}  // namespace TWQuickTime::transcode
