// Numbers in the byte orders of files.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>
#include <vector>

namespace Tesslib {

template <class T>
constexpr T LoadLE(const uint8_t* bytes) {
    uint64_t value = 0;
    for (size_t i = sizeof(T); i-- > 0;) value = value << 8 | bytes[i];
    return static_cast<T>(value);
}

template <class T>
constexpr T LoadBE(const uint8_t* bytes) {
    uint64_t value = 0;
    for (size_t i = 0; i < sizeof(T); ++i) value = value << 8 | bytes[i];
    return static_cast<T>(value);
}

inline std::string_view TextAt(const uint8_t* bytes, size_t length) {
    return {reinterpret_cast<const char*>(bytes), length};
}

// The bytes of a header, put together field by field.
class ByteWriter {
public:
    template <class T>
    ByteWriter& LE(T value) {
        for (size_t i = 0; i < sizeof(T); ++i)
            bytes.push_back(static_cast<uint8_t>(static_cast<uint64_t>(value) >> 8 * i));
        return *this;
    }
    template <class T>
    ByteWriter& BE(T value) {
        for (size_t i = sizeof(T); i-- > 0;)
            bytes.push_back(static_cast<uint8_t>(static_cast<uint64_t>(value) >> 8 * i));
        return *this;
    }
    ByteWriter& Text(std::string_view text) {
        bytes.insert(bytes.end(), text.begin(), text.end());
        return *this;
    }
    ByteWriter& Zeros(size_t count) {
        bytes.insert(bytes.end(), count, uint8_t{0});
        return *this;
    }

    std::vector<uint8_t> bytes;
};

}  // namespace Tesslib
