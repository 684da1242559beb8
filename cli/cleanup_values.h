// Filters and curves as the user types them.
#pragma once

#include <string>
#include <vector>

#include "cli/context.h"

namespace Orvane {

// What a filter setting is made of: "hum=50|60|off, ...".
extern const char* const kFilterKeys;

// "key=value" texts into a setting. noise=START,END goes into `entry`; without one it is refused, and a noise sample
// file is not opened.
int SetFilterValues(CommandContext& context, const std::vector<std::string>& values, FilterSetting& setting,
                    FileHistoryEntry* entry);

// What a setting does, in the words that made it.
std::string FilterText(const FilterSetting& setting);

// A curve into `eq`: by the name of a record equalisation or a preset, or the first of an equaliser's preset file.
int FindCurve(CommandContext& context, const std::string& source, FFTEq& eq);

}  // namespace Orvane
