// Times (see also collection/tracktime.h), sizes and tables as the command line prints them.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "app/texts.h"
#include "collection/tracktime.h"
#include "foundation/muldiv.h"

namespace Orvane {

// Said of a file whose stream EndsEarly.
inline constexpr const char* kEndsEarly = "the file ends early: it has less audio than it promises";

double Seconds(int64_t ticks);             // rounded to a millionth
std::string SizeText(int64_t bytes);       // "3.1 MB"
std::string RateText(int32_t samplerate);  // "44.1 kHz"

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
