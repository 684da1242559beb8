#include "app/texts.h"

#include <fmt/format.h>

#include <algorithm>
#include <vector>

#include "collection/tracktime.h"
#include "foundation/text.h"

using namespace Foundation;

namespace Orvane {

std::string CountText(int64_t n, std::string_view singular) {
    return fmt::format("{} {}{}", n, singular, n == 1 ? "" : "s");
}

bool ParseTypedTime(std::string_view text, int64_t& ticks) {
    constexpr size_t kMostDigits = 9;  // of one number
    const size_t point = std::min(text.find('.'), text.size());
    const std::string_view fraction = text.substr(std::min(point + 1, text.size()));
    const auto all_digits = [](std::string_view digits) {
        return std::all_of(digits.begin(), digits.end(), [](char c) { return c >= '0' && c <= '9'; });
    };
    const std::vector<std::string_view> parts = Split(text.substr(0, point), ':');
    if (parts.empty() || parts.size() > 3 || !all_digits(fraction) || point + 1 == text.size()) return false;
    for (size_t i = 0; i < parts.size(); ++i) {
        if (parts[i].empty() || parts[i].size() > kMostDigits || !all_digits(parts[i])) return false;
        if (i > 0 && ParseInt(parts[i]) >= 60) return false;
    }
    ticks = ParseTime(text);
    return true;
}

}  // namespace Orvane
