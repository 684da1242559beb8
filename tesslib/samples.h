// Conversions between the floats of the chain and the bytes of files.
#pragma once

#include <cstddef>
#include <cstdint>

namespace Tesslib {

constexpr bool is_convertible_bit_depth(int bit_depth) {
    return bit_depth == 16 || bit_depth == 24 || bit_depth == 32;
}

// Floats to bytes. Integers are scaled symmetrically (32767, 8388607, 2147483647): a magnitude of 1.0 or more gives the
// extreme, everything else is rounded to nearest, and the most negative code is never produced. 32-bit floats are held
// to -1.0 to 1.0. NaN gives the negative extreme.
class SampleEncoder {
public:
    // `int32`: 32-bit samples are integers, otherwise floats. `unused` keeps the argument's place.
    SampleEncoder(int bit_depth, bool unused, bool big_endian, bool int32);

    // Converts `n_values` single floats (channels times positions); the result is the number of bytes written.
    // `out` has room for n_values * bit_depth / 8 and does not overlap `in`.
    int32_t Encode(const float* in, int32_t n_values, uint8_t* out) const;

    const int bit_depth;
    const bool big_endian;
    const bool int32;
};

// Bytes to floats by the inverse scales. The most negative integer code comes out a little below -1.0, as intended.
class SampleDecoder {
public:
    SampleDecoder(int bit_depth, bool byte_swap, bool int32);

    // `in` and `out` may be the same buffer (they begin at the same address, or do not overlap at all).
    void Decode(const uint8_t* in, int32_t n_values, float* out) const;

    const int bit_depth;
    const bool byte_swap;
    const bool int32;
};

// The rule of SampleEncoder for 16, 20 or 24 bits, each value in an integer of its own.
void FloatsToInts(const float* in, int32_t n_values, int bit_depth, int32_t* out);

// Expands `n_samples` single values to equal pairs, in place.
void ExpandMono(float* buffer, int32_t n_samples);

// Both channels of each pair become their mean. `out` may be `in`.
void MixToMono(const float* in, int32_t n_samples, float* out);
void MixToMono(const int16_t* in, int32_t n_samples, int16_t* out);  // truncated, held to -32767 or above

}  // namespace Tesslib
