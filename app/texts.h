// Numbers in words, and times as users type them; what every text of the program shares.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace Orvane {

std::string CountText(int64_t n, std::string_view singular);  // "1 track", "2 tracks"

// The ticks of a time that the user typed: [h:]m:ss.fffff or plain seconds. Unlike a collection's times it must be
// nothing else: minutes and seconds behind a colon are below 60. False where it is not.
bool ParseTypedTime(std::string_view text, int64_t& ticks);

}  // namespace Orvane
