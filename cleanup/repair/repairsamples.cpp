#include "cleanup/repair/repairsamples.h"

#include <algorithm>

#include "foundation/assert.h"
#include "foundation/muldiv.h"

namespace Orvane {
namespace {

constexpr int kRepairRate = 44100;

// Shares `total` among `parts` as evenly as whole numbers allow, one share at a time.
class EvenShares {
public:
    EvenShares(int shared, int among) : total(shared), parts(among) {}

    int Next() {
        rest += total;
        const int share = rest / parts;
        rest %= parts;
        return share;
    }

private:
    int total, parts, rest = 0;
};

}  // namespace

int RepairContext(int n, bool big_pop) {
    return std::max(std::clamp(n * (big_pop ? 6 : 12), 300, 600), 3 * n);
}

int RepairStoredLength(int n, int rate) {
    return rate == kRepairRate ? n : Foundation::MulDiv(n + 1, rate, kRepairRate);
}

void ConvertRepairUp(std::span<const float> in, int rate, std::span<float> out) {
    const int n_samples = static_cast<int>(in.size()), convert_to = rate, convert_from = kRepairRate;
    ORVANE_ASSERT(n_samples > 0);
    ORVANE_ASSERT(convert_to > convert_from);
    EvenShares outputs(convert_to, convert_from);
    size_t place = 0;
    for (int i = 0; i + 1 < n_samples && place < out.size(); i++) {
        const int count = outputs.Next();
        for (int k = 0; k < count && place < out.size(); k++) {
            out[place++] = in[i] + (in[i + 1] - in[i]) * static_cast<float>(k) / static_cast<float>(count);
        }
    }
    std::fill(out.begin() + static_cast<std::ptrdiff_t>(place), out.end(), in.back());
}

void ConvertRepairDown(std::span<const float> in, int rate, std::span<float> out) {
    const int n_samples = static_cast<int>(in.size()), convert_to = rate, convert_from = kRepairRate;
    ORVANE_ASSERT(n_samples > 0);
    ORVANE_ASSERT(convert_to < convert_from && convert_to > 0);
    EvenShares inputs(convert_from, convert_to);
    int next = 0;
    for (float& mean : out) {
        const int count = std::min(inputs.Next(), n_samples - next);
        if (count <= 0) {
            mean = in.back();
            continue;
        }
        float sum = 0;
        for (int k = 0; k < count; k++) sum += in[next++];
        mean = sum / static_cast<float>(count);
    }
}

void PlaceRepair(std::span<const float> in, int64_t in_start, int rate, int64_t out_start, std::span<float> out) {
    ORVANE_ASSERT(!in.empty() && rate > 0);
    const int64_t last = static_cast<int64_t>(in.size()) - 1;
    for (size_t j = 0; j < out.size(); j++) {
        const int64_t place =
            (out_start + static_cast<int64_t>(j)) * kRepairRate - in_start * rate;  // 1/rate of a sample
        const int64_t i = std::clamp<int64_t>(place / rate, 0, last);
        const double part = place < 0 || i == last ? 0.0 : static_cast<double>(place % rate) / rate;
        const float before = in[static_cast<size_t>(i)], after = in[static_cast<size_t>(std::min(i + 1, last))];
        out[j] = static_cast<float>(before + (after - before) * part);
    }
}

void RepairTo16Bit(std::span<const float> in, std::span<int16_t> out) {
    ORVANE_ASSERT(in.size() == out.size());
    std::transform(in.begin(), in.end(), out.begin(), [](float sample) {
        if (!(sample == sample)) return int16_t{0};
        return static_cast<int16_t>(std::clamp(sample, -1.0f, 1.0f) * 32767.0);
    });
}

}  // namespace Orvane
