// Click repairs for tests.
#pragma once

#include <algorithm>
#include <memory>
#include <vector>

#include "collection/corrections.h"

namespace OrvaneTest {

// A repair whose samples are given, or a marker, which has none, of that length.
inline std::unique_ptr<Orvane::ClickRepair> MakeRepair(int16_t type, int64_t start, const std::vector<int16_t>& samples,
                                                       int16_t cross_fade = 0) {
    const auto end = start + static_cast<int64_t>(samples.size());
    auto repair = std::make_unique<Orvane::ClickRepair>(type, start, end, cross_fade);
    if (type > Orvane::REPAIR_RECOMPUTED) return repair;
    auto copy = std::make_unique<int16_t[]>(samples.size());
    std::copy(samples.begin(), samples.end(), copy.get());
    repair->SetSamples(std::move(copy));
    return repair;
}

}  // namespace OrvaneTest
