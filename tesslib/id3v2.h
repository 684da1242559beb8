// Texts read out of an ID3v2 block, and a block made that holds one.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace Tesslib {

// The text of the first frame of that 4-letter identifier, as UTF-8 without zeros at its end; empty if the block has
// none or is not ID3v2.3 or 2.4. Frames that end behind the block are not looked at. Unsynchronisation is ignored.
// Of a comment, "COMM", it is what stands behind its description.
std::string ReadID3v2Text(std::span<const uint8_t> block, std::string_view frame_id);

// Title, artist, album, number, year, genre and comment, each as "TIT2=text" by its frame; what is not there is left
// out.
std::vector<std::string> ReadID3v2Comments(std::span<const uint8_t> block);

// An ID3v2.3 block with one frame: `text`, which must be ASCII, under `frame_id`.
std::vector<uint8_t> MakeID3v2Text(std::string_view frame_id, std::string_view text);

}  // namespace Tesslib
