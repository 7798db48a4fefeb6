// Figures and separators of timecodes as small bitmaps, for pictures that carry them.
#pragma once

#include <CGContext.h>

#include <string>

namespace twqt {

/// Figures are 5 x 7 dots.
inline constexpr int kDigitDotsHigh = 7;

/// Dots that a text is wide.
int widthInDots(const std::string& text);

/// Draws figures, ":", ";", "-" and "." with the context's fill colour; other characters are blank.
/// @param left, bottom  of the text, in pixels from the lower left corner
/// @param dot  pixels of a dot's side
void drawDigits(TWQuickTime::CGContextRef context, const std::string& text, double left,
                double bottom, double dot);

}  // namespace twqt
