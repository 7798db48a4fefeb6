// What kind of media a file holds, by its first bytes.
#pragma once

#include <cstddef>
#include <span>
#include <string_view>

namespace TWQuickTime {

/// The content type of the media formats that are worth telling apart; empty for all others.
/// @param head  the file's first bytes, some thousands for streams of packets
std::string_view contentTypeBySignature(std::span<const std::byte> head);

}  // namespace TWQuickTime
