// The types of the outermost atoms that writing a movie file deals with.
#pragma once

#include <cstdint>

namespace TWQuickTime::moviefile {

constexpr std::uint32_t typeFileType = 0x66747970;        // 'ftyp'
constexpr std::uint32_t typeMovie = 0x6d6f6f76;           // 'moov'
constexpr std::uint32_t typeMediaData = 0x6d646174;       // 'mdat'
constexpr std::uint32_t typeFree = 0x66726565;            // 'free'
constexpr std::uint32_t typeSkip = 0x736b6970;            // 'skip'
constexpr std::uint32_t typeWide = 0x77696465;            // 'wide'
constexpr std::uint32_t typeMovieFragment = 0x6d6f6f66;   // 'moof'
constexpr std::uint32_t typeSegmentIndex = 0x73696478;    // 'sidx'
constexpr std::uint32_t typeFragmentAccess = 0x6d667261;  // 'mfra'

}  // namespace TWQuickTime::moviefile
