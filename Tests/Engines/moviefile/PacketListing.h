// What ffprobe says about the packets of a movie file.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace TWQuickTime::moviefile::test {

struct Packet {
    std::size_t stream = 0;
    std::optional<std::int64_t> displayTime;  ///< stream time units
    std::optional<std::int64_t> decodeTime;   ///< stream time units
    std::optional<std::int64_t> duration;     ///< stream time units
    std::uint64_t sizeInBytes = 0;
    std::uint64_t offset = 0;
    bool key = false;
};

/// All packets in file order, edit lists left aside. Throws what ffprobe complains about.
std::vector<Packet> listPackets(const std::string& path);

/// How many streams ffprobe finds.
std::size_t countStreams(const std::string& path);

}  // namespace TWQuickTime::moviefile::test
