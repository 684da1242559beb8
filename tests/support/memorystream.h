// A stream whose samples lie in memory.
#pragma once

#include <algorithm>
#include <cstdint>
#include <utility>
#include <vector>

#include "tesslib/audiostream.h"

namespace Tesslib::Testing {

class MemoryStream : public PCMStream {
public:
    MemoryStream(int32_t rate, std::vector<float> interleaved_pairs)
        : PCMStream(nullptr, rate), pairs(std::move(interleaved_pairs)) {}

    int32_t Read(int64_t position, float* buffer, int32_t n_samples, uint32_t /*flags*/) override {
        const auto total = static_cast<int64_t>(pairs.size() / 2);
        const auto n = static_cast<int32_t>(std::clamp<int64_t>(total - position, 0, n_samples));
        if (n > 0) std::copy_n(pairs.begin() + 2 * position, 2 * static_cast<int64_t>(n), buffer);
        return n;
    }
    int64_t GetTotalSamples(uint32_t /*flags*/) override { return static_cast<int64_t>(pairs.size() / 2); }

    std::vector<float> pairs;
};

// The whole of a stream in one read.
inline std::vector<float> ReadAll(PCMStream& stream, uint32_t flags = 0) {
    std::vector<float> pairs(2 * static_cast<size_t>(stream.GetTotalSamples(flags)));
    const int32_t n = stream.Read(0, pairs.data(), static_cast<int32_t>(pairs.size() / 2), flags);
    pairs.resize(2 * static_cast<size_t>(std::max(0, n)));
    return pairs;
}

}  // namespace Tesslib::Testing
