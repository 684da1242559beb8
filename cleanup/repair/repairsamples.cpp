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

void RepairTo16Bit(std::span<const float> in, std::span<int16_t> out) {
    ORVANE_ASSERT(in.size() == out.size());
    std::transform(in.begin(), in.end(), out.begin(), [](float sample) {
        if (!(sample == sample)) return int16_t{0};
        return static_cast<int16_t>(std::clamp(sample, -1.0f, 1.0f) * 32767.0);
    });
}

}  // namespace Orvane
