// Other programs that read and write audio files, and the samples to try them with.
#pragma once

#include <sys/wait.h>

#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <initializer_list>
#include <string>
#include <vector>

#include "audiosignals.h"
#include "tesslib/filestream.h"

namespace OrvaneTest {

// Runs a shell command with its output thrown away; its exit code.
inline int Shell(const std::string& command) {
    int status = std::system(("(" + command + ") >/dev/null 2>&1").c_str());
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

inline bool HaveTools(std::initializer_list<const char*> names) {
    for (const char* name : names) {
        if (Shell(std::string("command -v ") + name) != 0) return false;
    }
    return true;
}

// `seconds` of ringing tones with a few full-scale peaks as integers of `bits`, in -(2^(bits-1) - 1) to 2^(bits-1) - 1;
// interleaved. The same on every machine.
inline std::vector<int32_t> RingingInts(double seconds, int rate, int channels, int bits) {
    const double full = std::pow(2.0, bits - 1) - 1;
    const int frames = static_cast<int>(seconds * rate);
    std::vector<int32_t> samples(static_cast<size_t>(frames * channels));
    for (int c = 0; c < channels; ++c) {
        std::vector<float> tones =
            Resonant(static_cast<uint64_t>(c), frames, {{220, 0.9997}, {900, 0.999}, {3000, 0.9}});
        for (size_t i = 5; i < tones.size(); i += 9973) tones[i] = i % 2 ? -1.0f : 1.0f;
        for (int i = 0; i < frames; ++i) samples[i * channels + c] = static_cast<int32_t>(std::lround(tones[i] * full));
    }
    return samples;
}

// What a reader gives for such integers: pairs of floats.
inline std::vector<float> ToPairs(const std::vector<int32_t>& samples, int channels, int bits) {
    const double scale = 1.0 / (std::pow(2.0, bits - 1) - 1);
    std::vector<float> pairs;
    for (size_t i = 0; i < samples.size(); ++i) {
        pairs.push_back(static_cast<float>(samples[i] * scale));
        if (channels == 1) pairs.push_back(pairs.back());
    }
    return pairs;
}

// Little-endian bytes of `bytes_per_sample`.
inline std::string ToRaw(const std::vector<int32_t>& samples, int bytes_per_sample) {
    std::string raw;
    for (int32_t sample : samples) {
        for (int k = 0; k < bytes_per_sample; ++k) raw += static_cast<char>(sample >> (8 * k));
    }
    return raw;
}

// The whole of a stream, pulled by blocks of `block` pairs. `result` is the last one: 0, or the code of a failure.
inline std::vector<float> PullAll(Tesslib::PCMStream& stream, int32_t block, int& result) {
    std::vector<float> pairs, buffer(2 * static_cast<size_t>(block));
    while ((result = stream.Read(static_cast<int64_t>(pairs.size() / 2), buffer.data(), block, 0)) > 0) {
        pairs.insert(pairs.end(), buffer.begin(), buffer.begin() + 2 * static_cast<std::ptrdiff_t>(result));
    }
    return pairs;
}

}  // namespace OrvaneTest
