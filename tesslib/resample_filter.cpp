#include "tesslib/resample_filter.h"

#include <algorithm>
#include <cmath>
#include <list>
#include <mutex>
#include <numbers>

#include "foundation/assert.h"

namespace Tesslib {
namespace {

// Rows beyond this many floats (4 MB) are worked out one by one: they would no longer stay in the cache.
constexpr int64_t kMostRowFloats = 1 << 20;
constexpr int kWidthStep = 4;  // two wings of it fill one vector of 8
constexpr double kLargestTerm = 1 << 24;

// Modified Bessel function of the first kind, order 0, by its power series.
double BesselI0(double x) {
    double sum = 1.0;
    double term = 1.0;
    for (int n = 1; term > sum * 1e-18; ++n) {
        const double quotient = x / (2 * n);
        term *= quotient * quotient;
        sum += term;
    }
    return sum;
}

// sin(pi * x) by its power series. The C library's sine may differ in the last bit from one processor to another.
double SinPi(double x) {
    const double whole = std::floor(x + 0.5);
    const double angle = (x - whole) * std::numbers::pi;
    const double square = angle * angle;
    double term = angle;
    double sum = angle;
    for (int n = 2; n <= 24; n += 2) {
        term *= -square / (n * (n + 1));
        sum += term;
    }
    return std::fmod(whole, 2.0) == 0.0 ? sum : -sum;
}

std::shared_ptr<const FilterTable> MakeFilterTable(int Nwing, int Npc, double Rolloff, double Beta) {
    auto table = std::make_shared<FilterTable>();
    table->values.resize(Nwing);
    table->differences.resize(Nwing);
    const double window_scale = 1.0 / BesselI0(Beta);
    for (int i = 0; i < Nwing; ++i) {
        const double time = static_cast<double>(i) / Npc;
        const double sinc = i == 0 ? Rolloff : SinPi(Rolloff * time) / (std::numbers::pi * time);
        const double place = static_cast<double>(i) / (Nwing - 1);
        const double window = BesselI0(Beta * std::sqrt(std::max(0.0, 1.0 - place * place))) * window_scale;
        table->values[i] = static_cast<float>(sinc * window);
    }
    for (int i = 0; i < Nwing; ++i) {
        const float next = i + 1 < Nwing ? table->values[i + 1] : 0.0f;
        table->differences[i] = next - table->values[i];
    }
    return table;
}

// Filters this short lose level at the window's hands.
float FilterGain(int quality) {
    switch (quality) {
        case 2:
            return 2.35f;
        case 3:
            return 1.33f;
        case 4:
            return 1.07f;
        default:
            return 1.0f;
    }
}

int WingLength(int quality, int Npc) {
    return (quality - 1) * Npc / 2;
}

}  // namespace

std::shared_ptr<const FilterTable> GetFilterTable(int Nwing, int Npc, double Rolloff, double Beta) {
    struct Entry {
        int Nwing, Npc;
        double Rolloff, Beta;
        std::shared_ptr<const FilterTable> table;
    };
    static std::mutex lock;
    static std::list<Entry> tables;

    ORVANE_ASSERT(Nwing > 1);
    const std::lock_guard guard(lock);
    for (const Entry& entry : tables) {
        if (entry.Nwing == Nwing && entry.Npc == Npc && entry.Rolloff == Rolloff && entry.Beta == Beta) {
            return entry.table;
        }
    }
    return tables.emplace_back(Entry{Nwing, Npc, Rolloff, Beta, MakeFilterTable(Nwing, Npc, Rolloff, Beta)}).table;
}

// Continued fraction, one term after the other, until the double itself is met.
RateRatio RatioOfFactor(double factor) {
    RateRatio before{1, 0};
    RateRatio best{static_cast<int64_t>(factor), 1};
    double rest = factor - std::floor(factor);
    while (best.Factor() != factor) {
        const double term = std::floor(1.0 / rest);
        if (term * static_cast<double>(std::max(best.outputs, best.inputs)) > kLargestTerm) break;
        const auto whole = static_cast<int64_t>(term);
        const RateRatio next{whole * best.outputs + before.outputs, whole * best.inputs + before.inputs};
        before = best;
        best = next;
        rest = 1.0 / rest - term;
    }
    return best;
}

RatioFilter::RatioFilter(int quality, int Npc, RateRatio ratio, int width, RowStorage storage)
    : table(GetFilterTable(WingLength(quality, Npc), Npc, kFilterRolloff, kKaiserBeta)),
      ratio(ratio),
      width(width),
      Npc(Npc),
      scale(FilterGain(quality) * std::min(1.0, ratio.Factor())) {
    const int64_t row_length = 2 * width;
    if (storage == RowStorage::OnDemand || ratio.outputs > kMostRowFloats / row_length) return;
    rows.resize(ratio.outputs * row_length);
    for (int64_t phase = 0; phase < ratio.outputs; ++phase) {
        ComputeRow(phase, std::span(rows).subspan(phase * row_length, row_length));
    }
}

int RatioFilter::FilterWidth(int quality, double minFactor) {
    const double reach = (quality - 1) / 2.0 / std::min(1.0, minFactor);
    return static_cast<int>(std::ceil(reach / kWidthStep)) * kWidthStep;
}

// A distance of d / ratio.outputs input frames from the peak lies at d * Npc / max(outputs, inputs) in the table:
// whole numbers only, so that a phase has the same coefficients wherever in the recording it comes up.
void RatioFilter::ComputeRow(int64_t phase, std::span<float> row) const {
    const int64_t divisor = std::max(ratio.outputs, ratio.inputs);
    const auto n_entries = static_cast<int64_t>(table->values.size());
    const int64_t step = ratio.outputs * Npc;
    const auto fill_wing = [&](int64_t distance, int first_tap, int direction) {
        int64_t entry = distance * Npc / divisor;
        int64_t rest = distance * Npc % divisor;
        for (int i = 0, tap = first_tap; i < width; ++i, tap += direction) {
            if (entry < n_entries) {
                const double part = static_cast<double>(rest) / static_cast<double>(divisor);
                row[tap] = static_cast<float>(scale * (table->values[entry] + part * table->differences[entry]));
            } else {
                row[tap] = 0.0f;
            }
            entry += step / divisor;
            rest += step % divisor;
            if (rest >= divisor) {
                rest -= divisor;
                ++entry;
            }
        }
    };
    fill_wing(phase, width - 1, -1);
    fill_wing(ratio.outputs - phase, width, 1);
}

}  // namespace Tesslib
