// Bytes of a text file as well-formed UTF-8.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace TWQuickTime {

/// UTF-8 of a file whose encoding only its first bytes tell. Plain UTF-8 is not copied: the view
/// then shows the input, without its byte-order mark.
class DecodedText {
  public:
    explicit DecodedText(std::string_view borrowed) : view_(borrowed) {}
    explicit DecodedText(std::string owned) : owned_(std::move(owned)), owns_(true) {}
    std::string_view view() const { return owns_ ? std::string_view(owned_) : view_; }

  private:
    std::string owned_;
    std::string_view view_;
    bool owns_ = false;
};

/// By byte-order mark (UTF-8, UTF-16, UTF-32), by the zero bytes of a first ASCII character in
/// UTF-16, else UTF-8. Nothing when the bytes are not well-formed in that encoding.
std::optional<DecodedText> decodeText(std::span<const std::byte> bytes);

/// True when the bytes carry no mark and look like a one-byte encoding or UTF-8.
bool isUnmarkedByteText(std::span<const std::byte> bytes) noexcept;
std::string utf8FromLatin1(std::string_view latin1);

bool isWellFormedUTF8(std::string_view text) noexcept;
/// Well-formed UTF-8 of characters that XML 1.0 allows: no controls but tab, line feed and return.
bool isXMLText(std::string_view text) noexcept;
bool isXMLCharacter(char32_t character) noexcept;

/// Units in host order; nothing when a surrogate stands alone.
std::optional<std::string> utf8FromUTF16(std::u16string_view units);

inline std::string_view textOf(std::span<const std::byte> bytes) noexcept {
    return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

}  // namespace TWQuickTime
