// One tween sample: an atom container with entries that each say how a value changes.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace TWQuickTime::timeline {

/// A value of two 16-bit integers that changes evenly from one to the other.
struct ShortTween {
    std::int64_t startOffset = 0;  ///< media units from the sample's start
    std::int64_t duration = 0;     ///< media units
    std::int16_t startValue = 0;
    std::int16_t endValue = 0;
    bool operator==(const ShortTween&) const = default;
};

/// The entries for pairs of 16-bit integers, in stored order; other entries, and what is damaged,
/// are left out.
/// @param sampleDuration  media units; holds for entries that state no duration
std::vector<ShortTween> shortTweensOfSample(std::span<const std::byte> container,
                                            std::int64_t sampleDuration);

/// The reference indexes ('ssrc', from 1) that an input map calls inputs of a kind.
/// @param inputMap  the flat bytes of an atom container
std::vector<std::uint32_t> inputsOfKind(std::span<const std::byte> inputMap, std::uint32_t kind);

/// The kind of an input that changes the volume.
constexpr std::uint32_t kVolumeInput = 3;

}  // namespace TWQuickTime::timeline
