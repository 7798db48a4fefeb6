// Movies in memory whose pictures are plain colours and whose sound is a plain level.
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "Engines/codec/ByteOrder.h"
#include "Engines/timeline/Movie.h"

namespace TWQuickTime::transcode::test {

/// A colour as 0xAARRGGBB.
using Color = std::uint32_t;

/// An uncompressed sample description ('raw ', A R G B).
inline std::vector<std::byte> rawDescription(int width, int height) {
    codec::ByteWriter writer;
    writer.u32(86).u32(codec::fourCode("raw ")).zeros(6).u16(1).u16(0).u16(0).u32(0).u32(0);
    writer.u32(1024).u16(std::uint32_t(width)).u16(std::uint32_t(height));
    writer.u32(0x480000).u32(0x480000).u32(0).u16(1).zeros(32).u16(32).u16(0xFFFF);
    return writer.take();
}

/// Adds a video track that shows each colour for `duration` units of 600 a second. Its media has
/// the samples; the caller makes the edits.
inline timeline::Track& addColors(timeline::Movie& movie, int width, int height,
                                  const std::vector<Color>& colors, std::uint32_t duration,
                                  bool withEdit = true) {
    timeline::Track& track = movie.addTrack({width << 16, height << 16}, 0);
    track.media = timeline::makeMedia(codec::fourCode("vide"), 600);
    auto store = std::make_shared<timeline::MemorySampleStore>();
    timeline::DataReference reference;
    reference.store = store;
    track.media->dataReferences.push_back(reference);
    track.media->addDescription(
        timeline::SampleDescription(timeline::SharedBytes::adopt(rawDescription(width, height))));
    for (const Color color : colors) {
        codec::ByteWriter pixels;
        for (int i = 0; i < width * height; ++i) {
            pixels.u32(color);
        }
        timeline::NewSamples sample;
        sample.offset = *store->append(pixels.data());
        sample.sizeInBytes = std::uint32_t(width * height * 4);
        sample.duration = duration;
        static_cast<void>(track.media->samples.append(sample).ok());
    }
    if (withEdit) {
        static_cast<void>(
            timeline::insertMedia(movie, track, 0, 0, track.media->samples.duration()).ok());
    }
    return track;
}

/// Adds a sound track of 16-bit big-endian samples with the given values, one channel.
inline timeline::Track& addLevels(timeline::Movie& movie, const std::vector<std::int16_t>& levels,
                                  std::uint32_t rate, bool withEdit = true) {
    timeline::Track& track = movie.addTrack({}, 0x100);
    track.media = timeline::makeMedia(codec::fourCode("soun"), rate);
    auto store = std::make_shared<timeline::MemorySampleStore>();
    timeline::DataReference reference;
    reference.store = store;
    track.media->dataReferences.push_back(reference);
    codec::ByteWriter record;
    record.u32(36).u32(codec::fourCode("twos")).zeros(6).u16(1).u16(0).u16(0).u32(0).u16(1);
    record.u16(16).u16(0).u16(0).u32(rate << 16);
    track.media->addDescription(
        timeline::SampleDescription(timeline::SharedBytes::adopt(record.take())));
    codec::ByteWriter bytes;
    for (const std::int16_t level : levels) {
        bytes.u16(static_cast<std::uint16_t>(level));
    }
    timeline::NewSamples samples;
    samples.offset = *store->append(bytes.data());
    samples.sizeInBytes = 2;
    samples.count = std::uint32_t(levels.size());
    samples.duration = 1;
    static_cast<void>(track.media->samples.append(samples).ok());
    if (withEdit) {
        static_cast<void>(
            timeline::insertMedia(movie, track, 0, 0, std::int64_t(levels.size())).ok());
    }
    return track;
}

}  // namespace TWQuickTime::transcode::test
