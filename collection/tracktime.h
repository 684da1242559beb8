// Track times as text: [-][h:]m:ss.fffff.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace Orvane {

// Appends `ticks` (1/44100 s) with five decimals of a second, which is enough to get the same ticks back.
void AppendTime(std::string& text, int64_t ticks);
std::string FormatTime(int64_t ticks);
// [h:]m:ss of a length, rounded.
std::string ClockText(int64_t ticks);

// The ticks of such a text. Hours and minutes may be missing, so that plain seconds are taken too, and the fraction may
// have any number of digits; what is no number counts as 0, and nothing goes beyond 100 years.
int64_t ParseTime(std::string_view text);

}  // namespace Orvane
