#include "DigitFont.h"

#include <array>
#include <string_view>

namespace twqt {
namespace {

struct Glyph {
    char character;
    int width;
    std::array<std::string_view, kDigitDotsHigh> rows;
};

constexpr Glyph kGlyphs[] = {
    {'0', 5, {".###.", "#...#", "#..##", "#.#.#", "##..#", "#...#", ".###."}},
    {'1', 5, {"..#..", ".##..", "..#..", "..#..", "..#..", "..#..", ".###."}},
    {'2', 5, {".###.", "#...#", "....#", "...#.", "..#..", ".#...", "#####"}},
    {'3', 5, {".###.", "#...#", "....#", "..##.", "....#", "#...#", ".###."}},
    {'4', 5, {"...#.", "..##.", ".#.#.", "#..#.", "#####", "...#.", "...#."}},
    {'5', 5, {"#####", "#....", "####.", "....#", "....#", "#...#", ".###."}},
    {'6', 5, {".###.", "#....", "#....", "####.", "#...#", "#...#", ".###."}},
    {'7', 5, {"#####", "....#", "...#.", "..#..", "..#..", ".#...", ".#..."}},
    {'8', 5, {".###.", "#...#", "#...#", ".###.", "#...#", "#...#", ".###."}},
    {'9', 5, {".###.", "#...#", "#...#", ".####", "....#", "....#", ".###."}},
    {':', 2, {"..", "##", "##", "..", "##", "##", ".."}},
    {';', 2, {"..", "##", "##", "..", "##", ".#", "#."}},
    {'-', 4, {"....", "....", "....", "####", "....", "....", "...."}},
    {'.', 2, {"..", "..", "..", "..", "..", "##", "##"}},
};
constexpr Glyph kBlank = {' ', 3, {"...", "...", "...", "...", "...", "...", "..."}};

const Glyph& glyphOf(char character) {
    for (const Glyph& glyph : kGlyphs)
        if (glyph.character == character)
            return glyph;
    return kBlank;
}

}  // namespace

int widthInDots(const std::string& text) {
    int width = 0;
    for (char character : text)
        width += glyphOf(character).width + 1;
    return text.empty() ? 0 : width - 1;
}

void drawDigits(TWQuickTime::CGContextRef context, const std::string& text, double left,
                double bottom, double dot) {
    for (char character : text) {
        const Glyph& glyph = glyphOf(character);
        for (int row = 0; row < kDigitDotsHigh; ++row)
            for (int column = 0; column < glyph.width; ++column)
                if (glyph.rows[static_cast<std::size_t>(row)][static_cast<std::size_t>(column)] ==
                    '#')
                    TWQuickTime::CGContextFillRect(
                        context, TWQuickTime::CGRectMake(left + column * dot,
                                                         bottom + (kDigitDotsHigh - 1 - row) * dot,
                                                         dot, dot));
        left += (glyph.width + 1) * dot;
    }
}

}  // namespace twqt
