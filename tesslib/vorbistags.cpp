#include "tesslib/vorbistags.h"

#include <algorithm>
#include <cstddef>

#include "foundation/text.h"
#include "tesslib/filestream.h"

using namespace Foundation;

namespace Tesslib {

namespace {

constexpr std::string_view kPictureName = "METADATA_BLOCK_PICTURE";

void AppendBigEndian(std::vector<uint8_t>& block, uint32_t value) {
    for (int shift = 24; shift >= 0; shift -= 8) block.push_back(static_cast<uint8_t>(value >> shift));
}

template <class Bytes>
void AppendCounted(std::vector<uint8_t>& block, const Bytes& bytes) {
    AppendBigEndian(block, static_cast<uint32_t>(bytes.size()));
    block.insert(block.end(), bytes.begin(), bytes.end());
}

void AppendBase64(std::string& text, const std::vector<uint8_t>& bytes) {
    static constexpr char kDigits[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    text.reserve(text.size() + (bytes.size() + 2) / 3 * 4);
    for (size_t i = 0; i < bytes.size(); i += 3) {
        size_t left = std::min<size_t>(3, bytes.size() - i);
        uint32_t group = 0;
        for (size_t k = 0; k < 3; ++k) group = group << 8 | (k < left ? bytes[i + k] : 0u);
        for (size_t k = 0; k < 4; ++k) text += k <= left ? kDigits[group >> (18 - 6 * k) & 63] : '=';
    }
}

}  // namespace

bool IsLegalComment(std::string_view comment) {
    size_t name_length = comment.find('=');
    if (name_length == std::string_view::npos || name_length == 0) return false;
    return std::all_of(comment.begin(), comment.begin() + static_cast<std::ptrdiff_t>(name_length),
                       [](char c) { return c >= 0x20 && c <= 0x7D; });
}

void AddShownComment(std::vector<std::string>& comments, std::string_view comment) {
    const std::string_view name = comment.substr(0, comment.find('='));
    const bool hidden = EqualNoCaseAscii(name, kPrivateTag) || EqualNoCaseAscii(name, kPictureName);
    if (!hidden) comments.push_back(ValidUtf8(comment));
}

std::string_view PrivateTagValue(std::string_view comment) {
    size_t name_length = comment.find('=');
    if (name_length == std::string_view::npos || !EqualNoCaseAscii(comment.substr(0, name_length), kPrivateTag))
        return {};
    return comment.substr(name_length + 1);
}

std::string PictureComment(const PICTURE& picture) {
    std::vector<uint8_t> block;
    block.reserve(picture.data.size() + picture.mime_type.size() + picture.description.size() + 32);
    AppendBigEndian(block, picture.type);
    AppendCounted(block, picture.mime_type);
    AppendCounted(block, picture.description);
    AppendBigEndian(block, picture.width);
    AppendBigEndian(block, picture.height);
    AppendBigEndian(block, picture.colour_depth);
    AppendBigEndian(block, picture.n_colours);
    AppendCounted(block, picture.data);
    std::string comment = std::string(kPictureName) + "=";
    AppendBase64(comment, block);
    return comment;
}

}  // namespace Tesslib
