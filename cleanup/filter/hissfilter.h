// Spectral subtraction of a steady noise, one channel and one frame at a time. Pure: spans and plain state, no streams.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

namespace Orvane {

// How much more than the noise is taken away at a signal-to-noise power ratio `x`: 3.5 at 0, falling to 1 at 100.
double OverSubtraction(double x);

struct HissSettings {
    double strength;   // how much of the calculated attenuation is applied
    double smoothing;  // how much of the estimate of the frame before is kept, 0 to 1

    bool operator==(const HissSettings&) const = default;
};

// Settings of the user: reduction 0 to 8, quality 0 ("Quietest background") to 4 ("Better cymbals"); held to these.
HissSettings MakeHissSettings(int reduction, int quality);

// Suppresses the noise in one channel.
class HissFilter {
public:
    explicit HissFilter(int32_t block);

    // The mean power of the noise in bins 0 to block / 2. Bins with 1e-10 or less are left as they are.
    void SetNoise(std::span<const float> noise);
    bool HasNoise() const { return has_noise; }
    // Forgets the frame before.
    void Reset() { has_estimate = false; }
    // Changes bins 1 to block / 2 of the spectrum of the next frame.
    void Process(std::span<float> spectrum, const HissSettings& settings);

private:
    std::vector<float> inverse_noise;  // 0 where there is too little to divide by
    std::vector<float> estimate;       // clean power in the frame before
    std::vector<float> power, smoothed, ratio, over, gains;
    std::vector<int32_t> index;
    bool has_noise = false;
    bool has_estimate = false;
};

}  // namespace Orvane
