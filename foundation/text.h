// Small helpers on text.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace Foundation {

std::string_view Trim(std::string_view text);  // blanks and control characters at both ends
std::vector<std::string_view> Split(std::string_view text, char separator);
std::string Replace(std::string_view text, std::string_view from, std::string_view to);
std::string LowerAscii(std::string_view text);
bool EqualNoCaseAscii(std::string_view a, std::string_view b);

// Leading blanks, an optional plus and an optional minus, then digits up to the first other character. Empty or
// non-numeric text reads 0; what does not fit is held to the nearest limit.
int64_t ParseInt(std::string_view text);

// The decimal number at the front of `text` with a point, whatever the locale; 0 without one.
double ParseDouble(std::string_view text);

// The character (code point) at `offset`, which moves behind it; U+FFFD and one byte where the bytes are not UTF-8.
char32_t NextCharacter(std::string_view text, size_t& offset);
// Surrogates and numbers above U+10FFFF are appended as U+FFFD.
void AppendUtf8(std::string& text, char32_t character);

// The number of bytes at the front of `bytes` that are whole UTF-8 characters.
size_t ValidUtf8Prefix(std::string_view bytes);
// Every byte that is not part of UTF-8 replaced by U+FFFD; valid text is returned as it stands.
std::string ValidUtf8(std::string_view bytes);

// The characters of bytes in code page 1252, of which Latin-1 is a part.
std::string FromWindows1252(std::string_view bytes);

// The number of characters (code points), and the byte offset of the nth.
int CharacterCount(std::string_view text);
size_t ByteOffset(std::string_view text, int character);

}  // namespace Foundation
