// Reading one text out of an ID3v2 block.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>

namespace Tesslib {

// The identifier of the program's private frame, chunk and comment, whose text says how a file was made.
inline constexpr std::string_view kPrivateTag = "ORVT";

// The text of the first frame of that 4-letter identifier, as UTF-8 without zeros at its end; empty if the block has
// none or is not ID3v2.3 or 2.4. Frames that end behind the block are not looked at. Unsynchronisation is ignored.
std::string ReadID3v2Text(std::span<const uint8_t> block, std::string_view frame_id);

}  // namespace Tesslib
