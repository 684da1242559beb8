// Small helpers on text.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace Tesslib {

std::string_view Trim(std::string_view text);                     // blanks and control characters at both ends
std::vector<std::string_view> Split(std::string_view text, char separator);
std::string Replace(std::string_view text, std::string_view from, std::string_view to);
std::string LowerAscii(std::string_view text);
bool EqualNoCaseAscii(std::string_view a, std::string_view b);

// Leading blanks, an optional plus and an optional minus, then digits up to the first other character. Empty or
// non-numeric text reads 0; what does not fit is held to the nearest limit.
int64_t ParseInt(std::string_view text);

// The decimal number at the front of `text` with a point, whatever the locale; 0 without one.
double ParseDouble(std::string_view text);

// Every byte sequence that is not UTF-8 replaced by U+FFFD; valid text is returned as it stands.
std::string ValidUtf8(std::string_view bytes);

// The number of characters (code points), and the byte offset of the nth.
int CharacterCount(std::string_view text);
size_t ByteOffset(std::string_view text, int character);

}  // namespace Tesslib
