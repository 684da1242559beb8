// Waveform files the plain way: every sample made a number by itself, every block looked at by itself.
#pragma once

#include <algorithm>
#include <cmath>
#include <string>
#include <vector>

#include "waveform/waveformwriter.h"

namespace OrvaneOracle {

// The bytes of a .wft; what is not a number does not come up.
inline std::vector<uint8_t> Overview(const std::vector<float>& pairs, size_t block) {
    std::vector<uint8_t> bytes;
    for (size_t start = 0; start < pairs.size(); start += 2 * block) {
        int peak = 0;
        for (size_t i = start; i < std::min(pairs.size(), start + 2 * block); ++i) {
            const double scaled = std::clamp(std::trunc(static_cast<double>(pairs[i]) * 32767.0), -32767.0, 32767.0);
            peak = std::max(peak, std::abs(static_cast<int>(scaled)));
        }
        bytes.push_back(static_cast<uint8_t>(peak * 254 / 32767));
    }
    return bytes;
}

// The record of the frames from `first` to `end`, of which those outside of the recording are silence.
inline Orvane::WaveformRecord Record(const std::vector<float>& pairs, int64_t first, int64_t end) {
    int16_t low[2] = {32767, 32767}, high[2] = {-32767, -32767};
    for (int64_t at = 2 * first; at < 2 * end; ++at) {
        const bool inside = at >= 0 && at < static_cast<int64_t>(pairs.size());
        const float sample = inside ? pairs[static_cast<size_t>(at)] : 0.0f;
        int value = sample > 0 ? 32767 : -32767;
        if (std::abs(sample) < 1) value = static_cast<int>(std::nearbyint(static_cast<double>(sample) * 32767.0));
        int16_t& lowest = low[at & 1];
        lowest = static_cast<int16_t>(std::min<int>(lowest, value));
        int16_t& highest = high[at & 1];
        highest = static_cast<int16_t>(std::max<int>(highest, value));
    }
    return {low[0], high[0], low[1], high[1]};
}

// The bytes of a file of records.
inline std::string Records(const std::vector<float>& pairs, int64_t block) {
    std::string bytes;
    const auto total = static_cast<int64_t>(pairs.size() / 2);
    for (int64_t first = 0; first < total; first += block) {
        const Orvane::WaveformRecord r = Record(pairs, first, std::min(total, first + block));
        for (const int value : {r.min_left, r.max_left, r.min_right, r.max_right}) {
            bytes += {static_cast<char>(value & 0xff), static_cast<char>(value >> 8)};
        }
    }
    return bytes;
}

}  // namespace OrvaneOracle
