// Filters and curves as the user types them.
#pragma once

#include <string>
#include <vector>

#include "cli/context.h"

namespace Orvane {

// What a filter setting is made of: "hum=50|60|off, ...".
extern const char* const kFilterKeys;

// A stretch of a recording, frames in the file; empty: none.
struct NoiseStretch {
    int64_t start = 0, end = 0;
};

// "key=value" texts into a setting. noise=START,END, times on the side of `entry`, goes into `noise`; for a setting of
// no recording both are null, a stretch is refused, and a noise sample file is not opened.
int SetFilterValues(CommandContext& context, const std::vector<std::string>& values, FilterSetting& setting,
                    const FileHistoryEntry* entry, NoiseStretch* noise);

// What a setting does, in the words that made it.
std::string FilterText(const FilterSetting& setting);

// A curve into `eq`: by the name of a record equalisation or a preset, or the first of an equaliser's preset file.
int FindCurve(CommandContext& context, const std::string& source, FFTEq& eq);

}  // namespace Orvane
