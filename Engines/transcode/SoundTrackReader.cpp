#include "Engines/transcode/SoundTrackReader.h"

#include <algorithm>
#include <cmath>

namespace TWQuickTime::transcode {

using result::Expected;
using result::Failure;
using result::FailureKind;

namespace {

/// Packets decoded, and thrown away, in front of the one that is wanted: lossy codecs overlap
/// their packets, and MP3 keeps bits of a packet in the ones before it.
constexpr std::uint32_t kPrerollPackets = 10;
/// PCM is read in pieces of this size.
constexpr std::uint32_t kFramesPerPiece = 8192;
/// Packets are read together up to the end of their chunk, at most so many bytes at once.
constexpr std::uint64_t kReadAheadBytes = 256 * 1024;
constexpr double kLongestSeconds = 1e7;

}  // namespace

Expected<std::unique_ptr<SoundTrackReader>> SoundTrackReader::open(const timeline::Track& track) {
    if (!track.media || track.media->descriptions.empty()) {
        return Failure{FailureKind::badArgument,
                       "track " + std::to_string(track.id) + " has no sound"};
    }
    std::unique_ptr<SoundTrackReader> reader(new SoundTrackReader(track));
    const codec::Bytes record = track.media->descriptions.front().bytes();
    auto description = codec::readSoundDescription(record);
    if (!description) {
        return description.failure();
    }
    auto decoder = codec::SoundDecoder::open(record);
    if (!decoder) {
        return decoder.failure();
    }
    reader->decoder_ = std::move(*decoder);
    reader->channels_ = reader->decoder_->channels();
    reader->sampleRate_ = reader->decoder_->sampleRate();
    reader->packing_ = codec::soundPacking(*description);
    const auto first = track.media->samples.sample(0);
    reader->packed_ = reader->packing_.framesPerPacket > 0 && first && first->duration <= 1;
    if (!reader->packed_ && first) {
        // The codec's own header has the last word on rate and channels; one packet tells.
        if (auto bytes = track.media->readSample(*first)) {
            codec::SoundBlock block;
            static_cast<void>(
                reader->decoder_->decode(codec::Packet::owning(std::move(*bytes)), block).ok());
            if (block.frameCount() > 0) {
                reader->channels_ = block.channels;
                reader->sampleRate_ = block.sampleRate;
            }
            reader->hasDecoded_ = true;
            reader->renewDecoder();
        }
    }
    if (reader->channels_ < 1 || reader->channels_ > 64 || reader->sampleRate_ < 1) {
        return Failure{FailureKind::damaged,
                       "track " + std::to_string(track.id) + " has sound of no known format"};
    }
    return reader;
}

void SoundTrackReader::seek(std::int64_t frame) {
    position_ = std::max<std::int64_t>(frame, 0);
    const std::int64_t pendingFrames =
        std::int64_t((pending_.size() - pendingStart_) / std::size_t(channels_));
    const std::int64_t pendingFirst = decodedTo_ - pendingFrames;
    // A little ahead of what is decoded is reached by decoding on.
    const bool near = decodedTo_ >= 0 && position_ >= pendingFirst &&
                      position_ <= decodedTo_ + std::int64_t(sampleRate_ / 4);
    if (!near) {
        startDecodingAt(position_);
    }
}

void SoundTrackReader::renewDecoder() {
    // Some decoders keep state over a flush, such as that of the noise they put in. A fresh one
    // gives the same samples of a place each time.
    if (!packed_ && hasDecoded_) {
        if (auto fresh = codec::SoundDecoder::open(media_.descriptions.front().bytes())) {
            decoder_ = std::move(*fresh);
            hasDecoded_ = false;
            return;
        }
    }
    decoder_->flush();
}

void SoundTrackReader::startDecodingAt(std::int64_t frame) {
    pending_.clear();
    pendingStart_ = 0;
    renewDecoder();
    if (packed_) {
        nextSample_ =
            static_cast<std::uint32_t>(std::min<std::int64_t>(frame, samples_.sampleCount()));
        nextSample_ -= nextSample_ % packing_.framesPerPacket;
        decodedTo_ = nextSample_;
        return;
    }
    const double scale = media_.timeScale > 0 ? media_.timeScale : 1;
    const auto mediaTime = static_cast<std::int64_t>(double(frame) * scale / sampleRate_);
    const std::uint32_t sample =
        samples_.sampleAtDecodeTime(mediaTime).value_or(samples_.sampleCount());
    nextSample_ = sample > kPrerollPackets ? sample - kPrerollPackets : 0;
    packets_ = samples_.cursor(nextSample_);
    decodedTo_ = std::llround(double(samples_.decodeTimeOf(nextSample_)) * sampleRate_ / scale);
}

void SoundTrackReader::take(codec::SoundBlock& block, std::size_t expectedFrames) {
    const std::size_t frames = block.channels == channels_ ? block.frameCount() : 0;
    if (frames == 0) {
        // Nothing came out of a damaged or an unusual packet: its time passes in silence.
        pending_.resize(expectedFrames * std::size_t(channels_));
        decodedTo_ += std::int64_t(expectedFrames);
        return;
    }
    // All that was decoded before has been read.
    pending_.swap(block.samples);
    decodedTo_ += std::int64_t(frames);
}

bool SoundTrackReader::decodeRuns() {
    const auto sample = samples_.sample(nextSample_);
    if (!sample) {
        return false;
    }
    const auto chunk = samples_.chunk(sample->chunkIndex);
    if (!chunk || nextSample_ < chunk->firstSample) {
        return false;
    }
    const std::uint32_t within = nextSample_ - chunk->firstSample;
    const std::uint32_t left = chunk->sampleCount > within ? chunk->sampleCount - within : 0;
    const std::uint32_t perPacket = packing_.framesPerPacket;
    std::uint32_t frames = std::min(left, kFramesPerPiece / perPacket * perPacket);
    if (left == 0) {
        return false;
    }
    const std::uint64_t packets = (frames + perPacket - 1) / perPacket;
    std::vector<std::byte> bytes(std::size_t(packets * packing_.bytesPerPacket));
    const std::uint64_t offset =
        chunk->offset + std::uint64_t(within / perPacket) * packing_.bytesPerPacket;
    block_.samples.clear();
    block_.channels = 0;
    timeline::SampleStore* store = media_.storeOfDescription(chunk->descriptionIndex);
    if (store && store->read(offset, bytes)) {
        if (perPacket == 1) {
            static_cast<void>(
                decoder_->decode(codec::Packet::owning(std::move(bytes)), block_).ok());
        } else {
            for (std::uint64_t i = 0; i < packets; ++i) {
                codec::Packet packet;
                packet.bytes = codec::Bytes(bytes).subspan(std::size_t(i * packing_.bytesPerPacket),
                                                           packing_.bytesPerPacket);
                static_cast<void>(decoder_->decode(packet, block_).ok());
            }
        }
    }
    take(block_, frames);
    nextSample_ += frames;
    return true;
}

codec::Bytes SoundTrackReader::bytesOf(const timeline::Sample& sample) {
    const timeline::SampleStore* store = media_.storeOfDescription(sample.descriptionIndex);
    const auto isAhead = [&] {
        return store == aheadStore_ && sample.offset >= aheadOffset_ &&
               sample.sizeInBytes <= ahead_.size() &&
               sample.offset - aheadOffset_ <= ahead_.size() - sample.sizeInBytes;
    };
    if (!isAhead()) {
        readAhead(sample, store);
    }
    return isAhead() ? codec::Bytes(ahead_).subspan(std::size_t(sample.offset - aheadOffset_),
                                                    sample.sizeInBytes)
                     : codec::Bytes();
}

void SoundTrackReader::readAhead(const timeline::Sample& sample,
                                 const timeline::SampleStore* store) {
    ahead_.clear();
    const std::uint64_t available = store ? store->size() : 0;
    if (sample.offset >= available) {
        return;
    }
    std::uint64_t length = sample.sizeInBytes;
    if (const auto chunk = samples_.chunk(sample.chunkIndex);
        chunk && chunk->offset <= sample.offset) {
        const std::uint64_t before = sample.offset - chunk->offset;
        const std::uint64_t rest = chunk->sizeInBytes > before ? chunk->sizeInBytes - before : 0;
        length = std::max(length, std::min(rest, kReadAheadBytes));
    }
    ahead_.resize(std::size_t(std::min(length, available - sample.offset)));
    if (!store->read(sample.offset, ahead_)) {
        ahead_.clear();
    }
    aheadStore_ = store;
    aheadOffset_ = sample.offset;
}

bool SoundTrackReader::decodePackets() {
    timeline::Sample sample;
    if (!packets_.next(sample)) {
        return false;
    }
    hasDecoded_ = true;
    block_.samples.clear();
    block_.channels = 0;
    codec::Packet packet;
    packet.bytes = bytesOf(sample);
    static_cast<void>(decoder_->decode(packet, block_).ok());
    const double scale = media_.timeScale > 0 ? media_.timeScale : 1;
    const double seconds = std::min(sample.duration / scale, kLongestSeconds);
    take(block_, std::min<std::size_t>(std::size_t(seconds * sampleRate_ + 0.5), 1u << 24));
    return true;
}

bool SoundTrackReader::decodeMore() {
    return packed_ ? decodeRuns() : decodePackets();
}

void SoundTrackReader::read(std::size_t frames, std::vector<float>& appendTo) {
    const auto channels = std::size_t(channels_);
    if (decodedTo_ < 0) {
        startDecodingAt(position_);
    }
    while (frames > 0) {
        const std::size_t available = (pending_.size() - pendingStart_) / channels;
        const std::int64_t first = decodedTo_ - std::int64_t(available);
        if (position_ < first) {
            // The media begins later than the edit says.
            const std::size_t silent =
                std::min<std::size_t>(frames, std::size_t(first - position_));
            appendTo.resize(appendTo.size() + silent * channels);
            position_ += std::int64_t(silent);
            frames -= silent;
            continue;
        }
        const std::size_t skipped =
            std::min<std::size_t>(available, std::size_t(position_ - first));
        pendingStart_ += skipped * channels;
        const std::size_t taken = std::min(frames, available - skipped);
        const auto from = pending_.begin() + std::ptrdiff_t(pendingStart_);
        appendTo.insert(appendTo.end(), from, from + std::ptrdiff_t(taken * channels));
        pendingStart_ += taken * channels;
        position_ += std::int64_t(taken);
        frames -= taken;
        if (frames == 0) {
            break;
        }
        pending_.clear();
        pendingStart_ = 0;
        if (!decodeMore()) {
            appendTo.resize(appendTo.size() + frames * channels);
            position_ += std::int64_t(frames);
            decodedTo_ = std::max(decodedTo_, position_);
            break;
        }
    }
}

}  // namespace TWQuickTime::transcode
