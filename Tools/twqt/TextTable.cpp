#include "TextTable.h"

#include <algorithm>
#include <cstdint>
#include <iostream>

#include "CommandFailure.h"

namespace twqt {
namespace {

bool isWide(std::uint32_t character) {
    return (character >= 0x1100 && character <= 0x115f) ||
           (character >= 0x2e80 && character <= 0xa4cf) ||
           (character >= 0xac00 && character <= 0xd7a3) ||
           (character >= 0xf900 && character <= 0xfaff) ||
           (character >= 0xfe30 && character <= 0xfe6f) ||
           (character >= 0xff00 && character <= 0xff60) ||
           (character >= 0x1f300 && character <= 0x1faff) ||
           (character >= 0x20000 && character <= 0x3fffd);
}

bool isCombining(std::uint32_t character) {
    return character >= 0x0300 && character <= 0x036f;
}

void appendCell(std::string& line, const std::string& cell, std::size_t width,
                TextTable::Align align) {
    const std::string padding(width - displayWidth(cell), ' ');
    line += align == TextTable::Align::right ? padding + cell : cell + padding;
}

void endLine(std::string& text, std::string line) {
    line.erase(line.find_last_not_of(' ') + 1);
    text += line + "\n";
}

}  // namespace

std::size_t displayWidth(std::string_view utf8) {
    std::size_t width = 0;
    for (std::size_t i = 0; i < utf8.size();) {
        const auto lead = static_cast<unsigned char>(utf8[i]);
        const std::size_t length = lead < 0xc0 ? 1 : lead < 0xe0 ? 2 : lead < 0xf0 ? 3 : 4;
        std::uint32_t character = length == 1 ? lead : lead & (0x7fu >> length);
        for (std::size_t k = 1; k < length && i + k < utf8.size(); ++k)
            character = (character << 6) | (static_cast<unsigned char>(utf8[i + k]) & 0x3f);
        if (!isCombining(character))
            width += isWide(character) ? 2 : 1;
        i += length;
    }
    return width;
}

TextTable::TextTable(std::vector<Column> columns) : columns_(std::move(columns)) {}

void TextTable::addRow(std::vector<std::string> cells) {
    cells.resize(columns_.size());
    for (std::string& cell : cells)
        cell = oneLine(cell);
    rows_.push_back(std::move(cells));
}

std::string TextTable::text() const {
    std::vector<std::size_t> widths;
    for (std::size_t i = 0; i < columns_.size(); ++i) {
        std::size_t width = displayWidth(columns_[i].title);
        for (const std::vector<std::string>& row : rows_)
            width = std::max(width, displayWidth(row[i]));
        widths.push_back(width);
    }
    std::string result;
    std::string titles;
    std::string underline;
    for (std::size_t i = 0; i < columns_.size(); ++i) {
        appendCell(titles, columns_[i].title, widths[i], columns_[i].align);
        titles += "  ";
        underline += std::string(widths[i], '-') + "  ";
    }
    endLine(result, titles);
    endLine(result, underline);
    for (const std::vector<std::string>& row : rows_) {
        std::string line;
        for (std::size_t i = 0; i < columns_.size(); ++i) {
            appendCell(line, row[i], widths[i], columns_[i].align);
            line += "  ";
        }
        endLine(result, line);
    }
    return result;
}

void TextTable::print() const {
    std::cout << text();
}

}  // namespace twqt
