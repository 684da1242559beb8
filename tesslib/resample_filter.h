// The filters of sample-rate conversion: windowed-sinc tables, and the rows of coefficients that a ratio of two
// rates takes out of them. Immutable once made, and so free to be shared between threads.
#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <vector>

namespace Tesslib {

constexpr double kFilterRolloff = 0.9;  // the filter's corner as a part of half the lower rate
constexpr double kKaiserBeta = 6.0;

// The right wing of the filter's impulse response, Npc entries to one input frame.
struct FilterTable {
    std::vector<float> values;       // Nwing entries, the peak first
    std::vector<float> differences;  // from each entry to the next; from the last one to 0
};

// A Kaiser-windowed sinc. Tables are made on first use and kept for the life of the process. Any thread.
std::shared_ptr<const FilterTable> GetFilterTable(int Nwing, int Npc, double Rolloff, double Beta);

// Output rate over input rate in lowest terms.
struct RateRatio {
    int64_t outputs = 1;
    int64_t inputs = 1;
    double Factor() const { return static_cast<double>(outputs) / static_cast<double>(inputs); }
};

// The simplest fraction with the value of `factor` (> 0). Any two whole rates below 2^24 Hz are found again exactly
// from their quotient; a factor that is no such quotient is taken at its best approximation of that size.
RateRatio RatioOfFactor(double factor);

enum class RowStorage {
    Kept,     // all rows are worked out at once, unless a ratio has too many of them
    OnDemand  // none is
};

// The filter of one ratio. An output frame at the time n + phase / ratio.outputs, counted in input frames, is the
// sum of the input frames n - width + 1 to n + width, each times its entry of Row(phase).
//
// Going down in rate the filter is stretched, so that it cuts below half the output rate.
class RatioFilter {
public:
    // `quality` is the number of zero crossings + 1; `width` comes from FilterWidth.
    RatioFilter(int quality, int Npc, RateRatio ratio, int width, RowStorage storage);

    // Frames on either side of an output that a filter stretched for `minFactor` can reach, rounded up to what the
    // vectors of the inner loop take.
    static int FilterWidth(int quality, double minFactor);

    // Every row, 2 * width coefficients each, in the order of the phases; empty where none is kept.
    std::span<const float> Rows() const { return rows; }

    // Works out one row, the very values that Rows() would hold. 0 <= phase < ratio.outputs.
    void ComputeRow(int64_t phase, std::span<float> row) const;

private:
    std::shared_ptr<const FilterTable> table;
    RateRatio ratio;
    int width;
    int64_t Npc;
    double scale;
    std::vector<float> rows;
};

}  // namespace Tesslib
