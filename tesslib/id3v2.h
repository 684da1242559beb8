// One text read out of an ID3v2 block, and a block made that holds one.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace Tesslib {

// The text of the first frame of that 4-letter identifier, as UTF-8 without zeros at its end; empty if the block has
// none or is not ID3v2.3 or 2.4. Frames that end behind the block are not looked at. Unsynchronisation is ignored.
std::string ReadID3v2Text(std::span<const uint8_t> block, std::string_view frame_id);

// An ID3v2.3 block with one frame: `text`, which must be ASCII, under `frame_id`.
std::vector<uint8_t> MakeID3v2Text(std::string_view frame_id, std::string_view text);

}  // namespace Tesslib
