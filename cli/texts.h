// Times (see also collection/tracktime.h), sizes and tables as the command line reads and prints them.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "collection/tracktime.h"
#include "foundation/muldiv.h"

namespace Orvane {

// The ticks of a time the user typed: [h:]m:ss.fffff or plain seconds. Unlike a collection's times it must be nothing
// else: minutes and seconds behind a colon are below 60. False where it is not.
bool ParseTimeArgument(std::string_view text, int64_t& ticks);

// Said of a file whose stream EndsEarly.
inline constexpr const char* kEndsEarly = "the file ends early: it has less audio than it promises";

double Seconds(int64_t ticks);                                // rounded to a millionth
std::string SizeText(int64_t bytes);                          // "3.1 MB"
std::string RateText(int32_t samplerate);                     // "44.1 kHz"
std::string CountText(int64_t n, std::string_view singular);  // "1 track", "2 tracks"

// Rows with their columns made equally wide, for reading.
class Table {
public:
    enum class Align { Left, Right };
    // The alignment of each column; those that are not named are aligned left.
    explicit Table(std::vector<Align> align = {}) : align(std::move(align)) {}

    void Add(std::vector<std::string> row) { rows.push_back(std::move(row)); }
    bool Empty() const { return rows.empty(); }
    // Every row on a line with `indent` blanks before it.
    std::string Text(int indent = 0) const;

private:
    std::vector<Align> align;
    std::vector<std::vector<std::string>> rows;
};

}  // namespace Orvane
