// Reads equalisation curves from the XML preset files of other programs.
#pragma once

#include <string_view>
#include <vector>

#include "collection/corrections.h"

namespace Orvane {

// The curves of an equaliser preset file, in file order:
//   <equalizationeffect><curve name="..."><point f="HERTZ" d="DECIBELS"/>...</curve>...</equalizationeffect>
// Points are put into ascending frequency; those without two finite numbers or with a frequency that is not above 0
// are left out, and so are curves without points. When nothing is left the result is empty and the reason is the
// thread's last error. Any thread.
[[nodiscard]] std::vector<FFTCurve> ReadCurveFile(std::string_view path);

// The same from the file's text; `path` only names it in the error.
[[nodiscard]] std::vector<FFTCurve> ParseCurveFile(std::string_view text, std::string_view path);

}  // namespace Orvane
