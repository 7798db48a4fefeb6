// One coded sample: shared bytes and its times.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <vector>

namespace TWQuickTime::codec {

struct Packet {
    /// Keeps `bytes` alive; empty when the bytes outlive the packet by other means (a mapped file).
    std::shared_ptr<const void> owner;
    std::span<const std::byte> bytes;
    /// In the units of whoever made the packet.
    std::int64_t decodeTime = 0;
    std::int64_t presentationTime = 0;
    std::int64_t duration = 0;
    /// Decoding can start here.
    bool sync = true;

    static Packet owning(std::vector<std::byte> data) {
        Packet packet;
        auto kept = std::make_shared<const std::vector<std::byte>>(std::move(data));
        packet.bytes = *kept;
        packet.owner = std::move(kept);
        return packet;
    }
};

}  // namespace TWQuickTime::codec
