// A cascade of filter sections that runs both channels of a recording side by side.
// One chain belongs to one thread at a time; nothing here allocates.
#pragma once

#include <array>
#include <span>

#include "cleanup/filter/biquadfilter.h"

namespace Orvane {

// How many doubles the processor works on at once. Every width gives the same bits.
enum class VectorWidth { Two = 2, Four = 4, Eight = 8 };

// The greatest width that this processor has.
VectorWidth BestVectorWidth();

// Samples enter as float and leave as float; from section to section they stay in double precision. An empty
// chain passes audio through. The result is that of BiQuadFilter::Process section by section, bit for bit,
// however the audio is cut into calls, with numbers that fade below a normal double's range taken as zero.
class FilterChain {
public:
    static constexpr int kMostSections = 10;

    // Adds a section behind the others, for both channels, starting from silence.
    void Append(const BiQuadFilter& section);

    // Filters in place. Both spans have the same length.
    void Process(std::span<float> left, std::span<float> right) { Process(left, right, BestVectorWidth()); }
    void Process(std::span<float> left, std::span<float> right, VectorWidth width);

    int GetCount() const { return n_sections; }
    // The factor by which a steady tone of `frequency` (hertz) is louder behind the chain.
    double GainAt(double frequency, double samplerate) const;
    // Whether the other chain has the same sections, in whatever state.
    bool HasCoefficientsOf(const FilterChain& other) const;

    // One section: the coefficients that the channels share and the state of left and right.
    struct Section {
        double b0, b1, b2, a1, a2;
        double x1[2], x2[2], y1[2], y2[2];
    };

private:
    std::array<Section, kMostSections> sections;
    int n_sections = 0;
};

}  // namespace Orvane
