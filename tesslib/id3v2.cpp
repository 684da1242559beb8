#include "tesslib/id3v2.h"

#include <algorithm>
#include <cstddef>

#include "foundation/text.h"
#include "tesslib/bytes.h"

using namespace Foundation;

namespace Tesslib {
namespace {

constexpr size_t kHeaderSize = 10;  // of the block and of each frame

uint32_t LoadSyncsafe(const uint8_t* bytes) {
    return (bytes[0] & 0x7Fu) << 21 | (bytes[1] & 0x7Fu) << 14 | (bytes[2] & 0x7Fu) << 7 | (bytes[3] & 0x7Fu);
}

std::string FromUtf16(std::span<const uint8_t> bytes, bool big_endian) {
    if (bytes.size() >= 2) {
        uint16_t mark = LoadBE<uint16_t>(bytes.data());
        if (mark == 0xFEFF || mark == 0xFFFE) {
            big_endian = mark == 0xFEFF;
            bytes = bytes.subspan(2);
        }
    }
    std::string text;
    uint32_t high = 0;
    for (; bytes.size() >= 2; bytes = bytes.subspan(2)) {
        uint32_t unit = big_endian ? LoadBE<uint16_t>(bytes.data()) : LoadLE<uint16_t>(bytes.data());
        bool is_low = (unit & 0xFC00) == 0xDC00;
        if (high && is_low) {
            AppendUtf8(text, 0x10000 + ((high & 0x3FF) << 10 | (unit & 0x3FF)));
            high = 0;
            continue;
        }
        if (high) AppendUtf8(text, 0xFFFD);
        high = (unit & 0xFC00) == 0xD800 ? unit : 0;
        if (!high) AppendUtf8(text, is_low ? 0xFFFD : unit);
    }
    if (high) AppendUtf8(text, 0xFFFD);
    return text;
}

// A text begins with the number of its encoding; without one it is taken as UTF-8.
std::string DecodeText(std::span<const uint8_t> payload) {
    uint8_t encoding = payload.empty() || payload[0] > 3 ? 255 : payload[0];
    if (encoding != 255) payload = payload.subspan(1);
    std::string text;
    switch (encoding) {
        case 0:
            for (uint8_t c : payload) AppendUtf8(text, c);
            break;
        case 1:
        case 2:
            text = FromUtf16(payload, encoding == 2);
            break;
        default:
            text = ValidUtf8({reinterpret_cast<const char*>(payload.data()), payload.size()});
    }
    text.erase(text.find_last_not_of('\0') + 1);
    return text;
}

// A language of three letters and a description that ends with a zero stand between the encoding and the text.
std::string DecodeComment(std::span<const uint8_t> payload) {
    if (payload.size() < 4) return {};
    std::vector<uint8_t> texts(payload.begin() + 3, payload.end());
    texts[0] = payload[0];
    std::string text = DecodeText(texts);
    text.erase(0, text.find('\0') + 1);
    return text.starts_with("\uFEFF") ? text.substr(3) : text;
}

}  // namespace

std::string ReadID3v2Text(std::span<const uint8_t> block, std::string_view frame_id) {
    if (block.size() < kHeaderSize || block[0] != 'I' || block[1] != 'D' || block[2] != '3') return {};
    int version = block[3];
    if (version != 3 && version != 4) return {};
    bool has_extended_header = (block[5] & 0x40) != 0;
    std::span<const uint8_t> rest = block.subspan(kHeaderSize);
    rest = rest.first(std::min<size_t>(rest.size(), LoadSyncsafe(&block[6])));
    if (has_extended_header) {
        if (rest.size() < 4) return {};
        // The size leaves itself out in 2.3 and counts itself in 2.4.
        uint64_t size = version == 3 ? uint64_t{LoadBE<uint32_t>(rest.data())} + 4 : LoadSyncsafe(rest.data());
        if (size > rest.size()) return {};
        rest = rest.subspan(static_cast<size_t>(size));
    }
    // Padding begins with a zero where an identifier would.
    while (rest.size() > kHeaderSize && rest[0] != 0) {
        uint32_t size = version == 3 ? LoadBE<uint32_t>(&rest[4]) : LoadSyncsafe(&rest[4]);
        std::string_view id(reinterpret_cast<const char*>(rest.data()), 4);
        rest = rest.subspan(kHeaderSize);
        if (size > rest.size()) return {};
        if (id == frame_id) return id == "COMM" ? DecodeComment(rest.first(size)) : DecodeText(rest.first(size));
        rest = rest.subspan(size);
    }
    return {};
}

std::vector<std::string> ReadID3v2Comments(std::span<const uint8_t> block) {
    std::vector<std::string> comments;
    for (const char* id : {"TIT2", "TPE1", "TALB", "TRCK", "TYER", "TDRC", "TCON", "COMM"}) {
        const std::string text = ReadID3v2Text(block, id);
        if (!text.empty()) comments.push_back(id + ("=" + text));
    }
    return comments;
}

std::vector<uint8_t> MakeID3v2Text(std::string_view frame_id, std::string_view text) {
    const auto payload = static_cast<uint32_t>(text.size() + 1);  // the encoding stands in front
    const auto size = static_cast<uint32_t>(kHeaderSize + payload);
    std::vector<uint8_t> block = {'I', 'D', '3', 3, 0, 0};
    for (int shift = 21; shift >= 0; shift -= 7) block.push_back(static_cast<uint8_t>(size >> shift & 0x7F));
    block.insert(block.end(), frame_id.begin(), frame_id.end());
    for (int shift = 24; shift >= 0; shift -= 8) block.push_back(static_cast<uint8_t>(payload >> shift));
    block.insert(block.end(), {0, 0, 0});  // two bytes of flags, and the encoding: Latin 1
    block.insert(block.end(), text.begin(), text.end());
    return block;
}

}  // namespace Tesslib
