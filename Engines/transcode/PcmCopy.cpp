#include "Engines/transcode/PcmCopy.h"

#include <algorithm>
#include <bit>
#include <cstring>

#include "Engines/codec/PcmLayout.h"
#include "Engines/timeline/TweenEvaluator.h"
#include "Engines/transcode/SoundMixer.h"

namespace TWQuickTime::transcode {

namespace {

constexpr std::int64_t kFramesPerPacket = 32768;

template <class Word>
void turnWords(std::span<std::byte> bytes) {
    for (std::size_t i = 0; i + sizeof(Word) <= bytes.size(); i += sizeof(Word)) {
        Word word;
        std::memcpy(&word, bytes.data() + i, sizeof word);
        if constexpr (sizeof(Word) == 2) {
            word = __builtin_bswap16(word);
        } else if constexpr (sizeof(Word) == 4) {
            word = __builtin_bswap32(word);
        } else {
            word = __builtin_bswap64(word);
        }
        std::memcpy(bytes.data() + i, &word, sizeof word);
    }
}

void turnSamples(std::span<std::byte> bytes, int width) {
    switch (width) {
        case 2:
            return turnWords<std::uint16_t>(bytes);
        case 3:
            for (std::size_t i = 0; i + 3 <= bytes.size(); i += 3) {
                std::swap(bytes[i], bytes[i + 2]);
            }
            return;
        case 4:
            return turnWords<std::uint32_t>(bytes);
        case 8:
            return turnWords<std::uint64_t>(bytes);
        default:
            return;
    }
}

/// Whether a sample of the media is a frame of sound at that rate, shown at its own speed.
bool isPlain(const timeline::Track& track, const codec::SoundDescription& description,
             const codec::SoundEncoderSettings& wanted) {
    const timeline::Media& media = *track.media;
    const auto first = media.samples.sample(0);
    const auto rate = std::uint32_t(wanted.sampleRate);
    return media.descriptions.size() == 1 && media.timeScale == rate &&
           description.sampleRate == double(rate) && description.channels == wanted.channels &&
           codec::soundPacking(description).framesPerPacket == 1 && first && first->duration == 1 &&
           std::ranges::all_of(track.edits.edits(), [](const timeline::Edit& edit) {
               return edit.isEmpty() || edit.rate == timeline::kFixedOne;
           });
}

}  // namespace

std::unique_ptr<PcmCopy> PcmCopy::open(const timeline::Movie& movie,
                                       const timeline::Track* onlyTrack,
                                       const codec::SoundEncoder& encoder, Time start,
                                       std::int64_t frames) {
    const std::vector<const timeline::Track*> tracks = soundTracks(movie, onlyTrack);
    if (encoder.bytesPerPcmFrame() == 0 || tracks.size() != 1) {
        return nullptr;
    }
    const timeline::Track& track = *tracks.front();
    const codec::Bytes record = track.media->descriptions.front().bytes();
    const auto description = codec::readSoundDescription(record);
    const auto swapWidth = codec::pcmByteSwap(record, encoder.sampleDescription(false));
    const auto volume = timeline::TweenEvaluator::ofVolume(movie, track);
    if (!description || !swapWidth || !isPlain(track, *description, encoder.settings()) ||
        codec::soundPacking(*description).bytesPerPacket !=
            std::uint32_t(encoder.bytesPerPcmFrame()) ||
        !volume.isConstant() || volume.volumeAt(0) != 1.0) {
        return nullptr;
    }
    return std::unique_ptr<PcmCopy>(new PcmCopy(movie, track, encoder, start, frames, *swapWidth));
}

PcmCopy::PcmCopy(const timeline::Movie& movie, const timeline::Track& track,
                 const codec::SoundEncoder& encoder, Time start, std::int64_t frames, int swapWidth)
    : media_(*track.media),
      edits_(movie, track, encoder.settings().sampleRate),
      frameSize_(std::size_t(encoder.bytesPerPcmFrame())),
      swapWidth_(swapWidth),
      origin_(start.nearestIn(encoder.settings().sampleRate)),
      frames_(frames) {}

std::optional<codec::Packet> PcmCopy::next() {
    const std::int64_t count = std::min(kFramesPerPacket, frames_ - done_);
    if (count <= 0) {
        return std::nullopt;
    }
    std::vector<std::byte> bytes(std::size_t(count) * frameSize_);
    for (std::int64_t at = 0; at < count;) {
        const SoundPiece piece = edits_.at(origin_ + done_ + at);
        const std::int64_t until = std::min(count, piece.end - origin_ - done_);
        if (!piece.silent) {
            copy(piece.edit.mediaTime + origin_ + done_ + at - piece.begin,
                 std::span(bytes).subspan(std::size_t(at) * frameSize_,
                                          std::size_t(until - at) * frameSize_));
        }
        at = until;
    }
    turnSamples(bytes, swapWidth_);
    codec::Packet packet = codec::Packet::owning(std::move(bytes));
    packet.presentationTime = packet.decodeTime = done_;
    packet.duration = count;
    done_ += count;
    return packet;
}

void PcmCopy::copy(std::int64_t mediaFrame, std::span<std::byte> to) const {
    if (mediaFrame < 0) {
        const std::size_t silent =
            std::min(to.size(), std::size_t(std::min<std::int64_t>(-mediaFrame, kFramesPerPacket)) *
                                    frameSize_);
        to = to.subspan(silent);
        mediaFrame = 0;
    }
    while (!to.empty() && mediaFrame < media_.samples.sampleCount()) {
        const auto frame = static_cast<std::uint32_t>(mediaFrame);
        const auto sample = media_.samples.sample(frame);
        const auto chunk = sample ? media_.samples.chunk(sample->chunkIndex)
                                  : result::Expected<timeline::ChunkRun>(sample.failure());
        if (!chunk || frame < chunk->firstSample ||
            frame - chunk->firstSample >= chunk->sampleCount) {
            return;
        }
        const std::uint32_t within = frame - chunk->firstSample;
        const std::size_t length =
            std::min(to.size(), std::size_t(chunk->sampleCount - within) * frameSize_);
        timeline::SampleStore* store = media_.storeOfDescription(chunk->descriptionIndex);
        const std::uint64_t offset = chunk->offset + std::uint64_t(within) * frameSize_;
        if (!store || !store->read(offset, to.first(length))) {
            std::ranges::fill(to.first(length), std::byte{0});
        }
        to = to.subspan(length);
        mediaFrame += std::int64_t(length / frameSize_);
    }
}

}  // namespace TWQuickTime::transcode
