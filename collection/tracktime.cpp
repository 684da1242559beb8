#include "collection/tracktime.h"

#include <algorithm>
#include <charconv>

#include "foundation/muldiv.h"

using namespace Foundation;

namespace Orvane {

namespace {

constexpr int64_t kDecimals = 100000;
constexpr int64_t kLongest = int64_t{100} * 366 * 24 * 3600;  // seconds

void AppendPadded(std::string& text, int64_t value, size_t width) {
    char digits[24];
    const char* end = std::to_chars(digits, digits + sizeof digits, value).ptr;
    const auto n = static_cast<size_t>(end - digits);
    if (n < width) text.append(width - n, '0');
    text.append(digits, n);
}

// Takes the digits at the front of `text`; the value is held to `kLongest`.
int64_t TakeNumber(std::string_view& text) {
    int64_t value = 0;
    while (!text.empty() && text.front() >= '0' && text.front() <= '9') {
        value = std::min(kLongest, value * 10 + (text.front() - '0'));
        text.remove_prefix(1);
    }
    return value;
}

int64_t FractionTicks(std::string_view digits) {
    int64_t value = 0;
    int64_t scale = 1;
    for (char c : digits.substr(0, 9)) {
        if (c < '0' || c > '9') break;
        value = value * 10 + (c - '0');
        scale *= 10;
    }
    return MulDiv64(value, kTicksPerSecond, scale);
}

}  // namespace

void AppendTime(std::string& text, int64_t ticks) {
    uint64_t magnitude = static_cast<uint64_t>(ticks);
    if (ticks < 0) {
        text += '-';
        magnitude = 0 - magnitude;
    }
    const auto seconds = static_cast<int64_t>(magnitude / kTicksPerSecond);
    const auto remainder = static_cast<int64_t>(magnitude % kTicksPerSecond);
    const int64_t hours = seconds / 3600;
    if (hours) {
        AppendPadded(text, hours, 1);
        text += ':';
    }
    AppendPadded(text, seconds / 60 % 60, hours ? 2 : 1);
    text += ':';
    AppendPadded(text, seconds % 60, 2);
    text += '.';
    AppendPadded(text, MulDiv64(remainder, kDecimals, kTicksPerSecond), 5);
}

std::string FormatTime(int64_t ticks) {
    std::string text;
    AppendTime(text, ticks);
    return text;
}

std::string ClockText(int64_t ticks) {
    std::string text = FormatTime((ticks + kTicksPerSecond / 2) / kTicksPerSecond * kTicksPerSecond);
    text.erase(text.find('.'));
    return text;
}

int64_t ParseTime(std::string_view text) {
    while (!text.empty() && text.front() == ' ') text.remove_prefix(1);
    const bool negative = !text.empty() && text.front() == '-';
    if (negative) text.remove_prefix(1);

    int64_t seconds = TakeNumber(text);
    while (!text.empty() && text.front() == ':') {
        text.remove_prefix(1);
        seconds = std::min(kLongest, seconds * 60) + TakeNumber(text);
    }
    int64_t ticks = std::min(kLongest, seconds) * kTicksPerSecond;
    if (!text.empty() && text.front() == '.') ticks += FractionTicks(text.substr(1));
    return negative ? -ticks : ticks;
}

}  // namespace Orvane
