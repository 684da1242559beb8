#include "tesslib/samples.h"

#include <algorithm>
#include <bit>
#include <cstring>

#include "foundation/assert.h"
#include "foundation/multiversion.h"

namespace Tesslib {
namespace {

static_assert(std::endian::native == std::endian::little, "the block layouts below count on it");

// Everything is converted in blocks of 16 values, which the compiler splits to what the processor has. Each value is
// worked on by itself, so the split changes no bit of the result.
constexpr int kBlock = 16;
typedef float Floats __attribute__((vector_size(4 * kBlock)));
typedef int32_t Ints __attribute__((vector_size(4 * kBlock)));
typedef uint32_t Words __attribute__((vector_size(4 * kBlock)));
typedef uint8_t Bytes __attribute__((vector_size(16)));
typedef float FourFloats __attribute__((vector_size(16)));
typedef int32_t FourInts __attribute__((vector_size(16)));
typedef int16_t Shorts __attribute__((vector_size(2 * kBlock)));
typedef uint16_t HalfWords __attribute__((vector_size(2 * kBlock)));
typedef double Doubles __attribute__((vector_size(8 * kBlock)));
typedef int64_t Longs __attribute__((vector_size(8 * kBlock)));

template <class Vector>
ORVANE_INLINE void Load(Vector& vector, const void* from) {
    std::memcpy(&vector, from, sizeof(vector));
}

// Held to -1.0 to 1.0; the order of the comparisons sends NaN to -1.0.
ORVANE_INLINE void LoadClipped(Floats& x, const float* in) {
    Load(x, in);
    for (int i = 0; i < kBlock; ++i) x[i] = x[i] > -1.0f ? x[i] : -1.0f;
    for (int i = 0; i < kBlock; ++i) x[i] = x[i] < 1.0f ? x[i] : 1.0f;
}

// Adding this to a double leaves the nearest integer, halves to even, in its low bits.
constexpr double kRounder = 6755399441055744.0;  // 1.5 * 2^52

// Double precision holds a float times a scale of up to 24 bits exactly, so that only one rounding takes place.
ORVANE_INLINE void ScaleAndRound(const float* in, double scale, Words& rounded) {
    Floats x;
    LoadClipped(x, in);
    Doubles scaled = __builtin_convertvector(x, Doubles) * scale + kRounder;
    Longs longs;
    std::memcpy(&longs, &scaled, sizeof(longs));
    rounded = __builtin_convertvector(longs, Words);
}

// The same for scales of up to 23 bits without double precision, where the processor multiplies and adds with a single
// rounding: from 2^23 to 2^24, of either sign, the floats are the integers.
ORVANE_INLINE void ScaleAndRoundFused(const float* in, float scale, Words& rounded) {
    Floats x, integers;
    LoadClipped(x, in);
    Words bits;
    Load(bits, &x);
    bits = (bits & 0x80000000u) | std::bit_cast<uint32_t>(0x1p23f);
    Load(integers, &bits);
    for (int i = 0; i < kBlock; ++i) x[i] = __builtin_fmaf(x[i], scale, integers[i]);
    const Ints ints = __builtin_convertvector(x - integers, Ints);
    Load(rounded, &ints);
}

template <bool kFused>
ORVANE_INLINE void ScaleAndRoundTo(int bits, const float* in, Words& rounded) {
    const int scale = (1 << (bits - 1)) - 1;
    if constexpr (kFused) {
        ScaleAndRoundFused(in, static_cast<float>(scale), rounded);
    } else {
        ScaleAndRound(in, scale, rounded);
    }
}

ORVANE_INLINE void SwapBytes(HalfWords& v) {
    v = (v << 8) | (v >> 8);
}
ORVANE_INLINE void SwapBytes(Words& v) {
    v = (v << 24) | ((v & 0xFF00) << 8) | ((v >> 8) & 0xFF00) | (v >> 24);
}

template <bool kFused>
struct Encode16 {
    static constexpr int kBytes = 2;
    static ORVANE_INLINE void Block(const float* in, uint8_t* out, bool swap) {
        Words words;
        ScaleAndRoundTo<kFused>(16, in, words);
        HalfWords v = __builtin_convertvector(words, HalfWords);
        if (swap) SwapBytes(v);
        std::memcpy(out, &v, sizeof(v));
    }
};

// Three bytes of each four of `from` to the front of `to`.
ORVANE_INLINE void PackFour(const Bytes& from, bool swap, Bytes& to) {
    if (swap) {
        to = __builtin_shufflevector(from, from, 2, 1, 0, 6, 5, 4, 10, 9, 8, 14, 13, 12, 3, 3, 3, 3);
    } else {
        to = __builtin_shufflevector(from, from, 0, 1, 2, 4, 5, 6, 8, 9, 10, 12, 13, 14, 3, 3, 3, 3);
    }
}

// Each store but a block's last is four bytes too long; the next one covers them.
template <bool kFused>
struct Encode24 {
    static constexpr int kBytes = 3;
    static ORVANE_INLINE void Block(const float* in, uint8_t* out, bool swap) {
        Words words;
        ScaleAndRoundTo<kFused>(24, in, words);
        Bytes four[4];
        std::memcpy(four, &words, sizeof(words));
        Bytes packed;
        PackFour(four[0], swap, packed);
        std::memcpy(out, &packed, 16);
        PackFour(four[1], swap, packed);
        std::memcpy(out + 12, &packed, 16);
        PackFour(four[2], swap, packed);
        std::memcpy(out + 24, &packed, 16);
        PackFour(four[3], swap, packed);
        std::memcpy(out + 36, &packed, 12);
    }
};

struct EncodeInt32 {
    static constexpr int kBytes = 4;
    static ORVANE_INLINE void Block(const float* in, uint8_t* out, bool swap) {
        Words v;
        ScaleAndRound(in, 2147483647.0, v);
        if (swap) SwapBytes(v);
        std::memcpy(out, &v, sizeof(v));
    }
};

struct EncodeFloat32 {
    static constexpr int kBytes = 4;
    static ORVANE_INLINE void Block(const float* in, uint8_t* out, bool swap) {
        Floats x;
        LoadClipped(x, in);
        Words v;
        Load(v, &x);
        if (swap) SwapBytes(v);
        std::memcpy(out, &v, sizeof(v));
    }
};

// Integers of kBits in words of the processor's own, for the encoders that take them so.
template <int kBits, bool kFused>
struct EncodeWords {
    static constexpr int kBytes = 4;
    static ORVANE_INLINE void Block(const float* in, uint8_t* out, bool) {
        Words v;
        ScaleAndRoundTo<kFused>(kBits, in, v);
        std::memcpy(out, &v, sizeof(v));
    }
};

// v / (2^n - 1) as v * 2^-n, which is exact, and the rest of the series 2^-n + 2^-2n + 2^-3n. That gives the float
// nearest to the quotient for every integer of n + 1 bits, without a division or double precision.
struct Decode16 {
    static constexpr int kBytes = 2;
    static ORVANE_INLINE void Block(const uint8_t* in, float* out, bool swap) {
        HalfWords v;
        Load(v, in);
        if (swap) SwapBytes(v);
        Shorts s;
        Load(s, &v);
        Floats x = __builtin_convertvector(s, Floats);
        x = x * 0x1p-15f + x * 0x1.0002p-30f;
        std::memcpy(out, &x, sizeof(x));
    }
};

// Four values from the 12 bytes at kOffset of `bytes`.
template <int kOffset>
ORVANE_INLINE void UnpackFour(const Bytes& bytes, bool swap, float* out) {
    Bytes b;
    // Each value to the high three bytes of four.
    if (swap) {
        b = __builtin_shufflevector(bytes, bytes, 0, kOffset + 2, kOffset + 1, kOffset, 0, kOffset + 5, kOffset + 4,
                                    kOffset + 3, 0, kOffset + 8, kOffset + 7, kOffset + 6, 0, kOffset + 11,
                                    kOffset + 10, kOffset + 9);
    } else {
        b = __builtin_shufflevector(bytes, bytes, 0, kOffset, kOffset + 1, kOffset + 2, 0, kOffset + 3, kOffset + 4,
                                    kOffset + 5, 0, kOffset + 6, kOffset + 7, kOffset + 8, 0, kOffset + 9, kOffset + 10,
                                    kOffset + 11);
    }
    FourInts v;
    Load(v, &b);
    FourFloats x = __builtin_convertvector(v >> 8, FourFloats);
    x = x * 0x1p-23f + x * 0x1.000002p-46f;
    std::memcpy(out, &x, sizeof(x));
}

struct Decode24 {
    static constexpr int kBytes = 3;
    static ORVANE_INLINE void Block(const uint8_t* in, float* out, bool swap) {
        // All is read before anything is written; the last 12 bytes from before them, to stay inside the block.
        Bytes first, second, third, last;
        Load(first, in);
        Load(second, in + 12);
        Load(third, in + 24);
        Load(last, in + 32);
        UnpackFour<0>(first, swap, out);
        UnpackFour<0>(second, swap, out + 4);
        UnpackFour<0>(third, swap, out + 8);
        UnpackFour<4>(last, swap, out + 12);
    }
};

struct DecodeInt32 {
    static constexpr int kBytes = 4;
    static ORVANE_INLINE void Block(const uint8_t* in, float* out, bool swap) {
        Words v;
        Load(v, in);
        if (swap) SwapBytes(v);
        Ints s;
        Load(s, &v);
        Floats x = __builtin_convertvector(__builtin_convertvector(s, Doubles) * (1.0 / 2147483647.0), Floats);
        std::memcpy(out, &x, sizeof(x));
    }
};

struct SwapFloat32 {
    static constexpr int kBytes = 4;
    static ORVANE_INLINE void Block(const uint8_t* in, float* out, bool) {
        Words v;
        Load(v, in);
        SwapBytes(v);
        std::memcpy(out, &v, sizeof(v));
    }
};

template <class Format>
ORVANE_INLINE void EncodeAll(const float* in, int32_t n_values, uint8_t* out, bool swap) {
    int32_t i = 0;
    for (; i + kBlock <= n_values; i += kBlock) Format::Block(in + i, out + ptrdiff_t{i} * Format::kBytes, swap);
    if (i == n_values) return;
    float last_in[kBlock] = {};
    uint8_t last_out[kBlock * Format::kBytes];
    std::memcpy(last_in, in + i, static_cast<size_t>(n_values - i) * sizeof(float));
    Format::Block(last_in, last_out, swap);
    std::memcpy(out + ptrdiff_t{i} * Format::kBytes, last_out, static_cast<size_t>(n_values - i) * Format::kBytes);
}

// From the last block to the first, so that no input is overwritten before its turn when `out` is the same buffer.
template <class Format>
ORVANE_INLINE void DecodeAll(const uint8_t* in, int32_t n_values, float* out, bool swap) {
    int32_t i = n_values - n_values % kBlock;
    if (i < n_values) {
        uint8_t last_in[kBlock * Format::kBytes] = {};
        float last_out[kBlock];
        std::memcpy(last_in, in + ptrdiff_t{i} * Format::kBytes, static_cast<size_t>(n_values - i) * Format::kBytes);
        Format::Block(last_in, last_out, swap);
        std::memcpy(out + i, last_out, static_cast<size_t>(n_values - i) * sizeof(float));
    }
    while ((i -= kBlock) >= 0) Format::Block(in + ptrdiff_t{i} * Format::kBytes, out + i, swap);
}

// A constant `swap` makes two tight loops of each.
#define ORVANE_CONVERTER(versions, name, From, To, all, ...)            \
    versions void name(const From* in, int32_t n, To* out, bool swap) { \
        if (swap) {                                                     \
            all<__VA_ARGS__>(in, n, out, true);                         \
        } else {                                                        \
            all<__VA_ARGS__>(in, n, out, false);                        \
        }                                                               \
    }
#define ORVANE_ENCODER(name, ...) ORVANE_CONVERTER(ORVANE_MULTIVERSION, name, float, uint8_t, EncodeAll, __VA_ARGS__)
#define ORVANE_FUSED_ENCODER(name, ...) \
    ORVANE_CONVERTER(ORVANE_MULTIVERSION_FUSED, name, float, uint8_t, EncodeAll, __VA_ARGS__)
#define ORVANE_DECODER(name, ...) ORVANE_CONVERTER(ORVANE_MULTIVERSION, name, uint8_t, float, DecodeAll, __VA_ARGS__)
ORVANE_ENCODER(EncodeTo16, Encode16<false>)
ORVANE_ENCODER(EncodeTo24, Encode24<false>)
ORVANE_ENCODER(EncodeToInt32, EncodeInt32)
ORVANE_ENCODER(EncodeToFloat32, EncodeFloat32)
ORVANE_ENCODER(EncodeToWords16, EncodeWords<16, false>)
ORVANE_ENCODER(EncodeToWords20, EncodeWords<20, false>)
ORVANE_ENCODER(EncodeToWords24, EncodeWords<24, false>)
ORVANE_FUSED_ENCODER(FusedTo16, Encode16<true>)
ORVANE_FUSED_ENCODER(FusedTo24, Encode24<true>)
ORVANE_FUSED_ENCODER(FusedToWords16, EncodeWords<16, true>)
ORVANE_FUSED_ENCODER(FusedToWords20, EncodeWords<20, true>)
ORVANE_FUSED_ENCODER(FusedToWords24, EncodeWords<24, true>)
ORVANE_DECODER(DecodeFrom16, Decode16)
ORVANE_DECODER(DecodeFrom24, Decode24)
ORVANE_DECODER(DecodeFromInt32, DecodeInt32)
ORVANE_DECODER(DecodeFromFloat32, SwapFloat32)
#undef ORVANE_DECODER
#undef ORVANE_FUSED_ENCODER
#undef ORVANE_ENCODER
#undef ORVANE_CONVERTER

}  // namespace

SampleEncoder::SampleEncoder(int bit_depth, bool, bool big_endian, bool int32)
    : bit_depth(bit_depth), big_endian(big_endian), int32(int32) {
    ORVANE_ASSERT(is_convertible_bit_depth(bit_depth));
}

int32_t SampleEncoder::Encode(const float* in, int32_t n_values, uint8_t* out) const {
    switch (bit_depth) {
        case 16:
            (HasFusedMultiplyAdd() ? FusedTo16 : EncodeTo16)(in, n_values, out, big_endian);
            break;
        case 24:
            (HasFusedMultiplyAdd() ? FusedTo24 : EncodeTo24)(in, n_values, out, big_endian);
            break;
        default:
            (int32 ? EncodeToInt32 : EncodeToFloat32)(in, n_values, out, big_endian);
    }
    return n_values * (bit_depth / 8);
}

SampleDecoder::SampleDecoder(int bit_depth, bool byte_swap, bool int32)
    : bit_depth(bit_depth), byte_swap(byte_swap), int32(int32) {
    ORVANE_ASSERT(is_convertible_bit_depth(bit_depth));
}

void SampleDecoder::Decode(const uint8_t* in, int32_t n_values, float* out) const {
    switch (bit_depth) {
        case 16:
            DecodeFrom16(in, n_values, out, byte_swap);
            break;
        case 24:
            DecodeFrom24(in, n_values, out, byte_swap);
            break;
        default:
            if (int32) {
                DecodeFromInt32(in, n_values, out, byte_swap);
            } else if (byte_swap) {
                DecodeFromFloat32(in, n_values, out, true);
            } else if (n_values > 0) {
                std::memmove(out, in, static_cast<size_t>(n_values) * sizeof(float));
            }
    }
}

void FloatsToInts(const float* in, int32_t n_values, int bit_depth, int32_t* out) {
    ORVANE_ASSERT(bit_depth == 16 || bit_depth == 20 || bit_depth == 24);
    auto* bytes = reinterpret_cast<uint8_t*>(out);
    const bool fused = HasFusedMultiplyAdd();
    const auto encode = bit_depth == 16   ? (fused ? FusedToWords16 : EncodeToWords16)
                        : bit_depth == 20 ? (fused ? FusedToWords20 : EncodeToWords20)
                                          : (fused ? FusedToWords24 : EncodeToWords24);
    encode(in, n_values, bytes, false);
}

void ExpandMono(float* buffer, int32_t n_samples) {
    for (int32_t i = n_samples - 1; i >= 0; --i) buffer[2 * i] = buffer[2 * i + 1] = buffer[i];
}

void MixToMono(const float* in, int32_t n_samples, float* out) {
    for (int32_t i = 0; i < n_samples; ++i) out[2 * i] = out[2 * i + 1] = (in[2 * i] + in[2 * i + 1]) * 0.5f;
}

void MixToMono(const int16_t* in, int32_t n_samples, int16_t* out) {
    for (int32_t i = 0; i < n_samples; ++i) {
        int mean = (in[2 * i] + in[2 * i + 1]) / 2;
        out[2 * i] = out[2 * i + 1] = static_cast<int16_t>(std::max(mean, -32767));
    }
}

}  // namespace Tesslib
