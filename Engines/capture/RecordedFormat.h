// What a stream of a device becomes as a track of a movie.
#pragma once

#include <span>

#include "Engines/capture/DeviceSource.h"
#include "Engines/capture/GrowingMovie.h"

namespace TWQuickTime::capture {

/// Units of recorded pictures per second.
constexpr std::uint32_t kVideoTimeScale = 90000;

/// @param avcConfiguration  the payload of 'avcC', for H.264 only
TrackFormat trackFormatOf(const StreamFormat& format,
                          std::span<const std::byte> avcConfiguration = {});

}  // namespace TWQuickTime::capture
