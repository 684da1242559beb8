#include "cli/texts.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cmath>

#include "foundation/text.h"

using namespace Foundation;

namespace Orvane {

double Seconds(int64_t ticks) {
    return std::round(static_cast<double>(ticks) / kTicksPerSecond * 1e6) / 1e6;
}

std::string SizeText(int64_t bytes) {
    constexpr std::array<const char*, 4> kUnits = {"kB", "MB", "GB", "TB"};
    if (bytes < 1000) return fmt::format("{} B", bytes);
    double size = static_cast<double>(bytes) / 1000;
    size_t unit = 0;
    while (size >= 999.95 && unit + 1 < kUnits.size()) {
        size /= 1000;
        ++unit;
    }
    return fmt::format("{:.1f} {}", size, kUnits[unit]);
}

std::string RateText(int32_t samplerate) {
    return fmt::format("{:.6g} kHz", samplerate / 1000.0);
}

std::string Table::Text(int indent) const {
    std::vector<size_t> widths;
    for (const auto& row : rows) {
        widths.resize(std::max(widths.size(), row.size()));
        for (size_t i = 0; i < row.size(); ++i) {
            widths[i] = std::max(widths[i], static_cast<size_t>(CharacterCount(row[i])));
        }
    }
    std::string text;
    for (const auto& row : rows) {
        std::string line(static_cast<size_t>(indent), ' ');
        for (size_t i = 0; i < row.size(); ++i) {
            std::string padding(widths[i] - static_cast<size_t>(CharacterCount(row[i])), ' ');
            bool right = i < align.size() && align[i] == Align::Right;
            line += right ? padding + row[i] : row[i] + padding;
            if (i + 1 < row.size()) line += "  ";
        }
        while (!line.empty() && line.back() == ' ') line.pop_back();
        text += line + "\n";
    }
    return text;
}

}  // namespace Orvane
