#include "Engines/transcode/MovieImport.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <map>

#include "Engines/codec/ByteOrder.h"
#include "Engines/codec/ForeignReader.h"
#include "Engines/moviefile/DataReferences.h"
#include "Engines/transcode/ScatteredStore.h"
#include "Engines/transcode/Time.h"

namespace TWQuickTime::transcode {

using codec::ForeignMedia;
using codec::ForeignPacket;
using codec::ForeignReader;
using codec::ForeignStream;
using codec::fourCode;
using result::Expected;
using result::Failure;
using result::FailureKind;
using result::Status;

namespace {

/// How far behind the place that a demuxer names a sample's bytes may begin: headers of packets.
constexpr std::size_t kLongestHeader = 64;

/// One stream on its way into a track.
struct Import {
    const ForeignStream* stream = nullptr;
    std::unique_ptr<timeline::Media> media = nullptr;
    /// Waits for the next packet's time, which ends it.
    bool holds = false;
    timeline::NewSamples held = {};
    std::int64_t heldTime = 0;
    std::int64_t heldDuration = 0;
    std::int64_t firstTime = 0;
    bool started = false;
    /// Coded pictures that are never shown; they follow the held one without a time of their own.
    std::vector<timeline::NewSamples> hidden = {};
    /// When the first sample is shown and the last one ends, from the first sample's decode time.
    std::int64_t firstShown = INT64_MAX;
    std::int64_t lastShown = 0;
    /// Without what an encoder of sound put in front and behind.
    std::int64_t heardFrom = 0;
    std::int64_t heardUntil = INT64_MAX;
};

/// Whether a packet only prepares later ones (the alternate reference pictures of VP8).
bool isHidden(const ForeignStream& stream, codec::Bytes packet) {
    const bool isVp8 = codec::u32At(stream.description, 4) == fourCode("vp08");
    return isVp8 && !packet.empty() && (std::to_integer<int>(packet[0]) & 0x10) == 0;
}

std::uint32_t durationFrom(std::int64_t value) {
    return static_cast<std::uint32_t>(std::clamp<std::int64_t>(value, 0, 0x7FFFFFFF));
}

}  // namespace

class MovieImport::Work {
  public:
    Work(const std::string& path, std::unique_ptr<ForeignReader> reader)
        : path_(path), reader_(std::move(reader)) {}

    Status start() {
        timeline::DataReference reference = moviefile::makeFileReference(path_);
        auto store = moviefile::openDataReference(reference, nullptr);
        if (!store) {
            return store.failure();
        }
        original_ = std::move(*store);
        reference.store = original_;
        scattered_ = std::make_shared<ScatteredStore>(original_);
        for (const ForeignStream& stream : reader_->streams()) {
            Import& import = imports_[stream.number];
            import.stream = &stream;
            import.media = timeline::makeMedia(
                stream.media == ForeignMedia::video ? fourCode("vide") : fourCode("soun"),
                std::uint32_t(stream.timeScale));
            import.media->dataReferences.push_back(reference);
            import.media->addDescription(
                timeline::SampleDescription(timeline::SharedBytes::copyOf(stream.description)));
        }
        return reader_->isPlainSound() ? takePlainSound() : Status();
    }

    Expected<std::unique_ptr<timeline::Movie>> advance(std::size_t mostPackets) {
        if (const Status status = takePackets(mostPackets); !status) {
            return status.failure();
        }
        return reachedEnd_ ? build() : std::unique_ptr<timeline::Movie>();
    }

  private:
    /// Uncompressed sound behind a header: one look at the first packet tells all.
    Status takePlainSound() {
        auto first = reader_->next();
        if (!first) {
            return first.failure();
        }
        Import& import = imports_.begin()->second;
        if (!*first) {
            reachedEnd_ = true;
            return {};
        }
        const auto start = whereIs(**first);
        if (!start) {
            return take(**first);
        }
        reachedEnd_ = true;
        // The header's word on the length holds as far as there are bytes.
        const auto frameSize = std::uint64_t(import.stream->bytesPerPcmFrame);
        std::uint64_t frames = (original_->size() - *start) / frameSize;
        if (const auto told = import.stream->frames; told > 0) {
            frames = std::min(frames, std::uint64_t(told));
        }
        while (frames > 0) {
            timeline::NewSamples samples;
            samples.offset = *start + done_ * frameSize;
            samples.sizeInBytes = std::uint32_t(frameSize);
            samples.count = static_cast<std::uint32_t>(std::min<std::uint64_t>(frames, 0x7FFFFFFF));
            samples.duration = 1;
            if (auto status = import.media->samples.append(samples); !status) {
                return status;
            }
            done_ += samples.count;
            frames -= samples.count;
        }
        return {};
    }

    Status takePackets(std::size_t most) {
        for (; most > 0 && !reachedEnd_; --most) {
            auto packet = reader_->next();
            // What a cut-off file still holds is worth having.
            reachedEnd_ = !packet || !*packet;
            if (reachedEnd_) {
                return releaseAll();
            }
            if (auto status = take(**packet); !status) {
                return status;
            }
        }
        return {};
    }

    Status releaseAll() {
        for (auto& [number, import] : imports_) {
            // The media lasts as long as its last picture is shown.
            const std::int64_t end = std::max(import.heldTime + import.heldDuration,
                                              import.firstTime + import.lastShown);
            if (auto status = release(import, end); !status) {
                return status;
            }
        }
        return {};
    }

    Status take(const ForeignPacket& packet) {
        Import& import = imports_[packet.stream];
        const codec::Packet& coded = packet.packet;
        if (import.stream->bytesPerPcmFrame > 0) {
            return takePcm(import, packet);
        }
        if (import.holds && isHidden(*import.stream, coded.bytes)) {
            auto place = placeOf(import, packet);
            if (!place) {
                return place.failure();
            }
            timeline::NewSamples sample;
            sample.offset = *place;
            sample.sizeInBytes = std::uint32_t(coded.bytes.size());
            sample.sync = false;
            sample.descriptionIndex = descriptionIndex_;
            import.hidden.push_back(sample);
            return {};
        }
        // Times that stand still or go back would make samples without a length.
        const std::int64_t time =
            import.holds ? std::max(coded.decodeTime, import.heldTime + 1) : coded.decodeTime;
        if (!import.started) {
            import.started = true;
            import.firstTime = time;
        }
        if (auto status = release(import, time); !status) {
            return status;
        }
        auto offset = placeOf(import, packet);
        if (!offset) {
            return offset.failure();
        }
        import.held = {};
        import.held.offset = *offset;
        import.held.sizeInBytes = std::uint32_t(coded.bytes.size());
        import.held.compositionOffset = std::int32_t(
            std::clamp<std::int64_t>(coded.presentationTime - time, -0x7FFFFFFF, 0x7FFFFFFF));
        import.held.sync = coded.sync;
        import.held.descriptionIndex = descriptionIndex_;
        import.heldTime = time;
        import.heldDuration = std::max<std::int64_t>(coded.duration, 1);
        import.holds = true;
        const std::int64_t shown = time - import.firstTime + import.held.compositionOffset;
        const std::int64_t end = shown + import.heldDuration;
        import.firstShown = std::min(import.firstShown, shown);
        import.lastShown = std::max(import.lastShown, end);
        if (packet.framesInFront > 0) {
            import.heardFrom = shown + packet.framesInFront;
        }
        if (packet.framesBehind > 0) {
            import.heardUntil = end - packet.framesBehind;
        }
        return {};
    }

    Status takePcm(Import& import, const ForeignPacket& packet) {
        const auto frame = std::size_t(import.stream->bytesPerPcmFrame);
        auto offset = placeOf(import, packet);
        if (!offset) {
            return offset.failure();
        }
        timeline::NewSamples samples;
        samples.offset = *offset;
        samples.sizeInBytes = std::uint32_t(frame);
        samples.count = std::uint32_t(packet.packet.bytes.size() / frame);
        samples.duration = 1;
        samples.descriptionIndex = descriptionIndex_;
        return samples.count > 0 ? import.media->samples.append(samples) : Status();
    }

    /// Appends the sample that waited, now that its end is known.
    Status release(Import& import, std::int64_t end) {
        if (!import.holds) {
            return {};
        }
        import.holds = false;
        import.held.duration = durationFrom(end - import.heldTime);
        if (auto status = import.media->samples.append(import.held); !status) {
            return status;
        }
        for (const timeline::NewSamples& sample : import.hidden) {
            if (auto status = import.media->samples.append(sample); !status) {
                return status;
            }
        }
        import.hidden.clear();
        return {};
    }

    /// Where in the original file a packet's bytes lie in one piece.
    std::optional<std::uint64_t> whereIs(const ForeignPacket& packet) {
        const codec::Bytes bytes = packet.packet.bytes;
        if (packet.position < 0 || bytes.empty()) {
            return std::nullopt;
        }
        const auto position = std::uint64_t(packet.position);
        if (position >= original_->size()) {
            return std::nullopt;
        }
        const std::size_t length = std::size_t(
            std::min<std::uint64_t>(bytes.size() + kLongestHeader, original_->size() - position));
        scratch_.resize(length);
        if (length < bytes.size() || !original_->read(position, scratch_)) {
            return std::nullopt;
        }
        for (std::size_t skip = 0; skip + bytes.size() <= length; ++skip) {
            if (std::memcmp(scratch_.data() + skip, bytes.data(), bytes.size()) == 0) {
                return position + skip;
            }
        }
        return std::nullopt;
    }

    /// Where a packet's bytes can be read from; sets the description that leads there.
    Expected<std::uint64_t> placeOf(Import& import, const ForeignPacket& packet) {
        descriptionIndex_ = 1;
        if (const auto place = whereIs(packet)) {
            return *place;
        }
        if (import.media->dataReferences.size() == 1) {
            timeline::DataReference reference;
            reference.type = fourCode("hndl");
            reference.store = scattered_;
            import.media->dataReferences.push_back(std::move(reference));
            timeline::SampleDescription description(
                timeline::SharedBytes::copyOf(import.stream->description));
            description.setDataReferenceIndex(2);
            import.media->addDescription(description);
        }
        descriptionIndex_ = 2;
        // Packets that share one of the file's own name its place.
        const std::uint64_t from = std::max<std::int64_t>(packet.position, 0);
        return scattered_->add(from, packet.packet.bytes);
    }

    Expected<std::unique_ptr<timeline::Movie>> build() {
        auto movie = std::make_unique<timeline::Movie>();
        movie->timeScale = movieScale(movie->timeScale);
        for (auto& [number, import] : imports_) {
            if (import.media->samples.sampleCount() == 0) {
                continue;
            }
            if (auto status = addTrack(*movie, import); !status) {
                return status.failure();
            }
        }
        if (movie->tracks.empty()) {
            return Failure{FailureKind::damaged, path_ + ": no samples", 0};
        }
        addMetadata(*movie);
        return movie;
    }

    /// Units in which the movie's tracks begin and end where their samples do, as long as times in
    /// them fit the 32 bits that movies have for them.
    std::uint32_t movieScale(std::uint32_t least) const {
        std::uint32_t ofPictures = 0;
        std::uint32_t ofSound = 0;
        double seconds = 0;
        for (const auto& [number, import] : imports_) {
            const auto scale = std::uint32_t(import.stream->timeScale);
            if (import.media->samples.sampleCount() == 0) {
                continue;
            }
            const bool isVideo = import.stream->media == ForeignMedia::video;
            std::uint32_t& finest = isVideo ? ofPictures : ofSound;
            finest = std::max(finest, scale);
            seconds = std::max(seconds, double(import.media->samples.duration()) / scale);
        }
        if (ofPictures > 0) {
            return std::max(least, ofPictures);
        }
        return (seconds + 1) * ofSound < 0x7FFFFFFF ? std::max(least, ofSound) : least;
    }

    Status addTrack(timeline::Movie& movie, Import& import) {
        const ForeignStream& stream = *import.stream;
        const bool isVideo = stream.media == ForeignMedia::video;
        const double aspect = stream.pixelAspect.known() ? stream.pixelAspect.value() : 1.0;
        const timeline::Dimensions size =
            isVideo ? timeline::Dimensions{static_cast<std::int32_t>(stream.width * aspect * 65536),
                                           stream.height << 16}
                    : timeline::Dimensions{};
        timeline::Track& track = movie.addTrack(size, isVideo ? 0 : 0x100);
        track.media = std::move(import.media);
        track.setEnabled(stream.enabled);
        // Decoding may begin before anything is shown; the edit begins where something is.
        const std::int64_t mediaStart =
            import.started ? std::max(import.firstShown, import.heardFrom) : 0;
        const std::int64_t mediaEnd = import.started ? std::min(import.lastShown, import.heardUntil)
                                                     : track.media->samples.duration();
        const std::int64_t start = std::max<std::int64_t>(
            timeline::rescale(import.firstTime + mediaStart, stream.timeScale, movie.timeScale), 0);
        return mediaEnd > mediaStart
                   ? timeline::insertMedia(movie, track, start, mediaStart, mediaEnd - mediaStart)
                   : Status();
    }

    void addMetadata(timeline::Movie& movie) const {
        static constexpr std::pair<const char*, std::uint32_t> kTypes[] = {
            {"title", 0xA96E616D}, {"artist", 0xA9415254},   {"copyright", 0xA9637079},
            {"album", 0xA9616C62}, {"comment", 0xA9636D74},  {"genre", 0xA967656E},
            {"date", 0xA9646179},  {"composer", 0xA9777274},
        };
        for (const auto& [key, text] : reader_->metadata()) {
            for (const auto& [name, type] : kTypes) {
                if (strcasecmp(key.c_str(), name) != 0 || text.size() > 65535) {
                    continue;
                }
                codec::ByteWriter writer;
                writer.u16(std::uint32_t(text.size())).u16(0x55C4);
                writer.raw(std::as_bytes(std::span(text)));
                movie.userData.add(type, timeline::SharedBytes::adopt(writer.take()));
            }
        }
    }

    std::string path_;
    std::unique_ptr<ForeignReader> reader_;
    std::shared_ptr<timeline::SampleStore> original_;
    std::shared_ptr<ScatteredStore> scattered_;
    std::map<int, Import> imports_;
    std::vector<std::byte> scratch_;
    std::uint32_t descriptionIndex_ = 1;
    std::uint64_t done_ = 0;
    bool reachedEnd_ = false;
};

MovieImport::MovieImport(std::unique_ptr<Work> work) : work_(std::move(work)) {}
MovieImport::~MovieImport() = default;

Expected<std::unique_ptr<MovieImport>> MovieImport::open(const std::string& path) {
    auto reader = ForeignReader::open(path);
    if (!reader) {
        return reader.failure();
    }
    auto work = std::make_unique<Work>(path, std::move(*reader));
    if (const Status status = work->start(); !status) {
        return status.failure();
    }
    return std::unique_ptr<MovieImport>(new MovieImport(std::move(work)));
}

Expected<std::unique_ptr<timeline::Movie>> MovieImport::advance(std::size_t mostPackets) {
    return work_->advance(mostPackets);
}

Expected<std::unique_ptr<timeline::Movie>> importMovie(const std::string& path) {
    auto import = MovieImport::open(path);
    if (!import) {
        return import.failure();
    }
    return (*import)->advance(std::numeric_limits<std::size_t>::max());
}

}  // namespace TWQuickTime::transcode
