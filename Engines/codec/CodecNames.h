// The names of codec types, and which of them this machine can decode or encode.
//
// A movie names a codec by a four-character code; several codes may mean the same codec. The tables
// hold every code that movies are known to use, whether or not FFmpeg knows it. FFmpeg's own codecs
// come with every FFmpeg; for those that stand on other libraries the installed one is asked, which
// loads it and a hundred others: a program that only names codecs must not wait for that.
//
//     if (const CodecName* codec = findVideoCodecName(fourCode("avc1")))
//         list(codec->name, decoderExists(*codec), encoderExists(*codec));
#pragma once

#include <cstdint>
#include <span>
#include <string_view>

namespace TWQuickTime::codec {

enum class CodecKind { video, sound };

struct CodecName {
    std::uint32_t code = 0;                  ///< the code that writers use
    std::span<const std::uint32_t> aliases;  ///< further codes of the same codec
    std::string_view name;                   ///< for people, UTF-8
    CodecKind kind = CodecKind::video;
    /// FFmpeg's names, the preferred one first, separated by blanks; empty when it has none.
    std::string_view decoders;
    std::string_view encoders;
};

/// All rows, in a settled order.
std::span<const CodecName> videoCodecNames();
std::span<const CodecName> soundCodecNames();

/// The row of a code or of one of its aliases; null when it is in no table.
const CodecName* findVideoCodecName(std::uint32_t code);
const CodecName* findSoundCodecName(std::uint32_t code);

/// Whether one of the named decoders or encoders is there. Any thread.
bool decoderExists(const CodecName& codec);
bool encoderExists(const CodecName& codec);

}  // namespace TWQuickTime::codec
