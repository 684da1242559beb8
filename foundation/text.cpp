#include "foundation/text.h"

#include <charconv>
#include <limits>

#include "foundation/assert.h"

namespace Foundation {
namespace {

constexpr char32_t kReplacement = 0xFFFD;

bool IsBlank(char c) {
    return static_cast<unsigned char>(c) <= 32;
}

char LowerAscii(char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c;
}

bool IsContinuation(char c) {
    return (static_cast<unsigned char>(c) & 0xC0) == 0x80;
}

// The character at `offset`, whose bytes the return value counts; 0 bytes for a sequence that is not UTF-8.
size_t Decode(std::string_view text, size_t offset, char32_t& character) {
    const auto byte = [&](size_t i) { return static_cast<unsigned char>(text[offset + i]); };
    const unsigned lead = byte(0);
    if (lead < 0x80) {
        character = lead;
        return 1;
    }
    const size_t length = lead >= 0xF0 ? 4 : lead >= 0xE0 ? 3 : 2;
    if (lead < 0xC2 || lead > 0xF4 || offset + length > text.size()) return 0;
    char32_t value = lead & (0x7Fu >> length);
    for (size_t i = 1; i < length; ++i) {
        if (!IsContinuation(text[offset + i])) return 0;
        value = value << 6 | (byte(i) & 0x3F);
    }
    const bool overlong = value < (length == 4 ? 0x10000u : length == 3 ? 0x800u : 0x80u);
    if (overlong || value > 0x10FFFF || (value >= 0xD800 && value <= 0xDFFF)) return 0;
    character = value;
    return length;
}

}  // namespace

std::string_view Trim(std::string_view text) {
    while (!text.empty() && IsBlank(text.front())) text.remove_prefix(1);
    while (!text.empty() && IsBlank(text.back())) text.remove_suffix(1);
    return text;
}

std::vector<std::string_view> Split(std::string_view text, char separator) {
    std::vector<std::string_view> parts;
    for (;;) {
        const size_t at = text.find(separator);
        parts.push_back(text.substr(0, at));
        if (at == text.npos) return parts;
        text.remove_prefix(at + 1);
    }
}

std::string Replace(std::string_view text, std::string_view from, std::string_view to) {
    ORVANE_ASSERT(!from.empty());
    std::string result;
    for (size_t at; (at = text.find(from)) != text.npos; text.remove_prefix(at + from.size())) {
        result.append(text.substr(0, at)).append(to);
    }
    return result.append(text);
}

std::string LowerAscii(std::string_view text) {
    std::string result(text);
    for (char& c : result) c = LowerAscii(c);
    return result;
}

bool EqualNoCaseAscii(std::string_view a, std::string_view b) {
    if (a.size() != b.size()) return false;
    for (size_t i = 0; i < a.size(); ++i) {
        if (LowerAscii(a[i]) != LowerAscii(b[i])) return false;
    }
    return true;
}

int64_t ParseInt(std::string_view text) {
    while (!text.empty() && IsBlank(text.front())) text.remove_prefix(1);
    if (!text.empty() && text.front() == '+') text.remove_prefix(1);
    const bool negative = !text.empty() && text.front() == '-';
    if (negative && (text.size() == 1 || text[1] == '-')) return 0;
    int64_t value = 0;
    if (std::from_chars(text.data(), text.data() + text.size(), value).ec == std::errc::result_out_of_range) {
        return negative ? std::numeric_limits<int64_t>::min() : std::numeric_limits<int64_t>::max();
    }
    return value;
}

double ParseDouble(std::string_view text) {
    while (!text.empty() && IsBlank(text.front())) text.remove_prefix(1);
    if (!text.empty() && text.front() == '+') text.remove_prefix(1);
    // The names of infinity and not-a-number are not decimal numbers.
    const size_t digits = !text.empty() && text.front() == '-' ? 1 : 0;
    if (digits >= text.size() || (text[digits] != '.' && (text[digits] < '0' || text[digits] > '9'))) return 0;
    double value = 0;
    const auto result = std::from_chars(text.data(), text.data() + text.size(), value);
    return result.ec == std::errc() ? value : 0;
}

char32_t NextCharacter(std::string_view text, size_t& offset) {
    char32_t character = kReplacement;
    const size_t length = Decode(text, offset, character);
    offset += length ? length : 1;
    return character;
}

void AppendUtf8(std::string& text, char32_t character) {
    if (character < 0x80) {
        text += static_cast<char>(character);
        return;
    }
    if (character > 0x10FFFF || (character >= 0xD800 && character <= 0xDFFF)) character = kReplacement;
    const int continuations = character >= 0x10000 ? 3 : character >= 0x800 ? 2 : 1;
    const unsigned lead_mark = continuations == 3 ? 0xF0 : continuations == 2 ? 0xE0 : 0xC0;
    text += static_cast<char>(lead_mark | character >> (6 * continuations));
    for (int i = continuations - 1; i >= 0; --i) text += static_cast<char>(0x80 | (character >> (6 * i) & 0x3F));
}

size_t ValidUtf8Prefix(std::string_view bytes) {
    size_t offset = 0;
    while (offset < bytes.size()) {
        // Nearly all text is ASCII: eight bytes at a time.
        uint64_t word;
        while (offset + sizeof word <= bytes.size()) {
            bytes.copy(reinterpret_cast<char*>(&word), sizeof word, offset);
            if (word & 0x8080808080808080u) break;
            offset += sizeof word;
        }
        if (offset == bytes.size()) break;
        char32_t character;
        const size_t length = Decode(bytes, offset, character);
        if (length == 0) return offset;
        offset += length;
    }
    return offset;
}

std::string ValidUtf8(std::string_view bytes) {
    std::string result;
    for (;;) {
        const size_t valid = ValidUtf8Prefix(bytes);
        result.append(bytes.substr(0, valid));
        if (valid == bytes.size()) return result;
        AppendUtf8(result, kReplacement);
        bytes.remove_prefix(valid + 1);
    }
}

std::string FromWindows1252(std::string_view bytes) {
    // Those that differ from Latin-1; five bytes stand for nothing.
    static constexpr char16_t kFrom80[32] = {0x20AC, 0xFFFD, 0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021,
                                             0x02C6, 0x2030, 0x0160, 0x2039, 0x0152, 0xFFFD, 0x017D, 0xFFFD,
                                             0xFFFD, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022, 0x2013, 0x2014,
                                             0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0xFFFD, 0x017E, 0x0178};
    std::string result;
    for (char c : bytes) {
        const auto byte = static_cast<unsigned char>(c);
        AppendUtf8(result, byte >= 0x80 && byte < 0xA0 ? kFrom80[byte - 0x80] : byte);
    }
    return result;
}

int CharacterCount(std::string_view text) {
    int count = 0;
    for (char c : text) count += !IsContinuation(c);
    return count;
}

size_t ByteOffset(std::string_view text, int character) {
    size_t offset = 0;
    for (; offset < text.size(); ++offset) {
        if (!IsContinuation(text[offset]) && character-- == 0) break;
    }
    return offset;
}

}  // namespace Foundation
