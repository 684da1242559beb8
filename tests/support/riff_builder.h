// Audio files built byte by byte, for what no writer of ours would make.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace OrvaneTest {

template <class T>
std::string LE(T value) {
    std::string bytes;
    for (size_t i = 0; i < sizeof(T); ++i) bytes += static_cast<char>(static_cast<uint64_t>(value) >> (8 * i));
    return bytes;
}
template <class T>
std::string BE(T value) {
    const std::string little = LE(value);
    return {little.rbegin(), little.rend()};
}

// A chunk with its padding. `size` -1 is the payload's own.
inline std::string Chunk(std::string_view id, std::string_view payload, int64_t size = -1, bool big_endian = false) {
    const auto said = static_cast<uint32_t>(size < 0 ? static_cast<int64_t>(payload.size()) : size);
    std::string bytes(id);
    bytes += big_endian ? BE(said) : LE(said);
    bytes += payload;
    if (payload.size() % 2) bytes += '\0';
    return bytes;
}
inline std::string BigChunk(std::string_view id, std::string_view payload, int64_t size = -1) {
    return Chunk(id, payload, size, true);
}

inline std::string Riff(std::string_view chunks) {
    return "RIFF" + LE(static_cast<uint32_t>(chunks.size() + 4)) + "WAVE" + std::string(chunks);
}
inline std::string Form(std::string_view type, std::string_view chunks) {
    return "FORM" + BE(static_cast<uint32_t>(chunks.size() + 4)) + std::string(type) + std::string(chunks);
}

inline std::string FmtFields(int tag, int channels, int rate, int bits) {
    const int frame = channels * bits / 8;
    return LE(static_cast<uint16_t>(tag)) + LE(static_cast<uint16_t>(channels)) + LE(rate) + LE(rate * frame) +
           LE(static_cast<uint16_t>(frame)) + LE(static_cast<uint16_t>(bits));
}
inline std::string Fmt(int tag, int channels, int rate, int bits) {
    return Chunk("fmt ", FmtFields(tag, channels, rate, bits));
}
// `sub_format` is the first field of the GUID.
inline std::string ExtensibleFmt(int sub_format, int channels, int rate, int bits, int valid_bits) {
    return Chunk("fmt ", FmtFields(0xFFFE, channels, rate, bits) + LE<uint16_t>(22) +
                             LE(static_cast<uint16_t>(valid_bits)) + LE<uint32_t>(0x603) +
                             LE(static_cast<uint32_t>(sub_format)) +
                             std::string("\x00\x00\x10\x00\x80\x00\x00\xAA\x00\x38\x9B\x71", 12));
}

inline std::string RF64(std::string_view ds64_chunk, std::string_view chunks) {
    return "RF64" + LE(UINT32_MAX) + "WAVE" + std::string(ds64_chunk) + std::string(chunks);
}
inline std::string DS64(int64_t riff_size, int64_t data_size, int64_t samples) {
    return Chunk("ds64", LE(riff_size) + LE(data_size) + LE(samples) + LE<uint32_t>(0));
}

// Wave64: sizes count the header of 24 bytes; `size` -1 is the payload's own.
inline std::string W64Chunk(std::string_view id, std::string_view payload, int64_t size = -1) {
    std::string bytes(id);
    bytes += std::string("\xF3\xAC\xD3\x11\x8C\xD1\x00\xC0\x4F\x8E\xDB\x8A", 12);
    bytes += LE(24 + (size < 0 ? static_cast<int64_t>(payload.size()) : size));
    bytes += payload;
    bytes.resize((bytes.size() + 7) / 8 * 8);
    return bytes;
}
inline std::string W64(std::string_view chunks) {
    return std::string("riff\x2E\x91\xCF\x11\xA5\xD6\x28\xDB\x04\xC1\x00\x00", 16) +
           LE(static_cast<int64_t>(chunks.size() + 40)) +
           std::string("wave\xF3\xAC\xD3\x11\x8C\xD1\x00\xC0\x4F\x8E\xDB\x8A", 16) + std::string(chunks);
}

// An AIFF "COMM" chunk; the rate is 44100 unless its ten bytes are given.
inline std::string Comm(int channels, int64_t frames, int bits, std::string_view compression = {},
                        std::string_view rate = std::string_view("\x40\x0E\xAC\x44\0\0\0\0\0\0", 10)) {
    return BigChunk("COMM", BE(static_cast<uint16_t>(channels)) + BE(static_cast<uint32_t>(frames)) +
                                BE(static_cast<uint16_t>(bits)) + std::string(rate) + std::string(compression));
}
inline std::string Ssnd(std::string_view samples, int64_t size = -1) {
    return BigChunk("SSND", std::string(8, '\0') + std::string(samples), size);
}

}  // namespace OrvaneTest
