// Files of other formats, written by the codec library's muxers.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "Engines/codec/Packet.h"
#include "Engines/codec/PixelFormat.h"
#include "Engines/result/Result.h"

namespace TWQuickTime::codec {

struct NativeParameters;

struct ForeignChapter {
    std::int64_t start = 0, end = 0;
    std::int32_t timeScale = 600;  ///< units per second
    std::string title;             ///< UTF-8
};

/// Frames of sound that are in packets and not to be heard, where a format can say so.
struct SoundTrim {
    std::int64_t atStart = 0;  ///< from the packet's start on, also into those behind it
    std::int64_t atEnd = 0;    ///< up to the packet's end
};

class ForeignWriter {
  public:
    /// @param format  the library's name of the format: "avi", "matroska", "wav" …
    /// @param path    overwritten
    static result::Expected<std::unique_ptr<ForeignWriter>> create(const std::string& format,
                                                                   const std::string& path);
    ~ForeignWriter();

    /// @return the stream's number
    /// @param frameRate  of video; {0, 1}: unknown
    /// @param language   three letters; empty: unknown
    result::Expected<int> addStream(const NativeParameters& parameters, Rational frameRate,
                                    const std::string& language);
    /// Before begin(); formats without chapters leave it out.
    result::Status addChapter(const ForeignChapter& chapter);
    /// After all streams were added.
    result::Status begin(const std::vector<std::pair<std::string, std::string>>& metadata);
    /// Times in the units of the parameters' time base; decode times grow within a stream.
    result::Status write(int stream, const Packet& packet, const SoundTrim& trim = {});
    /// A codec header that the encoder only knew at its end.
    result::Status replaceHeader(int stream, const NativeParameters& parameters);
    result::Status finish();

  private:
    struct State;
    explicit ForeignWriter(std::unique_ptr<State> state);
    std::unique_ptr<State> state_;
};

}  // namespace TWQuickTime::codec
