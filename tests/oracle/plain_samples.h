// Sample conversion one value at a time, as it would be explained on paper.
#pragma once

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <vector>

namespace OrvaneTest {

inline int64_t PlainInteger(float value, int bits) {
    const int64_t most = (int64_t{1} << (bits - 1)) - 1;
    if (std::isnan(value) || value <= -1.0f) return -most;
    if (value >= 1.0f) return most;
    return std::llrint(static_cast<double>(value) * static_cast<double>(most));
}

inline void PlainEncode(float value, int bits, bool big_endian, bool int32, uint8_t* out) {
    uint32_t word;
    if (bits == 32 && !int32) {
        float clipped = std::isnan(value) ? -1.0f : std::clamp(value, -1.0f, 1.0f);
        std::memcpy(&word, &clipped, 4);
    } else {
        word = static_cast<uint32_t>(PlainInteger(value, bits));
    }
    const int bytes = bits / 8;
    for (int i = 0; i < bytes; ++i) out[big_endian ? bytes - 1 - i : i] = static_cast<uint8_t>(word >> (8 * i));
}

inline float PlainDecode(const uint8_t* in, int bits, bool big_endian, bool int32) {
    const int bytes = bits / 8;
    uint32_t word = 0;
    for (int i = 0; i < bytes; ++i) word |= static_cast<uint32_t>(in[big_endian ? bytes - 1 - i : i]) << (8 * i);
    if (bits == 32 && !int32) {
        float value;
        std::memcpy(&value, &word, 4);
        return value;
    }
    const int64_t sign = int64_t{1} << (bits - 1);
    const int64_t integer = (static_cast<int64_t>(word) ^ sign) - sign;
    return static_cast<float>(static_cast<double>(integer) * (1.0 / static_cast<double>(sign - 1)));
}

}  // namespace OrvaneTest
