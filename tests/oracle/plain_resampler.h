// Sample-rate conversion written straight from its formula: slow, in double precision, no tables, no state.
#pragma once

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <numbers>
#include <vector>

namespace Tesslib::Testing {

struct PlainResampler {
    int quality;         // zero crossings of the filter + 1
    int Npc;             // the wing ends a step of 1 / Npc after the window does
    double input_rate;   // Hz
    double output_rate;  // Hz
    double rolloff = 0.9;
    double beta = 6.0;

    // The windowed sinc at a distance in input frames from its peak.
    double Impulse(double distance) const {
        const double step = 1.0 / Npc;
        const double window_end = (quality - 1) / 2.0 - step;
        const double beyond = (std::abs(distance) - window_end) / step;
        if (beyond >= 1.0) return 0.0;
        if (beyond > 0.0) return (1.0 - beyond) * Impulse(window_end);
        const double angle = std::numbers::pi * distance;
        const double sinc = distance == 0.0 ? rolloff : std::sin(rolloff * angle) / angle;
        const double place = distance / window_end;
        const double window = std::cyl_bessel_i(0.0, beta * std::sqrt(std::max(0.0, 1.0 - place * place)));
        return sinc * window / std::cyl_bessel_i(0.0, beta);
    }

    // Output frame `position` of one channel, with silence around the input.
    double At(const std::vector<float>& channel, int64_t position) const {
        const double time = static_cast<double>(position) * input_rate / output_rate;
        const double stretch = std::min(1.0, output_rate / input_rate);
        const double reach = (quality - 1) / 2.0 / stretch;
        const auto first = std::max<int64_t>(0, static_cast<int64_t>(std::ceil(time - reach)));
        const auto last = std::min<int64_t>(std::ssize(channel) - 1, static_cast<int64_t>(std::floor(time + reach)));
        double sum = 0.0;
        for (int64_t i = first; i <= last; ++i) {
            sum += channel[i] * stretch * Impulse((static_cast<double>(i) - time) * stretch);
        }
        return sum;
    }
};

}  // namespace Tesslib::Testing
