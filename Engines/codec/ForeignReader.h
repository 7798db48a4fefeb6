// Files of other formats, read by the codec library's demuxers.
//
//     auto reader = ForeignReader::open("/films/a.mkv");
//     while (auto packet = (*reader)->next(); packet && *packet) keep(**packet);
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "Engines/codec/Packet.h"
#include "Engines/codec/PixelFormat.h"
#include "Engines/result/Result.h"

namespace TWQuickTime::codec {

enum class ForeignMedia { video, sound };

struct ForeignStream {
    ForeignMedia media = ForeignMedia::video;
    /// The library's number, which packets name.
    int number = 0;
    /// A sample description as movies have it, data reference index 1.
    std::vector<std::byte> description;
    std::int32_t timeScale = 600;
    int width = 0;
    int height = 0;
    Rational pixelAspect;
    int channels = 0;
    /// Bytes of a frame of sound when it is uncompressed, else 0.
    int bytesPerPcmFrame = 0;
    /// Frames of sound that the header speaks of; 0: unknown.
    std::int64_t frames = 0;
    bool enabled = true;
    std::string language;  ///< three letters, or ""
};

struct ForeignPacket {
    int stream = 0;
    /// Times in units of the stream's time scale.
    Packet packet;
    /// Where in the file the demuxer found it; −1: unknown. Headers may stand in front.
    std::int64_t position = -1;
    /// Of the decoded frames of sound, how many an encoder put in front and behind; they are not
    /// meant to be heard.
    std::uint32_t framesInFront = 0;
    std::uint32_t framesBehind = 0;
};

class ForeignReader {
  public:
    /// `damaged` or `notFound` when it is no file of a known format, `unsupported` when nothing in
    /// it can be seen or heard.
    static result::Expected<std::unique_ptr<ForeignReader>> open(const std::string& path);
    ~ForeignReader();

    const std::vector<ForeignStream>& streams() const;
    /// The next packet of any stream that is listed; none at the end.
    result::Expected<std::optional<ForeignPacket>> next();
    /// Title, artist and the like, by the library's names.
    std::vector<std::pair<std::string, std::string>> metadata() const;
    /// Whether the file is one run of uncompressed sound behind a header.
    bool isPlainSound() const;

  private:
    struct State;
    explicit ForeignReader(std::unique_ptr<State> state);
    std::unique_ptr<State> state_;
};

}  // namespace TWQuickTime::codec
