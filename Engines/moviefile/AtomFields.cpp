#include "Engines/moviefile/AtomFields.h"

#include <algorithm>

namespace TWQuickTime::moviefile {
namespace {

std::string textOf(std::span<const std::byte> bytes) {
    return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

}  // namespace

bool FieldReader::need(const char* name, std::uint64_t sizeInBytes) {
    if (failed())
        return false;
    if (sizeInBytes <= bytesLeft())
        return true;
    failedField_ = name;
    missing_ = sizeInBytes - bytesLeft();
    return false;
}

void FieldReader::field24(const char* name, std::uint32_t& value) {
    if (!need(name, 3))
        return;
    value = 0;
    for (int i = 0; i < 3; ++i)
        value = value << 8 | std::to_integer<std::uint32_t>(bytes_.span()[offset_++]);
}

void FieldReader::rows(const char* name, SharedBytes& rows, std::size_t bytesPerRow) {
    std::uint32_t count = 0;
    field(name, count);
    if (failed() || !need(name, std::uint64_t{count} * bytesPerRow))
        return;
    rows = bytes_.part(offset_, std::size_t{count} * bytesPerRow);
    offset_ += rows.size();
}

void FieldReader::pascalString(const char* name, std::string& text) {
    if (!need(name, 0))
        return;
    text.clear();
    const std::span<const std::byte> left = bytes_.span().subspan(offset_);
    if (left.empty())
        return;
    const auto length = std::to_integer<std::size_t>(left[0]);
    if (length < left.size()) {
        text = textOf(left.subspan(1, length));
        offset_ += 1 + length;
        return;
    }
    const auto end = std::find(left.begin(), left.end(), std::byte{0});
    const auto textLength = static_cast<std::size_t>(end - left.begin());
    text = textOf(left.first(textLength));
    offset_ += textLength;
}

void FieldReader::remainder(const char* name, SharedBytes& bytes) {
    if (!need(name, 0))
        return;
    bytes = bytes_.part(offset_);
    offset_ = bytes_.size();
}

void FieldWriter::field24(const char*, const std::uint32_t& value) {
    for (int shift = 16; shift >= 0; shift -= 8)
        out_.push_back(static_cast<std::byte>(value >> shift));
}

void FieldWriter::rows(const char* name, const SharedBytes& rows, std::size_t bytesPerRow) {
    field(name, static_cast<std::uint32_t>(rows.size() / bytesPerRow));
    out_.insert(out_.end(), rows.span().begin(), rows.span().end());
}

void FieldWriter::pascalString(const char*, const std::string& text) {
    const std::size_t length = std::min<std::size_t>(text.size(), 255);
    out_.push_back(static_cast<std::byte>(length));
    const auto* bytes = reinterpret_cast<const std::byte*>(text.data());
    out_.insert(out_.end(), bytes, bytes + length);
}

void FieldWriter::remainder(const char*, const SharedBytes& bytes) {
    out_.insert(out_.end(), bytes.span().begin(), bytes.span().end());
}

void FieldDumper::rows(const char* name, const SharedBytes& rows, std::size_t bytesPerRow) {
    line(name, std::to_string(rows.size() / bytesPerRow));
    for (std::size_t offset = 0; offset + bytesPerRow <= rows.size(); offset += bytesPerRow) {
        std::string row;
        for (std::size_t at = 0; at < bytesPerRow; at += 4) {
            const std::size_t width = std::min<std::size_t>(4, bytesPerRow - at);
            std::uint32_t value = 0;
            for (std::size_t i = 0; i < width; ++i)
                value = value << 8 | std::to_integer<std::uint32_t>(rows.span()[offset + at + i]);
            row += (at == 0 ? "" : " ") + std::to_string(value);
        }
        line("  row", row);
    }
}

}  // namespace TWQuickTime::moviefile
