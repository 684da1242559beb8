// The tags of FLAC and Ogg Vorbis files: comments of the form NAME=value, and pictures.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace Tesslib {

// One embedded image.
struct PICTURE {
    uint32_t type = 3;  // 3 is the front cover
    std::string mime_type;
    std::string description;
    uint32_t width = 0;  // pixels; the four numbers may stay 0 when they are not known
    uint32_t height = 0;
    uint32_t colour_depth = 0;
    uint32_t n_colours = 0;
    std::vector<uint8_t> data;
};

// What goes in front of the audio, in this order. A comment or a picture that the format cannot hold (a name with
// characters that names may not have, a picture beyond 16 MB) is left out when the file is written.
struct VorbisTags {
    std::vector<std::string> comments;  // "NAME=value" in UTF-8
    std::vector<PICTURE> pictures;

    void Add(std::string_view name, std::string_view value) {
        comments.push_back(std::string(name) + "=" + std::string(value));
    }
};

// True for a name of one or more printable ASCII characters, "=" excluded, that is followed by "=".
bool IsLegalComment(std::string_view comment);

// Adds `comment` to what a user is shown: as UTF-8, unless it is the private tag or a picture.
void AddShownComment(std::vector<std::string>& comments, std::string_view comment);

// The value of `comment` if it is the private tag (names have no case), else empty.
std::string_view PrivateTagValue(std::string_view comment);

// The comment that carries a picture in an Ogg file: METADATA_BLOCK_PICTURE, the block in base64.
std::string PictureComment(const PICTURE& picture);

}  // namespace Tesslib
