// The letters of our pictures: one size, every character as wide as the other.
#pragma once

#include <array>
#include <cstdint>

namespace Orvane {

inline constexpr int kGlyphWidth = 8;
inline constexpr int kGlyphHeight = 13;

// One byte a row from the top, the highest bit on the left.
using Glyph = std::array<uint8_t, kGlyphHeight>;

// Latin, Greek and Cyrillic letters and common signs; a mark of its own for all others.
Glyph GlyphOf(char32_t character);

}  // namespace Orvane
