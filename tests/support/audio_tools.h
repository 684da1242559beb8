// Other programs that read and write audio files, and the samples to try them with.
#pragma once

#include <sys/wait.h>

#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <initializer_list>
#include <numbers>
#include <random>
#include <string>
#include <vector>

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

// `seconds` of decaying chords over soft noise, with a few full-scale peaks, as integers of `bits` in
// -(2^(bits-1) - 1) to 2^(bits-1) - 1; interleaved. The same on every machine.
inline std::vector<int32_t> MusicInts(double seconds, int rate, int channels, int bits, uint32_t seed = 1) {
    std::mt19937 random(seed);
    const double full = std::pow(2.0, bits - 1) - 1;
    const size_t frames = static_cast<size_t>(seconds * rate);
    std::vector<int32_t> samples(frames * static_cast<size_t>(channels));
    double base = 220;
    for (size_t i = 0; i < frames; ++i) {
        const double beat = std::fmod(static_cast<double>(i) / rate, 0.4);
        if (i % (static_cast<size_t>(rate) * 2 / 5) == 0) base = 110.0 + static_cast<double>(random() % 440);
        const double turn = 2 * std::numbers::pi * base * static_cast<double>(i) / rate;
        const double tone = 0.4 * std::exp(-4 * beat) * (std::sin(turn) + 0.5 * std::sin(2.5 * turn));
        for (int c = 0; c < channels; ++c) {
            const double noise = 0.002 * (static_cast<double>(random()) / 2147483648.0 - 1.0);
            const double value = i % 9973 == 5 ? (i % 2 ? -1.0 : 1.0) : tone * (c == 0 ? 1.0 : 0.8) + noise;
            samples[i * static_cast<size_t>(channels) + static_cast<size_t>(c)] =
                static_cast<int32_t>(std::lround(value * full));
        }
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

// Little-endian bytes of `bytes_per_sample`, and back.
inline std::string ToRaw(const std::vector<int32_t>& samples, int bytes_per_sample) {
    std::string raw;
    for (int32_t sample : samples) {
        for (int k = 0; k < bytes_per_sample; ++k) raw += static_cast<char>(sample >> (8 * k));
    }
    return raw;
}

inline std::vector<int32_t> FromRaw(const std::string& raw, int bytes_per_sample) {
    std::vector<int32_t> samples;
    const size_t width = static_cast<size_t>(bytes_per_sample);
    for (size_t i = 0; i + width <= raw.size(); i += width) {
        uint32_t value = 0;
        for (size_t k = 0; k < width; ++k) value |= static_cast<uint32_t>(static_cast<uint8_t>(raw[i + k])) << (8 * k);
        const int spare = 32 - 8 * bytes_per_sample;
        samples.push_back(static_cast<int32_t>(value << spare) >> spare);
    }
    return samples;
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
