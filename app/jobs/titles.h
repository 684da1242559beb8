// The listing of an album's tracks as a user types it:
//
//   # a remark; empty lines do not count either
//   0:06 - 3:41.5 Turning Slowly
//   3:44 - 7:02 Needle Down
//
// with times on the album's time line, its sides one behind the other; or titles alone, one a side.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace Orvane {

struct TitleLine {
    std::string title;
    bool timed = false;
    int64_t start = 0;  // ticks
    int64_t end = 0;
    int line = 0;  // in the file, from 1
};

// Reads one line; false with the problem when it is neither form. A line without anything gives an empty title.
bool ParseTitleLine(std::string_view text, TitleLine& title, std::string& problem);

// Reads the file; false with the problem, which names the line, when it cannot be read, holds no title, mixes the two
// forms, or has times that are out of order.
bool ReadTitles(const std::string& path, std::vector<TitleLine>& titles, std::string& problem);

}  // namespace Orvane
